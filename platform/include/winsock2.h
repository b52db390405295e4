// Windows Sockets 2 on Linux: the names, values and structure layouts of the
// Windows header, implemented in platform/winsock over the C library.
//
// Address families keep their Windows numbers (AF_INET6 is 23); structures
// have the Windows layout and are converted to the kernel's only inside the
// platform layer. Errors are Winsock numbers, read with WSAGetLastError, which
// shares the thread's slot with GetLastError.
//
// The C library's <sys/types.h> and <unistd.h> come in with the C++ standard
// headers, so this header does not redefine what they already define:
// u_char, u_short, u_int and u_long are theirs (u_long is 64 bits there; the
// declarations below use ULONG where the Windows width matters), and
// socklen_t is the C library's unsigned int.
#ifndef OM_PLATFORM_WINSOCK2_H_
#define OM_PLATFORM_WINSOCK2_H_

#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include <om/WinsockErrors.h>
#include <windows.h>

#define WSAAPI

typedef INT* LPINT;  // a repeat of the same typedef elsewhere is harmless

// ---- Sockets -----------------------------------------------------------------

typedef UINT_PTR SOCKET;
#define INVALID_SOCKET ((SOCKET)(~0))
#define SOCKET_ERROR (-1)

#define SOCK_STREAM 1
#define SOCK_DGRAM 2
#define SOCK_RAW 3
#define SOCK_RDM 4
#define SOCK_SEQPACKET 5

// ---- Address families and protocols ------------------------------------------

typedef USHORT ADDRESS_FAMILY;

#define AF_UNSPEC 0
#define AF_UNIX 1
#define AF_INET 2
#define AF_INET6 23
#define PF_UNSPEC AF_UNSPEC
#define PF_INET AF_INET
#define PF_INET6 AF_INET6

#define IPPROTO_IP 0
#define IPPROTO_ICMP 1
#define IPPROTO_TCP 6
#define IPPROTO_UDP 17
#define IPPROTO_IPV6 41
#define IPPROTO_ICMPV6 58
#define IPPROTO_RAW 255

// ---- IPv4 addresses -------------------------------------------------------------

typedef struct in_addr {
  union {
    struct {
      UCHAR s_b1, s_b2, s_b3, s_b4;
    } S_un_b;
    struct {
      USHORT s_w1, s_w2;
    } S_un_w;
    ULONG S_addr;
  } S_un;
} IN_ADDR, *PIN_ADDR, *LPIN_ADDR;

#define s_addr S_un.S_addr
#define s_host S_un.S_un_b.s_b2
#define s_net S_un.S_un_b.s_b1
#define s_imp S_un.S_un_w.s_w2
#define s_impno S_un.S_un_b.s_b4
#define s_lh S_un.S_un_b.s_b3

#define INADDR_ANY ((ULONG)0x00000000)
#define INADDR_LOOPBACK 0x7f000001
#define INADDR_BROADCAST ((ULONG)0xffffffff)
#define INADDR_NONE 0xffffffff

typedef struct sockaddr {
  ADDRESS_FAMILY sa_family;
  CHAR sa_data[14];
} SOCKADDR, *PSOCKADDR, *LPSOCKADDR;

typedef struct sockaddr_in {
  ADDRESS_FAMILY sin_family;
  USHORT sin_port;  // network byte order
  IN_ADDR sin_addr;
  CHAR sin_zero[8];
} SOCKADDR_IN, *PSOCKADDR_IN, *LPSOCKADDR_IN;

// Room for any socket address (Windows layout, 128 bytes).
typedef struct sockaddr_storage {
  ADDRESS_FAMILY ss_family;
  CHAR __ss_pad1[6];
  LONGLONG __ss_align;
  CHAR __ss_pad2[112];
} SOCKADDR_STORAGE, *PSOCKADDR_STORAGE, *LPSOCKADDR_STORAGE;

// ---- Byte order -------------------------------------------------------------------

inline USHORT htons(USHORT host) { return static_cast<USHORT>((host >> 8) | (host << 8)); }
inline USHORT ntohs(USHORT net) { return htons(net); }
inline ULONG htonl(ULONG host) {
  return (host >> 24) | ((host >> 8) & 0x0000FF00u) | ((host << 8) & 0x00FF0000u) | (host << 24);
}
inline ULONG ntohl(ULONG net) { return htonl(net); }

