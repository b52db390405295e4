// Two network namespaces for echo sweeps: S, the sweeper, at 10.94.0.1/24,
// and T at the other end of a veth pair, holding 10.94.0.254 and the host
// addresses given in the same /24, and answering for every address of
// 10.94.1.0/24, which S routes to it. Built with ip(8) and always removed;
// S admits every group to ICMP datagram sockets. Shared by the sweep tests
// and the sweep benchmark.
#ifndef OM_TESTS_SERVER_SWEEPNET_H_
#define OM_TESTS_SERVER_SWEEPNET_H_

#include <string>
#include <vector>

#include "../probe/NetTopology.h"

namespace omtest {

class SweepNet {
 public:
  static constexpr const char* kSweeper = "10.94.0.1";
  static constexpr const char* kGateway = "10.94.0.254";  // T's own address

  explicit SweepNet(const std::vector<std::string>& hosts);
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  // The host addresses of 10.94.0.0/24 (on the link, where T holds a few)
  // or of 10.94.1.0/24 (routed to T, which answers for all).
  static std::vector<std::string> linkNet();
  static std::vector<std::string> routedNet();

  Netns s{"sweep-s"};
  Netns t{"sweep-t"};

 private:
  std::string error_;
};

}  // namespace omtest

#endif  // OM_TESTS_SERVER_SWEEPNET_H_
