// ThresholdAlarm: the rising and falling thresholds of one variable of a
// polling task, with the hysteresis of the RMON alarm group. A value at or
// above the rising threshold is a rising crossing, one at or below the
// falling threshold a falling crossing; after a crossing of one kind, the
// next crossing of the same kind counts only once the value has reached the
// other threshold in between. The task's alarm type decides which crossings
// raise an alarm; the others only re-arm.
#ifndef OM_SERVER_TASKS_THRESHOLDALARM_H_
#define OM_SERVER_TASKS_THRESHOLDALARM_H_

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "monitor/TaskObject.h"

namespace om::server {

class ThresholdAlarm {
 public:
  enum class Crossing { kNone, kRising, kFalling };
  // A sampled number: negative ones signed, the others unsigned (a Counter64
  // or a delta may use all 64 bits).
  using Number = std::variant<int64_t, uint64_t>;

  // The whole text as a decimal number; nothing for other text (an empty
  // delta, a string, an error name) or a number beyond 64 bits.
  static std::optional<Number> parse(const std::string& text);

  // Takes the next value, compared with the task's rising threshold
  // (unsigned) and falling threshold (signed). Returns the alarm to raise,
  // if any, by the task's alarm type.
  Crossing feed(const CTaskObject& task, const Number& value);

 private:
  // The last crossing, whether it raised an alarm or not.
  Crossing last_ = Crossing::kNone;
};

}  // namespace om::server

#endif  // OM_SERVER_TASKS_THRESHOLDALARM_H_
