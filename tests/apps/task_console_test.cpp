// omconsole task through a shell: tasks added, listed, shown, started,
// stopped, restarted and deleted, one by one or all at once, and the
// server's refusals.
#include <gtest/gtest.h>

#include "ShellTest.h"

namespace {

using TaskConsoleTest = ShellTest;

TEST_F(TaskConsoleTest, ATaskIsAddedAndShownWithEveryField) {
  ASSERT_EQ(shell("task add t1 --ip 10.0.0.1 --var sysUpTime.0 --var ifInOctets.1 --interval 30 --samples -1 "
                  "--display 表示 --community public\n"
                  "task list\n"
                  "task show t1\n"),
            0)
      << err_;
  EXPECT_EQ(out_,
            "added task t1\n"
            "t1  表示  waiting  10.0.0.1  30  sysUpTime.0,ifInOctets.1\n"
            "name: t1\n"
            "displayName: 表示\n"
            "userText:\n"
            "dnsName:\n"
            "address: 10.0.0.1\n"
            "readCommunity: public\n"
            "writeCommunity:\n"
            "variables: sysUpTime.0,ifInOctets.1\n"
            "type: 1\n"
            "status: waiting\n"
            "rmon: no\n"
            "startTime:\n"
            "samples: -1\n"
            "interval: 30\n"
            "alarmType: 3\n"
            "risingThreshold: 0\n"
            "fallingThreshold: 0\n"
            "sampleType: 2\n"
            "lastSampleValues:\n"
            "pollingCount: 0\n"
            "wrapFlag: 0\n"
            "snmpVersion: -1\n");
}

TEST_F(TaskConsoleTest, OneTaskChangesItsStatus) {
  ASSERT_EQ(shell("task add t1 --ip 10.0.0.1\n"
                  "task add t2 --ip 10.0.0.2\n"
                  "task start t1\n"
                  "task list\n"
                  "task stop t1\n"
                  "task restart t2\n"
                  "task list\n"
                  "task delete t1\n"
                  "task list\n"),
            0)
      << err_;
  EXPECT_EQ(linesOf(out_), (std::vector<std::string>{
                               "added task t1", "added task t2", "started task t1",
                               "t1  -  running  10.0.0.1  10  -", "t2  -  waiting  10.0.0.2  10  -",
                               "stopped task t1", "restarted task t2",
                               "t1  -  stopped  10.0.0.1  10  -", "t2  -  running  10.0.0.2  10  -",
                               "deleted task t1", "t2  -  running  10.0.0.2  10  -"}));
}

TEST_F(TaskConsoleTest, AllTasksChangeTogether) {
  ASSERT_EQ(shell("task add a --ip 10.0.0.1\n"
                  "task add b --ip 10.0.0.2\n"
                  "task start --all\n"
                  "task stop --all\n"
                  "task list\n"
                  "task delete --all\n"
                  "task list --json\n"),
            0)
      << err_;
  EXPECT_NE(out_.find("started every task\nstopped every task\n"
                      "a  -  stopped  10.0.0.1  10  -\nb  -  stopped  10.0.0.2  10  -\n"
                      "deleted every task\n[]\n"),
            std::string::npos)
      << out_;
}

TEST_F(TaskConsoleTest, JsonFormsListAndShowTasks) {
  ASSERT_EQ(shell("task add t1 --ip 10.0.0.1 --var sysUpTime.0\ntask start t1\ntask list --json\n"), 0) << err_;
  std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_EQ(json, "[\n  " R"({"name": "t1", "displayName": "", "status": "running", "address": "10.0.0.1", )"
                  R"("interval": 10, "variables": ["sysUpTime.0"]})" "\n]\n");
  forgetData();
  ASSERT_EQ(shell("task add t1 --ip 10.0.0.1 --samples 5\ntask show t1 --json\n"), 0) << err_;
  json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  for (const char* part : {R"({"name": "t1", )", R"("variables": [], )", R"("samples": 5, )", R"("rmon": false, )",
                           R"("startTime": "", )", R"("snmpVersion": -1})"}) {
    EXPECT_NE(json.find(part), std::string::npos) << part << " in " << json;
  }
}

TEST_F(TaskConsoleTest, TheServersRefusalsAreReported) {
  EXPECT_EQ(shell("task add t1 --ip 10.0.0.1\n"
                  "task add t1 --ip 10.0.0.2\n"
                  "task start ghost\n"
                  "task stop ghost\n"
                  "task restart ghost\n"
                  "task delete ghost\n"
                  "task show ghost\n"
                  "task stop t1 --all\n"
                  "task stop\n"
                  "task add t2 --ip 10.0.0.1 --samples many\n"),
            1);
  EXPECT_EQ(linesOf(err_),
            (std::vector<std::string>{
                "omconsole: task add t1: a task of that name exists",
                "omconsole: task start ghost: no such task",
                "omconsole: task stop ghost: no such task",
                "omconsole: task restart ghost: no such task",
                "omconsole: task delete ghost: no such task",
                "omconsole: task show ghost: WBEM_E_NOT_FOUND",
                "omconsole: usage: omconsole task start|stop|restart|delete NAME|--all",
                "omconsole: usage: omconsole task start|stop|restart|delete NAME|--all",
                "omconsole: usage: omconsole task add NAME --ip ADDRESS [--var VARIABLE]... [--interval SECONDS] "
                "[--samples N] [--display TEXT] [--community NAME]",
            }));
  EXPECT_EQ(out_, "added task t1\n");
}

}  // namespace
