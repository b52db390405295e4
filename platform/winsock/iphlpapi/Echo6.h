// One ICMPv6 echo request and its answer, on the C library's sockets.
// Neutral types only. Internal to the IP helper library.
#ifndef OM_PLATFORM_WINSOCK_IPHLPAPI_ECHO6_H_
#define OM_PLATFORM_WINSOCK_IPHLPAPI_ECHO6_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "../IcmpKernel.h"

namespace om::kernel {

struct Echo6Request {
  IpAddress source;  // all zero: chosen by the system
  IpAddress destination;
  const void* data = nullptr;
  size_t size = 0;
  int hopLimit = 0;  // 0: the system's
  int trafficClass = 0;
  uint32_t timeout = 0;  // milliseconds
};

struct Echo6Answer {
  enum Kind { kReply, kError, kTimeout, kFailed };
  Kind kind = kFailed;
  IpAddress from;        // the replying node, or the sender of the error
  uint8_t type = 0;      // ICMPv6 type and code of an error
  uint8_t code = 0;
  uint32_t roundTrip = 0;  // milliseconds
  std::vector<uint8_t> data;  // the echo reply's data
  int error = 0;           // errno of a failure
};

// 0 when the system has IPv6 (an IPv6 socket can be opened), else the errno.
int checkIpv6();

Echo6Answer sendEcho6(const Echo6Request& request);

}  // namespace om::kernel

#endif  // OM_PLATFORM_WINSOCK_IPHLPAPI_ECHO6_H_
