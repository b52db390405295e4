// The C library side of the Winsock socket calls: Windows numbers and
// address layouts to the kernel's, errno to Winsock errors, and the raw ICMP
// stand-in for callers without the privilege to open raw sockets.
#include "SocketKernel.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <om/WinsockErrors.h>

#include "EventKernel.h"
#include "IcmpKernel.h"
#include "Kernel.h"
#include "RawIcmp.h"

namespace om::kernel {
namespace {

// ---- Windows numbers ---------------------------------------------------------------------

constexpr int kWinInet6 = 23;

constexpr int kWinSolSocket = 0xffff;
constexpr int kWinIpprotoIp = 0;
constexpr int kWinIpprotoTcp = 6;
constexpr int kWinIpprotoIpv6 = 41;

constexpr int kWinMsgOob = 0x1;
constexpr int kWinMsgPeek = 0x2;
constexpr int kWinMsgDontRoute = 0x4;
constexpr int kWinMsgWaitAll = 0x8;

constexpr int32_t kWinFionread = 0x4004667F;
constexpr int32_t kWinFionbio = static_cast<int32_t>(0x8004667E);
constexpr int32_t kWinSiocatmark = 0x40047307;

// How an option's value is passed.
enum class Value { kInt, kBool, kMilliseconds, kLinger, kError, kByte };

struct Option {
  int winLevel;
  int winName;
  int level;
  int name;
  Value value;
};

constexpr Option kOptions[] = {
    {kWinSolSocket, 0x0001, SOL_SOCKET, SO_DEBUG, Value::kBool},
    {kWinSolSocket, 0x0002, SOL_SOCKET, SO_ACCEPTCONN, Value::kBool},
    {kWinSolSocket, 0x0004, SOL_SOCKET, SO_REUSEADDR, Value::kBool},
    {kWinSolSocket, 0x0008, SOL_SOCKET, SO_KEEPALIVE, Value::kBool},
    {kWinSolSocket, 0x0010, SOL_SOCKET, SO_DONTROUTE, Value::kBool},
    {kWinSolSocket, 0x0020, SOL_SOCKET, SO_BROADCAST, Value::kBool},
    {kWinSolSocket, 0x0080, SOL_SOCKET, SO_LINGER, Value::kLinger},
    {kWinSolSocket, 0x0100, SOL_SOCKET, SO_OOBINLINE, Value::kBool},
    {kWinSolSocket, 0x1001, SOL_SOCKET, SO_SNDBUF, Value::kInt},
    {kWinSolSocket, 0x1002, SOL_SOCKET, SO_RCVBUF, Value::kInt},
    {kWinSolSocket, 0x1005, SOL_SOCKET, SO_SNDTIMEO, Value::kMilliseconds},
    {kWinSolSocket, 0x1006, SOL_SOCKET, SO_RCVTIMEO, Value::kMilliseconds},
    {kWinSolSocket, 0x1007, SOL_SOCKET, SO_ERROR, Value::kError},
    {kWinSolSocket, 0x1008, SOL_SOCKET, SO_TYPE, Value::kInt},
    {kWinIpprotoIp, 1, IPPROTO_IP, IP_OPTIONS, Value::kByte},
    {kWinIpprotoIp, 2, IPPROTO_IP, IP_HDRINCL, Value::kBool},
    {kWinIpprotoIp, 3, IPPROTO_IP, IP_TOS, Value::kInt},
    {kWinIpprotoIp, 4, IPPROTO_IP, IP_TTL, Value::kInt},
    {kWinIpprotoIp, 9, IPPROTO_IP, IP_MULTICAST_IF, Value::kByte},
    {kWinIpprotoIp, 10, IPPROTO_IP, IP_MULTICAST_TTL, Value::kInt},
    {kWinIpprotoIp, 11, IPPROTO_IP, IP_MULTICAST_LOOP, Value::kBool},
    {kWinIpprotoIp, 14, IPPROTO_IP, IP_MTU_DISCOVER, Value::kBool},  // IP_DONTFRAGMENT
    {kWinIpprotoTcp, 1, IPPROTO_TCP, TCP_NODELAY, Value::kBool},
    {kWinIpprotoIpv6, 4, IPPROTO_IPV6, IPV6_UNICAST_HOPS, Value::kInt},
    {kWinIpprotoIpv6, 10, IPPROTO_IPV6, IPV6_MULTICAST_HOPS, Value::kInt},
    {kWinIpprotoIpv6, 27, IPPROTO_IPV6, IPV6_V6ONLY, Value::kBool},
};

const Option* findOption(int level, int name) {
  for (const Option& o : kOptions) {
    if (o.winLevel == level && o.winName == name) return &o;
  }
  return nullptr;
}

int lastError(int fallback = WSAEINVAL) { return wsaFromErrno(errno, fallback); }

bool nonBlocking(int fd) { return (fcntl(fd, F_GETFL) & O_NONBLOCK) != 0; }

int socketKind(int fd) {
  int type = 0;
  socklen_t length = sizeof type;
  return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) == 0 ? type : -1;
}

// A blocking call that ran out of its time-out reports WSAETIMEDOUT.
int ioError(int fd) {
  if ((errno == EAGAIN || errno == EWOULDBLOCK) && !nonBlocking(fd)) return WSAETIMEDOUT;
  if (errno == EPIPE) return WSAESHUTDOWN;
  return lastError();
}

int nativeMessageFlags(int flags, int& native) {
  native = 0;
  if (flags & kWinMsgOob) native |= MSG_OOB;
  if (flags & kWinMsgPeek) native |= MSG_PEEK;
  if (flags & kWinMsgDontRoute) native |= MSG_DONTROUTE;
  if (flags & kWinMsgWaitAll) native |= MSG_WAITALL;
  return (flags & ~(kWinMsgOob | kWinMsgPeek | kWinMsgDontRoute | kWinMsgWaitAll)) == 0 ? 0 : WSAEOPNOTSUPP;
}

// ---- Addresses -------------------------------------------------------------------------------

// A Windows socket address as the kernel's; 0 or a Winsock error.
int nativeAddress(const void* address, int length, sockaddr_storage& out, socklen_t& outLength) {
  if (address == nullptr || length < static_cast<int>(sizeof(uint16_t))) return WSAEFAULT;
  uint16_t family;
  std::memcpy(&family, address, sizeof family);
  out = sockaddr_storage{};
  if (family == AF_INET) {
    if (length < static_cast<int>(sizeof(sockaddr_in))) return WSAEFAULT;
    std::memcpy(&out, address, sizeof(sockaddr_in));
    outLength = sizeof(sockaddr_in);
  } else if (family == kWinInet6) {
    if (length < static_cast<int>(sizeof(sockaddr_in6))) return WSAEFAULT;
    std::memcpy(&out, address, sizeof(sockaddr_in6));
    out.ss_family = AF_INET6;
    outLength = sizeof(sockaddr_in6);
  } else {
    return WSAEAFNOSUPPORT;
  }
  return 0;
}

// The kernel's socket address into a Windows one of `*length` bytes.
int windowsAddress(const sockaddr_storage& in, socklen_t inLength, void* address, int* length) {
  if (address == nullptr || length == nullptr) return 0;
  sockaddr_storage copy = in;
  if (copy.ss_family == AF_INET6) copy.ss_family = kWinInet6;
  if (*length < static_cast<int>(inLength)) return WSAEFAULT;
  std::memcpy(address, &copy, inLength);
  *length = static_cast<int>(inLength);
  return 0;
}

int nativeFamily(int family) { return family == kWinInet6 ? AF_INET6 : family; }

// ---- Options -----------------------------------------------------------------------------------

int readInt(const void* value, int length, int& out) {
  if (value == nullptr || length < 1) return WSAEFAULT;
  if (length >= 4) {
    std::memcpy(&out, value, 4);
  } else {
    out = *static_cast<const unsigned char*>(value);  // a one-byte BOOL or TTL
  }
  return 0;
}

int writeInt(int in, void* value, int* length) {
  if (value == nullptr || length == nullptr || *length < 4) return WSAEFAULT;
  std::memcpy(value, &in, 4);
  *length = 4;
  return 0;
}

}  // namespace

