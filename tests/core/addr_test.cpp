#include <gtest/gtest.h>

#include "core/addr.h"

#include <winsock2.h>

namespace {

TEST(MacAddress, TheThreeTextFormsAndTheirBoundaries) {
  mac_address m("0a:1B:2c:3D:4e:5F");
  EXPECT_EQ(m.format(), "0A1B2C 3D4E5F");
  EXPECT_EQ(static_cast<tstring>(m), "0A1B2C 3D4E5F");
  EXPECT_EQ(m.format1(), "0A:1B:2C:3D:4E:5F");
  EXPECT_EQ(m.format2(), "0A1B2C3D4E5F");
  EXPECT_EQ(mac_address("0a1b2c3d4e5f").format2(), "0A1B2C3D4E5F");
  EXPECT_EQ(mac_address(tstring("0a1b2c 3d4e5f")).format2(), "0A1B2C3D4E5F");

  // Only the first two characters of each colon-separated token are read.
  EXPECT_EQ(mac_address("AABBB:CC:DD:EE:FF").format1(), "AA:CC:DD:EE:FF:00");
  // A blank-form text with a single six-digit group fills three octets.
  EXPECT_EQ(mac_address("AABBCC       ").format1(), "AA:BB:CC:00:00:00");

  for (const char* rejected : {"00-11-22-33-44-55", "00:00:00:00:00:00", "000000 000000", "AABBCC DDEEF ",
                               "0G:11:22:33:44:55", "A:B:C:D:E:F:A:B:C", "0A1B2C3D4E5", "0A1B2C3D4E5F0", ""}) {
    mac_address parsed("01:02:03:04:05:06");
    EXPECT_FALSE(parsed.unformat(rejected)) << rejected;
    EXPECT_TRUE(parsed.empty()) << rejected;
    EXPECT_FALSE(parsed()) << rejected;
  }
  EXPECT_TRUE(mac_address(static_cast<const char*>(nullptr)).empty());
}

TEST(MacAddress, BytesSetAndClassification) {
  const char bytes[7] = {0x01, 0x00, 0x5E, 0x00, 0x00, 0x01, 0x7F};
  mac_address m(bytes, 6);
  EXPECT_EQ(m.format1(), "01:00:5E:00:00:01");
  EXPECT_TRUE(mac_address(bytes, 5).empty());
  EXPECT_FALSE(m.set(bytes + 1, 7));
  EXPECT_EQ(m.format1(), "01:00:5E:00:00:01");
  EXPECT_TRUE(m.set(bytes + 1, 6));
  EXPECT_EQ(m.format1(), "00:5E:00:00:01:7F");

  EXPECT_TRUE(mac_address("01:00:5E:00:00:01").isMulticast());
  EXPECT_FALSE(mac_address("03:00:00:00:00:01").isMulticast());
  EXPECT_FALSE(mac_address("33:33:00:00:00:01").isMulticast());
  EXPECT_TRUE(mac_address("0F0F0F0F0F0F").isBroadcast());
  EXPECT_TRUE(mac_address("FFFFFFFFFFFF").isBroadcast());
  EXPECT_FALSE(mac_address("FFFFFFFFFF0E").isBroadcast());
  mac_address copy = m;
  EXPECT_EQ(copy, m);
  copy.clear();
  EXPECT_TRUE(copy.empty());
}

TEST(MacAddress, OrderingIsTheReverseOfTheText) {
  const mac_address low("000000 000001");
  const mac_address high("000000 0000A0");
  EXPECT_LT(low.compare(high), 0);
  EXPECT_GT(high.compare(low), 0);
  EXPECT_EQ(low.compare(mac_address("000000000001")), 0);
  EXPECT_FALSE(low < high);
  EXPECT_TRUE(low > high);
  EXPECT_TRUE(high < low);
  EXPECT_FALSE(low < low);
}

TEST(IpAddress, TextLengthsDecideWhetherInetAddrRuns) {
  EXPECT_TRUE(ip_address("1.2.3").empty());             // 5 characters
  EXPECT_TRUE(ip_address("1.2.34").empty());            // 6: inet_addr would take it
  EXPECT_EQ(ip_address("1.2.345").format(), "1.2.1.89");  // 7: a.b.c form
  EXPECT_EQ(ip_address("1.2.3.4").getRaw(), 0x04030201u);
  EXPECT_EQ(ip_address("123.123.123.123").format(), "123.123.123.123");  // 15
  EXPECT_TRUE(ip_address("123.123.123.1234").empty());                  // 16
  EXPECT_TRUE(ip_address("001.002.003.0004").empty());
  EXPECT_TRUE(ip_address("1.2.3.256").empty());
  EXPECT_TRUE(ip_address(static_cast<const char*>(nullptr)).empty());

  const ip_address any("0.0.0.0");
  EXPECT_FALSE(any.empty());
  EXPECT_TRUE(any.isAny());
  const ip_address all("255.255.255.255");
  EXPECT_TRUE(all.empty());
  EXPECT_TRUE(all.isLimitedBroadcast());
  EXPECT_TRUE(ip_address().isLimitedBroadcast());
  EXPECT_EQ(ip_address().format(), "255.255.255.255");

  ip_address a(0x0100007FUL);
  EXPECT_EQ(static_cast<tstring>(a), "127.0.0.1");
  EXPECT_TRUE(a.isLoopback());
  EXPECT_TRUE(a == 0x0100007FUL);
  a = tstring("10.0.0.1");
  EXPECT_EQ(a.c_raw(), 0x0100000Au);
  a = 0x0200000AUL;
  EXPECT_EQ(a.format(), "10.0.0.2");
  a.clear();
  EXPECT_FALSE(a());
}

TEST(IpAddress, OrderingRunsOnTheLastOctetAndIsInverted) {
  const ip_address a("1.0.0.2");
  const ip_address b("2.0.0.1");
  EXPECT_GT(a.compare(b), 0);  // raw 0x02000001 - 0x01000002
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(a > b);
  EXPECT_TRUE(b > a);
  EXPECT_TRUE(a != b);
  // The difference wraps in 32 bits and is read as signed.
  EXPECT_EQ(ip_address(0x00000001UL).compare(ip_address(0xFFFFFFFEUL)), 3);
  EXPECT_EQ(ip_address(0x80000000UL).compare(ip_address(0x00000001UL)), 0x7FFFFFFF);
}

TEST(IpAddress, ArithmeticClassesAndDefaultMasks) {
  const ip_address net("10.1.0.0");
  EXPECT_EQ((net | inet_addr("0.0.255.255")).format(), "10.1.255.255");
  EXPECT_EQ((ip_address("10.1.2.3") & inet_addr("255.255.0.0")).format(), "10.1.0.0");
  EXPECT_EQ(ip_address("10.1.2.3").c_nid(ip_address("255.0.0.0")), inet_addr("10.0.0.0"));

  struct Case {
    const char* address;
    ip_address::tagADDRESSCLASS letter;
    const char* mask;
  };
  const Case cases[] = {
      {"0.0.0.1", ip_address::CLASS_A, "255.0.0.0"},       {"127.255.255.254", ip_address::CLASS_A, "255.0.0.0"},
      {"128.0.0.1", ip_address::CLASS_B, "255.255.0.0"},   {"191.255.0.1", ip_address::CLASS_B, "255.255.0.0"},
      {"192.0.0.1", ip_address::CLASS_C, "255.255.255.0"}, {"223.1.1.1", ip_address::CLASS_C, "255.255.255.0"},
      {"224.0.0.1", ip_address::CLASS_D, "255.255.255.255"}, {"239.1.1.1", ip_address::CLASS_D, "255.255.255.255"},
      {"240.0.0.1", ip_address::CLASS_E, "255.255.255.255"},
  };
  for (const Case& c : cases) {
    const ip_address a(c.address);
    EXPECT_EQ(a.getAddressClass(), c.letter) << c.address;
    EXPECT_EQ(a.getDefaultAddressMask(), inet_addr(c.mask)) << c.address;
  }
  EXPECT_EQ(static_cast<int>(ip_address::CLASS_C), 99);
}

TEST(IpAddress, MasksNetworksBroadcastsAndHosts) {
  for (const char* mask : {"255.0.0.0", "255.255.0.0", "255.255.255.128", "255.255.255.254"}) {
    EXPECT_TRUE(ip_address(mask).isMask()) << mask;
  }
  for (const char* notMask : {"255.255.255.255", "0.0.0.0", "128.0.0.0", "254.0.0.0", "255.0.255.0", "0.0.0.255"}) {
    EXPECT_FALSE(ip_address(notMask).isMask()) << notMask;
  }

  const ip_address none;
  const ip_address c24("255.255.255.0");
  EXPECT_TRUE(ip_address("10.0.0.0").isNetworkAddress(none));
  EXPECT_FALSE(ip_address("255.0.0.0").isNetworkAddress(ip_address("255.0.0.0")));
  EXPECT_TRUE(ip_address("192.168.1.0").isNetworkAddress(c24));
  EXPECT_FALSE(ip_address("192.168.1.5").isNetworkAddress(c24));
  // A mask that is not mask-shaped is replaced by the class default.
  EXPECT_TRUE(ip_address("10.0.0.0").isNetworkAddress(ip_address("255.0.255.0")));
  EXPECT_FALSE(ip_address("10.1.0.0").isNetworkAddress(ip_address("255.0.255.0")));
  EXPECT_FALSE(none.isNetworkAddress(c24));

  EXPECT_TRUE(ip_address("192.168.1.255").isDirectedBroadcast(c24));
  EXPECT_TRUE(ip_address("10.255.255.255").isDirectedBroadcast(none));
  EXPECT_FALSE(ip_address("10.255.255.254").isDirectedBroadcast(none));
  EXPECT_FALSE(none.isDirectedBroadcast(c24));

  EXPECT_TRUE(ip_address("192.168.1.5").isHostAddress(c24));
  EXPECT_TRUE(ip_address("10.1.0.0").isHostAddress(none));
  for (const char* notHost : {"192.168.1.0", "192.168.1.255", "127.0.0.1", "0.0.0.0", "255.255.255.0",
                              "255.255.255.255"}) {
    EXPECT_FALSE(ip_address(notHost).isHostAddress(c24)) << notHost;
  }
  EXPECT_TRUE(ip_address("127.0.0.1").isLoopback());
  EXPECT_FALSE(ip_address("128.0.0.1").isLoopback());
}

}  // namespace
