// One ICMPv6 echo request and its answer, from a raw ICMPv6 socket or an
// ICMPv6 datagram socket.
#include "Echo6.h"

#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace om::kernel {
namespace {

constexpr uint8_t kEchoRequest = 128;
constexpr uint8_t kEchoReply = 129;
constexpr size_t kIp6Header = 40;
constexpr size_t kMaxMessage = 65535;

std::atomic<uint16_t> g_sequence{0};

sockaddr_in6 socketAddress(const IpAddress& a) {
  sockaddr_in6 out{};
  out.sin6_family = AF_INET6;
  std::memcpy(&out.sin6_addr, a.bytes, 16);
  out.sin6_scope_id = a.scope;
  return out;
}

bool unspecified(const IpAddress& a) {
  for (uint8_t b : a.bytes) {
    if (b != 0) return false;
  }
  return true;
}

uint16_t word(const std::vector<uint8_t>& bytes, size_t at) {
  uint16_t w;
  std::memcpy(&w, &bytes[at], 2);
  return w;
}

// The socket for one request; -1 with `error` set.
int openFor(const Echo6Request& request, bool& datagram, int& error) {
  const int fd = openIcmpSocket(true, datagram, error);
  if (fd < 0) return -1;
  int rc = 0;
  if (!datagram) {
    icmp6_filter filter;
    ICMP6_FILTER_SETBLOCKALL(&filter);
    for (int type : {int{kEchoReply}, ICMP6_DST_UNREACH, ICMP6_PACKET_TOO_BIG, ICMP6_TIME_EXCEEDED, ICMP6_PARAM_PROB}) {
      ICMP6_FILTER_SETPASS(type, &filter);
    }
    if (setsockopt(fd, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter) != 0) rc = errno;
    if (rc == 0) rc = enableRawIcmp6Info(fd);
  }
  if (rc == 0 && request.hopLimit > 0 &&
      setsockopt(fd, IPPROTO_IPV6, IPV6_UNICAST_HOPS, &request.hopLimit, sizeof request.hopLimit) != 0) {
    rc = errno;
  }
  if (rc == 0 && request.trafficClass > 0 &&
      setsockopt(fd, IPPROTO_IPV6, IPV6_TCLASS, &request.trafficClass, sizeof request.trafficClass) != 0) {
    rc = errno;
  }
  if (rc == 0 && !unspecified(request.source)) {
    const sockaddr_in6 source = socketAddress(request.source);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&source), sizeof source) != 0) rc = errno;
  }
  if (rc != 0) {
    close(fd);
    error = rc;
    return -1;
  }
  return fd;
}

// True when `icmp` starts with our echo request (the identifier is the
// kernel's on a datagram socket, which only hands us our own messages).
bool isOurRequest(const std::vector<uint8_t>& icmp, size_t at, bool datagram, uint16_t id, uint16_t sequence) {
  return icmp.size() >= at + 8 && icmp[at] == kEchoRequest && (datagram || word(icmp, at + 4) == id) &&
         word(icmp, at + 6) == sequence;
}

// Reads what the message says about our request into `answer`; false when
// it is about something else.
bool classify(IcmpMessage& m, bool datagram, uint16_t id, uint16_t sequence, Echo6Answer& answer) {
  const std::vector<uint8_t>& icmp = m.data;
  if (m.queuedError) {
    if (!isOurRequest(icmp, 0, datagram, id, sequence)) return false;
    answer.kind = Echo6Answer::kError;
    answer.from = m.hasOffender ? m.offender : m.peer;
    answer.type = m.errorType;
    answer.code = m.errorCode;
    return true;
  }
  if (icmp.size() < 8) return false;
  if (icmp[0] == kEchoReply) {
    if ((!datagram && word(icmp, 4) != id) || word(icmp, 6) != sequence) return false;
    answer.kind = Echo6Answer::kReply;
    answer.from = m.peer;
    answer.data.assign(icmp.begin() + 8, icmp.end());
    return true;
  }
  // An error on a raw socket quotes the request's IPv6 header and message.
  if (icmp[0] < 1 || icmp[0] > 4 || icmp.size() < 8 + kIp6Header || icmp[8 + 6] != IPPROTO_ICMPV6 ||
      !isOurRequest(icmp, 8 + kIp6Header, datagram, id, sequence)) {
    return false;
  }
  answer.kind = Echo6Answer::kError;
  answer.from = m.peer;
  answer.type = icmp[0];
  answer.code = icmp[1];
  return true;
}

}  // namespace

int checkIpv6() {
  const int fd = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  close(fd);
  return 0;
}

Echo6Answer sendEcho6(const Echo6Request& request) {
  Echo6Answer answer;
  bool datagram = false;
  const int fd = openFor(request, datagram, answer.error);
  if (fd < 0) return answer;
  const uint16_t id = htons(static_cast<uint16_t>(getpid()));
  const uint16_t sequence = htons(++g_sequence);
  std::vector<uint8_t> packet(8 + request.size, 0);
  packet[0] = kEchoRequest;
  std::memcpy(&packet[4], &id, 2);
  std::memcpy(&packet[6], &sequence, 2);
  if (request.size > 0) std::memcpy(&packet[8], request.data, request.size);
  const sockaddr_in6 destination = socketAddress(request.destination);
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  if (sendto(fd, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&destination),
             sizeof destination) < 0) {
    answer.error = errno;
    close(fd);
    return answer;
  }
  answer.kind = Echo6Answer::kTimeout;
  for (;;) {
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    if (spent >= static_cast<int64_t>(request.timeout) ||
        !waitReadable(fd, static_cast<int>(request.timeout - spent))) {
      break;
    }
    IcmpMessage m;
    int error = 0;
    if (readIcmpMessage(fd, kMaxMessage, m, error) == 1 && classify(m, datagram, id, sequence, answer)) {
      answer.roundTrip = static_cast<uint32_t>(
          std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
      break;
    }
  }
  close(fd);
  return answer;
}

}  // namespace om::kernel