int openSocket(int family, int type, int protocol, int& fd) {
  const int native = nativeFamily(family);
  if (native != AF_INET && native != AF_INET6) return WSAEAFNOSUPPORT;
  if (native == AF_INET && type == SOCK_RAW && protocol == IPPROTO_ICMP) {
    bool datagram = false;
    int error = 0;
    fd = openIcmpSocket(false, datagram, error);
    if (fd < 0) return wsaFromErrno(error, WSAEACCES);
    if (datagram) adoptDatagramIcmp(fd);
    return 0;
  }
  fd = socket(native, type | SOCK_CLOEXEC, protocol);
  return fd >= 0 ? 0 : lastError(WSAESOCKTNOSUPPORT);
}

int closeSocket(int fd) {
  forgetSocketEvents(fd);
  forgetDatagramIcmp(fd);
  return close(fd) == 0 ? 0 : lastError(WSAENOTSOCK);
}

int shutdownSocket(int fd, int how) {
  if (how < 0 || how > 2) return WSAEINVAL;
  static const int kHow[] = {SHUT_RD, SHUT_WR, SHUT_RDWR};
  return shutdown(fd, kHow[how]) == 0 ? 0 : lastError();
}

int bindSocket(int fd, const void* address, int length) {
  sockaddr_storage native;
  socklen_t nativeLength = 0;
  const int rc = nativeAddress(address, length, native, nativeLength);
  if (rc != 0) return rc;
  return bind(fd, reinterpret_cast<sockaddr*>(&native), nativeLength) == 0 ? 0 : lastError();
}

