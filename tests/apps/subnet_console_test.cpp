// omconsole subnet through a shell: subnets added, shown, listed, renamed and
// deleted, and each refusal. Nothing here sends a packet: the sweeps asked
// for are refused before they start (the discovery itself is in
// subnet_discovery_net_test.cpp).
#include <gtest/gtest.h>

#include "ShellTest.h"

namespace {

using SubnetConsoleTest = ShellTest;

TEST_F(SubnetConsoleTest, ASubnetIsAddedShownRenamedAndDeleted) {
  ASSERT_EQ(shell("subnet add lan 10.9.0.0 255.255.0.0 --community public --community private --lookup\n"
                  "subnet list\n"
                  "subnet show lan\n"
                  "subnet rename lan lan2\n"
                  "subnet show lan2\n"
                  "subnet delete lan2\n"
                  "subnet list\n"),
            0)
      << err_;
  const std::vector<std::string> lines = linesOf(out_);
  EXPECT_EQ(lines[0], "added subnet lan (10.9.0.0/255.255.0.0)");
  EXPECT_EQ(occurrences(out_, "\nlan  10.9.0.0  255.255.0.0  0  0\n"), 1u) << out_;
  EXPECT_NE(out_.find("name: lan\n"
                      "networkId: 10.9.0.0\n"
                      "subnetMask: 255.255.0.0\n"
                      "communities: public,private\n"
                      "discoveredNodes: 0\n"
                      "observedNodes: 0\n"
                      "status: 0\n"
                      "discoveredNodeType: 0\n"
                      "discoveringInterval: 0\n"
                      "hops: 0\n"
                      "lookupHostName: yes\n"
                      "discoverOnTrap: no\n"
                      "devices:\n"
                      "renamed subnet lan to lan2\n"
                      "name: lan2\n"),
            std::string::npos)
      << out_;
  EXPECT_NE(out_.find("deleted subnet lan2\n"), std::string::npos);
  EXPECT_EQ(occurrences(out_, "lan2  "), 0u) << "the last list still has it: " << out_;
}

TEST_F(SubnetConsoleTest, JsonFormsCarryEveryProperty) {
  ASSERT_EQ(shell("subnet add lan 10.9.0.0 255.255.0.0 --community public\nsubnet show lan --json\n"), 0) << err_;
  std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_EQ(json,
            R"({"name": "lan", "networkId": "10.9.0.0", "subnetMask": "255.255.0.0", "communities": ["public"], )"
            R"("discoveredNodes": 0, "observedNodes": 0, "status": 0, "discoveredNodeType": 0, )"
            R"("discoveringInterval": 0, "hops": 0, "lookupHostName": false, "discoverOnTrap": false, )"
            R"("devices": []})"
            "\n");
  forgetData();
  ASSERT_EQ(shell("subnet add lan 10.9.0.0 255.255.0.0\nsubnet list --json\n"), 0) << err_;
  json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_NE(json.find(R"({"name": "lan", "networkId": "10.9.0.0", "subnetMask": "255.255.0.0", "status": 0, )"
                      R"("discoveredNodes": 0})"),
            std::string::npos)
      << json;
}

TEST_F(SubnetConsoleTest, TheLoopbackSubnetListsThisHost) {
  ASSERT_EQ(shell("subnet show 127.0.0.0 --json\n"), 0) << err_;
  EXPECT_TRUE(wellFormedJson(out_)) << out_;
  EXPECT_NE(out_.find(R"("subnetMask": "255.0.0.0")"), std::string::npos) << out_;
  EXPECT_NE(out_.find(R"("devices": [{"name": )"), std::string::npos) << out_;
  EXPECT_NE(out_.find(R"("127.0.0.1")"), std::string::npos) << out_;
}

TEST_F(SubnetConsoleTest, RefusalsAreReportedWithTheirReason) {
  EXPECT_EQ(shell("subnet add lan 10.9.0.0 255.255.0.0\n"
                  "subnet add lan 10.8.0.0 255.255.0.0\n"
                  "subnet add other 10.8.0.300 255.255.0.0\n"
                  "subnet show ghost\n"
                  "subnet rename ghost x\n"
                  "subnet rename lan 127.0.0.0\n"
                  "subnet delete ghost\n"
                  "subnet discover ghost\n"
                  "subnet add wide 10.0.0.0 255.0.0.0\n"
                  "subnet discover wide\n"
                  "subnet show\n"),
            1);
  EXPECT_EQ(linesOf(err_),
            (std::vector<std::string>{
                "omconsole: subnet add lan 10.8.0.0 255.255.0.0: a subnet of that name exists",
                "omconsole: usage: omconsole subnet add NAME NETWORK MASK [--community NAME]... [--lookup]",
                "omconsole: subnet show ghost: WBEM_E_NOT_FOUND",
                "omconsole: subnet rename ghost x: no such subnet",
                "omconsole: subnet rename lan 127.0.0.0: the name '127.0.0.0' is taken or not valid",
                "omconsole: subnet delete ghost: no such subnet",
                "omconsole: subnet discover ghost: no such subnet",
                "omconsole: subnet discover wide: it cannot be swept: its network or mask is not valid, or it has "
                "more than 4096 addresses",
                "omconsole: usage: omconsole subnet show NAME [--json]",
            }));
}

TEST_F(SubnetConsoleTest, ExportedSubnetsComeBackWhenTheDataIsGone) {
  ASSERT_EQ(shell("subnet add lan 10.9.0.0 255.255.0.0 --community public\nsubnet show lan --json\n"), 0) << err_;
  const std::string before = jsonPart(out_);
  // A subnet is a record of the subnets and a place in the tree.
  std::string out, err;
  for (const char* store : {"tree", "subnets"}) {
    ASSERT_EQ(console(std::string("archive export ") + store + " " + dir_ + "/" + store + ".dat", &out, &err), 0)
        << err;
    EXPECT_EQ(out.rfind("exported ", 0), 0u) << out;
  }
  forgetData();
  ASSERT_EQ(console("subnet show lan", &out, &err), 1);
  for (const char* store : {"tree", "subnets"}) {
    ASSERT_EQ(console(std::string("archive import ") + store + " " + dir_ + "/" + store + ".dat", &out, &err), 0)
        << err;
    EXPECT_EQ(out.rfind("imported ", 0), 0u) << out;
  }
  const std::string file = dir_ + "/subnets.dat";
  ASSERT_EQ(shell("subnet show lan --json\n"), 0) << err_;
  EXPECT_EQ(jsonPart(out_), before);

  EXPECT_EQ(console("archive import nodes " + file, &out, &err), 1);
  EXPECT_EQ(err, "omconsole: no store is called 'nodes'\n");
  EXPECT_EQ(console("archive export subnets", &out, &err), 2);
  EXPECT_EQ(err, "omconsole: usage: omconsole archive export STORE FILE\n");
}

}  // namespace
