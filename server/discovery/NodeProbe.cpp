// Kept apart from LocalNetwork.cpp: the socket layer's Windows names must not
// meet the system's socket headers in one translation unit.
#include "server/discovery/NodeProbe.h"

#include "probe/orvaping.h"
#include "server/NetworkServer.h"

EchoResult echoAddress(const std::string& address, int timeoutMs, int tries) {
  OrvaPing probe(address, "");
  probe.setPingMode();
  probe.setRetryCount(tries);
  probe.setTimeout(timeoutMs);
  probe.setInterval(0);
  if (!probe.GoAhead()) return EchoResult::kNotSent;
  return probe.getReceived() > 0 ? EchoResult::kAnswered : EchoResult::kSilent;
}

int pingNode(const NetworkObjectBase& node) {
  const std::string address = node.getIpAddress();
  if (address.empty()) return NetworkServer::kNodeUnknown;
  switch (echoAddress(address, 1000, 1)) {
    case EchoResult::kAnswered:
      return NetworkServer::kNodeUp;
    case EchoResult::kSilent:
      return NetworkServer::kNodeDown;
    default:
      return NetworkServer::kNodeUnknown;
  }
}
