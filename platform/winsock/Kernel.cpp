// The C library side of the Winsock layer: error numbers, host and service
// lookups, IPv6 text and the resolver found at run time.
#include "Kernel.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <gnu/lib-names.h>
#include <link.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include <om/WinsockErrors.h>

namespace om::kernel {
namespace {

// ---- The error table -------------------------------------------------------------

enum class Source { kErrno, kEai, kHost };

struct ErrorMapping {
  Source source;
  int native;
  int wsa;
};

constexpr ErrorMapping kErrors[] = {
    {Source::kErrno, EINTR, WSAEINTR},
    {Source::kErrno, EBADF, WSAEBADF},
    {Source::kErrno, EACCES, WSAEACCES},
    {Source::kErrno, EPERM, WSAEACCES},
    {Source::kErrno, EFAULT, WSAEFAULT},
    {Source::kErrno, EINVAL, WSAEINVAL},
    {Source::kErrno, EMFILE, WSAEMFILE},
    {Source::kErrno, ENFILE, WSAEMFILE},
    {Source::kErrno, EWOULDBLOCK, WSAEWOULDBLOCK},
    {Source::kErrno, EAGAIN, WSAEWOULDBLOCK},
    {Source::kErrno, EINPROGRESS, WSAEINPROGRESS},
    {Source::kErrno, EALREADY, WSAEALREADY},
    {Source::kErrno, ENOTSOCK, WSAENOTSOCK},
    {Source::kErrno, EDESTADDRREQ, WSAEDESTADDRREQ},
    {Source::kErrno, EMSGSIZE, WSAEMSGSIZE},
    {Source::kErrno, EPROTOTYPE, WSAEPROTOTYPE},
    {Source::kErrno, ENOPROTOOPT, WSAENOPROTOOPT},
    {Source::kErrno, EPROTONOSUPPORT, WSAEPROTONOSUPPORT},
    {Source::kErrno, ESOCKTNOSUPPORT, WSAESOCKTNOSUPPORT},
    {Source::kErrno, EOPNOTSUPP, WSAEOPNOTSUPP},
    {Source::kErrno, EPFNOSUPPORT, WSAEPFNOSUPPORT},
    {Source::kErrno, EAFNOSUPPORT, WSAEAFNOSUPPORT},
    {Source::kErrno, EADDRINUSE, WSAEADDRINUSE},
    {Source::kErrno, EADDRNOTAVAIL, WSAEADDRNOTAVAIL},
    {Source::kErrno, ENETDOWN, WSAENETDOWN},
    {Source::kErrno, ENETUNREACH, WSAENETUNREACH},
    {Source::kErrno, ENETRESET, WSAENETRESET},
    {Source::kErrno, ECONNABORTED, WSAECONNABORTED},
    {Source::kErrno, ECONNRESET, WSAECONNRESET},
    {Source::kErrno, ENOBUFS, WSAENOBUFS},
    {Source::kErrno, EISCONN, WSAEISCONN},
    {Source::kErrno, ENOTCONN, WSAENOTCONN},
    {Source::kErrno, ESHUTDOWN, WSAESHUTDOWN},
    {Source::kErrno, ETOOMANYREFS, WSAETOOMANYREFS},
    {Source::kErrno, ETIMEDOUT, WSAETIMEDOUT},
    {Source::kErrno, ECONNREFUSED, WSAECONNREFUSED},
    {Source::kErrno, ELOOP, WSAELOOP},
    {Source::kErrno, ENAMETOOLONG, WSAENAMETOOLONG},
    {Source::kErrno, EHOSTDOWN, WSAEHOSTDOWN},
    {Source::kErrno, EHOSTUNREACH, WSAEHOSTUNREACH},
    {Source::kErrno, ENOTEMPTY, WSAENOTEMPTY},
    {Source::kErrno, EUSERS, WSAEUSERS},
    {Source::kErrno, EDQUOT, WSAEDQUOT},
    {Source::kErrno, ESTALE, WSAESTALE},
    {Source::kErrno, EREMOTE, WSAEREMOTE},
    {Source::kErrno, ENOMEM, WSA_NOT_ENOUGH_MEMORY},
    {Source::kErrno, ECANCELED, WSAECANCELLED},
    {Source::kEai, EAI_AGAIN, WSATRY_AGAIN},
    {Source::kEai, EAI_BADFLAGS, WSAEINVAL},
    {Source::kEai, EAI_FAIL, WSANO_RECOVERY},
    {Source::kEai, EAI_FAMILY, WSAEAFNOSUPPORT},
    {Source::kEai, EAI_MEMORY, WSA_NOT_ENOUGH_MEMORY},
    {Source::kEai, EAI_NONAME, WSAHOST_NOT_FOUND},
    {Source::kEai, EAI_NODATA, WSANO_DATA},
    {Source::kEai, EAI_ADDRFAMILY, WSANO_DATA},
    {Source::kEai, EAI_SERVICE, WSATYPE_NOT_FOUND},
    {Source::kEai, EAI_SOCKTYPE, WSAESOCKTNOSUPPORT},
    {Source::kEai, EAI_OVERFLOW, WSAEFAULT},
    {Source::kHost, HOST_NOT_FOUND, WSAHOST_NOT_FOUND},
    {Source::kHost, TRY_AGAIN, WSATRY_AGAIN},
    {Source::kHost, NO_RECOVERY, WSANO_RECOVERY},
    {Source::kHost, NO_DATA, WSANO_DATA},
};

int mapError(Source source, int native, int fallback) {
  for (const ErrorMapping& m : kErrors) {
    if (m.source == source && m.native == native) return m.wsa;
  }
  return fallback;
}

// ---- Windows numbering of families and flags ----------------------------------------

constexpr int kWindowsInet6 = 23;

struct FlagMapping {
  int windows;
  int native;
};

// AI_* of ws2tcpip.h and of the C library.
constexpr FlagMapping kAddrinfoFlags[] = {
    {0x0001, AI_PASSIVE},  {0x0002, AI_CANONNAME},  {0x0004, AI_NUMERICHOST}, {0x0008, AI_NUMERICSERV},
    {0x0100, AI_ALL},      {0x0400, AI_ADDRCONFIG}, {0x0800, AI_V4MAPPED},
};

// NI_* of ws2tcpip.h and of the C library.
constexpr FlagMapping kNameinfoFlags[] = {
    {0x01, NI_NOFQDN}, {0x02, NI_NUMERICHOST}, {0x04, NI_NAMEREQD}, {0x08, NI_NUMERICSERV}, {0x10, NI_DGRAM},
};

// Translates a flag set; false when it holds a bit the table does not know.
template <size_t N>
bool translateFlags(const FlagMapping (&table)[N], int flags, bool toNative, int& out) {
  out = 0;
  for (const FlagMapping& m : table) {
    const int from = toNative ? m.windows : m.native;
    if ((flags & from) != 0) {
      out |= toNative ? m.native : m.windows;
      flags &= ~from;
    }
  }
  return flags == 0;
}

bool nativeFamily(int windows, int& native) {
  switch (windows) {
    case 0: native = AF_UNSPEC; return true;
    case AF_INET: native = AF_INET; return true;
    case kWindowsInet6: native = AF_INET6; return true;
    default: return false;
  }
}

int windowsFamily(int native) { return native == AF_INET6 ? kWindowsInet6 : native; }

uint16_t familyOf(const void* address) {
  uint16_t family = 0;
  std::memcpy(&family, address, sizeof family);
  return family;
}

void setFamily(void* address, int family) {
  const uint16_t value = static_cast<uint16_t>(family);
  std::memcpy(address, &value, sizeof value);
}

int eaiError(int code) { return code == EAI_SYSTEM ? wsaFromErrno(errno, WSANO_RECOVERY) : wsaFromEai(code); }

// Calls a reentrant lookup (gethostbyname_r, getservbyport_r, ...) with a
// buffer that grows while the call asks for more room.
template <class Call>
int withGrowingBuffer(Call call) {
  std::vector<char> buffer(1024);
  for (;;) {
    const int rc = call(buffer.data(), buffer.size());
    if (rc != ERANGE || buffer.size() >= (1u << 20)) return rc;
    buffer.resize(buffer.size() * 2);
  }
}

// `name` when the library of `handle` defines it itself. dlsym alone would
// also find it in the libraries that this one depends on.
void* ownSymbol(void* handle, const char* name) {
  void* symbol = dlsym(handle, name);
  if (symbol == nullptr) return nullptr;
  link_map* library = nullptr;
  link_map* owner = nullptr;
  Dl_info info;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &library) != 0 ||
      dladdr1(symbol, &info, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) == 0 || owner != library) {
    return nullptr;
  }
  return symbol;
}

}  // namespace

