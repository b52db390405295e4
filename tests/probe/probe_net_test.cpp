// The probes on real sockets: loopback, and three network namespaces
// A - R - B. Needs root; skipped with the reason otherwise.
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "NetHelpers.h"
#include "NetTopology.h"
#include "core/sain6.h"
#include "probe/icmp6ping.h"
#include "probe/orvaping.h"

namespace {

using omtest::NetnsScope;
using omtest::Topology;
using Lines = std::vector<std::string>;

// Lines without their round-trip times, which differ from run to run.
Lines timeless(const std::vector<tstring>& lines) {
  Lines out;
  for (const tstring& line : lines) out.push_back(omtest::timeless(line));
  return out;
}

std::string sent(const char* to) { return std::string("Orva Manager PING ") + to + "(" + to + "): sendto success"; }
std::string echo(const char* from, int ttl) {
  return std::string("reply from ") + from + ": bytes=32 time? TTL=" + std::to_string(ttl) + " ";
}

class Counting : public OrvaPingListener {
 public:
  explicit Counting(int cancelAt = 0) : cancelAt_(cancelAt) {}
  bool notify(int reason) override {
    EXPECT_EQ(reason, 0);
    return ++notified != cancelAt_;
  }
  void message(const tstring& text) override { lines.push_back(text); }
  int notified = 0;
  Lines lines;

 private:
  int cancelAt_;
};

class ProbeNet : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
  }
};

class TopologyNet : public ProbeNet {
 protected:
  void SetUp() override {
    ProbeNet::SetUp();
    if (IsSkipped()) return;
    net_ = std::make_unique<Topology>();
    ASSERT_TRUE(net_->ok()) << net_->error();
  }

  // Runs `probe` from A.
  bool runInA(OrvaPing& probe) {
    NetnsScope in(net_->a);
    EXPECT_TRUE(in.ok());
    return probe.GoAhead();
  }

  static OrvaPing pinger(const char* destination, int count, int timeout = 300) {
    OrvaPing p(destination, "");
    p.setRetryCount(count);
    p.setTimeout(timeout);
    return p;
  }

  static OrvaPing tracer(const char* destination, int maxHop = 6, int timeout = 500) {
    OrvaPing p(destination, "");
    p.setTraceRouteMode();
    p.setQueries(2);
    p.setMaxHop(maxHop);
    p.setTimeout(timeout);
    return p;
  }

  std::unique_ptr<Topology> net_;
};

TEST_F(ProbeNet, PingLoopback) {
  omtest::Netns ns("lo");
  ASSERT_EQ(ns.exec("ip link set lo up"), 0);
  NetnsScope in(ns);
  OrvaPing p("127.0.0.1", "");
  p.setRetryCount(3);
  p.setTimeout(200);
  Counting listener;
  p.addListener(&listener);
  ASSERT_TRUE(p.GoAhead());
  EXPECT_EQ(timeless(p.getLines()), (Lines{sent("127.0.0.1"), echo("127.0.0.1", 64), sent("127.0.0.1"),
                                           echo("127.0.0.1", 64), sent("127.0.0.1"), echo("127.0.0.1", 64),
                                           "reply from 127.0.0.1: Lost=0 / Sent=3 := 0%"}));
  EXPECT_EQ(listener.lines, Lines(p.getLines().begin(), p.getLines().end()));
  // Asked before each receive: a reply, then the wait to the time-out.
  EXPECT_EQ(listener.notified, 6);
  EXPECT_EQ(p.getSent(), 3);
  EXPECT_EQ(p.getReceived(), 3);
  ASSERT_EQ(p.getResults().size(), 3u);
  for (const PingResult& r : p.getResults()) {
    EXPECT_EQ(r.getType(), 0);
    EXPECT_EQ(r.getSize(), 40);
    EXPECT_EQ(r.getSource().s_addr, inet_addr("127.0.0.1"));
    EXPECT_EQ(r.getDestination().s_addr, inet_addr("127.0.0.1"));
    EXPECT_TRUE(r.getFlags() & PingResult::kTime);
  }
  // The largest request: 1024 bytes of data after the send time.
  p.setRetryCount(1);
  p.setDataSize(5000);
  ASSERT_TRUE(p.GoAhead());
  ASSERT_EQ(p.getResults().size(), 1u);
  EXPECT_EQ(p.getResults()[0].getSize(), 1036);
  EXPECT_EQ(timeless(p.getLines())[1], "reply from 127.0.0.1: bytes=1028 time? TTL=64 ");
}

