// `omconsole shell` itself: how it splits lines, skips comments, ends, and
// what it answers; and the failures of commands as one line each.
#include <gtest/gtest.h>

#include "ShellTest.h"

namespace {

using ShellConsoleTest = ShellTest;

TEST_F(ShellConsoleTest, QuotesGroupWordsAndCommentsAndBlankLinesAreSkipped) {
  ASSERT_EQ(shell("# a comment\n"
                  "   # an indented comment\n"
                  "\n"
                  "task add \"two words\" --ip 10.0.0.1 --display 'say \"hi\"'\n"
                  "task add joined\" and \"'quoted' --ip 10.0.0.2 --display \"a \\\"b\\\" c\"\n"
                  "task list --json\n"),
            0)
      << err_;
  const std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_NE(json.find(R"({"name": "two words", "displayName": "say \"hi\"", )"), std::string::npos) << json;
  EXPECT_NE(json.find(R"({"name": "joined and quoted", "displayName": "a \"b\" c", )"), std::string::npos) << json;
  EXPECT_EQ(err_, "");
}

TEST_F(ShellConsoleTest, EveryLineRunsAfterAFailureAndTheStatusTellsOfIt) {
  EXPECT_EQ(shell("task stop ghost\n"
                  "task add t --ip 10.0.0.1\n"
                  "task list\n"),
            1);
  EXPECT_EQ(err_, "omconsole: task stop ghost: no such task\n");
  EXPECT_EQ(linesOf(out_), (std::vector<std::string>{"added task t", "t  -  waiting  10.0.0.1  10  -"}));
  EXPECT_EQ(shell("task add u --ip 10.0.0.1\ntask list\n"), 0) << err_;
}

TEST_F(ShellConsoleTest, ExitAndQuitEndTheShell) {
  for (const char* end : {"exit", "quit"}) {
    forgetData();
    EXPECT_EQ(shell(std::string("task add a --ip 10.0.0.1\n  ") + end + "  \ntask add b --ip 10.0.0.2\n"), 0) << err_;
    EXPECT_EQ(out_, "added task a\n") << end;
  }
}

TEST_F(ShellConsoleTest, StateLastsFromLineToLineAndFromRunToRun) {
  ASSERT_EQ(shell("task add kept --ip 10.0.0.1\ntask show kept --json\n"), 0) << err_;
  EXPECT_NE(out_.find(R"("name": "kept")"), std::string::npos) << out_;
  std::string out, err;
  EXPECT_EQ(console("task show kept", &out, &err), 0) << err;
  EXPECT_NE(out.find("name: kept\n"), std::string::npos) << out;
  forgetData();
  EXPECT_EQ(console("task show kept", &out, &err), 1);
  EXPECT_EQ(err, "omconsole: task show kept: WBEM_E_NOT_FOUND\n");
}

TEST_F(ShellConsoleTest, WrongLinesFailWithOneLineEach) {
  EXPECT_EQ(shell("task frob\n"
                  "nosuch command\n"
                  "task add x\n"
                  "task add x --ip 10.0.0.1 --interval 0\n"
                  "task add \"open --ip 10.0.0.1\n"
                  "shell\n"
                  "task add \"\" --ip 10.0.0.1\n"),
            1);
  EXPECT_EQ(linesOf(err_),
            (std::vector<std::string>{
                "omconsole: task: unknown subcommand 'frob' (omconsole help lists them)",
                "omconsole: unknown command 'nosuch'",
                "omconsole: usage: omconsole task add NAME --ip ADDRESS [--var VARIABLE]... [--interval SECONDS] "
                "[--samples N] [--display TEXT] [--community NAME]",
                "omconsole: usage: omconsole task add NAME --ip ADDRESS [--var VARIABLE]... [--interval SECONDS] "
                "[--samples N] [--display TEXT] [--community NAME]",
                "omconsole: a quote is not closed: task add \"open --ip 10.0.0.1",
                "omconsole: shell: a shell runs already",
                "omconsole: task add \"\": the task has no name",
            }));
  EXPECT_EQ(out_, "");
}

TEST_F(ShellConsoleTest, CommandsOutsideTheShellGiveTheirOwnStatus) {
  std::string out, err;
  EXPECT_EQ(console("task add x", &out, &err), 2);
  EXPECT_EQ(err.rfind("omconsole: usage: omconsole task add NAME --ip ADDRESS", 0), 0u) << err;
  EXPECT_EQ(console("subnet show nosuch", &out, &err), 1);
  EXPECT_EQ(err, "omconsole: subnet show nosuch: WBEM_E_NOT_FOUND\n");
  EXPECT_EQ(console("task add x --ip 10.0.0.1", &out, &err), 0) << err;
  EXPECT_EQ(out, "added task x\n");
}

TEST_F(ShellConsoleTest, HelpListsEveryFamilyAndTheShell) {
  std::string out;
  ASSERT_EQ(console("help", &out), 0);
  for (const char* line : {"  subnet discover NAME [--wait]", "  task start|stop|restart|delete NAME|--all",
                           "  log follow ", "  mib walk HOST START FILE [--overwrite]", "  action set ID ",
                           "  filter set ID ", "  shell "}) {
    EXPECT_NE(out.find(line), std::string::npos) << line;
  }
  ASSERT_EQ(shell("help\n"), 0);
  EXPECT_EQ(out_, out);
}

TEST_F(ShellConsoleTest, StatusPollsTheEmbeddedServerAndOmconsoleAloneShowsIt) {
  std::string out, err;
  ASSERT_EQ(console("status", &out, &err), 0) << err;
  EXPECT_EQ(out.rfind("server: a server embedded in this console", 0), 0u) << out;
  EXPECT_NE(out.find("\ndata: " + dir_ + "/data\npolled "), std::string::npos) << out;
  // This host, under each of its subnets, with the status the poll gave it;
  // a change from unknown is the one record logged.
  const size_t at = out.find("\n    ");
  ASSERT_NE(at, std::string::npos) << out;
  const std::string line = out.substr(at + 5, out.find('\n', at + 1) - at - 5);
  const std::string name = line.substr(0, line.find("  "));
  const std::string state = line.substr(name.size() + 2, line.find(' ', name.size() + 2) - name.size() - 2);
  ASSERT_TRUE(state == "up" || state == "down" || state == "unknown") << line;
  const std::string logs = out.substr(out.find("newest log records:\n"));
  if (state == "unknown") {
    EXPECT_EQ(logs, "newest log records:\n");
  } else {
    EXPECT_EQ(occurrences(logs, "\n"), 2u) << logs;
    EXPECT_NE(logs.find(name + " is " + state), std::string::npos) << logs;
  }
  // omconsole alone runs the same; the status kept from the run before has
  // not changed, so nothing more is logged.
  std::string again;
  ASSERT_EQ(console("", &again, &err), 0) << err;
  EXPECT_EQ(again.substr(again.find("newest log records:\n")), logs);
  EXPECT_EQ(console("status --logs many", &out, &err), 2);
  EXPECT_EQ(err, "omconsole: usage: omconsole status [--logs N]\n");
}

}  // namespace
