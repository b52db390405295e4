#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Kernel.h"
#include "Resolver.h"
#include "WinsockSession.h"

namespace {

using om::winsock::Resolver;

// A resolver whose library lacks the three functions: the fallbacks answer.
const Resolver& fallbackResolver() {
  static const Resolver resolver(om::kernel::findResolver("libm.so.6"));
  return resolver;
}

sockaddr_in inetAddress(const char* text, USHORT port) {
  sockaddr_in in{};
  in.sin_family = AF_INET;
  in.sin_port = htons(port);
  in.sin_addr.s_addr = inet_addr(text);
  return in;
}

TEST(WinsockResolver, FoundInTheCLibraryAndNotElsewhere) {
  EXPECT_TRUE(om::kernel::findResolver(om::kernel::cLibraryName()).complete());
  EXPECT_FALSE(om::kernel::findResolver("libm.so.6").complete());
  EXPECT_FALSE(om::kernel::findResolver("libno-such-library.so").complete());
  EXPECT_TRUE(Resolver::process().native());
  EXPECT_FALSE(fallbackResolver().native());
}

TEST(WinsockResolver, GetaddrinfoGivesWindowsLayouts) {
  WinsockSession session;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* list = nullptr;
  ASSERT_EQ(getaddrinfo("127.0.0.1", "8080", &hints, &list), 0);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->ai_family, AF_INET);
  EXPECT_EQ(list->ai_socktype, SOCK_STREAM);
  EXPECT_EQ(list->ai_addrlen, sizeof(sockaddr_in));
  const sockaddr_in expected = inetAddress("127.0.0.1", 8080);
  EXPECT_EQ(std::memcmp(list->ai_addr, &expected, 8), 0);
  EXPECT_EQ(list->ai_next, nullptr);
  freeaddrinfo(list);

  hints.ai_family = AF_INET6;
  ASSERT_EQ(getaddrinfo("::1", "443", &hints, &list), 0);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->ai_family, 23);
  ASSERT_EQ(list->ai_addrlen, 28u);
  const unsigned char golden[28] = {23, 0, 0x01, 0xBB, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                    0,  0, 0,    0,    0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(list->ai_addr, golden, 28), 0);
  freeaddrinfo(list);

  hints = addrinfo{};
  hints.ai_flags = AI_CANONNAME;
  hints.ai_family = AF_INET;
  ASSERT_EQ(getaddrinfo("localhost", nullptr, &hints, &list), 0);
  ASSERT_NE(list->ai_canonname, nullptr);
  EXPECT_STREQ(list->ai_canonname, "localhost");
  EXPECT_EQ(list->ai_flags & AI_CANONNAME, AI_CANONNAME);
  freeaddrinfo(list);
  freeaddrinfo(nullptr);

  // Without a socket type, one entry per address with type and protocol 0.
  ASSERT_EQ(getaddrinfo("127.0.0.1", "80", nullptr, &list), 0);
  EXPECT_EQ(list->ai_socktype, 0);
  EXPECT_EQ(list->ai_protocol, 0);
  EXPECT_EQ(list->ai_next, nullptr);
  freeaddrinfo(list);
}

TEST(WinsockResolver, GetaddrinfoErrorsAreWinsockNumbers) {
  WinsockSession session;
  addrinfo* list = nullptr;
  addrinfo hints{};
  hints.ai_flags = 0x10000;
  EXPECT_EQ(getaddrinfo("127.0.0.1", nullptr, &hints, &list), EAI_BADFLAGS);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
  hints = addrinfo{};
  hints.ai_family = 99;
  EXPECT_EQ(getaddrinfo("127.0.0.1", nullptr, &hints, &list), EAI_FAMILY);
  EXPECT_EQ(WSAGetLastError(), WSAEAFNOSUPPORT);
  EXPECT_EQ(getaddrinfo(nullptr, nullptr, nullptr, &list), EAI_NONAME);
  hints = addrinfo{};
  hints.ai_next = &hints;
  EXPECT_EQ(getaddrinfo("127.0.0.1", nullptr, &hints, &list), EAI_FAIL);
  hints = addrinfo{};
  hints.ai_flags = AI_NUMERICHOST;
  EXPECT_EQ(getaddrinfo("not.numeric", nullptr, &hints, &list), WSAHOST_NOT_FOUND);
  EXPECT_EQ(list, nullptr);
}

