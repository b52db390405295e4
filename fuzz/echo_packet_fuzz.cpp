// libFuzzer target for what the echo sweep's socket receives: a raw IPv4
// datagram, a datagram socket's ICMP message and a queued ICMP error, all
// read from the same bytes. A reply that is read back as the sweep's own
// carries the fields a request built from them would.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "server/discovery/EchoPacket.h"

using om::server::EchoSignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  EchoSignal signal;
  if (om::server::readRawIcmp(data, size, signal) && signal.kind != EchoSignal::kReply &&
      signal.kind != EchoSignal::kUnreachable) {
    std::abort();
  }
  EchoSignal datagram;
  if (om::server::readDatagramIcmp(data, size, 0x0100007f, datagram)) {
    if (datagram.kind != EchoSignal::kReply || datagram.address != 0x0100007f) std::abort();
    if (datagram.hasData && size < om::server::kEchoRequestSize) std::abort();
  }
  if (size > 0) {
    EchoSignal error;
    if (om::server::readQueuedError(data[0], data + 1, size - 1, 0x0200000a, error) &&
        (error.kind != EchoSignal::kUnreachable || error.address != 0x0200000a)) {
      std::abort();
    }
  }
  return 0;
}
