// EchoSweep against fping, sweeping a /24 in network namespaces of its own
// with the same time-out and retries, measured in the same run:
//  1. on the link, where 5 hosts and the sweeper itself answer (the rest are
//     silent: their tries run out, and ARP never resolves them);
//  2. routed to a namespace that answers for every one of the 254 addresses.
// fping runs with its default interval (10 ms) and with -i 1, the pace of
// EchoSweep's default 1000 requests a second; EchoSweep also without a rate
// limit. Each time is the median of RUNS runs, fping's including its start
// through ip-netns-exec; the neighbour cache is flushed before each run.
// Needs root (network namespaces) and fping.
// Run: sweep_bench [TIMEOUT_MS] [RETRIES] [RUNS]
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Median.h"
#include "NetTopology.h"
#include "SweepNet.h"
#include "server/discovery/EchoSweep.h"

namespace {

using Clock = std::chrono::steady_clock;
using om::server::EchoSweep;
using omtest::SweepNet;

struct Options {
  int timeoutMs = 500;
  int retries = 1;
  int runs = 3;
};

// The median time of `runs` runs of `sweep`, and the addresses the last one
// found answering.
double medianSeconds(const SweepNet& net, int runs, const std::function<std::set<std::string>()>& sweep,
                     std::set<std::string>& found) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    net.s.exec("ip neigh flush all");
    const auto start = Clock::now();
    found = sweep();
    times.push_back(std::chrono::duration<double>(Clock::now() - start).count());
  }
  return om::median(times);
}

std::set<std::string> fping(const SweepNet& net, const std::string& network, const Options& o, const char* extra) {
  std::string output;
  net.s.exec("fping -a -q -g " + network + " -t " + std::to_string(o.timeoutMs) + " -r " + std::to_string(o.retries) +
                 " " + extra,
             &output);
  std::set<std::string> alive;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) alive.insert(line);
  return alive;
}

std::set<std::string> echoSweep(const SweepNet& net, const std::vector<std::string>& addresses, const Options& o,
                                unsigned rate) {
  EchoSweep::Settings settings;
  settings.timeoutMs = o.timeoutMs;
  settings.tries = o.retries + 1;
  settings.rate = rate;
  EchoSweep sweep(settings);
  std::set<std::string> alive;
  omtest::NetnsScope in(net.s);
  sweep.run(addresses, [&](const EchoSweep::Outcome& outcome) {
    if (outcome.answered) alive.insert(addresses[outcome.index]);
  });
  return alive;
}

void compare(const SweepNet& net, const char* title, const std::string& network,
             const std::vector<std::string>& addresses, const std::set<std::string>& expected, const Options& o) {
  std::printf("\n%s: %s, %zu answer; time-out %d ms, %d retries, median of %d runs\n", title, network.c_str(),
              expected.size(), o.timeoutMs, o.retries, o.runs);
  std::set<std::string> found;
  const auto row = [&](const char* name, double seconds, double peer, double fastPeer) {
    std::printf("  %-32s %7.3f s  found %3zu%s", name, seconds, found.size(), found == expected ? "" : " (WRONG SET)");
    if (peer > 0) std::printf("  ratio to fping %5.2f, to fping -i 1 %5.2f", seconds / peer, seconds / fastPeer);
    std::printf("\n");
  };
  const double peer = medianSeconds(net, o.runs, [&] { return fping(net, network, o, ""); }, found);
  row("fping", peer, 0, 0);
  const double fastPeer = medianSeconds(net, o.runs, [&] { return fping(net, network, o, "-i 1"); }, found);
  row("fping -i 1", fastPeer, 0, 0);
  const double ours = medianSeconds(net, o.runs, [&] { return echoSweep(net, addresses, o, 1000); }, found);
  row("EchoSweep, 1000 requests/s", ours, peer, fastPeer);
  const double unlimited = medianSeconds(net, o.runs, [&] { return echoSweep(net, addresses, o, 0); }, found);
  row("EchoSweep, no rate limit", unlimited, peer, fastPeer);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string reason = omtest::netUnavailableReason();
  if (!reason.empty()) {
    std::printf("sweep_bench: skipped: %s\n", reason.c_str());
    return 0;
  }
  if (omtest::run("command -v fping") != 0) {
    std::printf("sweep_bench: skipped: needs fping (scripts/install-deps.sh)\n");
    return 0;
  }
  Options o;
  if (argc > 1) o.timeoutMs = std::atoi(argv[1]);
  if (argc > 2) o.retries = std::atoi(argv[2]);
  if (argc > 3) o.runs = std::max(1, std::atoi(argv[3]));
  const std::vector<std::string> hosts = {"10.94.0.7", "10.94.0.64", "10.94.0.128", "10.94.0.200"};
  SweepNet net(hosts);
  if (!net.ok()) {
    std::printf("sweep_bench: %s\n", net.error().c_str());
    return 1;
  }
  std::set<std::string> onLink(hosts.begin(), hosts.end());
  onLink.insert({SweepNet::kSweeper, SweepNet::kGateway});
  compare(net, "on the link", "10.94.0.0/24", SweepNet::linkNet(), onLink, o);
  const std::vector<std::string> routed = SweepNet::routedNet();
  compare(net, "routed, all answer", "10.94.1.0/24", routed, std::set<std::string>(routed.begin(), routed.end()), o);
  return 0;
}
