#include "server/discovery/SubnetDiscovery.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <deque>

#include "config/DefaultValues.h"
#include "server/NetworkServer.h"
#include "server/SettingOr.h"
#include "server/discovery/EchoSweep.h"

namespace {

bool parseAddress(const std::string& text, uint32_t& address) {
  in_addr parsed{};
  if (inet_pton(AF_INET, text.c_str(), &parsed) != 1) return false;
  address = ntohl(parsed.s_addr);
  return true;
}

std::string addressText(uint32_t address) {
  in_addr value{htonl(address)};
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &value, text, sizeof(text));
  return text;
}

std::string reverseLookup(const std::string& address) {
  sockaddr_in socket{};
  socket.sin_family = AF_INET;
  if (inet_pton(AF_INET, address.c_str(), &socket.sin_addr) != 1) return std::string();
  char host[NI_MAXHOST] = "";
  if (getnameinfo(reinterpret_cast<const sockaddr*>(&socket), sizeof(socket), host, sizeof(host), nullptr, 0,
                  NI_NAMEREQD) != 0) {
    return std::string();
  }
  return host;
}

// Runs the jobs posted to it one after the other, in order, on a thread of
// its own; the destructor lets it finish them and joins it.
class SerialWorker {
 public:
  SerialWorker() : thread_([this] { work(); }) {}
  ~SerialWorker() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      closed_ = true;
    }
    ready_.notify_one();
    thread_.join();
  }
  SerialWorker(const SerialWorker&) = delete;
  SerialWorker& operator=(const SerialWorker&) = delete;

  void post(std::function<void()> job) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      jobs_.push_back(std::move(job));
    }
    ready_.notify_one();
  }

 private:
  void work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      ready_.wait(lock, [this] { return closed_ || !jobs_.empty(); });
      if (jobs_.empty()) return;
      const std::function<void()> job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      job();
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<std::function<void()>> jobs_;
  bool closed_ = false;
  std::thread thread_;  // last: it starts once the members it uses are built
};

}  // namespace

bool subnetAddresses(const std::string& networkId, const std::string& mask, std::vector<std::string>& addresses,
                     std::string& reason) {
  uint32_t network = 0;
  uint32_t bits = 0;
  if (!parseAddress(networkId, network) || !parseAddress(mask, bits)) {
    reason = "the network id or the mask is not an IPv4 address";
    return false;
  }
  const uint32_t hostBits = ~bits;
  if ((hostBits & (hostBits + 1)) != 0) {
    reason = "the mask " + mask + " is not contiguous";
    return false;
  }
  // A /31 or /32 has no network and broadcast address to leave out.
  const uint64_t size = static_cast<uint64_t>(hostBits) + 1;
  const uint64_t begin = size <= 2 ? 0 : 1;
  const uint64_t end = size <= 2 ? size : size - 1;
  if (end - begin > SubnetDiscovery::kMaxAddresses) {
    reason = "it has " + std::to_string(end - begin) + " addresses, more than the " +
             std::to_string(SubnetDiscovery::kMaxAddresses) + " a sweep covers";
    return false;
  }
  addresses.clear();
  for (uint64_t i = begin; i < end; ++i) addresses.push_back(addressText((network & bits) + static_cast<uint32_t>(i)));
  return true;
}

SubnetDiscovery::SubnetDiscovery(NetworkServer& server) : server_(server) {
  lookupName = reverseLookup;
  sweepEcho = [this](const std::vector<std::string>& addresses, const EchoReport& report) {
    DefaultValues& settings = *DefaultValues::getDefault();
    om::server::EchoSweep::Settings options;
    options.timeoutMs = 1000 * settingOr(settings.getTimeoutDiscoverForPing(), 1);
    options.tries = settingOr(settings.getRetryCountDiscoverForPing(), 1);
    options.rate = sweepRate;
    const auto tell = [&](const om::server::EchoSweep::Outcome& outcome) {
      report(addresses[outcome.index], outcome.answered);
    };
    return om::server::EchoSweep(options).run(addresses, tell, &cancelled_);
  };
}

SubnetDiscovery::~SubnetDiscovery() {
  cancelled_ = true;
  std::map<std::string, std::thread> threads;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    threads.swap(threads_);
  }
  for (auto& [name, thread] : threads) thread.join();
}

