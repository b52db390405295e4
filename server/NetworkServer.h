// NetworkServer: what the server knows and does, shared by its providers:
// the network tree, the state of its two managers, how it probes a node and
// finds a node's ports, and its log. Providers lock `mutex` around each use.
#ifndef OM_SERVER_NETWORKSERVER_H_
#define OM_SERVER_NETWORKSERVER_H_

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "server/store/NetworkTree.h"

struct NetworkServer {
  // Node status values this server gives.
  enum NodeStatus : int { kNodeUnknown = 0, kNodeUp = 1, kNodeDown = 2 };

  std::mutex mutex;
  NetworkTree tree;
  bool pollingManager = false;
  bool autoDiscoverManager = false;
  // Probes a node; its new node status. Unset: every node stays unknown.
  std::function<int(const NetworkObjectBase& node)> poll;
  // The ports a node has; unset: none are found.
  std::function<std::vector<NetworkObjectBase>(const NetworkObjectBase& node)> findPorts;
  // SNMP variables of an object answered from its attributes ("sysName.0",
  // "sysContact.0", "sysObjectID.0", "sysDescr.0"); "noSuchObject" for others.
  static std::string snmpValue(const NetworkObjectBase& object, const std::string& variable);
  // Sets "sysName.0" or "sysContact.0"; false for other variables.
  static bool setSnmpValue(NetworkObjectBase& object, const std::string& variable, const std::string& value);
  // Lines about requests that failed, in order.
  std::vector<std::string> log;
};

#endif  // OM_SERVER_NETWORKSERVER_H_