TEST(WinsockResolver, GetnameinfoNumericAndErrors) {
  WinsockSession session;
  char host[NI_MAXHOST];
  char service[NI_MAXSERV];
  const sockaddr_in in = inetAddress("127.0.0.1", 80);
  const auto* sa = reinterpret_cast<const sockaddr*>(&in);
  ASSERT_EQ(getnameinfo(sa, sizeof in, host, sizeof host, service, sizeof service, NI_NUMERICHOST | NI_NUMERICSERV),
            0);
  EXPECT_STREQ(host, "127.0.0.1");
  EXPECT_STREQ(service, "80");
  ASSERT_EQ(getnameinfo(sa, sizeof in, host, sizeof host, nullptr, 0, NI_NAMEREQD), 0);
  EXPECT_STREQ(host, "localhost");

  sockaddr_in6 in6{};
  INT length = sizeof in6;
  char text[] = "[::1]:443";
  ASSERT_EQ(WSAStringToAddressA(text, AF_INET6, nullptr, reinterpret_cast<sockaddr*>(&in6), &length), 0);
  const auto* sa6 = reinterpret_cast<const sockaddr*>(&in6);
  ASSERT_EQ(getnameinfo(sa6, sizeof in6, host, sizeof host, service, sizeof service, NI_NUMERICHOST | NI_NUMERICSERV),
            0);
  EXPECT_STREQ(host, "::1");
  EXPECT_STREQ(service, "443");

  EXPECT_EQ(getnameinfo(sa6, 27, host, sizeof host, nullptr, 0, NI_NUMERICHOST), WSAEFAULT);
  EXPECT_EQ(getnameinfo(sa, sizeof in, host, 9, nullptr, 0, NI_NUMERICHOST), WSAEFAULT);  // "127.0.0.1" needs 10
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
  EXPECT_EQ(getnameinfo(sa, sizeof in, host, 10, nullptr, 0, NI_NUMERICHOST), 0);
  EXPECT_EQ(getnameinfo(sa, sizeof in, host, 0, nullptr, 0, 0), EAI_BADFLAGS);
  EXPECT_EQ(getnameinfo(sa, sizeof in, nullptr, 0, nullptr, 0, 0), EAI_NONAME);
  EXPECT_EQ(getnameinfo(nullptr, 0, host, sizeof host, nullptr, 0, 0), WSAEFAULT);
  sockaddr other{};
  other.sa_family = 99;
  EXPECT_EQ(getnameinfo(&other, sizeof other, host, sizeof host, nullptr, 0, 0), EAI_FAMILY);
}

