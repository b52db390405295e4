// WSAStringToAddressA and WSAAddressToStringA for AF_INET and AF_INET6.
#include <cstring>
#include <string>

#include <ws2tcpip.h>

#include "Internal.h"
#include "Kernel.h"

namespace om::winsock {
namespace {

// Parses an optional ":port" at `p`, which must then end the text.
bool parsePortSuffix(const char* p, uint32_t& port) {
  port = 0;
  if (*p == '\0') return true;
  if (*p != ':') return false;
  const char* end = nullptr;
  return parseDecimal(p + 1, 0xFFFF, end, port) && *end == '\0';
}

bool parseInet(const char* text, SOCKADDR_IN& out) {
  const char* end = nullptr;
  uint32_t address = 0;
  uint32_t port = 0;
  if (!parseIpv4(text, end, address) || !parsePortSuffix(end, port)) return false;
  out.sin_family = AF_INET;
  out.sin_port = htons(static_cast<USHORT>(port));
  out.sin_addr.s_addr = htonl(address);
  return true;
}

// "addr" or "addr%scope".
bool parseScopedIpv6(const std::string& text, SOCKADDR_IN6& out) {
  const size_t percent = text.find('%');
  uint32_t scope = 0;
  if (percent != std::string::npos) {
    const char* end = nullptr;
    if (!parseDecimal(text.c_str() + percent + 1, 0xFFFFFFFFu, end, scope) || *end != '\0') return false;
  }
  if (!om::kernel::parseIpv6(text.substr(0, percent).c_str(), out.sin6_addr.s6_addr)) return false;
  out.sin6_scope_id = scope;
  return true;
}

// "addr", "addr%scope", "[addr]", "[addr%scope]" and either bracketed form
// followed by ":port".
bool parseInet6(const char* text, SOCKADDR_IN6& out) {
  uint32_t port = 0;
  std::string inner = text;
  if (text[0] == '[') {
    const char* close = std::strchr(text, ']');
    if (close == nullptr || !parsePortSuffix(close + 1, port)) return false;
    inner.assign(text + 1, close);
  }
  if (!parseScopedIpv6(inner, out)) return false;
  out.sin6_family = AF_INET6;
  out.sin6_port = htons(static_cast<USHORT>(port));
  return true;
}

std::string inetText(const SOCKADDR_IN& address) {
  std::string text = formatIpv4(address.sin_addr.s_addr);
  if (address.sin_port != 0) text.append(":").append(std::to_string(ntohs(address.sin_port)));
  return text;
}

std::string inet6Text(const SOCKADDR_IN6& address) {
  const bool bracketed = address.sin6_port != 0;
  std::string text = bracketed ? "[" : "";
  text += om::kernel::formatIpv6(address.sin6_addr.s6_addr);
  if (address.sin6_scope_id != 0) text.append("%").append(std::to_string(address.sin6_scope_id));
  if (bracketed) text.append("]:").append(std::to_string(ntohs(address.sin6_port)));
  return text;
}

}  // namespace
}  // namespace om::winsock

INT WSAStringToAddressA(LPSTR addressString, INT addressFamily, LPWSAPROTOCOL_INFOA, LPSOCKADDR address,
                        LPINT addressLength) {
  using om::winsock::fail;
  if (!om::winsock::requireStarted()) return SOCKET_ERROR;
  if (address == nullptr || addressLength == nullptr) return fail(WSAEFAULT);
  if (addressFamily != AF_INET && addressFamily != AF_INET6) return fail(WSAEINVAL);
  const INT needed = addressFamily == AF_INET ? sizeof(SOCKADDR_IN) : sizeof(SOCKADDR_IN6);
  if (*addressLength < needed) {
    *addressLength = needed;
    return fail(WSAEFAULT);
  }
  if (addressString == nullptr) return fail(WSAEINVAL);
  bool parsed = false;
  if (addressFamily == AF_INET) {
    SOCKADDR_IN in{};
    parsed = om::winsock::parseInet(addressString, in);
    if (parsed) std::memcpy(address, &in, sizeof in);
  } else {
    SOCKADDR_IN6 in6{};
    parsed = om::winsock::parseInet6(addressString, in6);
    if (parsed) std::memcpy(address, &in6, sizeof in6);
  }
  if (!parsed) return fail(WSAEINVAL);
  *addressLength = needed;
  return 0;
}

INT WSAAddressToStringA(LPSOCKADDR address, DWORD addressLength, LPWSAPROTOCOL_INFOA, LPSTR addressString,
                        LPDWORD stringLength) {
  using om::winsock::fail;
  if (!om::winsock::requireStarted()) return SOCKET_ERROR;
  if (address == nullptr || stringLength == nullptr) return fail(WSAEINVAL);
  std::string text;
  if (address->sa_family == AF_INET && addressLength >= sizeof(SOCKADDR_IN)) {
    SOCKADDR_IN in;
    std::memcpy(&in, address, sizeof in);
    text = om::winsock::inetText(in);
  } else if (address->sa_family == AF_INET6 && addressLength >= sizeof(SOCKADDR_IN6)) {
    SOCKADDR_IN6 in6;
    std::memcpy(&in6, address, sizeof in6);
    text = om::winsock::inet6Text(in6);
  } else {
    return fail(WSAEINVAL);
  }
  const DWORD needed = static_cast<DWORD>(text.size() + 1);
  if (addressString == nullptr || *stringLength < needed) {
    *stringLength = needed;
    return fail(WSAEFAULT);
  }
  std::memcpy(addressString, text.c_str(), needed);
  *stringLength = needed;
  return 0;
}
