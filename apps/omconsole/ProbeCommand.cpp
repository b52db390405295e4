// omconsole ping, trace, pathping and ping6: the probes, with the time-outs,
// retry counts and intervals of the settings (the factory values where a
// setting is missing), overridable by options. Lines are printed as the probe
// adds them; Ctrl-C cancels the run through its listener and prints the
// summary so far. Exit status: 0 when the destination answered, 1 when it did
// not, 2 for bad arguments (an unresolvable host included).
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include <om/codepage.h>
#include <winsock2.h>

#include "Command.h"
#include "config/DefaultValues.h"
#include "config/ResetValues.h"
#include "core/sain6.h"
#include "probe/icmp6ping.h"
#include "probe/orvaping.h"

namespace omconsole {
namespace {

std::atomic<bool> g_interrupted{false};

extern "C" void onInterrupt(int) { g_interrupted = true; }

// Ctrl-C sets the flag that the listener reads; a blocked system call is not
// resumed, so that the probe sees it soon.
void catchInterrupt() {
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
}

// Prints the lines of a run as they come and cancels it after Ctrl-C.
class ConsoleListener : public OrvaPingListener {
 public:
  bool notify(int) override { return !g_interrupted; }
  void message(const tstring& text) override { print(text); }

  static void print(const std::string& cp932) {
    std::string text = om::cp932ToUtf8(cp932);
    for (size_t at; (at = text.find("\r\n")) != std::string::npos;) text.erase(at, 1);
    std::cout << text << "\n" << std::flush;
  }
};

class WinsockSession {
 public:
  WinsockSession() {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
  }
  ~WinsockSession() { WSACleanup(); }
};

struct Options {
  std::string host;
  std::optional<int> timeout;   // -w milliseconds
  std::optional<int> count;     // -n requests
  std::optional<int> interval;  // -i milliseconds
  std::optional<int> queries;   // -q probes per hop
  std::optional<int> maxHop;    // -h hops
  std::optional<int> size;      // -l data bytes
  std::optional<int> ttl;       // -t
  bool debug = false;           // -d
  bool immediateEnd = false;    // -e
  bool discovery = false;       // --discovery: the discovery settings of a ping
};

bool allows(const std::string& allowed, const std::string& flag) {
  return (" " + allowed + " ").find(" " + flag + " ") != std::string::npos;
}

bool parseNumber(const std::string& text, int low, int high, int& value) {
  char* end = nullptr;
  errno = 0;
  const long n = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno != 0 || n < low || n > high) return false;
  value = static_cast<int>(n);
  return true;
}

// The options of a command (`allowed`: its flags, separated by blanks) and
// its host; false with a message.
bool parse(const Args& args, const std::string& allowed, Options& o, std::string& error) {
  struct Numeric {
    const char* flag;
    std::optional<int> Options::*field;
    int low;
    int high;
  };
  const Numeric numerics[] = {
      {"-w", &Options::timeout, 1, INT_MAX}, {"-n", &Options::count, 1, 65535}, {"-i", &Options::interval, 0, INT_MAX},
      {"-q", &Options::queries, 1, 1000},    {"-h", &Options::maxHop, 1, 255},   {"-l", &Options::size, 0, 65500},
      {"-t", &Options::ttl, 1, 255},
  };
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool known = false;
    for (const Numeric& n : numerics) {
      if (a != n.flag || !allows(allowed, a)) continue;
      int value = 0;
      if (i + 1 >= args.size() || !parseNumber(args[i + 1], n.low, n.high, value)) {
        error = a + " needs a number from " + std::to_string(n.low) + " to " + std::to_string(n.high);
        return false;
      }
      o.*n.field = value;
      ++i;
      known = true;
    }
    if (known) continue;
    if (a == "-d" && allows(allowed, a)) {
      o.debug = true;
    } else if (a == "-e" && allows(allowed, a)) {
      o.immediateEnd = true;
    } else if (a == "--discovery" && allows(allowed, a)) {
      o.discovery = true;
    } else if (!a.empty() && a[0] != '-' && o.host.empty()) {
      o.host = a;
    } else {
      error = "unexpected argument '" + a + "'";
      return false;
    }
  }
  if (o.host.empty()) error = "no host given";
  return !o.host.empty();
}

// A stored setting, or the factory value where it is missing (0).
int setting(int stored, int factory) { return stored > 0 ? stored : factory; }

// An IPv4 host as OrvaPing resolves it; false with a one-line error.
bool resolves(const std::string& host, IN_ADDR& address) {
  WinsockSession session;
  address.s_addr = inet_addr(host.c_str());
  if (address.s_addr != INADDR_NONE) return true;
  const hostent* found = gethostbyname(host.c_str());
  if (found == nullptr) {
    fail("cannot resolve host '" + host + "' (error " + std::to_string(WSAGetLastError()) + ")", 2);
    return false;
  }
  address = *reinterpret_cast<const IN_ADDR*>(found->h_addr_list[0]);
  return true;
}