TEST(WinsockFallbackResolver, Ipv4OnlyGetaddrinfo) {
  const Resolver& r = fallbackResolver();
  addrinfo* list = nullptr;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_DGRAM;
  ASSERT_EQ(r.getaddrinfo("10.1.2.3", "161", &hints, &list), 0);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->ai_family, AF_INET);
  EXPECT_EQ(list->ai_socktype, SOCK_DGRAM);
  EXPECT_EQ(list->ai_addrlen, 16u);
  sockaddr_in expected = inetAddress("10.1.2.3", 161);
  EXPECT_EQ(std::memcmp(list->ai_addr, &expected, sizeof expected), 0);
  r.freeaddrinfo(list);

  // The limited broadcast address is an address, not the parse failure.
  ASSERT_EQ(r.getaddrinfo("255.255.255.255", nullptr, nullptr, &list), 0);
  EXPECT_EQ(reinterpret_cast<sockaddr_in*>(list->ai_addr)->sin_addr.s_addr, 0xFFFFFFFFu);
  r.freeaddrinfo(list);

  hints = addrinfo{};
  hints.ai_flags = AI_PASSIVE;
  ASSERT_EQ(r.getaddrinfo(nullptr, "80", &hints, &list), 0);
  expected = inetAddress("0.0.0.0", 80);
  EXPECT_EQ(std::memcmp(list->ai_addr, &expected, sizeof expected), 0);
  r.freeaddrinfo(list);
  ASSERT_EQ(r.getaddrinfo(nullptr, "80", nullptr, &list), 0);
  expected = inetAddress("127.0.0.1", 80);
  EXPECT_EQ(std::memcmp(list->ai_addr, &expected, sizeof expected), 0);
  r.freeaddrinfo(list);

  hints = addrinfo{};
  hints.ai_flags = AI_CANONNAME;
  ASSERT_EQ(r.getaddrinfo("localhost", nullptr, &hints, &list), 0);
  ASSERT_NE(list->ai_canonname, nullptr);
  EXPECT_STREQ(list->ai_canonname, "localhost");
  for (addrinfo* p = list->ai_next; p != nullptr; p = p->ai_next) EXPECT_EQ(p->ai_canonname, nullptr);
  r.freeaddrinfo(list);

  uint16_t httpPort = 0;
  if (om::kernel::servicePort("http", false, httpPort)) {
    ASSERT_EQ(r.getaddrinfo("127.0.0.1", "http", nullptr, &list), 0);
    EXPECT_EQ(ntohs(reinterpret_cast<sockaddr_in*>(list->ai_addr)->sin_port), 80);
    r.freeaddrinfo(list);
  }

  hints = addrinfo{};
  hints.ai_family = AF_INET6;
  EXPECT_EQ(r.getaddrinfo("::1", nullptr, &hints, &list), EAI_FAMILY);
  EXPECT_EQ(r.getaddrinfo("::1", nullptr, nullptr, &list), WSAHOST_NOT_FOUND);
  EXPECT_EQ(r.getaddrinfo("127.0.0.1", "65536", nullptr, &list), EAI_SERVICE);
  EXPECT_EQ(r.getaddrinfo("127.0.0.1", "no-such-service", nullptr, &list), EAI_SERVICE);
  hints = addrinfo{};
  hints.ai_flags = AI_NUMERICSERV;
  EXPECT_EQ(r.getaddrinfo("127.0.0.1", "http", &hints, &list), EAI_NONAME);
  hints.ai_flags = AI_NUMERICHOST;
  EXPECT_EQ(r.getaddrinfo("localhost", nullptr, &hints, &list), EAI_NONAME);
  hints = addrinfo{};
  hints.ai_flags = AI_CANONNAME;
  EXPECT_EQ(r.getaddrinfo(nullptr, "80", &hints, &list), EAI_BADFLAGS);
  hints = addrinfo{};
  hints.ai_socktype = 9;
  EXPECT_EQ(r.getaddrinfo("127.0.0.1", nullptr, &hints, &list), EAI_SOCKTYPE);
  EXPECT_EQ(list, nullptr);
}

TEST(WinsockFallbackResolver, Ipv4OnlyGetnameinfo) {
  const Resolver& r = fallbackResolver();
  char host[NI_MAXHOST];
  char service[NI_MAXSERV];
  sockaddr_in in = inetAddress("127.0.0.1", 65535);
  const auto* sa = reinterpret_cast<const sockaddr*>(&in);
  // The longest port number fits six bytes exactly.
  ASSERT_EQ(r.getnameinfo(sa, sizeof in, nullptr, 0, service, 6, NI_NUMERICSERV), 0);
  EXPECT_STREQ(service, "65535");
  EXPECT_EQ(r.getnameinfo(sa, sizeof in, nullptr, 0, service, 5, NI_NUMERICSERV), WSAEFAULT);
  ASSERT_EQ(r.getnameinfo(sa, sizeof in, host, sizeof host, nullptr, 0, NI_NUMERICHOST), 0);
  EXPECT_STREQ(host, "127.0.0.1");
  ASSERT_EQ(r.getnameinfo(sa, sizeof in, host, sizeof host, nullptr, 0, 0), 0);
  EXPECT_STREQ(host, "localhost");

  in = inetAddress("127.0.0.1", 80);
  uint16_t httpPort = 0;
  if (om::kernel::servicePort("http", false, httpPort)) {
    ASSERT_EQ(r.getnameinfo(sa, sizeof in, nullptr, 0, service, sizeof service, 0), 0);
    EXPECT_STREQ(service, "http");
  }
  ASSERT_EQ(r.getnameinfo(sa, sizeof in, nullptr, 0, service, sizeof service, NI_NUMERICSERV), 0);
  EXPECT_STREQ(service, "80");

  sockaddr_in6 in6{};
  in6.sin6_family = AF_INET6;
  EXPECT_EQ(r.getnameinfo(reinterpret_cast<const sockaddr*>(&in6), sizeof in6, host, sizeof host, nullptr, 0,
                          NI_NUMERICHOST),
            EAI_FAMILY);
  EXPECT_EQ(r.getnameinfo(sa, 15, host, sizeof host, nullptr, 0, 0), WSAEFAULT);
}

}  // namespace
