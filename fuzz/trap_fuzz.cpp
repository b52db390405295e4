// libFuzzer target for datagrams on the trap port: decodeTrap (net-snmp's
// message and PDU parsers behind the project's reading of a trap) and the
// texts a trap's log record is made of. A datagram is either refused or
// gives a trap with an identifier; each variable has both text forms.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "server/SnmpRequests.h"
#include "server/snmp/MibTree.h"
#include "server/snmp/SnmpText.h"
#include "server/snmp/TrapReceiver.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  om::snmp::loadMibTree(om::server::mibFolders());  // names for the texts
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  om::snmp::TrapMessage trap;
  if (!om::snmp::decodeTrap(data, size, "192.0.2.1", trap)) return 0;
  if (trap.trapOid.empty() || trap.source != "192.0.2.1") std::abort();
  om::snmp::oidName(trap.trapOid);
  for (const om::snmp::Varbind& varbind : trap.varbinds) {
    if (om::snmp::netsnmpText(varbind).empty()) std::abort();
    om::snmp::valueText(varbind);
    om::snmp::oidName(varbind.oid);
  }
  return 0;
}
