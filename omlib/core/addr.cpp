#include "core/addr.h"

#include <bit>
#include <cstring>

#include <omtools/StringTokenizer.h>
#include <winsock2.h>

#include "core/PersistStream.h"

namespace {

// ---- mac_address text ------------------------------------------------------------

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The octet of the two hexadecimal digits at `text`; false when either is
// not a hexadecimal digit.
bool hexPair(const char* text, uint8_t& octet) {
  const int high = hexDigit(text[0]);
  if (high < 0) return false;
  const int low = hexDigit(text[1]);
  if (low < 0) return false;
  octet = static_cast<uint8_t>(high * 16 + low);
  return true;
}

// "0A:1B:2C:3D:4E:5F": each token starts with the next octet's two digits.
bool parseColonForm(const tstring& text, uint8_t (&octets)[6]) {
  if (text.size() != 17) return false;
  StringTokenizer tokens(text, ":");
  for (int i = 0; tokens.hasMoreTokens(); ++i) {
    const tstring token = tokens.nextToken();
    if (i >= 6 || !hexPair(token.c_str(), octets[i])) return false;
  }
  return true;
}

// "0A1B2C3D4E5F".
bool parsePlainForm(const tstring& text, uint8_t (&octets)[6]) {
  if (text.size() != 12) return false;
  for (int i = 0; i < 6; ++i) {
    if (!hexPair(text.c_str() + 2 * i, octets[i])) return false;
  }
  return true;
}

// "0A1B2C 3D4E5F": tokens of six digits, three octets each.
bool parseBlankForm(const tstring& text, uint8_t (&octets)[6]) {
  if (text.size() != 13) return false;
  StringTokenizer tokens(text, " ");
  for (int i = 0; tokens.hasMoreTokens(); i += 3) {
    const tstring token = tokens.nextToken();
    if (i >= 6 || token.size() != 6) return false;
    for (int j = 0; j < 3; ++j) {
      if (!hexPair(token.c_str() + 2 * j, octets[i + j])) return false;
    }
  }
  return true;
}

bool allZero(const uint8_t (&octets)[6]) {
  for (uint8_t o : octets) {
    if (o != 0) return false;
  }
  return true;
}

// ---- ip_address bits -------------------------------------------------------------

// The address with its first octet in the most significant byte, so that bit
// counts run in network bit order.
uint32_t hostOrder(uint32_t raw) { return ntohl(raw); }

bool isMaskShaped(uint32_t raw) {
  const uint32_t h = hostOrder(raw);
  const int leadingOnes = std::countl_one(h);
  return leadingOnes + std::countr_zero(h) == 32 && leadingOnes >= 8;
}

struct AddressClass {
  ip_address::tagADDRESSCLASS letter;
  uint32_t mask;  // host order
};

// Indexed by the top four bits of the first octet.
const AddressClass kAddressClasses[16] = {
    {ip_address::CLASS_A, 0xFF000000}, {ip_address::CLASS_A, 0xFF000000}, {ip_address::CLASS_A, 0xFF000000},
    {ip_address::CLASS_A, 0xFF000000}, {ip_address::CLASS_A, 0xFF000000}, {ip_address::CLASS_A, 0xFF000000},
    {ip_address::CLASS_A, 0xFF000000}, {ip_address::CLASS_A, 0xFF000000}, {ip_address::CLASS_B, 0xFFFF0000},
    {ip_address::CLASS_B, 0xFFFF0000}, {ip_address::CLASS_B, 0xFFFF0000}, {ip_address::CLASS_B, 0xFFFF0000},
    {ip_address::CLASS_C, 0xFFFFFF00}, {ip_address::CLASS_C, 0xFFFFFF00}, {ip_address::CLASS_D, 0xFFFFFFFF},
    {ip_address::CLASS_E, 0xFFFFFFFF},
};

const AddressClass& addressClassOf(uint32_t raw) { return kAddressClasses[(raw & 0xFF) >> 4]; }

// The dotted text of a raw address; false when the socket library cannot
// print it.
bool printRaw(uint32_t raw, tstring& text) {
  in_addr address{};
  address.s_addr = raw;
  const char* printed = inet_ntoa(address);
  if (printed == nullptr) return false;
  text = printed;
  return true;
}

}  // namespace

// ---- mac_address ---------------------------------------------------------------------

mac_address::mac_address() { clear(); }

mac_address::mac_address(const mac_address& other) : Persistable(other) { copyIn(other); }

mac_address::mac_address(const char* text) {
  clear();
  if (text != nullptr) unformat(text);
}

mac_address::mac_address(const tstring& text) { unformat(text); }

mac_address::mac_address(const char* bytes, int length) {
  clear();
  set(bytes, length);
}

mac_address& mac_address::operator=(const mac_address& other) {
  copyIn(other);
  return *this;
}

void mac_address::copyIn(const mac_address& other) { std::memcpy(octets_, other.octets_, sizeof octets_); }

bool mac_address::set(const char* bytes, int length) {
  if (length != 6 || bytes == nullptr) return false;
  std::memcpy(octets_, bytes, sizeof octets_);
  return true;
}

bool mac_address::unformat(const tstring& text) {
  clear();
  using Form = bool (*)(const tstring&, uint8_t(&)[6]);
  for (Form form : {parseColonForm, parsePlainForm, parseBlankForm}) {
    uint8_t scratch[6] = {};
    if (form(text, scratch) && !allZero(scratch)) {
      std::memcpy(octets_, scratch, sizeof octets_);
      return true;
    }
  }
  return false;
}

