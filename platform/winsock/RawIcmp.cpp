// Raw IPv4 ICMP sockets made from ICMP datagram sockets.
#include "RawIcmp.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <deque>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "IcmpKernel.h"

namespace om::kernel {
namespace {

constexpr size_t kIpHeader = 20;
constexpr size_t kMaxIcmp = 65535 - kIpHeader;
constexpr uint8_t kEchoReply = 0;
constexpr uint8_t kEchoRequest = 8;
constexpr uint8_t kUnreachable = 3;
constexpr uint8_t kTimeExceeded = 11;
constexpr uint8_t kParameterProblem = 12;
constexpr int kDefaultTtl = 64;

struct Datagram {
  std::vector<uint8_t> bytes;  // IPv4 header and ICMP message
  sockaddr_in from{};
};

// What the caller put into a request before the kernel replaced it.
struct Request {
  uint8_t checksumAndId[4];
  int ttl;
};

struct State {
  std::deque<Datagram> queue;                    // converted, not yet read
  std::unordered_map<uint16_t, Request> sent;  // by sequence number as sent
};

std::mutex g_mu;
std::unordered_map<int, State> g_states;  // by descriptor; guarded by g_mu

uint16_t sequenceOf(const std::vector<uint8_t>& icmp) {
  uint16_t sequence;
  std::memcpy(&sequence, &icmp[6], 2);
  return sequence;
}

// Puts back the checksum and identifier of our request into `icmp` (a copy
// of it, or of the quoted part); false when the request is not ours.
bool restoreRequest(const State& state, std::vector<uint8_t>& icmp) {
  if (icmp.size() < 8) return false;
  const auto it = state.sent.find(sequenceOf(icmp));
  if (it == state.sent.end()) return false;
  std::memcpy(&icmp[2], it->second.checksumAndId, 4);
  return true;
}

void setChecksum(uint8_t* message, size_t length, size_t at) {
  message[at] = message[at + 1] = 0;
  const uint16_t sum = internetChecksum(message, length);
  std::memcpy(message + at, &sum, 2);
}

void appendIpHeader(std::vector<uint8_t>& out, size_t payload, int tos, int ttl, const IpAddress& source,
                    const IpAddress& destination) {
  const size_t at = out.size();
  out.resize(at + kIpHeader, 0);
  uint8_t* h = &out[at];
  const uint16_t total = htons(static_cast<uint16_t>(kIpHeader + payload));
  h[0] = 0x45;
  h[1] = static_cast<uint8_t>(tos);
  std::memcpy(h + 2, &total, 2);
  h[8] = static_cast<uint8_t>(ttl);
  h[9] = IPPROTO_ICMP;
  std::memcpy(h + 12, source.bytes, 4);
  std::memcpy(h + 16, destination.bytes, 4);
  setChecksum(h, kIpHeader, 10);
}

IpAddress localOf(const IcmpMessage& m) { return m.hasLocal ? m.local : IpAddress{}; }

sockaddr_in socketAddress(const IpAddress& a) {
  sockaddr_in out{};
  out.sin_family = AF_INET;
  std::memcpy(&out.sin_addr, a.bytes, 4);
  return out;
}

// A datagram received on the socket, as a raw socket shows it.
Datagram fromReply(const State& state, IcmpMessage& m) {
  std::vector<uint8_t>& icmp = m.data;
  if (icmp.size() >= 8 && icmp[0] == kEchoReply) {
    const auto it = state.sent.find(sequenceOf(icmp));
    if (it != state.sent.end()) std::memcpy(&icmp[4], it->second.checksumAndId + 2, 2);
    setChecksum(icmp.data(), icmp.size(), 2);
  }
  Datagram d;
  appendIpHeader(d.bytes, icmp.size(), m.tos, m.ttl >= 0 ? m.ttl : kDefaultTtl, m.peer, localOf(m));
  d.bytes.insert(d.bytes.end(), icmp.begin(), icmp.end());
  d.from = socketAddress(m.peer);
  return d;
}

// A queued error, as the ICMP error datagram a raw socket receives.
Datagram fromError(const State& state, IcmpMessage& m) {
  std::vector<uint8_t>& quoted = m.data;
  int requestTtl = kDefaultTtl;
  if (restoreRequest(state, quoted)) requestTtl = state.sent.at(sequenceOf(quoted)).ttl;
  std::vector<uint8_t> icmp(8, 0);
  icmp[0] = m.errorType;
  icmp[1] = m.errorCode;
  if (m.errorType == kUnreachable && m.errorCode == 4) {
    const uint16_t mtu = htons(static_cast<uint16_t>(m.errorInfo));
    std::memcpy(&icmp[6], &mtu, 2);
  } else if (m.errorType == kParameterProblem) {
    icmp[4] = static_cast<uint8_t>(m.errorInfo);
  }
  // The request as the router saw it: a time-exceeded error is sent for the
  // hop where the TTL ran out.
  appendIpHeader(icmp, quoted.size(), 0, m.errorType == kTimeExceeded ? 1 : requestTtl, localOf(m), m.peer);
  icmp.insert(icmp.end(), quoted.begin(), quoted.end());
  setChecksum(icmp.data(), icmp.size(), 2);
  const IpAddress sender = m.hasOffender ? m.offender : m.peer;
  Datagram d;
  appendIpHeader(d.bytes, icmp.size(), m.tos, m.ttl >= 0 ? m.ttl : kDefaultTtl, sender, localOf(m));
  d.bytes.insert(d.bytes.end(), icmp.begin(), icmp.end());
  d.from = socketAddress(sender);
  return d;
}

// The errors that an ICMP error leaves on the socket for one read.
bool reportedByIcmp(int error) {
  switch (error) {
    case EHOSTUNREACH: case ENETUNREACH: case ECONNREFUSED: case EPROTO: case EMSGSIZE:
    case EHOSTDOWN: case ENONET: case EACCES: case EOPNOTSUPP: case ETIMEDOUT:
      return true;
    default:
      return false;
  }
}

// Moves one message from the kernel into the state's queue without waiting.
// 1 when one was queued, 0 when nothing waits, -1 with errno.
int fill(int fd, State& state) {
  for (;;) {
    IcmpMessage m;
    int error = 0;
    const int rc = readIcmpMessage(fd, kMaxIcmp, m, error);
    if (rc == 1) {
      state.queue.push_back(m.queuedError ? fromError(state, m) : fromReply(state, m));
      return 1;
    }
    if (rc == 0) return 0;
    if (!reportedByIcmp(error)) {
      errno = error;
      return -1;
    }
    // The error of an ICMP message just queued: read the queue again.
  }
}

// Milliseconds of the socket's receive time-out; -1 for none.
int receiveTimeout(int fd) {
  timeval tv{};
  socklen_t length = sizeof tv;
  if (getsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, &length) != 0) return -1;
  if (tv.tv_sec == 0 && tv.tv_usec == 0) return -1;
  return static_cast<int>(tv.tv_sec * 1000 + tv.tv_usec / 1000);
}

bool nonBlocking(int fd) { return (fcntl(fd, F_GETFL) & O_NONBLOCK) != 0; }

}  // namespace

