// The IPv4-only resolver that serves when the C library lacks getaddrinfo,
// getnameinfo or freeaddrinfo: numeric addresses, host names through the
// IPv4 host lookup, and services by number or by name.
#include <cstdio>
#include <cstring>

#include "Internal.h"
#include "Resolver.h"

namespace om::winsock {
namespace {

constexpr int kKnownFlags =
    AI_PASSIVE | AI_CANONNAME | AI_NUMERICHOST | AI_NUMERICSERV | AI_ALL | AI_ADDRCONFIG | AI_V4MAPPED;

// A whole text in one of the dotted forms; the address in network order.
bool numericAddress(const char* text, ULONG& address) {
  const char* end = nullptr;
  uint32_t host = 0;
  if (!parseIpv4(text, end, host) || *end != '\0') return false;
  address = htonl(host);
  return true;
}

// The port (host order) of a service text.
int servicePort(const char* service, int flags, int socktype, uint16_t& port) {
  port = 0;
  if (service == nullptr) return 0;
  const char* end = nullptr;
  uint32_t number = 0;
  if (parseDecimal(service, 0xFFFFFFFFu, end, number) && *end == '\0') {
    if (number > 0xFFFF) return EAI_SERVICE;
    port = static_cast<uint16_t>(number);
    return 0;
  }
  if ((flags & AI_NUMERICSERV) != 0) return EAI_NONAME;
  return om::kernel::servicePort(service, socktype == SOCK_DGRAM, port) ? 0 : EAI_SERVICE;
}

// The addresses (network order) a node names, and its canonical name.
int nodeAddresses(const char* node, int flags, std::vector<uint32_t>& addresses, std::string& canonical) {
  if (node == nullptr) {
    addresses.push_back(htonl((flags & AI_PASSIVE) != 0 ? INADDR_ANY : INADDR_LOOPBACK));
    return 0;
  }
  ULONG numeric = 0;
  if (numericAddress(node, numeric)) {
    addresses.push_back(numeric);
    canonical = node;
    return 0;
  }
  if ((flags & AI_NUMERICHOST) != 0) return EAI_NONAME;
  om::kernel::Ipv4Host host;
  const int rc = om::kernel::lookupIpv4Host(node, host);
  if (rc != 0) return rc;
  addresses = std::move(host.addresses);
  canonical = std::move(host.name);
  return 0;
}

// Copies `text` into a caller's buffer of `length` bytes.
int copyOut(const std::string& text, PCHAR buffer, DWORD length) {
  if (text.size() >= length) return WSAEFAULT;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return 0;
}

}  // namespace

int ipv4Resolve(PCSTR node, PCSTR service, const ADDRINFOA* hints, std::vector<om::kernel::Entry>& entries) {
  const ADDRINFOA none{};
  const ADDRINFOA& h = hints != nullptr ? *hints : none;
  if ((h.ai_flags & ~kKnownFlags) != 0) return EAI_BADFLAGS;
  if ((h.ai_flags & AI_CANONNAME) != 0 && node == nullptr) return EAI_BADFLAGS;
  if (h.ai_family != AF_UNSPEC && h.ai_family != AF_INET) return EAI_FAMILY;
  if (h.ai_socktype != 0 && h.ai_socktype != SOCK_STREAM && h.ai_socktype != SOCK_DGRAM &&
      h.ai_socktype != SOCK_RAW) {
    return EAI_SOCKTYPE;
  }
  uint16_t port = 0;
  int rc = servicePort(service, h.ai_flags, h.ai_socktype, port);
  if (rc != 0) return rc;
  std::vector<uint32_t> addresses;
  std::string canonical;
  rc = nodeAddresses(node, h.ai_flags, addresses, canonical);
  if (rc != 0) return rc;
  for (uint32_t address : addresses) {
    om::kernel::Entry e;
    e.flags = h.ai_flags;
    e.family = AF_INET;
    e.socktype = h.ai_socktype;
    e.protocol = h.ai_protocol;
    e.hasCanonicalName = entries.empty() && (h.ai_flags & AI_CANONNAME) != 0;
    if (e.hasCanonicalName) e.canonicalName = canonical;
    SOCKADDR_IN in{};
    in.sin_family = AF_INET;
    in.sin_port = htons(port);
    in.sin_addr.s_addr = address;
    const auto* bytes = reinterpret_cast<const uint8_t*>(&in);
    e.address.assign(bytes, bytes + sizeof in);
    entries.push_back(std::move(e));
  }
  return 0;
}

int ipv4NameInfo(const SOCKADDR_IN& address, PCHAR host, DWORD hostLength, PCHAR service, DWORD serviceLength,
                 INT flags) {
  if (service != nullptr) {
    const uint16_t port = ntohs(address.sin_port);
    std::string name;
    if ((flags & NI_NUMERICSERV) != 0 || !om::kernel::serviceName(port, (flags & NI_DGRAM) != 0, name)) {
      // Room for the longest port number.
      char number[] = "65535";
      std::snprintf(number, sizeof number, "%u", port);
      name = number;
    }
    const int rc = copyOut(name, service, serviceLength);
    if (rc != 0) return rc;
  }
  if (host != nullptr) {
    std::string name;
    if ((flags & NI_NUMERICHOST) == 0) {
      if (om::kernel::lookupIpv4Name(address.sin_addr.s_addr, name) != 0) {
        if ((flags & NI_NAMEREQD) != 0) return EAI_NONAME;
        name.clear();
      } else if ((flags & NI_NOFQDN) != 0) {
        name = name.substr(0, name.find('.'));
      }
    }
    if (name.empty()) name = formatIpv4(address.sin_addr.s_addr);
    const int rc = copyOut(name, host, hostLength);
    if (rc != 0) return rc;
  }
  return 0;
}

}  // namespace om::winsock
