#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <winsock2.h>
#include <ws2tcpip.h>

#include "WinsockSession.h"

namespace {

TEST(WinsockLayout, WindowsSizesOffsetsAndNumbers) {
  EXPECT_EQ(sizeof(in_addr), 4u);
  EXPECT_EQ(sizeof(sockaddr), 16u);
  EXPECT_EQ(sizeof(sockaddr_in), 16u);
  EXPECT_EQ(offsetof(sockaddr_in, sin_port), 2u);
  EXPECT_EQ(offsetof(sockaddr_in, sin_addr), 4u);
  EXPECT_EQ(sizeof(in6_addr), 16u);
  EXPECT_EQ(sizeof(sockaddr_in6), 28u);
  EXPECT_EQ(offsetof(sockaddr_in6, sin6_port), 2u);
  EXPECT_EQ(offsetof(sockaddr_in6, sin6_flowinfo), 4u);
  EXPECT_EQ(offsetof(sockaddr_in6, sin6_addr), 8u);
  EXPECT_EQ(offsetof(sockaddr_in6, sin6_scope_id), 24u);
  EXPECT_EQ(sizeof(sockaddr_storage), 128u);
  // Windows order: the canonical name comes before the address.
  EXPECT_LT(offsetof(addrinfo, ai_addrlen), offsetof(addrinfo, ai_canonname));
  EXPECT_LT(offsetof(addrinfo, ai_canonname), offsetof(addrinfo, ai_addr));
  EXPECT_LT(offsetof(addrinfo, ai_addr), offsetof(addrinfo, ai_next));
  EXPECT_EQ(offsetof(hostent, h_addrtype), 16u);
  EXPECT_EQ(offsetof(hostent, h_length), 18u);
  EXPECT_EQ(offsetof(WSADATA, lpVendorInfo), 8u);

  in_addr a{};
  a.S_un.S_un_b.s_b1 = 10;
  a.S_un.S_un_b.s_b4 = 4;
  EXPECT_EQ(a.s_addr, 0x0400000Au);
  in6_addr b{};
  b.s6_addr[0] = 0xFE;
  b.s6_addr[1] = 0x80;
  EXPECT_EQ(b.s6_words[0], 0x80FE);

  EXPECT_EQ(AF_INET, 2);
  EXPECT_EQ(AF_INET6, 23);
  EXPECT_EQ(WSAEFAULT, 10014);
  EXPECT_EQ(WSAEINVAL, 10022);
  EXPECT_EQ(WSAEWOULDBLOCK, 10035);
  EXPECT_EQ(WSAEAFNOSUPPORT, 10047);
  EXPECT_EQ(WSAETIMEDOUT, 10060);
  EXPECT_EQ(WSANOTINITIALISED, 10093);
  EXPECT_EQ(WSAHOST_NOT_FOUND, 11001);
  EXPECT_EQ(WSANO_DATA, 11004);
  EXPECT_EQ(AI_NUMERICSERV, 0x08);
  EXPECT_EQ(AI_V4MAPPED, 0x800);
  EXPECT_EQ(NI_NUMERICHOST, 0x02);
  EXPECT_EQ(NI_NAMEREQD, 0x04);
  EXPECT_EQ(htons(0x1234), 0x3412);
  EXPECT_EQ(htonl(0x01020304u), 0x04030201u);
  EXPECT_EQ(ntohl(htonl(0xA0B0C0D0u)), 0xA0B0C0D0u);
}

TEST(WinsockStartup, VersionsAndReferenceCount) {
  WSADATA data;
  EXPECT_EQ(WSAStartup(MAKEWORD(0, 0), &data), WSAVERNOTSUPPORTED);
  EXPECT_EQ(WSAStartup(MAKEWORD(2, 2), nullptr), WSAEFAULT);

  // Every call that needs the library fails before it is started.
  char text[] = "1.2.3.4";
  sockaddr_in in{};
  INT length = sizeof in;
  EXPECT_EQ(WSAStringToAddressA(text, AF_INET, nullptr, reinterpret_cast<sockaddr*>(&in), &length), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
  char name[256];
  WSASetLastError(0);
  // A size_t length reaches the Winsock version too, not the C library's.
  EXPECT_EQ(gethostname(name, sizeof name), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
  EXPECT_EQ(gethostbyname("127.0.0.1"), nullptr);
  addrinfo* list = reinterpret_cast<addrinfo*>(&data);
  EXPECT_EQ(getaddrinfo("127.0.0.1", nullptr, nullptr, &list), WSANOTINITIALISED);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(WSACleanup(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
  // Address conversions do not need it.
  EXPECT_EQ(inet_addr("1.2.3.4"), 0x04030201u);

  ASSERT_EQ(WSAStartup(MAKEWORD(3, 1), &data), 0);
  EXPECT_EQ(data.wVersion, MAKEWORD(2, 2));
  EXPECT_EQ(data.wHighVersion, MAKEWORD(2, 2));
  ASSERT_EQ(WSAStartup(MAKEWORD(1, 1), &data), 0);
  EXPECT_EQ(data.wVersion, MAKEWORD(1, 1));
  EXPECT_EQ(WSACleanup(), 0);
  length = sizeof in;
  EXPECT_EQ(WSAStringToAddressA(text, AF_INET, nullptr, reinterpret_cast<sockaddr*>(&in), &length), 0);
  EXPECT_EQ(WSACleanup(), 0);
  length = sizeof in;
  EXPECT_EQ(WSAStringToAddressA(text, AF_INET, nullptr, reinterpret_cast<sockaddr*>(&in), &length), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
}

TEST(WinsockLastError, SharesTheThreadSlotOfGetLastError) {
  WSASetLastError(WSAETIMEDOUT);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(WSAETIMEDOUT));
  SetLastError(ERROR_ACCESS_DENIED);
  EXPECT_EQ(WSAGetLastError(), 5);
  int other = -1;
  std::thread t([&] {
    WSASetLastError(WSAEWOULDBLOCK);
    other = WSAGetLastError();
  });
  t.join();
  EXPECT_EQ(other, WSAEWOULDBLOCK);
  EXPECT_EQ(WSAGetLastError(), 5);
}

TEST(WinsockInet, InetAddrForms) {
  struct Case {
    const char* text;
    ULONG expected;  // network order as read from memory
  };
  const Case cases[] = {
      {"1.2.3.4", 0x04030201u},
      {"255.255.255.255", INADDR_NONE},
      {"0.0.0.0", 0},
      {"0x7f.1", 0x0100007Fu},          // a.b: b fills three bytes
      {"010.0.0.1", 0x01000008u},       // octal
      {"1.2.65535", 0xFFFF0201u},       // a.b.c: c fills two bytes
      {"1.16777215", 0xFFFFFF01u},
      {"4294967294", 0xFEFFFFFFu},
      {"1.2.3.4 trailing words", 0x04030201u},
      {"1.2.3.256", INADDR_NONE},
      {"1.2.65536", INADDR_NONE},
      {"1.16777216", INADDR_NONE},
      {"4294967296", INADDR_NONE},
      {"1.2.3.4.5", INADDR_NONE},
      {"1.2.3.4x", INADDR_NONE},
      {"09.1.1.1", INADDR_NONE},
      {"0x", INADDR_NONE},
      {"1..2.3", INADDR_NONE},
      {"1.2.3.", INADDR_NONE},
      {"-1.2.3.4", INADDR_NONE},
      {"", INADDR_NONE},
  };
  for (const Case& c : cases) EXPECT_EQ(inet_addr(c.text), c.expected) << c.text;
  EXPECT_EQ(inet_addr(nullptr), INADDR_NONE);
}

TEST(WinsockInet, InetNtoaUsesABufferPerThread) {
  in_addr a{};
  a.s_addr = inet_addr("192.168.0.1");
  char* mine = inet_ntoa(a);
  EXPECT_STREQ(mine, "192.168.0.1");
  char* theirs = nullptr;
  std::string theirText;
  std::thread t([&] {
    in_addr b{};
    b.s_addr = inet_addr("10.20.30.40");
    theirs = inet_ntoa(b);
    theirText = theirs;
  });
  t.join();
  EXPECT_NE(mine, theirs);
  EXPECT_EQ(theirText, "10.20.30.40");
  EXPECT_STREQ(mine, "192.168.0.1");
  a.s_addr = 0xFFFFFFFF;
  EXPECT_STREQ(inet_ntoa(a), "255.255.255.255");
}

TEST(WinsockHost, HostNameAndLookup) {
  WinsockSession session;
  std::string expected;
  std::ifstream("/proc/sys/kernel/hostname") >> expected;
  char name[256];
  ASSERT_EQ(gethostname(name, sizeof name), 0);
  if (!expected.empty()) {
    EXPECT_EQ(std::string(name), expected);
  }
  const int length = static_cast<int>(std::strlen(name));
  EXPECT_EQ(gethostname(name, length), SOCKET_ERROR);  // no room for the NUL
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
  EXPECT_EQ(gethostname(name, length + 1), 0);

  const hostent* h = gethostbyname("127.0.0.1");
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->h_addrtype, AF_INET);
  EXPECT_EQ(h->h_length, 4);
  ASSERT_NE(h->h_addr_list[0], nullptr);
  EXPECT_EQ(std::memcmp(h->h_addr, "\x7f\x00\x00\x01", 4), 0);
  EXPECT_EQ(h->h_addr_list[1], nullptr);

  h = gethostbyname("localhost");
  ASSERT_NE(h, nullptr);
  bool loopback = false;
  for (char** a = h->h_addr_list; *a != nullptr; ++a) loopback |= std::memcmp(*a, "\x7f\x00\x00\x01", 4) == 0;
  EXPECT_TRUE(loopback);

  const hostent* mine = gethostbyname("127.0.0.1");
  const hostent* theirs = nullptr;
  std::thread t([&] { theirs = gethostbyname("127.0.0.1"); });
  t.join();
  EXPECT_NE(mine, theirs);

  EXPECT_EQ(gethostbyname("no-such-host.invalid"), nullptr);
  const int error = WSAGetLastError();
  EXPECT_TRUE(error == WSAHOST_NOT_FOUND || error == WSANO_DATA || error == WSATRY_AGAIN) << error;
}

}  // namespace
