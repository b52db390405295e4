// The task sampler over memory stores, its agents replaced by readings the
// test scripts and its clock by the times the test passes: samples and
// deltas across counter wraps by the overflow setting, finished tasks,
// thresholds with hysteresis, unanswered polls, tasks that change while
// their agent is read, the SNMP request and reading, and the thread.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <omtools/Registry.h>

#include "server/NetworkServer.h"
#include "server/snmp/SnmpText.h"
#include "server/tasks/SnmpTaskFetch.h"
#include "server/tasks/TaskSampler.h"

namespace {

using om::server::AgentReading;
using om::server::SampledValue;
using om::server::TaskSampler;
using Counter = SampledValue::Counter;
using Clock = TaskSampler::Clock;
using std::chrono::seconds;

const char kSettingsKey[] = "SOFTWARE\\Velmoran\\OrvaManager";
const time_t kT0 = 1700000000;
const Clock::time_point kStart = Clock::from_time_t(kT0);

AgentReading answer(std::vector<SampledValue> values, const std::string& upTime = "1:00:00.00") {
  return AgentReading{"", upTime, std::move(values)};
}
AgentReading counter32(uint64_t value, const std::string& upTime = "1:00:00.00") {
  return answer({{std::to_string(value), Counter::k32}}, upTime);
}
AgentReading gauge(const std::string& value) { return answer({{value}}); }
AgentReading silence() { return AgentReading{"Timeout", "", {}}; }

CTaskObject task(const std::string& name, int samples, int interval = 10) {
  CTaskObject t;
  t.setName(name);
  t.setIpAddress("127.0.0.1");
  t.setMibVariables({"ifInOctets.1"});
  t.setSamplesRequested(samples);
  t.setPollingInterval(interval);
  t.setSampleType(CTaskObject::SAMPLETYPE_DELTA);
  t.setTaskStatus(CTaskObject::TASKSTATUS_RUNNING);
  t.setStartTime(CTime(kT0));
  return t;
}

CTaskObject alarmTask(CTaskObject::AlarmType type, uint64_t rising, int64_t falling) {
  CTaskObject t = task("load", -1);
  t.setSampleType(CTaskObject::SAMPLETYPE_ABSOLUTE);
  t.setRmonFlag(CTaskObject::RMONFLAG_USED);
  t.setAlarmType(type);
  t.setRisingThresholdInt(rising);
  t.setFallingThresholdInt(static_cast<uint64_t>(falling));
  return t;
}

class TaskSamplerTest : public ::testing::Test {
 protected:
  // The settings live in a registry of the test's own, made before anything
  // reads them.
  static void SetUpTestSuite() {
    std::string pattern = (std::filesystem::temp_directory_path() / "omlib-sampler-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    home_ = pattern;
    setenv("OMLIB_HOME", home_.c_str(), 1);
    setenv("OMLIB_USER_HOME", home_.c_str(), 1);
    ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, kSettingsKey));
  }
  static void TearDownTestSuite() { std::filesystem::remove_all(home_); }

  void SetUp() override {
    setting("CountOverflowPolicy", "2");
    setting("TaskMaxSample", "");
    sampler_.fetch = [this](const CTaskObject& t, const TaskSampler::Done& done) {
      AgentReading reading = silence();
      {
        std::lock_guard<std::mutex> lock(mutex_);
        ++fetches_[t.getName()];
        std::deque<AgentReading>& queue = script_[t.getName()];
        if (!queue.empty()) {
          reading = queue.front();
          queue.pop_front();
        }
      }
      if (duringFetch_) duringFetch_(t);
      done(reading);
    };
  }

  static void setting(const std::string& name, const std::string& value) {
    ASSERT_TRUE(CRegistry(HKEY_LOCAL_MACHINE, kSettingsKey).setValue(name, value));
  }
  void script(const std::string& name, std::vector<AgentReading> readings) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_[name].insert(script_[name].end(), readings.begin(), readings.end());
  }
  // Rounds at kStart + each of `offsets` seconds.
  void rounds(std::initializer_list<int> offsets) {
    for (const int offset : offsets) sampler_.sampleDue(kStart + seconds(offset));
  }
  CTaskObject stored(const std::string& name) {
    CTaskObject out;
    EXPECT_TRUE(server_.tasks->find(name, out)) << name;
    return out;
  }
  std::vector<std::string> mibValues(const std::string& name) {
    std::vector<std::string> values;
    for (const CTaskDataRecord& record : server_.taskRecords->list(name)) values.push_back(record.getMibValues());
    return values;
  }
  // "SUBTYPE: message" of each log record of that type, in order.
  std::vector<std::string> logs(log_def::tagLOGTYPE type) {
    std::vector<std::string> out;
    server_.logs->scan([&](const CLogObject& record) {
      if (record.getType() == type) {
        out.push_back(std::to_string(record.getSubType()) + ": " + std::string(record.getMessage()));
      }
      return true;
    });
    return out;
  }

  static inline std::filesystem::path home_;
  NetworkServer server_;
  TaskSampler sampler_{server_};
  std::mutex mutex_;
  std::map<std::string, std::deque<AgentReading>> script_;
  std::map<std::string, int> fetches_;
  std::function<void(const CTaskObject&)> duringFetch_;
};

