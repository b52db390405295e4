#include "SweepNet.h"

namespace omtest {
namespace {

std::vector<std::string> hostsOf(const std::string& prefix) {
  std::vector<std::string> hosts;
  for (int i = 1; i < 255; ++i) hosts.push_back(prefix + std::to_string(i));
  return hosts;
}

}  // namespace

SweepNet::SweepNet(const std::vector<std::string>& hosts) {
  if (!s.ok() || !t.ok()) {
    error_ = "cannot create the namespaces";
    return;
  }
  const std::string S = s.name();
  const std::string T = t.name();
  std::vector<std::string> commands = {
      s.prefix() + "sysctl -qw net.ipv4.ping_group_range='0 2147483647'",
      "ip link add s0 netns " + S + " type veth peer name t0 netns " + T,
      "ip -n " + S + " addr add " + kSweeper + "/24 dev s0",
      "ip -n " + T + " addr add " + kGateway + "/24 dev t0",
      "ip -n " + S + " link set lo up",
      "ip -n " + T + " link set lo up",
      "ip -n " + S + " link set s0 up",
      "ip -n " + T + " link set t0 up",
      "ip -n " + S + " route add 10.94.1.0/24 via " + kGateway,
      "ip -n " + T + " route add local 10.94.1.0/24 dev lo",
  };
  for (const std::string& host : hosts) commands.push_back("ip -n " + T + " addr add " + host + "/24 dev t0");
  for (const std::string& c : commands) {
    if (run(c) != 0) {
      error_ = "sweep network command failed: " + c;
      return;
    }
  }
}

std::vector<std::string> SweepNet::linkNet() { return hostsOf("10.94.0."); }

std::vector<std::string> SweepNet::routedNet() { return hostsOf("10.94.1."); }

}  // namespace omtest
