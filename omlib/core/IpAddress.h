// CIpAddress: an IPv4 address with its subnet mask, for subnet arithmetic.
#ifndef OMLIB_CORE_IPADDRESS_H_
#define OMLIB_CORE_IPADDRESS_H_

#include <cstdint>

#include <omtools/tstring.h>

class CIPAddressCtrl;

// Address and mask in host byte order (first octet most significant) with a
// flag saying whether both were parsed. Texts are dotted decimal.
//
// Kept as they are on purpose: the network address counts as a broadcast
// address, getNumOfHost() is one less than the usual host count, and
// isValidNetId() compares the whole network id with 127.
class CIpAddress {
 public:
  enum IpAddressClass { IPCLASS_A = 0, IPCLASS_B = 1, IPCLASS_C = 2, IPCLASS_D = 3, IPCLASS_E = 4 };

  CIpAddress();
  CIpAddress(const CIpAddress& other);
  // Host byte order; not valid.
  CIpAddress(unsigned long address, unsigned long mask);
  // An empty mask text stands for the address's class default mask.
  CIpAddress(const tstring& address, const tstring& mask);
  CIpAddress(const char* address, const char* mask = "");
  // The control's address (valid) with its class default mask.
  CIpAddress(const CIPAddressCtrl& control);
  virtual ~CIpAddress() = default;

  CIpAddress& operator=(const CIpAddress& other) = default;

  // 0 when the text does not parse; the valid flag is left alone.
  void setAddress(const tstring& address);
  // Valid becomes whether the mask is non-zero or the text parses, whatever
  // the address holds.
  void setMask(const tstring& mask);

  tstring getAddress() const { return dword2s(address_); }
  unsigned long getAddress(tstring& text) const;
  tstring getMask() const { return dword2s(mask_); }
  unsigned long getMask(tstring& text) const;
  // address AND mask
  tstring getNetId() const { return dword2s(netId()); }
  unsigned long getNetId(tstring& text) const;
  // address AND NOT mask
  tstring getHostId() const { return dword2s(hostId()); }
  unsigned long getHostId(tstring& text) const;

  tstring getDefaultMask() const;
  IpAddressClass getClass() const;
  // directed: the network id OR NOT mask; otherwise the network id itself.
  tstring getBroadcastAddress(bool directed) const;
  // (NOT mask) - 2 in 32 bits: 253 for 255.255.255.0, -2 for a 32-bit mask.
  int getNumOfHost() const;

  bool isPrivateAddress() const;
  bool isMulticastAddress() const;
  // The network id's text is "127.0.0.0".
  bool isLoopbackAddress() const;
  // The host id is 0 or all ones.
  bool isBroadcastAddress() const;
  // Valid and not a broadcast address.
  bool isValid() const;
  bool isValidNetId() const;

  // This address minus the other's (32-bit wrap, signed).
  int compare(const CIpAddress& other) const;
  // The network ids (each with its own mask) print the same.
  bool canCommunicate(const CIpAddress& other) const;
  // `address` with this object's mask can communicate with this one.
  bool isSameSubnet(const char* address) const;

  // "a.b.c.d" of a host-order address.
  static tstring dword2s(unsigned long address);
  // Four pieces of 1-3 decimal digits, each at most 255, each followed by
  // "."; whatever follows the fourth piece is not examined. `address` is 0
  // on failure.
  static bool s2dword(const tstring& text, unsigned long& address);
  static unsigned long s2dword(const tstring& text);
  static bool isValid(const tstring& text);

 private:
  void init(const tstring& address, const tstring& mask);
  uint32_t netId() const { return address_ & mask_; }
  uint32_t hostId() const { return address_ & ~mask_; }

  uint32_t address_;
  uint32_t mask_;
  bool valid_;
};

#endif  // OMLIB_CORE_IPADDRESS_H_
