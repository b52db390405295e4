// EchoSweep against real hosts in network namespaces of the test's own: which
// addresses answer, retries, ICMP errors, the rate, cancelling, duplicated
// replies, and discovery of a subnet through it. Each sweep runs with a raw
// socket and again with an ICMP datagram socket (the sweeping thread gives
// up the right to raw sockets). Needs root; skipped with the reason
// otherwise.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <omtools/Registry.h>

#include "../probe/NetHelpers.h"
#include "../probe/NetTopology.h"
#include "SweepNet.h"
#include "config/DefaultValues.h"
#include "server/NetworkServer.h"
#include "server/discovery/EchoSweep.h"
#include "server/discovery/SubnetDiscovery.h"

namespace {

using om::server::EchoSweep;
using omtest::SweepNet;
using Clock = std::chrono::steady_clock;

const std::vector<std::string> kHosts = {"10.94.0.7", "10.94.0.64", "10.94.0.128", "10.94.0.200"};

// What a sweep reported.
struct Swept {
  EchoResult result = EchoResult::kNotSent;
  std::vector<EchoSweep::Outcome> outcomes;  // in the order reported
  bool enteredNamespace = false;
  bool rawDropped = false;

  // Each address swept with its outcome; false when one was reported twice.
  bool byAddress(const std::vector<std::string>& addresses, std::map<std::string, EchoSweep::Outcome>& out) const {
    for (const EchoSweep::Outcome& o : outcomes) {
      if (!out.emplace(addresses.at(o.index), o).second) return false;
    }
    return true;
  }
  std::set<std::string> answered(const std::vector<std::string>& addresses) const {
    std::set<std::string> out;
    for (const EchoSweep::Outcome& o : outcomes) {
      if (o.answered) out.insert(addresses.at(o.index));
    }
    return out;
  }
};

// Runs `sweep` over `addresses` inside `ns` on a thread of its own, which
// first gives up the right to raw sockets when `datagram`. `each` sees each
// outcome as it comes.
Swept sweepIn(const omtest::Netns& ns, bool datagram, EchoSweep& sweep, const std::vector<std::string>& addresses,
              const std::function<void(const EchoSweep::Outcome&)>& each = {},
              const std::atomic<bool>* stop = nullptr) {
  Swept swept;
  std::thread thread([&] {
    omtest::NetnsScope in(ns);
    swept.enteredNamespace = in.ok();
    if (!in.ok()) return;
    swept.rawDropped = datagram && omtest::dropRawCapability();
    if (datagram && !swept.rawDropped) return;
    swept.result = sweep.run(
        addresses,
        [&](const EchoSweep::Outcome& o) {
          swept.outcomes.push_back(o);
          if (each) each(o);
        },
        stop);
  });
  thread.join();
  return swept;
}

EchoSweep::Settings settings(int timeoutMs, int tries, unsigned rate) {
  EchoSweep::Settings s;
  s.timeoutMs = timeoutMs;
  s.tries = tries;
  s.rate = rate;
  return s;
}

class EchoSweepNet : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
    net_ = std::make_unique<SweepNet>(kHosts);
    ASSERT_TRUE(net_->ok()) << net_->error();
  }
  bool datagram() const { return GetParam(); }
  // Sweeps from S with this test's kind of socket.
  Swept run(EchoSweep& sweep, const std::vector<std::string>& addresses,
              const std::function<void(const EchoSweep::Outcome&)>& each = {}) {
    Swept swept = sweepIn(net_->s, datagram(), sweep, addresses, each);
    EXPECT_TRUE(swept.enteredNamespace);
    EXPECT_EQ(swept.rawDropped, datagram()) << "the capability to open raw sockets could not be dropped";
    EXPECT_EQ(sweep.datagramSocket(), datagram());
    return swept;
  }

  std::unique_ptr<SweepNet> net_;
};

TEST_P(EchoSweepNet, ExactlyTheAnsweringAddressesAreReportedAnsweredAndEachAddressOnce) {
  const std::vector<std::string> addresses = SweepNet::linkNet();
  EchoSweep sweep(settings(300, 2, 2000));
  const auto start = Clock::now();
  const Swept swept = run(sweep, addresses);
  const auto elapsed = Clock::now() - start;
  EXPECT_EQ(swept.result, EchoResult::kAnswered);
  std::map<std::string, EchoSweep::Outcome> outcomes;
  ASSERT_TRUE(swept.byAddress(addresses, outcomes)) << "an address was reported twice";
  EXPECT_EQ(outcomes.size(), addresses.size());
  std::set<std::string> expected(kHosts.begin(), kHosts.end());
  expected.insert({SweepNet::kSweeper, SweepNet::kGateway});
  EXPECT_EQ(swept.answered(addresses), expected);
  size_t tries = 0;
  for (const auto& [address, outcome] : outcomes) {
    tries += static_cast<size_t>(outcome.tries);
    if (outcome.answered) {
      EXPECT_EQ(outcome.tries, 1) << address;
      EXPECT_LE(outcome.roundTrip, elapsed) << address;  // a time read from our own request
    } else {
      EXPECT_EQ(outcome.tries, 2) << address;  // silent: asked again, then given up
    }
  }
  EXPECT_EQ(sweep.sent(), tries);
}

