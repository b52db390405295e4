#include "server/discovery/EchoPacket.h"

#include <cstring>

#include "platform/winsock/IcmpKernel.h"

namespace om::server {
namespace {

constexpr size_t kIcmpHeader = 8;
constexpr size_t kIpHeaderMin = 20;
constexpr uint8_t kIcmpProtocol = 1;
constexpr uint8_t kEchoReply = 0;
constexpr uint8_t kUnreachable = 3;
constexpr uint8_t kEchoRequest = 8;

uint16_t read16(const uint8_t* at) { return static_cast<uint16_t>(at[0] << 8 | at[1]); }

void write16(uint8_t* at, uint16_t value) {
  at[0] = static_cast<uint8_t>(value >> 8);
  at[1] = static_cast<uint8_t>(value);
}

uint32_t readAddress(const uint8_t* at) {
  uint32_t address;
  std::memcpy(&address, at, sizeof address);
  return address;
}

// The length of the IPv4 header at `data`; 0 when `size` bytes do not hold
// an IPv4 header carrying ICMP.
size_t icmpOffset(const uint8_t* data, size_t size) {
  if (size < kIpHeaderMin || data[0] >> 4 != 4 || data[9] != kIcmpProtocol) return 0;
  const size_t length = static_cast<size_t>(data[0] & 0x0f) * 4;
  return length >= kIpHeaderMin && length <= size ? length : 0;
}

// The identifier and sequence of an echo request's ICMP header.
bool readRequestHeader(const uint8_t* icmp, size_t size, EchoSignal& signal) {
  if (size < kIcmpHeader || icmp[0] != kEchoRequest) return false;
  signal.fields = EchoFields{read16(icmp + 4), read16(icmp + 6), 0, 0};
  return true;
}

// An echo reply (its checksum already checked, or not in need of it).
bool readReply(const uint8_t* icmp, size_t size, uint32_t source, EchoSignal& signal) {
  if (size < kIcmpHeader || icmp[0] != kEchoReply || icmp[1] != 0) return false;
  signal = EchoSignal{};
  signal.kind = EchoSignal::kReply;
  signal.address = source;
  signal.fields.identifier = read16(icmp + 4);
  signal.fields.sequence = read16(icmp + 6);
  signal.hasData = size >= kEchoRequestSize;
  if (signal.hasData) {
    std::memcpy(&signal.fields.tag, icmp + kIcmpHeader, sizeof signal.fields.tag);
    std::memcpy(&signal.fields.sentNs, icmp + kIcmpHeader + 4, sizeof signal.fields.sentNs);
  }
  return true;
}

}  // namespace

void buildEchoRequest(const EchoFields& fields, uint8_t* out) {
  std::memset(out, 0, kEchoRequestSize);
  out[0] = kEchoRequest;
  write16(out + 4, fields.identifier);
  write16(out + 6, fields.sequence);
  std::memcpy(out + kIcmpHeader, &fields.tag, sizeof fields.tag);
  std::memcpy(out + kIcmpHeader + 4, &fields.sentNs, sizeof fields.sentNs);
  const uint16_t sum = om::kernel::internetChecksum(out, kEchoRequestSize);
  std::memcpy(out + 2, &sum, sizeof sum);
}

bool readRawIcmp(const uint8_t* data, size_t size, EchoSignal& signal) {
  const size_t offset = icmpOffset(data, size);
  if (offset == 0 || (read16(data + 6) & 0x1fff) != 0) return false;  // not ICMP, or a later fragment
  const uint8_t* icmp = data + offset;
  const size_t icmpSize = size - offset;
  if (icmpSize < kIcmpHeader) return false;
  if (icmp[0] == kEchoReply) {
    // A raw socket sees messages the kernel has not checked yet.
    if (om::kernel::internetChecksum(icmp, icmpSize) != 0) return false;
    return readReply(icmp, icmpSize, readAddress(data + 12), signal);
  }
  if (icmp[0] != kUnreachable) return false;
  const uint8_t* quoted = icmp + kIcmpHeader;
  const size_t quotedSize = icmpSize - kIcmpHeader;
  const size_t quotedOffset = icmpOffset(quoted, quotedSize);
  if (quotedOffset == 0) return false;
  return readQueuedError(kUnreachable, quoted + quotedOffset, quotedSize - quotedOffset, readAddress(quoted + 16),
                         signal);
}

bool readDatagramIcmp(const uint8_t* data, size_t size, uint32_t source, EchoSignal& signal) {
  return readReply(data, size, source, signal);
}

bool readQueuedError(uint8_t type, const uint8_t* quoted, size_t size, uint32_t destination, EchoSignal& signal) {
  if (type != kUnreachable) return false;
  EchoSignal error;
  if (!readRequestHeader(quoted, size, error)) return false;
  error.kind = EchoSignal::kUnreachable;
  error.address = destination;
  signal = error;
  return true;
}

}  // namespace om::server
