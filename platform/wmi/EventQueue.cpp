#include "EventQueue.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <new>
#include <utility>

#include <om/ComObject.h>

#include "ObjectManagerCore.h"
#include "Text.h"

namespace om::wmi {

// The sink of one event query: numbers the events and keeps them for pulls.
class EventQueue::Subscription final : public om::ComObject<IWbemObjectSink> {
 public:
  Subscription(IWbemServices* services, std::string owner, std::size_t limit)
      : services_(services), owner_(std::move(owner)), limit_(limit) {}

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      for (long i = 0; i < lObjectCount; ++i) {
        if (events_.size() >= limit_) {
          // One handed out already is kept only in case its reply got lost:
          // dropping it loses nothing the client has not seen.
          if (events_.front().first > handedOut_) ManagerCore::instance().countDroppedEvent();
          events_.pop_front();
        }
        events_.emplace_back(++last_, apObjArray[i]);
      }
    }
    changed_.notify_all();
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT hResult, BSTR, IWbemClassObject*) override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (!ended_) status_ = hResult;
      ended_ = true;
    }
    changed_.notify_all();
    return WBEM_S_NO_ERROR;
  }

  const std::string& owner() const { return owner_; }

  // How the manager ended the query; WBEM_S_NO_ERROR while it runs.
  HRESULT status() {
    std::lock_guard<std::mutex> lock(mutex_);
    return status_;
  }

  // False when the manager ended the query and no event is left.
  bool pull(std::uint64_t acknowledged, std::chrono::milliseconds wait,
            std::vector<CComPtr<IWbemClassObject>>* events, std::uint64_t* last) {
    std::unique_lock<std::mutex> lock(mutex_);
    lastPull_ = std::chrono::steady_clock::now();
    while (!events_.empty() && events_.front().first <= acknowledged) events_.pop_front();
    changed_.wait_for(lock, wait, [this] { return !events_.empty() || ended_; });
    *last = acknowledged;
    for (const auto& [number, event] : events_) {
      if (events->size() == kPullLimit) break;
      events->push_back(event);
      *last = number;
    }
    handedOut_ = std::max(handedOut_, *last);
    lastPull_ = std::chrono::steady_clock::now();
    return !(ended_ && events_.empty());
  }

  bool idle(std::chrono::steady_clock::time_point now) {
    std::lock_guard<std::mutex> lock(mutex_);
    return now - lastPull_ > kIdleLimit;
  }

  // Ends the manager's call and wakes a waiting pull.
  void end() {
    services_->CancelAsyncCall(this);
    SetStatus(0, WBEM_E_CALL_CANCELLED, nullptr, nullptr);
  }

 private:
  const CComPtr<IWbemServices> services_;
  const std::string owner_;
  const std::size_t limit_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::pair<std::uint64_t, CComPtr<IWbemClassObject>>> events_;
  std::uint64_t last_ = 0;       // the number of the newest event
  std::uint64_t handedOut_ = 0;  // the newest number a pull has given
  bool ended_ = false;
  HRESULT status_ = WBEM_S_NO_ERROR;
  std::chrono::steady_clock::time_point lastPull_ = std::chrono::steady_clock::now();
};

EventQueue::EventQueue() = default;

EventQueue::~EventQueue() { close(); }

void EventQueue::close() {
  std::map<std::u16string, CComPtr<Subscription>> ending;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    ending.swap(subscriptions_);
  }
  for (auto& [id, subscription] : ending) subscription->end();
}

void EventQueue::expireIdle() {
  const auto now = std::chrono::steady_clock::now();
  std::vector<CComPtr<Subscription>> ending;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = subscriptions_.begin(); it != subscriptions_.end();) {
      if (it->second->idle(now)) {
        ending.push_back(it->second);
        it = subscriptions_.erase(it);
      } else {
        ++it;
      }
    }
  }
  for (CComPtr<Subscription>& subscription : ending) subscription->end();
}

HRESULT EventQueue::subscribe(IWbemServices* services, const std::u16string& language, const std::u16string& query,
                              const std::string& owner, std::u16string* id) {
  expireIdle();
  CComPtr<Subscription> subscription;
  subscription.Attach(new (std::nothrow) Subscription(services, owner, ManagerCore::instance().eventQueueLimit()));
  if (subscription == nullptr) return WBEM_E_OUT_OF_MEMORY;
  CComBSTR languageText(language.c_str());
  CComBSTR queryText(query.c_str());
  HRESULT hr = services->ExecNotificationQueryAsync(languageText, queryText, 0, nullptr, subscription);
  // The manager refuses a bad query through the sink, before returning.
  if (SUCCEEDED(hr)) hr = subscription->status();
  if (FAILED(hr)) return hr;
  std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return WBEM_E_SHUTTING_DOWN;
  *id = toU16(std::to_string(nextId_++));
  subscriptions_.emplace(*id, subscription);
  return WBEM_S_NO_ERROR;
}

CComPtr<EventQueue::Subscription> EventQueue::find(const std::u16string& id, const std::string& owner) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = subscriptions_.find(id);
  if (found == subscriptions_.end() || found->second->owner() != owner) return nullptr;
  return found->second;
}

HRESULT EventQueue::pull(const std::u16string& id, const std::string& owner, std::uint64_t acknowledged,
                         std::chrono::milliseconds wait, std::vector<CComPtr<IWbemClassObject>>* events,
                         std::uint64_t* last) {
  const CComPtr<Subscription> subscription = find(id, owner);
  if (subscription == nullptr) return WBEM_E_NOT_FOUND;
  const bool open = subscription->pull(acknowledged, wait, events, last);
  expireIdle();
  return open ? WBEM_S_NO_ERROR : WBEM_E_CALL_CANCELLED;
}

HRESULT EventQueue::unsubscribe(const std::u16string& id, const std::string& owner) {
  CComPtr<Subscription> subscription;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = subscriptions_.find(id);
    if (found == subscriptions_.end() || found->second->owner() != owner) return WBEM_E_NOT_FOUND;
    subscription = found->second;
    subscriptions_.erase(found);
  }
  subscription->end();
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
