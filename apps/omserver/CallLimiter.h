// CallLimiter: counts the calls in progress, in total and per client, and
// refuses a call past either cap. A call holds a Slot from the moment it is
// admitted until it is answered; the Slot gives its place back when it goes.
// Safe to use from many threads.
#ifndef OM_APPS_OMSERVER_CALLLIMITER_H_
#define OM_APPS_OMSERVER_CALLLIMITER_H_

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace omserver {

class CallLimiter {
 public:
  // One admitted call; move-only.
  class Slot {
   public:
    Slot(Slot&& other) noexcept;
    Slot& operator=(Slot&&) = delete;
    Slot(const Slot&) = delete;
    ~Slot();

   private:
    friend class CallLimiter;
    Slot(CallLimiter* owner, std::string client) : owner_(owner), client_(std::move(client)) {}

    CallLimiter* owner_;  // null once moved from
    std::string client_;
  };

  CallLimiter(unsigned maxTotal, unsigned maxPerClient) : maxTotal_(maxTotal), maxPerClient_(maxPerClient) {}
  // Every Slot must be gone first.
  ~CallLimiter() = default;
  CallLimiter(const CallLimiter&) = delete;
  CallLimiter& operator=(const CallLimiter&) = delete;

  // A place for a call of `client`; nothing when the total or the client's
  // count is at its cap.
  std::optional<Slot> admit(const std::string& client);
  unsigned inProgress() const;
  // Waits until no call is in progress or `deadline` has passed; true when
  // none is.
  bool waitIdle(std::chrono::steady_clock::time_point deadline);
  // Waits until no call is in progress.
  void waitIdle();

 private:
  void release(const std::string& client);

  const unsigned maxTotal_;
  const unsigned maxPerClient_;
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  unsigned total_ = 0;
  std::map<std::string, unsigned> perClient_;  // only clients with calls in progress
};

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_CALLLIMITER_H_
