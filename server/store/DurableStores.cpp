#include "server/store/DurableStores.h"

#include "model/CStringUtil.h"
#include "model/SerializableAC.h"
#include "model/SerializableNetObj.h"
#include "model/SerializableSubnet.h"
#include "server/store/RecordBytes.h"

namespace om::server {
namespace {

using Table = DataStore::Table;
using Transaction = DataStore::Transaction;

// ---- Records and their archive forms ----------------------------------------

// The plain classes travel in their persistent twins; the others are their
// own archive form.
std::string bytesOf(const NetworkObjectBase& object) { return archiveBytes(SerializableNetObj(object)); }
std::string bytesOf(const SubnetBase& subnet) { return archiveBytes(SerializableSubnet(subnet)); }
std::string bytesOf(const CActionCommand& command) {
  SerializableActionCommand record;
  record.copyIn(command);
  // The whole command text: a built-in type's number, which copyIn leaves
  // out, or the command line.
  record.setCommand(om::toCString(command.getCommandEntity()));
  return archiveBytes(record);
}
std::string bytesOf(const CObject& record) { return archiveBytes(record); }

bool readBytes(std::string_view bytes, NetworkObjectBase& object) {
  SerializableNetObj record;
  if (!readArchiveBytes(bytes, record)) return false;
  record.getObject(object);
  return true;
}
bool readBytes(std::string_view bytes, SubnetBase& subnet) {
  SerializableSubnet record;
  if (!readArchiveBytes(bytes, record)) return false;
  record.getSubnet(subnet);
  return true;
}
bool readBytes(std::string_view bytes, CActionCommand& command) {
  SerializableActionCommand record;
  if (!readArchiveBytes(bytes, record)) return false;
  record.copyTo(command);
  return true;
}
bool readBytes(std::string_view bytes, CObject& record) { return readArchiveBytes(bytes, record); }

// ---- Tables ------------------------------------------------------------------

template <class Record>
bool decode(const DataStore& data, Table table, std::string_view key, std::string_view bytes, Record& out) {
  if (readBytes(bytes, out)) return true;
  data.reportDamaged(table, key);
  return false;
}

template <class Record>
bool findIn(const Transaction& txn, const DataStore& data, Table table, std::string_view key, Record& out) {
  std::string bytes;
  return txn.get(table, key, bytes) && decode(data, table, key, bytes, out);
}

template <class Record>
bool findIn(const DataStore& data, Table table, std::string_view key, Record& out) {
  return findIn(data.read(), data, table, key, out);
}

// The records whose keys begin with `prefix`, in key order.
template <class Record>
std::vector<Record> listIn(const DataStore& data, Table table, std::string_view prefix = {}) {
  std::vector<Record> out;
  data.read().scan(table, prefix, false, [&](std::string_view key, std::string_view bytes) {
    if (key.substr(0, prefix.size()) != prefix) return false;
    Record record;
    if (decode(data, table, key, bytes, record)) out.push_back(std::move(record));
    return true;
  });
  return out;
}

// The keys from the first on while `more` says so.
std::vector<std::string> firstKeys(const Transaction& txn, Table table, std::string_view prefix,
                                   const std::function<bool(std::string_view key, std::string_view bytes)>& more) {
  std::vector<std::string> keys;
  txn.scan(table, prefix, false, [&](std::string_view key, std::string_view bytes) {
    if (key.substr(0, prefix.size()) != prefix || !more(key, bytes)) return false;
    keys.emplace_back(key);
    return true;
  });
  return keys;
}

bool putIn(DataStore& data, Table table, std::string_view key, const std::string& bytes) {
  return data.update([&](Transaction& txn) { return txn.put(table, key, bytes); });
}

bool eraseIn(DataStore& data, Table table, std::string_view key) {
  return data.update([&](Transaction& txn) { return txn.erase(table, key); });
}

// Names listed under a tree object, each ended by a NUL.
std::string childrenBytes(const std::vector<std::string>& children) {
  std::string bytes;
  for (const std::string& child : children) bytes.append(child).push_back('\0');
  return bytes;
}

std::vector<std::string> childrenOf(std::string_view bytes) {
  std::vector<std::string> children;
  for (size_t end; (end = bytes.find('\0')) != std::string_view::npos; bytes.remove_prefix(end + 1)) {
    children.emplace_back(bytes.substr(0, end));
  }
  return children;
}

// Samples of a task: the task's name, a NUL, the poll start time.
std::string taskPrefix(const std::string& task) { return task + '\0'; }
std::string sampleKey(const std::string& task, const CTime& pollStartTime) {
  return taskPrefix(task) + numberKey(static_cast<int64_t>(pollStartTime.GetTime()));
}
int64_t sampleTime(std::string_view key) {
  uint64_t bits = 0;
  for (char byte : key.substr(key.size() - 8)) bits = bits << 8 | static_cast<unsigned char>(byte);
  return static_cast<int64_t>(bits ^ (uint64_t{1} << 63));
}

// Action command identifiers are signed.
std::string commandKey(int identifier) { return numberKey(static_cast<uint32_t>(identifier) ^ 0x80000000u); }

int64_t cutoff(int64_t maxAgeSeconds) { return static_cast<int64_t>(CTime::GetCurrentTime().GetTime()) - maxAgeSeconds; }

}  // namespace

// ---- Tree --------------------------------------------------------------------

std::map<std::string, TreeEntry> keptTree(const DataStore& data) {
  std::map<std::string, TreeEntry> entries;
  const Transaction txn = data.read();
  txn.scan(DataStore::kObjects, {}, false, [&](std::string_view key, std::string_view bytes) {
    TreeEntry entry;
    if (!decode(data, DataStore::kObjects, key, bytes, entry.object)) return true;
    std::string children;
    if (txn.get(DataStore::kChildren, key, children)) entry.children = childrenOf(children);
    entries.emplace(key, std::move(entry));
    return true;
  });
  return entries;
}

std::map<std::string, TreeEntry> DurableTreeStore::load() const { return keptTree(data_); }

bool DurableTreeStore::write(const std::map<std::string, const TreeEntry*>& changed,
                             const std::vector<std::string>& erased) {
  return data_.update([&](Transaction& txn) {
    for (const auto& [name, entry] : changed) {
      if (!txn.put(DataStore::kObjects, name, bytesOf(entry->object)) ||
          !txn.put(DataStore::kChildren, name, childrenBytes(entry->children))) {
        return false;
      }
    }
    for (const std::string& name : erased) {
      txn.erase(DataStore::kObjects, name);
      txn.erase(DataStore::kChildren, name);
    }
    return true;
  });
}

// ---- Subnets -----------------------------------------------------------------

std::vector<SubnetBase> DurableSubnetStore::list() const { return listIn<SubnetBase>(data_, DataStore::kSubnets); }

bool DurableSubnetStore::find(const std::string& name, SubnetBase& out) const {
  return findIn(data_, DataStore::kSubnets, name, out);
}

void DurableSubnetStore::put(const SubnetBase& subnet) {
  putIn(data_, DataStore::kSubnets, subnet.getName(), bytesOf(subnet));
}

bool DurableSubnetStore::remove(const std::string& name) { return eraseIn(data_, DataStore::kSubnets, name); }

bool DurableSubnetStore::rename(const std::string& oldName, const std::string& newName) {
  return data_.update([&](Transaction& txn) {
    SubnetBase subnet;
    std::string taken;
    if (newName.empty() || txn.get(DataStore::kSubnets, newName, taken) ||
        !findIn(txn, data_, DataStore::kSubnets, oldName, subnet)) {
      return false;
    }
    subnet.setName(newName);
    return txn.erase(DataStore::kSubnets, oldName) && txn.put(DataStore::kSubnets, newName, bytesOf(subnet));
  });
}

// ---- Tasks -------------------------------------------------------------------

std::vector<CTaskObject> DurableTaskStore::list() const { return listIn<CTaskObject>(data_, DataStore::kTasks); }

bool DurableTaskStore::find(const std::string& name, CTaskObject& out) const {
  return findIn(data_, DataStore::kTasks, name, out);
}

bool DurableTaskStore::add(const CTaskObject& task) {
  return data_.update([&](Transaction& txn) {
    std::string taken;
    return !txn.get(DataStore::kTasks, task.getName(), taken) && txn.put(DataStore::kTasks, task.getName(), bytesOf(task));
  });
}

bool DurableTaskStore::update(const std::string& name, const std::function<void(CTaskObject&)>& change) {
  return data_.update([&](Transaction& txn) {
    CTaskObject task;
    if (!findIn(txn, data_, DataStore::kTasks, name, task)) return false;
    change(task);
    task.setName(name);
    return txn.put(DataStore::kTasks, name, bytesOf(task));
  });
}

bool DurableTaskStore::remove(const std::string& name) { return eraseIn(data_, DataStore::kTasks, name); }

// ---- Task samples ------------------------------------------------------------

void DurableTaskRecordStore::put(const std::string& task, const CTaskDataRecord& record) {
  data_.update([&](Transaction& txn) {
    const std::string prefix = taskPrefix(task);
    const std::string key = sampleKey(task, record.getPollStartTime());
    std::string bytes;
    uint32_t count = txn.get(DataStore::kTaskCounts, task, bytes) ? numberOfKey(bytes) : 0;
    if (!txn.get(DataStore::kTaskRecords, key, bytes)) ++count;
    if (!txn.put(DataStore::kTaskRecords, key, bytesOf(record))) return false;
    // The oldest samples beyond the count, and those past the age, go.
    const int64_t oldest = retention_.maxSampleAgeSeconds > 0 ? cutoff(retention_.maxSampleAgeSeconds) : INT64_MIN;
    const size_t excess = retention_.maxSamplesPerTask > 0 && count > retention_.maxSamplesPerTask
                              ? count - retention_.maxSamplesPerTask
                              : 0;
    size_t seen = 0;
    for (const std::string& old : firstKeys(txn, DataStore::kTaskRecords, prefix, [&](std::string_view k, auto) {
           return seen++ < excess || sampleTime(k) < oldest;
         })) {
      txn.erase(DataStore::kTaskRecords, old);
      --count;
    }
    return txn.put(DataStore::kTaskCounts, task, numberKey(count));
  });
}

std::vector<CTaskDataRecord> DurableTaskRecordStore::list(const std::string& task) const {
  return listIn<CTaskDataRecord>(data_, DataStore::kTaskRecords, taskPrefix(task));
}

bool DurableTaskRecordStore::find(const std::string& task, const CTime& pollStartTime, CTaskDataRecord& out) const {
  return findIn(data_, DataStore::kTaskRecords, sampleKey(task, pollStartTime), out);
}

bool DurableTaskRecordStore::remove(const std::string& task, const CTime& pollStartTime) {
  return data_.update([&](Transaction& txn) {
    std::string bytes;
    if (!txn.erase(DataStore::kTaskRecords, sampleKey(task, pollStartTime))) return false;
    const uint32_t count = txn.get(DataStore::kTaskCounts, task, bytes) ? numberOfKey(bytes) : 1;
    return txn.put(DataStore::kTaskCounts, task, numberKey(count - 1));
  });
}

void DurableTaskRecordStore::removeTask(const std::string& task) {
  data_.update([&](Transaction& txn) {
    for (const std::string& key : firstKeys(txn, DataStore::kTaskRecords, taskPrefix(task), [](auto, auto) {
           return true;
         })) {
      txn.erase(DataStore::kTaskRecords, key);
    }
    txn.erase(DataStore::kTaskCounts, task);
    return true;
  });
}

// ---- Logs --------------------------------------------------------------------

DWORD DurableLogStore::put(CLogObject& record, bool* added) {
  const DWORD given = record.getIdentifier();
  bool isNew = false;
  const bool kept = data_.update([&](Transaction& txn) {
    if (given == 0) {
      DWORD last = 0;
      txn.scan(DataStore::kLogs, {}, true, [&](std::string_view key, auto) {
        last = numberOfKey(key);
        return false;
      });
      record.setIdentifier(last + 1);
    }
    const std::string key = numberKey(static_cast<uint32_t>(record.getIdentifier()));
    std::string bytes;
    isNew = !txn.get(DataStore::kLogs, key, bytes);
    if (!txn.put(DataStore::kLogs, key, bytesOf(record))) return false;
    const int64_t oldest = retention_.maxLogAgeSeconds > 0 ? cutoff(retention_.maxLogAgeSeconds) : INT64_MIN;
    const size_t count = txn.count(DataStore::kLogs);
    const size_t excess = retention_.maxLogs > 0 && count > retention_.maxLogs ? count - retention_.maxLogs : 0;
    size_t seen = 0;
    for (const std::string& old : firstKeys(txn, DataStore::kLogs, {}, [&](std::string_view k, std::string_view b) {
           if (seen++ < excess) return true;
           CLogObject first;
           return oldest != INT64_MIN && decode(data_, DataStore::kLogs, k, b, first) &&
                  first.getTime().GetTime() < oldest;
         })) {
      txn.erase(DataStore::kLogs, old);
    }
    return true;
  });
  if (!kept) record.setIdentifier(given);
  if (added != nullptr) *added = kept && isNew;
  return kept ? record.getIdentifier() : 0;
}

bool DurableLogStore::find(DWORD identifier, CLogObject& out) const {
  return findIn(data_, DataStore::kLogs, numberKey(static_cast<uint32_t>(identifier)), out);
}

bool DurableLogStore::remove(DWORD identifier) {
  return eraseIn(data_, DataStore::kLogs, numberKey(static_cast<uint32_t>(identifier)));
}

void DurableLogStore::scan(const std::function<bool(const CLogObject&)>& visit) const {
  data_.read().scan(DataStore::kLogs, {}, false, [&](std::string_view key, std::string_view bytes) {
    CLogObject record;
    return !decode(data_, DataStore::kLogs, key, bytes, record) || visit(record);
  });
}

std::size_t DurableLogStore::size() const { return data_.read().count(DataStore::kLogs); }

// ---- Actions -----------------------------------------------------------------

std::vector<CActionCommand> DurableActionStore::listCommands() const {
  return listIn<CActionCommand>(data_, DataStore::kCommands);
}

bool DurableActionStore::findCommand(int identifier, CActionCommand& out) const {
  return findIn(data_, DataStore::kCommands, commandKey(identifier), out);
}

void DurableActionStore::putCommand(const CActionCommand& command) {
  putIn(data_, DataStore::kCommands, commandKey(command.getId()), bytesOf(command));
}

bool DurableActionStore::removeCommand(int identifier) {
  return eraseIn(data_, DataStore::kCommands, commandKey(identifier));
}

std::vector<ActionFilter> DurableActionStore::listFilters() const {
  return listIn<ActionFilter>(data_, DataStore::kFilters);
}

bool DurableActionStore::findFilter(ULONG identifier, ActionFilter& out) const {
  return findIn(data_, DataStore::kFilters, numberKey(identifier), out);
}

void DurableActionStore::putFilter(const ActionFilter& filter) {
  putIn(data_, DataStore::kFilters, numberKey(static_cast<uint32_t>(filter.getId())), bytesOf(filter));
}

bool DurableActionStore::removeFilter(ULONG identifier) { return eraseIn(data_, DataStore::kFilters, numberKey(identifier)); }

}  // namespace om::server