int wsaFromErrno(int error, int fallback) { return mapError(Source::kErrno, error, fallback); }
int wsaFromEai(int code) { return mapError(Source::kEai, code, WSANO_RECOVERY); }
int wsaFromHostError(int code) { return mapError(Source::kHost, code, WSANO_RECOVERY); }

int hostName(std::string& name) {
  char buffer[HOST_NAME_MAX + 1] = {};
  if (::gethostname(buffer, sizeof buffer) != 0) return wsaFromErrno(errno, WSAEFAULT);
  name = buffer;
  return 0;
}

int lookupIpv4Host(const char* name, Ipv4Host& host) {
  int hostError = 0;
  int result = 0;
  withGrowingBuffer([&](char* buffer, size_t size) {
    hostent entry{};
    hostent* found = nullptr;
    const int rc = gethostbyname_r(name, &entry, buffer, size, &found, &hostError);
    if (rc == ERANGE) return rc;
    if (rc != 0 || found == nullptr) {
      result = rc != 0 && hostError == 0 ? wsaFromErrno(rc, WSANO_RECOVERY) : wsaFromHostError(hostError);
      return rc;
    }
    if (found->h_addrtype != AF_INET || found->h_length != 4) {
      result = WSANO_DATA;
      return rc;
    }
    host.name = found->h_name != nullptr ? found->h_name : name;
    host.aliases.clear();
    for (char** a = found->h_aliases; a != nullptr && *a != nullptr; ++a) host.aliases.emplace_back(*a);
    host.addresses.clear();
    for (char** a = found->h_addr_list; *a != nullptr; ++a) {
      uint32_t address = 0;
      std::memcpy(&address, *a, sizeof address);
      host.addresses.push_back(address);
    }
    if (host.addresses.empty()) result = WSANO_DATA;
    return rc;
  });
  return result;
}

