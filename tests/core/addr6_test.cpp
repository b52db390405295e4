#include <gtest/gtest.h>

#include <initializer_list>

#include "core/addr6.h"
#include "core/sain6.h"

#include "WinsockSession.h"

namespace {

// An address from its eight groups.
in6_addr groups(std::initializer_list<uint16_t> values) {
  in6_addr a{};
  int i = 0;
  for (uint16_t v : values) {
    a.s6_addr[2 * i] = static_cast<UCHAR>(v >> 8);
    a.s6_addr[2 * i + 1] = static_cast<UCHAR>(v & 0xFF);
    ++i;
  }
  return a;
}

TEST(Ip6Addr, Classification) {
  ip6addr_t a;
  EXPECT_TRUE(a.empty());
  EXPECT_TRUE(a.unspecified());
  EXPECT_TRUE(a.any());
  EXPECT_FALSE(a.loopback());
  a.setLoopback();
  EXPECT_TRUE(a.loopback());
  EXPECT_FALSE(a.empty());
  EXPECT_FALSE(a.v4compat());
  EXPECT_FALSE(ip6addr_t(groups({0, 0, 0, 0, 0, 0, 0, 2})).loopback());
  EXPECT_FALSE(ip6addr_t(groups({1, 0, 0, 0, 0, 0, 0, 1})).loopback());

  const ip6addr_t allNodes(groups({0xff02, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(allNodes.multicast());
  EXPECT_TRUE(allNodes.mc_linklocal());
  EXPECT_FALSE(allNodes.mc_nodelocal());
  EXPECT_TRUE(ip6addr_t(groups({0xff01, 0, 0, 0, 0, 0, 0, 1})).mc_nodelocal());
  EXPECT_TRUE(ip6addr_t(groups({0xff05, 0, 0, 0, 0, 0, 0, 1})).mc_sitelocal());
  EXPECT_TRUE(ip6addr_t(groups({0xff18, 0, 0, 0, 0, 0, 0, 1})).mc_orglocal());
  const ip6addr_t mcGlobal(groups({0xff0e, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(mcGlobal.mc_global());
  EXPECT_TRUE(mcGlobal.global());
  // global() looks only at the scope bits, so this unicast address passes.
  const ip6addr_t unicast(groups({0x200e, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(unicast.global());
  EXPECT_FALSE(unicast.mc_global());
  EXPECT_FALSE(unicast.multicast());

  EXPECT_TRUE(ip6addr_t(groups({0xfe80, 0, 0, 0, 0, 0, 0, 1})).linklocal());
  EXPECT_TRUE(ip6addr_t(groups({0xfebf, 0, 0, 0, 0, 0, 0, 1})).linklocal());
  EXPECT_FALSE(ip6addr_t(groups({0xfe80, 0, 0, 0, 0, 0, 0, 1})).sitelocal());
  EXPECT_TRUE(ip6addr_t(groups({0xfec0, 0, 0, 0, 0, 0, 0, 1})).sitelocal());
  EXPECT_FALSE(ip6addr_t(groups({0xfec0, 0, 0, 0, 0, 0, 0, 1})).linklocal());
  EXPECT_FALSE(ip6addr_t(groups({0xfe40, 0, 0, 0, 0, 0, 0, 1})).linklocal());

  EXPECT_TRUE(ip6addr_t(groups({0, 0, 0, 0, 0, 0xffff, 0x0102, 0x0304})).v4mapped());
  EXPECT_FALSE(ip6addr_t(groups({0, 0, 0, 0, 1, 0xffff, 0x0102, 0x0304})).v4mapped());
  EXPECT_TRUE(ip6addr_t(groups({0, 0, 0, 0, 0, 0, 0x0102, 0x0304})).v4compat());
  EXPECT_FALSE(ip6addr_t(groups({0, 0, 0, 0, 0, 0xffff, 0x0102, 0x0304})).v4compat());
}

TEST(Ip6Addr, TextCompressesOnlyTheFirstZeroRun) {
  struct Case {
    in6_addr address;
    const char* text;
  };
  const Case cases[] = {
      {groups({1, 0, 0, 2, 0, 0, 0, 3}), "1::2:0:0:0:3"},
      {groups({0, 0, 0, 0, 0, 0, 0, 0}), "::"},
      {groups({0, 0, 0, 0, 0, 0, 0, 1}), "::1"},
      {groups({1, 2, 3, 4, 5, 6, 7, 0}), "1:2:3:4:5:6:7:"},
      {groups({1, 0, 2, 3, 4, 5, 6, 7}), "1::2:3:4:5:6:7"},
      {groups({0xfe80, 0, 0, 0, 0, 0, 0, 0}), "fe80::"},
      {groups({0, 1, 2, 3, 4, 5, 6, 7}), "::1:2:3:4:5:6:7"},
      {groups({0x2001, 0xdb8, 0, 0, 1, 0, 0, 1}), "2001:db8::1:0:0:1"},
      {groups({0xFFFF, 0xABCD, 0x0010, 0x1, 0x2, 0x3, 0x4, 0x5}), "ffff:abcd:10:1:2:3:4:5"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ip6addr_t(c.address).ntots(), c.text);
    EXPECT_EQ(ip6addr_t(c.address).toString(), c.text);
  }
}

TEST(Ip6Addr, CopiesAndOrder) {
  sockaddr_in6 sa{};
  sa.sin6_family = AF_INET6;
  sa.sin6_port = htons(80);
  sa.sin6_addr = groups({0xfe80, 0, 0, 0, 0, 0, 0, 2});
  ip6addr_t a(sa);
  EXPECT_EQ(a.ntots(), "fe80::2");
  const ip6addr_t b(groups({0xfe80, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(a.compare(b), 1);
  EXPECT_EQ(b.compare(a), -1);
  EXPECT_EQ(a.compare(a), 0);
  EXPECT_FALSE(a == b);
  a = b;
  EXPECT_TRUE(a.equal(b));
  in6_addr* raw = a;
  raw->s6_addr[15] = 9;
  EXPECT_EQ(a.ntots(), "fe80::9");
  a.clear();
  EXPECT_TRUE(a.empty());
}

TEST(SockaddrIn6, ParsesAndPrintsScopeAndPort) {
  WinsockSession session;
  const sockaddr_in6_t scoped(tstring("fe80::1%5"));
  EXPECT_EQ(scoped.getFamily(), 23);
  EXPECT_EQ(scoped.getScopeid(), 5u);
  EXPECT_EQ(scoped.getPort(), 0);
  EXPECT_EQ(ip6addr_t(scoped.getIn6addr()).ntots(), "fe80::1");
  EXPECT_EQ(scoped.format(), "fe80::1%5");

  const sockaddr_in6_t withPort(tstring("[fe80::1%5]:8080"));
  EXPECT_EQ(withPort.getPort(), htons(8080));
  EXPECT_EQ(withPort.getSockaddr().sin6_scope_id, 5u);
  EXPECT_EQ(withPort.format(), "[fe80::1%5]:8080");
  EXPECT_EQ(sockaddr_in6_t(withPort.format()).compare(withPort), 0);

  for (const char* text : {"[::1]:65535", "2001:db8::1", "::ffff:10.0.0.1", "::"}) {
    const sockaddr_in6_t a{tstring(text)};
    EXPECT_EQ(a.format(), text);
    EXPECT_EQ(a.getFamily(), 23) << text;
  }
  EXPECT_TRUE(sockaddr_in6_t(tstring("fe80::1%x")).empty());
  EXPECT_TRUE(sockaddr_in6_t(tstring("10.0.0.1")).empty());
  EXPECT_TRUE(sockaddr_in6_t(tstring("")).empty());
  EXPECT_TRUE(isIpv6Supported());

  sockaddr_in6_t copy;
  copy.copyIn(withPort);
  EXPECT_TRUE(copy == withPort);
  copy.setPort(htons(1));
  copy.setFlowinfo(7);
  EXPECT_EQ(copy.getFlowinfo(), 7u);
  EXPECT_EQ(copy.format(), "[fe80::1%5]:1");
  copy.copyIn(tstring("junk"));
  EXPECT_TRUE(copy.empty());
}

TEST(SockaddrIn6, WithoutWinsockTextFallsBackToTheOwnForm) {
  EXPECT_FALSE(isIpv6Supported());
  EXPECT_TRUE(sockaddr_in6_t(tstring("fe80::1")).empty());
  sockaddr_in6 sa{};
  sa.sin6_family = AF_INET6;
  sa.sin6_scope_id = 5;
  sa.sin6_addr = groups({1, 0, 0, 2, 0, 0, 0, 3});
  const sockaddr_in6_t a(sa);
  EXPECT_EQ(a.format(), "1::2:0:0:0:3%5");
  const sockaddr_in6_t b(groups({1, 0, 0, 2, 0, 0, 0, 3}));
  EXPECT_EQ(b.getFamily(), 23);
  EXPECT_EQ(b.format(), "1::2:0:0:0:3");
  WinsockSession session;
  EXPECT_EQ(a.format(), "1:0:0:2::3%5");
}

TEST(SockaddrIn6, ByteOrderIsInvertedInTheOperators) {
  sockaddr_in6 sa{};
  sa.sin6_family = AF_INET6;
  sa.sin6_addr = groups({0xfe80, 0, 0, 0, 0, 0, 0, 1});
  const sockaddr_in6_t low(sa);
  sa.sin6_addr = groups({0xfe80, 0, 0, 0, 0, 0, 0, 2});
  const sockaddr_in6_t high(sa);
  EXPECT_EQ(low.compare(high), -1);
  EXPECT_EQ(high.compare(low), 1);
  EXPECT_FALSE(low < high);
  EXPECT_TRUE(low > high);
  EXPECT_TRUE(high < low);
  EXPECT_TRUE(sockaddr_in6_t().empty());
  sockaddr_in6_t cleared(high);
  cleared.clear();
  EXPECT_TRUE(cleared.empty());
}

TEST(AddrinfoT, ResolvesFreesAndResolvesAgain) {
  WinsockSession session;
  addrinfo_t info("::1", AF_INET6, "80", SOCK_STREAM, 0);
  ASSERT_FALSE(info.empty());
  const sockaddr_in6* first = info;
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->sin6_family, 23);
  EXPECT_EQ(first->sin6_port, htons(80));
  EXPECT_TRUE(ip6addr_t(*first).loopback());
  EXPECT_EQ(static_cast<addrinfo*>(info)->ai_socktype, SOCK_STREAM);

  // Resolving again frees the first list (the leak checker watches).
  EXPECT_NE(info.resolve(nullptr, AF_INET6, "443", SOCK_STREAM, 0), 0);
  const sockaddr_in6* passive = info;
  EXPECT_TRUE(ip6addr_t(*passive).empty());  // passive: the unspecified address
  EXPECT_EQ(passive->sin6_port, htons(443));

  EXPECT_EQ(info.resolve("127.0.0.1", AF_INET6, nullptr, 0, 0), 0);  // an IPv4 literal is no IPv6 address
  EXPECT_TRUE(info.empty());
  EXPECT_EQ(static_cast<sockaddr*>(info), nullptr);
  EXPECT_NE(info.resolve("127.0.0.1", AF_INET, nullptr, SOCK_DGRAM, 0), 0);
  EXPECT_EQ(static_cast<sockaddr*>(info)->sa_family, AF_INET);
  info.free();
  EXPECT_TRUE(info.empty());
}

}  // namespace
