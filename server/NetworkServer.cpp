#include "server/NetworkServer.h"

#include <om/RegistryStore.h>

#include "config/DefaultValues.h"
#include "model/SerializableOMNetwork.h"
#include "server/SettingOr.h"
#include "server/TrapLog.h"
#include "server/discovery/SubnetDiscovery.h"
#include "server/actions/ActionRunner.h"
#include "server/polling/PollingManager.h"
#include "server/tasks/TaskSampler.h"
#include "server/store/MemoryStores.h"
#include "server/store/RecordBytes.h"

namespace {
// The key of the network's record, which keeps the managers' states.
constexpr char kNetworkKey[] = "network";
}  // namespace

NetworkServer::NetworkServer()
    : snmp(std::make_unique<om::snmp::SnmpEngine>()),
      subnets(std::make_unique<om::server::MemorySubnetStore>()),
      tasks(std::make_unique<om::server::MemoryTaskStore>()),
      taskRecords(std::make_unique<om::server::MemoryTaskRecordStore>()),
      logs(std::make_unique<om::server::MemoryLogStore>()),
      mib(std::make_unique<om::server::MemoryMibStore>()),
      actions(std::make_unique<om::server::MemoryActionStore>()),
      discovery(std::make_unique<SubnetDiscovery>(*this)),
      polling(std::make_unique<om::server::PollingManager>(*this)) {}

std::string NetworkServer::openData(const std::string& dir, const om::server::Retention& retention) {
  std::string error;
  std::unique_ptr<om::server::DataStore> opened = om::server::DataStore::open(dir, error);
  if (opened == nullptr) return error;
  auto keptTree = std::make_unique<om::server::DurableTreeStore>(*opened);
  std::lock_guard<std::mutex> lock(mutex);
  if (!tree.attach(keptTree.get())) {
    tree.attach(treeStore.get());
    return "the data store in " + dir + " holds no network tree this server can read";
  }
  subnets = std::make_unique<om::server::DurableSubnetStore>(*opened);
  tasks = std::make_unique<om::server::DurableTaskStore>(*opened);
  taskRecords = std::make_unique<om::server::DurableTaskRecordStore>(*opened, retention);
  logs = std::make_unique<om::server::DurableLogStore>(*opened, retention);
  actions = std::make_unique<om::server::DurableActionStore>(*opened);
  treeStore = std::move(keptTree);
  data = std::move(opened);
  std::string bytes;
  SerializableOMNetwork kept;
  if (data->read().get(om::server::DataStore::kNetwork, kNetworkKey, bytes) &&
      om::server::readArchiveBytes(bytes, kept)) {
    pollingManager = kept.isPollingManager() != 0;
    autoDiscoverManager = kept.isAutoDiscoverManager() != 0;
  }
  return "";
}

std::string NetworkServer::dataDirectory() {
  // Only a folder named from the root counts: an installation may have
  // left the name of a file of another system there.
  const std::string configured = DefaultValues::getDefault()->getDataFile();
  return configured.empty() || configured[0] != '/' ? om::machineHome() + "/data" : configured;
}

void NetworkServer::setManagers(bool polling, bool autoDiscover) {
  pollingManager = polling;
  autoDiscoverManager = autoDiscover;
  if (data == nullptr) return;
  SerializableOMNetwork record;
  record.setPollingManager(polling ? 1 : 0);
  record.setAutoDiscoverManager(autoDiscover ? 1 : 0);
  const std::string bytes = om::server::archiveBytes(record);
  data->update([&](om::server::DataStore::Transaction& txn) {
    return txn.put(om::server::DataStore::kNetwork, kNetworkKey, bytes);
  });
}

om::server::Retention NetworkServer::configuredRetention() {
  DefaultValues& settings = *DefaultValues::getDefault();
  om::server::Retention retention;
  retention.maxLogs = static_cast<size_t>(settingOr(settings.getLogMaxNumber(), 100000));
  retention.maxSamplesPerTask = static_cast<size_t>(settingOr(settings.getTaskMaxSample(), 20000));
  return retention;
}

void NetworkServer::start(bool sampleTasks) {
  polling->start();
  actionRunner = std::make_unique<om::server::ActionRunner>(*this);
  if (sampleTasks) {
    taskSampler = std::make_unique<om::server::TaskSampler>(*this);
    taskSampler->start();
  }
}

NetworkServer::~NetworkServer() {
  // What writes to or listens to the log ends first: the log's lock and its
  // listeners are members that go before the public ones.
  taskSampler.reset();
  actionRunner.reset();
  polling.reset();
  discovery.reset();
  trapReceiver.reset();
}

size_t NetworkServer::loadMib(const std::vector<std::string>& folders) {
  om::snmp::MibTree loaded = om::snmp::loadMibTree(folders);
  mib->load(loaded.nodes);
  mibErrors = std::move(loaded.errors);
  std::lock_guard<std::mutex> lock(trapNamesMutex_);
  trapNames_.clear();
  for (const CMibNode& node : loaded.nodes) {
    if (node.isTrapNode() || node.isNotificationNode()) trapNames_.emplace(node.getOidString(), node.getNodeName());
  }
  return loaded.modules.size();
}

std::string NetworkServer::trapName(const std::string& oid) const {
  std::lock_guard<std::mutex> lock(trapNamesMutex_);
  const auto found = trapNames_.find(oid);
  return found == trapNames_.end() ? "" : found->second;
}

