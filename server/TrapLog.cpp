#include "server/TrapLog.h"

#include <arpa/inet.h>

#include "server/NetworkServer.h"
#include "server/discovery/SubnetDiscovery.h"
#include "server/snmp/SnmpText.h"

namespace om::server {
namespace {

log_def::tagLOGSUBTYPE subTypeOf(const om::snmp::TrapMessage& trap) {
  static const om::snmp::Oid kSnmpTraps = {1, 3, 6, 1, 6, 3, 1, 1, 5};
  static const log_def::tagLOGSUBTYPE kGeneric[] = {
      log_def::LOGSUBTYPE_COLD_START, log_def::LOGSUBTYPE_WARM_START,
      log_def::LOGSUBTYPE_LINK_DOWN,  log_def::LOGSUBTYPE_LINK_UP,
      log_def::LOGSUBTYPE_AUTHENTICATION_FAILURE, log_def::LOGSUBTYPE_EGP_NEIGHBOR_LOSS};
  if (trap.trapOid.size() == kSnmpTraps.size() + 1 && om::snmp::inSubtree(kSnmpTraps, trap.trapOid)) {
    const uint32_t number = trap.trapOid.back();
    if (number >= 1 && number <= 6) return kGeneric[number - 1];
  }
  return log_def::LOGSUBTYPE_OTHER_TRAP;
}

std::string messageOf(const NetworkServer& server, const om::snmp::TrapMessage& trap) {
  const std::string oid = om::snmp::oidText(trap.trapOid);
  const std::string name = server.trapName(oid);
  std::string message = (name.empty() ? oid : name + " (" + oid + ")") + " from " + trap.source;
  for (size_t i = 0; i < trap.varbinds.size(); ++i) {
    message += (i == 0 ? ": " : ", ") + om::snmp::oidName(trap.varbinds[i].oid) + " = " +
               om::snmp::valueText(trap.varbinds[i]);
  }
  return message;
}

// The subnet that discovers on traps and holds `address`, if any.
bool trapSubnet(NetworkServer& server, const std::string& address, SubnetBase& out) {
  for (const SubnetBase& subnet : server.subnets->list()) {
    if (subnet.isDiscoverOnTrap() && inNetwork(address, subnet.getNetworkID(), subnet.getSubnetMask())) {
      out = subnet;
      return true;
    }
  }
  return false;
}

}  // namespace

bool inNetwork(const std::string& address, const std::string& networkId, const std::string& mask) {
  in_addr a{}, n{}, m{};
  if (inet_pton(AF_INET, address.c_str(), &a) != 1 || inet_pton(AF_INET, networkId.c_str(), &n) != 1 ||
      inet_pton(AF_INET, mask.c_str(), &m) != 1) {
    return false;
  }
  return (a.s_addr & m.s_addr) == (n.s_addr & m.s_addr);
}

void logTrap(NetworkServer& server, const om::snmp::TrapMessage& trap) {
  using Lookup = NetworkServer::Lookup;
  NetworkObjectBase sender;
  bool known = server.copyObject(trap.source, Lookup::kAddress, sender);
  SubnetBase subnet;
  if (!known && server.locked([&] { return trapSubnet(server, trap.source, subnet); })) {
    server.discovery->addNode(subnet, trap.source);
    known = server.copyObject(trap.source, Lookup::kAddress, sender);
  }
  CLogObject record;
  record.setLevel(log_def::LOGLEVEL_USER);
  record.setTime(CTime::GetCurrentTime());
  record.setType(log_def::LOGTYPE_TRAP);
  record.setSubType(subTypeOf(trap));
  record.setTargetType(log_def::TARGETTYPE_DEVICE);
  record.setInternalName(known ? sender.getName().c_str() : trap.source.c_str());
  record.setDisplayName(known ? sender.getDisplayName().c_str() : trap.source.c_str());
  record.setAddress(trap.source.c_str());
  const std::string enterprise = om::snmp::oidText(trap.enterprise);
  record.setSysObjectId(!enterprise.empty() ? enterprise.c_str() : sender.getSysObjectID().c_str());
  record.setMessage(messageOf(server, trap).c_str());
  server.writeLog(record);
}

}  // namespace om::server
