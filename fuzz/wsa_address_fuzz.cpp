// libFuzzer target for WSAStringToAddressA: the first byte chooses AF_INET or
// AF_INET6 (23), the rest is the text. An accepted address prints with
// WSAAddressToStringA, and that text parses back to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <winsock2.h>
#include <ws2tcpip.h>

namespace {

bool parse(std::string text, int family, sockaddr_in6& out, INT& length) {
  std::memset(&out, 0, sizeof out);
  length = sizeof out;
  return WSAStringToAddressA(text.data(), family, nullptr, reinterpret_cast<sockaddr*>(&out), &length) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool started = [] {
    WSADATA wsa;
    return WSAStartup(MAKEWORD(2, 2), &wsa) == 0;
  }();
  if (!started || size == 0) return 0;
  const int family = (data[0] & 1) != 0 ? AF_INET6 : AF_INET;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  sockaddr_in6 address;
  INT length = 0;
  if (!parse(text, family, address, length)) return 0;
  char printed[256];
  DWORD room = sizeof printed;
  if (WSAAddressToStringA(reinterpret_cast<sockaddr*>(&address), static_cast<DWORD>(length), nullptr, printed,
                          &room) != 0) {
    std::abort();
  }
  sockaddr_in6 again;
  INT againLength = 0;
  if (!parse(printed, family, again, againLength) || againLength != length ||
      std::memcmp(&again, &address, static_cast<size_t>(length)) != 0) {
    std::abort();
  }
  return 0;
}
