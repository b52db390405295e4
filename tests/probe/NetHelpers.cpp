#include "NetHelpers.h"

#include <linux/capability.h>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>
#include <vector>

namespace omtest {
namespace {

uint16_t checksum(const uint8_t* data, size_t length) {
  uint32_t sum = 0;
  for (; length > 1; data += 2, length -= 2) sum += static_cast<uint32_t>(data[0] << 8 | data[1]);
  if (length == 1) sum += static_cast<uint32_t>(data[0] << 8);
  while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
  return htons(static_cast<uint16_t>(~sum));
}

// Waits (in steps, to notice `stop`) until `fd` is readable.
bool readable(int fd, const std::atomic<bool>& stop) {
  while (!stop) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, 20) > 0) return true;
  }
  return false;
}

// Signals `started` in every case, `ready` when the socket is there.
int openIn(const Netns& ns, int family, int protocol, std::atomic<bool>& ready, std::atomic<bool>& started) {
  NetnsScope in(ns);
  const int fd = in.ok() ? socket(family, SOCK_RAW, protocol) : -1;
  ready = fd >= 0;
  started = true;
  return fd;
}

}  // namespace

bool dropRawCapability() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  if (syscall(SYS_capget, &header, data) != 0) return false;
  const uint32_t bit = 1u << CAP_NET_RAW;
  data[0].effective &= ~bit;
  data[0].permitted &= ~bit;
  data[0].inheritable &= ~bit;
  if (syscall(SYS_capset, &header, data) != 0) return false;
  const int fd = socket(AF_INET, SOCK_RAW, IPPROTO_ICMP);
  if (fd >= 0) {
    close(fd);
    return false;
  }
  return true;
}

DuplicatingResponder::DuplicatingResponder(const Netns& ns) : thread_(&DuplicatingResponder::run, this, &ns) {
  while (!started_) std::this_thread::yield();
}

DuplicatingResponder::~DuplicatingResponder() {
  stop_ = true;
  thread_.join();
}

void DuplicatingResponder::run(const Netns* ns) {
  const int fd = openIn(*ns, AF_INET, IPPROTO_ICMP, ready_, started_);
  if (fd < 0) return;
  std::vector<uint8_t> buffer(2048);
  while (readable(fd, stop_)) {
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const ssize_t n = recvfrom(fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
    if (n < 28) continue;
    const size_t header = (buffer[0] & 0x0f) * 4u;
    if (static_cast<size_t>(n) < header + 8 || buffer[header] != ICMP_ECHO) continue;
    std::vector<uint8_t> reply(buffer.begin() + static_cast<long>(header), buffer.begin() + n);
    reply[0] = ICMP_ECHOREPLY;
    reply[2] = reply[3] = 0;
    const uint16_t sum = checksum(reply.data(), reply.size());
    std::memcpy(&reply[2], &sum, 2);
    for (int copy = 0; copy < 2; ++copy) {
      sendto(fd, reply.data(), reply.size(), 0, reinterpret_cast<sockaddr*>(&from), sizeof from);
    }
  }
  close(fd);
}

Icmp6RequestCounter::Icmp6RequestCounter(const Netns& ns, const std::string& data)
    : data_(data), thread_(&Icmp6RequestCounter::run, this, &ns) {
  while (!started_) std::this_thread::yield();
}

Icmp6RequestCounter::~Icmp6RequestCounter() {
  stop_ = true;
  thread_.join();
}

void Icmp6RequestCounter::run(const Netns* ns) {
  const int fd = openIn(*ns, AF_INET6, IPPROTO_ICMPV6, ready_, started_);
  if (fd < 0) return;
  icmp6_filter filter;
  ICMP6_FILTER_SETBLOCKALL(&filter);
  ICMP6_FILTER_SETPASS(ICMP6_ECHO_REQUEST, &filter);
  setsockopt(fd, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter);
  std::vector<uint8_t> buffer(4096);
  while (readable(fd, stop_)) {
    const ssize_t n = recv(fd, buffer.data(), buffer.size(), 0);
    if (n < 8 || buffer[0] != ICMP6_ECHO_REQUEST) continue;
    if (std::string(buffer.begin() + 8, buffer.begin() + n) == data_) ++count_;
  }
  close(fd);
}

}  // namespace omtest