const std::string kRising = std::to_string(log_def::LOGSUBTYPE_RISING_THRESHOLD) + ": ";
const std::string kFalling = std::to_string(log_def::LOGSUBTYPE_FALLING_THRESHOLD) + ": ";

TEST_F(TaskSamplerTest, FiveSamplesOfACounterAcrossA32BitWrapThenTheTaskFinishes) {
  ASSERT_TRUE(server_.tasks->add(task("octets", 5)));
  script("octets",
         {counter32(4294967000), counter32(4294967290), counter32(5), counter32(105), counter32(105), counter32(999)});
  EXPECT_EQ(sampler_.sampleDue(kStart), kStart + seconds(10));
  EXPECT_EQ(sampler_.sampleDue(kStart + seconds(9)), kStart + seconds(10));  // not due yet
  rounds({10, 20, 30});
  EXPECT_EQ(sampler_.sampleDue(kStart + seconds(40)), Clock::time_point::max());
  rounds({50, 60});

  const std::vector<CTaskDataRecord> records = server_.taskRecords->list("octets");
  ASSERT_EQ(records.size(), 5u);
  for (size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(records[i].getSampleIndex(), i + 1);
    EXPECT_EQ(records[i].getPollStartTime().GetTime(), kT0 + 10 * static_cast<time_t>(i));
    EXPECT_EQ(records[i].getSysUpTime(), "1:00:00.00");
  }
  // The first reading has no delta; 4294967290 -> 5 wrapped: 5 + 6 = 11.
  EXPECT_EQ(mibValues("octets"), (std::vector<std::string>{"", "290", "11", "100", "0"}));
  const CTaskObject done = stored("octets");
  EXPECT_EQ(done.getTaskStatus(), CTaskObject::TASKSTATUS_FINISHED);
  EXPECT_EQ(done.getPollingCount(), 5u);
  EXPECT_EQ(done.getLastSampleValues(), std::vector<std::string>{"0"});
  EXPECT_EQ(done.getWrapFlag(), 0);
  EXPECT_EQ(fetches_["octets"], 5);
  EXPECT_EQ(logs(log_def::LOGTYPE_INFORMATION),
            std::vector<std::string>{std::to_string(log_def::LOGSUBTYPE_END) + ": Task finished after 5 samples."});
}

TEST_F(TaskSamplerTest, TheOverflowSettingDecidesWhetherACounterWrappedOrRestarted) {
  setting("CountOverflowPolicy", "1");  // a counter that went back gives no delta
  ASSERT_TRUE(server_.tasks->add(task("invalid", 3)));
  script("invalid", {counter32(4294967290), counter32(5), counter32(7)});
  rounds({0, 10, 20});
  EXPECT_EQ(mibValues("invalid"), (std::vector<std::string>{"", "", "2"}));

  setting("CountOverflowPolicy", "3");  // wrapped unless the agent's sysUpTime went back
  ASSERT_TRUE(server_.tasks->add(task("uptime", 4)));
  script("uptime", {counter32(4294967290, "1 day 0:00:00.00"), counter32(5, "1 day 0:00:10.00"),
                    counter32(3, "0:00:01.00"), counter32(4, "0:00:11.00")});
  rounds({30, 40, 50, 60});
  EXPECT_EQ(mibValues("uptime"), (std::vector<std::string>{"", "11", "", "1"}));
  EXPECT_EQ(server_.taskRecords->list("uptime").back().getSysUpTime(), "0:00:11.00");
}

