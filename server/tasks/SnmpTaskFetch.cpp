#include "server/tasks/SnmpTaskFetch.h"

#include <utility>

#include "server/SnmpRequests.h"
#include "server/snmp/SnmpText.h"

namespace om::server {
namespace {

using om::snmp::Response;
using om::snmp::Status;
using om::snmp::Varbind;

const om::snmp::Oid kSysUpTime = {1, 3, 6, 1, 2, 1, 1, 3, 0};

om::snmp::Target taskTarget(const CTaskObject& task) {
  const std::string& host = task.getIpAddress().empty() ? task.getDNSName() : task.getIpAddress();
  om::snmp::Target target = snmpTarget(host, Community::kRead, task.getReadCommunityName());
  target.version = task.getSnmpVersion() == SNMP_VERSION_1 ? om::snmp::Version::kV1 : om::snmp::Version::kV2c;
  return target;
}

SampledValue sampledValue(const Varbind& varbind) {
  SampledValue value{om::snmp::valueText(varbind)};
  if (varbind.type == om::snmp::kCounter32) value.counter = SampledValue::Counter::k32;
  if (varbind.type == om::snmp::kCounter64) value.counter = SampledValue::Counter::k64;
  return value;
}

// The value of the answer's varbind at `index` (1-based, as the agent's
// error index counts).
SampledValue answeredValue(const Response& response, size_t index) {
  if (response.status == Status::kAgentError) {
    const bool atFault = static_cast<size_t>(response.errorIndex) == index;
    return {atFault ? om::snmp::errorStatusName(response.errorStatus) : "notAsked"};
  }
  return index <= response.varbinds.size() ? sampledValue(response.varbinds[index - 1]) : SampledValue{"NULL"};
}

}  // namespace

om::snmp::Request taskRequest(const CTaskObject& task, std::vector<bool>& known) {
  om::snmp::Request request;
  request.varbinds.emplace_back().oid = kSysUpTime;
  known.clear();
  for (const std::string& variable : task.getMibVariables()) {
    Varbind varbind;
    known.push_back(om::snmp::parseOid(variable, varbind.oid));
    if (known.back()) request.varbinds.push_back(std::move(varbind));
  }
  return request;
}

AgentReading taskReading(const std::vector<bool>& known, const Response& response) {
  AgentReading reading;
  if (response.status != Status::kOk && response.status != Status::kAgentError) {
    reading.error = response.message.empty() ? "no answer" : response.message;
    return reading;
  }
  const bool hasUpTime = response.status == Status::kOk && !response.varbinds.empty() &&
                         response.varbinds.front().type == om::snmp::kTimeTicks;
  if (hasUpTime) reading.sysUpTime = om::snmp::valueText(response.varbinds.front());
  size_t index = 1;
  for (const bool asked : known) {
    reading.values.push_back(asked ? answeredValue(response, ++index) : SampledValue{"unknownVariable"});
  }
  return reading;
}

void fetchTaskReading(om::snmp::SnmpEngine& engine, const CTaskObject& task, std::function<void(AgentReading)> done) {
  std::vector<bool> known;
  om::snmp::Request request = taskRequest(task, known);
  engine.send(
      taskTarget(task), std::move(request),
      [known = std::move(known), done = std::move(done)](Response response) { done(taskReading(known, response)); });
}

}  // namespace om::server
