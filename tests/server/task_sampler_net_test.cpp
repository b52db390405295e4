// The task sampler against a real agent: snmpd in a network namespace of the
// test's own serves a Counter32 through a pass_persist script that hands out
// the next value of a file on each GET, so the test decides every reading
// whatever the timing. Needs root; skipped with the reason otherwise.
#include <gtest/gtest.h>

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <omtools/Registry.h>

#include "../probe/NetTopology.h"
#include "core/CounterValue.h"
#include "core/csvline.h"
#include "server/NetworkServer.h"
#include "server/tasks/TaskSampler.h"

namespace {

const char kCounterOid[] = ".1.3.6.1.4.1.8072.9999.1.1.0";
const char kLoInOctets[] = "1.3.6.1.2.1.2.2.1.10.1";  // ifInOctets of lo, the namespace's first interface

// Answers snmpd's pass_persist requests: a GET of any OID under its subtree
// gets the first line of the file "counter" beside it as a Counter32, and
// uses that line up unless it is the last.
const char kCounterScript[] = R"sh(#!/bin/sh
file=$(dirname "$0")/counter
while read -r command; do
  case $command in
    PING) echo PONG ;;
    get) read -r oid
      value=$(head -n 1 "$file")
      [ "$(wc -l < "$file")" -gt 1 ] && sed -i 1d "$file"
      printf '%s\ncounter\n%s\n' "$oid" "$value" ;;
    getnext) read -r oid; echo NONE ;;
    set) read -r oid; read -r value; echo not-writable ;;
    *) exit 0 ;;
  esac
done
)sh";

// snmpd on 127.0.0.1:161 of a namespace, serving (at kCounterOid) the
// Counter32 values 4294967000, 4294967290, 5, 105 one per GET, then 105.
class CounterAgent {
 public:
  explicit CounterAgent(const std::filesystem::path& dir) : dir_(dir) {
    std::ofstream(dir_ / "counter") << "4294967000\n4294967290\n5\n105\n105\n";
    const std::filesystem::path script = dir_ / "counter.sh";
    std::ofstream(script) << kCounterScript;
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    std::ofstream(dir_ / "snmpd.conf") << "agentAddress udp:127.0.0.1:161\n"
                                          "rocommunity public 127.0.0.1\n"
                                          "pass_persist .1.3.6.1.4.1.8072.9999.1 "
                                       << script.string() << "\n";
    if (!ns.ok() || ns.exec("ip link set lo up") != 0) return;
    ns.exec("snmpd -Lf " + (dir_ / "log").string() + " -C -c " + (dir_ / "snmpd.conf").string() + " -p " +
            (dir_ / "pid").string() + " -I -smux,mteTrigger,mteTriggerConf");
    for (int i = 0; i < 50 && !ready_; ++i) {
      const std::string get = "env SNMPCONFPATH=/nonexistent MIBS= snmpget -v2c -c public -t 1 -r 0 127.0.0.1 ";
      ready_ = ns.exec(get + "1.3.6.1.2.1.1.3.0 > /dev/null 2>&1") == 0;
      if (!ready_) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
  ~CounterAgent() {
    std::ifstream pid(dir_ / "pid");
    long number = 0;
    if (pid >> number && number > 0) kill(static_cast<pid_t>(number), SIGTERM);
  }
  bool ready() const { return ready_; }

  omtest::Netns ns{"tasks"};

 private:
  std::filesystem::path dir_;
  bool ready_ = false;
};

class TaskSamplerNet : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
    if (omtest::run("command -v snmpd > /dev/null") != 0) GTEST_SKIP() << "needs snmpd (scripts/install-deps.sh)";
    std::string pattern = (std::filesystem::temp_directory_path() / "omlib-tasknet-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
    setenv("OMLIB_HOME", dir_.c_str(), 1);
    setenv("OMLIB_USER_HOME", dir_.c_str(), 1);
    const char* key = "SOFTWARE\\Velmoran\\OrvaManager";
    ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, key));
    ASSERT_TRUE(CRegistry(HKEY_LOCAL_MACHINE, key).setValue("CountOverflowPolicy", "2"));
    agent_ = std::make_unique<CounterAgent>(dir_);
    ASSERT_TRUE(agent_->ready()) << "snmpd did not start in the namespace";
    omtest::NetnsScope inside(agent_->ns);
    ASSERT_TRUE(inside.ok());
    server_ = std::make_unique<NetworkServer>();  // its SNMP thread lives in the namespace
  }
  void TearDown() override {
    server_.reset();
    agent_.reset();
    if (!dir_.empty()) std::filesystem::remove_all(dir_);
  }

  std::filesystem::path dir_;
  std::unique_ptr<CounterAgent> agent_;
  std::unique_ptr<NetworkServer> server_;
};

