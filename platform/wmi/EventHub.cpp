#include "EventHub.h"

#include <algorithm>
#include <utility>

#include "Text.h"
#include "WqlEvaluator.h"

namespace om::wmi {
namespace {

// Events handed to a sink in one Indicate at most.
constexpr std::size_t kBatch = 64;

}  // namespace

void EventHub::subscribe(std::u16string nameSpace, std::shared_ptr<const WqlQuery> query, CallSink* sink) {
  auto subscription = std::make_shared<Subscription>();
  subscription->nameSpace = std::move(nameSpace);
  subscription->query = std::move(query);
  subscription->sink = sink;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_.push_back(subscription);
  }
  // Registered after the subscription is listed: a call cancelled already
  // removes it at once.
  const Subscription* key = subscription.get();
  sink->onCancel([this, key] { remove(key); });
}

void EventHub::fire(std::u16string_view nameSpace, const CimClass& eventClass, IWbemClassObject* event) {
  std::vector<SubscriptionPtr> subscriptions;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const SubscriptionPtr& s : subscriptions_) {
      if (equalsNoCase(s->nameSpace, nameSpace) && eventClass.isA(s->query->className)) subscriptions.push_back(s);
    }
  }
  for (const SubscriptionPtr& s : subscriptions) {
    if (wqlMatches(s->query->where.get(), event)) enqueue(s, event);
  }
}

void EventHub::enqueue(const SubscriptionPtr& subscription, IWbemClassObject* event) {
  CComPtr<IWbemClassObject> oldest;  // released after the lock
  std::lock_guard<std::mutex> lock(subscription->mutex);
  subscription->queue.emplace_back(event);
  if (subscription->queue.size() > limit_) {
    oldest.Attach(subscription->queue.front().Detach());
    subscription->queue.pop_front();
    ++dropped_;
  }
  if (subscription->draining) return;
  subscription->draining = pool_.post([this, subscription] { drain(subscription); });
}

void EventHub::drain(const SubscriptionPtr& subscription) {
  const WqlQuery& query = *subscription->query;
  for (;;) {
    std::vector<CComPtr<IWbemClassObject>> batch;
    {
      std::lock_guard<std::mutex> lock(subscription->mutex);
      if (subscription->queue.empty()) {
        subscription->draining = false;
        return;
      }
      while (!subscription->queue.empty() && batch.size() < kBatch) {
        batch.emplace_back(subscription->queue.front());
        subscription->queue.pop_front();
      }
    }
    // Each subscriber gets its own copies, shaped by its SELECT list.
    std::vector<CComPtr<IWbemClassObject>> copies;
    std::vector<IWbemClassObject*> pointers;
    for (const CComPtr<IWbemClassObject>& event : batch) {
      copies.push_back(wqlProject(query, event));
      if (copies.back() != nullptr) pointers.push_back(copies.back());
    }
    if (pointers.empty()) continue;
    if (subscription->sink->Indicate(static_cast<long>(pointers.size()), pointers.data()) == WBEM_E_CALL_CANCELLED) {
      std::deque<CComPtr<IWbemClassObject>> dropped;
      std::lock_guard<std::mutex> lock(subscription->mutex);
      dropped.swap(subscription->queue);
      subscription->draining = false;
      return;
    }
  }
}

void EventHub::remove(const Subscription* subscription) {
  SubscriptionPtr removed;  // released after the lock
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = std::find_if(subscriptions_.begin(), subscriptions_.end(),
                               [&](const SubscriptionPtr& s) { return s.get() == subscription; });
  if (it == subscriptions_.end()) return;
  removed = std::move(*it);
  subscriptions_.erase(it);
}

void EventHub::clear() {
  std::vector<SubscriptionPtr> removed;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    removed.swap(subscriptions_);
  }
  dropped_ = 0;
}

}  // namespace om::wmi
