// Network namespaces for the probe tests: three namespaces A - R - B joined
// by veth pairs, built with ip(8) and always removed, and a scope that moves
// the calling thread into one of them (setns(2)). Names are unique per
// process, so that test processes may run side by side.
#ifndef OM_TESTS_PROBE_NETTOPOLOGY_H_
#define OM_TESTS_PROBE_NETTOPOLOGY_H_

#include <memory>
#include <string>

namespace omtest {

// Runs a shell command; its exit status (or -1), its standard output into
// `output` when given (standard error stays the test's, unless the command
// redirects it).
int run(const std::string& command, std::string* output = nullptr);

// `text` with each round-trip time ("time=12ms", "time<1ms", "time: 12 ms")
// replaced by "time?", for comparing runs; "time<1ms" right before "TTL="
// gains the space that "time=12ms " has.
std::string timeless(const std::string& text);

// Why network namespaces and raw sockets cannot be used here; empty when
// they can.
std::string netUnavailableReason();

// One network namespace, deleted by the destructor.
class Netns {
 public:
  explicit Netns(const std::string& role);
  ~Netns();
  Netns(const Netns&) = delete;
  Netns& operator=(const Netns&) = delete;

  const std::string& name() const { return name_; }
  bool ok() const { return ok_; }
  // Runs `command` inside the namespace.
  int exec(const std::string& command, std::string* output = nullptr) const;
  // "ip netns exec NAME ".
  std::string prefix() const { return "ip netns exec " + name_ + " "; }

 private:
  std::string name_;
  bool ok_;
};

// The calling thread inside `ns` for the lifetime of the scope.
class NetnsScope {
 public:
  explicit NetnsScope(const Netns& ns);
  ~NetnsScope();
  NetnsScope(const NetnsScope&) = delete;
  NetnsScope& operator=(const NetnsScope&) = delete;
  bool ok() const { return ok_; }

 private:
  int saved_;
  bool ok_;
};

// A - R - B. A is 10.91.1.1 and fd91:1::1, B is 10.91.2.1 and fd91:2::1,
// R forwards between them (10.91.1.254 and 10.91.2.254, fd91:1::fe and
// fd91:2::fe) without limiting its ICMP errors, except those of refused
// routes: R refuses 10.91.3.0/24 and fd91:3::/64 (prohibit routes) and has no
// route for other addresses, and the kernel answers a source for such routes
// five times at once, then once a second (IPv4 only; not adjustable inside
// a namespace). A admits every group to ICMP datagram sockets.
class Topology {
 public:
  Topology();
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  Netns a{"a"};
  Netns r{"r"};
  Netns b{"b"};

  static constexpr const char* kA = "10.91.1.1";
  static constexpr const char* kRNearA = "10.91.1.254";
  static constexpr const char* kRNearB = "10.91.2.254";
  static constexpr const char* kB = "10.91.2.1";
  static constexpr const char* kProhibited = "10.91.3.5";
  static constexpr const char* kNoRoute = "10.92.0.5";
  static constexpr const char* kA6 = "fd91:1::1";
  static constexpr const char* kRNearA6 = "fd91:1::fe";
  static constexpr const char* kB6 = "fd91:2::1";
  static constexpr const char* kProhibited6 = "fd91:3::5";

 private:
  std::string error_;
};

}  // namespace omtest

#endif  // OM_TESTS_PROBE_NETTOPOLOGY_H_
