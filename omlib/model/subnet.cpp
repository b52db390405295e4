#include "model/subnet.h"

#include <winsock2.h>

#include <algorithm>

namespace {

const char* boolText(bool value) { return value ? "true" : "false"; }

}  // namespace

void SubnetBase::addCommunityName(const std::string& name) {
  if (getCommunityName(name) == communityNames_.end()) communityNames_.push_back(name);
}

void SubnetBase::removeCommunityName(const std::string& name) {
  const auto it = getCommunityName(name);
  if (it != communityNames_.end()) communityNames_.erase(it);
}

std::vector<std::string>::const_iterator SubnetBase::getCommunityName(
    const std::string& name) const {
  return std::find(communityNames_.begin(), communityNames_.end(), name);
}

bool SubnetBase::compare(const SubnetBase& other) const {
  return name_ == other.name_ && calcNetworkID() == other.calcNetworkID();
}

std::string SubnetBase::calcNetworkID() const {
  in_addr network = {};
  network.s_addr = calcNetworkID(networkID_.c_str(), subnetMask_.c_str());
  const char* text = inet_ntoa(network);
  return text == nullptr ? std::string() : std::string(text);
}

ULONG SubnetBase::calcNetworkID(const char* address, const char* mask) {
  return calcNetworkID(inet_addr(address), inet_addr(mask));
}

ULONG SubnetBase::calcBroadcast(const char* address, const char* mask) {
  return calcBroadcast(inet_addr(address), inet_addr(mask));
}

std::string SubnetBase::toString() const {
  std::string communities;
  for (size_t i = 0; i < communityNames_.size(); ++i) {
    if (i > 0) communities += ", ";
    communities += communityNames_[i];
  }
  // "ObservedNodes" and "Status" have no colon: readers of these dumps match
  // the labels as they are.
  std::string text = "--- SubnetBase class ---\n";
  text += "Name: " + name_ + "\n";
  text += "NetworkId: " + networkID_ + "\n";
  text += "SubnetMask: " + subnetMask_ + "\n";
  text += "Community Names: " + communities + "\n";
  text += "DiscoverNodes: " + std::to_string(discoveredNodes_) + "\n";
  text += "ObservedNodes" + std::to_string(observedNodes_) + "\n";
  text += "Status" + std::to_string(status_) + "\n";
  text += "DiscoveringInterval: " + std::to_string(discoveringInterval_) + "\n";
  text += "Hops: " + std::to_string(hops_) + "\n";
  text += "DiscoveredNodeType: " + std::to_string(discoveredNodeType_) + "\n";
  text += std::string("LookupHostName: ") + boolText(lookupHostName_) + "\n";
  text += std::string("DiscoverOnTrap: ") + boolText(discoverOnTrap_) + "\n";
  return text;
}

CSubnet& CSubnet::operator=(const SubnetBase& other) {
  SubnetBase::operator=(other);
  return *this;
}

void CSubnet::addNetworkObject(const CNetworkObject* object) {
  // The list holds the caller's object without owning it.
  networkObjects_.push_back(const_cast<CNetworkObject*>(object));
}