// ---- Start-up -----------------------------------------------------------------------

#define WSADESCRIPTION_LEN 256
#define WSASYS_STATUS_LEN 128

// The 64-bit Windows layout.
typedef struct WSAData {
  WORD wVersion;
  WORD wHighVersion;
  unsigned short iMaxSockets;
  unsigned short iMaxUdpDg;
  char* lpVendorInfo;
  char szDescription[WSADESCRIPTION_LEN + 1];
  char szSystemStatus[WSASYS_STATUS_LEN + 1];
} WSADATA, *LPWSADATA;

// Starts the library for the process; reference counted with WSACleanup.
// Versions from 1.0 up are accepted and answered with at most 2.2. Returns 0
// or the error itself (WSAVERNOTSUPPORTED, WSAEFAULT); it does not set the
// last error.
int WSAStartup(WORD versionRequested, LPWSADATA data);
// Undoes one WSAStartup. Without a matching start-up it fails with
// WSANOTINITIALISED. After the last one, calls that need the library fail
// with WSANOTINITIALISED.
int WSACleanup();

int WSAGetLastError();
void WSASetLastError(int error);

// ---- Address text ----------------------------------------------------------------------

// Dotted text ("a.b.c.d", and the shorter "a.b.c", "a.b", "a" forms, each part
// decimal, octal with a leading 0 or hexadecimal with 0x) to an address in
// network byte order; INADDR_NONE when the text is not an address. The text
// may end at a blank. Needs no WSAStartup.
ULONG inet_addr(const char* text);

// The dotted-decimal text of `address`, in a buffer of the calling thread that
// the next call on the same thread overwrites. Needs no WSAStartup.
char* inet_ntoa(struct in_addr address);

// Protocol information of a provider. Only passed through here, as null.
typedef struct _WSAPROTOCOL_INFOA WSAPROTOCOL_INFOA, *LPWSAPROTOCOL_INFOA;

// Parses an address text of family AF_INET ("a.b.c.d" or "a.b.c.d:port") or
// AF_INET6 ("addr", "addr%scope", "[addr]", "[addr%scope]:port") into a
// sockaddr_in (16 bytes) or the Windows sockaddr_in6 (28 bytes, family 23).
// `*addressLength` gives the room at `address`; on success it receives the
// size written. Fails with SOCKET_ERROR and the last error WSAEFAULT (room too
// small, with the size needed stored in `*addressLength`), WSAEINVAL (text not
// an address of that family, or another family) or WSANOTINITIALISED.
INT WSAStringToAddressA(LPSTR addressString, INT addressFamily, LPWSAPROTOCOL_INFOA protocolInfo,
                        LPSOCKADDR address, LPINT addressLength);
#define WSAStringToAddress WSAStringToAddressA

// The text of a sockaddr_in or sockaddr_in6 in the forms above; the port and
// the scope id appear only when they are not 0, and with a port an IPv6
// address is bracketed. `*stringLength` gives the room at `addressString` in
// characters; on success it receives the length written including the
// terminating NUL. Fails with SOCKET_ERROR and the last error WSAEFAULT (room
// too small, with the length needed stored), WSAEINVAL (null arguments,
// address shorter than its family's structure or of another family) or
// WSANOTINITIALISED.
INT WSAAddressToStringA(LPSOCKADDR address, DWORD addressLength, LPWSAPROTOCOL_INFOA protocolInfo,
                        LPSTR addressString, LPDWORD stringLength);
#define WSAAddressToString WSAAddressToStringA

// ---- Host names ------------------------------------------------------------------------

typedef struct hostent {
  char* h_name;
  char** h_aliases;
  short h_addrtype;
  short h_length;
  char** h_addr_list;
} HOSTENT, *PHOSTENT, *LPHOSTENT;
#define h_addr h_addr_list[0]

#define MAXGETHOSTSTRUCT 1024

