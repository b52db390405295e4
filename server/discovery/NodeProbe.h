// ICMP echo for the server: one address, or one node.
#ifndef OM_SERVER_DISCOVERY_NODEPROBE_H_
#define OM_SERVER_DISCOVERY_NODEPROBE_H_

#include <string>

#include "model/NetworkObjectBase.h"

// What an echo to an address found.
enum class EchoResult { kAnswered, kSilent, kNotSent };

// `tries` echo requests to a dotted IPv4 address, one after the other, each
// waiting up to `timeoutMs` for its reply. kNotSent when no request could be
// sent (raw and ICMP datagram sockets both refused).
EchoResult echoAddress(const std::string& address, int timeoutMs, int tries);
// ICMPv6 echo requests to an IPv6 address: one, and up to `retries` more
// while none is answered, each waiting up to `timeoutMs`. An ICMPv6 error
// in answer counts as silent; kNotSent when no request could be sent.
EchoResult echo6Address(const std::string& address, int timeoutMs, int retries);

// Echoes the node's first IPv4 address ("RetryCountPollingForPing" requests,
// each waiting "TimeoutPollingForPing" seconds) or, when it has none, its
// first IPv6 address ("RetryCountPollingForPing6" retries, each waiting
// "TimeoutPollingForPing6" seconds); a setting that is not set counts as 1.
// Up, down, or unknown when it has no address or no echo could be sent.
int pingNode(const NetworkObjectBase& node);

#endif  // OM_SERVER_DISCOVERY_NODEPROBE_H_
