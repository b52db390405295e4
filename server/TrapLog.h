// What the server does with a trap it receives: one log record of type
// "trap" for it (which fires LogObjectEvent as every record does), and,
// when the sender is unknown and lies in a subnet that discovers on traps,
// a new node in that subnet.
//
// The record: level "user"; the sender's node name (or its address) as the
// internal and display names; the sender's address; the trap's enterprise
// (or the node's sysObjectID) as sysObjectId; sub-type by the generic trap
// (coldStart ... egpNeighborLoss) or "other trap"; and the message
// "NAME (TRAP OID) from ADDRESS: VARIABLE = VALUE, ...", NAME the trap's or
// notification's name in the MIB tree, or the trap's OID.
#ifndef OM_SERVER_TRAPLOG_H_
#define OM_SERVER_TRAPLOG_H_

#include "monitor/log.h"
#include "server/snmp/TrapReceiver.h"

struct NetworkServer;

namespace om::server {

void logTrap(NetworkServer& server, const om::snmp::TrapMessage& trap);

// Whether `address` lies in the IPv4 network `networkId`/`mask`.
bool inNetwork(const std::string& address, const std::string& networkId, const std::string& mask);

}  // namespace om::server

#endif  // OM_SERVER_TRAPLOG_H_
