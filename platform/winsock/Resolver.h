// The resolver behind getaddrinfo, getnameinfo and freeaddrinfo: the C
// library's functions when it has all three, else IPv4-only fallbacks with
// the same contracts for all three. Internal to platform/winsock.
#ifndef OM_PLATFORM_WINSOCK_RESOLVER_H_
#define OM_PLATFORM_WINSOCK_RESOLVER_H_

#include <vector>

#include <ws2tcpip.h>

#include "Kernel.h"

namespace om::winsock {

// Arguments, results and errors as getaddrinfo, getnameinfo and freeaddrinfo
// of ws2tcpip.h, without the start-up check and without setting the last
// error. Result lists are built by this class whichever functions answered,
// so freeaddrinfo frees either.
class Resolver {
 public:
  explicit Resolver(const om::kernel::Resolver& found) : found_(found) {}

  // The process's resolver, chosen on first use from the C library.
  static const Resolver& process();

  // True when the C library's functions answer.
  bool native() const { return found_.complete(); }

  int getaddrinfo(PCSTR node, PCSTR service, const ADDRINFOA* hints, PADDRINFOA* result) const;
  int getnameinfo(const SOCKADDR* address, socklen_t addressLength, PCHAR host, DWORD hostLength,
                  PCHAR service, DWORD serviceLength, INT flags) const;
  void freeaddrinfo(PADDRINFOA list) const;

 private:
  om::kernel::Resolver found_;
};

// The IPv4-only fallbacks, called by Resolver with arguments it has checked.
int ipv4Resolve(PCSTR node, PCSTR service, const ADDRINFOA* hints, std::vector<om::kernel::Entry>& entries);
int ipv4NameInfo(const SOCKADDR_IN& address, PCHAR host, DWORD hostLength, PCHAR service, DWORD serviceLength,
                 INT flags);

}  // namespace om::winsock

#endif  // OM_PLATFORM_WINSOCK_RESOLVER_H_
