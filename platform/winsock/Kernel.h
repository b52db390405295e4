// The C library side of the Winsock layer. Its sources include the POSIX
// headers and never the Windows ones, so this interface uses neutral types
// only. Address families, flags and socket addresses cross it in their
// Windows numbering and layout; errors come back as Winsock numbers.
// Internal to platform/winsock.
#ifndef OM_PLATFORM_WINSOCK_KERNEL_H_
#define OM_PLATFORM_WINSOCK_KERNEL_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace om::kernel {

// ---- Errors ------------------------------------------------------------------

// The Winsock number of an errno value, a getaddrinfo EAI_* code or a resolver
// h_errno code (one table serves the three); `fallback` when unknown.
int wsaFromErrno(int error, int fallback);
int wsaFromEai(int code);
int wsaFromHostError(int code);

// ---- Host and service names -----------------------------------------------------

// The local host name; 0 or a Winsock error.
int hostName(std::string& name);

// A host and its IPv4 addresses (network byte order).
struct Ipv4Host {
  std::string name;
  std::vector<std::string> aliases;
  std::vector<uint32_t> addresses;
};

// Looks a name or dotted address up; 0 or a Winsock error.
int lookupIpv4Host(const char* name, Ipv4Host& host);
// The name of the host with `address` (network byte order); 0 or a Winsock
// error.
int lookupIpv4Name(uint32_t address, std::string& name);

// The port (host byte order) of a service name for tcp or udp; false when
// unknown.
bool servicePort(const char* name, bool udp, uint16_t& port);
// The name of the service on `port` (host byte order); false when unknown.
bool serviceName(uint16_t port, bool udp, std::string& name);

// ---- IPv6 text -------------------------------------------------------------------------

// Parses the text of a plain IPv6 address (no scope, no brackets).
bool parseIpv6(const char* text, uint8_t address[16]);
// The text of an IPv6 address (lower case, longest zero run compressed).
std::string formatIpv6(const uint8_t address[16]);

// ---- Resolver -----------------------------------------------------------------------------

// The C library's resolver functions, as found at run time. All three are
// null when any of them is missing.
struct Resolver {
  void* getaddrinfo = nullptr;
  void* getnameinfo = nullptr;
  void* freeaddrinfo = nullptr;
  bool complete() const { return getaddrinfo != nullptr; }
};

// Loads `library` (a shared-object name, e.g. the C library's) and looks the
// three functions up in it.
Resolver findResolver(const char* library);
// The file name of the C library.
const char* cLibraryName();

// The hints of a resolution, in Windows numbering.
struct Hints {
  int flags = 0;
  int family = 0;
  int socktype = 0;
  int protocol = 0;
};

// One entry of a resolution result; the address has the Windows layout.
struct Entry {
  int flags = 0;
  int family = 0;
  int socktype = 0;
  int protocol = 0;
  std::string canonicalName;
  bool hasCanonicalName = false;
  std::vector<uint8_t> address;
};

// Resolves through `resolver`; 0 or a Winsock error.
int resolve(const Resolver& resolver, const char* node, const char* service, const Hints* hints,
            std::vector<Entry>& entries);

// getnameinfo through `resolver` for a sockaddr in Windows layout and NI_*
// flags in Windows numbering; 0 or a Winsock error.
int nameInfo(const Resolver& resolver, const void* address, size_t addressLength, char* host,
             size_t hostLength, char* service, size_t serviceLength, int flags);

}  // namespace om::kernel

#endif  // OM_PLATFORM_WINSOCK_KERNEL_H_
