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

#endif  // OM_PLATFORM_WINSOCK2_H_
