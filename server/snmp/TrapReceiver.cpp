#include "server/snmp/TrapReceiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "server/snmp/NetSnmp.h"
#include "server/snmp/SnmpEngine.h"
#include "server/snmp/SnmpText.h"

namespace om::snmp {
namespace {

const Oid kSysUpTime0 = {1, 3, 6, 1, 2, 1, 1, 3, 0};
const Oid kSnmpTrapOid0 = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
const Oid kSnmpTrapEnterprise0 = {1, 3, 6, 1, 6, 3, 1, 1, 4, 3, 0};
const Oid kSnmpTraps = {1, 3, 6, 1, 6, 3, 1, 1, 5};
constexpr int kEnterpriseSpecific = 6;

void fromV1(const netsnmp_pdu& pdu, TrapMessage& out) {
  out.version = Version::kV1;
  out.enterprise.assign(pdu.enterprise, pdu.enterprise + pdu.enterprise_length);
  out.genericTrap = static_cast<int>(pdu.trap_type);
  out.specificTrap = static_cast<int>(pdu.specific_type);
  out.upTime = static_cast<uint32_t>(pdu.time);
  if (out.genericTrap == kEnterpriseSpecific) {
    out.trapOid = out.enterprise;
    out.trapOid.push_back(0);
    out.trapOid.push_back(static_cast<uint32_t>(out.specificTrap));
  } else {
    out.trapOid = kSnmpTraps;
    out.trapOid.push_back(static_cast<uint32_t>(out.genericTrap + 1));
  }
  for (const netsnmp_variable_list* v = pdu.variables; v != nullptr; v = v->next_variable) {
    out.varbinds.push_back(fromVariable(*v));
  }
}

bool fromV2(const netsnmp_pdu& pdu, TrapMessage& out) {
  out.version = Version::kV2c;
  std::vector<Varbind> all;
  for (const netsnmp_variable_list* v = pdu.variables; v != nullptr; v = v->next_variable) {
    all.push_back(fromVariable(*v));
  }
  // A notification starts with sysUpTime.0 and snmpTrapOID.0.
  if (all.size() < 2 || all[0].oid != kSysUpTime0 || all[0].type != kTimeTicks || all[1].oid != kSnmpTrapOid0 ||
      all[1].type != kObjectId) {
    return false;
  }
  out.upTime = static_cast<uint32_t>(all[0].integer);
  out.trapOid = all[1].objectId;
  for (size_t i = 2; i < all.size(); ++i) {
    if (all[i].oid == kSnmpTrapEnterprise0 && all[i].type == kObjectId) out.enterprise = all[i].objectId;
    out.varbinds.push_back(std::move(all[i]));
  }
  return true;
}

}  // namespace

bool decodeTrap(const uint8_t* data, size_t length, const std::string& source, TrapMessage& out) {
  initSnmpLibrary();
  std::vector<u_char> message(data, data + length);
  u_char community[256];
  size_t communityLength = sizeof community;
  long version = -1;
  size_t left = message.size();
  u_char* pduData = snmp_comstr_parse(message.data(), &left, community, &communityLength, &version);
  if (pduData == nullptr || (version != SNMP_VERSION_1 && version != SNMP_VERSION_2c)) return false;
  const PduPointer pdu = newPdu(0);
  pdu->version = version;
  if (snmp_pdu_parse(pdu.get(), pduData, &left) != 0) return false;
  TrapMessage trap;
  trap.source = source;
  trap.community.assign(reinterpret_cast<const char*>(community), communityLength);
  if (version == SNMP_VERSION_1 && pdu->command == SNMP_MSG_TRAP) {
    fromV1(*pdu, trap);
  } else if (version != SNMP_VERSION_2c || pdu->command != SNMP_MSG_TRAP2 || !fromV2(*pdu, trap)) {
    return false;
  }
  out = std::move(trap);
  return true;
}

TrapReceiver::TrapReceiver(SnmpEngine& engine, int port, Handler handler)
    : engine_(engine), handler_(std::move(handler)) {
  socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(static_cast<uint16_t>(port));
  socklen_t size = sizeof address;
  if (socket_ < 0 || ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    error_ = "cannot listen for traps on UDP port " + std::to_string(port) + ": " + std::strerror(errno);
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
    return;
  }
  port_ = ntohs(address.sin_port);
  engine_.watch(socket_, [this] { readAll(); });
}

TrapReceiver::~TrapReceiver() {
  if (socket_ < 0) return;
  engine_.unwatch(socket_);
  ::close(socket_);
}

void TrapReceiver::readAll() {
  uint8_t buffer[65536];
  for (;;) {
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t n = ::recvfrom(socket_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (n < 0) return;
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &from.sin_addr, address, sizeof address);
    TrapMessage trap;
    if (!decodeTrap(buffer, static_cast<size_t>(n), address, trap)) {
      ++dropped_;
      continue;
    }
    ++received_;
    handler_(trap);
  }
}

}  // namespace om::snmp
