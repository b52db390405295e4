// Hardware and IPv4 address values: mac_address and ip_address.
#ifndef OMLIB_CORE_ADDR_H_
#define OMLIB_CORE_ADDR_H_

#include <cstdint>

#include <omtools/Persistable.h>
#include <omtools/tstring.h>

// A six-octet hardware address, first transmitted octet first; all zero is
// empty. Text forms: "0A:1B:2C:3D:4E:5F" (format1), "0A1B2C3D4E5F"
// (format2) and "0A1B2C 3D4E5F" (format3, the default).
//
// Stored form (class id 113): the six octets in order, one byte each.
//
// The ordering operators are the reverse of compare(): a < b holds when a's
// twelve-digit text sorts after b's. Callers rely on this.
class mac_address : public Persistable {
 public:
  static const uint32_t kClassId = 113;

  mac_address();
  mac_address(const mac_address& other);
  mac_address(const char* text);
  mac_address(const tstring& text);
  // Copies the six bytes only when `length` is 6; otherwise all zero.
  mac_address(const char* bytes, int length);
  ~mac_address() override = default;

  mac_address& operator=(const mac_address& other);
  void copyIn(const mac_address& other);

  // Copies six bytes when `length` is 6; otherwise false and no change.
  bool set(const char* bytes, int length);

  // Parses the colon, plain or blank form; an all-zero result counts as a
  // failure. On failure the address is all zero.
  bool unformat(const tstring& text);

  tstring format() const { return format3(); }
  tstring format1() const;
  tstring format2() const;
  tstring format3() const;
  operator tstring() const { return format3(); }

  void clear();
  bool empty() const;
  bool operator()() const { return !empty(); }

  // True exactly when the first octet is 0x01 (not the group bit).
  bool isMulticast() const;
  // True when every octet is at least 0x0F.
  bool isBroadcast() const;

  // strcmp of the format2() texts.
  int compare(const mac_address& other) const;
  bool operator==(const mac_address& other) const { return compare(other) == 0; }
  bool operator<(const mac_address& other) const { return compare(other) > 0; }
  bool operator>(const mac_address& other) const { return compare(other) < 0; }

  uint32_t getClassId() const override { return kClassId; }
  void saveContents(vostream& out) const override;
  void restoreContents(vistream& in) override;

 private:
  uint8_t octets_[6];
};

vostream& operator<<(vostream& out, const mac_address& address);
vostream& operator<<(vostream& out, const mac_address* address);
// Restores into a new object (owned by the caller); null on failure.
vistream& operator>>(vistream& in, mac_address*& address);
vistream& operator>>(vistream& in, mac_address& address);

// An IPv4 address in network byte order, exactly as inet_addr returns it
// (first octet in the lowest-addressed byte); 0xFFFFFFFF is empty, which is
// also the limited broadcast address.
//
// Stored form (class id 114): the raw value as one unsigned 32-bit value.
//
// The ordering operators are the reverse of compare() (this raw minus the
// other's, read as signed), and since raw is network order read as a
// little-endian number, the order runs on the last octet first. Callers rely
// on both.
class ip_address : public Persistable {
 public:
  static const uint32_t kClassId = 114;
  static const uint32_t kEmpty = 0xFFFFFFFF;

  // getAddressClass(): the class letter's character code.
  enum tagADDRESSCLASS { CLASS_A = 'a', CLASS_B = 'b', CLASS_C = 'c', CLASS_D = 'd', CLASS_E = 'e' };

  ip_address();
  ip_address(const ip_address& other);
  // Network byte order; empty when the socket library cannot print it.
  ip_address(unsigned long raw);
  ip_address(const char* text);
  ip_address(const tstring& text);
  ~ip_address() override = default;

  ip_address& operator=(const ip_address& other);
  ip_address& operator=(unsigned long raw);
  ip_address& operator=(const tstring& text);

  // Texts of 7 to 15 characters go through inet_addr; any other length
  // empties the address.
  void unformat(const tstring& text);
  // Dotted decimal; empty text when the socket library cannot print it.
  tstring format() const;
  operator tstring() const { return format(); }

  unsigned long getRaw() const { return raw_; }
  unsigned long c_raw() const { return raw_; }
  void setRaw(unsigned long raw) { raw_ = static_cast<uint32_t>(raw); }

  void clear() { raw_ = kEmpty; }
  bool empty() const { return raw_ == kEmpty; }
  bool operator()() const { return !empty(); }

  int compare(const ip_address& other) const;
  bool operator==(const ip_address& other) const { return raw_ == other.raw_; }
  bool operator!=(const ip_address& other) const { return raw_ != other.raw_; }
  bool operator==(unsigned long raw) const { return raw_ == static_cast<uint32_t>(raw); }
  bool operator<(const ip_address& other) const { return compare(other) > 0; }
  bool operator>(const ip_address& other) const { return compare(other) < 0; }

  // raw OR / AND `operand` (network order), made by the raw constructor.
  ip_address operator|(unsigned long operand) const;
  ip_address operator&(unsigned long operand) const;
  // raw AND the mask's raw.
  unsigned long c_nid(const ip_address& mask) const;

  // By the top four bits of the first octet.
  tagADDRESSCLASS getAddressClass() const;
  // The class's default mask, in network byte order.
  unsigned long getDefaultAddressMask() const;

  bool isMask() const;
  bool isAny() const { return raw_ == 0; }
  bool isLoopback() const;
  bool isLimitedBroadcast() const { return raw_ == kEmpty; }
  // These use `mask` when it is a non-empty mask, else the class default.
  bool isNetworkAddress(const ip_address& mask) const;
  bool isDirectedBroadcast(const ip_address& mask) const;
  bool isHostAddress(const ip_address& mask) const;

  uint32_t getClassId() const override { return kClassId; }
  void saveContents(vostream& out) const override;
  void restoreContents(vistream& in) override;

 private:
  uint32_t effectiveMask(const ip_address& mask) const;

  uint32_t raw_;
};

vostream& operator<<(vostream& out, const ip_address& address);
vostream& operator<<(vostream& out, const ip_address* address);
// Restores into a new object (owned by the caller); null on failure.
vistream& operator>>(vistream& in, ip_address*& address);
vistream& operator>>(vistream& in, ip_address& address);

#endif  // OMLIB_CORE_ADDR_H_
