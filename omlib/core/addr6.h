// ip6addr_t: an IPv6 address value with classification tests and its own
// text form.
#ifndef OMLIB_CORE_ADDR6_H_
#define OMLIB_CORE_ADDR6_H_

#include <cstdint>

#include <omtools/Persistable.h>
#include <omtools/tstring.h>
#include <ws2tcpip.h>

// Sixteen octets in network byte order; all zero is empty (unspecified).
//
// Stored form (class id 1128): the sixteen octets in order, one byte each,
// with nothing before them.
class ip6addr_t : public Persistable {
 public:
  static const uint32_t kClassId = 1128;

  ip6addr_t();
  ip6addr_t(const in6_addr& address);
  // The address part of `address`.
  ip6addr_t(const sockaddr_in6& address);
  ip6addr_t(const ip6addr_t& other);
  ~ip6addr_t() override = default;

  ip6addr_t& operator=(const in6_addr& address);
  ip6addr_t& operator=(const sockaddr_in6& address);
  ip6addr_t& operator=(const ip6addr_t& other);
  void copyIn(const in6_addr& address);
  void copyIn(const sockaddr_in6& address);
  void copyIn(const ip6addr_t& other);

  operator in6_addr*() { return &address_; }

  void clear();
  // ::1
  void setLoopback();

  // Byte-wise comparison: -1, 0 or 1.
  int compare(const ip6addr_t& other) const;
  bool equal(const ip6addr_t& other) const { return compare(other) == 0; }
  bool operator==(const ip6addr_t& other) const { return equal(other); }

  bool empty() const;
  bool unspecified() const { return empty(); }
  bool any() const { return empty(); }
  bool loopback() const;
  bool multicast() const;
  bool linklocal() const;
  bool sitelocal() const;
  bool v4mapped() const;
  // ::a.b.c.d with a.b.c.d neither 0.0.0.0 nor 0.0.0.1 (those are :: and ::1).
  bool v4compat() const;
  bool mc_nodelocal() const;
  bool mc_linklocal() const;
  bool mc_sitelocal() const;
  bool mc_orglocal() const;
  bool mc_global() const;
  // Only the scope test (low four bits of octet 1 are 14), whatever octet 0
  // holds, so a unicast address whose second octet ends in 0xE counts too.
  bool global() const;

  // The eight groups in lower-case hexadecimal; only the first run of zero
  // groups is compressed, however short, and later zero groups print as 0.
  tstring ntots() const;
  tstring toString() const { return ntots(); }

  uint32_t getClassId() const override { return kClassId; }
  void saveContents(vostream& out) const override;
  void restoreContents(vistream& in) override;

 private:
  const uint8_t* octets() const { return address_.u.Byte; }
  bool isMulticastScope(int scope) const;

  in6_addr address_;
};

vostream& operator<<(vostream& out, const ip6addr_t& address);
vostream& operator<<(vostream& out, const ip6addr_t* address);
// Restores into a new object (owned by the caller); null on failure.
vistream& operator>>(vistream& in, ip6addr_t*& address);
vistream& operator>>(vistream& in, ip6addr_t& address);

#endif  // OMLIB_CORE_ADDR6_H_
