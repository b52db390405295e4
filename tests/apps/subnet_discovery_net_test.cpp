// omconsole subnet discover on a small loopback subnet: every address of
// 127.0.0.0/29 answers ICMP echo on this machine. Sending the requests needs
// root (or ICMP datagram sockets), so without root the test is skipped.
#include <gtest/gtest.h>

#include <unistd.h>

#include "ShellTest.h"

namespace {

using SubnetDiscoveryNetTest = ShellTest;

TEST_F(SubnetDiscoveryNetTest, ALoopbackSubnetIsSweptAndItsNodesListed) {
  if (geteuid() != 0) GTEST_SKIP() << "sweeping a subnet sends ICMP echo requests: run as root";
  ASSERT_EQ(shell("subnet add lo8 127.0.0.0 255.255.255.248\n"
                  "subnet discover lo8 --wait\n"
                  "subnet discover lo8 --wait\n"
                  "log list --query \"InternalName = 'lo8'\"\n"
                  "subnet show lo8 --json\n"),
            0)
      << err_;
  // 127.0.0.1 is this host's; the five others are new nodes named by address.
  for (const char* address : {"127.0.0.2", "127.0.0.3", "127.0.0.4", "127.0.0.5", "127.0.0.6"}) {
    EXPECT_EQ(occurrences(out_, std::string("\n") + address + "  " + address + "  -\n"), 2u) << address << out_;
  }
  EXPECT_EQ(occurrences(out_, "Discovery ended: 5 new nodes."), 1u) << out_;
  const std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_NE(json.find(R"("discoveredNodes": 6, )"), std::string::npos) << json;
  EXPECT_NE(json.find(R"("status": 0, )"), std::string::npos) << json;
  EXPECT_NE(json.find(R"("127.0.0.1"])"), std::string::npos) << json;
  EXPECT_EQ(occurrences(json, R"({"name": )"), 7u) << json;  // the subnet and its six devices
}

TEST_F(SubnetDiscoveryNetTest, ASweepStillUnderWayEndsWithTheShell) {
  if (geteuid() != 0) GTEST_SKIP() << "sweeping a subnet sends ICMP echo requests: run as root";
  ASSERT_EQ(shell("subnet add lo8 127.0.0.0 255.255.255.248\nsubnet discover lo8\n"), 0) << err_;
  EXPECT_EQ(out_, "added subnet lo8 (127.0.0.0/255.255.255.248)\ndiscovery of lo8 started\n");
}

}  // namespace
