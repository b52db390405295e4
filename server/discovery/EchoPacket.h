// The ICMP echo messages of a sweep, as bytes: the request it sends, and
// what a message received on its socket says about one of its requests (an
// echo reply, or a destination-unreachable error quoting the request). A
// request carries the sweep's identifier, a sequence number naming its
// target, and as data the sweep's tag and the send time, so that a reply is
// known for the sweep's own and timed. No sockets here.
#ifndef OM_SERVER_DISCOVERY_ECHOPACKET_H_
#define OM_SERVER_DISCOVERY_ECHOPACKET_H_

#include <cstddef>
#include <cstdint>

namespace om::server {

// Bytes of a request: the ICMP header, the tag and the send time.
inline constexpr size_t kEchoRequestSize = 8 + 4 + 8;

// The fields of a request; `identifier` and `sequence` are host order.
struct EchoFields {
  uint16_t identifier = 0;
  uint16_t sequence = 0;
  uint32_t tag = 0;
  uint64_t sentNs = 0;  // the send time, nanoseconds of a steady clock
};

// Writes a request, checksum included, into `out` (kEchoRequestSize bytes).
void buildEchoRequest(const EchoFields& fields, uint8_t* out);

// What a received message says about a request.
struct EchoSignal {
  enum Kind { kReply, kUnreachable };
  Kind kind = kReply;
  // The request's destination, network order: the source of a reply, the
  // destination quoted by an error.
  uint32_t address = 0;
  // Of the reply or of the quoted request. `fields.tag` and `fields.sentNs`
  // are set only for a reply long enough to carry them (`hasData`).
  EchoFields fields;
  bool hasData = false;
};

// A datagram received on a raw ICMP socket: the IPv4 header, then the ICMP
// message. False when it is neither an intact echo reply nor a
// destination-unreachable error quoting an echo request, or is cut short.
bool readRawIcmp(const uint8_t* data, size_t size, EchoSignal& signal);

// A datagram received on an ICMP datagram socket (the ICMP message alone,
// which the kernel has checked) from `source` (network order). False when it
// is not an echo reply.
bool readDatagramIcmp(const uint8_t* data, size_t size, uint32_t source, EchoSignal& signal);

// An ICMP error queued on a datagram socket: its type, the request it quotes
// (from the ICMP header on) and that request's destination (network order).
// False when it is not a destination-unreachable error about an echo request.
bool readQueuedError(uint8_t type, const uint8_t* quoted, size_t size, uint32_t destination, EchoSignal& signal);

}  // namespace om::server

#endif  // OM_SERVER_DISCOVERY_ECHOPACKET_H_