// Applies the options and settings shared by the three IPv4 modes.
void configureRoute(OrvaPing& probe, const Options& o, DefaultValues& values) {
  probe.setTimeout(o.timeout.value_or(1000 * setting(values.getPathTestTimeout(), ResetValues::m_cnPathTestTimeout)));
  probe.setQueries(o.queries.value_or(setting(values.getPathTestQueries(), ResetValues::m_cnPathTestQueries)));
  probe.setMaxHop(o.maxHop.value_or(setting(values.getPathTestMaxHop(), ResetValues::m_cnPathTestMaxHop)));
  probe.setDataSize(o.size.value_or(setting(values.getPathTestDataSize(), ResetValues::m_cnPathTestDataSize)));
  probe.setInterval(o.interval.value_or(setting(values.getPathTestInterval(), ResetValues::m_cnPathTestInterval)));
  probe.setRetryCount(
      o.count.value_or(setting(values.getRetryCountPollingForPing(), ResetValues::m_cnRetryCountPollingForPing)));
  probe.setImmediateEnd(o.immediateEnd);
  if (o.ttl) probe.setTTL(static_cast<BYTE>(*o.ttl));
}

// True when the destination itself sent an echo reply.
bool destinationAnswered(const OrvaPing& probe, IN_ADDR destination) {
  for (const PingResult& r : probe.getResults()) {
    if ((r.getFlags() & PingResult::kType) && r.getType() == 0 && r.getSource().s_addr == destination.s_addr) {
      return true;
    }
  }
  return false;
}

int runIpv4(const Args& args, OrvaPing::CmdMode mode, const char* usage) {
  Options o;
  std::string error;
  const char* allowed = mode == OrvaPing::kPing         ? "-w -n -i -l -t -d --discovery"
                        : mode == OrvaPing::kTraceRoute ? "-w -q -h -l -d -e"
                                                        : "-w -n -i -q -h -l -t -d -e";
  if (!parse(args, allowed, o, error)) return fail(error + "\nusage: omconsole " + usage, 2);
  IN_ADDR destination;
  if (!resolves(o.host, destination)) return 2;
  DefaultValues& values = *DefaultValues::getDefault();
  OrvaPing probe(om::utf8ToCp932(o.host), "", o.debug);
  if (mode == OrvaPing::kPing) {
    probe.setPingMode();
    const int timeout = o.discovery ? setting(values.getTimeoutDiscoverForPing(), ResetValues::m_cnTimeoutDiscoverForPing)
                                    : setting(values.getTimeoutPollingForPing(), ResetValues::m_cnTimeoutPollingForPing);
    const int count = o.discovery
                          ? setting(values.getRetryCountDiscoverForPing(), ResetValues::m_cnRetryCountDiscoverForPing)
                          : setting(values.getRetryCountPollingForPing(), ResetValues::m_cnRetryCountPollingForPing);
    probe.setTimeout(o.timeout.value_or(1000 * timeout));
    probe.setRetryCount(o.count.value_or(count));
    probe.setInterval(o.interval.value_or(setting(values.getPingInterval(), ResetValues::m_cnPingInterval)));
    if (o.size) probe.setDataSize(*o.size);
    if (o.ttl) probe.setTTL(static_cast<BYTE>(*o.ttl));
  } else {
    mode == OrvaPing::kTraceRoute ? probe.setTraceRouteMode() : probe.setPathPingMode();
    configureRoute(probe, o, values);
  }
  ConsoleListener listener;
  probe.addListener(&listener);
  catchInterrupt();
  probe.GoAhead();
  if (g_interrupted) {
    ConsoleListener::print("cancelled");
    if (mode != OrvaPing::kTraceRoute && probe.getSent() > 0) {
      const tstring last = mode == OrvaPing::kPing ? tstring(inet_ntoa(destination)) : "the last hop";
      ConsoleListener::print(OrvaPing::lossLine(last, probe.getSent(), probe.getReceived()));
    }
  }
  const bool answered = mode == OrvaPing::kPing ? probe.getReceived() > 0 : destinationAnswered(probe, destination);
  return answered ? 0 : 1;
}