TEST_F(TaskSamplerNet, AFiveSampleTaskAcrossAWrapStoresTheAgentsDeltas) {
  std::mutex mutex;
  std::condition_variable ended;
  bool finished = false;
  server_->addLogListener([&](const CLogObject& record) {
    if (record.getSubType() != log_def::LOGSUBTYPE_END) return;
    std::lock_guard<std::mutex> lock(mutex);
    finished = true;
    ended.notify_all();
  });
  CTaskObject task;
  task.setName("wrap");
  task.setIpAddress("127.0.0.1");
  task.setReadCommunityName("public");
  task.setSnmpVersion(SNMP_VERSION_2C);
  task.setMibVariables({kCounterOid, kLoInOctets});
  task.setSampleType(CTaskObject::SAMPLETYPE_DELTA);
  task.setSamplesRequested(5);
  task.setPollingInterval(1);
  task.setStartTime(CTime::GetCurrentTime());
  task.setTaskStatus(CTaskObject::TASKSTATUS_RUNNING);
  ASSERT_TRUE(server_->tasks->add(task));

  om::server::TaskSampler sampler(*server_);
  sampler.start();
  sampler.wake();
  {
    std::unique_lock<std::mutex> lock(mutex);
    ended.wait(lock, [&] { return finished; });
  }
  sampler.stop();

  const std::vector<CTaskDataRecord> records = server_->taskRecords->list("wrap");
  ASSERT_EQ(records.size(), 5u);
  const std::vector<std::string> counterDeltas{"", "290", "11", "100", "0"};
  // The agent's sysUpTime in the form CCounterValue reads; it moves on.
  const auto upTime = [&](size_t i) {
    return CCounterValue(uint64_t{0}, false, records[i].getSysUpTime()).getUpTime();
  };
  for (size_t i = 0; i < records.size(); ++i) {
    CSVLine line(records[i].getMibValues());
    const std::vector<tstring> values{line.element(0), line.element(1)};
    EXPECT_EQ(values[0], counterDeltas[i]) << i;
    EXPECT_EQ(records[i].getSampleIndex(), i + 1);
    EXPECT_GT(upTime(i), 0u) << records[i].getSysUpTime();
    if (i == 0) {
      EXPECT_EQ(values[1], "");
      continue;
    }
    // lo's counter moves as the agent likes: a delta, but of any size.
    EXPECT_EQ(values[1].find_first_not_of("0123456789"), std::string::npos) << values[1];
    EXPECT_FALSE(values[1].empty());
    EXPECT_LT(records[i - 1].getPollStartTime(), records[i].getPollStartTime());
    EXPECT_LT(upTime(i - 1), upTime(i));
  }
  CTaskObject done;
  ASSERT_TRUE(server_->tasks->find("wrap", done));
  EXPECT_EQ(done.getTaskStatus(), CTaskObject::TASKSTATUS_FINISHED);
  EXPECT_EQ(done.getPollingCount(), 5u);
  size_t errors = 0;
  server_->logs->scan([&](const CLogObject& record) {
    errors += record.getType() == log_def::LOGTYPE_ERROR;
    return true;
  });
  EXPECT_EQ(errors, 0u);
}

}  // namespace
