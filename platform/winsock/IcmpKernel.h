// ICMP sockets on the C library: a raw socket where the kernel allows one,
// else an ICMP datagram ("ping") socket, and the reading of both kinds of
// message such a socket delivers (datagrams and the error queue). Neutral
// types only, so that Windows-facing sources can use it. Shared by the
// Winsock layer (raw IPv4 ICMP sockets), the IP helper library (ICMPv6) and
// the server's echo sweep, which needs one socket for many addresses.
#ifndef OM_PLATFORM_WINSOCK_ICMPKERNEL_H_
#define OM_PLATFORM_WINSOCK_ICMPKERNEL_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace om::kernel {

// An IPv4 (4 bytes used) or IPv6 address, in network byte order.
struct IpAddress {
  bool v6 = false;
  uint8_t bytes[16] = {};
  uint32_t scope = 0;
};

// Opens an ICMP (ipv6 false) or ICMPv6 socket. Tries a raw socket first;
// when the kernel refuses it for want of privilege, opens a datagram socket
// with extended error reporting, hop limit and packet information turned on.
// Returns the descriptor, or -1 with `error` the errno of the raw attempt
// (the datagram socket being refused too). `datagram` tells which kind.
int openIcmpSocket(bool ipv6, bool& datagram, int& error);

// Turns on, for a raw ICMPv6 socket, the hop limit and packet information of
// each received datagram. Returns 0 or an errno value.
int enableRawIcmp6Info(int fd);

// One message read from an ICMP socket.
struct IcmpMessage {
  // False: a datagram (the whole ICMP message in `data`). True: an entry of
  // the error queue of a datagram socket (`data` is the part of our own
  // request that the error quoted, starting at its ICMP header).
  bool queuedError = false;
  std::vector<uint8_t> data;
  // The datagram's source, or for a queued error the destination of the
  // request it is about.
  IpAddress peer;
  // The address the datagram was sent to, when the kernel said (packet
  // information).
  IpAddress local;
  bool hasLocal = false;
  int ttl = -1;  // TTL or hop limit of the datagram (of the error for a queued one)
  int tos = 0;
  // For a queued error: the ICMP type and code, the information field (a
  // next-hop MTU or a parameter pointer) and the sender of the error.
  uint8_t errorType = 0;
  uint8_t errorCode = 0;
  uint32_t errorInfo = 0;
  IpAddress offender;
  bool hasOffender = false;
};

// Reads one message without waiting: the error queue first (errors that did
// not come from the network are passed over), then the datagrams. Returns 1
// with a message, 0 when nothing is waiting, -1 with `error` an errno value.
// `maxData` bounds the bytes kept of a datagram (the rest is cut).
int readIcmpMessage(int fd, size_t maxData, IcmpMessage& message, int& error);

// Waits until the socket has a datagram or an error queued, or `milliseconds`
// pass (negative: no limit). True when something is there.
bool waitReadable(int fd, int milliseconds);

// The Internet checksum of `length` bytes, as stored into a header (the
// bytes summed as 16-bit words in memory order).
uint16_t internetChecksum(const uint8_t* data, size_t length);

}  // namespace om::kernel

#endif  // OM_PLATFORM_WINSOCK_ICMPKERNEL_H_
