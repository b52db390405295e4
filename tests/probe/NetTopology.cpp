#include "NetTopology.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <sys/wait.h>

namespace omtest {
namespace {

const char kPrefix[] = "omprobe-";

// Deletes the namespaces left behind by test processes that died.
void removeStale() {
  std::string list;
  run("ip netns list 2>/dev/null", &list);
  std::istringstream lines(list);
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find(' '));  // "NAME (id: 3)"
    if (name.rfind(kPrefix, 0) != 0) continue;
    const long pid = std::strtol(name.c_str() + sizeof kPrefix - 1, nullptr, 10);
    if (pid > 0 && kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH) run("ip netns delete " + name);
  }
}

std::string uniqueName(const std::string& role) {
  static std::atomic<int> counter{0};
  static const bool cleaned = (removeStale(), true);
  (void)cleaned;
  return kPrefix + std::to_string(getpid()) + "-" + std::to_string(++counter) + "-" + role;
}

}  // namespace

int run(const std::string& command, std::string* output) {
  FILE* pipe = popen((output == nullptr ? command + " >/dev/null 2>&1" : command).c_str(), "r");
  if (pipe == nullptr) return -1;
  std::array<char, 4096> buffer;
  size_t n;
  while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
    if (output != nullptr) output->append(buffer.data(), n);
  }
  const int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

namespace {

// The end of the digits (an optional minus sign first) at `at`; `at` when
// there are none.
size_t digitsEnd(const std::string& text, size_t at, bool sign) {
  size_t end = at + (sign && at < text.size() && text[at] == '-' ? 1 : 0);
  const size_t first = end;
  while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
  return end == first ? at : end;
}

}  // namespace

std::string timeless(const std::string& text) {
  const struct {
    const char* before;
    const char* after;
    bool sign;
  } kForms[] = {{"time=", "ms", false}, {"time: ", " ms", true}, {"time<1", "ms", false}};
  std::string out;
  for (size_t i = 0; i < text.size();) {
    bool replaced = false;
    for (const auto& form : kForms) {
      const size_t before = std::strlen(form.before);
      if (text.compare(i, before, form.before) != 0) continue;
      const bool fixed = form.before[4] == '<';  // "time<1ms" has no digits to read
      const size_t end = fixed ? i + before : digitsEnd(text, i + before, form.sign);
      if ((!fixed && end == i + before) || text.compare(end, std::strlen(form.after), form.after) != 0) continue;
      out += "time?";
      i = end + std::strlen(form.after);
      // A reply line has "time=12ms TTL=64 " but "time<1msTTL=64 ".
      if (fixed && text.compare(i, 4, "TTL=") == 0) out += ' ';
      replaced = true;
      break;
    }
    if (!replaced) out += text[i++];
  }
  return out;
}

std::string netUnavailableReason() {
  if (geteuid() != 0) return "needs root (network namespaces, raw sockets); run as root, as CI does";
  if (run("command -v ip") != 0) return "needs ip(8) from iproute2 (scripts/install-deps.sh)";
  Netns probe("check");
  if (!probe.ok()) return "cannot create a network namespace here";
  return "";
}

Netns::Netns(const std::string& role) : name_(uniqueName(role)) { ok_ = run("ip netns add " + name_) == 0; }

Netns::~Netns() {
  if (ok_) run("ip netns delete " + name_);
}

int Netns::exec(const std::string& command, std::string* output) const { return run(prefix() + command, output); }

NetnsScope::NetnsScope(const Netns& ns) : saved_(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)), ok_(false) {
  const int target = open(("/run/netns/" + ns.name()).c_str(), O_RDONLY | O_CLOEXEC);
  ok_ = saved_ >= 0 && target >= 0 && setns(target, CLONE_NEWNET) == 0;
  if (target >= 0) close(target);
}

NetnsScope::~NetnsScope() {
  if (saved_ < 0) return;
  setns(saved_, CLONE_NEWNET);
  close(saved_);
}

Topology::Topology() {
  if (!a.ok() || !r.ok() || !b.ok()) {
    error_ = "cannot create the namespaces";
    return;
  }
  const std::string A = a.name();
  const std::string R = r.name();
  const std::string B = b.name();
  // No limit on ICMP errors (icmp_ratemask=0 also keeps the time-exceeded
  // errors from using up the per-source budget that the errors of refused
  // routes share with them: five at once, then one a second). Addresses and
  // links are usable at once: no duplicate address detection, even for the
  // link-local addresses.
  const char* const sysctls =
      "sysctl -qw net.ipv4.icmp_ratelimit=0 net.ipv4.icmp_ratemask=0 net.ipv6.icmp.ratelimit=0 "
      "net.ipv6.conf.default.accept_dad=0 net.ipv6.conf.all.accept_dad=0 ";
  const std::string commands[] = {
      a.prefix() + sysctls + "net.ipv4.ping_group_range='0 2147483647'",
      r.prefix() + sysctls + "net.ipv4.ip_forward=1 net.ipv6.conf.all.forwarding=1",
      b.prefix() + sysctls,
      "ip link add a0 netns " + A + " type veth peer name r0 netns " + R,
      "ip link add b0 netns " + B + " type veth peer name r1 netns " + R,
      "ip -n " + A + " addr add 10.91.1.1/24 dev a0",
      "ip -n " + R + " addr add 10.91.1.254/24 dev r0",
      "ip -n " + R + " addr add 10.91.2.254/24 dev r1",
      "ip -n " + B + " addr add 10.91.2.1/24 dev b0",
      "ip -n " + A + " -6 addr add fd91:1::1/64 dev a0 nodad",
      "ip -n " + R + " -6 addr add fd91:1::fe/64 dev r0 nodad",
      "ip -n " + R + " -6 addr add fd91:2::fe/64 dev r1 nodad",
      "ip -n " + B + " -6 addr add fd91:2::1/64 dev b0 nodad",
      "ip -n " + A + " link set lo up",
      "ip -n " + R + " link set lo up",
      "ip -n " + B + " link set lo up",
      "ip -n " + A + " link set a0 up",
      "ip -n " + R + " link set r0 up",
      "ip -n " + R + " link set r1 up",
      "ip -n " + B + " link set b0 up",
      "ip -n " + A + " route add default via 10.91.1.254",
      "ip -n " + B + " route add default via 10.91.2.254",
      "ip -n " + A + " -6 route add default via fd91:1::fe",
      "ip -n " + B + " -6 route add default via fd91:2::fe",
      "ip -n " + R + " route add prohibit 10.91.3.0/24",
      "ip -n " + R + " -6 route add prohibit fd91:3::/64",
  };
  for (const std::string& c : commands) {
    if (run(c) != 0) {
      error_ = "topology command failed: " + c;
      return;
    }
  }
  // IPv6 takes a link into use only once the kernel has noticed its carrier
  // (up to a second later): wait until each side reaches the router.
  const char* const untilAnswered = "sh -c 'for i in $(seq 20); do ping -6 -c 1 -W 1 $0 && exit 0; done; exit 1' ";
  if (a.exec(untilAnswered + std::string(kRNearA6)) != 0 || b.exec(untilAnswered + std::string("fd91:2::fe")) != 0) {
    error_ = "IPv6 did not come up on the links to R";
  }
}

}  // namespace omtest
