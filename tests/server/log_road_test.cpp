// The log classes end to end: records written, read back, counted and
// enumerated by query from the console's client, and announced as
// "LogObjectEvent" to subscribers, in order, without a slow subscriber ever
// holding up the writer.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "EmbeddedRoad.h"
#include "server/store/MemoryStores.h"
#include "wbem/WbemLogObject.h"

namespace {

std::string jp(const char* utf8) { return om::utf8ToCp932(utf8); }

CLogObject record(log_def::tagLOGTYPE type, const std::string& address, const std::string& message) {
  CLogObject log;
  log.setLevel(log_def::LOGLEVEL_USER);
  log.setTime(CTime(2024, 1, 2, 3, 4, 5));
  log.setType(type);
  log.setSubType(log_def::LOGSUBTYPE_LINK_DOWN);
  log.setTargetType(log_def::TARGETTYPE_PORT);
  log.setInternalName(("port-" + address).c_str());
  log.setDisplayName(jp("ポート").c_str());
  log.setAddress(address.c_str());
  log.setSysObjectId("1.3.6.1.4.1.9.1.1");
  log.setMessage(message.c_str());
  log.setActionId(7);
  return log;
}

std::string fields(const CLogObject& log) {
  std::string text;
  for (const auto& [name, value] : log.describeFields()) text += name + "=" + value + ";";
  return text;
}

// Gathers the records of the events it is given; can hold the thread that
// delivers them until released.
class EventSink final : public om::ComObject<IWbemObjectSink> {
 public:
  explicit EventSink(bool blocked = false) : blocked_(blocked) {}
  HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject** objects) override {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return !blocked_; });
    for (long i = 0; i < count; ++i) {
      WbemLogObjectEvent event(nullptr);
      if (event.getFromInstance(objects[i])) records_.push_back(event.getObject().getObject());
    }
    changed_.notify_all();
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT, BSTR, IWbemClassObject*) override { return WBEM_S_NO_ERROR; }
  // Waits until `count` records have come; a copy of them.
  std::vector<CLogObject> waitFor(size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return records_.size() >= count; });
    return records_;
  }
  // Waits for the record with this identifier to be the last one received.
  std::vector<CLogObject> waitForLast(DWORD identifier) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return !records_.empty() && records_.back().getIdentifier() == identifier; });
    return records_;
  }
  void release() {
    std::lock_guard<std::mutex> lock(mutex_);
    blocked_ = false;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool blocked_;
  std::vector<CLogObject> records_;
};

std::vector<DWORD> identifiers(const std::vector<CLogObject>& records) {
  std::vector<DWORD> out;
  for (const CLogObject& each : records) out.push_back(each.getIdentifier());
  return out;
}

class LogRoadTest : public EmbeddedRoadTest {
 protected:
  void SetUp() override { state_->logs = std::make_unique<om::server::MemoryLogStore>(); }
  void TearDown() override {
    for (EventSink* sink : subscribed_) services()->CancelAsyncCall(sink);
    subscribed_.clear();
    om::wmi::ObjectManager::instance().setEventQueueLimit(1000);
  }
  CComPtr<EventSink> subscribe(bool blocked = false) {
    CComPtr<EventSink> sink;
    sink.Attach(new EventSink(blocked));
    EXPECT_EQ(services()->ExecNotificationQueryAsync(CComBSTR(u"WQL"), CComBSTR(u"select * from LogObjectEvent"), 0,
                                                     nullptr, sink),
              WBEM_S_NO_ERROR);
    subscribed_.push_back(sink);
    return sink;
  }
  // Records read back through a client's record enumeration.
  static std::vector<CLogObject> enumerated(const char* query, const char* queryString) {
    WbemLogObjectClient client(services());
    client.beginRecordEnumeration(query, queryString);
    std::vector<CLogObject> records;
    while (client.getNextRecord(records)) {
    }
    client.endRecordEnumeration();
    return records;
  }

  std::vector<CComPtr<EventSink>> subscribed_;
};

