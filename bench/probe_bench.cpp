// OrvaPing against the system's own tools, measured in the same run:
//  1. the round trip on loopback: the times OrvaPing reports (milliseconds
//     of the tick count), the time it takes to see each reply (from the send
//     to the reply line at its listener), and iputils ping's round trips;
//     the median ratio;
//  2. a sweep of a /24 in a network namespace where a few hosts answer:
//     OrvaPing one request per address from a pool of threads, against fping.
// Needs root (raw sockets, network namespaces), ping and fping.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Median.h"
#include "NetTopology.h"
#include "probe/orvaping.h"

namespace {

using Clock = std::chrono::steady_clock;
using om::median;

// Times each request from its "sendto success" line to its reply line.
class Stopwatch : public OrvaPingListener {
 public:
  bool notify(int) override { return true; }
  void message(const tstring& text) override {
    const auto now = Clock::now();
    if (text.find("sendto success") != std::string::npos) {
      sent_ = now;
    } else if (text.rfind("reply from", 0) == 0 && text.find("bytes=") != std::string::npos) {
      seen.push_back(std::chrono::duration<double, std::milli>(now - sent_).count());
    }
  }
  std::vector<double> seen;

 private:
  Clock::time_point sent_;
};

void loopback(int count) {
  omtest::Netns ns("bench-lo");
  ns.exec("ip link set lo up");
  std::vector<double> reported;
  Stopwatch watch;
  {
    omtest::NetnsScope in(ns);
    OrvaPing p("127.0.0.1", "");
    p.setRetryCount(count);
    p.setTimeout(20);  // each request waits this long for duplicates
    p.addListener(&watch);
    p.GoAhead();
    for (const PingResult& r : p.getResults()) reported.push_back(static_cast<double>(r.getTime()));
  }
  std::string output;
  ns.exec("ping -n -c " + std::to_string(count) + " -i 0.01 127.0.0.1", &output);
  std::vector<double> theirs;
  for (size_t at = 0; (at = output.find("time=", at)) != std::string::npos; at += 5) {
    theirs.push_back(std::strtod(output.c_str() + at + 5, nullptr));
  }
  const double ours = median(reported);
  const double seen = median(watch.seen);
  const double peer = median(theirs);
  std::printf("loopback round trip, %d requests each (medians):\n", count);
  std::printf("  OrvaPing reported      %8.3f ms  (%zu replies; tick count, 1 ms steps)\n", ours, reported.size());
  std::printf("  OrvaPing reply seen    %8.3f ms  (send to reply line; receive polls every 1 ms)\n", seen);
  std::printf("  iputils ping           %8.3f ms  (%zu replies)\n", peer, theirs.size());
  std::printf("  ratio reported/ping    %8.2f\n", peer > 0 ? ours / peer : 0.0);
  std::printf("  ratio seen/ping        %8.2f\n", peer > 0 ? seen / peer : 0.0);
}

// S (10.93.0.1/24) and T holding a few addresses of the same /24.
struct SweepNet {
  omtest::Netns s{"bench-s"};
  omtest::Netns t{"bench-t"};
  std::vector<std::string> alive = {"10.93.0.7", "10.93.0.64", "10.93.0.128", "10.93.0.200"};
  bool build() {
    if (!s.ok() || !t.ok()) return false;
    std::vector<std::string> commands = {
        "ip link add s0 netns " + s.name() + " type veth peer name t0 netns " + t.name(),
        "ip -n " + s.name() + " addr add 10.93.0.1/24 dev s0",
        "ip -n " + s.name() + " link set s0 up",
        "ip -n " + t.name() + " link set t0 up",
        "ip -n " + s.name() + " link set lo up",
    };
    for (const std::string& a : alive) commands.push_back("ip -n " + t.name() + " addr add " + a + "/24 dev t0");
    for (const std::string& c : commands) {
      if (omtest::run(c) != 0) return false;
    }
    return true;
  }
};

// Pings every address of 10.93.0.0/24 once from `threads` threads; the
// addresses that answered.
std::set<std::string> orvaSweep(const omtest::Netns& ns, int threads, int timeout) {
  std::atomic<int> next{1};
  std::mutex mu;
  std::set<std::string> answered;
  std::vector<std::thread> pool;
  for (int i = 0; i < threads; ++i) {
    pool.emplace_back([&] {
      omtest::NetnsScope in(ns);
      for (int host; (host = next++) < 255;) {
        const std::string address = "10.93.0." + std::to_string(host);
        OrvaPing p(address, "");
        p.setRetryCount(1);
        p.setTimeout(timeout);
        p.GoAhead();
        if (p.getReceived() > 0) {
          std::lock_guard<std::mutex> lock(mu);
          answered.insert(address);
        }
      }
    });
  }
  for (std::thread& t : pool) t.join();
  return answered;
}

std::set<std::string> fpingSweep(const omtest::Netns& ns, const std::string& options) {
  std::string output;
  ns.exec("fping -a -q -r 0 " + options + " -g 10.93.0.0/24", &output);
  std::set<std::string> alive;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) alive.insert(line);
  return alive;
}

template <class Sweep>
double seconds(Sweep sweep) {
  const auto start = Clock::now();
  sweep();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void sweep(int timeout) {
  SweepNet net;
  if (!net.build()) {
    std::printf("sweep: could not build the namespaces\n");
    return;
  }
  std::set<std::string> expected(net.alive.begin(), net.alive.end());
  expected.insert("10.93.0.1");  // the sweeping namespace answers for itself
  std::printf("\nsweep of a /24 (254 addresses, %zu answer), one request each, %d ms time-out:\n", expected.size(),
              timeout);
  const auto report = [&](const char* name, double s, const std::set<std::string>& found, double peer) {
    std::printf("  %-28s %7.2f s  found %zu%s", name, s, found.size(), found == expected ? "" : " (WRONG SET)");
    if (peer > 0) std::printf("  ratio to fping %6.2f", s / peer);
    std::printf("\n");
  };
  std::set<std::string> found;
  const double fpingDefault = seconds([&] { found = fpingSweep(net.s, "-t " + std::to_string(timeout)); });
  report("fping (10 ms interval)", fpingDefault, found, 0);
  const double fpingFast = seconds([&] { found = fpingSweep(net.s, "-i 1 -t " + std::to_string(timeout)); });
  report("fping -i 1", fpingFast, found, 0);
  for (int threads : {1, 16, 64}) {
    if (threads == 1) {
      // One thread waits out every time-out in turn: about 254 * timeout.
      const double s = seconds([&] { found = orvaSweep(net.s, 1, timeout); });
      report("OrvaPing, 1 thread", s, found, fpingDefault);
      continue;
    }
    const double s = seconds([&] { found = orvaSweep(net.s, threads, timeout); });
    const std::string name = "OrvaPing, " + std::to_string(threads) + " threads";
    report(name.c_str(), s, found, fpingDefault);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string reason = omtest::netUnavailableReason();
  if (!reason.empty()) {
    std::printf("probe_bench: skipped: %s\n", reason.c_str());
    return 0;
  }
  if (omtest::run("command -v ping") != 0 || omtest::run("command -v fping") != 0) {
    std::printf("probe_bench: skipped: needs ping and fping (scripts/install-deps.sh)\n");
    return 0;
  }
  const int count = argc > 1 ? std::atoi(argv[1]) : 200;
  const int timeout = argc > 2 ? std::atoi(argv[2]) : 200;
  loopback(count);
  sweep(timeout);
  return 0;
}
