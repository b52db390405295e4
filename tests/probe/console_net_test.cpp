// omconsole ping, trace, pathping and ping6 from namespace A: lines, exit
// statuses, Ctrl-C, the unprivileged fallback (through setpriv) and a
// cross-check against the system's own ping and traceroute.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "NetTopology.h"

namespace {

using omtest::timeless;
using omtest::Topology;

struct Result {
  int status;
  std::string output;
};

class ConsoleNet : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) GTEST_SKIP() << reason;
    net_ = std::make_unique<Topology>();
    ASSERT_TRUE(net_->ok()) << net_->error();
    char dir[] = "/tmp/omprobe-home-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    home_ = dir;
    omtest::run("chmod 755 " + home_);
  }
  void TearDown() override {
    if (!home_.empty()) omtest::run("rm -rf " + home_);
  }

  // omconsole ARGS in A (settings from an empty registry: factory values),
  // optionally as an ordinary user without any capability; the exit status
  // and the output (standard error after standard output).
  Result console(const std::string& args, bool unprivileged = false) {
    const std::string user = unprivileged ? "setpriv --reuid=65534 --regid=65534 --clear-groups --inh-caps=-all " : "";
    Result r;
    r.status = net_->a.exec(user + "env OMLIB_HOME=" + home_ + " OMLIB_USER_HOME=" + home_ + " " OMCONSOLE_PATH " " +
                                args + " 2>&1",
                            &r.output);
    return r;
  }

  std::unique_ptr<Topology> net_;
  std::string home_;
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST_F(ConsoleNet, ExitStatusesAndLines) {
  Result ping = console("ping 10.91.2.1 -n 2 -w 300 -i 0");
  EXPECT_EQ(ping.status, 0);
  EXPECT_EQ(timeless(ping.output),
            "Orva Manager PING 10.91.2.1(10.91.2.1): sendto success\n"
            "reply from 10.91.2.1: bytes=32 time? TTL=63 \n"
            "Orva Manager PING 10.91.2.1(10.91.2.1): sendto success\n"
            "reply from 10.91.2.1: bytes=32 time? TTL=63 \n"
            "reply from 10.91.2.1: Lost=0 / Sent=2 := 0%\n");
  Result unreachable = console("ping 10.91.3.5 -n 1 -w 300");
  EXPECT_EQ(unreachable.status, 1);
  EXPECT_NE(unreachable.output.find("reply from 10.91.1.254: Destination unreachable\n"), std::string::npos);
  Result trace = console("trace 10.91.2.1 -q 2 -h 6 -w 500");
  EXPECT_EQ(trace.status, 0);
  EXPECT_EQ(trace.output, "  1 10.91.1.254     ttl exceeded\n  2 10.91.2.1       Echo Reply\n");
  EXPECT_EQ(console("trace 10.91.3.5 -q 1 -h 6 -w 300").status, 1);
  Result pathping = console("pathping 10.91.2.1 -q 2 -h 6 -n 1 -w 300 -i 0");
  EXPECT_EQ(pathping.status, 0);
  EXPECT_EQ(timeless(pathping.output),
            "Tracing route to 10.91.2.1\n  1 10.91.1.254     ttl exceeded\n  2 10.91.2.1       Echo Reply\n"
            "Trace complete.\nreply from 10.91.1.254: bytes=32 time? TTL=64 \n"
            "reply from 10.91.1.254: Lost=0 / Sent=1 := 0%\nreply from 10.91.2.1: bytes=32 time? TTL=63 \n"
            "reply from 10.91.2.1: Lost=0 / Sent=1 := 0%\n");
  Result ping6 = console("ping6 fd91:2::1 -n 2 -w 500");
  EXPECT_EQ(ping6.status, 0);
  EXPECT_EQ(timeless(ping6.output),
            "reply from fd91:2::1: bytes=32 time?\nreply from fd91:2::1: bytes=32 time?\n"
            "reply from fd91:2::1: Lost=0 / Sent=2 := 0%\n");
  Result refused6 = console("ping6 fd91:3::5 -w 500");
  EXPECT_EQ(refused6.status, 1);
  EXPECT_EQ(refused6.output,
            "reply from fd91:1::fe: communication administratively prohibited\n"
            "reply from fd91:3::5: Lost=1 / Sent=1 := 100%\n");
}

