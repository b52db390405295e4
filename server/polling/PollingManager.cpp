#include "server/polling/PollingManager.h"

#include "config/DefaultValues.h"
#include "server/NetworkServer.h"
#include "server/SettingOr.h"
#include "server/discovery/EchoSweep.h"

namespace om::server {
namespace {

// How often the thread looks for nodes due and at the manager's switch.
constexpr auto kTick = std::chrono::seconds(1);

EchoResult sweepAddresses(const std::vector<std::string>& addresses, const PollingManager::Report& report) {
  DefaultValues& settings = *DefaultValues::getDefault();
  EchoSweep::Settings options;
  options.timeoutMs = 1000 * settingOr(settings.getTimeoutPollingForPing(), 1);
  options.tries = settingOr(settings.getRetryCountPollingForPing(), 1);
  return EchoSweep(options).run(addresses, [&](const EchoSweep::Outcome& outcome) {
    report(addresses[outcome.index], outcome.answered);
  });
}

}  // namespace

PollingManager::PollingManager(NetworkServer& server) : sweep(sweepAddresses), pollOther(pingNode), server_(server) {}

PollingManager::~PollingManager() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void PollingManager::start() {
  if (!thread_.joinable()) thread_ = std::thread(&PollingManager::run, this);
}

size_t PollingManager::pollOnce() {
  const std::vector<std::string> names = server_.locked([this] { return server_.tree.names(kObjectTypeNode); });
  poll(names);
  return names.size();
}

void PollingManager::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!wake_.wait_for(lock, kTick, [this] { return stopping_; })) {
    if (!server_.locked([this] { return server_.pollingManager; })) continue;
    const std::vector<std::string> names = due(Clock::now());
    lock.unlock();
    poll(names);
    lock.lock();
  }
}

std::vector<std::string> PollingManager::due(Clock::time_point now) {
  const int fallback = settingOr(DefaultValues::getDefault()->getPollingInterval(), kDefaultInterval);
  std::vector<std::string> names;
  std::lock_guard<std::mutex> lock(server_.mutex);
  std::map<std::string, Clock::time_point> next;
  for (const std::string& name : server_.tree.names(kObjectTypeNode)) {
    const NetworkObjectBase* node = server_.tree.find(name);
    const auto known = next_.find(name);
    Clock::time_point when = known == next_.end() ? now : known->second;
    if (when <= now) {
      names.push_back(name);
      when = now + std::chrono::seconds(settingOr(node->getPollingInterval(), fallback));
    }
    next.emplace(name, when);
  }
  next_.swap(next);  // nodes gone from the tree are forgotten
  return names;
}

void PollingManager::poll(const std::vector<std::string>& names) {
  std::map<std::string, std::vector<std::string>> byAddress;  // nodes by their first IPv4 address
  std::vector<NetworkObjectBase> others;
  for (const std::string& name : names) {
    NetworkObjectBase node;
    if (!server_.copyObject(name, NetworkServer::Lookup::kName, node)) continue;
    const std::string address = node.getIpAddress();
    if (address.empty()) {
      others.push_back(node);
    } else {
      byAddress[address].push_back(name);
    }
  }
  std::vector<std::string> addresses;
  for (const auto& [address, nodes] : byAddress) addresses.push_back(address);
  const auto report = [&](const std::string& address, bool answered) {
    for (const std::string& name : byAddress[address]) {
      server_.setNodeStatus(name, answered ? NetworkServer::kNodeUp : NetworkServer::kNodeDown);
    }
  };
  const EchoResult swept = addresses.empty() ? EchoResult::kSilent : sweep(addresses, report);
  if (swept == EchoResult::kNotSent) {
    for (const auto& [address, nodes] : byAddress) {
      for (const std::string& name : nodes) server_.setNodeStatus(name, NetworkServer::kNodeUnknown);
    }
  }
  for (const NetworkObjectBase& node : others) server_.setNodeStatus(node.getName(), pollOther(node));
}

}  // namespace om::server
