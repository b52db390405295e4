// Windows Sockets TCP/IP additions: IPv6 addresses and protocol-independent
// name resolution, with the Windows names, values and layouts.
//
// getaddrinfo, getnameinfo and freeaddrinfo are looked up in the C library
// at run time (once, on first use). When any of the three cannot be found,
// IPv4-only versions with the same contracts serve all three.
#ifndef OM_PLATFORM_WS2TCPIP_H_
#define OM_PLATFORM_WS2TCPIP_H_

#include <winsock2.h>

// ---- IPv6 addresses ----------------------------------------------------------------

typedef struct in6_addr {
  union {
    UCHAR Byte[16];
    USHORT Word[8];  // network byte order
  } u;
} IN6_ADDR, *PIN6_ADDR, *LPIN6_ADDR;

#define in_addr6 in6_addr
#define _S6_un u
#define _S6_u8 Byte
#define s6_addr _S6_un._S6_u8
#define s6_bytes u.Byte
#define s6_words u.Word

typedef struct {
  union {
    struct {
      ULONG Zone : 28;
      ULONG Level : 4;
    };
    ULONG Value;
  };
} SCOPE_ID, *PSCOPE_ID;

// The Windows layout: 28 bytes, family AF_INET6 (23).
typedef struct sockaddr_in6 {
  ADDRESS_FAMILY sin6_family;
  USHORT sin6_port;  // network byte order
  ULONG sin6_flowinfo;
  IN6_ADDR sin6_addr;
  union {
    ULONG sin6_scope_id;
    SCOPE_ID sin6_scope_struct;
  };
} SOCKADDR_IN6, *PSOCKADDR_IN6, *LPSOCKADDR_IN6;

#define INET_ADDRSTRLEN 22
#define INET6_ADDRSTRLEN 65

// ---- Name resolution -----------------------------------------------------------------

typedef const char* PCSTR;
typedef char* PCHAR;

typedef struct addrinfo {
  int ai_flags;
  int ai_family;
  int ai_socktype;
  int ai_protocol;
  size_t ai_addrlen;
  char* ai_canonname;
  struct sockaddr* ai_addr;
  struct addrinfo* ai_next;
} ADDRINFOA, *PADDRINFOA;

#define AI_PASSIVE 0x00000001
#define AI_CANONNAME 0x00000002
#define AI_NUMERICHOST 0x00000004
#define AI_NUMERICSERV 0x00000008
#define AI_ALL 0x00000100
#define AI_ADDRCONFIG 0x00000400
#define AI_V4MAPPED 0x00000800

#define NI_NOFQDN 0x01
#define NI_NUMERICHOST 0x02
#define NI_NAMEREQD 0x04
#define NI_NUMERICSERV 0x08
#define NI_DGRAM 0x10

#define NI_MAXHOST 1025
#define NI_MAXSERV 32

#define EAI_AGAIN WSATRY_AGAIN
#define EAI_BADFLAGS WSAEINVAL
#define EAI_FAIL WSANO_RECOVERY
#define EAI_FAMILY WSAEAFNOSUPPORT
#define EAI_MEMORY WSA_NOT_ENOUGH_MEMORY
#define EAI_NONAME WSAHOST_NOT_FOUND
#define EAI_NODATA WSANO_DATA
#define EAI_SERVICE WSATYPE_NOT_FOUND
#define EAI_SOCKTYPE WSAESOCKTNOSUPPORT

// Resolves `node` and `service` into a list that the caller frees with
// freeaddrinfo. Flags, families, socket types and protocols are the Windows
// values above; IPv6 entries hold the Windows sockaddr_in6. Returns 0 or an
// EAI_* (Winsock) error, which also becomes the last error;
// WSANOTINITIALISED before WSAStartup.
int getaddrinfo(PCSTR node, PCSTR service, const ADDRINFOA* hints, PADDRINFOA* result);

// The host and service names of a sockaddr_in or sockaddr_in6 (NI_* flags).
// A null buffer asks for no text of that kind; a buffer with a length of 0 is
// EAI_BADFLAGS. Returns 0 or an EAI_* (Winsock) error, which also becomes the
// last error: WSAEFAULT when `address` is null or shorter than its family's
// structure, or when a text does not fit its buffer; WSANOTINITIALISED before
// WSAStartup.
int getnameinfo(const SOCKADDR* address, socklen_t addressLength, PCHAR host, DWORD hostLength,
                PCHAR service, DWORD serviceLength, INT flags);

// Frees a list from getaddrinfo; null is allowed.
void freeaddrinfo(PADDRINFOA list);

#endif  // OM_PLATFORM_WS2TCPIP_H_
