// The C library side of the Winsock socket calls. Windows numbers go in
// (address families, option levels and names, ioctl commands, MSG_* flags)
// and socket addresses in the Windows layout; results come back as 0 or a
// Winsock error. Descriptors are the kernel's. Neutral types only (fd_set and
// timeval are the C library's on both sides).
// Internal to platform/winsock.
#ifndef OM_PLATFORM_WINSOCK_SOCKETKERNEL_H_
#define OM_PLATFORM_WINSOCK_SOCKETKERNEL_H_

#include <sys/select.h>

#include <cstdint>

namespace om::kernel {

int openSocket(int family, int type, int protocol, int& fd);
// Forgets everything kept about the descriptor, then closes it.
int closeSocket(int fd);
int shutdownSocket(int fd, int how);

int bindSocket(int fd, const void* address, int length);
int connectSocket(int fd, const void* address, int length);
int listenSocket(int fd, int backlog);
// `address` and `length` may be null.
int acceptSocket(int fd, void* address, int* length, int& accepted);
int socketName(int fd, bool peer, void* address, int* length);

// `to` null: send on a connected socket.
int sendSocket(int fd, const void* buffer, int length, int flags, const void* to, int toLength, int& sent);
// `from` and `fromLength` may be null.
int receiveSocket(int fd, void* buffer, int length, int flags, void* from, int* fromLength, int& received);

int setSocketOption(int fd, int level, int name, const void* value, int length);
int getSocketOption(int fd, int level, int name, void* value, int* length);
int controlSocket(int fd, int32_t command, uint32_t* argument);

// select over the C library's sets, ignoring nfds, with `timeout` unchanged.
int selectSockets(fd_set* readfds, fd_set* writefds, fd_set* exceptfds, const timeval* timeout, int& count);

}  // namespace om::kernel

#endif  // OM_PLATFORM_WINSOCK_SOCKETKERNEL_H_