int connectSocket(int fd, const void* address, int length) {
  sockaddr_storage native;
  socklen_t nativeLength = 0;
  const int rc = nativeAddress(address, length, native, nativeLength);
  if (rc != 0) return rc;
  noteConnecting(fd);
  if (connect(fd, reinterpret_cast<sockaddr*>(&native), nativeLength) == 0) return 0;
  return errno == EINPROGRESS ? WSAEWOULDBLOCK : lastError();
}

int listenSocket(int fd, int backlog) { return listen(fd, backlog) == 0 ? 0 : lastError(); }

int acceptSocket(int fd, void* address, int* length, int& accepted) {
  sockaddr_storage peer{};
  socklen_t peerLength = sizeof peer;
  accepted = accept4(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength, SOCK_CLOEXEC);
  if (accepted < 0) return ioError(fd);
  noteAccepted(fd, accepted);
  return windowsAddress(peer, peerLength, address, length);
}

int socketName(int fd, bool peer, void* address, int* length) {
  sockaddr_storage name{};
  socklen_t nameLength = sizeof name;
  const int rc = peer ? getpeername(fd, reinterpret_cast<sockaddr*>(&name), &nameLength)
                      : getsockname(fd, reinterpret_cast<sockaddr*>(&name), &nameLength);
  if (rc != 0) return lastError();
  if (address == nullptr || length == nullptr) return WSAEFAULT;
  return windowsAddress(name, nameLength, address, length);
}

int sendSocket(int fd, const void* buffer, int length, int flags, const void* to, int toLength, int& sent) {
  int native = 0;
  int rc = nativeMessageFlags(flags, native);
  if (rc != 0) return rc;
  if (buffer == nullptr || length < 0) return WSAEFAULT;
  sockaddr_storage address;
  socklen_t addressLength = 0;
  if (to != nullptr && (rc = nativeAddress(to, toLength, address, addressLength)) != 0) return rc;
  ssize_t n;
  if (isDatagramIcmp(fd)) {
    n = sendDatagramIcmp(fd, buffer, static_cast<size_t>(length), native,
                         to != nullptr ? reinterpret_cast<const sockaddr_in*>(&address) : nullptr);
  } else {
    n = sendto(fd, buffer, static_cast<size_t>(length), native | MSG_NOSIGNAL,
               to != nullptr ? reinterpret_cast<const sockaddr*>(&address) : nullptr, addressLength);
  }
  if (n < 0) {
    rc = ioError(fd);
    if (rc == WSAEWOULDBLOCK) noteSendBlocked(fd);
    return rc;
  }
  sent = static_cast<int>(n);
  return 0;
}