TEST_F(LogRoadTest, ARecordWrittenIsReadBackWholeByItsIdentifier) {
  WbemLogObjectClient writer(record(log_def::LOGTYPE_TRAP, "10.0.0.1", jp("リンク断")), services());
  ASSERT_TRUE(writer.put()) << std::hex << writer.getErrorCode();
  CLogObject expected = record(log_def::LOGTYPE_TRAP, "10.0.0.1", jp("リンク断"));
  expected.setIdentifier(1);  // the store numbered it

  WbemLogObjectClient reader(services());
  reader.setIdentifier(1);
  ASSERT_TRUE(reader.get());
  EXPECT_EQ(fields(reader.getObject()), fields(expected));
  std::vector<CLogObject> all;
  ASSERT_TRUE(WbemLogObject::enumLogObject(services(), all));
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(fields(all[0]), fields(expected));

  // A record put with a known identifier replaces it.
  writer.setIdentifier(1);
  writer.setMessage("changed");
  ASSERT_TRUE(writer.put());
  ASSERT_TRUE(reader.get());
  EXPECT_EQ(std::string(reader.getMessage().GetString()), "changed");
  EXPECT_EQ(state_->logs->size(), 1u);

  ASSERT_TRUE(reader.remove());
  EXPECT_FALSE(reader.get());
  EXPECT_EQ(static_cast<HRESULT>(reader.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_FALSE(reader.remove());
}

TEST_F(LogRoadTest, QueriesSelectRecordsAndNumberOfAgreesWithTheEnumeration) {
  const log_def::tagLOGTYPE types[] = {log_def::LOGTYPE_ERROR, log_def::LOGTYPE_ALARM, log_def::LOGTYPE_TRAP};
  for (int i = 0; i < 30; ++i) {
    state_->writeLog(record(types[i % 3], "10.0." + std::to_string(i % 4) + ".1", "m" + std::to_string(i)));
  }
  WbemLogObjectClient client(services());
  for (const char* queryString : {"", "LogType = 3", "LogType <> 3 AND Address LIKE '10.0.1.%'",
                                  "Identifier > 25 OR Message = 'm0'", "Address = '192.168.0.1'",
                                  "SELECT * FROM LogObject WHERE LogType = 1"}) {
    const std::vector<CLogObject> selected = enumerated("select * from LogObject", queryString);
    EXPECT_EQ(client.numberOfLogObject(queryString), static_cast<int>(selected.size())) << queryString;
  }
  EXPECT_EQ(client.numberOfLogObject(""), 30);
  EXPECT_EQ(client.numberOfLogObject("LogType = 3"), 10);
  for (const CLogObject& each : enumerated("select * from LogObject", "LogType = 3")) {
    EXPECT_EQ(each.getType(), log_def::LOGTYPE_TRAP);
  }
  EXPECT_EQ(client.numberOfLogObject("LogType <> 3 AND Address LIKE '10.0.1.%'"), 5);
  // The query of the enumeration selects too, within what the query string
  // lets through.
  EXPECT_EQ(identifiers(enumerated("select * from LogObject where Identifier <= 6", "LogType = 2")),
            (std::vector<DWORD>{2, 5}));
  EnumLogObject query(services(), "select * from LogObject where Message = 'm7'");
  WbemLogObject found(services());
  EXPECT_TRUE(query());
  ASSERT_TRUE(query.next(found));
  EXPECT_EQ(found.getIdentifier(), 8u);
  EXPECT_FALSE(query.next(found));
  EXPECT_FALSE(query());

  // A query string that is not WQL, or names no property of the class:
  // NumberOf fails with -1, an enumeration is empty.
  for (const char* bad : {"LogType ==", "Colour = 'red'"}) {
    EXPECT_EQ(client.numberOfLogObject(bad), -1) << bad;
    EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_INVALID_QUERY) << bad;
    EXPECT_TRUE(enumerated("select * from LogObject", bad).empty()) << bad;
  }
  EnumLogObject broken(services(), "select * from Nowhere");
  EXPECT_FALSE(broken());
  EXPECT_FALSE(broken.next(found));
  EXPECT_NE(broken.getErrorCode(), 0u);
  // With a sink the number goes there and the call gives 0.
  const CComPtr<StatusSink> sink = async([&](IWbemObjectSink* s) { return client.numberOfLogObject("LogType = 1", s) == 0; });
  EXPECT_EQ(outputAt(*sink, u"ReturnValue"), CComVariant(10));
}

TEST_F(LogRoadTest, EachNewRecordReachesEverySubscriberOnceAndInOrder) {
  CComPtr<EventSink> first = subscribe();
  CComPtr<EventSink> second = subscribe();
  WbemLogObjectClient writer(record(log_def::LOGTYPE_ALARM, "10.9.9.9", "through the road"), services());
  ASSERT_TRUE(writer.put());
  for (int i = 0; i < 50; ++i) state_->writeLog(record(log_def::LOGTYPE_ERROR, "10.0.0.2", std::to_string(i)));
  // An update is no new record: no event.
  writer.setIdentifier(1);
  writer.setMessage("updated");
  ASSERT_TRUE(writer.put());
  state_->writeLog(record(log_def::LOGTYPE_INFORMATION, "10.0.0.3", "last"));

  std::vector<DWORD> expected;
  for (DWORD id = 1; id <= 52; ++id) expected.push_back(id);
  for (EventSink* sink : {first.p, second.p}) {
    const std::vector<CLogObject> got = sink->waitFor(52);
    EXPECT_EQ(identifiers(got), expected);
    CLogObject sent = record(log_def::LOGTYPE_ALARM, "10.9.9.9", "through the road");
    sent.setIdentifier(1);
    EXPECT_EQ(fields(got[0]), fields(sent));  // the whole record travels with its event
    EXPECT_EQ(std::string(got.back().getMessage().GetString()), "last");
  }
}

TEST_F(LogRoadTest, ASlowSubscriberDoesNotHoldUpTheWriter) {
  CComPtr<EventSink> slow = subscribe(true);
  CComPtr<EventSink> fast = subscribe();
  // The slow subscriber holds its delivery thread; every write returns all
  // the same (were the writer held, this loop would never end), and the
  // other subscriber is served meanwhile.
  for (int i = 0; i < 40; ++i) state_->writeLog(record(log_def::LOGTYPE_ERROR, "10.0.0.4", std::to_string(i)));
  EXPECT_EQ(fast->waitFor(40).size(), 40u);
  slow->release();
  std::vector<DWORD> all;
  for (DWORD id = 1; id <= 40; ++id) all.push_back(id);
  EXPECT_EQ(identifiers(slow->waitFor(40)), all);
}

TEST_F(LogRoadTest, ASubscriberThatFallsBehindLosesTheOldestEventsOnly) {
  om::wmi::ObjectManager::instance().setEventQueueLimit(8);
  CComPtr<EventSink> slow = subscribe(true);
  const uint64_t droppedBefore = om::wmi::ObjectManager::instance().droppedEventCount();
  for (int i = 0; i < 40; ++i) state_->writeLog(record(log_def::LOGTYPE_ERROR, "10.0.0.5", std::to_string(i)));
  slow->release();
  // The newest is never dropped; once it is in, every drop is counted
  // (a remote subscriber's queue in the daemon drops after the writes).
  const std::vector<CLogObject> got = slow->waitForLast(40);
  const uint64_t dropped = om::wmi::ObjectManager::instance().droppedEventCount() - droppedBefore;
  // Held: the batch being delivered when it blocked; then the newest eight.
  EXPECT_GE(dropped, 40u - 8u - 8u);
  EXPECT_EQ(got.size() + dropped, 40u);
  for (size_t i = 1; i < got.size(); ++i) EXPECT_LT(got[i - 1].getIdentifier(), got[i].getIdentifier());
  EXPECT_EQ(got.back().getIdentifier(), 40u);
  EXPECT_EQ(got[got.size() - 8].getIdentifier(), 33u);
}

}  // namespace
