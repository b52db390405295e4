#include "server/tasks/ThresholdAlarm.h"

#include <charconv>
#include <utility>

namespace om::server {
namespace {

template <class Int>
std::optional<ThresholdAlarm::Number> parseAs(const std::string& text) {
  Int value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

bool raises(CTaskObject::AlarmType type, ThresholdAlarm::Crossing crossing) {
  if (type == CTaskObject::ALARMTYPE_RISING_OR_FALLING) return true;
  return crossing == ThresholdAlarm::Crossing::kRising ? type == CTaskObject::ALARMTYPE_RISING
                                                       : type == CTaskObject::ALARMTYPE_FALLING;
}

}  // namespace

std::optional<ThresholdAlarm::Number> ThresholdAlarm::parse(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return text.front() == '-' ? parseAs<int64_t>(text) : parseAs<uint64_t>(text);
}

ThresholdAlarm::Crossing ThresholdAlarm::feed(const CTaskObject& task, const Number& value) {
  const uint64_t rising = task.getRisingThresholdInt();
  const auto falling = static_cast<int64_t>(task.getFallingThresholdInt());
  Crossing crossing = Crossing::kNone;
  std::visit(
      [&](auto v) {
        if (last_ != Crossing::kRising && std::cmp_greater_equal(v, rising)) {
          crossing = Crossing::kRising;
        } else if (last_ != Crossing::kFalling && std::cmp_less_equal(v, falling)) {
          crossing = Crossing::kFalling;
        }
      },
      value);
  if (crossing == Crossing::kNone) return crossing;
  last_ = crossing;
  return raises(task.getAlarmType(), crossing) ? crossing : Crossing::kNone;
}

}  // namespace om::server