bool SubnetDiscovery::start(const std::string& subnetName) {
  SubnetBase subnet;
  std::vector<std::string> addresses;
  std::string reason;
  {
    std::lock_guard<std::mutex> lock(server_.mutex);
    if (!server_.subnets->find(subnetName, subnet)) return false;
  }
  if (!subnetAddresses(subnet.getNetworkID(), subnet.getSubnetMask(), addresses, reason)) {
    server_.writeLog(log_def::LOGTYPE_ERROR, log_def::LOGSUBTYPE_INVALID, log_def::TARGETTYPE_SUBNET, subnetName,
                     "The subnet cannot be discovered: " + reason + ".");
    return false;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  if (cancelled_ || !running_.insert(subnetName).second) return false;
  setStatus(subnetName, kDiscovering);
  server_.writeLog(log_def::LOGTYPE_INFORMATION, log_def::LOGSUBTYPE_START, log_def::TARGETTYPE_SUBNET, subnetName,
                   "Discovery started: " + std::to_string(addresses.size()) + " addresses.");
  std::thread& thread = threads_[subnetName];
  if (thread.joinable()) thread.join();  // the last sweep has ended: it is not running
  thread = std::thread(&SubnetDiscovery::sweep, this, subnet, std::move(addresses));
  return true;
}

void SubnetDiscovery::wait() {
  std::unique_lock<std::mutex> lock(mutex_);
  idle_.wait(lock, [this] { return running_.empty(); });
}

void SubnetDiscovery::sweep(const SubnetBase& subnet, std::vector<std::string> addresses) {
  int found = 0;  // counted on the adder's thread, read once it has ended
  EchoResult result;
  {
    // Nodes are added (and their names looked up) on a thread of their own,
    // so that the sweep keeps its pace and its time-outs.
    SerialWorker adder;
    result = sweepEcho(addresses, [&](const std::string& address, bool answered) {
      if (!answered) return;
      adder.post([this, &subnet, &found, address] {
        if (!cancelled_ && addNode(subnet, address)) ++found;
      });
    });
  }
  finish(subnet.getName(), found, result == EchoResult::kNotSent);
}

bool SubnetDiscovery::addNode(const SubnetBase& subnet, const std::string& address) {
  const std::string name = subnet.isLookupHostName() ? lookupName(address) : std::string();
  bool added = false;
  NetworkObjectBase node;
  {
    std::lock_guard<std::mutex> lock(server_.mutex);
    NetworkTree& tree = server_.tree;
    const NetworkObjectBase* known = tree.findByAddress(address);
    if (known != nullptr) {
      node = *known;
    } else {
      node.setName(name.empty() ? address : name);
      node.setDisplayName(node.getName());
      node.setDNSName(name);
      node.setObjectType(kObjectTypeNode);
      node.setIpAddress(address);
      node.setSubnetMask(subnet.getSubnetMask());
      node.setReadCommunityName(subnet.getCommunityNames().empty() ? "" : subnet.getCommunityNames().front());
      added = true;
    }
    node.setNodeStatus(NetworkServer::kNodeUp);
    if (!tree.add(NetworkTree::subnetPath(subnet.getName()), node)) return false;
    SubnetBase stored;
    if (server_.subnets->find(subnet.getName(), stored)) {
      std::vector<NetworkObjectBase> nodes;
      tree.children(NetworkTree::subnetPath(subnet.getName()), nodes);
      stored.setDiscoveredNodes(static_cast<int>(nodes.size()));
      server_.subnets->put(stored);
    }
  }
  if (added) {
    server_.writeLog(log_def::LOGTYPE_INFORMATION, log_def::LOGSUBTYPE_ADD, log_def::TARGETTYPE_DEVICE,
                     node.getName(), "Node found at " + address + " in " + subnet.getName() + ".");
  }
  return added;
}

void SubnetDiscovery::finish(const std::string& subnetName, int found, bool failed) {
  if (failed) {
    server_.writeLog(log_def::LOGTYPE_ERROR, log_def::LOGSUBTYPE_GENERAL_ERROR, log_def::TARGETTYPE_SUBNET,
                     subnetName, "Discovery stopped: ICMP echo requests cannot be sent.");
  }
  server_.writeLog(log_def::LOGTYPE_INFORMATION, log_def::LOGSUBTYPE_END, log_def::TARGETTYPE_SUBNET, subnetName,
                   "Discovery ended: " + std::to_string(found) + " new nodes.");
  std::lock_guard<std::mutex> lock(mutex_);
  setStatus(subnetName, kIdle);
  running_.erase(subnetName);
  idle_.notify_all();
}

void SubnetDiscovery::setStatus(const std::string& subnetName, int status) {
  std::lock_guard<std::mutex> lock(server_.mutex);
  SubnetBase subnet;
  if (!server_.subnets->find(subnetName, subnet)) return;
  subnet.setStatus(status);
  server_.subnets->put(subnet);
}
