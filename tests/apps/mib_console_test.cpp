// omconsole mib through a shell, over the system MIB tree the console's
// server loads: nodes, children, traps and notifications, and the walk of
// this host into a file.
#include <gtest/gtest.h>

#include <unistd.h>

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
            "description: Its administrative name.\n"
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
                      R"("sysLocation", "sysServices"])"),
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
  EXPECT_EQ(occurrences(out_, "{\"name\": "), 7u);
  EXPECT_NE(out_.find(R"({"name": "sysUpTime", "oid": "1.3.6.1.2.1.1.3", "syntax": "TimeTicks"})"), std::string::npos);
}

TEST_F(MibConsoleTest, TrapsAndNotificationsOfAModuleOrOfAll) {
  ASSERT_EQ(shell("mib traps IF-MIB\n"), 0) << err_;
  EXPECT_EQ(out_, "notification  linkDown\nnotification  linkUp\n");
  ASSERT_EQ(shell("mib traps\n"), 0) << err_;
  EXPECT_EQ(occurrences(out_, "trap  SmiTrapType."), 6u) << out_;
  EXPECT_EQ(occurrences(out_, "notification  "), 5u) << out_;
  ASSERT_EQ(shell("mib traps RFC1215 --json\n"), 0) << err_;
  EXPECT_TRUE(wellFormedJson(out_)) << out_;
  EXPECT_NE(out_.find("[\n  {\"kind\": \"trap\", \"name\": \"SmiTrapType.coldStart\"},"), std::string::npos) << out_;
  EXPECT_EQ(occurrences(out_, "\"kind\": \"notification\""), 0u);
}

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST_F(MibConsoleTest, AWalkWritesThisHostsValuesAndReportsTheServersAnswer) {
  char host[256] = "";
  ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
  const std::string file = dir_ + "/walk.txt";
  EXPECT_EQ(shell("mib walk 127.0.0.1 system " + file + "\n"
                  "mib walk 127.0.0.1 system " + file + "\n"
                  "mib walk 127.0.0.1 sysName " + file + " --overwrite\n"
                  "mib walk 10.255.255.254 system " + file + " --overwrite\n"
                  "mib walk 127.0.0.1 nosuch " + file + " --overwrite\n"
                  "mib walk 127.0.0.1 system " + dir_ + "/missing/walk.txt\n"),
            1);
  EXPECT_EQ(out_, "walked 127.0.0.1 from system into " + file + "\nwalked 127.0.0.1 from sysName into " + file + "\n");
  EXPECT_EQ(linesOf(err_), (std::vector<std::string>{
                               "omconsole: mib walk 127.0.0.1 system " + file +
                                   ": the file exists (--overwrite replaces it)",
                               "omconsole: mib walk 10.255.255.254 system " + file + ": no such host in the network",
                               "omconsole: mib walk 127.0.0.1 nosuch " + file + ": no such MIB node",
                               "omconsole: mib walk 127.0.0.1 system " + dir_ +
                                   "/missing/walk.txt: the file cannot be written",
                           }));
  // The last walk that worked replaced the file with its one variable.
  EXPECT_EQ(fileText(file), std::string("1.3.6.1.2.1.1.5.0\tsysName.0\tDisplayString\t") + host + "\n");
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
