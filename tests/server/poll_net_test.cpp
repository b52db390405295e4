// Polling a node as ForcePolling does, on the loopback of a network namespace
// of the test's own, with the time-outs and retries of the settings. Needs
// root; skipped with the reason otherwise.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include <omtools/Registry.h>

#include "../probe/NetHelpers.h"
#include "../probe/NetTopology.h"
#include "probe/icmp6ping.h"
#include "server/NetworkServer.h"
#include "server/discovery/NodeProbe.h"

namespace {

class PollNet : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
    char dir[] = "/tmp/omlib-poll-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    home_ = dir;
    setenv("OMLIB_HOME", home_.c_str(), 1);
    const char* key = "SOFTWARE\\Velmoran\\OrvaManager";
    ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, key));
    CRegistry settings(HKEY_LOCAL_MACHINE, key);
    ASSERT_TRUE(settings.setValue("TimeoutPollingForPing", "1"));
    ASSERT_TRUE(settings.setValue("RetryCountPollingForPing", "2"));
    ASSERT_TRUE(settings.setValue("TimeoutPollingForPing6", "1"));
    ASSERT_TRUE(settings.setValue("RetryCountPollingForPing6", "2"));
    ns_ = std::make_unique<omtest::Netns>("poll");
    ASSERT_TRUE(ns_->ok());
    ASSERT_EQ(ns_->exec("ip link set lo up"), 0);
  }
  void TearDown() override {
    if (!home_.empty()) std::filesystem::remove_all(home_);
  }

  static NetworkObjectBase node(const std::string& ipv4, const std::string& ipv6) {
    NetworkObjectBase object;
    if (!ipv4.empty()) object.addIpAddress(ipv4);
    if (!ipv6.empty()) object.addIpv6Address(ipv6);
    return object;
  }

  std::unique_ptr<omtest::Netns> ns_;
  std::string home_;
};

TEST_F(PollNet, NodesAreProbedOverTheirOwnAddressFamily) {
  omtest::NetnsScope in(*ns_);
  ASSERT_TRUE(in.ok());
  EXPECT_EQ(pingNode(node("", "::1")), NetworkServer::kNodeUp);
  EXPECT_EQ(pingNode(node("127.0.0.1", "")), NetworkServer::kNodeUp);
  EXPECT_EQ(pingNode(node("", "")), NetworkServer::kNodeUnknown);
}

TEST_F(PollNet, ASilentIpv6NodeIsDownAfterTheRetriesOfTheSettings) {
  ASSERT_EQ(ns_->exec("sysctl -qw net.ipv6.icmp.echo_ignore_all=1 net.ipv4.icmp_echo_ignore_all=1"), 0);
  const std::string padding = icmp6ping::m_cszPadding;
  omtest::Icmp6RequestCounter counter(*ns_, padding.substr(0, 32));
  ASSERT_TRUE(counter.ok());
  omtest::NetnsScope in(*ns_);
  ASSERT_TRUE(in.ok());
  EXPECT_EQ(pingNode(node("", "::1")), NetworkServer::kNodeDown);
  EXPECT_EQ(counter.count(), 3);  // the first request and two retries
  EXPECT_EQ(pingNode(node("127.0.0.1", "")), NetworkServer::kNodeDown);
}

}  // namespace
