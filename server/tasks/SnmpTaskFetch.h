// How the task sampler reads a polling task's agent by SNMP: one GET of
// sysUpTime.0 and the task's MIB variables (names the loaded MIB knows, or
// dotted OIDs), sent to the task's address (else its DNS name) with its read
// community (else the settings', as for a node) and SNMP version (0 SNMPv1,
// anything else SNMPv2c), on the port, time-out and retries of the settings.
#ifndef OM_SERVER_TASKS_SNMPTASKFETCH_H_
#define OM_SERVER_TASKS_SNMPTASKFETCH_H_

#include <functional>
#include <vector>

#include "monitor/TaskObject.h"
#include "server/snmp/SnmpEngine.h"
#include "server/tasks/AgentReading.h"

namespace om::server {

// The request for `task`, sysUpTime.0 first; `known` gets whether each MIB
// variable could be read as an OID (the others are not asked).
om::snmp::Request taskRequest(const CTaskObject& task, std::vector<bool>& known);
// The reading an answer to that request gives. A variable not known is
// "unknownVariable". When the agent refused the request, it still answered:
// the variable at fault gets the error's name ("noSuchName", ...) and the
// others "notAsked". A request that got no answer is an error.
AgentReading taskReading(const std::vector<bool>& known, const om::snmp::Response& response);

// Sends the task's request through `engine` (not owned); `done` hears the
// reading on the engine's thread.
void fetchTaskReading(om::snmp::SnmpEngine& engine, const CTaskObject& task, std::function<void(AgentReading)> done);

}  // namespace om::server

#endif  // OM_SERVER_TASKS_SNMPTASKFETCH_H_
