// getaddrinfo, getnameinfo and freeaddrinfo over the resolver chosen at run
// time.
#include "Resolver.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "Internal.h"

namespace om::winsock {
namespace {

void freeList(PADDRINFOA list) {
  while (list != nullptr) {
    PADDRINFOA next = list->ai_next;
    std::free(list);
    list = next;
  }
}

// One allocation per entry: the addrinfo, then its address, then its
// canonical name.
PADDRINFOA newNode(const om::kernel::Entry& e) {
  const size_t nameSize = e.hasCanonicalName ? e.canonicalName.size() + 1 : 0;
  auto* block = static_cast<unsigned char*>(std::calloc(1, sizeof(ADDRINFOA) + e.address.size() + nameSize));
  if (block == nullptr) return nullptr;
  auto* node = new (block) ADDRINFOA{};
  node->ai_flags = e.flags;
  node->ai_family = e.family;
  node->ai_socktype = e.socktype;
  node->ai_protocol = e.protocol;
  node->ai_addrlen = e.address.size();
  unsigned char* address = block + sizeof(ADDRINFOA);
  std::memcpy(address, e.address.data(), e.address.size());
  node->ai_addr = reinterpret_cast<SOCKADDR*>(address);
  if (e.hasCanonicalName) {
    node->ai_canonname = reinterpret_cast<char*>(address + e.address.size());
    std::memcpy(node->ai_canonname, e.canonicalName.c_str(), nameSize);
  }
  return node;
}

// 0 and the list, or an error and no list.
int buildList(const std::vector<om::kernel::Entry>& entries, PADDRINFOA* result) {
  if (entries.empty()) return EAI_NONAME;
  PADDRINFOA* tail = result;
  for (const om::kernel::Entry& e : entries) {
    *tail = newNode(e);
    if (*tail == nullptr) {
      freeList(*result);
      *result = nullptr;
      return EAI_MEMORY;
    }
    tail = &(*tail)->ai_next;
  }
  return 0;
}

// The address length a family needs; 0 for a family that is not supported.
size_t familyLength(ADDRESS_FAMILY family) {
  switch (family) {
    case AF_INET: return sizeof(SOCKADDR_IN);
    case AF_INET6: return sizeof(SOCKADDR_IN6);
    default: return 0;
  }
}

}  // namespace

const Resolver& Resolver::process() {
  static const Resolver resolver(om::kernel::findResolver(om::kernel::cLibraryName()));
  return resolver;
}

int Resolver::getaddrinfo(PCSTR node, PCSTR service, const ADDRINFOA* hints, PADDRINFOA* result) const {
  if (result == nullptr) return EAI_FAIL;
  *result = nullptr;
  // As on Windows, hints carry only flags, family, socket type and protocol.
  if (hints != nullptr &&
      (hints->ai_addrlen != 0 || hints->ai_canonname != nullptr || hints->ai_addr != nullptr ||
       hints->ai_next != nullptr)) {
    return EAI_FAIL;
  }
  if (node == nullptr && service == nullptr) return EAI_NONAME;
  std::vector<om::kernel::Entry> entries;
  int rc = 0;
  if (native()) {
    om::kernel::Hints nativeHints;
    if (hints != nullptr) {
      nativeHints.flags = hints->ai_flags;
      nativeHints.family = hints->ai_family;
      nativeHints.socktype = hints->ai_socktype;
      nativeHints.protocol = hints->ai_protocol;
    }
    rc = om::kernel::resolve(found_, node, service, hints != nullptr ? &nativeHints : nullptr, entries);
  } else {
    rc = ipv4Resolve(node, service, hints, entries);
  }
  return rc != 0 ? rc : buildList(entries, result);
}

int Resolver::getnameinfo(const SOCKADDR* address, socklen_t addressLength, PCHAR host, DWORD hostLength,
                          PCHAR service, DWORD serviceLength, INT flags) const {
  if (address == nullptr) return WSAEFAULT;
  if ((host != nullptr && hostLength == 0) || (service != nullptr && serviceLength == 0)) return EAI_BADFLAGS;
  if (host == nullptr && service == nullptr) return EAI_NONAME;
  const size_t needed = familyLength(address->sa_family);
  if (needed == 0) return EAI_FAMILY;
  if (addressLength < needed) return WSAEFAULT;
  if (native()) {
    return om::kernel::nameInfo(found_, address, addressLength, host, host != nullptr ? hostLength : 0, service,
                                service != nullptr ? serviceLength : 0, flags);
  }
  if (address->sa_family != AF_INET) return EAI_FAMILY;
  SOCKADDR_IN in;
  std::memcpy(&in, address, sizeof in);
  return ipv4NameInfo(in, host, hostLength, service, serviceLength, flags);
}

void Resolver::freeaddrinfo(PADDRINFOA list) const { freeList(list); }

}  // namespace om::winsock

int getaddrinfo(PCSTR node, PCSTR service, const ADDRINFOA* hints, PADDRINFOA* result) {
  if (result != nullptr) *result = nullptr;
  if (!om::winsock::requireStarted()) return WSANOTINITIALISED;
  const int rc = om::winsock::Resolver::process().getaddrinfo(node, service, hints, result);
  if (rc != 0) WSASetLastError(rc);
  return rc;
}

int getnameinfo(const SOCKADDR* address, socklen_t addressLength, PCHAR host, DWORD hostLength, PCHAR service,
                DWORD serviceLength, INT flags) {
  if (!om::winsock::requireStarted()) return WSANOTINITIALISED;
  const int rc =
      om::winsock::Resolver::process().getnameinfo(address, addressLength, host, hostLength, service, serviceLength, flags);
  if (rc != 0) WSASetLastError(rc);
  return rc;
}

void freeaddrinfo(PADDRINFOA list) { om::winsock::Resolver::process().freeaddrinfo(list); }