TEST_P(EchoSweepNet, AnAddressSilentAtFirstIsFoundByARetry) {
  // T ignores echo requests until the sweeper's own address has answered;
  // the sweep asks T's host first, a tenth of a second earlier.
  const std::vector<std::string> addresses = {kHosts[0], SweepNet::kSweeper};
  for (int tries : {1, 2}) {
    ASSERT_EQ(net_->t.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=1"), 0);
    EchoSweep sweep(settings(1000, tries, 10));
    const Swept swept = run(sweep, addresses, [&](const EchoSweep::Outcome& o) {
      if (o.index == 1) net_->t.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=0");
    });
    std::map<std::string, EchoSweep::Outcome> outcomes;
    ASSERT_TRUE(swept.byAddress(addresses, outcomes));
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_TRUE(outcomes[SweepNet::kSweeper].answered);
    EXPECT_EQ(outcomes[kHosts[0]].answered, tries == 2) << tries;
    EXPECT_EQ(outcomes[kHosts[0]].tries, tries);
  }
}

TEST_P(EchoSweepNet, DuplicatedRepliesAreReportedOnce) {
  ASSERT_EQ(net_->t.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=1"), 0);
  omtest::DuplicatingResponder responder(net_->t);
  ASSERT_TRUE(responder.ok());
  const std::vector<std::string> addresses = {SweepNet::kGateway, "10.94.0.2"};
  EchoSweep sweep(settings(500, 2, 1000));
  const Swept swept = run(sweep, addresses);
  std::map<std::string, EchoSweep::Outcome> outcomes;
  ASSERT_TRUE(swept.byAddress(addresses, outcomes)) << "an address was reported twice";
  ASSERT_EQ(outcomes.size(), 2u);
  EXPECT_TRUE(outcomes[SweepNet::kGateway].answered);
  EXPECT_EQ(outcomes[SweepNet::kGateway].tries, 1);
  EXPECT_FALSE(outcomes["10.94.0.2"].answered);
}

TEST_P(EchoSweepNet, RequestsKeepToTheRateOrTheGap) {
  // T answers every address at once, so that each outcome comes right after
  // its request: the count of requests at each outcome shows the pace.
  std::vector<std::string> addresses = SweepNet::routedNet();
  addresses.resize(30);
  EchoSweep::Settings byGap = settings(1000, 1, 0);
  byGap.minGapUs = 20000;
  for (const EchoSweep::Settings& paced : {settings(1000, 1, 50), byGap}) {
    EchoSweep sweep(paced);
    const auto start = Clock::now();
    std::vector<std::string> tooFast;
    const Swept swept = run(sweep, addresses, [&](const EchoSweep::Outcome& o) {
      // No more than the first request and one for each 20 ms since the start.
      const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
      const size_t allowed = 1 + static_cast<size_t>(elapsed.count() / 20000);
      if (sweep.sent() > allowed) {
        tooFast.push_back(std::to_string(sweep.sent()) + " sent after " + std::to_string(elapsed.count()) + " us");
      }
      EXPECT_TRUE(o.answered);
    });
    EXPECT_TRUE(tooFast.empty()) << tooFast.front();
    EXPECT_EQ(swept.answered(addresses).size(), addresses.size());
    EXPECT_EQ(sweep.sent(), addresses.size());
  }
}

TEST_P(EchoSweepNet, CancellingStopsTheSweepEarly) {
  const std::vector<std::string> addresses = SweepNet::linkNet();
  std::atomic<bool> stop{false};
  for (bool byFlag : {false, true}) {
    stop = false;
    EchoSweep sweep(settings(5000, 1, 100));
    std::atomic<bool> ended{false};
    std::thread canceller([&] {
      while (!ended && sweep.sent() < 10) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      if (byFlag) {
        stop = true;
      } else {
        sweep.cancel();
      }
    });
    Swept swept = sweepIn(net_->s, datagram(), sweep, addresses, {}, &stop);
    ended = true;
    canceller.join();
    std::map<std::string, EchoSweep::Outcome> outcomes;
    EXPECT_TRUE(swept.byAddress(addresses, outcomes));
    EXPECT_GE(sweep.sent(), 10u) << byFlag;
    EXPECT_LT(sweep.sent(), addresses.size()) << byFlag;
    EXPECT_LT(outcomes.size(), addresses.size()) << byFlag;
  }
}

INSTANTIATE_TEST_SUITE_P(Sockets, EchoSweepNet, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& info) { return info.param ? "Datagram" : "Raw"; });

// ICMP errors, through a router that refuses some destinations.
class EchoSweepErrors : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
    topology_ = std::make_unique<omtest::Topology>();
    ASSERT_TRUE(topology_->ok()) << topology_->error();
    ASSERT_EQ(topology_->a.exec("ip route add prohibit 10.96.0.0/24"), 0);
  }
  std::unique_ptr<omtest::Topology> topology_;
};

