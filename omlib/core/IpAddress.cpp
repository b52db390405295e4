#include "core/IpAddress.h"

#include <afxcmn.h>

namespace {

// One piece of dotted decimal: 1 to 3 digits, at most 255.
bool parseOctet(const tstring& piece, uint32_t& octet) {
  if (piece.empty() || piece.size() > 3) return false;
  octet = 0;
  for (char c : piece) {
    if (c < '0' || c > '9') return false;
    octet = octet * 10 + static_cast<uint32_t>(c - '0');
  }
  return octet <= 255;
}

}  // namespace

CIpAddress::CIpAddress() : address_(0), mask_(0), valid_(false) {}

CIpAddress::CIpAddress(const CIpAddress& other) = default;

CIpAddress::CIpAddress(unsigned long address, unsigned long mask)
    : address_(static_cast<uint32_t>(address)), mask_(static_cast<uint32_t>(mask)), valid_(false) {}

CIpAddress::CIpAddress(const tstring& address, const tstring& mask) { init(address, mask); }

CIpAddress::CIpAddress(const char* address, const char* mask) {
  init(address != nullptr ? address : "", mask != nullptr ? mask : "");
}

CIpAddress::CIpAddress(const CIPAddressCtrl& control) : valid_(true) {
  CIPAddressCtrl reader = control;  // the control answers messages through a non-const call
  DWORD packed = 0;
  reader.SendMessage(IPM_GETADDRESS, 0, reinterpret_cast<LPARAM>(&packed));
  address_ = packed;
  mask_ = static_cast<uint32_t>(s2dword(getDefaultMask()));
}

void CIpAddress::init(const tstring& address, const tstring& mask) {
  unsigned long parsed = 0;
  const bool addressParsed = s2dword(address, parsed);
  address_ = static_cast<uint32_t>(parsed);
  const tstring maskText = mask.empty() ? getDefaultMask() : mask;
  const bool maskParsed = s2dword(maskText, parsed);
  mask_ = static_cast<uint32_t>(parsed);
  if (address_ == 0 && !addressParsed) {
    valid_ = false;
  } else {
    valid_ = mask_ != 0 || maskParsed;
  }
}

void CIpAddress::setAddress(const tstring& address) { address_ = static_cast<uint32_t>(s2dword(address)); }

void CIpAddress::setMask(const tstring& mask) {
  unsigned long parsed = 0;
  const bool maskParsed = s2dword(mask, parsed);
  mask_ = static_cast<uint32_t>(parsed);
  valid_ = mask_ != 0 || maskParsed;
}

unsigned long CIpAddress::getAddress(tstring& text) const {
  text = dword2s(address_);
  return address_;
}

unsigned long CIpAddress::getMask(tstring& text) const {
  text = dword2s(mask_);
  return mask_;
}

unsigned long CIpAddress::getNetId(tstring& text) const {
  text = dword2s(netId());
  return netId();
}

unsigned long CIpAddress::getHostId(tstring& text) const {
  text = dword2s(hostId());
  return hostId();
}

tstring CIpAddress::getDefaultMask() const {
  switch (getClass()) {
    case IPCLASS_A: return "255.0.0.0";
    case IPCLASS_B: return "255.255.0.0";
    case IPCLASS_C: return "255.255.255.0";
    default: return "255.255.255.255";
  }
}

CIpAddress::IpAddressClass CIpAddress::getClass() const {
  if (address_ < 0x80000000u) return IPCLASS_A;
  if (address_ < 0xC0000000u) return IPCLASS_B;
  if ((address_ >> 29) == 0x6) return IPCLASS_C;
  if ((address_ >> 28) == 0xE) return IPCLASS_D;
  return IPCLASS_E;
}

tstring CIpAddress::getBroadcastAddress(bool directed) const {
  return dword2s(directed ? (netId() | ~mask_) : netId());
}

int CIpAddress::getNumOfHost() const { return static_cast<int32_t>(~mask_ - 2u); }

bool CIpAddress::isPrivateAddress() const {
  return (address_ & 0xFF000000u) == 0x0A000000u || (address_ & 0xFFF00000u) == 0xAC100000u ||
         (address_ & 0xFFFF0000u) == 0xC0A80000u;
}

bool CIpAddress::isMulticastAddress() const { return (address_ >> 28) == 0xE; }

bool CIpAddress::isLoopbackAddress() const { return getNetId() == "127.0.0.0"; }

bool CIpAddress::isBroadcastAddress() const { return hostId() == 0 || hostId() == ~mask_; }

bool CIpAddress::isValid() const { return valid_ && !isBroadcastAddress(); }

bool CIpAddress::isValidNetId() const {
  if (!valid_) return false;
  const int32_t n = static_cast<int32_t>(netId());
  return n < -1 || (n >= 1 && n != 127);
}

int CIpAddress::compare(const CIpAddress& other) const { return static_cast<int32_t>(address_ - other.address_); }

bool CIpAddress::canCommunicate(const CIpAddress& other) const { return getNetId() == other.getNetId(); }

bool CIpAddress::isSameSubnet(const char* address) const {
  return canCommunicate(CIpAddress(tstring(address != nullptr ? address : ""), getMask()));
}

tstring CIpAddress::dword2s(unsigned long address) {
  const uint32_t a = static_cast<uint32_t>(address);
  return tstring().format("%u.%u.%u.%u", a >> 24, (a >> 16) & 0xFF, (a >> 8) & 0xFF, a & 0xFF);
}

bool CIpAddress::s2dword(const tstring& text, unsigned long& address) {
  address = 0;
  const tstring terminated = text + ".";
  uint32_t value = 0;
  size_t pos = 0;
  for (int i = 0; i < 4; ++i) {
    const size_t dot = terminated.find('.', pos);
    if (dot == tstring::npos) return false;
    uint32_t octet = 0;
    if (!parseOctet(terminated.substr(pos, dot - pos), octet)) return false;
    value = value << 8 | octet;
    pos = dot + 1;
  }
  address = value;
  return true;
}

unsigned long CIpAddress::s2dword(const tstring& text) {
  unsigned long address = 0;
  s2dword(text, address);
  return address;
}

bool CIpAddress::isValid(const tstring& text) {
  unsigned long address = 0;
  return s2dword(text, address);
}
