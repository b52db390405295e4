// The C library side of the Winsock event objects and WSAEventSelect: the
// event objects (kernel HANDLEs on an eventfd), the sockets tied to them and
// the network events recorded for each, found with poll(2) by whichever call
// looks. Network events are the Winsock FD_* bits; errors come back as
// Winsock numbers. Neutral types only.
// Internal to platform/winsock.
#ifndef OM_PLATFORM_WINSOCK_EVENTKERNEL_H_
#define OM_PLATFORM_WINSOCK_EVENTKERNEL_H_

#include <cstdint>

namespace om::kernel {

// A new event object as a HANDLE value, or null with `error` set.
void* createSocketEvent(int& error);
// True when `event` was made by createSocketEvent and is not closed yet.
bool isSocketEvent(void* event);
// Destroys the event; the sockets tied to it are untied.
bool closeSocketEvent(void* event);
bool signalSocketEvent(void* event, bool signalled);

// WSAEventSelect, WSAEnumNetworkEvents and WSAWaitForMultipleEvents; 0 or a
// Winsock error.
int selectNetworkEvents(int fd, void* event, int32_t mask);
int enumNetworkEvents(int fd, void* event, int32_t& events, int errors[10]);
// `result`: the index of the (first) signalled event, or -1 on time-out.
int waitSocketEvents(void* const* events, int count, bool waitAll, uint32_t milliseconds, int& result);

// What the socket calls tell the event records: a receive re-enables FD_READ
// and FD_OOB, a send that would block FD_WRITE, an accept FD_ACCEPT (and
// ties the new socket as its listener is tied); a connect starts a new
// connection (FD_CONNECT, FD_WRITE and FD_CLOSE once more).
void noteReceive(int fd);
void noteSendBlocked(int fd);
void noteAccepted(int listener, int accepted);
void noteConnecting(int fd);
// Forgets the socket's tie and state; for closesocket.
void forgetSocketEvents(int fd);

// For select: when `fd` is making a connection, whether it failed (the error
// is kept for SO_ERROR); ends the connecting state when it is settled.
bool connectionFailed(int fd);
// The socket's pending error (SO_ERROR) as an errno value: one kept by the
// calls above first, else the kernel's. Reading clears it.
int takeSocketError(int fd);

}  // namespace om::kernel

#endif  // OM_PLATFORM_WINSOCK_EVENTKERNEL_H_
