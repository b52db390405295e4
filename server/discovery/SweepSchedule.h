// The timing of an echo sweep over many targets, apart from any socket: when
// the next request may go out (an average rate, a least gap between two
// requests, and a back-off while the socket refuses to send), which target
// it is for (retries before first requests, so that a target's tries stay
// close together), when a try has waited out its time-out, and when each
// target ends, answered or silent. Works on the times it is given; one
// thread. Memory grows with the number of targets only.
#ifndef OM_SERVER_DISCOVERY_SWEEPSCHEDULE_H_
#define OM_SERVER_DISCOVERY_SWEEPSCHEDULE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

namespace om::server {

class SweepSchedule {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;
  using Duration = Clock::duration;

  struct Pacing {
    Duration interval{0};  // the average time between requests (1 / rate); 0: no limit
    Duration minGap{0};    // the least time between two requests
  };
  // How long the socket may refuse requests in a row before the request it
  // refuses counts as sent and lost (a request held back waits for room:
  // the kernel frees what it holds for silent on-link addresses within
  // seconds).
  static constexpr Duration kMaxRefusal = std::chrono::seconds(5);
  // The longest pause between two attempts while the socket refuses.
  static constexpr Duration kLongestHold = std::chrono::milliseconds(64);

  // Targets 0 .. targets - 1, each sent up to `tries` requests (at least 1)
  // that each wait `timeout`.
  SweepSchedule(size_t targets, int tries, Duration timeout, Pacing pacing);

  // The target whose request may go out at `now`; none when there is nothing
  // to send or it is not yet time.
  std::optional<size_t> due(Time now);
  // The next request of `target` went out at `now`.
  void sent(size_t target, Time now);
  // The socket refused the request to `target` for now (its buffer is full):
  // no request goes out for a while, twice as long at each refusal in a row
  // up to kLongestHold; once refusals have lasted kMaxRefusal, the try
  // counts as sent and lost.
  void refused(size_t target, Time now);
  // The target answered. True when that ends it (its first answer to a
  // request sent, before its tries ran out).
  bool answer(size_t target);
  // The target cannot be reached: it ends silent. True when that ends it.
  bool unreachable(size_t target);
  // Ends the tries that have waited out their time-out by `now`: a target
  // with tries left waits to be sent again, the others end silent and are
  // passed to `silent`.
  void expire(Time now, const std::function<void(size_t target)>& silent);
  // When something is next due (a request or a time-out); none when every
  // target has ended.
  std::optional<Time> nextEvent() const;

  bool finished() const { return open_ == 0; }
  // Requests sent to `target` so far (lost tries included).
  int tries(size_t target) const { return targets_[target].tries; }

 private:
  enum class State : uint8_t { kQueued, kWaiting, kAnswered, kSilent };
  struct Target {
    State state = State::kQueued;
    uint16_t tries = 0;
  };
  struct Flight {
    size_t target;
    Time deadline;
  };

  // Whether a request may go out at `now`.
  bool mayRequest(Time now) const;
  // Takes the head of the retries while it is a target that has ended.
  void dropEnded();
  void end(size_t target, State state);

  std::vector<Target> targets_;
  const uint16_t maxTries_;
  const Duration timeout_;
  const Pacing pacing_;
  size_t nextFirst_ = 0;        // the next target not yet sent to
  std::deque<size_t> retries_;  // targets whose try timed out, in order
  std::deque<Flight> flights_;  // tries waiting, by deadline (sends are in time order)
  size_t open_;                 // targets not yet ended
  Time slot_{Time::min()};      // when the rate lets the next request go
  Time lastSent_{Time::min()};
  Time holdUntil_{Time::min()};
  Time firstRefusal_{};  // of the refusals in a row, when refusals_ > 0
  int refusals_ = 0;
};

}  // namespace om::server

#endif  // OM_SERVER_DISCOVERY_SWEEPSCHEDULE_H_
