// The object manager's worker threads: they run asynchronous calls and feed
// event subscribers. Threads are started on demand, when a task is posted and
// no worker is idle, up to a fixed number; so that a task that waits for
// another task (a provider making a nested asynchronous call) finds a thread
// for it until the limit is reached.
#ifndef OM_PLATFORM_WMI_WORKERPOOL_H_
#define OM_PLATFORM_WMI_WORKERPOOL_H_

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace om::wmi {

class WorkerPool {
 public:
  explicit WorkerPool(std::size_t maxThreads);
  ~WorkerPool();

  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  // Queues a task. Once stop() has begun only the pool's own workers may
  // post (their tasks still run); anyone else gets false.
  bool post(std::function<void()> task);

  // Runs every task already queued (and those they post), then joins the
  // threads. Must not be called from a worker. The pool can be used again
  // afterwards.
  void stop();

  // True on one of this pool's threads.
  bool onWorker() const;

 private:
  void run();

  const std::size_t maxThreads_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool stopping_ = false;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_WORKERPOOL_H_
