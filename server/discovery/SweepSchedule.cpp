#include "server/discovery/SweepSchedule.h"

#include <algorithm>

namespace om::server {

SweepSchedule::SweepSchedule(size_t targets, int tries, Duration timeout, Pacing pacing)
    : targets_(targets),
      maxTries_(static_cast<uint16_t>(std::clamp(tries, 1, 0xffff))),
      timeout_(std::max(timeout, Duration::zero())),
      pacing_(pacing),
      open_(targets) {}

bool SweepSchedule::mayRequest(Time now) const {
  return now >= slot_ && now >= lastSent_ + pacing_.minGap && now >= holdUntil_;
}

void SweepSchedule::dropEnded() {
  while (!retries_.empty() && targets_[retries_.front()].state != State::kQueued) retries_.pop_front();
  while (nextFirst_ < targets_.size() && targets_[nextFirst_].state != State::kQueued) ++nextFirst_;
}

std::optional<size_t> SweepSchedule::due(Time now) {
  dropEnded();
  if (!mayRequest(now)) return std::nullopt;
  if (!retries_.empty()) return retries_.front();
  if (nextFirst_ < targets_.size()) return nextFirst_;
  return std::nullopt;
}

void SweepSchedule::sent(size_t target, Time now) {
  if (!retries_.empty() && retries_.front() == target) {
    retries_.pop_front();
  } else if (target == nextFirst_) {
    ++nextFirst_;
  }
  Target& t = targets_[target];
  ++t.tries;
  t.state = State::kWaiting;
  flights_.push_back(Flight{target, now + timeout_});
  // The rate holds on average: after a request that went out late the next
  // may follow sooner, but by no more than one interval, so that no burst
  // makes up for a long delay. The first request starts the count.
  const Time base = lastSent_ == Time::min() ? now : std::max(slot_, now - pacing_.interval);
  slot_ = base + pacing_.interval;
  lastSent_ = now;
  refusals_ = 0;
}

void SweepSchedule::refused(size_t target, Time now) {
  if (refusals_ == 0) firstRefusal_ = now;
  if (now - firstRefusal_ >= kMaxRefusal) {
    sent(target, now);
    return;
  }
  holdUntil_ = now + std::min<Duration>(std::chrono::milliseconds(1 << std::min(refusals_, 6)), kLongestHold);
  ++refusals_;
}

void SweepSchedule::end(size_t target, State state) {
  targets_[target].state = state;
  --open_;
}

bool SweepSchedule::answer(size_t target) {
  const Target& t = targets_[target];
  if (t.tries == 0 || (t.state != State::kWaiting && t.state != State::kQueued)) return false;
  end(target, State::kAnswered);
  return true;
}

bool SweepSchedule::unreachable(size_t target) {
  const State state = targets_[target].state;
  if (state != State::kWaiting && state != State::kQueued) return false;
  end(target, State::kSilent);
  return true;
}

void SweepSchedule::expire(Time now, const std::function<void(size_t target)>& silent) {
  while (!flights_.empty() && flights_.front().deadline <= now) {
    const size_t target = flights_.front().target;
    flights_.pop_front();
    Target& t = targets_[target];
    if (t.state != State::kWaiting) continue;  // ended while it waited
    if (t.tries < maxTries_) {
      t.state = State::kQueued;
      retries_.push_back(target);
    } else {
      end(target, State::kSilent);
      silent(target);
    }
  }
}

std::optional<SweepSchedule::Time> SweepSchedule::nextEvent() const {
  if (finished()) return std::nullopt;
  std::optional<Time> next;
  if (!retries_.empty() || nextFirst_ < targets_.size()) {
    next = std::max({slot_, lastSent_ + pacing_.minGap, holdUntil_});
  }
  if (!flights_.empty()) next = next ? std::min(*next, flights_.front().deadline) : flights_.front().deadline;
  return next;
}

}  // namespace om::server