void adoptDatagramIcmp(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_states[fd] = State{};
}

void forgetDatagramIcmp(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_states.erase(fd);
}

bool isDatagramIcmp(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  return g_states.count(fd) != 0;
}

ssize_t sendDatagramIcmp(int fd, const void* buffer, size_t length, int flags, const sockaddr_in* to) {
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  if (length < 8 || bytes[0] != kEchoRequest || bytes[1] != 0) {
    errno = EINVAL;
    return -1;
  }
  int ttl = kDefaultTtl;
  socklen_t size = sizeof ttl;
  getsockopt(fd, IPPROTO_IP, IP_TTL, &ttl, &size);
  {
    std::lock_guard<std::mutex> lock(g_mu);
    Request request{{}, ttl};
    std::memcpy(request.checksumAndId, bytes + 2, 4);
    uint16_t sequence;
    std::memcpy(&sequence, bytes + 6, 2);
    g_states[fd].sent[sequence] = request;
  }
  return sendto(fd, buffer, length, flags, reinterpret_cast<const sockaddr*>(to), to != nullptr ? sizeof *to : 0);
}

ssize_t receiveDatagramIcmp(int fd, void* buffer, size_t size, int flags, sockaddr_in* from) {
  const int timeout = receiveTimeout(fd);
  const bool waitless = nonBlocking(fd) || (flags & MSG_DONTWAIT) != 0;
  const auto start = std::chrono::steady_clock::now();
  for (;;) {
    {
      std::lock_guard<std::mutex> lock(g_mu);
      State& state = g_states[fd];
      const int rc = state.queue.empty() ? fill(fd, state) : 1;
      if (rc < 0) return -1;
      if (rc == 1) {
        const Datagram& d = state.queue.front();
        std::memcpy(buffer, d.bytes.data(), std::min(size, d.bytes.size()));
        if (from != nullptr) *from = d.from;
        const ssize_t length = static_cast<ssize_t>(d.bytes.size());
        if ((flags & MSG_PEEK) == 0) state.queue.pop_front();
        return length;
      }
    }
    int remaining = -1;
    if (timeout >= 0) {
      const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
      remaining = timeout - static_cast<int>(spent.count());
    }
    if (waitless || (timeout >= 0 && remaining <= 0) || !waitReadable(fd, remaining)) {
      errno = EAGAIN;
      return -1;
    }
  }
}

size_t pendingDatagramIcmp(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  State& state = g_states[fd];
  if (state.queue.empty() && fill(fd, state) != 1) return 0;
  return state.queue.front().bytes.size();
}

}  // namespace om::kernel
