// Reception of SNMPv1 traps and SNMPv2c notifications: one UDP socket,
// watched by an SnmpEngine, each datagram decoded with net-snmp's message
// parser and handed on as a TrapMessage. Datagrams that are not a trap
// (malformed, another PDU, another SNMP version, an inform, which would need
// an answer) are counted and dropped.
#ifndef OM_SERVER_SNMP_TRAPRECEIVER_H_
#define OM_SERVER_SNMP_TRAPRECEIVER_H_

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "server/snmp/SnmpTypes.h"

namespace om::snmp {

class SnmpEngine;

// One trap, in the SNMPv2 form whatever version it came in.
struct TrapMessage {
  std::string source;  // the sender's address
  Version version = Version::kV2c;
  std::string community;
  // snmpTrapOID: an SNMPv1 trap's is made from its generic and specific
  // numbers as SNMPv2 does (coldStart 1.3.6.1.6.3.1.1.5.1 ...; an
  // enterprise-specific trap N of enterprise E is E.0.N).
  Oid trapOid;
  // SNMPv1: the trap's enterprise; SNMPv2c: snmpTrapEnterprise.0 when sent.
  Oid enterprise;
  int genericTrap = -1;  // SNMPv1 only
  int specificTrap = 0;  // SNMPv1 only
  uint32_t upTime = 0;   // time stamp, hundredths of a second
  // The variables, without sysUpTime.0 and snmpTrapOID.0 of an SNMPv2c one.
  std::vector<Varbind> varbinds;
};

// Decodes one datagram; false when it is not an SNMPv1 trap or an SNMPv2c
// notification.
bool decodeTrap(const uint8_t* data, size_t length, const std::string& source, TrapMessage& out);

class TrapReceiver {
 public:
  using Handler = std::function<void(const TrapMessage&)>;

  // Listens on UDP `port` of every IPv4 address (0: a port the system
  // picks). `handler` runs on the engine's thread. `engine` must outlive
  // this object.
  TrapReceiver(SnmpEngine& engine, int port, Handler handler);
  ~TrapReceiver();
  TrapReceiver(const TrapReceiver&) = delete;
  TrapReceiver& operator=(const TrapReceiver&) = delete;

  // Empty when listening; otherwise why not.
  const std::string& error() const { return error_; }
  int port() const { return port_; }
  uint64_t received() const { return received_; }
  uint64_t dropped() const { return dropped_; }

 private:
  void readAll();

  SnmpEngine& engine_;
  Handler handler_;
  int socket_ = -1;
  int port_ = 0;
  std::string error_;
  std::atomic<uint64_t> received_{0};
  std::atomic<uint64_t> dropped_{0};
};

}  // namespace om::snmp

#endif  // OM_SERVER_SNMP_TRAPRECEIVER_H_