TEST_F(ProbeNet, Ping6Loopback) {
  omtest::Netns ns("lo6");
  ASSERT_EQ(ns.exec("ip link set lo up"), 0);
  NetnsScope in(ns);
  icmp6ping p;
  ASSERT_TRUE(p.ok());
  ASSERT_TRUE(p.ping6(tstring("::1")));
  const ICMPV6_ECHO_REPLY* reply = p.getReply6();
  EXPECT_EQ(reply->Status, static_cast<ULONG>(IP_SUCCESS));
  const unsigned short loopback[8] = {0, 0, 0, 0, 0, 0, 0, htons(1)};
  EXPECT_EQ(std::memcmp(reply->Address.sin6_addr, loopback, sizeof loopback), 0);
  EXPECT_LT(reply->RoundTripTime, 1000u);
  const std::string padding = icmp6ping::m_cszPadding;
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(reply + 1), 32), padding.substr(0, 32));
  p.setRequestSize(100);
  ASSERT_TRUE(p.ping6(tstring("::1")));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(p.getReply6() + 1), 100), padding + padding.substr(0, 28));
}

TEST_F(TopologyNet, TraceRouteListsTheRouterThenTheDestinationAndStops) {
  OrvaPing p = tracer(Topology::kB);
  ASSERT_TRUE(runInA(p));
  EXPECT_EQ(timeless(p.getLines()), (Lines{"  1 10.91.1.254     ttl exceeded", "  2 10.91.2.1       Echo Reply"}));
  ASSERT_EQ(p.getResults().size(), 2u);
  EXPECT_EQ(p.getResults()[0].getSource().s_addr, inet_addr(Topology::kRNearA));
  EXPECT_EQ(p.getResults()[0].getErrorCode(), 11 << 16);
  EXPECT_EQ(p.getResults()[1].getSource().s_addr, inet_addr(Topology::kB));
  EXPECT_EQ(p.getResults()[1].getType(), 0);
}

TEST_F(TopologyNet, PathPingPingsEachHop) {
  OrvaPing p = pinger(Topology::kB, 2);
  p.setPathPingMode();
  p.setQueries(2);
  p.setMaxHop(6);
  ASSERT_TRUE(runInA(p));
  EXPECT_EQ(timeless(p.getLines()),
            (Lines{"Tracing route to 10.91.2.1", "  1 10.91.1.254     ttl exceeded", "  2 10.91.2.1       Echo Reply",
                   "Trace complete.", echo(Topology::kRNearA, 64), echo(Topology::kRNearA, 64),
                   "reply from 10.91.1.254: Lost=0 / Sent=2 := 0%", echo(Topology::kB, 63), echo(Topology::kB, 63),
                   "reply from 10.91.2.1: Lost=0 / Sent=2 := 0%"}));
}

TEST_F(TopologyNet, UnreachableDestinationsGiveTheRoutersErrorAndItsText) {
  OrvaPing p = pinger(Topology::kProhibited, 2);
  ASSERT_TRUE(runInA(p));
  const std::string filtered = "reply from 10.91.1.254: Destination unreachable";
  EXPECT_EQ(timeless(p.getLines()), (Lines{sent(Topology::kProhibited), filtered, sent(Topology::kProhibited), filtered,
                                           "reply from 10.91.3.5: Lost=2 / Sent=2 := 100%"}));
  ASSERT_EQ(p.getResults().size(), 2u);
  EXPECT_EQ(p.getResults()[0].getType(), 3);
  EXPECT_EQ(p.getResults()[0].getCode(), 13);
  EXPECT_EQ(p.getResults()[0].getErrorCode(), 3 << 16 | 13);
  EXPECT_EQ(p.getResults()[0].getDestination().s_addr, inet_addr(Topology::kA));

  OrvaPing noRoute = pinger(Topology::kNoRoute, 1);
  ASSERT_TRUE(runInA(noRoute));
  EXPECT_EQ(timeless(noRoute.getLines())[1], "reply from 10.91.1.254: Net unreachable");

  OrvaPing trace = tracer(Topology::kProhibited);
  ASSERT_TRUE(runInA(trace));
  EXPECT_EQ(timeless(trace.getLines()), (Lines{"  1 10.91.1.254     Destination unreachable"}));

  // TTL 1 in ping mode: the router's time-exceeded answers each request.
  OrvaPing shortLived = pinger(Topology::kB, 1);
  shortLived.setTTL(1);
  ASSERT_TRUE(runInA(shortLived));
  EXPECT_EQ(timeless(shortLived.getLines())[1], "reply from 10.91.1.254: ttl exceeded");
  EXPECT_EQ(shortLived.getReceived(), 0);
}

