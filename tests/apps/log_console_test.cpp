// omconsole log: the records the task methods write, listed and counted with
// and without a condition; following new records in a shell (in the
// background, every record printed before the shell ends) and on its own
// (until SIGINT or SIGTERM).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cctype>
#include <fstream>
#include <string>
#include <thread>

#include "ShellTest.h"

extern char** environ;

namespace {

using LogConsoleTest = ShellTest;

// Whether `text` begins with a local time "YYYY-MM-DD HH:MM:SS".
bool startsWithTime(const std::string& text) {
  const std::string shape = "dddd-dd-dd dd:dd:dd";
  if (text.size() < shape.size()) return false;
  for (size_t i = 0; i < shape.size(); ++i) {
    if (shape[i] == 'd' ? !std::isdigit(static_cast<unsigned char>(text[i])) : text[i] != shape[i]) return false;
  }
  return true;
}

// Whether `line` is a record as log list prints it: identifier, two blanks,
// then the time.
bool isRecordLine(const std::string& line) {
  const size_t digits = line.find_first_not_of("0123456789");
  return digits > 0 && digits != std::string::npos && line.compare(digits, 2, "  ") == 0 &&
         startsWithTime(line.substr(digits + 2));
}

// The tail a record's line has after its identifier and time.
std::string tail(const char* target, const char* message) {
  return std::string("  情報ログ  経過表示  ") + target + "  " + message;
}

TEST_F(LogConsoleTest, RecordsAreListedAndCountedByCondition) {
  ASSERT_EQ(shell("task add t1 --ip 10.0.0.1\n"
                  "task add t2 --ip 10.0.0.2\n"
                  "task start t1\n"
                  "log list\n"
                  "log count\n"
                  "log count --query \"InternalName = 't1'\"\n"
                  "log list --query \"InternalName = 't1' AND Message LIKE '%started%'\"\n"),
            0)
      << err_;
  const std::vector<std::string> lines = linesOf(out_);
  ASSERT_EQ(lines.size(), 9u) << out_;
  for (size_t i : {3, 4, 5, 8}) EXPECT_TRUE(isRecordLine(lines[i])) << lines[i];
  EXPECT_EQ(lines[3].substr(0, 3), "1  ");
  EXPECT_NE(lines[3].find(tail("t1", "Task added.")), std::string::npos) << lines[3];
  EXPECT_NE(lines[4].find(tail("t2", "Task added.")), std::string::npos) << lines[4];
  EXPECT_NE(lines[5].find(tail("t1", "Task started.")), std::string::npos) << lines[5];
  EXPECT_EQ(lines[6], "3");
  EXPECT_EQ(lines[7], "2");
  EXPECT_EQ(lines[8], lines[5]);
}

TEST_F(LogConsoleTest, JsonFormsAndBadConditions) {
  EXPECT_EQ(shell("task add t2 --ip 10.0.0.2\n"
                  "log list --query \"LogType = = 4\"\n"
                  "log count --query \"InternalName =\"\n"
                  "log list --query \"InternalName = 't2'\" --json\n"),
            1);
  EXPECT_EQ(linesOf(err_), (std::vector<std::string>{
                               "omconsole: log list: WBEM_E_INVALID_QUERY",
                               "omconsole: log count: WBEM_E_INVALID_QUERY",
                           }));
  const std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  const std::string head = "[\n  {\"identifier\": 1, \"time\": \"";
  ASSERT_EQ(json.substr(0, head.size()), head) << json;
  EXPECT_TRUE(startsWithTime(json.substr(head.size()))) << json;
  EXPECT_EQ(json.substr(head.size() + 19),
            R"(", "type": "情報ログ", "level": "経過表示", "target": "t2", "message": "Task added."})" "\n]\n");
  // The next run finds the record kept.
  ASSERT_EQ(shell("log count --json\n"), 0) << err_;
  EXPECT_EQ(out_, "{\"count\": 1}\n");
}

TEST_F(LogConsoleTest, AFollowerInTheShellPrintsEveryNewRecordBeforeTheShellEnds) {
  EXPECT_EQ(shell("task add before --ip 10.0.0.1\n"
                  "log follow\n"
                  "task add after --ip 10.0.0.2\n"
                  "task start after\n"
                  "log follow\n"
                  "task stop --all\n"),
            1);
  EXPECT_EQ(err_, "omconsole: log follow: the log is followed already\n");
  // Records written before following are not printed; the others once each.
  EXPECT_EQ(occurrences(out_, tail("before", "Task added.")), 0u) << out_;
  EXPECT_EQ(occurrences(out_, tail("after", "Task added.\n")), 1u) << out_;
  EXPECT_EQ(occurrences(out_, tail("after", "Task started.\n")), 1u) << out_;
  EXPECT_EQ(occurrences(out_, tail("after", "Task stopped.\n")), 1u) << out_;
  EXPECT_EQ(occurrences(out_, tail("before", "Task stopped.\n")), 1u) << out_;
  // The follower's lines are those of log list.
  ASSERT_EQ(shell("log follow\ntask add t --ip 10.0.0.1\nlog list\n"), 0) << err_;
  EXPECT_EQ(occurrences(out_, tail("t", "Task added.\n")), 2u) << out_;
}

// Whether process `pid` catches signal `number` (its SigCgt mask).
bool catches(pid_t pid, int number) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("SigCgt:", 0) == 0) return (std::stoull(line.substr(7), nullptr, 16) >> (number - 1) & 1) != 0;
  }
  return false;
}

// Starts `omconsole log follow`, sends it `signal` once it catches it, and
// returns how it ended.
int followUntil(int signal) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  char* argv[] = {const_cast<char*>(OMCONSOLE), const_cast<char*>("log"), const_cast<char*>("follow"), nullptr};
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, OMCONSOLE, &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return -2;
  int status = 0;
  while (!catches(pid, signal)) {
    if (waitpid(pid, &status, WNOHANG) == pid) return -3;  // it ended before following
    std::this_thread::yield();
  }
  kill(pid, signal);
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(LogConsoleTest, FollowingOnItsOwnEndsCleanlyOnInterruptOrTermination) {
  EXPECT_EQ(followUntil(SIGINT), 0);
  EXPECT_EQ(followUntil(SIGTERM), 0);
}

}  // namespace
