// Kept apart from LocalNetwork.cpp: the socket layer's Windows names must not
// meet the system's socket headers in one translation unit.
#include "server/discovery/LocalNetwork.h"
#include "probe/orvaping.h"

int pingNode(const NetworkObjectBase& node) {
  const std::string address = node.getIpAddress();
  if (address.empty()) return NetworkServer::kNodeUnknown;
  OrvaPing probe(address, "");
  probe.setPingMode();
  probe.setRetryCount(1);
  probe.setTimeout(1000);
  if (!probe.GoAhead()) return NetworkServer::kNodeUnknown;
  return probe.getReceived() > 0 ? NetworkServer::kNodeUp : NetworkServer::kNodeDown;
}
