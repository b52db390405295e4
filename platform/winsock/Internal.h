// Helpers shared by the Windows-facing sources of the Winsock layer.
// Internal to platform/winsock.
#ifndef OM_PLATFORM_WINSOCK_INTERNAL_H_
#define OM_PLATFORM_WINSOCK_INTERNAL_H_

#include <cstdint>
#include <string>

#include <winsock2.h>

namespace om::winsock {

// True between a WSAStartup and its last WSACleanup.
bool started();
// started(); otherwise sets the last error to WSANOTINITIALISED.
bool requireStarted();

// Sets the last error and returns SOCKET_ERROR.
int fail(int error);

// Parses the dotted forms of inet_addr ("a.b.c.d", "a.b.c", "a.b", "a"; each
// part decimal, octal with a leading 0 or hexadecimal with 0x) at `text`.
// On success `address` is in host byte order and `end` points just past the
// last digit.
bool parseIpv4(const char* text, const char*& end, uint32_t& address);

// Parses decimal digits at `text` (at least one) into a value no larger than
// `max`; `end` points just past them.
bool parseDecimal(const char* text, uint32_t max, const char*& end, uint32_t& value);

// "a.b.c.d" of an address in network byte order.
std::string formatIpv4(ULONG address);

}  // namespace om::winsock

#endif  // OM_PLATFORM_WINSOCK_INTERNAL_H_
