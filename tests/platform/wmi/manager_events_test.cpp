// Event subscriptions: what a query selects, per-subscriber queues that
// never hold up the firing thread, and the end of a subscription.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ManagerTestSupport.h"

namespace wmitest {
namespace {

class EventsTest : public ManagerTest {
 protected:
  CComPtr<IWbemClassObject> event(long severity, const char16_t* source) {
    CComPtr<IWbemClassObject> e = spawn(u"TestEvent");
    putValue(e, u"Severity", CComVariant(severity));
    putValue(e, u"Source", CComVariant(source));
    return e;
  }

  CComPtr<TestSink> subscribe(const char16_t* query) {
    CComPtr<TestSink> sink;
    sink.Attach(new TestSink);
    EXPECT_EQ(services_->ExecNotificationQueryAsync(bstr(u"WQL"), bstr(query), 0, nullptr, sink), WBEM_S_NO_ERROR);
    return sink;
  }

  static std::vector<long> severities(TestSink* sink) {
    std::vector<long> out;
    for (const CComPtr<IWbemClassObject>& e : sink->objects()) out.push_back(intProperty(e, u"Severity"));
    return out;
  }
};

TEST_F(EventsTest, EachSubscriptionGetsWhatItsQuerySelects) {
  CComPtr<TestSink> severe = subscribe(u"SELECT * FROM TestEvent WHERE Severity > 2");
  CComPtr<TestSink> fromPoller = subscribe(u"select Source from testevent where Source like 'poll%'");
  CComPtr<TestSink> everything = subscribe(u"SELECT * FROM __ExtrinsicEvent");

  const long levels[] = {1, 3, 2, 5, 4};
  const char16_t* sources[] = {u"poller", u"trap", u"polling", u"poller", u"console"};
  for (int i = 0; i < 5; ++i) {
    CComPtr<IWbemClassObject> e = event(levels[i], sources[i]);
    ASSERT_EQ(manager().fireEvent(kNamespace, e), WBEM_S_NO_ERROR);
    // The manager took a copy: the provider may reuse its object at once.
    putValue(e, u"Severity", CComVariant(100));
  }
  ASSERT_TRUE(severe->waitForObjects(3));
  ASSERT_TRUE(fromPoller->waitForObjects(3));
  ASSERT_TRUE(everything->waitForObjects(5));
  EXPECT_EQ(severities(severe), (std::vector<long>{3, 5, 4}));
  EXPECT_EQ(severities(everything), (std::vector<long>{1, 3, 2, 5, 4}));
  std::vector<std::u16string> polled;
  for (const CComPtr<IWbemClassObject>& e : fromPoller->objects()) {
    polled.push_back(stringProperty(e, u"Source"));
    EXPECT_EQ(typeOf(e, u"Severity"), VT_NULL);  // not selected
  }
  EXPECT_EQ(polled, (std::vector<std::u16string>{u"poller", u"polling", u"poller"}));
  // Each subscriber has objects of its own.
  EXPECT_NE(severe->objects()[0].p, everything->objects()[1].p);

  // Subscriptions last until cancelled; then the sink hears it once.
  EXPECT_EQ(severe->statusCount(), 0);
  ASSERT_EQ(services_->CancelAsyncCall(severe), WBEM_S_NO_ERROR);
  ASSERT_TRUE(severe->waitForStatus());  // may come from the thread still delivering an event
  EXPECT_EQ(severe->status(), WBEM_E_CALL_CANCELLED);
  ASSERT_EQ(manager().fireEvent(kNamespace, event(9, u"late")), WBEM_S_NO_ERROR);
  ASSERT_TRUE(everything->waitForObjects(6));
  EXPECT_EQ(severe->objectCount(), 3u);
  EXPECT_EQ(severe->statusCount(), 1);

  // Events of another namespace do not arrive.
  ASSERT_EQ(manager().fireEvent(u"root\\Velmoran\\OrvaManager", event(9, u"elsewhere")), WBEM_E_INVALID_CLASS);
}

TEST_F(EventsTest, RefusesWhatIsNotAnEventQuery) {
  CComPtr<TestSink> sink;
  sink.Attach(new TestSink);
  ASSERT_EQ(services_->ExecNotificationQueryAsync(bstr(u"WQL"), bstr(u"SELECT * FROM Item"), 0, nullptr, sink),
            WBEM_S_NO_ERROR);
  ASSERT_TRUE(sink->waitForStatus());
  EXPECT_EQ(sink->status(), WBEM_E_NOT_EVENT_CLASS);

  CComPtr<TestSink> bad;
  bad.Attach(new TestSink);
  ASSERT_EQ(services_->ExecNotificationQueryAsync(bstr(u"WQL"), bstr(u"SELECT * FROM TestEvent WHERE"), 0, nullptr,
                                                  bad),
            WBEM_S_NO_ERROR);
  ASSERT_TRUE(bad->waitForStatus());
  EXPECT_EQ(bad->status(), WBEM_E_INVALID_QUERY);

  CComPtr<IWbemClassObject> item = spawn(u"Item");
  EXPECT_EQ(manager().fireEvent(kNamespace, item), WBEM_E_NOT_EVENT_CLASS);
  EXPECT_EQ(manager().fireEvent(kNamespace, nullptr), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(manager().fireEvent(u"root\\Nowhere", item), WBEM_E_INVALID_NAMESPACE);
}

TEST_F(EventsTest, ASlowSubscriberNeverHoldsUpTheFiringThread) {
  manager().setEventQueueLimit(8);
  CComPtr<TestSink> slow = subscribe(u"SELECT * FROM TestEvent");
  CComPtr<TestSink> fast = subscribe(u"SELECT * FROM TestEvent");
  slow->closeGate();

  ASSERT_EQ(manager().fireEvent(kNamespace, event(0, u"first")), WBEM_S_NO_ERROR);
  ASSERT_TRUE(slow->waitUntilHeld());
  // The slow sink is stuck inside Indicate; firing goes on regardless, and
  // the fast subscriber, waited for after each event, gets everything.
  ASSERT_TRUE(fast->waitForObjects(1));
  for (long i = 1; i < 100; ++i) {
    ASSERT_EQ(manager().fireEvent(kNamespace, event(i, u"burst")), WBEM_S_NO_ERROR);
    ASSERT_TRUE(fast->waitForObjects(static_cast<std::size_t>(i) + 1));
  }
  EXPECT_EQ(severities(fast).back(), 99);
  const std::uint64_t dropped = manager().droppedEventCount();
  EXPECT_EQ(dropped, 99u - 8u);

  // Once it moves again it gets the first event and then the newest eight.
  slow->openGate();
  ASSERT_TRUE(slow->waitForObjects(9));
  std::vector<long> expected{0};
  for (long i = 92; i < 100; ++i) expected.push_back(i);
  EXPECT_EQ(severities(slow), expected);
}

TEST_F(EventsTest, SemisynchronousSubscriptionEndsWithItsEnumerator) {
  CComPtr<IEnumWbemClassObject> events;
  EXPECT_EQ(services_->ExecNotificationQuery(bstr(u"WQL"), bstr(u"SELECT * FROM TestEvent"), 0, nullptr, &events),
            WBEM_E_INVALID_PARAMETER);
  ASSERT_EQ(services_->ExecNotificationQuery(bstr(u"WQL"), bstr(u"SELECT * FROM TestEvent WHERE Severity = 2"),
                                             WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr, &events),
            WBEM_S_NO_ERROR);
  IWbemClassObject* received = nullptr;
  ULONG count = 0;
  EXPECT_EQ(events->Next(0, 1, &received, &count), WBEM_S_TIMEDOUT);
  EXPECT_EQ(count, 0u);
  ASSERT_EQ(manager().fireEvent(kNamespace, event(1, u"no")), WBEM_S_NO_ERROR);
  ASSERT_EQ(manager().fireEvent(kNamespace, event(2, u"yes")), WBEM_S_NO_ERROR);
  ASSERT_EQ(events->Next(WBEM_INFINITE, 1, &received, &count), WBEM_S_NO_ERROR);
  ASSERT_EQ(count, 1u);
  EXPECT_EQ(stringProperty(received, u"Source"), u"yes");
  received->Release();

  // Providers can fire through the namespace's object sink as well.
  CComPtr<IWbemObjectSink> eventSink;
  ASSERT_EQ(services_->QueryObjectSink(0, &eventSink), WBEM_S_NO_ERROR);
  IWbemClassObject* fired = event(2, u"sink").Detach();
  EXPECT_EQ(eventSink->Indicate(1, &fired), WBEM_S_NO_ERROR);
  fired->Release();
  ASSERT_EQ(events->Next(WBEM_INFINITE, 1, &received, &count), WBEM_S_NO_ERROR);
  EXPECT_EQ(stringProperty(received, u"Source"), u"sink");
  received->Release();
  events.Release();  // ends the subscription; TearDown checks it let go of everything
}

}  // namespace
}  // namespace wmitest
