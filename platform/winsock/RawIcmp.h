// Raw IPv4 ICMP sockets made from ICMP datagram sockets, for callers without
// the privilege to open raw ones. The kernel then owns the echo identifier
// and reports ICMP errors through the socket's error queue; this module
// gives the caller what a raw socket would: each received message as a whole
// IPv4 datagram (a 20-byte header before the ICMP message), echo replies
// carrying the identifier and checksum the caller sent, and ICMP errors as
// error datagrams quoting the request as the caller sent it.
// Internal to platform/winsock (C library side).
#ifndef OM_PLATFORM_WINSOCK_RAWICMP_H_
#define OM_PLATFORM_WINSOCK_RAWICMP_H_

#include <netinet/in.h>
#include <sys/types.h>

#include <cstddef>

namespace om::kernel {

// Starts and ends the stand-in state of a datagram socket.
void adoptDatagramIcmp(int fd);
void forgetDatagramIcmp(int fd);
bool isDatagramIcmp(int fd);

// sendto of an ICMP echo request (other messages fail with EINVAL, as the
// kernel sends nothing else on such a socket). -1 with errno on failure.
ssize_t sendDatagramIcmp(int fd, const void* buffer, size_t length, int flags, const sockaddr_in* to);

// recvfrom of one datagram in the raw form, waiting as the socket's blocking
// mode and receive time-out say (EAGAIN when they end the wait). MSG_PEEK
// leaves the datagram queued. `length` returns the datagram's full size,
// which may exceed the buffer. -1 with errno on failure.
ssize_t receiveDatagramIcmp(int fd, void* buffer, size_t size, int flags, sockaddr_in* from);

// The size of the next datagram in the raw form; 0 when none is waiting.
size_t pendingDatagramIcmp(int fd);

}  // namespace om::kernel

#endif  // OM_PLATFORM_WINSOCK_RAWICMP_H_