TEST_F(TaskSamplerTest, SeveralVariablesMakeOneCsvLineAndOnlyCountersBecomeDeltas) {
  CTaskObject t = task("mixed", 2);
  t.setMibVariables({"ifHCInOctets.1", "ifSpeed.1", "ifDescr.1"});
  ASSERT_TRUE(server_.tasks->add(t));
  t.setName("plain");
  t.setSampleType(CTaskObject::SAMPLETYPE_ABSOLUTE);
  ASSERT_TRUE(server_.tasks->add(t));
  const auto reading = [](const std::string& octets) {
    return answer({{octets, Counter::k64}, {"7"}, {"eth0, \"up\""}});
  };
  for (const char* name : {"mixed", "plain"}) {
    script(name, {reading("18446744073709551615"), reading("4"), reading("")});
  }
  rounds({0, 10, 20});
  EXPECT_EQ(mibValues("mixed"), (std::vector<std::string>{",7,\"eth0, \"\"up\"\"\"", "5,7,\"eth0, \"\"up\"\"\""}));
  EXPECT_EQ(mibValues("plain"),
            (std::vector<std::string>{"18446744073709551615,7,\"eth0, \"\"up\"\"\"", "4,7,\"eth0, \"\"up\"\"\""}));
  EXPECT_EQ(stored("mixed").getLastSampleValues(), (std::vector<std::string>{"5", "7", "eth0, \"up\""}));
}

TEST_F(TaskSamplerTest, OnlyRunningTasksAreSampledFromTheirStartTime) {
  for (const auto status :
       {CTaskObject::TASKSTATUS_WAITING, CTaskObject::TASKSTATUS_STOPPED, CTaskObject::TASKSTATUS_FINISHED}) {
    CTaskObject t = task("idle" + std::to_string(status), 5);
    t.setTaskStatus(status);
    ASSERT_TRUE(server_.tasks->add(t));
  }
  CTaskObject later = task("later", -1);
  later.setStartTime(CTime(kT0 + 30));
  ASSERT_TRUE(server_.tasks->add(later));
  script("later", std::vector<AgentReading>(10, counter32(1)));

  EXPECT_EQ(sampler_.sampleDue(kStart), kStart + seconds(30));
  rounds({10, 29});
  EXPECT_TRUE(mibValues("later").empty());
  rounds({30, 40});
  EXPECT_EQ(mibValues("later").size(), 2u);
  for (const auto& [name, count] : fetches_) EXPECT_EQ(name, "later") << count;

  // Stopped: no more samples. Restarted (the count back to 0): the deltas
  // start afresh.
  server_.tasks->update("later", [](CTaskObject& t) { t.setTaskStatus(CTaskObject::TASKSTATUS_STOPPED); });
  EXPECT_EQ(sampler_.sampleDue(kStart + seconds(50)), Clock::time_point::max());
  EXPECT_EQ(stored("later").getPollingCount(), 2u);
  server_.tasks->update("later", [](CTaskObject& t) {
    t.setTaskStatus(CTaskObject::TASKSTATUS_RUNNING);
    t.setPollingCount(0);
  });
  server_.taskRecords->removeTask("later");
  rounds({61});
  EXPECT_EQ(mibValues("later"), std::vector<std::string>{""});
  EXPECT_EQ(server_.taskRecords->list("later").front().getSampleIndex(), 1u);
  EXPECT_EQ(fetches_.size(), 1u);
}

TEST_F(TaskSamplerTest, ATaskAskingForNoSamplesFinishesUnpolled) {
  ASSERT_TRUE(server_.tasks->add(task("none", 0)));
  EXPECT_EQ(sampler_.sampleDue(kStart), Clock::time_point::max());
  EXPECT_EQ(stored("none").getTaskStatus(), CTaskObject::TASKSTATUS_FINISHED);
  EXPECT_EQ(fetches_["none"], 0);
  EXPECT_EQ(logs(log_def::LOGTYPE_INFORMATION).size(), 1u);
}

TEST_F(TaskSamplerTest, ARisingAlarmFiresOncePerCrossingAndReArmsAtTheFallingThreshold) {
  ASSERT_TRUE(server_.tasks->add(alarmTask(CTaskObject::ALARMTYPE_RISING, 100, 20)));
  // 100 reaches the threshold; staying above raises nothing; 21 is not yet
  // the falling threshold; 20 re-arms silently; 100 again alarms.
  script("load",
         {gauge("50"), gauge("100"), gauge("150"), gauge("21"), gauge("150"), gauge("20"), gauge("99"), gauge("100")});
  rounds({0, 10, 20, 30, 40, 50, 60, 70});
  EXPECT_EQ(logs(log_def::LOGTYPE_ALARM),
            (std::vector<std::string>{kRising + "ifInOctets.1 = 100 reached the rising threshold 100.",
                                      kRising + "ifInOctets.1 = 100 reached the rising threshold 100."}));
}

