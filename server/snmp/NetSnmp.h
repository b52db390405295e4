// The SNMP layer's own view of net-snmp: its headers, the lock around its
// process-wide MIB tree, the conversions between its variables and
// Varbind, and the sink of its log messages. Included only by this
// folder's sources.
#ifndef OM_SERVER_SNMP_NETSNMP_H_
#define OM_SERVER_SNMP_NETSNMP_H_

#include <functional>
#include <memory>
#include <shared_mutex>
#include <string>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/library/large_fd_set.h>

#include "server/snmp/SnmpTypes.h"

namespace om::snmp {

// Held shared while reading net-snmp's MIB tree, exclusively while loading it.
std::shared_mutex& mibMutex();

// A PDU freed with it.
using PduPointer = std::unique_ptr<netsnmp_pdu, void (*)(netsnmp_pdu*)>;
inline PduPointer newPdu(int command) { return PduPointer(snmp_pdu_create(command), snmp_free_pdu); }

Varbind fromVariable(const netsnmp_variable_list& variable);
// Appends `varbind` with its value to `pdu`.
void addVarbind(netsnmp_pdu* pdu, const Varbind& varbind);

// While one exists, net-snmp's log messages go to `sink` (one message a
// call, without its line end); otherwise they are dropped.
class LogCapture {
 public:
  explicit LogCapture(std::function<void(const std::string& message)> sink);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
};

}  // namespace om::snmp

#endif  // OM_SERVER_SNMP_NETSNMP_H_