TEST_F(TopologyNet, SilentDestinationLosesEverythingAndTimesOut) {
  ASSERT_EQ(net_->b.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=1"), 0);
  OrvaPing p = pinger(Topology::kB, 2, 200);
  ASSERT_TRUE(runInA(p));
  const std::string timedOut = "Orva Manager PING 10.91.2.1: timed out";
  EXPECT_EQ(timeless(p.getLines()), (Lines{sent(Topology::kB), timedOut, sent(Topology::kB), timedOut,
                                           "reply from 10.91.2.1: Lost=2 / Sent=2 := 100%"}));
  EXPECT_TRUE(p.getResults().empty());

  OrvaPing trace = tracer(Topology::kB, 3, 200);
  trace.setQueries(1);
  ASSERT_TRUE(runInA(trace));
  const std::string silent = "*               destination host unreachable";
  EXPECT_EQ(timeless(trace.getLines()), (Lines{"  1 10.91.1.254     ttl exceeded", "  2 " + silent, "  3 " + silent}));
  trace.setImmediateEnd(true);
  ASSERT_TRUE(runInA(trace));
  EXPECT_EQ(timeless(trace.getLines()), (Lines{"  1 10.91.1.254     ttl exceeded", "  2 " + silent}));
  trace.setDebugMode(true);
  ASSERT_TRUE(runInA(trace));
  ASSERT_EQ(trace.getLines().size(), 2u);
  EXPECT_EQ(trace.getLines()[1], "Orva Manager TraceRoute 10.91.2.1: recvfrom failed: 0000274c");
}

TEST_F(TopologyNet, AListenerThatAnswersFalseCancelsTheRun) {
  OrvaPing p = pinger(Topology::kB, 5);
  Counting listener(3);  // the first request's reply and wait, then no more
  p.addListener(&listener);
  EXPECT_FALSE(runInA(p));
  EXPECT_EQ(p.getSent(), 2);
  EXPECT_EQ(p.getReceived(), 1);
  EXPECT_EQ(timeless(p.getLines()), (Lines{sent(Topology::kB), echo(Topology::kB, 63), sent(Topology::kB)}));

  OrvaPing trace = tracer(Topology::kB);
  Counting early(1);
  trace.addListener(&early);
  EXPECT_FALSE(runInA(trace));
  EXPECT_TRUE(trace.getLines().empty());
}

TEST_F(TopologyNet, DuplicateRepliesAreCountedOnce) {
  ASSERT_EQ(net_->b.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=1"), 0);
  omtest::DuplicatingResponder responder(net_->b);
  ASSERT_TRUE(responder.ok());
  OrvaPing p = pinger(Topology::kB, 2);
  ASSERT_TRUE(runInA(p));
  EXPECT_EQ(timeless(p.getLines()),
            (Lines{sent(Topology::kB), echo(Topology::kB, 63), echo(Topology::kB, 63), sent(Topology::kB),
                   echo(Topology::kB, 63), echo(Topology::kB, 63), "reply from 10.91.2.1: Lost=0 / Sent=2 := 0%"}));
  EXPECT_EQ(p.getReceived(), 2);
  EXPECT_EQ(p.getResults().size(), 4u);
}

// The same runs as root with raw sockets and, in a thread without
// CAP_NET_RAW, on the kernel's ICMP datagram sockets.
struct Outcome {
  bool ok;
  Lines lines;
  std::vector<PingResult> results;
};

Outcome outcome(OrvaPing& p) {
  Outcome o{p.GoAhead(), timeless(p.getLines()), p.getResults()};
  for (PingResult& r : o.results) {
    if (r.getFlags() & PingResult::kTime) r.setTime(0);
  }
  return o;
}

TEST_F(TopologyNet, UnprivilegedFallbackGivesTheSameResultsAsRawSockets) {
  std::vector<OrvaPing> runs;
  runs.push_back(pinger(Topology::kB, 2));
  runs.push_back(pinger(Topology::kRNearB, 1));
  runs.push_back(pinger(Topology::kProhibited, 2));
  runs.push_back(pinger(Topology::kNoRoute, 1));
  runs.push_back(pinger(Topology::kB, 1));
  runs.back().setTTL(1);
  runs.push_back(pinger(Topology::kB, 1));
  runs.back().setDebugMode(true);
  runs.push_back(tracer(Topology::kB));
  runs.push_back(tracer(Topology::kProhibited));
  runs.push_back(pinger(Topology::kB, 2));
  runs.back().setPathPingMode();
  runs.back().setMaxHop(6);
  runs.push_back(pinger(Topology::kB, 2));
  runs.back().setTTL(1);
  runs.back().setDebugMode(true);

  std::vector<Outcome> raw;
  {
    NetnsScope in(net_->a);
    for (OrvaPing& p : runs) raw.push_back(outcome(p));
  }
  // A topology of its own, for a fresh budget of refused-route errors.
  const Topology second;
  ASSERT_TRUE(second.ok()) << second.error();
  std::vector<Outcome> datagram;
  bool dropped = false;
  std::thread unprivileged([&] {
    NetnsScope in(second.a);  // before the capability goes: entering needs privilege
    dropped = omtest::dropRawCapability();
    if (!dropped) return;
    for (OrvaPing& p : runs) datagram.push_back(outcome(p));
  });
  unprivileged.join();
  ASSERT_TRUE(dropped) << "the test thread could not give up CAP_NET_RAW";
  ASSERT_EQ(datagram.size(), raw.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    EXPECT_EQ(datagram[i].ok, raw[i].ok) << "run " << i;
    EXPECT_EQ(datagram[i].lines, raw[i].lines) << "run " << i;
    EXPECT_EQ(datagram[i].results.size(), raw[i].results.size()) << "run " << i;
    for (size_t j = 0; j < std::min(raw[i].results.size(), datagram[i].results.size()); ++j) {
      EXPECT_EQ(datagram[i].results[j].compare(raw[i].results[j]), 0)
          << "run " << i << " result " << j << ": " << datagram[i].results[j].toString() << " vs "
          << raw[i].results[j].toString();
    }
  }
  EXPECT_FALSE(raw[0].lines.empty());
}

// ---- ICMPv6 --------------------------------------------------------------------------------

sockaddr_in6 address6(const char* text) { return sockaddr_in6_t(tstring(text)).getSockaddr(); }

std::string replyAddress(const icmp6ping& p) {
  sockaddr_in6 a{};
  a.sin6_family = AF_INET6;
  std::memcpy(&a.sin6_addr, p.getReply6()->Address.sin6_addr, 16);
  return sockaddr_in6_t(a).format();
}

// What icmp6ping sees of each destination: (answered, status or last error, responder).
struct Seen6 {
  bool answered;
  ULONG status;
  std::string from;
  bool operator==(const Seen6& o) const { return answered == o.answered && status == o.status && from == o.from; }
};

std::vector<Seen6> probe6() {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
  std::vector<Seen6> seen;
  icmp6ping p;
  p.setTimeout(500);
  p.setRetryCount(0);
  const auto look = [&](const char* to) {
    const bool answered = p.ping6(address6(to));
    seen.push_back({answered, answered ? p.getReply6()->Status : p.getLastError(), answered ? replyAddress(p) : ""});
  };
  look(Topology::kB6);
  look(Topology::kProhibited6);
  IP_OPTION_INFORMATION option{};
  option.Ttl = 1;
  p.setOption(option);
  look(Topology::kB6);
  WSACleanup();
  return seen;
}

TEST_F(TopologyNet, Ping6AcrossTheRouterRawAndUnprivileged) {
  std::vector<Seen6> raw;
  {
    NetnsScope in(net_->a);
    raw = probe6();
  }
  EXPECT_EQ(raw, (std::vector<Seen6>{{true, IP_SUCCESS, "fd91:2::1"},
                                     {true, IP_DEST_PROHIBITED, "fd91:1::fe"},
                                     {true, IP_HOP_LIMIT_EXCEEDED, "fd91:1::fe"}}));
  std::vector<Seen6> datagram;
  bool dropped = false;
  std::thread unprivileged([&] {
    NetnsScope in(net_->a);
    dropped = omtest::dropRawCapability();
    if (dropped) datagram = probe6();
  });
  unprivileged.join();
  ASSERT_TRUE(dropped);
  EXPECT_EQ(datagram, raw);
}

TEST_F(TopologyNet, Ping6ToASilentDestinationTriesTwiceThenTimesOut) {
  ASSERT_EQ(net_->b.exec("sysctl -qw net.ipv6.icmp.echo_ignore_all=1"), 0);
  const std::string padding = icmp6ping::m_cszPadding;
  omtest::Icmp6RequestCounter counter(net_->b, padding.substr(0, 32));
  ASSERT_TRUE(counter.ok());
  NetnsScope in(net_->a);
  WSADATA data;
  ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
  icmp6ping p;  // the defaults: 32 bytes, one retry
  p.setTimeout(300);
  EXPECT_FALSE(p.ping6(address6(Topology::kB6)));
  EXPECT_EQ(p.getLastError(), static_cast<DWORD>(IP_REQ_TIMED_OUT));
  EXPECT_EQ(p.getReply6()->Status, static_cast<ULONG>(IP_REQ_TIMED_OUT));
  EXPECT_EQ(counter.count(), 2);
  WSACleanup();
}

}  // namespace
