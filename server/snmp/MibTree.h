// The MIB tree: the MIB modules of some folders compiled with net-snmp's
// MIB parser, as CMibNode records. Loading also gives net-snmp the names
// that SnmpText uses (the tree is one per process; the last load counts).
//
// Node types (low half of nodeTypeKind): 0 a plain OBJECT IDENTIFIER,
// 1 an OBJECT-TYPE, 2 a MODULE-IDENTITY, 3 a conformance statement (object
// or notification group, compliance, capabilities), 4 a NOTIFICATION-TYPE,
// 5 an OBJECT-IDENTITY, 9 a TRAP-TYPE. Kind flags: leaf (an accessible
// object without children), scalar (such an object outside a table),
// table (a table and its entry), index (a column its entry is indexed by).
// Status: 0 none, 1 current or mandatory, 2 deprecated, 3 obsolete,
// 4 optional. Access: 0 not-accessible, 1 read-only, 2 read-write,
// 3 write-only, 4 accessible-for-notify, 5 read-create.
//
// Names: a node's name is its label; where two modules give one label to
// different identifiers, the later one is "MODULE::label". The roots hang
// under OrvaMibRootParent. A trap is also listed as "SmiTrapType.label"
// under OrvaTrapListParent (its identifier the SNMPv2 form enterprise.0.N,
// its access the trap number, its syntax the enterprise, its values the
// variables) and a notification's name under OrvaNotificationListParent;
// the six generic SNMPv1 traps are always listed.
#ifndef OM_SERVER_SNMP_MIBTREE_H_
#define OM_SERVER_SNMP_MIBTREE_H_

#include <string>
#include <vector>

#include "monitor/mibnode.h"

namespace om::snmp {

// One complaint of the parser; file and line where it says.
struct MibLoadError {
  std::string file;
  int line = 0;
  std::string message;
};

struct MibTree {
  std::vector<CMibNode> nodes;  // parents before children, children in OID order
  std::vector<std::string> modules;
  std::vector<MibLoadError> errors;
};

enum MibNodeType : int {
  kMibPlain = 0,
  kMibObjectType = 1,
  kMibModuleIdentity = 2,
  kMibConformance = 3,
  kMibObjectIdentity = 5,
};

// Compiles every module file of `folders` (a module that fails does not
// stop the others).
MibTree loadMibTree(const std::vector<std::string>& folders);

// The pseudo-parents and the generic SNMPv1 traps: the tree with no module.
std::vector<CMibNode> mibTreeFrame();

}  // namespace om::snmp

#endif  // OM_SERVER_SNMP_MIBTREE_H_