TEST_F(ConsoleNet, SilentDestinationAndBadArguments) {
  ASSERT_EQ(net_->b.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=1 net.ipv6.icmp.echo_ignore_all=1"), 0);
  Result silent = console("ping 10.91.2.1 -n 2 -w 200");
  EXPECT_EQ(silent.status, 1);
  EXPECT_NE(silent.output.find("Orva Manager PING 10.91.2.1: timed out\n"), std::string::npos);
  EXPECT_NE(silent.output.find("reply from 10.91.2.1: Lost=2 / Sent=2 := 100%\n"), std::string::npos);
  Result silent6 = console("ping6 fd91:2::1 -w 200");
  EXPECT_EQ(silent6.status, 1);
  EXPECT_EQ(silent6.output, "reply from fd91:2::1: request timed out\nreply from fd91:2::1: Lost=1 / Sent=1 := 100%\n");

  Result unknown = console("ping no-such-host..invalid");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(linesOf(unknown.output).size(), 1u) << unknown.output;
  EXPECT_EQ(unknown.output.rfind("omconsole: cannot resolve host 'no-such-host..invalid'", 0), 0u) << unknown.output;
  EXPECT_EQ(console("ping6 no-such-host..invalid").status, 2);
  EXPECT_EQ(console("ping").status, 2);
  EXPECT_EQ(console("ping 10.91.2.1 -n many").status, 2);
  EXPECT_EQ(console("trace 10.91.2.1 -n 3").status, 2);  // not an option of trace
  EXPECT_EQ(console("ping 10.91.2.1 10.91.2.2").status, 2);
}

TEST_F(ConsoleNet, CtrlCCancelsAndPrintsTheSummarySoFar) {
  // Interrupts the console once its first reply is printed.
  Result r;
  r.status = net_->a.exec("sh -c 'out=" + home_ + "/out; env OMLIB_HOME=" + home_ + " " OMCONSOLE_PATH
                          " ping 10.91.2.1 -n 1000 -w 100 -i 0 >$out 2>&1 & pid=$!; "
                          "until grep -q \"bytes=\" $out; do sleep 0.05; done; kill -INT $pid; wait $pid; "
                          "status=$?; cat $out; exit $status'",
                          &r.output);
  EXPECT_EQ(r.status, 0) << r.output;
  const std::vector<std::string> lines = linesOf(r.output);
  ASSERT_GE(lines.size(), 3u) << r.output;
  EXPECT_EQ(lines[lines.size() - 2], "cancelled");
  int lost = -1;
  int sent = -1;
  int percent = -1;
  ASSERT_EQ(std::sscanf(lines.back().c_str(), "reply from 10.91.2.1: Lost=%d / Sent=%d := %d%%", &lost, &sent, &percent),
            3)
      << lines.back();
  EXPECT_GE(sent, 1);
  EXPECT_LT(sent, 1000);
  EXPECT_LE(lost, 1);  // at most the request in flight
}

TEST_F(ConsoleNet, UnprivilegedUserGetsTheSameOutput) {
  std::string capabilities;
  net_->a.exec("setpriv --reuid=65534 --regid=65534 --clear-groups --inh-caps=-all grep CapEff /proc/self/status",
               &capabilities);
  ASSERT_EQ(capabilities, "CapEff:\t0000000000000000\n") << "the fallback would not be exercised";
  const char* const commands[] = {
      "ping 10.91.2.1 -n 2 -w 300 -i 0", "ping 10.91.3.5 -n 1 -w 300", "ping 10.91.2.1 -n 1 -t 1 -w 300 -d",
      "trace 10.91.2.1 -q 2 -h 6 -w 500", "trace 10.91.3.5 -q 1 -h 6 -w 300",
      "pathping 10.91.2.1 -q 2 -h 6 -n 1 -w 300 -i 0", "ping6 fd91:2::1 -w 500", "ping6 fd91:3::5 -w 500",
  };
  for (const char* command : commands) {
    const Result raw = console(command);
    const Result datagram = console(command, true);
    EXPECT_EQ(datagram.status, raw.status) << command;
    EXPECT_EQ(timeless(datagram.output), timeless(raw.output)) << command;
  }
}

// The hop addresses (or "*") of traceroute -n output, or of omconsole trace
// output: the word after the hop number of each line that starts with one.
std::vector<std::string> hops(const std::string& output) {
  std::vector<std::string> found;
  for (const std::string& line : linesOf(output)) {
    std::istringstream words(line);
    int hop = 0;
    std::string address;
    if (words >> hop >> address) found.push_back(address);
  }
  return found;
}

TEST_F(ConsoleNet, AgreesWithIputilsPingAndTraceroute) {
  if (omtest::run("command -v ping") != 0 || omtest::run("command -v traceroute") != 0) {
    GTEST_SKIP() << "needs ping (iputils-ping) and traceroute (scripts/install-deps.sh)";
  }
  std::string theirs;
  net_->a.exec("traceroute -I -n -q 1 -w 1 -m 6 10.91.2.1", &theirs);
  const Result ours = console("trace 10.91.2.1 -q 2 -h 6 -w 500");
  EXPECT_EQ(hops(ours.output), (std::vector<std::string>{"10.91.1.254", "10.91.2.1"}));
  EXPECT_EQ(hops(ours.output), hops(theirs)) << theirs;
  std::string theirs6;
  net_->a.exec("traceroute -6 -I -n -q 1 -w 1 -m 6 fd91:2::1", &theirs6);
  EXPECT_EQ(hops(theirs6), (std::vector<std::string>{"fd91:1::fe", "fd91:2::1"})) << theirs6;

  // Reachability: both answer, both refused by the router, both silent.
  EXPECT_EQ(net_->a.exec("ping -c 1 -W 1 10.91.2.1"), 0);
  EXPECT_EQ(console("ping 10.91.2.1 -n 1 -w 500").status, 0);
  std::string refused;
  EXPECT_NE(net_->a.exec("ping -c 1 -W 1 10.91.3.5", &refused), 0);
  EXPECT_NE(refused.find("From 10.91.1.254"), std::string::npos) << refused;
  const Result ourRefused = console("ping 10.91.3.5 -n 1 -w 500");
  EXPECT_EQ(ourRefused.status, 1);
  EXPECT_NE(ourRefused.output.find("reply from 10.91.1.254: "), std::string::npos);
  EXPECT_EQ(net_->a.exec("ping -6 -c 1 -W 1 fd91:2::1"), 0);
  EXPECT_EQ(console("ping6 fd91:2::1 -w 500").status, 0);
  ASSERT_EQ(net_->b.exec("sysctl -qw net.ipv4.icmp_echo_ignore_all=1 net.ipv6.icmp.echo_ignore_all=1"), 0);
  EXPECT_NE(net_->a.exec("ping -c 1 -W 1 10.91.2.1"), 0);
  EXPECT_EQ(console("ping 10.91.2.1 -n 1 -w 500").status, 1);
  EXPECT_NE(net_->a.exec("ping -6 -c 1 -W 1 fd91:2::1"), 0);
  EXPECT_EQ(console("ping6 fd91:2::1 -w 500").status, 1);
}

}  // namespace