// The local host's name. Fails with SOCKET_ERROR and WSAEFAULT when it does
// not fit into `length` bytes with its NUL, or WSANOTINITIALISED.
int gethostname(char* name, int length);
// Routes every call to the declaration above, whatever the integer type of
// its length: the C library's gethostname(char*, size_t) from <unistd.h>
// would otherwise win for a size_t length.
#define gethostname(name, length) gethostname((name), static_cast<int>(length))

// The IPv4 addresses of a host name (or of a dotted address; the local host
// for null or ""), in a hostent of the calling thread that the next call on
// the same thread overwrites. Null on failure with WSAHOST_NOT_FOUND,
// WSANO_DATA (the name has no IPv4 address), WSATRY_AGAIN, WSANO_RECOVERY or
// WSANOTINITIALISED.
struct hostent* gethostbyname(const char* name);

// ---- Sockets: creation and life ---------------------------------------------------------
//
// A SOCKET is the kernel's file descriptor. Address families, socket types
// and protocols are the Windows values above; sockaddr_in6 arguments have the
// Windows layout (family 23). Every call needs WSAStartup and fails with
// SOCKET_ERROR (or INVALID_SOCKET) and a Winsock error in the last error.

typedef unsigned int GROUP;

#define WSA_FLAG_OVERLAPPED 0x01
#define WSA_FLAG_NO_HANDLE_INHERIT 0x80

// Creates a socket. A raw IPv4 ICMP socket (AF_INET, SOCK_RAW, IPPROTO_ICMP)
// that the kernel refuses for want of privilege (no CAP_NET_RAW) is made from
// an ICMP datagram socket instead, when net.ipv4.ping_group_range admits the
// caller: the socket then still sends ICMP echo requests and receives whole
// IPv4 datagrams (a 20-byte IP header before each ICMP message), its echo
// replies carry the identifier the caller sent, and the ICMP errors about its
// requests arrive as ICMP error datagrams, as on a raw socket. Such a socket
// sends echo requests only and receives only the replies and errors for its
// own requests. Protocol info and group are not supported (must be null and 0).
SOCKET WSASocketA(int af, int type, int protocol, LPWSAPROTOCOL_INFOA protocolInfo, GROUP group,
                  DWORD flags);
#define WSASocket WSASocketA
SOCKET socket(int af, int type, int protocol);
// Closes the socket and cancels its WSAEventSelect.
int closesocket(SOCKET s);

#define SD_RECEIVE 0
#define SD_SEND 1
#define SD_BOTH 2
int shutdown(SOCKET s, int how);

int bind(SOCKET s, const struct sockaddr* name, int nameLength);
// A non-blocking socket answers WSAEWOULDBLOCK while the connection is being
// made; FD_CONNECT (or select) then tells the outcome.
int connect(SOCKET s, const struct sockaddr* name, int nameLength);
#define SOMAXCONN 0x7fffffff
int listen(SOCKET s, int backlog);
// The new socket inherits the listening socket's WSAEventSelect.
SOCKET accept(SOCKET s, struct sockaddr* address, int* addressLength);
int getsockname(SOCKET s, struct sockaddr* name, int* nameLength);
int getpeername(SOCKET s, struct sockaddr* name, int* nameLength);

// ---- Sending and receiving ---------------------------------------------------------------

#define MSG_OOB 0x1
#define MSG_PEEK 0x2
#define MSG_DONTROUTE 0x4
#define MSG_WAITALL 0x8

// A blocking call that runs out of SO_SNDTIMEO / SO_RCVTIMEO fails with
// WSAETIMEDOUT, a non-blocking one that cannot go on with WSAEWOULDBLOCK. A
// datagram longer than the buffer fills it and fails with WSAEMSGSIZE.
// Writing to a closed connection fails with WSAESHUTDOWN or WSAECONNRESET and
// raises no signal.
int send(SOCKET s, const char* buffer, int length, int flags);
int sendto(SOCKET s, const char* buffer, int length, int flags, const struct sockaddr* to, int toLength);
int recv(SOCKET s, char* buffer, int length, int flags);
int recvfrom(SOCKET s, char* buffer, int length, int flags, struct sockaddr* from, int* fromLength);

