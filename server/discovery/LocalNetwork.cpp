#include "server/discovery/LocalNetwork.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>

#include "model/NetworkPath.h"
#include "server/discovery/NodeProbe.h"

namespace {

struct Interface {
  std::string name;
  bool up = false;
  std::string mac;
  std::vector<std::pair<std::string, std::string>> ipv4;  // address, mask
  std::vector<std::string> ipv6;
};

std::string text(int family, const void* address) {
  char buffer[INET6_ADDRSTRLEN] = "";
  inet_ntop(family, address, buffer, sizeof(buffer));
  return buffer;
}

std::string macText(const sockaddr_ll* link) {
  std::string mac;
  for (int i = 0; i < link->sll_halen; ++i) {
    char part[4];
    std::snprintf(part, sizeof(part), i == 0 ? "%02x" : ":%02x", link->sll_addr[i]);
    mac += part;
  }
  return mac;
}

// The interfaces of this host with their addresses, by name.
std::map<std::string, Interface> interfaces() {
  std::map<std::string, Interface> found;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return found;
  std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> guard(list, freeifaddrs);
  for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
    Interface& item = found[each->ifa_name];
    item.name = each->ifa_name;
    item.up = (each->ifa_flags & IFF_UP) != 0 && (each->ifa_flags & IFF_RUNNING) != 0;
    if (each->ifa_addr == nullptr) continue;
    switch (each->ifa_addr->sa_family) {
      case AF_INET:
        // A point-to-point link may report no mask: its address stands alone.
        item.ipv4.emplace_back(text(AF_INET, &reinterpret_cast<const sockaddr_in*>(each->ifa_addr)->sin_addr),
                               each->ifa_netmask == nullptr
                                   ? std::string("255.255.255.255")
                                   : text(AF_INET, &reinterpret_cast<const sockaddr_in*>(each->ifa_netmask)->sin_addr));
        break;
      case AF_INET6:
        item.ipv6.push_back(text(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(each->ifa_addr)->sin6_addr));
        break;
      case AF_PACKET:
        item.mac = macText(reinterpret_cast<const sockaddr_ll*>(each->ifa_addr));
        break;
      default:
        break;
    }
  }
  return found;
}

std::string hostName() {
  char name[256] = "";
  if (gethostname(name, sizeof(name) - 1) != 0 || name[0] == '\0') return "localhost";
  return name;
}

// The network address of `address` under `mask`, as text.
std::string networkOf(const std::string& address, const std::string& mask) {
  in_addr a{};
  in_addr m{};
  inet_pton(AF_INET, address.c_str(), &a);
  inet_pton(AF_INET, mask.c_str(), &m);
  a.s_addr &= m.s_addr;
  return text(AF_INET, &a);
}

std::string pathOf(const std::vector<std::string>& names) { return CNetworkPath(names).getPath(); }

}  // namespace

std::string localGroupName() { return "Local"; }

std::vector<NetworkObjectBase> localPorts(const NetworkObjectBase& node) {
  std::vector<NetworkObjectBase> ports;
  if (node.getName() != hostName()) return ports;
  for (const auto& [name, item] : interfaces()) {
    NetworkObjectBase port;
    port.setName(node.getName() + ":" + name);
    port.setDisplayName(name);
    port.setObjectType(kObjectTypePort);
    port.setIfIndex(static_cast<int>(if_nametoindex(name.c_str())));
    port.setMacAddress(item.mac);
    port.setPortStatus(item.up ? 1 : 2);
    for (const auto& [address, mask] : item.ipv4) port.addIpAddress(address);
    for (const std::string& address : item.ipv6) port.addIpv6Address(address);
    if (!item.ipv4.empty()) port.setSubnetMask(item.ipv4.front().second);
    ports.push_back(port);
  }
  return ports;
}

void addLocalNetwork(NetworkServer& server) {
  NetworkObjectBase host;
  host.setName(hostName());
  host.setDisplayName(host.getName());
  host.setDNSName(host.getName());
  host.setObjectType(kObjectTypeNode);
  host.setSysName(host.getName());
  std::map<std::string, std::string> subnets;  // network address -> mask
  for (const auto& [name, item] : interfaces()) {
    for (const auto& [address, mask] : item.ipv4) {
      host.addIpAddress(address);
      subnets.emplace(networkOf(address, mask), mask);
    }
    for (const std::string& address : item.ipv6) host.addIpv6Address(address);
  }
  NetworkTree& tree = server.tree;
  if (const NetworkObjectBase* known = tree.find(host.getName())) host.setNodeStatus(known->getNodeStatus());
  for (const auto& [network, mask] : subnets) {
    // A subnet kept from an earlier run stays as it was left.
    if (tree.find(network) == nullptr) {
      NetworkObjectBase subnet;
      subnet.setName(network);
      subnet.setDisplayName(network + "/" + mask);
      subnet.setSubnetMask(mask);
      subnet.setObjectType(kObjectTypeSubnet);
      tree.add(NetworkTree::physicalRootPath(), subnet);
    }
    SubnetBase record;
    if (!server.subnets->find(network, record)) {
      record.setName(network);
      record.setNetworkID(network);
      record.setSubnetMask(mask);
      record.setDiscoveredNodes(1);  // this host
      server.subnets->put(record);
    }
    tree.add(NetworkTree::subnetPath(network), host);
  }
  NetworkObjectBase group;
  group.setName(localGroupName());
  group.setDisplayName(localGroupName());
  group.setObjectType(kObjectTypeGroup);
  const std::string logical = CNetworkPath::getLogicalRootName();
  tree.add(pathOf({logical}), group);
  tree.add(pathOf({logical, localGroupName()}), host);
  const std::vector<NetworkObjectBase> ports = localPorts(host);
  for (const std::string& path : tree.pathNames(host.getName())) {
    for (const NetworkObjectBase& port : ports) tree.add(path, port);
  }
  server.poll = pingNode;
  server.findPorts = localPorts;
}
