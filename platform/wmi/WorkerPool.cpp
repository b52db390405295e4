#include "WorkerPool.h"

#include <algorithm>
#include <utility>

namespace om::wmi {
namespace {
thread_local const WorkerPool* t_pool = nullptr;  // the pool whose worker this thread is
}  // namespace

WorkerPool::WorkerPool(std::size_t maxThreads) : maxThreads_(std::max<std::size_t>(maxThreads, 1)) {}

WorkerPool::~WorkerPool() { stop(); }

bool WorkerPool::post(std::function<void()> task) {
  std::lock_guard<std::mutex> lock(mutex_);
  // While stopping, only the workers that are draining the queue may add to it.
  if (stopping_ && !onWorker()) return false;
  tasks_.push_back(std::move(task));
  if (!stopping_ && idle_ < tasks_.size() && threads_.size() < maxThreads_) {
    threads_.emplace_back([this] { run(); });
  } else {
    wake_.notify_one();
  }
  return true;
}

void WorkerPool::stop() {
  std::vector<std::thread> threads;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    wake_.notify_all();
    threads.swap(threads_);
  }
  for (std::thread& t : threads) t.join();
  std::lock_guard<std::mutex> lock(mutex_);
  stopping_ = false;
  idle_ = 0;
}

bool WorkerPool::onWorker() const { return t_pool == this; }

void WorkerPool::run() {
  t_pool = this;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    if (tasks_.empty()) {
      if (stopping_) break;
      ++idle_;
      wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      --idle_;
      continue;
    }
    std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    task = nullptr;  // what the task captured is released outside the lock
    lock.lock();
  }
}

}  // namespace om::wmi