TEST_F(TaskSamplerTest, RisingOrFallingAlarmsAlternate) {
  ASSERT_TRUE(server_.tasks->add(alarmTask(CTaskObject::ALARMTYPE_RISING_OR_FALLING, 100, 20)));
  script("load", {gauge("10"), gauge("5"), gauge("150"), gauge("15"), gauge("150")});
  rounds({0, 10, 20, 30, 40});
  EXPECT_EQ(logs(log_def::LOGTYPE_ALARM),
            (std::vector<std::string>{kFalling + "ifInOctets.1 = 10 reached the falling threshold 20.",
                                      kRising + "ifInOctets.1 = 150 reached the rising threshold 100.",
                                      kFalling + "ifInOctets.1 = 15 reached the falling threshold 20.",
                                      kRising + "ifInOctets.1 = 150 reached the rising threshold 100."}));
}

TEST_F(TaskSamplerTest, FallingAlarmsCompareSignedValuesWithASignedThreshold) {
  // 3 lies above the falling threshold -5 however their bits read; -10
  // reaches it; 200 re-arms without an alarm; text is passed over.
  ASSERT_TRUE(server_.tasks->add(alarmTask(CTaskObject::ALARMTYPE_FALLING, 100, -5)));
  script("load",
         {gauge("3"), gauge("-4"), gauge("-10"), gauge("-5"), gauge("200"), gauge("-5"), gauge("x"), gauge("")});
  rounds({0, 10, 20, 30, 40, 50, 60, 70});
  EXPECT_EQ(logs(log_def::LOGTYPE_ALARM),
            (std::vector<std::string>{kFalling + "ifInOctets.1 = -10 reached the falling threshold -5.",
                                      kFalling + "ifInOctets.1 = -5 reached the falling threshold -5."}));
  const std::vector<CLogObject> records = [&] {
    std::vector<CLogObject> out;
    server_.logs->scan([&](const CLogObject& r) {
      out.push_back(r);
      return true;
    });
    return out;
  }();
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records[0].getLevel(), log_def::LOGLEVEL_USER);
  EXPECT_EQ(records[0].getTargetType(), log_def::TARGETTYPE_TASK);
  EXPECT_EQ(std::string(records[0].getInternalName()), "load");
  EXPECT_EQ(std::string(records[0].getAddress()), "127.0.0.1");
}

TEST_F(TaskSamplerTest, NegativeValuesNeverReachTheRisingThreshold) {
  ASSERT_TRUE(server_.tasks->add(alarmTask(CTaskObject::ALARMTYPE_RISING_OR_FALLING, 100, -5)));
  script("load", {gauge("-4"), gauge("-9223372036854775808"), gauge("18446744073709551615")});
  rounds({0, 10, 20});
  EXPECT_EQ(
      logs(log_def::LOGTYPE_ALARM),
      (std::vector<std::string>{kFalling + "ifInOctets.1 = -9223372036854775808 reached the falling threshold -5.",
                                kRising + "ifInOctets.1 = 18446744073709551615 reached the rising threshold 100."}));
}

TEST_F(TaskSamplerTest, DeltaTasksAlarmOnDeltasAndNotWithoutTheRmonFlag) {
  CTaskObject t = alarmTask(CTaskObject::ALARMTYPE_RISING, 1000, 0);
  t.setSampleType(CTaskObject::SAMPLETYPE_DELTA);
  ASSERT_TRUE(server_.tasks->add(t));
  t.setName("quiet");
  t.setRmonFlag(CTaskObject::RMONFLAG_NOT_USED);
  ASSERT_TRUE(server_.tasks->add(t));
  for (const char* name : {"load", "quiet"}) {
    script(name, {counter32(5000), counter32(5500), counter32(7000), counter32(7000), counter32(9000)});
  }
  rounds({0, 10, 20, 30, 40});
  // The first reading (5000, no delta) raises nothing; 1500 does; 0 re-arms.
  EXPECT_EQ(logs(log_def::LOGTYPE_ALARM),
            (std::vector<std::string>{kRising + "ifInOctets.1 = 1500 reached the rising threshold 1000.",
                                      kRising + "ifInOctets.1 = 2000 reached the rising threshold 1000."}));
}