int lookupIpv4Name(uint32_t address, std::string& name) {
  int hostError = 0;
  int result = 0;
  withGrowingBuffer([&](char* buffer, size_t size) {
    hostent entry{};
    hostent* found = nullptr;
    const int rc = gethostbyaddr_r(&address, sizeof address, AF_INET, &entry, buffer, size, &found, &hostError);
    if (rc == ERANGE) return rc;
    if (rc != 0 || found == nullptr || found->h_name == nullptr) {
      result = wsaFromHostError(hostError == 0 ? HOST_NOT_FOUND : hostError);
    } else {
      name = found->h_name;
    }
    return rc;
  });
  return result;
}

bool servicePort(const char* name, bool udp, uint16_t& port) {
  bool known = false;
  withGrowingBuffer([&](char* buffer, size_t size) {
    servent entry{};
    servent* found = nullptr;
    const int rc = getservbyname_r(name, udp ? "udp" : "tcp", &entry, buffer, size, &found);
    if (rc == 0 && found != nullptr) {
      port = ntohs(static_cast<uint16_t>(found->s_port));
      known = true;
    }
    return rc;
  });
  return known;
}

bool serviceName(uint16_t port, bool udp, std::string& name) {
  bool known = false;
  withGrowingBuffer([&](char* buffer, size_t size) {
    servent entry{};
    servent* found = nullptr;
    const int rc = getservbyport_r(htons(port), udp ? "udp" : "tcp", &entry, buffer, size, &found);
    if (rc == 0 && found != nullptr && found->s_name != nullptr) {
      name = found->s_name;
      known = true;
    }
    return rc;
  });
  return known;
}

bool parseIpv6(const char* text, uint8_t address[16]) { return inet_pton(AF_INET6, text, address) == 1; }

std::string formatIpv6(const uint8_t address[16]) {
  char text[INET6_ADDRSTRLEN] = {};
  return inet_ntop(AF_INET6, address, text, sizeof text) != nullptr ? text : "";
}