TEST_P(EchoSweepErrors, UnreachableAddressesEndSilentWithoutWaitingOrRetrying) {
  // R refuses 10.91.3.0/24 and has no route to 10.92.0.0/16; A itself
  // refuses 10.96.0.0/24 at send. A time-out long enough that a sweep waiting
  // it out would be noticed.
  const std::vector<std::string> addresses = {omtest::Topology::kB, omtest::Topology::kProhibited, "10.91.3.6",
                                              omtest::Topology::kNoRoute, "10.96.0.9"};
  EchoSweep sweep(settings(20000, 3, 1000));
  const Swept swept = sweepIn(topology_->a, GetParam(), sweep, addresses);
  ASSERT_TRUE(swept.enteredNamespace);
  ASSERT_EQ(swept.rawDropped, GetParam());
  std::map<std::string, EchoSweep::Outcome> outcomes;
  ASSERT_TRUE(swept.byAddress(addresses, outcomes));
  ASSERT_EQ(outcomes.size(), addresses.size());
  EXPECT_TRUE(outcomes[omtest::Topology::kB].answered);
  for (const char* refused : {omtest::Topology::kProhibited, "10.91.3.6", omtest::Topology::kNoRoute}) {
    EXPECT_FALSE(outcomes[refused].answered) << refused;
    EXPECT_EQ(outcomes[refused].tries, 1) << refused;  // the error ended it: no retry
  }
  EXPECT_FALSE(outcomes["10.96.0.9"].answered);
  EXPECT_EQ(outcomes["10.96.0.9"].tries, 0);  // the kernel refused it at send
  EXPECT_EQ(sweep.sent(), 4u);
}

INSTANTIATE_TEST_SUITE_P(Sockets, EchoSweepErrors, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& info) { return info.param ? "Datagram" : "Raw"; });

// Discovery of a subnet through the default sweep and the settings.
class DiscoverySweepNet : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
    char dir[] = "/tmp/omlib-sweep-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    home_ = dir;
    setenv("OMLIB_HOME", home_.c_str(), 1);
    const char* key = "SOFTWARE\\Velmoran\\OrvaManager";
    ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, key));
    CRegistry values(HKEY_LOCAL_MACHINE, key);
    ASSERT_TRUE(values.setValue("TimeoutDiscoverForPing", "1"));
    ASSERT_TRUE(values.setValue("RetryCountDiscoverForPing", "2"));
    ASSERT_NE(DefaultValues::getDefault(), nullptr);
    net_ = std::make_unique<SweepNet>(kHosts);
    ASSERT_TRUE(net_->ok()) << net_->error();
  }
  void TearDown() override {
    if (!home_.empty()) std::filesystem::remove_all(home_);
  }

  std::unique_ptr<SweepNet> net_;
  std::string home_;
};

TEST_F(DiscoverySweepNet, TheNodesThatAnswerAreAddedUnderTheSubnet) {
  NetworkServer server;
  SubnetBase subnet;
  subnet.setName("lab");
  subnet.setNetworkID("10.94.0.0");
  subnet.setSubnetMask("255.255.255.0");
  subnet.setLookupHostName(false);
  ASSERT_TRUE(server.locked([&] { return server.putSubnet(subnet); }));
  bool started = false;
  std::thread starter([&] {
    omtest::NetnsScope in(net_->s);  // the sweep's thread starts in S
    started = in.ok() && server.discovery->start("lab");
  });
  starter.join();
  ASSERT_TRUE(started);
  server.discovery->wait();

  std::vector<NetworkObjectBase> nodes;
  server.locked([&] { return server.tree.children(NetworkTree::subnetPath("lab"), nodes); });
  std::set<std::string> found;
  for (const NetworkObjectBase& node : nodes) found.insert(node.getIpAddress());
  std::set<std::string> expected(kHosts.begin(), kHosts.end());
  expected.insert({SweepNet::kSweeper, SweepNet::kGateway});
  EXPECT_EQ(found, expected);
  std::vector<std::string> messages;
  server.logs->scan([&](const CLogObject& record) {
    messages.push_back(record.getMessage().GetString());
    return true;
  });
  ASSERT_FALSE(messages.empty());
  EXPECT_NE(std::find(messages.begin(), messages.end(), "Discovery started: 254 addresses."), messages.end());
  EXPECT_EQ(messages.back(), "Discovery ended: 6 new nodes.");
  SubnetBase stored;
  ASSERT_TRUE(server.subnets->find("lab", stored));
  EXPECT_EQ(stored.getStatus(), SubnetDiscovery::kIdle);
}

}  // namespace
