// TaskSeries: what one run of a polling task remembers between its samples:
// the last reading of each counter, from which a delta task takes its
// values, and each variable's threshold alarm.
#ifndef OM_SERVER_TASKS_TASKSERIES_H_
#define OM_SERVER_TASKS_TASKSERIES_H_

#include <cstddef>
#include <string>
#include <vector>

#include "core/CounterValue.h"
#include "monitor/TaskObject.h"
#include "server/tasks/AgentReading.h"
#include "server/tasks/ThresholdAlarm.h"

namespace om::server {

class TaskSeries {
 public:
  // An alarm a sample raised: which variable, which threshold, the value.
  struct Alarm {
    size_t variable;
    ThresholdAlarm::Crossing crossing;
    std::string value;
  };

  // Counters that go back are read by `policy` (CCounterValue's).
  explicit TaskSeries(CCounterValue::CountPolicy policy) : policy_(policy) {}

  // The sample's value of each of the task's variables. An absolute task
  // keeps what the agent gave. A delta task gives each counter's increase
  // since the previous reading (empty text for the first reading, and where
  // the policy finds the counter went back rather than wrapped) and keeps
  // the other values as given. A variable the reading lacks is empty.
  std::vector<std::string> values(const CTaskObject& task, const AgentReading& reading);
  // The alarms `values` raise, in variable order; none unless the task uses
  // alarms. Values that are not numbers are passed over.
  std::vector<Alarm> alarms(const CTaskObject& task, const std::vector<std::string>& values);
  // Forgets the counter readings (after a poll that was not answered), so
  // that no delta spans the gap; the alarms keep their state.
  void forgetReadings() { counters_.clear(); }

 private:
  CCounterValue::CountPolicy policy_;
  std::vector<CCounterValue> counters_;  // by variable
  std::vector<ThresholdAlarm> alarms_;   // by variable
};

}  // namespace om::server

#endif  // OM_SERVER_TASKS_TASKSERIES_H_
