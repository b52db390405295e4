// The daemon's event queue: numbered events pulled in order, acknowledged
// ones forgotten, a repeated pull answered the same, bounded queues, and
// subscriptions that belong to their owner.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "EventQueue.h"
#include "ManagerTestSupport.h"

namespace wmitest {
namespace {

using om::wmi::EventQueue;
using std::chrono::milliseconds;

class EventQueueTest : public ManagerTest {
 protected:
  void TearDown() override {
    manager().setEventQueueLimit(1000);  // the limit a fresh manager has
    ManagerTest::TearDown();
  }

  void fire(long severity) {
    CComPtr<IWbemClassObject> e = spawn(u"TestEvent");
    putValue(e, u"Severity", CComVariant(severity));
    putValue(e, u"Source", CComVariant(u"queue"));
    ASSERT_EQ(manager().fireEvent(kNamespace, e), WBEM_S_NO_ERROR);
  }

  // The severities a pull gives, waiting until `count` events are there.
  std::vector<long> pull(EventQueue& queue, const std::u16string& id, std::uint64_t ack, std::size_t count,
                         std::uint64_t* last, const std::string& owner = "alice") {
    std::vector<long> severities;
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (severities.size() < count && std::chrono::steady_clock::now() < deadline) {
      std::vector<CComPtr<IWbemClassObject>> events;
      severities.clear();
      EXPECT_EQ(queue.pull(id, owner, ack, milliseconds(100), &events, last), WBEM_S_NO_ERROR);
      for (const auto& e : events) severities.push_back(intProperty(e, u"Severity"));
    }
    return severities;
  }
};

TEST_F(EventQueueTest, PullsInOrderAndForgetsOnlyWhatWasAcknowledged) {
  EventQueue queue;
  std::u16string id;
  ASSERT_EQ(queue.subscribe(services_, u"WQL", u"select * from TestEvent where Severity > 1", "alice", &id),
            WBEM_S_NO_ERROR);
  for (long severity : {2, 1, 3, 4}) fire(severity);
  std::uint64_t last = 0;
  EXPECT_EQ(pull(queue, id, 0, 3, &last), (std::vector<long>{2, 3, 4}));
  EXPECT_EQ(last, 3u);
  // A client that lost the reply asks again with the same acknowledgement.
  EXPECT_EQ(pull(queue, id, 0, 3, &last), (std::vector<long>{2, 3, 4}));
  // Acknowledging the first two leaves the third, and then the next.
  fire(5);
  EXPECT_EQ(pull(queue, id, 2, 2, &last), (std::vector<long>{4, 5}));
  EXPECT_EQ(last, 4u);
  EXPECT_TRUE(pull(queue, id, 4, 0, &last).empty());
  EXPECT_EQ(last, 4u);
  EXPECT_EQ(queue.unsubscribe(id, "alice"), WBEM_S_NO_ERROR);
}

TEST_F(EventQueueTest, AFullQueueDropsItsOldestUnseenEventsAndCountsThem) {
  manager().setEventQueueLimit(3);
  const std::uint64_t droppedBefore = manager().droppedEventCount();
  EventQueue queue;
  std::u16string id;
  ASSERT_EQ(queue.subscribe(services_, u"WQL", u"select * from TestEvent", "alice", &id), WBEM_S_NO_ERROR);
  for (long severity = 1; severity <= 5; ++severity) fire(severity);
  // Dropped by this queue, or by the manager's queue in front of it: two in
  // all, counted once each.
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (manager().droppedEventCount() - droppedBefore < 2 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  std::uint64_t last = 0;
  EXPECT_EQ(pull(queue, id, 0, 3, &last), (std::vector<long>{3, 4, 5}));
  // Events a pull handed out are dropped first and not counted: the client
  // has them.
  fire(6);
  std::vector<long> kept;
  while ((kept.empty() || kept.back() != 6) && std::chrono::steady_clock::now() < deadline + kPatience) {
    kept = pull(queue, id, 0, 3, &last);
  }
  EXPECT_EQ(kept, (std::vector<long>{4, 5, 6}));
  EXPECT_EQ(manager().droppedEventCount() - droppedBefore, 2u);
}

TEST_F(EventQueueTest, ASubscriptionBelongsToItsOwner) {
  EventQueue queue;
  std::u16string id;
  ASSERT_EQ(queue.subscribe(services_, u"WQL", u"select * from TestEvent", "alice", &id), WBEM_S_NO_ERROR);
  std::vector<CComPtr<IWbemClassObject>> events;
  std::uint64_t last = 0;
  EXPECT_EQ(queue.pull(id, "mallory", 0, milliseconds(0), &events, &last), WBEM_E_NOT_FOUND);
  EXPECT_EQ(queue.unsubscribe(id, "mallory"), WBEM_E_NOT_FOUND);
  EXPECT_EQ(queue.unsubscribe(id, "alice"), WBEM_S_NO_ERROR);
  EXPECT_EQ(queue.pull(id, "alice", 0, milliseconds(0), &events, &last), WBEM_E_NOT_FOUND);
  EXPECT_EQ(queue.subscribe(services_, u"WQL", u"select * from NoSuchEvent", "alice", &id), WBEM_E_INVALID_CLASS);
}

TEST_F(EventQueueTest, ClosingWakesAWaitingPull) {
  EventQueue queue;
  std::u16string id;
  ASSERT_EQ(queue.subscribe(services_, u"WQL", u"select * from TestEvent", "alice", &id), WBEM_S_NO_ERROR);
  std::thread closer([&queue] {
    std::this_thread::sleep_for(milliseconds(50));
    queue.close();
  });
  std::vector<CComPtr<IWbemClassObject>> events;
  std::uint64_t last = 0;
  // Without the wake-up this pull would sit out its whole wait (or find
  // the subscription gone, if the closer came first).
  const HRESULT hr = queue.pull(id, "alice", 0, std::chrono::hours(1), &events, &last);
  closer.join();
  EXPECT_TRUE(hr == WBEM_E_CALL_CANCELLED || hr == WBEM_E_NOT_FOUND) << std::hex << hr;
  EXPECT_EQ(queue.subscribe(services_, u"WQL", u"select * from TestEvent", "alice", &id), WBEM_E_SHUTTING_DOWN);
}

}  // namespace
}  // namespace wmitest
