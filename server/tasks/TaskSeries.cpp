#include "server/tasks/TaskSeries.h"

namespace om::server {
namespace {

std::string deltaOf(const SampledValue& value, const std::string& upTime, CCounterValue& counter) {
  if (value.counter == SampledValue::Counter::kNone) {
    counter.getDeltaString(tstring(), upTime);  // no longer a counter: the next one starts afresh
    return value.text;
  }
  counter.setTo64(value.counter == SampledValue::Counter::k64);
  return counter.getDeltaString(value.text, upTime);
}

}  // namespace

std::vector<std::string> TaskSeries::values(const CTaskObject& task, const AgentReading& reading) {
  const size_t count = task.getMibVariables().size();
  const bool delta = task.getSampleType() == CTaskObject::SAMPLETYPE_DELTA;
  counters_.resize(count, CCounterValue(false, policy_));
  std::vector<std::string> out;
  out.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const SampledValue value = i < reading.values.size() ? reading.values[i] : SampledValue();
    out.push_back(delta ? deltaOf(value, reading.sysUpTime, counters_[i]) : value.text);
  }
  return out;
}

std::vector<TaskSeries::Alarm> TaskSeries::alarms(const CTaskObject& task, const std::vector<std::string>& values) {
  std::vector<Alarm> raised;
  if (!task.isUsingRmon()) return raised;
  alarms_.resize(values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    const std::optional<ThresholdAlarm::Number> number = ThresholdAlarm::parse(values[i]);
    if (!number) continue;
    const ThresholdAlarm::Crossing crossing = alarms_[i].feed(task, *number);
    if (crossing != ThresholdAlarm::Crossing::kNone) raised.push_back({i, crossing, values[i]});
  }
  return raised;
}

}  // namespace om::server