// ---- Socket options ------------------------------------------------------------------------
//
// Option levels and names are the Windows numbers; the values have the
// Windows types (BOOL and int options are 4 bytes; SO_RCVTIMEO and
// SO_SNDTIMEO a DWORD of milliseconds, 0 for no limit; SO_LINGER a linger of
// two u_short; SO_ERROR a Winsock error). An option not listed here fails with
// WSAENOPROTOOPT, a value shorter than its type with WSAEFAULT.

#define SOL_SOCKET 0xffff
#define SO_DEBUG 0x0001
#define SO_ACCEPTCONN 0x0002
#define SO_REUSEADDR 0x0004
#define SO_KEEPALIVE 0x0008
#define SO_DONTROUTE 0x0010
#define SO_BROADCAST 0x0020
#define SO_LINGER 0x0080
#define SO_OOBINLINE 0x0100
#define SO_SNDBUF 0x1001
#define SO_RCVBUF 0x1002
#define SO_SNDTIMEO 0x1005
#define SO_RCVTIMEO 0x1006
#define SO_ERROR 0x1007
#define SO_TYPE 0x1008

#define IP_OPTIONS 1
#define IP_HDRINCL 2
#define IP_TOS 3
#define IP_TTL 4
#define IP_MULTICAST_IF 9
#define IP_MULTICAST_TTL 10
#define IP_MULTICAST_LOOP 11
#define IP_DONTFRAGMENT 14

#define TCP_NODELAY 0x0001

#define IPV6_UNICAST_HOPS 4
#define IPV6_MULTICAST_HOPS 10
#define IPV6_V6ONLY 27

typedef struct linger {
  USHORT l_onoff;
  USHORT l_linger;
} LINGER, *PLINGER, *LPLINGER;

int setsockopt(SOCKET s, int level, int name, const char* value, int length);
int getsockopt(SOCKET s, int level, int name, char* value, int* length);

// ---- I/O control ------------------------------------------------------------------------------

// The Windows command numbers. FIONBIO switches blocking off (non-zero) or
// on; FIONREAD gives the bytes the next recv returns: the next datagram's
// length (with its IP header on a raw socket) or the bytes queued on a stream.
#define FIONREAD ((LONG)0x4004667F)
#define FIONBIO ((LONG)0x8004667E)
#define SIOCATMARK ((LONG)0x40047307)

int ioctlsocket(SOCKET s, LONG command, ULONG* argument);

// ---- select ------------------------------------------------------------------------------------
//
// fd_set, FD_SET, FD_CLR, FD_ISSET, FD_ZERO, FD_SETSIZE and struct timeval are
// the C library's: a SOCKET is a descriptor, so its sets serve unchanged.
// The C library also declares select with the same argument types, so the
// macro below sends every select call of five arguments made after this
// header to the Winsock version, which ignores nfds and leaves the time-out
// untouched, as on Windows, and reports a connection that failed in the
// exception set. Calls with another number of arguments (a member function
// named select, say) are left alone.

#include <sys/select.h>

typedef struct timeval TIMEVAL, *PTIMEVAL, *LPTIMEVAL;

int WSAAPI om_winsock_select(int nfds, fd_set* readfds, fd_set* writefds, fd_set* exceptfds,
                             const struct timeval* timeout);
#define OM_WINSOCK_SELECT_PICK(a1, a2, a3, a4, a5, a6, a7, a8, a9, name, ...) name
#define select(...)                                                                            \
  OM_WINSOCK_SELECT_PICK(__VA_ARGS__, select, select, select, select, om_winsock_select, select, \
                         select, select, select, select)                                       \
  (__VA_ARGS__)

// ---- Event objects -------------------------------------------------------------------------------
//
// A WSAEVENT is a manual-reset event that starts unsignalled. Here it is also
// a kernel HANDLE (WaitForSingleObject and CloseHandle work on it), built on
// an eventfd. WSAEventSelect ties a socket to it: the socket becomes
// non-blocking, and each network event of the mask is recorded, with its
// error code, when its condition arises, and signals the event. Conditions
// are found with poll(2) by the calls that look at the socket
// (WSAWaitForMultipleEvents, WaitForSingleObject, WSAEnumNetworkEvents); no
// thread runs behind them. As on Windows, an event once recorded is not
// recorded again until the call that re-enables it: FD_READ and FD_OOB after
// recv or recvfrom, FD_WRITE after a send that failed with WSAEWOULDBLOCK,
// FD_ACCEPT after accept; FD_CONNECT and FD_CLOSE come once per connection.
// An alertable wait is an ordinary wait here: no I/O completion routine
// exists to end it with WSA_WAIT_IO_COMPLETION.

