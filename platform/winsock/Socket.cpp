// The Winsock socket calls: start-up and argument checks, the last error,
// and SOCKET values; the work is done by SocketKernel.
#include <climits>

#include "Internal.h"
#include "SocketKernel.h"

namespace om::winsock {
namespace {

// The descriptor of a SOCKET, or -1 (with WSAENOTSOCK set) for a value that
// cannot be one; also checks the start-up.
int descriptor(SOCKET s) {
  if (!requireStarted()) return -1;
  if (s == INVALID_SOCKET || s > static_cast<SOCKET>(INT_MAX)) {
    WSASetLastError(WSAENOTSOCK);
    return -1;
  }
  return static_cast<int>(s);
}

// 0 for success; otherwise sets the last error and returns SOCKET_ERROR.
int result(int error) { return error == 0 ? 0 : fail(error); }

}  // namespace
}  // namespace om::winsock

using om::winsock::descriptor;
using om::winsock::result;

SOCKET WSASocketA(int af, int type, int protocol, LPWSAPROTOCOL_INFOA protocolInfo, GROUP group, DWORD) {
  if (!om::winsock::requireStarted()) return INVALID_SOCKET;
  if (protocolInfo != nullptr || group != 0) {
    WSASetLastError(WSAEINVAL);
    return INVALID_SOCKET;
  }
  int fd = -1;
  const int rc = om::kernel::openSocket(af, type, protocol, fd);
  if (rc != 0) {
    WSASetLastError(rc);
    return INVALID_SOCKET;
  }
  return static_cast<SOCKET>(fd);
}

SOCKET socket(int af, int type, int protocol) { return WSASocketA(af, type, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED); }

int closesocket(SOCKET s) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::closeSocket(fd));
}

int shutdown(SOCKET s, int how) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::shutdownSocket(fd, how));
}

int bind(SOCKET s, const struct sockaddr* name, int nameLength) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::bindSocket(fd, name, nameLength));
}

int connect(SOCKET s, const struct sockaddr* name, int nameLength) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::connectSocket(fd, name, nameLength));
}

int listen(SOCKET s, int backlog) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::listenSocket(fd, backlog));
}

SOCKET accept(SOCKET s, struct sockaddr* address, int* addressLength) {
  const int fd = descriptor(s);
  if (fd < 0) return INVALID_SOCKET;
  int accepted = -1;
  const int rc = om::kernel::acceptSocket(fd, address, addressLength, accepted);
  if (rc != 0) {
    if (accepted >= 0) om::kernel::closeSocket(accepted);
    WSASetLastError(rc);
    return INVALID_SOCKET;
  }
  return static_cast<SOCKET>(accepted);
}

int getsockname(SOCKET s, struct sockaddr* name, int* nameLength) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::socketName(fd, false, name, nameLength));
}

int getpeername(SOCKET s, struct sockaddr* name, int* nameLength) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::socketName(fd, true, name, nameLength));
}

int sendto(SOCKET s, const char* buffer, int length, int flags, const struct sockaddr* to, int toLength) {
  const int fd = descriptor(s);
  if (fd < 0) return SOCKET_ERROR;
  int sent = 0;
  const int rc = om::kernel::sendSocket(fd, buffer, length, flags, to, toLength, sent);
  return rc == 0 ? sent : om::winsock::fail(rc);
}

int send(SOCKET s, const char* buffer, int length, int flags) {
  return sendto(s, buffer, length, flags, nullptr, 0);
}

int recvfrom(SOCKET s, char* buffer, int length, int flags, struct sockaddr* from, int* fromLength) {
  const int fd = descriptor(s);
  if (fd < 0) return SOCKET_ERROR;
  int received = 0;
  const int rc = om::kernel::receiveSocket(fd, buffer, length, flags, from, fromLength, received);
  return rc == 0 ? received : om::winsock::fail(rc);
}

int recv(SOCKET s, char* buffer, int length, int flags) { return recvfrom(s, buffer, length, flags, nullptr, nullptr); }

int setsockopt(SOCKET s, int level, int name, const char* value, int length) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::setSocketOption(fd, level, name, value, length));
}

int getsockopt(SOCKET s, int level, int name, char* value, int* length) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::getSocketOption(fd, level, name, value, length));
}

int ioctlsocket(SOCKET s, LONG command, ULONG* argument) {
  const int fd = descriptor(s);
  return fd < 0 ? SOCKET_ERROR : result(om::kernel::controlSocket(fd, command, argument));
}

int WSAAPI om_winsock_select(int, fd_set* readfds, fd_set* writefds, fd_set* exceptfds, const struct timeval* timeout) {
  if (!om::winsock::requireStarted()) return SOCKET_ERROR;
  int count = 0;
  const int rc = om::kernel::selectSockets(readfds, writefds, exceptfds, timeout, count);
  return rc == 0 ? count : om::winsock::fail(rc);
}