// The text of an ICMPv6 reply status.
std::string statusText(ULONG status) {
  switch (status) {
    case IP_DEST_NO_ROUTE: return "no route to destination";
    case IP_DEST_ADDR_UNREACHABLE: return "address unreachable";
    case IP_DEST_PROHIBITED: return "communication administratively prohibited";
    case IP_DEST_PORT_UNREACHABLE: return "port unreachable";
    case IP_DEST_SCOPE_MISMATCH: return "beyond scope of source address";
    case IP_PACKET_TOO_BIG: return "packet too big";
    case IP_HOP_LIMIT_EXCEEDED: return "hop limit exceeded in transit";
    case IP_REASSEMBLY_TIME_EXCEEDED: return "fragment reassembly time exceeded";
    case IP_PARAMETER_PROBLEM: return "parameter problem";
    case IP_REQ_TIMED_OUT: return "request timed out";
    case ERROR_ACCESS_DENIED:
      return "access denied (no raw socket, and net.ipv4.ping_group_range does not admit ICMP datagram sockets)";
    default: return "status " + std::to_string(status);
  }
}

std::string replyAddress(const IPV6_ADDRESS_EX& address) {
  sockaddr_in6 a{};
  a.sin6_family = AF_INET6;
  std::memcpy(&a.sin6_addr, address.sin6_addr, sizeof a.sin6_addr);
  a.sin6_scope_id = address.sin6_scope_id;
  return om::cp932ToUtf8(sockaddr_in6_t(a).format());
}

}  // namespace

int runPing(const Args& args) {
  return runIpv4(args, OrvaPing::kPing, "ping HOST [-n COUNT] [-w MS] [-i MS] [-l SIZE] [-t TTL] [-d] [--discovery]");
}

int runTrace(const Args& args) {
  return runIpv4(args, OrvaPing::kTraceRoute, "trace HOST [-q QUERIES] [-h MAXHOP] [-w MS] [-l SIZE] [-d] [-e]");
}

int runPathPing(const Args& args) {
  return runIpv4(args, OrvaPing::kPathPing,
                 "pathping HOST [-q QUERIES] [-h MAXHOP] [-n COUNT] [-w MS] [-i MS] [-l SIZE] [-t TTL] [-d] [-e]");
}

int runPing6(const Args& args) {
  Options o;
  std::string error;
  if (!parse(args, "-w -n -l -t", o, error)) {
    return fail(error + "\nusage: omconsole ping6 HOST [-n COUNT] [-w MS] [-l SIZE] [-t HOPLIMIT]", 2);
  }
  WinsockSession session;
  addrinfo_t resolved;
  const sockaddr_in6* destination = nullptr;
  if (resolved.resolve(o.host.c_str(), AF_INET6, "0", 0, 0)) destination = resolved;
  if (destination == nullptr) {
    return fail("cannot resolve host '" + o.host + "' as IPv6 (error " + std::to_string(WSAGetLastError()) + ")", 2);
  }
  const sockaddr_in6 target = *destination;
  DefaultValues& values = *DefaultValues::getDefault();
  icmp6ping probe;
  if (!probe.ok()) {
    return fail("the ICMPv6 functions are not available (error " + std::to_string(probe.getLastError()) + ")", 1);
  }
  probe.setTimeout(static_cast<DWORD>(o.timeout.value_or(
      1000 * setting(values.getTimeoutPollingForPing6(), ResetValues::m_cnTimeoutPollingForPing6))));
  probe.setRetryCount(static_cast<DWORD>(
      setting(values.getRetryCountPollingForPing6(), ResetValues::m_cnRetryCountPollingForPing6)));
  if (o.size) probe.setRequestSize(static_cast<WORD>(std::min(*o.size, static_cast<int>(icmp6ping::kBufferSize))));
  if (o.ttl) {
    IP_OPTION_INFORMATION option{};
    option.Ttl = static_cast<UCHAR>(*o.ttl);
    probe.setOption(option);
  }
  catchInterrupt();
  const std::string shown = om::cp932ToUtf8(sockaddr_in6_t(target).format());
  const int count = o.count.value_or(1);
  int sent = 0;
  int answered = 0;
  for (; sent < count && !g_interrupted; ++sent) {
    const ICMPV6_ECHO_REPLY* reply = probe.getReply6();
    std::string line;
    if (!probe.ping6(target)) {
      line = "reply from " + shown + ": " + statusText(probe.getLastError());
    } else if (reply->Status == IP_SUCCESS) {
      ++answered;
      line = "reply from " + replyAddress(reply->Address) + ": bytes=" + std::to_string(probe.getRequestSize()) +
             (reply->RoundTripTime > 0 ? " time=" + std::to_string(reply->RoundTripTime) + "ms" : " time<1ms");
    } else {
      line = "reply from " + replyAddress(reply->Address) + ": " + statusText(reply->Status);
    }
    ConsoleListener::print(line);
  }
  if (g_interrupted) ConsoleListener::print("cancelled");
  ConsoleListener::print(OrvaPing::lossLine(om::utf8ToCp932(shown), sent, answered));
  return answered > 0 ? 0 : 1;
}

}  // namespace omconsole
