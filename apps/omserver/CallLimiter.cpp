#include "CallLimiter.h"

#include <utility>

namespace omserver {

CallLimiter::Slot::Slot(Slot&& other) noexcept
    : owner_(std::exchange(other.owner_, nullptr)), client_(std::move(other.client_)) {}

CallLimiter::Slot::~Slot() {
  if (owner_ != nullptr) owner_->release(client_);
}

std::optional<CallLimiter::Slot> CallLimiter::admit(const std::string& client) {
  std::lock_guard<std::mutex> lock(mutex_);
  unsigned& count = perClient_[client];
  if (total_ >= maxTotal_ || count >= maxPerClient_) {
    if (count == 0) perClient_.erase(client);
    return std::nullopt;
  }
  ++count;
  ++total_;
  return Slot(this, client);
}

void CallLimiter::release(const std::string& client) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = perClient_.find(client);
  if (--found->second == 0) perClient_.erase(found);
  if (--total_ == 0) idle_.notify_all();
}

unsigned CallLimiter::inProgress() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return total_;
}

bool CallLimiter::waitIdle(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  return idle_.wait_until(lock, deadline, [this] { return total_ == 0; });
}

void CallLimiter::waitIdle() {
  std::unique_lock<std::mutex> lock(mutex_);
  idle_.wait(lock, [this] { return total_ == 0; });
}

}  // namespace omserver
