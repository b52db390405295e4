// SubnetDiscovery: sweeps the addresses of a subnet with ICMP echo (one
// EchoSweep: one socket, a set rate of requests) in the background, and adds
// each node that answers to the network tree under the subnet as it
// answers. A node already known by one of its addresses is updated, never
// duplicated. The sweep writes a log record when it starts, for each node it
// adds and when it ends, and keeps the subnet's status (kDiscovering while
// it runs) and its count of discovered nodes.
#ifndef OM_SERVER_DISCOVERY_SUBNETDISCOVERY_H_
#define OM_SERVER_DISCOVERY_SUBNETDISCOVERY_H_

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "model/subnet.h"
#include "server/discovery/NodeProbe.h"

struct NetworkServer;

class SubnetDiscovery {
 public:
  // The subnet's status values this server gives.
  enum Status : int { kIdle = 0, kDiscovering = 1 };
  // The largest subnet swept: 4096 addresses (a /20).
  static constexpr unsigned kMaxAddresses = 4096;
  // Echo requests a second of a sweep unless sweepRate says otherwise: a /24
  // is asked in under a second, a /20 in about fourteen. On the link, each
  // silent address holds an entry of the kernel's neighbour table for about
  // three seconds, and the table drops requests once it holds
  // net.ipv4.neigh.default.gc_thresh3 entries (1024 by default, shared by
  // the whole host): this rate stays under a third of that limit, so that a
  // large subnet on the link loses no host that answers.
  static constexpr unsigned kDefaultSweepRate = 300;

  explicit SubnetDiscovery(NetworkServer& server);
  // Cancels the sweeps under way and waits for them.
  ~SubnetDiscovery();
  SubnetDiscovery(const SubnetDiscovery&) = delete;
  SubnetDiscovery& operator=(const SubnetDiscovery&) = delete;

  // Starts sweeping the subnet of that name. False when it is unknown, its
  // network id or mask is not an address, it is larger than kMaxAddresses or
  // a sweep of it is under way.
  bool start(const std::string& subnetName);
  // Waits until no sweep is under way.
  void wait();
  // Adds or updates the node at `address` of `subnet` (as a sweep does when
  // it answers); true when new.
  bool addNode(const SubnetBase& subnet, const std::string& address);

  // Called once for each address swept, as soon as it is known whether it
  // answered.
  using EchoReport = std::function<void(const std::string& address, bool answered)>;
  // How a subnet's addresses are probed: by default one EchoSweep, each
  // address sent up to "RetryCountDiscoverForPing" echo requests that each
  // wait "TimeoutDiscoverForPing" seconds (1 and 1 when not set), at
  // sweepRate requests a second. kNotSent when no request can be sent at all.
  // Set before the first sweep.
  std::function<EchoResult(const std::vector<std::string>& addresses, const EchoReport& report)> sweepEcho;
  // Echo requests a second of the default sweepEcho (0: no limit). Set
  // before the first sweep.
  unsigned sweepRate = kDefaultSweepRate;
  // The host name of an address, for subnets that look names up; empty when
  // there is none. By default the resolver's reverse lookup.
  std::function<std::string(const std::string& address)> lookupName;

 private:
  void sweep(const SubnetBase& subnet, std::vector<std::string> addresses);
  // Logs the end and marks the subnet idle.
  void finish(const std::string& subnetName, int found, bool failed);
  void setStatus(const std::string& subnetName, int status);

  NetworkServer& server_;
  std::atomic<bool> cancelled_{false};
  std::mutex mutex_;
  std::condition_variable idle_;
  std::set<std::string> running_;
  // The last sweep of each subnet; one that has ended is joined when the
  // subnet is swept again, or at the end.
  std::map<std::string, std::thread> threads_;
};

// The host addresses of a subnet in order (all of a /31 or /32). False, with
// the reason, when the network id or the mask is not an address, the mask
// is not contiguous or the subnet has more than kMaxAddresses hosts.
bool subnetAddresses(const std::string& networkId, const std::string& mask, std::vector<std::string>& addresses,
                     std::string& reason);

#endif  // OM_SERVER_DISCOVERY_SUBNETDISCOVERY_H_