TEST_F(TaskSamplerTest, AnAgentThatStopsAnsweringIsLoggedOnceAndTheTaskKeepsRunning) {
  ASSERT_TRUE(server_.tasks->add(task("flaky", -1)));
  script("flaky", {counter32(100), counter32(150), silence(), silence(), silence(), counter32(400), counter32(460)});
  rounds({0, 10, 20, 30, 40, 50, 60});
  EXPECT_EQ(logs(log_def::LOGTYPE_ERROR), (std::vector<std::string>{std::to_string(log_def::LOGSUBTYPE_NO_RESPONSE) +
                                                                    ": No response from 127.0.0.1: Timeout."}));
  EXPECT_EQ(logs(log_def::LOGTYPE_INFORMATION),
            std::vector<std::string>{std::to_string(log_def::LOGSUBTYPE_RESPONSE) + ": 127.0.0.1 answers again."});
  // Unanswered polls are no samples, and no delta spans the silence.
  EXPECT_EQ(mibValues("flaky"), (std::vector<std::string>{"", "50", "", "60"}));
  const CTaskObject t = stored("flaky");
  EXPECT_EQ(t.getTaskStatus(), CTaskObject::TASKSTATUS_RUNNING);
  EXPECT_EQ(t.getPollingCount(), 4u);
  EXPECT_EQ(fetches_["flaky"], 7);
  rounds({70});
  EXPECT_EQ(logs(log_def::LOGTYPE_ERROR).size(), 2u);  // a second change, a second record
}

TEST_F(TaskSamplerTest, ATaskChangedWhileItsAgentIsReadKeepsNoSample) {
  ASSERT_TRUE(server_.tasks->add(task("moving", 5)));
  ASSERT_TRUE(server_.tasks->add(task("gone", 5)));
  script("moving", {counter32(1), counter32(2), counter32(3), counter32(4)});
  script("gone", {counter32(1), counter32(2), counter32(3)});
  rounds({0, 10});
  duringFetch_ = [this](const CTaskObject& t) {
    if (t.getName() == "moving") server_.tasks->update("moving", [](CTaskObject& s) { s.setPollingCount(0); });
    if (t.getName() == "gone") server_.tasks->remove("gone");
  };
  rounds({20});
  EXPECT_EQ(stored("moving").getPollingCount(), 0u);
  EXPECT_EQ(mibValues("moving"), (std::vector<std::string>{"", "1"}));
  EXPECT_EQ(mibValues("gone"), (std::vector<std::string>{"", "1"}));
  duringFetch_ = nullptr;
  rounds({21});  // taken up again as a new run: no delta
  EXPECT_EQ(stored("moving").getPollingCount(), 1u);
  EXPECT_EQ(mibValues("moving"), (std::vector<std::string>{"", "1", ""}));
  EXPECT_EQ(server_.taskRecords->list("moving").back().getSampleIndex(), 1u);
}

TEST_F(TaskSamplerTest, TheWrapFlagIsSetOnceTheStoreKeepsFewerSamplesThanWereTaken) {
  setting("TaskMaxSample", "2");
  ASSERT_TRUE(server_.tasks->add(task("small", 3)));
  script("small", {counter32(1), counter32(2), counter32(3)});
  rounds({0, 10});
  EXPECT_EQ(stored("small").getWrapFlag(), 0);
  rounds({20});
  EXPECT_NE(stored("small").getWrapFlag(), 0);
}

TEST_F(TaskSamplerTest, TheThreadSamplesWokenTasksAndStartsAgainAfterAStop) {
  std::mutex mutex;
  std::condition_variable ended;
  std::vector<std::string> finished;
  server_.addLogListener([&](const CLogObject& record) {
    if (record.getSubType() != log_def::LOGSUBTYPE_END) return;
    std::lock_guard<std::mutex> lock(mutex);
    finished.push_back(std::string(record.getInternalName()));
    ended.notify_all();
  });
  const auto runUntilFinished = [&](CTaskObject t, std::vector<AgentReading> readings) {
    t.setStartTime(CTime::GetCurrentTime());
    script(t.getName(), readings);
    sampler_.start();
    ASSERT_TRUE(server_.tasks->add(t));
    sampler_.wake();
    std::unique_lock<std::mutex> lock(mutex);
    ended.wait(lock, [&] { return !finished.empty() && finished.back() == t.getName(); });
    lock.unlock();
    sampler_.stop();
  };
  runUntilFinished(task("live", 2, 1), {counter32(10), counter32(25)});
  EXPECT_EQ(mibValues("live"), (std::vector<std::string>{"", "15"}));
  const std::vector<CTaskDataRecord> records = server_.taskRecords->list("live");
  ASSERT_EQ(records.size(), 2u);
  EXPECT_LT(records[0].getPollStartTime(), records[1].getPollStartTime());
  runUntilFinished(task("again", 1, 1), {counter32(7)});
  EXPECT_EQ(finished, (std::vector<std::string>{"live", "again"}));
  EXPECT_EQ(fetches_["again"], 1);
}

