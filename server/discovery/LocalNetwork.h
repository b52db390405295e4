// The network this machine can see by itself, for the embedded server: its
// IPv4 subnets, this host as their node, its interfaces as the node's ports,
// and a logical group listing the host; probing a node with ICMP echo.
#ifndef OM_SERVER_LOCALNETWORK_H_
#define OM_SERVER_LOCALNETWORK_H_

#include <string>
#include <vector>

#include "server/NetworkServer.h"

// The name of the logical group that lists this host.
std::string localGroupName();

// Adds the subnets, this host and its ports to the tree, and sets the
// server's probe and port finder to the two functions below.
void addLocalNetwork(NetworkServer& server);

// The interfaces of this host as ports (none for another node).
std::vector<NetworkObjectBase> localPorts(const NetworkObjectBase& node);

#endif  // OM_SERVER_LOCALNETWORK_H_
