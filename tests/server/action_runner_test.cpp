// The server's actions: which records a filter selects, how a command line
// becomes a program's words, what of a program's output is kept, and the
// runner itself: programs run with the record's fields and no shell, hang
// and are killed, report how they ended; consoles are told of their
// commands; built-in server types say they are not available; and nothing
// the runner writes sets it off again.
#include <gtest/gtest.h>

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>
#include <time.h>

#include <filesystem>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "server/NetworkServer.h"
#include "server/actions/ActionRunner.h"
#include "server/actions/CommandLine.h"
#include "server/actions/FilterMatch.h"
#include "server/actions/OutputHead.h"

namespace {

using om::server::ActionRunner;
using om::server::ActionRunnerOptions;
using om::server::expandPlaceholders;
using om::server::filterMatches;
using om::server::OutputHead;
using om::server::splitWords;
using Strings = std::vector<std::string>;

CLogObject nodeDown(const std::string& name, time_t time = 1'700'000'000) {
  CLogObject record;  // identifier 0: the log gives it the next one
  record.setLevel(log_def::LOGLEVEL_USER);
  record.setTime(CTime(time));
  record.setType(log_def::LOGTYPE_ERROR);
  record.setSubType(log_def::LOGSUBTYPE_DOWN);
  record.setTargetType(log_def::TARGETTYPE_DEVICE);
  record.setInternalName(name.c_str());
  record.setDisplayName(("Node " + name).c_str());
  record.setAddress("10.0.0.1");
  record.setSysObjectId("1.3.6.1.4.1.8072.3.2.10");
  record.setMessage((name + " is down: no answer to ICMP echo.").c_str());
  return record;
}

// --- filterMatches ----------------------------------------------------------

TEST(FilterMatchTest, AFilterWithNothingInForceSelectsEveryRecord) {
  ActionFilter filter;
  filter.setLogType(log_def::LOGTYPE_TRAP);  // set, but not in force
  filter.setAddress("192.0.2.1");
  EXPECT_TRUE(filterMatches(filter, nodeDown("a")));
  EXPECT_TRUE(filterMatches(filter, CLogObject()));
}

TEST(FilterMatchTest, EachFieldInForceMustEqualTheRecords) {
  struct Case {
    ULONG flag;
    void (*setFilter)(ActionFilter&);
    void (*spoil)(CLogObject&);  // makes the record differ in that field only
  };
  const Case cases[] = {
      {ActionFilter::FLAG_LOG_TYPE, [](ActionFilter& f) { f.setLogType(log_def::LOGTYPE_ERROR); },
       [](CLogObject& r) { r.setType(log_def::LOGTYPE_ALARM); }},
      {ActionFilter::FLAG_LOG_SUBTYPE, [](ActionFilter& f) { f.setLogSubType(log_def::LOGSUBTYPE_DOWN); },
       [](CLogObject& r) { r.setSubType(log_def::LOGSUBTYPE_UP); }},
      {ActionFilter::FLAG_ADDRESS, [](ActionFilter& f) { f.setAddress("10.0.0.1"); },
       [](CLogObject& r) { r.setAddress("10.0.0.10"); }},
      {ActionFilter::FLAG_SYS_OBJECT_ID, [](ActionFilter& f) { f.setSysObjectId("1.3.6.1.4.1.8072.3.2.10"); },
       [](CLogObject& r) { r.setSysObjectId("1.3.6.1.4.1.8072.3.2"); }},
      {ActionFilter::FLAG_INTERNAL_NAME, [](ActionFilter& f) { f.setInternalName("core-1"); },
       [](CLogObject& r) { r.setInternalName("Core-1"); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.flag);
    ActionFilter filter;
    c.setFilter(filter);
    CLogObject other = nodeDown("core-1");
    c.spoil(other);
    EXPECT_TRUE(filterMatches(filter, other)) << "a field out of force is no condition";
    filter.addFlags(c.flag);
    EXPECT_TRUE(filterMatches(filter, nodeDown("core-1")));
    EXPECT_FALSE(filterMatches(filter, other));
  }
}

TEST(FilterMatchTest, AllFieldsInForceMustMatchTogether) {
  ActionFilter filter;
  filter.setLogType(log_def::LOGTYPE_ERROR);
  filter.setLogSubType(log_def::LOGSUBTYPE_DOWN);
  filter.setInternalName("core-1");
  filter.setAddress("10.0.0.1");
  filter.addFlags(ActionFilter::FLAG_LOG_TYPE | ActionFilter::FLAG_LOG_SUBTYPE | ActionFilter::FLAG_INTERNAL_NAME |
                  ActionFilter::FLAG_ADDRESS);
  EXPECT_TRUE(filterMatches(filter, nodeDown("core-1")));
  EXPECT_FALSE(filterMatches(filter, nodeDown("core-2")));
  CLogObject up = nodeDown("core-1");
  up.setSubType(log_def::LOGSUBTYPE_UP);
  EXPECT_FALSE(filterMatches(filter, up));
}

TEST(FilterMatchTest, TheTimeWindowIncludesBothEdges) {
  ActionFilter window;
  window.setStartTime(CTime(1000));
  window.setEndTime(CTime(2000));
  window.addFlags(ActionFilter::FLAG_START_TIME | ActionFilter::FLAG_END_TIME);
  EXPECT_FALSE(filterMatches(window, nodeDown("n", 999)));
  EXPECT_TRUE(filterMatches(window, nodeDown("n", 1000)));
  EXPECT_TRUE(filterMatches(window, nodeDown("n", 2000)));
  EXPECT_FALSE(filterMatches(window, nodeDown("n", 2001)));

  ActionFilter from = window;
  from.setAvailables(ActionFilter::FLAG_START_TIME);
  EXPECT_FALSE(filterMatches(from, nodeDown("n", 999)));
  EXPECT_TRUE(filterMatches(from, nodeDown("n", 4'000'000'000)));

  ActionFilter until = window;
  until.setAvailables(ActionFilter::FLAG_END_TIME);
  EXPECT_TRUE(filterMatches(until, nodeDown("n", 0)));
  EXPECT_FALSE(filterMatches(until, nodeDown("n", 2001)));

  ActionFilter reversed = window;  // ends before it starts: selects nothing
  reversed.setStartTime(CTime(2000));
  reversed.setEndTime(CTime(1000));
  EXPECT_FALSE(filterMatches(reversed, nodeDown("n", 1500)));
  EXPECT_FALSE(filterMatches(reversed, nodeDown("n", 2000)));
}

TEST(FilterMatchTest, TheIdentifierAndTheActionAreNoConditions) {
  ActionFilter filter;
  filter.setId(7);
  filter.setActionId(3);
  filter.addFlags(ActionFilter::FLAG_IDENTIFIER | ActionFilter::FLAG_ACTION_ID);
  CLogObject record = nodeDown("n");
  record.setIdentifier(8);
  record.setActionId(4);
  EXPECT_TRUE(filterMatches(filter, record));
}

TEST(FilterMatchTest, OnlyRecordsThatNameNoActionSetOffActions) {
  CLogObject record = nodeDown("n");
  EXPECT_TRUE(om::server::setsOffActions(record));
  record.setActionId(5);
  EXPECT_FALSE(om::server::setsOffActions(record));
  record.setActionId(-1);
  EXPECT_FALSE(om::server::setsOffActions(record));
}

// --- command lines ----------------------------------------------------------

Strings words(const std::string& text) {
  Strings out;
  EXPECT_TRUE(splitWords(text, out)) << text;
  return out;
}

TEST(CommandLineTest, QuotedPartsKeepTheirBlanksAndJoinTheirWord) {
  EXPECT_EQ(words("  a  b\tc  "), (Strings{"a", "b", "c"}));
  EXPECT_EQ(words(R"("c d" 'e "f" g' h"i j"k "it's")"), (Strings{"c d", R"(e "f" g)", "hi jk", "it's"}));
  EXPECT_EQ(words(R"(x "" '' y)"), (Strings{"x", "", "", "y"}));
  EXPECT_EQ(words("one\ntwo\r\n"), (Strings{"one", "two"}));
  EXPECT_EQ(words(""), Strings{});
}

TEST(CommandLineTest, NoCharacterButQuotesAndBlanksIsSpecial) {
  EXPECT_EQ(words(R"($HOME ;rm -rf * | a>b `id` $(id) C:\dir\)"),
            (Strings{"$HOME", ";rm", "-rf", "*", "|", "a>b", "`id`", "$(id)", R"(C:\dir\)"}));
  // A double-byte character whose second byte is a backslash stays whole.
  const std::string table = om::utf8ToCp932("表示");
  ASSERT_EQ(table[1], '\\');
  EXPECT_EQ(words("\"" + table + " x\"" + table), (Strings{table + " x" + table}));
}

TEST(CommandLineTest, AnUnclosedQuoteIsRefusedAndAddsNothing) {
  Strings out{"kept"};
  EXPECT_FALSE(splitWords(R"(a "b c)", out));
  EXPECT_FALSE(splitWords("a 'b\"", out));
  EXPECT_EQ(out, Strings{"kept"});
  EXPECT_TRUE(splitWords("more 'words'", out));
  EXPECT_EQ(out, (Strings{"kept", "more", "words"}));
}

TEST(CommandLineTest, PlaceholdersTakeTheRecordsFields) {
  const char* savedZone = getenv("TZ");
  const std::string saved = savedZone == nullptr ? "" : savedZone;
  setenv("TZ", "UTC", 1);
  tzset();
  CLogObject record = nodeDown("core-1", 1'700'000'000);  // 2023-11-14 22:13:20 UTC
  record.setLevel(log_def::LOGLEVEL_DEBUG);
  record.setIdentifier(41);
  EXPECT_EQ(expandPlaceholders("%identifier%|%time%|%level%|%type%|%subtype%|%target%", record),
            "41|2023-11-14 22:13:20|3|1|21|3");
  EXPECT_EQ(expandPlaceholders("%name%,%display%,%address%,%oid%", record),
            "core-1,Node core-1,10.0.0.1,1.3.6.1.4.1.8072.3.2.10");
  EXPECT_EQ(expandPlaceholders("[%message%]", record), "[core-1 is down: no answer to ICMP echo.]");
  if (savedZone == nullptr) {
    unsetenv("TZ");
  } else {
    setenv("TZ", saved.c_str(), 1);
  }
  tzset();
}

TEST(CommandLineTest, OtherPercentSignsStayAsWritten) {
  const CLogObject record = nodeDown("n1");
  EXPECT_EQ(expandPlaceholders("100%% %%name%% %", record), "100% %name% %");
  EXPECT_EQ(expandPlaceholders("50% of %name%", record), "50% of n1");
  EXPECT_EQ(expandPlaceholders("%NAME% %PATH% %%%name%", record), "%NAME% %PATH% %n1");
  EXPECT_EQ(expandPlaceholders("%name", record), "%name");
  EXPECT_EQ(expandPlaceholders("", record), "");
  // A field's own text is not looked at again.
  CLogObject sly = record;
  sly.setMessage("see %name% and %%");
  EXPECT_EQ(expandPlaceholders("%message%%address%", sly), "see %name% and %%10.0.0.1");
}

// --- output ------------------------------------------------------------------

TEST(OutputHeadTest, KeepsTheFirstLinesHoweverTheOutputArrives) {
  const std::string output = "one\r\ntwo\n\nfour\nfive\n";
  for (size_t split = 0; split <= output.size(); ++split) {
    OutputHead head(3, 100);
    head.add(output.substr(0, split));
    head.add(output.substr(split));
    EXPECT_EQ(head.lines(), (Strings{"one", "two", ""})) << split;
    EXPECT_TRUE(head.cut());
  }
  OutputHead exact(3, 100);
  exact.add("a\nb\nc\n");
  EXPECT_EQ(exact.lines(), (Strings{"a", "b", "c"}));
  EXPECT_FALSE(exact.cut());
  OutputHead none(3, 100);
  EXPECT_EQ(none.lines(), Strings{});
  EXPECT_FALSE(none.cut());
}

TEST(OutputHeadTest, AnUnfinishedLastLineCounts) {
  OutputHead head(3, 100);
  head.add("a\nno end");
  EXPECT_EQ(head.lines(), (Strings{"a", "no end"}));
  EXPECT_FALSE(head.cut());
}

TEST(OutputHeadTest, NulBytesBecomeSpaces) {
  OutputHead head(3, 100);
  head.add(std::string("u\0t\0f\0\n", 7));
  EXPECT_EQ(head.lines(), Strings{"u t f "});
}

TEST(OutputHeadTest, LongLinesAreCutBetweenCharacters) {
  OutputHead head(4, 5);
  head.add("abcdefgh\nabcd\xC3\xA9xy\na\xE2\x82\xAC\xE2\x82\xAC\n12345\n");
  // "é" would be cut after its first byte, "€€" inside the second one.
  EXPECT_EQ(head.lines(), (Strings{"abcde", "abcd", "a\xE2\x82\xAC", "12345"}));
  EXPECT_TRUE(head.cut());
  OutputHead fits(2, 5);
  fits.add("12345\n");
  EXPECT_FALSE(fits.cut());
}

// --- the runner ---------------------------------------------------------------

class ActionRunnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/om-actions-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  void addCommand(int id, const std::string& command, const std::string& param = "",
                  const std::string& description = "") {
    CActionCommand action;
    action.setId(id);
    action.setCommand(command.c_str());
    action.setServerSide(true);
    action.setParam(param.c_str());
    action.setDescription(description.c_str());
    server_.actions->putCommand(action);
  }
  void addConsoleCommand(int id, int type, const std::string& description) {
    CActionCommand action;
    action.setId(id);
    action.setCommandType(type);
    action.setDescription(description.c_str());
    server_.actions->putCommand(action);
  }
  // A filter for the action, with `flags` in force besides the action.
  ActionFilter& addFilter(ULONG id, int actionId, ULONG flags = 0) {
    filters_.emplace_back();
    ActionFilter& filter = filters_.back();
    filter.setId(id);
    filter.setActionId(actionId);
    filter.setAvailables(ActionFilter::FLAG_IDENTIFIER | ActionFilter::FLAG_ACTION_ID | flags);
    return filter;
  }
  void storeFilters() {
    for (const ActionFilter& filter : filters_) server_.actions->putFilter(filter);
  }
  // A filter on "node down".
  void onNodeDown(ULONG id, int actionId) {
    ActionFilter& filter = addFilter(id, actionId, ActionFilter::FLAG_LOG_TYPE | ActionFilter::FLAG_LOG_SUBTYPE);
    filter.setLogType(log_def::LOGTYPE_ERROR);
    filter.setLogSubType(log_def::LOGSUBTYPE_DOWN);
  }

  std::vector<CLogObject> allRecords() const {
    std::vector<CLogObject> out;
    server_.logs->scan([&](const CLogObject& record) {
      out.push_back(record);
      return true;
    });
    return out;
  }
  // The records of actions.
  std::vector<CLogObject> actionRecords() const {
    std::vector<CLogObject> out;
    for (const CLogObject& record : allRecords()) {
      if (record.getActionId() != 0) out.push_back(record);
    }
    return out;
  }
  // The runner's messages by action; with `type`, each record must be of it.
  std::map<int, std::string> messagesByAction(std::optional<log_def::tagLOGTYPE> type = std::nullopt) const {
    std::map<int, std::string> messages;
    for (const CLogObject& record : actionRecords()) {
      messages[record.getActionId()] = std::string(record.getMessage());
      if (type) {
        EXPECT_EQ(record.getType(), *type);
      }
    }
    return messages;
  }
  std::string messageOfOnly() const {
    const std::vector<CLogObject> records = actionRecords();
    EXPECT_EQ(records.size(), 1u);
    return records.empty() ? "" : std::string(records.front().getMessage());
  }
  std::string fileText(const std::string& name) const {
    std::ifstream in(dir_ + "/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  bool exists(const std::string& name) const { return std::filesystem::exists(dir_ + "/" + name); }

  // Creates the file `mine`, then waits until the file `other` exists.
  std::string touchThenWaitFor(const std::string& mine, const std::string& other) const {
    return R"(/bin/sh -c 'touch "$0"; while [ ! -e "$1" ]; do sleep 0.01; done' )" + dir_ + "/" + mine + " " + dir_ +
           "/" + other;
  }
  // Writes one argument a line, in <>, into the file named by the first.
  std::string argumentWriter() const { return R"(/bin/sh -c 'printf "<%s>\n" "$@" > "$0"' )" + dir_ + "/args"; }
  // What it writes for these arguments.
  static std::string writtenArguments(const Strings& arguments) {
    std::string text;
    for (const std::string& argument : arguments) text += "<" + argument + ">\n";
    return text;
  }

  std::string dir_;
  NetworkServer server_;
  std::deque<ActionFilter> filters_;  // references to its filters stay valid
};

TEST_F(ActionRunnerTest, NodeDownRunsTheProgramWithTheRecordsFieldsAndNoShell) {
  addCommand(1, argumentWriter(),
             "%name% \"%message%\" 'say \"hi\" to %display%' '$(touch " + dir_ + "/pwned); touch " + dir_ +
                 "/pwned2' * > " + dir_ + "/redirected",
             "dump the arguments");
  onNodeDown(1, 1);
  storeFilters();
  ActionRunner runner(server_);
  CLogObject up = nodeDown("core-1");
  up.setSubType(log_def::LOGSUBTYPE_UP);
  server_.writeLog(up);
  server_.writeLog(nodeDown("core-1"));
  runner.drain();

  const Strings expected{"core-1",
                         "core-1 is down: no answer to ICMP echo.",
                         "say \"hi\" to Node core-1",
                         "$(touch " + dir_ + "/pwned); touch " + dir_ + "/pwned2",
                         "*",
                         ">",
                         dir_ + "/redirected"};
  EXPECT_EQ(fileText("args"), writtenArguments(expected));
  EXPECT_FALSE(exists("pwned"));
  EXPECT_FALSE(exists("pwned2"));
  EXPECT_FALSE(exists("redirected"));

  const std::vector<CLogObject> records = actionRecords();
  ASSERT_EQ(records.size(), 1u) << "the node going up selects nothing";
  const CLogObject& done = records.front();
  EXPECT_EQ(std::string(done.getMessage()), "Action 1 (dump the arguments): /bin/sh exited with status 0.");
  EXPECT_EQ(done.getActionId(), 1);
  EXPECT_EQ(done.getType(), log_def::LOGTYPE_INFORMATION);
  EXPECT_EQ(done.getSubType(), log_def::LOGSUBTYPE_END);
  EXPECT_EQ(done.getTargetType(), log_def::TARGETTYPE_DEVICE);
  EXPECT_EQ(std::string(done.getInternalName()), "core-1");
  EXPECT_EQ(std::string(done.getDisplayName()), "Node core-1");
  EXPECT_EQ(std::string(done.getAddress()), "10.0.0.1");
}

TEST_F(ActionRunnerTest, TheProgramGetsItsTextInUtf8) {
  addCommand(1, argumentWriter(), "%name% " + om::utf8ToCp932("停止"));
  addFilter(1, 1);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown(om::utf8ToCp932("ルータ")));
  runner.drain();
  EXPECT_EQ(fileText("args"), writtenArguments({"ルータ", "停止"}));
}

TEST_F(ActionRunnerTest, TheExitStatusAndTheFirstLinesOfOutputAreLogged) {
  addCommand(2, R"(/bin/sh -c 'echo first >&2; printf "two\r\nthree\nfour\n"; exit 3')", "", "failing");
  addCommand(3, "/bin/echo", "%name% is down; ok", "echo");
  addCommand(4, R"(/bin/sh -c 'kill -USR1 $$')", "", "crashing");
  addFilter(1, 2);
  addFilter(2, 3);
  addFilter(3, 4);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  runner.drain();

  const std::vector<CLogObject> records = actionRecords();
  ASSERT_EQ(records.size(), 3u);
  std::map<int, const CLogObject*> byAction;
  for (const CLogObject& record : records) byAction[record.getActionId()] = &record;
  ASSERT_EQ(byAction.size(), 3u);
  EXPECT_EQ(std::string(byAction[2]->getMessage()),
            "Action 2 (failing): /bin/sh exited with status 3.\nfirst\ntwo\nthree\n...");
  EXPECT_EQ(byAction[2]->getType(), log_def::LOGTYPE_ERROR);
  EXPECT_EQ(byAction[2]->getSubType(), log_def::LOGSUBTYPE_GENERAL_ERROR);
  EXPECT_EQ(std::string(byAction[3]->getMessage()), "Action 3 (echo): /bin/echo exited with status 0.\nn1 is down; ok");
  EXPECT_EQ(byAction[3]->getType(), log_def::LOGTYPE_INFORMATION);
  EXPECT_EQ(std::string(byAction[4]->getMessage()), "Action 4 (crashing): /bin/sh ended by signal SIGUSR1.");
  EXPECT_EQ(byAction[4]->getType(), log_def::LOGTYPE_ERROR);
}

TEST_F(ActionRunnerTest, AHangingProgramIsKilledAfterTheTimeOut) {
  addCommand(1, "sleep 100", "", "hang");
  // Ignores SIGTERM, so that only SIGKILL after the grace period ends it.
  addCommand(2, R"(/bin/sh -c 'trap "" TERM; echo waiting; sleep 100')", "", "stubborn");
  addFilter(1, 1);
  addFilter(2, 2);
  storeFilters();
  ActionRunnerOptions options;
  options.timeout = std::chrono::milliseconds(200);
  options.killGrace = std::chrono::milliseconds(100);
  ActionRunner runner(server_, options);
  server_.writeLog(nodeDown("n1"));
  runner.drain();

  std::map<int, std::string> messages = messagesByAction(log_def::LOGTYPE_ERROR);
  EXPECT_EQ(messages[1], "Action 1 (hang): sleep was killed after 0.2 s.");
  EXPECT_EQ(messages[2], "Action 2 (stubborn): /bin/sh was killed after 0.2 s.\nwaiting");
  EXPECT_EQ(messages.size(), 2u);
}

TEST_F(ActionRunnerTest, AProgramEndsWhenItExitsEvenIfItsChildKeepsTheOutputOpen) {
  addCommand(1, R"(/bin/sh -c 'sleep 100 & echo $! > "$0"; echo started' )" + dir_ + "/child", "", "leaves a child");
  addFilter(1, 1);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  runner.drain();
  EXPECT_EQ(messageOfOnly(), "Action 1 (leaves a child): /bin/sh exited with status 0.\nstarted");
  const pid_t child = std::stoi(fileText("child"));
  ASSERT_GT(child, 0);
  kill(child, SIGKILL);
}

TEST_F(ActionRunnerTest, ProgramsRunSideBySide) {
  // Each waits for the other's file: one at a time, the first would wait
  // until it is killed.
  addCommand(1, touchThenWaitFor("a", "b"), "", "a");
  addCommand(2, touchThenWaitFor("b", "a"), "", "b");
  addFilter(1, 1);
  addFilter(2, 2);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  runner.drain();
  for (const CLogObject& record : actionRecords()) {
    EXPECT_EQ(record.getType(), log_def::LOGTYPE_INFORMATION) << record.getMessage();
  }
  EXPECT_EQ(actionRecords().size(), 2u);
}

TEST_F(ActionRunnerTest, BeyondTheLimitProgramsWaitForTheirTurn) {
  addCommand(1, touchThenWaitFor("a", "b"), "", "a");  // killed: b comes only after it
  addCommand(2, touchThenWaitFor("b", "a"), "", "b");
  addFilter(1, 1);
  addFilter(2, 2);
  storeFilters();
  ActionRunnerOptions options;
  options.maxRunning = 1;
  options.timeout = std::chrono::milliseconds(300);
  ActionRunner runner(server_, options);
  server_.writeLog(nodeDown("n1"));
  runner.drain();
  std::map<int, std::string> messages = messagesByAction();
  EXPECT_EQ(messages[1], "Action 1 (a): /bin/sh was killed after 0.3 s.");
  EXPECT_EQ(messages[2], "Action 2 (b): /bin/sh exited with status 0.");
  EXPECT_EQ(messages.size(), 2u);
}

TEST_F(ActionRunnerTest, ABadCommandLineIsLoggedAndRunsNothing) {
  addCommand(1, "/no/such/program %name%", "", "missing");
  addCommand(2, argumentWriter(), "'unclosed", "unclosed");
  addCommand(3, "", "", "empty");
  addFilter(1, 1);
  addFilter(2, 2);
  addFilter(3, 3);
  addFilter(4, 99);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  runner.drain();
  std::map<int, std::string> messages = messagesByAction(log_def::LOGTYPE_ERROR);
  EXPECT_EQ(messages[1], "Action 1 (missing): /no/such/program could not start: No such file or directory.");
  EXPECT_EQ(messages[2], "Action 2 (unclosed): its command line has a quote that is not closed.");
  EXPECT_EQ(messages[3], "Action 3 (empty): its command line is empty.");
  EXPECT_EQ(messages[99], "Action filter 4 names action 99, which does not exist.");
  EXPECT_EQ(messages.size(), 4u);
  EXPECT_FALSE(exists("args"));
}

TEST_F(ActionRunnerTest, AFilterOutOfItsWindowOrWithoutAnActionDoesNotFire) {
  addCommand(1, argumentWriter(), "fired");
  ActionFilter& past = addFilter(1, 1, ActionFilter::FLAG_END_TIME);
  past.setEndTime(CTime(1'700'000'000 - 1));
  ActionFilter& future = addFilter(2, 1, ActionFilter::FLAG_START_TIME);
  future.setStartTime(CTime(1'700'000'000 + 1));
  addFilter(3, 1).extractFlags(ActionFilter::FLAG_ACTION_ID);  // names the action, but not in force
  addFilter(4, 0);                                             // in force, but no action
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1", 1'700'000'000));
  runner.drain();
  EXPECT_EQ(allRecords().size(), 1u);
  EXPECT_FALSE(exists("args"));
}

TEST_F(ActionRunnerTest, TheSameActionRunsOnceForARecord) {
  addCommand(1, "/bin/sh -c 'echo run >> \"$0\"' " + dir_ + "/runs", "", "count");
  addFilter(1, 1);
  onNodeDown(2, 1);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  server_.writeLog(nodeDown("n2"));
  runner.drain();
  EXPECT_EQ(fileText("runs"), "run\nrun\n");
}

TEST_F(ActionRunnerTest, ConsoleCommandsAreHandedToTheConsoles) {
  addConsoleCommand(5, CActionCommand::TYPE_POPUP, "page the operator");
  CActionCommand custom;  // a command line the console runs
  custom.setId(6);
  custom.setCommand((argumentWriter() + " x").c_str());
  custom.setDescription("console program");
  server_.actions->putCommand(custom);
  addConsoleCommand(7, CActionCommand::TYPE_BEEP, "beep");
  CActionCommand beep;
  server_.actions->findCommand(7, beep);
  beep.setServerSide(true);  // its type still belongs to the consoles
  server_.actions->putCommand(beep);
  onNodeDown(1, 5);
  addFilter(2, 6);
  addFilter(3, 7);
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("core-1"));
  runner.drain();

  std::map<int, CLogObject> byAction;
  for (const CLogObject& record : actionRecords()) byAction[record.getActionId()] = record;
  ASSERT_EQ(byAction.size(), 3u);
  EXPECT_EQ(std::string(byAction[5].getMessage()), "Action 5 (page the operator) is handed to the consoles.");
  EXPECT_EQ(std::string(byAction[6].getMessage()), "Action 6 (console program) is handed to the consoles.");
  EXPECT_EQ(std::string(byAction[7].getMessage()), "Action 7 (beep) is handed to the consoles.");
  EXPECT_EQ(byAction[5].getType(), log_def::LOGTYPE_INFORMATION);
  EXPECT_EQ(byAction[5].getSubType(), log_def::LOGSUBTYPE_START);
  EXPECT_EQ(std::string(byAction[5].getInternalName()), "core-1");
  EXPECT_FALSE(exists("args"));
}

TEST_F(ActionRunnerTest, BuiltInServerTypesAreNotAvailable) {
  for (int type = CActionCommand::TYPE_SEND_MAIL; type <= CActionCommand::TYPE_PATH_TEST + 1; ++type) {
    addCommand(type, std::to_string(type), "", type == 8 ? "mail" : "");
    addFilter(type, type);
  }
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  runner.drain();
  std::map<int, std::string> messages = messagesByAction(log_def::LOGTYPE_ERROR);
  ASSERT_EQ(messages.size(), 4u);
  EXPECT_EQ(om::cp932ToUtf8(messages[8]),
            "Action 8 (mail) cannot run: メール送信 (type 8) is not available on this server.");
  EXPECT_EQ(om::cp932ToUtf8(messages[9]),
            "Action 9 (TRAP転送) cannot run: TRAP転送 (type 9) is not available on this server.");
  EXPECT_NE(messages[10].find("(type 10) is not available on this server."), std::string::npos);
  EXPECT_EQ(messages[11], "Action 11 cannot run: type 11 is not available on this server.");
}

TEST_F(ActionRunnerTest, WhatTheRunnerWritesNeverSetsItOffAgain) {
  addConsoleCommand(1, CActionCommand::TYPE_POPUP, "popup");
  addCommand(2, "/bin/echo", "%message%", "echo");
  addFilter(1, 1);  // every record
  addFilter(2, 2);
  addFilter(3, 99);  // no such command: its complaint is a record too
  storeFilters();
  ActionRunner runner(server_);
  server_.writeLog(nodeDown("n1"));
  runner.drain();  // would wait for records set off by the runner's own
  EXPECT_EQ(allRecords().size(), 4u);

  CLogObject named = nodeDown("n2");  // a record that names an action already
  named.setActionId(1);
  server_.writeLog(named);
  runner.drain();
  EXPECT_EQ(allRecords().size(), 5u);
}

TEST_F(ActionRunnerTest, StoppingTheRunnerEndsAProgramUnderWay) {
  addCommand(1, R"(/bin/sh -c 'touch "$0"; sleep 100' )" + dir_ + "/started", "", "hang");
  addFilter(1, 1);
  storeFilters();
  ActionRunnerOptions options;
  options.timeout = std::chrono::milliseconds(500);
  {
    ActionRunner runner(server_, options);
    server_.writeLog(nodeDown("n1"));
    // Stops once the program is under way (or, on a slow machine, over).
    while (!exists("started") && actionRecords().empty()) usleep(1000);
  }
  EXPECT_EQ(messageOfOnly(), "Action 1 (hang): /bin/sh was killed after 0.5 s.");
  server_.writeLog(nodeDown("n2"));  // nobody listens any more
  EXPECT_EQ(allRecords().size(), 3u);
}

}  // namespace
