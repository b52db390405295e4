#include "core/addr6.h"

#include <cstring>

#include "core/PersistStream.h"

ip6addr_t::ip6addr_t() { clear(); }

ip6addr_t::ip6addr_t(const in6_addr& address) { copyIn(address); }

ip6addr_t::ip6addr_t(const sockaddr_in6& address) { copyIn(address); }

ip6addr_t::ip6addr_t(const ip6addr_t& other) : Persistable(other) { copyIn(other); }

ip6addr_t& ip6addr_t::operator=(const in6_addr& address) {
  copyIn(address);
  return *this;
}

ip6addr_t& ip6addr_t::operator=(const sockaddr_in6& address) {
  copyIn(address);
  return *this;
}

ip6addr_t& ip6addr_t::operator=(const ip6addr_t& other) {
  copyIn(other);
  return *this;
}

void ip6addr_t::copyIn(const in6_addr& address) { std::memcpy(&address_, &address, sizeof address_); }

void ip6addr_t::copyIn(const sockaddr_in6& address) { copyIn(address.sin6_addr); }

void ip6addr_t::copyIn(const ip6addr_t& other) { copyIn(other.address_); }

void ip6addr_t::clear() { std::memset(&address_, 0, sizeof address_); }

void ip6addr_t::setLoopback() {
  clear();
  address_.u.Byte[15] = 1;
}

int ip6addr_t::compare(const ip6addr_t& other) const {
  const int diff = std::memcmp(octets(), other.octets(), 16);
  return diff < 0 ? -1 : (diff > 0 ? 1 : 0);
}

bool ip6addr_t::empty() const {
  static const uint8_t kZero[16] = {};
  return std::memcmp(octets(), kZero, 16) == 0;
}

bool ip6addr_t::loopback() const {
  static const uint8_t kLoopback[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  return std::memcmp(octets(), kLoopback, 16) == 0;
}

bool ip6addr_t::multicast() const { return octets()[0] == 0xFF; }

bool ip6addr_t::linklocal() const { return octets()[0] == 0xFE && (octets()[1] & 0xC0) == 0x80; }

bool ip6addr_t::sitelocal() const { return octets()[0] == 0xFE && (octets()[1] & 0xC0) == 0xC0; }

bool ip6addr_t::v4mapped() const {
  static const uint8_t kPrefix[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
  return std::memcmp(octets(), kPrefix, 12) == 0;
}

bool ip6addr_t::v4compat() const {
  static const uint8_t kPrefix[12] = {};
  if (std::memcmp(octets(), kPrefix, 12) != 0) return false;
  const uint8_t* v4 = octets() + 12;
  return !(v4[0] == 0 && v4[1] == 0 && v4[2] == 0 && v4[3] <= 1);
}

bool ip6addr_t::isMulticastScope(int scope) const { return multicast() && (octets()[1] & 0x0F) == scope; }

bool ip6addr_t::mc_nodelocal() const { return isMulticastScope(1); }
bool ip6addr_t::mc_linklocal() const { return isMulticastScope(2); }
bool ip6addr_t::mc_sitelocal() const { return isMulticastScope(5); }
bool ip6addr_t::mc_orglocal() const { return isMulticastScope(8); }
bool ip6addr_t::mc_global() const { return isMulticastScope(14); }

bool ip6addr_t::global() const { return (octets()[1] & 0x0F) == 14; }

tstring ip6addr_t::ntots() const {
  enum class Run { kNone, kOpen, kClosed };
  Run run = Run::kNone;
  tstring text;
  for (int i = 0; i < 8; ++i) {
    const unsigned group = static_cast<unsigned>(octets()[2 * i] << 8 | octets()[2 * i + 1]);
    if (group != 0 || run == Run::kClosed) {
      text += tstring().format(i > 0 ? ":%x" : "%x", group);
      if (run == Run::kOpen) run = Run::kClosed;
    } else if (run == Run::kNone) {
      text += ":";
      run = Run::kOpen;
    } else if (i == 7) {
      text += ":";
    }
  }
  return text;
}

void ip6addr_t::saveContents(vostream& out) const {
  for (int i = 0; i < 16; ++i) out << octets()[i];
}

void ip6addr_t::restoreContents(vistream& in) {
  for (uint8_t& o : address_.u.Byte) in >> o;
}

vostream& operator<<(vostream& out, const ip6addr_t& address) { return om::saveObject(out, &address); }
vostream& operator<<(vostream& out, const ip6addr_t* address) { return om::saveObject(out, address); }
vistream& operator>>(vistream& in, ip6addr_t*& address) { return om::restoreNewObject(in, address); }
vistream& operator>>(vistream& in, ip6addr_t& address) { return om::restoreObject(in, address); }
