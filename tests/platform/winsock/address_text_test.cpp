#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <winsock2.h>
#include <ws2tcpip.h>

#include "WinsockSession.h"

namespace {

// WSAStringToAddressA into a buffer of `room` bytes; the error or 0.
int parse(const char* text, int family, void* out, INT& length) {
  std::string copy = text;
  return WSAStringToAddressA(copy.data(), family, nullptr, static_cast<sockaddr*>(out), &length) == 0
             ? 0
             : WSAGetLastError();
}

// WSAAddressToStringA with a large buffer; empty text on failure.
std::string print(const void* address, DWORD length) {
  char text[256];
  DWORD room = sizeof text;
  std::string copy(static_cast<const char*>(address), length);
  if (WSAAddressToStringA(reinterpret_cast<sockaddr*>(copy.data()), length, nullptr, text, &room) != 0) return "";
  EXPECT_EQ(room, std::strlen(text) + 1);
  return text;
}

TEST(WinsockAddressText, Ipv4ParseWithPortAndBufferLengths) {
  WinsockSession session;
  sockaddr_in in;
  std::memset(&in, 0xAA, sizeof in);
  INT length = sizeof in;
  ASSERT_EQ(parse("192.168.1.2:8080", AF_INET, &in, length), 0);
  EXPECT_EQ(length, 16);
  const unsigned char golden[16] = {2, 0, 0x1F, 0x90, 192, 168, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(&in, golden, 16), 0);

  length = 15;
  EXPECT_EQ(parse("1.2.3.4", AF_INET, &in, length), WSAEFAULT);
  EXPECT_EQ(length, 16);

  for (const char* bad : {"1.2.3.4:", "1.2.3.4:65536", "1.2.3.4:80x", "1.2.3.4 ", "host", "", "[1.2.3.4]"}) {
    length = sizeof in;
    EXPECT_EQ(parse(bad, AF_INET, &in, length), WSAEINVAL) << bad;
  }
  length = sizeof in;
  EXPECT_EQ(parse("1.2.3.4", 99, &in, length), WSAEINVAL);
  length = sizeof in;
  ASSERT_EQ(parse("10.0.0.1:65535", AF_INET, &in, length), 0);
  EXPECT_EQ(ntohs(in.sin_port), 65535);
}

TEST(WinsockAddressText, Ipv6ParseScopeBracketsAndPort) {
  WinsockSession session;
  sockaddr_in6 in6;
  std::memset(&in6, 0xAA, sizeof in6);
  INT length = sizeof in6;
  ASSERT_EQ(parse("[fe80::1%5]:8080", AF_INET6, &in6, length), 0);
  EXPECT_EQ(length, 28);
  const unsigned char golden[28] = {23, 0, 0x1F, 0x90, 0, 0, 0, 0,  0xFE, 0x80, 0, 0, 0, 0,
                                    0,  0, 0,    0,    0, 0, 0, 0, 0, 1,    5,    0, 0, 0};
  EXPECT_EQ(std::memcmp(&in6, golden, 28), 0);

  length = sizeof in6;
  ASSERT_EQ(parse("2001:db8::ff00:42:8329", AF_INET6, &in6, length), 0);
  EXPECT_EQ(in6.sin6_port, 0);
  EXPECT_EQ(in6.sin6_scope_id, 0u);
  EXPECT_EQ(in6.sin6_addr.s6_addr[15], 0x29);
  length = sizeof in6;
  ASSERT_EQ(parse("fe80::1%4294967295", AF_INET6, &in6, length), 0);
  EXPECT_EQ(in6.sin6_scope_id, 4294967295u);
  length = sizeof in6;
  ASSERT_EQ(parse("[::ffff:1.2.3.4]", AF_INET6, &in6, length), 0);
  EXPECT_EQ(in6.sin6_addr.s6_addr[12], 1);

  length = 27;
  EXPECT_EQ(parse("::1", AF_INET6, &in6, length), WSAEFAULT);
  EXPECT_EQ(length, 28);
  for (const char* bad : {"[::1]:", "[::1", "::1]:80", "::1:80:", "fe80::1%", "fe80::1%x", "fe80::1%4294967296",
                          "[::1]:65536", "::1:::2", "1.2.3.4", "[::1]80", "", "%1"}) {
    length = sizeof in6;
    EXPECT_EQ(parse(bad, AF_INET6, &in6, length), WSAEINVAL) << bad;
  }
}

TEST(WinsockAddressText, PrintRoundTripsAndBufferContract) {
  WinsockSession session;
  for (const char* text : {"fe80::1", "fe80::1%5", "[fe80::1%5]:8080", "[::1]:1", "::", "2001:db8:0:1:1:1:1:1",
                           "::ffff:1.2.3.4"}) {
    sockaddr_in6 in6{};
    INT length = sizeof in6;
    ASSERT_EQ(parse(text, AF_INET6, &in6, length), 0) << text;
    EXPECT_EQ(print(&in6, sizeof in6), text);
  }
  for (const char* text : {"1.2.3.4", "1.2.3.4:80", "0.0.0.0", "255.255.255.255:65535"}) {
    sockaddr_in in{};
    INT length = sizeof in;
    ASSERT_EQ(parse(text, AF_INET, &in, length), 0) << text;
    EXPECT_EQ(print(&in, sizeof in), text);
  }

  sockaddr_in6 in6{};
  INT length = sizeof in6;
  ASSERT_EQ(parse("[fe80::1%5]:8080", AF_INET6, &in6, length), 0);
  char text[17];
  DWORD room = 16;  // "[fe80::1%5]:8080" needs 17 with its NUL
  EXPECT_EQ(WSAAddressToStringA(reinterpret_cast<sockaddr*>(&in6), sizeof in6, nullptr, text, &room), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
  EXPECT_EQ(room, 17u);
  EXPECT_EQ(WSAAddressToStringA(reinterpret_cast<sockaddr*>(&in6), sizeof in6, nullptr, text, &room), 0);
  EXPECT_STREQ(text, "[fe80::1%5]:8080");

  room = sizeof text;
  EXPECT_EQ(WSAAddressToStringA(reinterpret_cast<sockaddr*>(&in6), 27, nullptr, text, &room), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
  sockaddr_in6 zero{};
  EXPECT_EQ(WSAAddressToStringA(reinterpret_cast<sockaddr*>(&zero), sizeof zero, nullptr, text, &room), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
  EXPECT_EQ(WSAAddressToStringA(reinterpret_cast<sockaddr*>(&in6), sizeof in6, nullptr, text, nullptr), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
}

}  // namespace