typedef HANDLE WSAEVENT;
typedef HANDLE* LPWSAEVENT;

#define WSA_INVALID_EVENT ((WSAEVENT)nullptr)
#define WSA_MAXIMUM_WAIT_EVENTS 64
#define WSA_WAIT_FAILED WAIT_FAILED
#define WSA_WAIT_EVENT_0 WAIT_OBJECT_0
#define WSA_WAIT_IO_COMPLETION WAIT_IO_COMPLETION
#define WSA_WAIT_TIMEOUT WAIT_TIMEOUT
#define WSA_INFINITE INFINITE

#define FD_READ_BIT 0
#define FD_READ (1 << FD_READ_BIT)
#define FD_WRITE_BIT 1
#define FD_WRITE (1 << FD_WRITE_BIT)
#define FD_OOB_BIT 2
#define FD_OOB (1 << FD_OOB_BIT)
#define FD_ACCEPT_BIT 3
#define FD_ACCEPT (1 << FD_ACCEPT_BIT)
#define FD_CONNECT_BIT 4
#define FD_CONNECT (1 << FD_CONNECT_BIT)
#define FD_CLOSE_BIT 5
#define FD_CLOSE (1 << FD_CLOSE_BIT)
#define FD_QOS_BIT 6
#define FD_QOS (1 << FD_QOS_BIT)
#define FD_GROUP_QOS_BIT 7
#define FD_GROUP_QOS (1 << FD_GROUP_QOS_BIT)
#define FD_ROUTING_INTERFACE_CHANGE_BIT 8
#define FD_ROUTING_INTERFACE_CHANGE (1 << FD_ROUTING_INTERFACE_CHANGE_BIT)
#define FD_ADDRESS_LIST_CHANGE_BIT 9
#define FD_ADDRESS_LIST_CHANGE (1 << FD_ADDRESS_LIST_CHANGE_BIT)
#define FD_MAX_EVENTS 10
#define FD_ALL_EVENTS ((1 << FD_MAX_EVENTS) - 1)

typedef struct _WSANETWORKEVENTS {
  LONG lNetworkEvents;
  int iErrorCode[FD_MAX_EVENTS];
} WSANETWORKEVENTS, *LPWSANETWORKEVENTS;

// Null on failure (WSA_NOT_ENOUGH_MEMORY, WSANOTINITIALISED).
WSAEVENT WSACreateEvent();
// Closes the event and cancels the WSAEventSelect of every socket tied to it.
BOOL WSACloseEvent(WSAEVENT event);
BOOL WSASetEvent(WSAEVENT event);
BOOL WSAResetEvent(WSAEVENT event);
// Ties `s` to `event` for the FD_* events of `mask` (a mask of 0 unties it)
// and clears the socket's recorded events; conditions already present are
// recorded at once.
int WSAEventSelect(SOCKET s, WSAEVENT event, LONG mask);
// Waits until one (or, with `waitAll`, every) event is signalled: returns
// WSA_WAIT_EVENT_0 plus the index of the lowest signalled event,
// WSA_WAIT_TIMEOUT, or WSA_WAIT_FAILED with WSA_INVALID_HANDLE (an event not
// made by WSACreateEvent) or WSA_INVALID_PARAMETER (no events, or more than
// WSA_MAXIMUM_WAIT_EVENTS). Events stay signalled.
DWORD WSAWaitForMultipleEvents(DWORD count, const WSAEVENT* events, BOOL waitAll, DWORD milliseconds,
                               BOOL alertable);
// The events recorded for `s` since the last call, with their error codes,
// after looking at the socket once more; clears them and resets `event`
// when it is not null.
int WSAEnumNetworkEvents(SOCKET s, WSAEVENT event, LPWSANETWORKEVENTS networkEvents);

#endif  // OM_PLATFORM_WINSOCK2_H_