std::string NetworkServer::listenForTraps(int port) {
  trapReceiver.reset();
  auto receiver = std::make_unique<om::snmp::TrapReceiver>(
      *snmp, port, [this](const om::snmp::TrapMessage& trap) { om::server::logTrap(*this, trap); });
  if (!receiver->error().empty()) return receiver->error();
  trapReceiver = std::move(receiver);
  return "";
}

bool NetworkServer::copyObject(const std::string& key, Lookup how, NetworkObjectBase& out) {
  std::lock_guard<std::mutex> lock(mutex);
  const NetworkObjectBase* found = how == Lookup::kAddress ? nullptr : tree.find(key);
  if (found == nullptr && how != Lookup::kName) found = tree.findByAddress(key);
  if (found != nullptr) out = *found;
  return found != nullptr;
}

namespace {

// The log record of a node's new status.
CLogObject statusRecord(const NetworkObjectBase& node) {
  CLogObject record;
  record.setLevel(log_def::LOGLEVEL_PROGRESS);
  record.setTime(CTime::GetCurrentTime());
  record.setTargetType(log_def::TARGETTYPE_DEVICE);
  record.setInternalName(node.getName().c_str());
  record.setDisplayName((node.getDisplayName().empty() ? node.getName() : node.getDisplayName()).c_str());
  record.setAddress(node.getIpAddress().c_str());
  record.setSysObjectId(node.getSysObjectID().c_str());
  const std::string& name = node.getName();
  switch (node.getNodeStatus()) {
    case NetworkServer::kNodeUp:
      record.setType(log_def::LOGTYPE_INFORMATION);
      record.setSubType(log_def::LOGSUBTYPE_UP);
      record.setMessage((name + " is up: it answers ICMP echo.").c_str());
      break;
    case NetworkServer::kNodeDown:
      record.setType(log_def::LOGTYPE_ERROR);
      record.setSubType(log_def::LOGSUBTYPE_DOWN);
      record.setMessage((name + " is down: no answer to ICMP echo.").c_str());
      break;
    default:
      record.setType(log_def::LOGTYPE_ERROR);
      record.setSubType(log_def::LOGSUBTYPE_NO_RESPONSE);
      record.setMessage((name + " cannot be polled: no echo request could be sent to it.").c_str());
      break;
  }
  return record;
}

}  // namespace

bool NetworkServer::setNodeStatus(const std::string& name, int status) {
  NetworkObjectBase node;
  {
    std::lock_guard<std::mutex> lock(mutex);
    const NetworkObjectBase* found = tree.find(name);
    if (found == nullptr) return false;
    if (found->getNodeStatus() == status) return true;
    node = *found;
    node.setNodeStatus(status);
    tree.update(node);
  }
  writeLog(statusRecord(node));
  return true;
}

bool NetworkServer::isSubnet(const std::string& name) const {
  const NetworkObjectBase* object = tree.find(name);
  return object != nullptr && object->getObjectType() == kObjectTypeSubnet;
}

bool NetworkServer::putSubnet(const SubnetBase& subnet) {
  const NetworkObjectBase* known = tree.find(subnet.getName());
  if (known == nullptr) {
    NetworkObjectBase object;
    object.setName(subnet.getName());
    object.setDisplayName(subnet.getName());
    object.setSubnetMask(subnet.getSubnetMask());
    object.setObjectType(kObjectTypeSubnet);
    if (!tree.add(NetworkTree::physicalRootPath(), object)) return false;
  } else if (known->getObjectType() != kObjectTypeSubnet) {
    return false;
  }
  subnets->put(subnet);
  return true;
}

bool NetworkServer::removeObject(const std::string& name) {
  const bool subnet = isSubnet(name);
  if (!tree.remove(name)) return false;
  if (subnet) subnets->remove(name);
  return true;
}

bool NetworkServer::renameObject(const std::string& oldName, const std::string& newName) {
  const bool subnet = isSubnet(oldName);
  if (!tree.rename(oldName, newName)) return false;
  if (subnet) subnets->rename(oldName, newName);
  return true;
}

DWORD NetworkServer::writeLog(CLogObject record) {
  std::lock_guard<std::mutex> lock(logMutex_);
  bool added = false;
  const DWORD identifier = logs->put(record, &added);
  if (added) {
    for (const auto& [number, listener] : logListeners_) listener(record);
  }
  return identifier;
}

int NetworkServer::addLogListener(LogListener listener) {
  std::lock_guard<std::mutex> lock(logMutex_);
  logListeners_.emplace(nextLogListener_, std::move(listener));
  return nextLogListener_++;
}

void NetworkServer::removeLogListener(int number) {
  std::lock_guard<std::mutex> lock(logMutex_);
  logListeners_.erase(number);
}

DWORD NetworkServer::writeLog(log_def::tagLOGTYPE type, log_def::tagLOGSUBTYPE subType,
                              log_def::tagTARGETTYPE target, const std::string& name, const std::string& message) {
  CLogObject record;
  record.setLevel(log_def::LOGLEVEL_PROGRESS);
  record.setTime(CTime::GetCurrentTime());
  record.setType(type);
  record.setSubType(subType);
  record.setTargetType(target);
  record.setInternalName(name.c_str());
  record.setDisplayName(name.c_str());
  record.setMessage(message.c_str());
  return writeLog(record);
}
