// The daemon's side of event delivery to clients (see RemoteProtocol.h):
// each subscription is an event query on the object manager whose events
// wait, numbered, in a bounded queue until the client pulls and
// acknowledges them. A subscription nobody pulls for kIdleLimit ends, so a
// client that went away leaves nothing behind. Queues hold as many events
// as the manager's own (ObjectManager::setEventQueueLimit); when one is
// full its oldest event is dropped and counted with the manager's, never
// blocking the manager.
#ifndef OM_PLATFORM_WMI_EVENTQUEUE_H_
#define OM_PLATFORM_WMI_EVENTQUEUE_H_

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

namespace om::wmi {

class EventQueue {
 public:
  static constexpr std::chrono::seconds kIdleLimit{60};
  // Events handed out by one pull at most.
  static constexpr std::size_t kPullLimit = 1000;

  EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;
  // Ends every subscription.
  ~EventQueue();

  // Subscribes `owner` to the query on `services`; the subscription's id.
  HRESULT subscribe(IWbemServices* services, const std::u16string& language, const std::u16string& query,
                    const std::string& owner, std::u16string* id);
  // Forgets the events up to `acknowledged`, waits up to `wait` for one
  // after it, and gives those (in order) with the number of the last one
  // (`acknowledged` when there is none). WBEM_E_NOT_FOUND for an unknown
  // subscription or one of another owner, WBEM_E_CALL_CANCELLED when the
  // manager ended the query and every event was acknowledged.
  HRESULT pull(const std::u16string& id, const std::string& owner, std::uint64_t acknowledged,
               std::chrono::milliseconds wait, std::vector<CComPtr<IWbemClassObject>>* events,
               std::uint64_t* last);
  HRESULT unsubscribe(const std::u16string& id, const std::string& owner);
  // Wakes every waiting pull and refuses new ones (at shutdown).
  void close();

 private:
  class Subscription;

  CComPtr<Subscription> find(const std::u16string& id, const std::string& owner);
  // Ends the subscriptions nobody pulled for kIdleLimit.
  void expireIdle();

  std::mutex mutex_;
  std::map<std::u16string, CComPtr<Subscription>> subscriptions_;
  std::uint64_t nextId_ = 1;
  bool closed_ = false;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_EVENTQUEUE_H_