tstring mac_address::format1() const {
  const uint8_t* o = octets_;
  return tstring().format("%02X:%02X:%02X:%02X:%02X:%02X", o[0], o[1], o[2], o[3], o[4], o[5]);
}

tstring mac_address::format2() const {
  const uint8_t* o = octets_;
  return tstring().format("%02X%02X%02X%02X%02X%02X", o[0], o[1], o[2], o[3], o[4], o[5]);
}

tstring mac_address::format3() const {
  const uint8_t* o = octets_;
  return tstring().format("%02X%02X%02X %02X%02X%02X", o[0], o[1], o[2], o[3], o[4], o[5]);
}

void mac_address::clear() { std::memset(octets_, 0, sizeof octets_); }

bool mac_address::empty() const { return allZero(octets_); }

bool mac_address::isMulticast() const { return octets_[0] == 0x01; }

bool mac_address::isBroadcast() const {
  for (uint8_t o : octets_) {
    if (o < 0x0F) return false;
  }
  return true;
}

int mac_address::compare(const mac_address& other) const { return format2().compare(other.format2()); }

void mac_address::saveContents(vostream& out) const {
  for (uint8_t o : octets_) out << o;
}

void mac_address::restoreContents(vistream& in) {
  for (uint8_t& o : octets_) in >> o;
}

vostream& operator<<(vostream& out, const mac_address& address) { return om::saveObject(out, &address); }
vostream& operator<<(vostream& out, const mac_address* address) { return om::saveObject(out, address); }
vistream& operator>>(vistream& in, mac_address*& address) { return om::restoreNewObject(in, address); }
vistream& operator>>(vistream& in, mac_address& address) { return om::restoreObject(in, address); }

// ---- ip_address -----------------------------------------------------------------------

ip_address::ip_address() : raw_(kEmpty) {}

ip_address::ip_address(const ip_address& other) : Persistable(other), raw_(other.raw_) {}

ip_address::ip_address(unsigned long raw) : raw_(static_cast<uint32_t>(raw)) {
  tstring text;
  if (!printRaw(raw_, text)) clear();
}

ip_address::ip_address(const char* text) : raw_(kEmpty) {
  if (text != nullptr) unformat(text);
}

ip_address::ip_address(const tstring& text) : raw_(kEmpty) { unformat(text); }

ip_address& ip_address::operator=(const ip_address& other) {
  raw_ = other.raw_;
  return *this;
}

ip_address& ip_address::operator=(unsigned long raw) {
  setRaw(raw);
  return *this;
}

ip_address& ip_address::operator=(const tstring& text) {
  unformat(text);
  return *this;
}

void ip_address::unformat(const tstring& text) {
  if (text.size() >= 7 && text.size() <= 15) {
    raw_ = inet_addr(text.c_str());
  } else {
    clear();
  }
}

tstring ip_address::format() const {
  tstring text;
  printRaw(raw_, text);
  return text;
}

int ip_address::compare(const ip_address& other) const { return static_cast<int32_t>(raw_ - other.raw_); }

ip_address ip_address::operator|(unsigned long operand) const {
  return ip_address(static_cast<unsigned long>(raw_ | static_cast<uint32_t>(operand)));
}

ip_address ip_address::operator&(unsigned long operand) const {
  return ip_address(static_cast<unsigned long>(raw_ & static_cast<uint32_t>(operand)));
}

unsigned long ip_address::c_nid(const ip_address& mask) const { return raw_ & mask.raw_; }

ip_address::tagADDRESSCLASS ip_address::getAddressClass() const { return addressClassOf(raw_).letter; }

unsigned long ip_address::getDefaultAddressMask() const { return htonl(addressClassOf(raw_).mask); }

bool ip_address::isMask() const { return !empty() && isMaskShaped(raw_); }

bool ip_address::isLoopback() const { return !empty() && (raw_ & 0xFF) == 127; }

uint32_t ip_address::effectiveMask(const ip_address& mask) const {
  return !mask.empty() && mask.isMask() ? mask.raw_ : static_cast<uint32_t>(getDefaultAddressMask());
}

bool ip_address::isNetworkAddress(const ip_address& mask) const {
  if (empty()) return false;
  const uint32_t m = effectiveMask(mask);
  return (raw_ & m) == raw_ && raw_ != m;
}

bool ip_address::isDirectedBroadcast(const ip_address& mask) const {
  if (empty()) return false;
  const uint32_t m = effectiveMask(mask);
  return ((raw_ & m) | ~m) == raw_;
}

bool ip_address::isHostAddress(const ip_address& mask) const {
  if (empty() || isMaskShaped(raw_) || raw_ == 0 || (raw_ & 0xFF) == 127) return false;
  return !isNetworkAddress(mask) && !isDirectedBroadcast(mask);
}

void ip_address::saveContents(vostream& out) const { out << raw_; }

void ip_address::restoreContents(vistream& in) { in >> raw_; }

vostream& operator<<(vostream& out, const ip_address& address) { return om::saveObject(out, &address); }
vostream& operator<<(vostream& out, const ip_address* address) { return om::saveObject(out, address); }
vistream& operator>>(vistream& in, ip_address*& address) { return om::restoreNewObject(in, address); }
vistream& operator>>(vistream& in, ip_address& address) { return om::restoreObject(in, address); }
