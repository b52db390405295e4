// omconsole mib through a shell, over the MIB modules the console's server
// loads (the project's and the system's): nodes, children, traps and
// notifications, and the refusals of a walk (walks of a real agent are in
// tests/server/snmp_net_test.cpp).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "ShellTest.h"

namespace {

using MibConsoleTest = ShellTest;

TEST_F(MibConsoleTest, ANodeShowsEveryField) {
  ASSERT_EQ(shell("mib show sysName\n"), 0) << err_;
  EXPECT_EQ(out_,
            "name: sysName\n"
            "module: SNMPv2-MIB\n"
            "parent: system\n"
            "oid: 1.3.6.1.2.1.1.5\n"
            "fullPath: iso.org.dod.internet.mgmt.mib-2.system.sysName\n"
            "description: The administrative name of the system, often its fully qualified host name; empty when "
            "unknown.\n"
            "type: 1\n"
            "kind: 3\n"
            "status: 1\n"
            "access: 2\n"
            "syntax: DisplayString\n"
            "nextSibling: sysLocation\n"
            "prevSibling: sysContact\n"
            "children:\n"
            "values:\n");
  ASSERT_EQ(shell("mib show system --json\n"), 0) << err_;
  EXPECT_TRUE(wellFormedJson(out_)) << out_;
  EXPECT_NE(out_.find(R"("children": ["sysDescr", "sysObjectID", "sysUpTime", "sysContact", "sysName", )"
                      R"("sysLocation", "sysServices", "sysORLastChange", "sysORTable"])"),
            std::string::npos)
      << out_;
}

TEST_F(MibConsoleTest, ChildrenAreListedInOrder) {
  ASSERT_EQ(shell("mib children snmpTraps\n"), 0) << err_;
  EXPECT_EQ(linesOf(out_), (std::vector<std::string>{
                               "coldStart  1.3.6.1.6.3.1.1.5.1  -", "warmStart  1.3.6.1.6.3.1.1.5.2  -",
                               "linkDown  1.3.6.1.6.3.1.1.5.3  -", "linkUp  1.3.6.1.6.3.1.1.5.4  -",
                               "authenticationFailure  1.3.6.1.6.3.1.1.5.5  -"}));
  ASSERT_EQ(shell("mib children system --json\n"), 0) << err_;
  EXPECT_TRUE(wellFormedJson(out_)) << out_;
  EXPECT_EQ(occurrences(out_, "{\"name\": "), 9u);
  EXPECT_NE(out_.find(R"({"name": "sysUpTime", "oid": "1.3.6.1.2.1.1.3", "syntax": "TimeTicks"})"), std::string::npos);
}

TEST_F(MibConsoleTest, TrapsAndNotificationsOfAModuleOrOfAll) {
  ASSERT_EQ(shell("mib traps IF-MIB\n"), 0) << err_;
  EXPECT_EQ(out_, "notification  linkDown\nnotification  linkUp\n");
  ASSERT_EQ(shell("mib traps\n"), 0) << err_;
  // The six generic traps, the four of the product's SNMPv1 module; the
  // notifications of every module.
  EXPECT_EQ(occurrences(out_, "trap  SmiTrapType."), 10u) << out_;
  EXPECT_EQ(occurrences(out_, "notification  "), 15u) << out_;
  ASSERT_EQ(shell("mib traps ORVA-MANAGER-MIB\n"), 0) << err_;
  EXPECT_EQ(out_, "notification  omNodeDown\nnotification  omNodeUp\nnotification  omThresholdRising\n"
                  "notification  omThresholdFalling\n");
  ASSERT_EQ(shell("mib traps RFC1215 --json\n"), 0) << err_;
  EXPECT_TRUE(wellFormedJson(out_)) << out_;
  EXPECT_NE(out_.find("[\n  {\"kind\": \"trap\", \"name\": \"SmiTrapType.coldStart\"},"), std::string::npos) << out_;
  EXPECT_EQ(occurrences(out_, "\"kind\": \"notification\""), 0u);
}

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST_F(MibConsoleTest, AWalkIsRefusedBeforeAnyPacketOrWhenNoAgentAnswers) {
  const std::string file = dir_ + "/walk.txt";
  std::ofstream(file) << "kept\n";
  // Nothing listens on UDP 1161 of loopback: the one request times out
  // after "TimeoutSNMP" and "RetryCountSNMP" (factory values: 1 s, 1 retry).
  EXPECT_EQ(shell("config reset\nconfig set SNMPPort 1161\n"
                  "mib walk 127.0.0.1 system " + file + "\n"
                  "mib walk 127.0.0.1 nosuch " + file + " --overwrite\n"
                  "mib walk 127.0.0.1 system " + file + " --overwrite\n"),
            1);
  EXPECT_EQ(linesOf(err_), (std::vector<std::string>{
                               "omconsole: mib walk 127.0.0.1 system " + file +
                                   ": the file exists (--overwrite replaces it)",
                               "omconsole: mib walk 127.0.0.1 nosuch " + file + ": no such MIB node",
                               "omconsole: mib walk 127.0.0.1 system " + file + ": the agent did not answer",
                           }));
  EXPECT_EQ(fileText(file), "kept\n");
}

TEST_F(MibConsoleTest, TheTreeUnderANodeIsIndentedByDepth) {
  ASSERT_EQ(shell("mib tree snmpTraps\n"), 0) << err_;
  EXPECT_EQ(out_, "snmpTraps(5)\n  coldStart(1)\n  warmStart(2)\n  linkDown(3)\n  linkUp(4)\n"
                  "  authenticationFailure(5)\n");
  ASSERT_EQ(shell("mib tree interfaces --depth 1\n"), 0) << err_;
  EXPECT_EQ(out_, "interfaces(2)\n  ifNumber(1)\n  ifTable(2)\n");
  ASSERT_EQ(shell("mib tree ifTable --json\n"), 0) << err_;
  EXPECT_TRUE(wellFormedJson(out_)) << out_;
  EXPECT_NE(out_.find(R"({"depth": 2, "name": "ifIndex", "oid": "1.3.6.1.2.1.2.2.1.1"})"), std::string::npos) << out_;
}

// A load replaces the server's tree for the rest of the shell; a broken
// module is named with its line and the others load all the same.
TEST_F(MibConsoleTest, ALoadReportsBrokenModulesAndReplacesTheTree) {
  const std::string folder = dir_ + "/mibs";
  std::filesystem::create_directories(folder);
  std::ofstream(folder + "/BROKEN-MIB.txt") << "BROKEN-MIB DEFINITIONS ::= BEGIN\n"
                                               "IMPORTS enterprises FROM SNMPv2-SMI;\n"
                                               "broken OBJECT IDENTIFIER ::= { enterprises 99998 }\n"
                                               "brokenThing OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS\n"
                                               "END\n";
  EXPECT_EQ(shell("mib load " + std::string(OM_MIB_FOLDER) + " " + folder + "\nmib show ifIndex\nmib show ucdavis\n"),
            1);
  EXPECT_EQ(out_.find(folder + "/BROKEN-MIB.txt:5: "), 0u) << out_;
  EXPECT_NE(out_.find(" modules, "), std::string::npos) << out_;
  EXPECT_NE(out_.find("name: ifIndex\n"), std::string::npos) << out_;
  // Only the project's modules now: the system's are gone.
  EXPECT_EQ(err_, "omconsole: mib show ucdavis: WBEM_E_NOT_FOUND\n");
}

TEST_F(MibConsoleTest, UnknownNamesAreRefused) {
  EXPECT_EQ(shell("mib show nothing\nmib children nothing\nmib traps NO-SUCH-MIB\nmib walk a b\n"), 1);
  EXPECT_EQ(linesOf(err_), (std::vector<std::string>{
                               "omconsole: mib show nothing: WBEM_E_NOT_FOUND",
                               "omconsole: mib children nothing: WBEM_E_NOT_FOUND",
                               "omconsole: mib traps NO-SUCH-MIB: no such module",
                               "omconsole: usage: omconsole mib walk HOST START FILE [--overwrite]",
                           }));
}

}  // namespace
