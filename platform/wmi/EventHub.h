// Event subscriptions (ExecNotificationQueryAsync) and the delivery of the
// events providers fire. Each subscription has its own bounded queue, fed by
// the firing thread and drained into the subscriber's sink by one worker
// task at a time, so a slow subscriber delays only itself: when its queue is
// full the oldest event is dropped and counted, and the firing thread never
// waits for a sink.
#ifndef OM_PLATFORM_WMI_EVENTHUB_H_
#define OM_PLATFORM_WMI_EVENTHUB_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CallSink.h"
#include "CimClass.h"
#include "WorkerPool.h"
#include "Wql.h"

namespace om::wmi {

class EventHub {
 public:
  explicit EventHub(WorkerPool& pool) : pool_(pool) {}

  // Feeds `sink` with the events of `nameSpace` that `query` selects, until
  // the sink's call is cancelled.
  void subscribe(std::u16string nameSpace, std::shared_ptr<const WqlQuery> query, CallSink* sink);
  // Queues a copy of `event` (an instance of `eventClass`) for every
  // matching subscription of the namespace.
  void fire(std::u16string_view nameSpace, const CimClass& eventClass, IWbemClassObject* event);

  void setQueueLimit(std::size_t limit) { limit_ = limit == 0 ? 1 : limit; }
  std::size_t queueLimit() const { return limit_; }
  std::uint64_t dropped() const { return dropped_; }
  // Counts events dropped by queues outside the hub (the daemon's queues of
  // remote subscribers), so that one count covers every subscriber.
  void countDropped() { ++dropped_; }
  // Forgets every subscription (their calls are cancelled elsewhere) and
  // resets the count of dropped events.
  void clear();

 private:
  struct Subscription {
    std::u16string nameSpace;
    std::shared_ptr<const WqlQuery> query;
    CComPtr<CallSink> sink;
    std::mutex mutex;
    std::deque<CComPtr<IWbemClassObject>> queue;
    bool draining = false;  // a worker task is feeding the sink
  };
  using SubscriptionPtr = std::shared_ptr<Subscription>;

  void enqueue(const SubscriptionPtr& subscription, IWbemClassObject* event);
  void drain(const SubscriptionPtr& subscription);
  void remove(const Subscription* subscription);

  WorkerPool& pool_;
  std::mutex mutex_;
  std::vector<SubscriptionPtr> subscriptions_;
  std::atomic<std::size_t> limit_{1000};
  std::atomic<std::uint64_t> dropped_{0};
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_EVENTHUB_H_
