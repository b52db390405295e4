// The MIB tree the server knows without any MIB module loaded: the roots,
// the path down to the system group with its seven objects, the standard
// notifications of SNMPv2 and the generic traps of SNMPv1. Enough to browse
// and walk a node's system group until MIB modules are read.
//
// Node types this server gives (low half of nodeTypeKind): 0 a plain
// OBJECT IDENTIFIER node, 1 an OBJECT-TYPE, 4 a notification, 9 a trap.
// Status 1 is current; access 1 read-only, 2 read-write, 0 none.
#ifndef OM_SERVER_STORE_SYSTEMMIB_H_
#define OM_SERVER_STORE_SYSTEMMIB_H_

#include <vector>

#include "monitor/mibnode.h"

// The nodes in tree order (depth first), each with its object identifier,
// full path, parent, children and siblings filled in.
std::vector<CMibNode> systemMibNodes();

#endif  // OM_SERVER_STORE_SYSTEMMIB_H_
