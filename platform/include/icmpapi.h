// The ICMP echo functions of the IP helper library, with the Windows names
// and contracts. They live in a shared library of their own,
// libiphlpapi.so (built in platform/winsock), which programs load at run
// time (LoadLibraryA("IPHlpApi.DLL")) and call through GetProcAddress; the
// declarations here give the functions' types.
//
// The library sends ICMPv6 echo requests from a raw ICMPv6 socket, or, when
// the caller lacks the privilege for one (no CAP_NET_RAW), from an ICMPv6
// datagram socket (net.ipv4.ping_group_range must admit the caller's
// group). Only the synchronous form of Icmp6SendEcho2 is provided: an event
// or an APC routine makes it fail with ERROR_NOT_SUPPORTED.
//
// Windows keeps the last error in the one system library every module
// shares; here the library keeps its own, per thread, and hands it out
// through OmIphlpapiGetLastError, which its loaders read after a call fails.
#ifndef OM_PLATFORM_ICMPAPI_H_
#define OM_PLATFORM_ICMPAPI_H_

#include <ipexport.h>
#include <ws2tcpip.h>

// Marks the library's exported functions.
#define IPHLPAPI_DLL_LINKAGE __attribute__((visibility("default")))

struct _IO_STATUS_BLOCK;
typedef void(WINAPI* PIO_APC_ROUTINE)(PVOID apcContext, struct _IO_STATUS_BLOCK* ioStatusBlock, ULONG reserved);

extern "C" {

// A handle for ICMPv6 echo requests, or INVALID_HANDLE_VALUE with
// ERROR_NOT_SUPPORTED when the system has no IPv6.
IPHLPAPI_DLL_LINKAGE HANDLE WINAPI Icmp6CreateFile();

// Sends one echo request with `requestSize` bytes of `requestData` to
// `destination` (family AF_INET6) from `source` (the unspecified address
// lets the system choose) and waits up to `timeout` milliseconds for the
// answer. `options` may be null; its Ttl, when not 0, is the hop limit and
// its Tos the traffic class. The answer is written to `replyBuffer` as one
// ICMPV6_ECHO_REPLY followed by the reply data; the buffer must hold the
// record, the request's size and 8 bytes more (IP_BUF_TOO_SMALL otherwise).
//
// Returns the number of replies: 1 for an echo reply (Status IP_SUCCESS) or
// for an ICMPv6 error about the request (Status IP_DEST_NO_ROUTE,
// IP_DEST_ADDR_UNREACHABLE, IP_DEST_PROHIBITED, IP_DEST_PORT_UNREACHABLE,
// IP_DEST_SCOPE_MISMATCH, IP_DEST_UNREACHABLE, IP_PACKET_TOO_BIG,
// IP_HOP_LIMIT_EXCEEDED, IP_REASSEMBLY_TIME_EXCEEDED, IP_PARAMETER_PROBLEM or
// IP_UNRECOGNIZED_NEXT_HEADER; Address is the sender of the error). 0 when
// nothing came back in time (IP_REQ_TIMED_OUT, also in the record's Status)
// or the request could not be sent (IP_DEST_NO_ROUTE, IP_DEST_ADDR_UNREACHABLE,
// IP_BAD_ROUTE for a source that is not local, ERROR_ACCESS_DENIED when
// neither kind of ICMPv6 socket is allowed, IP_GENERAL_FAILURE,
// ERROR_INVALID_PARAMETER, ERROR_INVALID_HANDLE), the reason being the last
// error.
IPHLPAPI_DLL_LINKAGE DWORD WINAPI Icmp6SendEcho2(HANDLE icmpHandle, HANDLE event, PIO_APC_ROUTINE apcRoutine,
                                                 PVOID apcContext, struct sockaddr_in6* source,
                                                 struct sockaddr_in6* destination, LPVOID requestData,
                                                 WORD requestSize, PIP_OPTION_INFORMATION options,
                                                 LPVOID replyBuffer, DWORD replySize, DWORD timeout);

// Closes a handle of Icmp6CreateFile; FALSE with ERROR_INVALID_HANDLE for
// any other value.
IPHLPAPI_DLL_LINKAGE BOOL WINAPI IcmpCloseHandle(HANDLE icmpHandle);

// The calling thread's last error inside the library.
IPHLPAPI_DLL_LINKAGE DWORD WINAPI OmIphlpapiGetLastError();

}  // extern "C"

#endif  // OM_PLATFORM_ICMPAPI_H_