Resolver findResolver(const char* library) {
  Resolver found;
  // The handle stays open when the functions are found: they are used for the
  // life of the process.
  void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return found;
  void* getaddrinfoFn = ownSymbol(handle, "getaddrinfo");
  void* getnameinfoFn = ownSymbol(handle, "getnameinfo");
  void* freeaddrinfoFn = ownSymbol(handle, "freeaddrinfo");
  if (getaddrinfoFn == nullptr || getnameinfoFn == nullptr || freeaddrinfoFn == nullptr) {
    dlclose(handle);
    return found;
  }
  found.getaddrinfo = getaddrinfoFn;
  found.getnameinfo = getnameinfoFn;
  found.freeaddrinfo = freeaddrinfoFn;
  return found;
}

const char* cLibraryName() { return LIBC_SO; }

int resolve(const Resolver& resolver, const char* node, const char* service, const Hints* hints,
            std::vector<Entry>& entries) {
  using GetaddrinfoFn = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  using FreeaddrinfoFn = void (*)(addrinfo*);
  addrinfo nativeHints{};
  if (hints != nullptr) {
    if (!translateFlags(kAddrinfoFlags, hints->flags, true, nativeHints.ai_flags)) return WSAEINVAL;
    if (!nativeFamily(hints->family, nativeHints.ai_family)) return WSAEAFNOSUPPORT;
    nativeHints.ai_socktype = hints->socktype;
    nativeHints.ai_protocol = hints->protocol;
  }
  addrinfo* list = nullptr;
  const int rc = reinterpret_cast<GetaddrinfoFn>(resolver.getaddrinfo)(node, service,
                                                                      hints != nullptr ? &nativeHints : nullptr, &list);
  if (rc != 0) return eaiError(rc);
  // Without a socket type or protocol, Windows answers once per address with
  // both left 0, where the C library answers once per socket type.
  const bool anyType = hints == nullptr || (hints->socktype == 0 && hints->protocol == 0);
  for (const addrinfo* p = list; p != nullptr; p = p->ai_next) {
    if ((p->ai_family != AF_INET && p->ai_family != AF_INET6) || p->ai_addr == nullptr) continue;
    Entry e;
    translateFlags(kAddrinfoFlags, p->ai_flags, false, e.flags);
    e.family = windowsFamily(p->ai_family);
    e.socktype = anyType ? 0 : p->ai_socktype;
    e.protocol = anyType ? 0 : p->ai_protocol;
    if (p->ai_canonname != nullptr) {
      e.canonicalName = p->ai_canonname;
      e.hasCanonicalName = true;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(p->ai_addr);
    e.address.assign(bytes, bytes + p->ai_addrlen);
    setFamily(e.address.data(), e.family);
    const bool repeated = anyType && !entries.empty() && entries.back().address == e.address;
    if (!repeated) entries.push_back(std::move(e));
  }
  reinterpret_cast<FreeaddrinfoFn>(resolver.freeaddrinfo)(list);
  return 0;
}

int nameInfo(const Resolver& resolver, const void* address, size_t addressLength, char* host, size_t hostLength,
             char* service, size_t serviceLength, int flags) {
  using GetnameinfoFn = int (*)(const sockaddr*, socklen_t, char*, socklen_t, char*, socklen_t, int);
  int nativeFlags = 0;
  if (!translateFlags(kNameinfoFlags, flags, true, nativeFlags)) return WSAEINVAL;
  sockaddr_storage copy{};
  int family = 0;
  if (!nativeFamily(familyOf(address), family) || family == AF_UNSPEC) return WSAEAFNOSUPPORT;
  const size_t length = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
  if (addressLength < length) return WSAEFAULT;
  std::memcpy(&copy, address, length);
  setFamily(&copy, family);
  const int rc = reinterpret_cast<GetnameinfoFn>(resolver.getnameinfo)(
      reinterpret_cast<const sockaddr*>(&copy), static_cast<socklen_t>(length), host,
      static_cast<socklen_t>(hostLength), service, static_cast<socklen_t>(serviceLength), nativeFlags);
  return rc == 0 ? 0 : eaiError(rc);
}

}  // namespace om::kernel
