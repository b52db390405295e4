#include "core/sain6.h"

#include <cstring>
#include <string>

#include "core/PersistStream.h"
#include "core/addr6.h"

namespace {

// WSAStringToAddressA of family 23 into `address`; false when it fails.
bool parseAddress(const tstring& text, sockaddr_in6& address) {
  std::string copy = text;  // the call takes a non-const string
  INT length = sizeof address;
  return WSAStringToAddressA(copy.data(), AF_INET6, nullptr, reinterpret_cast<LPSOCKADDR>(&address), &length) == 0;
}

}  // namespace

sockaddr_in6_t::sockaddr_in6_t() { clear(); }

sockaddr_in6_t::sockaddr_in6_t(const in6_addr& address) { copyIn(address); }

sockaddr_in6_t::sockaddr_in6_t(const sockaddr_in6& address) { copyIn(address); }

sockaddr_in6_t::sockaddr_in6_t(const tstring& text) { copyIn(text); }

sockaddr_in6_t::sockaddr_in6_t(const sockaddr_in6_t& other) : Persistable(other) { copyIn(other); }

sockaddr_in6_t& sockaddr_in6_t::operator=(const sockaddr_in6_t& other) {
  copyIn(other);
  return *this;
}

void sockaddr_in6_t::copyIn(const in6_addr& address) {
  clear();
  address_.sin6_family = AF_INET6;
  address_.sin6_addr = address;
}

void sockaddr_in6_t::copyIn(const sockaddr_in6& address) { std::memcpy(&address_, &address, sizeof address_); }

void sockaddr_in6_t::copyIn(const sockaddr_in6_t& other) { copyIn(other.address_); }

void sockaddr_in6_t::copyIn(const tstring& text) {
  clear();
  if (text.empty()) return;
  address_.sin6_family = AF_INET6;
  if (!parseAddress(text, address_)) clear();
}

void sockaddr_in6_t::clear() { std::memset(&address_, 0, sizeof address_); }

bool sockaddr_in6_t::empty() const {
  static const sockaddr_in6 kZero{};
  return std::memcmp(&address_, &kZero, sizeof address_) == 0;
}

tstring sockaddr_in6_t::format() const {
  char text[256] = {};
  DWORD length = sizeof text;
  sockaddr_in6 copy = address_;  // the call takes a non-const address
  if (WSAAddressToStringA(reinterpret_cast<LPSOCKADDR>(&copy), sizeof copy, nullptr, text, &length) == 0) {
    return text;
  }
  tstring fallback = ip6addr_t(address_).ntots();
  if (address_.sin6_scope_id != 0) fallback += tstring().format("%%%d", static_cast<int>(address_.sin6_scope_id));
  return fallback;
}

int sockaddr_in6_t::compare(const sockaddr_in6_t& other) const {
  const int diff = std::memcmp(&address_, &other.address_, sizeof address_);
  return diff < 0 ? -1 : (diff > 0 ? 1 : 0);
}

void sockaddr_in6_t::saveContents(vostream& out) const {
  out << static_cast<uint16_t>(address_.sin6_family) << static_cast<uint16_t>(address_.sin6_port)
      << static_cast<uint32_t>(address_.sin6_flowinfo);
  for (uint8_t o : address_.sin6_addr.u.Byte) out << o;
  out << static_cast<uint32_t>(address_.sin6_scope_id);
}

void sockaddr_in6_t::restoreContents(vistream& in) {
  uint16_t family = 0;
  uint16_t port = 0;
  uint32_t flowinfo = 0;
  uint32_t scope = 0;
  in >> family >> port >> flowinfo;
  for (uint8_t& o : address_.sin6_addr.u.Byte) in >> o;
  in >> scope;
  address_.sin6_family = family;
  address_.sin6_port = port;
  address_.sin6_flowinfo = flowinfo;
  address_.sin6_scope_id = scope;
}

vostream& operator<<(vostream& out, const sockaddr_in6_t& address) { return om::saveObject(out, &address); }
vostream& operator<<(vostream& out, const sockaddr_in6_t* address) { return om::saveObject(out, address); }
vistream& operator>>(vistream& in, sockaddr_in6_t*& address) { return om::restoreNewObject(in, address); }
vistream& operator>>(vistream& in, sockaddr_in6_t& address) { return om::restoreObject(in, address); }

// ---- addrinfo_t ------------------------------------------------------------------------------

addrinfo_t::addrinfo_t(const char* node, int family, const char* service, int socktype, int protocol) {
  resolve(node, family, service, socktype, protocol);
}

addrinfo_t::~addrinfo_t() { free(); }

int addrinfo_t::resolve(const char* node, int family, const char* service, int socktype, int protocol) {
  free();
  addrinfo hints{};
  hints.ai_flags = node == nullptr ? AI_PASSIVE : 0;
  hints.ai_family = family;
  hints.ai_socktype = socktype;
  hints.ai_protocol = protocol;
  addrinfo* list = nullptr;
  if (getaddrinfo(node, service, &hints, &list) != 0) {
    if (list != nullptr) freeaddrinfo(list);
    return 0;
  }
  list_ = list;
  return 1;
}

void addrinfo_t::free() {
  if (list_ != nullptr) freeaddrinfo(list_);
  list_ = nullptr;
}

addrinfo_t::operator struct sockaddr*() const { return list_ != nullptr ? list_->ai_addr : nullptr; }

addrinfo_t::operator sockaddr_in6*() const { return reinterpret_cast<sockaddr_in6*>(static_cast<struct sockaddr*>(*this)); }

bool isIpv6Supported() {
  sockaddr_in6 address{};
  return parseAddress("fe80::1", address);
}
