// AgentReading: what one poll of a polling task's agent gave: its sysUpTime
// and the value of each of the task's MIB variables, or why it gave nothing.
// Plain data, so that the sampler's source of readings can be replaced.
#ifndef OM_SERVER_TASKS_AGENTREADING_H_
#define OM_SERVER_TASKS_AGENTREADING_H_

#include <string>
#include <vector>

namespace om::server {

// One variable's value in its display text (om::snmp::valueText), and
// whether it is a counter, whose successive values a delta task subtracts.
struct SampledValue {
  enum class Counter { kNone, k32, k64 };

  std::string text;
  Counter counter = Counter::kNone;

  bool operator==(const SampledValue&) const = default;
};

struct AgentReading {
  // Why the agent gave no answer; empty when it answered.
  std::string error;
  // The agent's sysUpTime as "[N days ]H:MM:SS.hh"; empty when not read.
  std::string sysUpTime;
  // One per MIB variable of the task, in its order.
  std::vector<SampledValue> values;

  bool answered() const { return error.empty(); }
};

}  // namespace om::server

#endif  // OM_SERVER_TASKS_AGENTREADING_H_