// The SNMP side, without an agent: the request and what answers make.
TEST(SnmpTaskFetchTest, TheRequestAsksSysUpTimeFirstAndOnlyKnownVariables) {
  CTaskObject t;
  t.setMibVariables({"1.3.6.1.2.1.2.2.1.10.1", "noSuchVariableAnywhere", ".1.3.6.1.2.1.1.5.0"});
  std::vector<bool> known;
  const om::snmp::Request request = om::server::taskRequest(t, known);
  EXPECT_EQ(known, (std::vector<bool>{true, false, true}));
  ASSERT_EQ(request.varbinds.size(), 3u);
  EXPECT_EQ(om::snmp::oidText(request.varbinds[0].oid), "1.3.6.1.2.1.1.3.0");
  EXPECT_EQ(om::snmp::oidText(request.varbinds[1].oid), "1.3.6.1.2.1.2.2.1.10.1");
  EXPECT_EQ(om::snmp::oidText(request.varbinds[2].oid), "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(request.type, om::snmp::PduType::kGet);
}

om::snmp::Varbind varbind(uint8_t type, int64_t integer = 0, uint64_t counter64 = 0, const std::string& octets = "") {
  om::snmp::Varbind v;
  v.oid = {1, 3, 6, 1, 4, 1, 9};
  v.type = type;
  v.integer = integer;
  v.counter64 = counter64;
  v.octets = octets;
  return v;
}

TEST(SnmpTaskFetchTest, AnswersBecomeReadings) {
  using namespace om::snmp;
  const std::vector<bool> known{true, false, true, true, true};
  Response response;
  const Varbind upTime = varbind(kTimeTicks, 8640000 + 123456);
  const Varbind c32 = varbind(kCounter32, 4294967295);
  const Varbind c64 = varbind(kCounter64, 0, 18446744073709551615ull);
  const Varbind text = varbind(kOctetString, 0, 0, "eth0");
  const Varbind missing = varbind(kNoSuchInstance);
  response.varbinds = {upTime, c32, c64, text, missing};
  AgentReading reading = om::server::taskReading(known, response);
  EXPECT_TRUE(reading.answered());
  EXPECT_EQ(reading.sysUpTime, "1 day 0:20:34.56");
  EXPECT_EQ(reading.values, (std::vector<SampledValue>{{"4294967295", Counter::k32},
                                                       {"unknownVariable"},
                                                       {"18446744073709551615", Counter::k64},
                                                       {"eth0"},
                                                       {"noSuchInstance"}}));
  // A short answer: the missing values are NULL; no sysUpTime but TimeTicks.
  response.varbinds = {text, c32};
  reading = om::server::taskReading(known, response);
  EXPECT_EQ(reading.sysUpTime, "");
  EXPECT_EQ(reading.values.back(), SampledValue{"NULL"});
  response.varbinds.clear();
  EXPECT_EQ(om::server::taskReading(known, response).values.size(), known.size());
  // A refusal is an answer: the variable at fault (the third asked, after
  // sysUpTime) carries the error.
  response.status = Status::kAgentError;
  response.errorStatus = 2;
  response.errorIndex = 3;
  reading = om::server::taskReading(known, response);
  EXPECT_TRUE(reading.answered());
  EXPECT_EQ(reading.values,
            (std::vector<SampledValue>{{"notAsked"}, {"unknownVariable"}, {"noSuchName"}, {"notAsked"}, {"notAsked"}}));
  for (const Status silent : {Status::kTimeout, Status::kSendFailed, Status::kCancelled}) {
    response.status = silent;
    reading = om::server::taskReading(known, response);
    EXPECT_FALSE(reading.answered());
    EXPECT_TRUE(reading.values.empty());
  }
}

}  // namespace
