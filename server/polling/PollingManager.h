// PollingManager: while the server's polling manager is on, polls each node
// of the tree by ICMP echo at its polling interval, the nodes due at one
// moment in one EchoSweep (one socket, many requests in flight), and sets
// each node's status: up when it answered, down when it did not, unknown
// when it could not be asked. Every change of a node's status is logged.
#ifndef OM_SERVER_POLLING_POLLINGMANAGER_H_
#define OM_SERVER_POLLING_POLLINGMANAGER_H_

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "server/discovery/NodeProbe.h"

struct NetworkServer;

namespace om::server {

class PollingManager {
 public:
  // Seconds between two polls of a node whose own polling interval is 0,
  // when "DefaultPollingInterval" is not set either.
  static constexpr int kDefaultInterval = 60;

  // Polls `server`'s tree (not owned; it must outlive the manager). The
  // background thread starts with start().
  explicit PollingManager(NetworkServer& server);
  // Stops the thread, after the round under way.
  ~PollingManager();
  PollingManager(const PollingManager&) = delete;
  PollingManager& operator=(const PollingManager&) = delete;

  void start();
  // Polls every node now, once, whether the manager is on or not; how many
  // nodes were polled.
  size_t pollOnce();

  // How addresses are echoed: by default one EchoSweep, each address sent
  // up to "RetryCountPollingForPing" requests that each wait
  // "TimeoutPollingForPing" seconds (1 and 1 when not set). The report gets
  // each address once. Set before start().
  using Report = std::function<void(const std::string& address, bool answered)>;
  std::function<EchoResult(const std::vector<std::string>& addresses, const Report& report)> sweep;
  // How a node without an IPv4 address is polled (by ICMPv6): its status.
  std::function<int(const NetworkObjectBase& node)> pollOther;

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  // Polls the nodes of these names and sets their statuses.
  void poll(const std::vector<std::string>& names);
  // The nodes due at `now`, each given its next time.
  std::vector<std::string> due(Clock::time_point now);

  NetworkServer& server_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::map<std::string, Clock::time_point> next_;  // by node name
  std::thread thread_;
};

}  // namespace om::server

#endif  // OM_SERVER_POLLING_POLLINGMANAGER_H_
