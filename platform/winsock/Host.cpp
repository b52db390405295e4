// gethostname and gethostbyname.
#include <cstring>
#include <vector>

#include "Internal.h"
#include "Kernel.h"

namespace om::winsock {
namespace {

// The hostent that gethostbyname hands out, one per thread, and the storage
// its pointers point into.
struct HostEntry {
  om::kernel::Ipv4Host host;
  std::vector<char*> aliases;
  std::vector<char*> addresses;
  hostent entry{};

  hostent* fill(om::kernel::Ipv4Host found) {
    host = std::move(found);
    aliases.clear();
    for (std::string& a : host.aliases) aliases.push_back(a.data());
    aliases.push_back(nullptr);
    addresses.clear();
    for (uint32_t& a : host.addresses) addresses.push_back(reinterpret_cast<char*>(&a));
    addresses.push_back(nullptr);
    entry.h_name = host.name.data();
    entry.h_aliases = aliases.data();
    entry.h_addrtype = AF_INET;
    entry.h_length = 4;
    entry.h_addr_list = addresses.data();
    return &entry;
  }
};

}  // namespace
}  // namespace om::winsock

// Parenthesised: the name is also a function-like macro in winsock2.h.
int(gethostname)(char* name, int length) {
  if (!om::winsock::requireStarted()) return SOCKET_ERROR;
  std::string text;
  const int rc = om::kernel::hostName(text);
  if (rc != 0) return om::winsock::fail(rc);
  if (name == nullptr || length <= 0 || text.size() >= static_cast<size_t>(length)) {
    return om::winsock::fail(WSAEFAULT);
  }
  std::memcpy(name, text.c_str(), text.size() + 1);
  return 0;
}

struct hostent* gethostbyname(const char* name) {
  if (!om::winsock::requireStarted()) return nullptr;
  std::string local;
  if (name == nullptr || *name == '\0') {
    const int rc = om::kernel::hostName(local);
    if (rc != 0) {
      WSASetLastError(rc);
      return nullptr;
    }
    name = local.c_str();
  }
  om::kernel::Ipv4Host host;
  const int rc = om::kernel::lookupIpv4Host(name, host);
  if (rc != 0) {
    WSASetLastError(rc);
    return nullptr;
  }
  thread_local om::winsock::HostEntry t_entry;
  return t_entry.fill(std::move(host));
}
