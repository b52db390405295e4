// Kept apart from LocalNetwork.cpp: the socket layer's Windows names must not
// meet the system's socket headers in one translation unit.
#include "server/discovery/NodeProbe.h"

#include "config/DefaultValues.h"
#include "probe/icmp6ping.h"
#include "probe/orvaping.h"
#include "server/NetworkServer.h"
#include "server/SettingOr.h"

EchoResult echoAddress(const std::string& address, int timeoutMs, int tries) {
  OrvaPing probe(address, "");
  probe.setPingMode();
  probe.setRetryCount(tries);
  probe.setTimeout(timeoutMs);
  probe.setInterval(0);
  if (!probe.GoAhead()) return EchoResult::kNotSent;
  return probe.getReceived() > 0 ? EchoResult::kAnswered : EchoResult::kSilent;
}

EchoResult echo6Address(const std::string& address, int timeoutMs, int retries) {
  icmp6ping probe;
  probe.setTimeout(static_cast<DWORD>(timeoutMs));
  probe.setRetryCount(static_cast<DWORD>(retries));
  if (probe.ping6(address)) {
    return probe.getReply6()->Status == IP_SUCCESS ? EchoResult::kAnswered : EchoResult::kSilent;
  }
  return probe.getLastError() == IP_REQ_TIMED_OUT ? EchoResult::kSilent : EchoResult::kNotSent;
}

namespace {

EchoResult echoNode(const NetworkObjectBase& node) {
  DefaultValues& settings = *DefaultValues::getDefault();
  const std::string address = node.getIpAddress();
  if (!address.empty()) {
    return echoAddress(address, 1000 * settingOr(settings.getTimeoutPollingForPing(), 1),
                       settingOr(settings.getRetryCountPollingForPing(), 1));
  }
  if (node.getIpv6Addresses().empty()) return EchoResult::kNotSent;
  return echo6Address(node.getIpv6Addresses().front(), 1000 * settingOr(settings.getTimeoutPollingForPing6(), 1),
                      settingOr(settings.getRetryCountPollingForPing6(), 1));
}

}  // namespace

int pingNode(const NetworkObjectBase& node) {
  switch (echoNode(node)) {
    case EchoResult::kAnswered:
      return NetworkServer::kNodeUp;
    case EchoResult::kSilent:
      return NetworkServer::kNodeDown;
    default:
      return NetworkServer::kNodeUnknown;
  }
}
