// ICMP sockets on the C library: opening with the datagram fallback and
// reading datagrams and queued errors with their ancillary data.
#include "IcmpKernel.h"

#include <time.h>  // before linux/errqueue.h, which needs timespec

#include <linux/errqueue.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <cstring>

namespace om::kernel {
namespace {

void setAddress(IpAddress& out, const sockaddr_storage& in) {
  out = IpAddress{};
  if (in.ss_family == AF_INET6) {
    const auto& a = reinterpret_cast<const sockaddr_in6&>(in);
    out.v6 = true;
    std::memcpy(out.bytes, &a.sin6_addr, 16);
    out.scope = a.sin6_scope_id;
  } else if (in.ss_family == AF_INET) {
    const auto& a = reinterpret_cast<const sockaddr_in&>(in);
    std::memcpy(out.bytes, &a.sin_addr, 4);
  }
}

int setFlag(int fd, int level, int name) {
  const int on = 1;
  return setsockopt(fd, level, name, &on, sizeof on) == 0 ? 0 : errno;
}

int enableDatagramInfo(int fd, bool ipv6) {
  static const int kNames4[] = {IP_RECVERR, IP_RECVTTL, IP_PKTINFO, IP_RECVTOS, 0};
  static const int kNames6[] = {IPV6_RECVERR, IPV6_RECVHOPLIMIT, IPV6_RECVPKTINFO, 0};
  for (const int* name = ipv6 ? kNames6 : kNames4; *name != 0; ++name) {
    const int rc = setFlag(fd, ipv6 ? IPPROTO_IPV6 : IPPROTO_IP, *name);
    if (rc != 0) return rc;
  }
  return 0;
}

// Reads the ancillary data of a received message into `message`.
void readControl(msghdr& header, IcmpMessage& message) {
  for (cmsghdr* c = CMSG_FIRSTHDR(&header); c != nullptr; c = CMSG_NXTHDR(&header, c)) {
    const void* data = CMSG_DATA(c);
    if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_TTL) {
      std::memcpy(&message.ttl, data, sizeof(int));
    } else if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_TOS) {
      message.tos = *static_cast<const uint8_t*>(data);
    } else if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO) {
      in_pktinfo info;
      std::memcpy(&info, data, sizeof info);
      std::memcpy(message.local.bytes, &info.ipi_addr, 4);
      message.hasLocal = true;
    } else if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_HOPLIMIT) {
      std::memcpy(&message.ttl, data, sizeof(int));
    } else if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_PKTINFO) {
      in6_pktinfo info;
      std::memcpy(&info, data, sizeof info);
      message.local.v6 = true;
      std::memcpy(message.local.bytes, &info.ipi6_addr, 16);
      message.local.scope = info.ipi6_ifindex;
      message.hasLocal = true;
    } else if ((c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_RECVERR) ||
               (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_RECVERR)) {
      const auto* reported = static_cast<const sock_extended_err*>(data);
      sock_extended_err ee;
      std::memcpy(&ee, reported, sizeof ee);
      // Only errors reported by an ICMP message count; local ones (a message
      // too long for the path, say) are queued for the sender too.
      message.queuedError = ee.ee_origin == SO_EE_ORIGIN_ICMP || ee.ee_origin == SO_EE_ORIGIN_ICMP6;
      message.errorType = ee.ee_type;
      message.errorCode = ee.ee_code;
      message.errorInfo = ee.ee_info;
      const size_t room = c->cmsg_len - CMSG_LEN(sizeof ee);
      sockaddr_storage offender{};
      std::memcpy(&offender, SO_EE_OFFENDER(reported), std::min(room, sizeof offender));
      if (room >= sizeof(sockaddr_in) && offender.ss_family != AF_UNSPEC) {
        setAddress(message.offender, offender);
        message.hasOffender = true;
      }
    }
  }
}

// One recvmsg; 1, 0 (nothing waiting) or -1.
int receive(int fd, int flags, size_t maxData, IcmpMessage& message, int& error) {
  message = IcmpMessage{};
  message.data.resize(maxData);
  iovec io{message.data.data(), message.data.size()};
  sockaddr_storage peer{};
  alignas(cmsghdr) char control[512];
  msghdr header{};
  header.msg_name = &peer;
  header.msg_namelen = sizeof peer;
  header.msg_iov = &io;
  header.msg_iovlen = 1;
  header.msg_control = control;
  header.msg_controllen = sizeof control;
  const ssize_t n = recvmsg(fd, &header, flags | MSG_DONTWAIT);
  if (n < 0) {
    if (errno == EAGAIN || errno == EWOULDBLOCK) return 0;
    error = errno;
    return -1;
  }
  message.data.resize(static_cast<size_t>(n) < maxData ? static_cast<size_t>(n) : maxData);
  setAddress(message.peer, peer);
  readControl(header, message);
  return 1;
}

}  // namespace

int openIcmpSocket(bool ipv6, bool& datagram, int& error) {
  const int family = ipv6 ? AF_INET6 : AF_INET;
  const int protocol = ipv6 ? int{IPPROTO_ICMPV6} : int{IPPROTO_ICMP};
  datagram = false;
  int fd = socket(family, SOCK_RAW | SOCK_CLOEXEC, protocol);
  if (fd >= 0) return fd;
  error = errno;
  if (error != EPERM && error != EACCES) return -1;
  fd = socket(family, SOCK_DGRAM | SOCK_CLOEXEC, protocol);
  if (fd < 0) return -1;  // keeps the raw attempt's error
  const int rc = enableDatagramInfo(fd, ipv6);
  if (rc != 0) {
    close(fd);
    error = rc;
    return -1;
  }
  datagram = true;
  return fd;
}

int enableRawIcmp6Info(int fd) {
  const int rc = setFlag(fd, IPPROTO_IPV6, IPV6_RECVHOPLIMIT);
  return rc != 0 ? rc : setFlag(fd, IPPROTO_IPV6, IPV6_RECVPKTINFO);
}

int readIcmpMessage(int fd, size_t maxData, IcmpMessage& message, int& error) {
  for (;;) {
    const int rc = receive(fd, MSG_ERRQUEUE, maxData, message, error);
    if (rc != 1) break;
    if (message.queuedError) return 1;
  }
  return receive(fd, 0, maxData, message, error);
}

bool waitReadable(int fd, int milliseconds) {
  pollfd p{fd, POLLIN, 0};
  for (;;) {
    const int rc = poll(&p, 1, milliseconds);
    if (rc >= 0) return rc > 0;
    if (errno != EINTR) return false;
  }
}

uint16_t internetChecksum(const uint8_t* data, size_t length) {
  uint32_t sum = 0;
  for (; length > 1; data += 2, length -= 2) {
    uint16_t word;
    std::memcpy(&word, data, 2);
    sum += word;
  }
  if (length == 1) sum += *data;
  sum = (sum >> 16) + (sum & 0xffff);
  sum += sum >> 16;
  return static_cast<uint16_t>(~sum);
}

}  // namespace om::kernel
