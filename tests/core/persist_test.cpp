#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/addr.h"
#include "core/addr6.h"
#include "core/sain6.h"

namespace {

std::string saved(const Persistable& object) {
  vomemstream out;
  object.save(out);
  return out.str();
}

// Restores whatever `bytes` hold through the class factory.
std::unique_ptr<Persistable> restored(const std::string& bytes) {
  vimemstream in(bytes);
  Persistable* object = nullptr;
  if (!Persistable::restore(in, object)) return nullptr;
  return std::unique_ptr<Persistable>(object);
}

TEST(CorePersistence, MacAndIpGoldenBytesAndRoundTrips) {
  const mac_address mac("00:1B:2C:3D:4E:F5");
  const std::string macBytes("\x71\x00\x00\x00\x00\x1B\x2C\x3D\x4E\xF5", 10);
  EXPECT_EQ(saved(mac), macBytes);
  const ip_address ip("192.168.1.20");
  const std::string ipBytes("\x72\x00\x00\x00\xC0\xA8\x01\x14", 8);
  EXPECT_EQ(saved(ip), ipBytes);

  std::unique_ptr<Persistable> back = restored(macBytes);
  ASSERT_NE(dynamic_cast<mac_address*>(back.get()), nullptr);
  EXPECT_EQ(*static_cast<mac_address*>(back.get()), mac);
  back = restored(ipBytes);
  ASSERT_NE(dynamic_cast<ip_address*>(back.get()), nullptr);
  EXPECT_EQ(*static_cast<ip_address*>(back.get()), ip);

  // Stream operators: by value, by pointer and into a fresh pointer.
  vomemstream out;
  out << mac << &ip;
  out << static_cast<const mac_address*>(nullptr);  // writes nothing
  EXPECT_EQ(out.str(), macBytes + ipBytes);
  vimemstream in(out.str());
  mac_address* macBack = nullptr;
  ip_address ipBack;
  in >> macBack >> ipBack;
  std::unique_ptr<mac_address> owned(macBack);
  ASSERT_NE(macBack, nullptr);
  EXPECT_EQ(*macBack, mac);
  EXPECT_EQ(ipBack, ip);
  EXPECT_TRUE(in.good());
  EXPECT_EQ(in.remaining(), 0u);
}

TEST(CorePersistence, Ipv6GoldenBytesAndRoundTrips) {
  in6_addr a{};
  a.s6_addr[0] = 0xFE;
  a.s6_addr[1] = 0x80;
  a.s6_addr[15] = 0x01;
  const ip6addr_t ip6(a);
  const std::string ip6Bytes("\x68\x04\x00\x00\xFE\x80\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01", 20);
  EXPECT_EQ(saved(ip6), ip6Bytes);

  sockaddr_in6 sa{};
  sa.sin6_family = AF_INET6;
  sa.sin6_port = htons(8080);
  sa.sin6_flowinfo = 0x01020304;
  sa.sin6_addr = a;
  sa.sin6_scope_id = 5;
  const sockaddr_in6_t sock(sa);
  const std::string sockBytes(
      "\x8A\x06\x00\x00"
      "\x17\x00\x1F\x90\x04\x03\x02\x01"
      "\xFE\x80\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01"
      "\x05\x00\x00\x00",
      32);
  EXPECT_EQ(saved(sock), sockBytes);

  vomemstream out;
  out << ip6 << &sock;
  vimemstream in(out.str());
  ip6addr_t* ip6Back = nullptr;
  sockaddr_in6_t* sockBack = nullptr;
  in >> ip6Back >> sockBack;
  std::unique_ptr<ip6addr_t> ownedIp6(ip6Back);
  std::unique_ptr<sockaddr_in6_t> ownedSock(sockBack);
  ASSERT_NE(ip6Back, nullptr);
  ASSERT_NE(sockBack, nullptr);
  EXPECT_EQ(*ip6Back, ip6);
  EXPECT_EQ(*sockBack, sock);
  EXPECT_EQ(sockBack->getScopeid(), 5u);
}

TEST(CorePersistence, WrongClassAndShortStreamsFail) {
  const std::string macBytes = saved(mac_address("001B2C3D4EF5"));
  vimemstream wrong(macBytes);
  ip_address ip("10.0.0.1");
  EXPECT_FALSE(ip.restore(wrong));
  EXPECT_EQ(ip, ip_address("10.0.0.1"));

  vimemstream asPointer(macBytes);
  ip_address* ipBack = reinterpret_cast<ip_address*>(&ip);  // overwritten with null
  asPointer >> ipBack;
  EXPECT_EQ(ipBack, nullptr);

  for (size_t cut = 0; cut < macBytes.size(); ++cut) {
    vimemstream shortStream(macBytes.substr(0, cut));
    mac_address* back = nullptr;
    shortStream >> back;
    EXPECT_EQ(back, nullptr) << cut;
  }
  const std::string sockBytes = saved(sockaddr_in6_t());
  EXPECT_EQ(sockBytes.size(), 32u);
  EXPECT_EQ(restored(sockBytes.substr(0, 31)), nullptr);
}

}  // namespace