int receiveSocket(int fd, void* buffer, int length, int flags, void* from, int* fromLength, int& received) {
  int native = 0;
  int rc = nativeMessageFlags(flags, native);
  if (rc != 0) return rc;
  if (buffer == nullptr || length < 0 || (from != nullptr && fromLength == nullptr)) return WSAEFAULT;
  noteReceive(fd);
  sockaddr_storage peer{};
  socklen_t peerLength = sizeof peer;
  ssize_t n;
  const bool datagram = socketKind(fd) != SOCK_STREAM;
  if (isDatagramIcmp(fd)) {
    n = receiveDatagramIcmp(fd, buffer, static_cast<size_t>(length), native, reinterpret_cast<sockaddr_in*>(&peer));
    peerLength = sizeof(sockaddr_in);
  } else {
    n = recvfrom(fd, buffer, static_cast<size_t>(length), native | (datagram ? MSG_TRUNC : 0),
                 reinterpret_cast<sockaddr*>(&peer), &peerLength);
  }
  if (n < 0) return ioError(fd);
  if ((rc = windowsAddress(peer, peerLength, from, fromLength)) != 0) return rc;
  if (datagram && n > length) return WSAEMSGSIZE;  // the buffer holds the start
  received = static_cast<int>(n);
  return 0;
}

int setSocketOption(int fd, int level, int name, const void* value, int length) {
  const Option* o = findOption(level, name);
  if (o == nullptr) return WSAENOPROTOOPT;
  int n = 0;
  int rc = 0;
  switch (o->value) {
    case Value::kInt:
    case Value::kBool:
    case Value::kError:
      if ((rc = readInt(value, length, n)) != 0) return rc;
      if (o->name == IP_MTU_DISCOVER) n = n != 0 ? IP_PMTUDISC_DO : IP_PMTUDISC_DONT;
      if (o->value == Value::kBool) n = n != 0;
      return setsockopt(fd, o->level, o->name, &n, sizeof n) == 0 ? 0 : lastError();
    case Value::kMilliseconds: {
      if ((rc = readInt(value, length, n)) != 0) return rc;
      const uint32_t ms = static_cast<uint32_t>(n);
      timeval tv{static_cast<time_t>(ms / 1000), static_cast<suseconds_t>(ms % 1000) * 1000};
      return setsockopt(fd, o->level, o->name, &tv, sizeof tv) == 0 ? 0 : lastError();
    }
    case Value::kLinger: {
      if (value == nullptr || length < 4) return WSAEFAULT;
      uint16_t parts[2];
      std::memcpy(parts, value, sizeof parts);
      const linger l{parts[0], parts[1]};
      return setsockopt(fd, o->level, o->name, &l, sizeof l) == 0 ? 0 : lastError();
    }
    case Value::kByte:
      if (value == nullptr || length < 0) return WSAEFAULT;
      return setsockopt(fd, o->level, o->name, value, static_cast<socklen_t>(length)) == 0 ? 0 : lastError();
  }
  return WSAENOPROTOOPT;
}

