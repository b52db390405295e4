// Helpers of the network tests that talk to the kernel directly (raw
// sockets, capabilities), kept apart from the sources that see the Windows
// declarations.
#ifndef OM_TESTS_PROBE_NETHELPERS_H_
#define OM_TESTS_PROBE_NETHELPERS_H_

#include <atomic>
#include <string>
#include <thread>

#include "NetTopology.h"

namespace omtest {

// Drops CAP_NET_RAW from the calling thread (the other threads keep it).
// True when a raw ICMP socket is refused afterwards.
bool dropRawCapability();

// Answers every ICMP echo request that reaches a namespace twice, from a
// thread of its own with a raw socket there; the namespace's own replies
// should be turned off. Stops when destroyed.
class DuplicatingResponder {
 public:
  explicit DuplicatingResponder(const Netns& ns);
  ~DuplicatingResponder();
  bool ok() const { return ready_; }

 private:
  void run(const Netns* ns);
  std::atomic<bool> stop_{false};
  std::atomic<bool> ready_{false};
  std::atomic<bool> started_{false};
  std::thread thread_;
};

// Counts the ICMPv6 echo requests that reach a namespace carrying exactly
// `data`.
class Icmp6RequestCounter {
 public:
  Icmp6RequestCounter(const Netns& ns, const std::string& data);
  ~Icmp6RequestCounter();
  bool ok() const { return ready_; }
  int count() const { return count_; }

 private:
  void run(const Netns* ns);
  std::string data_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> ready_{false};
  std::atomic<bool> started_{false};
  std::atomic<int> count_{0};
  std::thread thread_;
};

}  // namespace omtest

#endif  // OM_TESTS_PROBE_NETHELPERS_H_
