// IPv6 socket addresses and name resolution: sockaddr_in6_t, addrinfo_t and
// isIpv6Supported().
//
// Parsing and printing go through WSAStringToAddressA / WSAAddressToStringA,
// so the socket library must be started (WSAStartup) for them; without it,
// parsing fails and format() falls back to the address's own text form.
#ifndef OMLIB_CORE_SAIN6_H_
#define OMLIB_CORE_SAIN6_H_

#include <cstdint>

#include <omtools/Persistable.h>
#include <omtools/tstring.h>
#include <ws2tcpip.h>

// A complete IPv6 socket address in the 28-byte Windows layout: family (23
// when set), port (network order), flow information, address and scope id.
// All 28 bytes zero is empty. Texts: "addr", "addr%scope" and, with a port,
// "[addr%scope]:port".
//
// Stored form (class id 1674): family (unsigned 16-bit), port (unsigned
// 16-bit, network order as held), flow information (unsigned 32-bit), the
// sixteen address octets one byte each, scope id (unsigned 32-bit).
//
// The ordering operators are the reverse of compare(); callers rely on this.
class sockaddr_in6_t : public Persistable {
 public:
  static const uint32_t kClassId = 1674;

  sockaddr_in6_t();
  // Family 23 and `address`.
  sockaddr_in6_t(const in6_addr& address);
  sockaddr_in6_t(const sockaddr_in6& address);
  sockaddr_in6_t(const tstring& text);
  sockaddr_in6_t(const sockaddr_in6_t& other);
  ~sockaddr_in6_t() override = default;

  sockaddr_in6_t& operator=(const sockaddr_in6_t& other);

  void copyIn(const in6_addr& address);
  void copyIn(const sockaddr_in6& address);
  void copyIn(const sockaddr_in6_t& other);
  // Parses `text` (empty text, or text that does not parse, leaves the
  // address empty).
  void copyIn(const tstring& text);

  short getFamily() const { return static_cast<short>(address_.sin6_family); }
  void setFamily(short family) { address_.sin6_family = static_cast<ADDRESS_FAMILY>(family); }
  // In network byte order, as held.
  unsigned short getPort() const { return address_.sin6_port; }
  void setPort(unsigned short port) { address_.sin6_port = port; }
  unsigned long getFlowinfo() const { return address_.sin6_flowinfo; }
  void setFlowinfo(unsigned long flowinfo) { address_.sin6_flowinfo = static_cast<ULONG>(flowinfo); }
  in6_addr getIn6addr() const { return address_.sin6_addr; }
  void setIn6addr(const in6_addr& address) { address_.sin6_addr = address; }
  unsigned long getScopeid() const { return address_.sin6_scope_id; }

  // The whole address, for socket calls.
  const sockaddr_in6& getSockaddr() const { return address_; }

  void clear();
  bool empty() const;

  // WSAAddressToStringA's text; when that fails, ntots() of the address and
  // "%scope" when the scope id is not 0.
  tstring format() const;

  // Byte-wise comparison of the 28 bytes: -1, 0 or 1.
  int compare(const sockaddr_in6_t& other) const;
  bool operator==(const sockaddr_in6_t& other) const { return compare(other) == 0; }
  bool operator<(const sockaddr_in6_t& other) const { return compare(other) > 0; }
  bool operator>(const sockaddr_in6_t& other) const { return compare(other) < 0; }

  uint32_t getClassId() const override { return kClassId; }
  void saveContents(vostream& out) const override;
  void restoreContents(vistream& in) override;

 private:
  sockaddr_in6 address_;
};

vostream& operator<<(vostream& out, const sockaddr_in6_t& address);
vostream& operator<<(vostream& out, const sockaddr_in6_t* address);
// Restores into a new object (owned by the caller); null on failure.
vistream& operator>>(vistream& in, sockaddr_in6_t*& address);
vistream& operator>>(vistream& in, sockaddr_in6_t& address);

// Owner of one getaddrinfo result list.
class addrinfo_t {
 public:
  addrinfo_t() = default;
  addrinfo_t(const char* node, int family, const char* service, int socktype, int protocol);
  virtual ~addrinfo_t();
  addrinfo_t(const addrinfo_t&) = delete;
  addrinfo_t& operator=(const addrinfo_t&) = delete;

  // Frees any held list and resolves (passive when `node` is null); non-zero
  // on success. On failure the object holds no list.
  int resolve(const char* node, int family, const char* service, int socktype, int protocol);
  void free();
  bool empty() const { return list_ == nullptr; }

  operator addrinfo*() const { return list_; }
  // The first entry's address; null when there is none.
  operator struct sockaddr*() const;
  operator sockaddr_in6*() const;

 private:
  addrinfo* list_ = nullptr;
};

// True when "fe80::1" parses as an IPv6 address.
bool isIpv6Supported();

#endif  // OMLIB_CORE_SAIN6_H_