int getSocketOption(int fd, int level, int name, void* value, int* length) {
  const Option* o = findOption(level, name);
  if (o == nullptr) return WSAENOPROTOOPT;
  if (value == nullptr || length == nullptr) return WSAEFAULT;
  switch (o->value) {
    case Value::kError:
      return writeInt(wsaFromErrno(takeSocketError(fd), 0), value, length);
    case Value::kInt:
    case Value::kBool: {
      int n = 0;
      socklen_t size = sizeof n;
      if (getsockopt(fd, o->level, o->name, &n, &size) != 0) return lastError();
      if (o->name == IP_MTU_DISCOVER) n = n == IP_PMTUDISC_DO;
      return writeInt(n, value, length);
    }
    case Value::kMilliseconds: {
      timeval tv{};
      socklen_t size = sizeof tv;
      if (getsockopt(fd, o->level, o->name, &tv, &size) != 0) return lastError();
      return writeInt(static_cast<int>(tv.tv_sec * 1000 + tv.tv_usec / 1000), value, length);
    }
    case Value::kLinger: {
      linger l{};
      socklen_t size = sizeof l;
      if (getsockopt(fd, o->level, o->name, &l, &size) != 0) return lastError();
      if (*length < 4) return WSAEFAULT;
      const uint16_t parts[2] = {static_cast<uint16_t>(l.l_onoff), static_cast<uint16_t>(l.l_linger)};
      std::memcpy(value, parts, sizeof parts);
      *length = 4;
      return 0;
    }
    case Value::kByte: {
      socklen_t size = static_cast<socklen_t>(*length);
      if (getsockopt(fd, o->level, o->name, value, &size) != 0) return lastError();
      *length = static_cast<int>(size);
      return 0;
    }
  }
  return WSAENOPROTOOPT;
}

int controlSocket(int fd, int32_t command, uint32_t* argument) {
  if (argument == nullptr) return WSAEFAULT;
  switch (command) {
    case kWinFionbio: {
      const int flags = fcntl(fd, F_GETFL);
      if (flags < 0) return lastError(WSAENOTSOCK);
      const int wanted = *argument != 0 ? flags | O_NONBLOCK : flags & ~O_NONBLOCK;
      return fcntl(fd, F_SETFL, wanted) == 0 ? 0 : lastError();
    }
    case kWinFionread: {
      if (isDatagramIcmp(fd)) {
        *argument = static_cast<uint32_t>(pendingDatagramIcmp(fd));
        return 0;
      }
      int n = 0;
      if (ioctl(fd, FIONREAD, &n) != 0) return lastError(WSAENOTSOCK);
      *argument = static_cast<uint32_t>(n);
      return 0;
    }
    case kWinSiocatmark: {
      int mark = 0;
      if (ioctl(fd, SIOCATMARK, &mark) != 0) return lastError(WSAENOTSOCK);
      *argument = mark != 0;
      return 0;
    }
    default:
      return WSAEINVAL;
  }
}

int selectSockets(fd_set* readfds, fd_set* writefds, fd_set* exceptfds, const timeval* timeout, int& count) {
  int highest = -1;
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    if ((readfds != nullptr && FD_ISSET(fd, readfds)) || (writefds != nullptr && FD_ISSET(fd, writefds)) ||
        (exceptfds != nullptr && FD_ISSET(fd, exceptfds))) {
      highest = fd;
    }
  }
  if (highest < 0) return WSAEINVAL;  // Windows wants at least one socket
  fd_set writeCopy;
  if (writefds != nullptr) writeCopy = *writefds;
  timeval left{};
  if (timeout != nullptr) left = *timeout;
  for (;;) {
    const int n = select(highest + 1, readfds, writefds, exceptfds, timeout != nullptr ? &left : nullptr);
    if (n >= 0) {
      count = n;
      break;
    }
    if (errno != EINTR) return lastError();
  }
  // A connection that failed is reported among the exceptions, not the
  // writable sockets.
  for (int fd = 0; writefds != nullptr && fd <= highest; ++fd) {
    if (!FD_ISSET(fd, &writeCopy) || !FD_ISSET(fd, writefds) || !connectionFailed(fd)) continue;
    FD_CLR(fd, writefds);
    if (exceptfds != nullptr && !FD_ISSET(fd, exceptfds)) {
      FD_SET(fd, exceptfds);
    } else {
      --count;
    }
  }
  return 0;
}

}  // namespace om::kernel
