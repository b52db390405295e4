#include <gtest/gtest.h>

#include "core/IpAddress.h"

#include <afxcmn.h>

namespace {

TEST(CIpAddressText, S2dwordPiecesAndDword2s) {
  unsigned long value = 77;
  EXPECT_TRUE(CIpAddress::s2dword("01.002.3.4", value));
  EXPECT_EQ(value, 0x01020304u);
  // Whatever follows the fourth piece is not examined.
  EXPECT_EQ(CIpAddress::s2dword("10.1.2.3.99"), 0x0A010203u);
  EXPECT_EQ(CIpAddress::s2dword("10.1.2.3.junk"), 0x0A010203u);
  EXPECT_EQ(CIpAddress::s2dword("255.255.255.255"), 0xFFFFFFFFu);
  for (const char* bad : {"1..2.3", "1.2.3.256", "1.2.3", "1.2.3.4x", "a.b.c.d", ""}) {
    value = 77;
    EXPECT_FALSE(CIpAddress::s2dword(bad, value)) << bad;
    EXPECT_EQ(value, 0u) << bad;
    EXPECT_FALSE(CIpAddress::isValid(tstring(bad))) << bad;
  }
  EXPECT_TRUE(CIpAddress::isValid(tstring("0.0.0.0")));
  EXPECT_EQ(CIpAddress::dword2s(0xC0A80105u), "192.168.1.5");
  EXPECT_EQ(CIpAddress::dword2s(0), "0.0.0.0");
  EXPECT_EQ(CIpAddress::dword2s(0xFFFFFFFFu), "255.255.255.255");
}

TEST(CIpAddressConstruction, MasksAndTheValidFlag) {
  EXPECT_FALSE(CIpAddress("192.168.1.0", "255.255.255.0").isValid());  // host id 0
  EXPECT_TRUE(CIpAddress("192.168.1.5", "255.255.255.0").isValid());
  EXPECT_FALSE(CIpAddress("192.168.1.255", "255.255.255.0").isValid());

  const CIpAddress bad("1.2.3.256");
  EXPECT_EQ(bad.getAddress(), "0.0.0.0");
  EXPECT_EQ(bad.getMask(), "255.0.0.0");
  EXPECT_FALSE(bad.isValid());
  EXPECT_FALSE(bad.isValidNetId());

  EXPECT_EQ(CIpAddress("10.1.2.3").getMask(), "255.0.0.0");
  EXPECT_EQ(CIpAddress(tstring("172.16.5.4"), tstring()).getMask(), "255.255.0.0");
  EXPECT_EQ(CIpAddress("200.1.1.1", "").getMask(), "255.255.255.0");
  EXPECT_EQ(CIpAddress("224.0.0.1").getMask(), "255.255.255.255");

  // A mask that does not parse is 0 and clears the flag; "0.0.0.0" parses.
  EXPECT_FALSE(CIpAddress("10.1.2.3", "bad").isValid());
  EXPECT_TRUE(CIpAddress("10.1.2.3", "0.0.0.0").isValid());
  // The address 0 counts only when its text parses (setAddress keeps the flag).
  CIpAddress zero("0.0.0.0", "255.0.0.0");
  CIpAddress unparsed("x", "255.0.0.0");
  zero.setAddress("10.0.0.1");
  unparsed.setAddress("10.0.0.1");
  EXPECT_TRUE(zero.isValid());
  EXPECT_FALSE(unparsed.isValid());

  // setMask sets the flag whatever the address holds; setAddress leaves it.
  CIpAddress ip("1.2.3.256");
  ip.setAddress("10.0.0.1");
  EXPECT_EQ(ip.getAddress(), "10.0.0.1");
  EXPECT_FALSE(ip.isValid());
  ip.setMask("255.0.0.0");
  EXPECT_TRUE(ip.isValid());
  ip.setAddress("junk");
  EXPECT_EQ(ip.getAddress(), "0.0.0.0");
  ip.setMask("junk");
  EXPECT_EQ(ip.getMask(), "0.0.0.0");
  EXPECT_FALSE(CIpAddress(0x0A000001UL, 0xFF000000UL).isValid());  // numbers alone are not valid
  EXPECT_FALSE(CIpAddress().isValid());
}

TEST(CIpAddressSubnets, IdsBroadcastsAndHostCounts) {
  const CIpAddress ip("192.168.1.77", "255.255.255.0");
  tstring text;
  EXPECT_EQ(ip.getNetId(), "192.168.1.0");
  EXPECT_EQ(ip.getNetId(text), 0xC0A80100u);
  EXPECT_EQ(text, "192.168.1.0");
  EXPECT_EQ(ip.getHostId(), "0.0.0.77");
  EXPECT_EQ(ip.getHostId(text), 77u);
  EXPECT_EQ(ip.getAddress(text), 0xC0A8014Du);
  EXPECT_EQ(ip.getMask(text), 0xFFFFFF00u);
  EXPECT_EQ(text, "255.255.255.0");
  EXPECT_EQ(ip.getBroadcastAddress(true), "192.168.1.255");
  EXPECT_EQ(ip.getBroadcastAddress(false), "192.168.1.0");

  EXPECT_EQ(ip.getNumOfHost(), 253);
  EXPECT_EQ(CIpAddress("10.0.0.1", "255.255.0.0").getNumOfHost(), 65533);
  EXPECT_EQ(CIpAddress("10.0.0.1", "255.255.255.254").getNumOfHost(), -1);
  EXPECT_EQ(CIpAddress("10.0.0.1", "255.255.255.255").getNumOfHost(), -2);
  EXPECT_EQ(CIpAddress("10.0.0.1", "0.0.0.0").getNumOfHost(), -3);

  EXPECT_TRUE(CIpAddress("192.168.1.0", "255.255.255.0").isBroadcastAddress());
  EXPECT_TRUE(CIpAddress("192.168.1.255", "255.255.255.0").isBroadcastAddress());
  EXPECT_FALSE(ip.isBroadcastAddress());
}

TEST(CIpAddressSubnets, ClassesAndKindsAtTheirBoundaries) {
  struct Case {
    const char* address;
    CIpAddress::IpAddressClass cls;
    const char* mask;
  };
  const Case cases[] = {
      {"127.255.255.255", CIpAddress::IPCLASS_A, "255.0.0.0"},
      {"128.0.0.0", CIpAddress::IPCLASS_B, "255.255.0.0"},
      {"191.255.255.255", CIpAddress::IPCLASS_B, "255.255.0.0"},
      {"192.0.0.0", CIpAddress::IPCLASS_C, "255.255.255.0"},
      {"223.255.255.255", CIpAddress::IPCLASS_C, "255.255.255.0"},
      {"224.0.0.0", CIpAddress::IPCLASS_D, "255.255.255.255"},
      {"239.255.255.255", CIpAddress::IPCLASS_D, "255.255.255.255"},
      {"240.0.0.0", CIpAddress::IPCLASS_E, "255.255.255.255"},
      {"255.255.255.255", CIpAddress::IPCLASS_E, "255.255.255.255"},
  };
  for (const Case& c : cases) {
    const CIpAddress ip(c.address);
    EXPECT_EQ(ip.getClass(), c.cls) << c.address;
    EXPECT_EQ(ip.getDefaultMask(), c.mask) << c.address;
  }
  for (const char* priv : {"10.0.0.0", "10.255.255.255", "172.16.0.0", "172.31.255.255", "192.168.0.0",
                           "192.168.255.255"}) {
    EXPECT_TRUE(CIpAddress(priv).isPrivateAddress()) << priv;
  }
  for (const char* pub : {"9.255.255.255", "11.0.0.0", "172.15.255.255", "172.32.0.0", "192.167.255.255",
                          "192.169.0.0"}) {
    EXPECT_FALSE(CIpAddress(pub).isPrivateAddress()) << pub;
  }
  EXPECT_TRUE(CIpAddress("224.0.0.1").isMulticastAddress());
  EXPECT_TRUE(CIpAddress("239.255.255.255").isMulticastAddress());
  EXPECT_FALSE(CIpAddress("240.0.0.0").isMulticastAddress());
  EXPECT_FALSE(CIpAddress("223.255.255.255").isMulticastAddress());

  EXPECT_TRUE(CIpAddress("127.0.0.1").isLoopbackAddress());
  EXPECT_TRUE(CIpAddress("127.0.0.1", "255.255.255.0").isLoopbackAddress());
  EXPECT_FALSE(CIpAddress("127.1.0.1", "255.255.255.0").isLoopbackAddress());
}

TEST(CIpAddressSubnets, ValidNetIdComparesTheWholeNumber) {
  struct Case {
    const char* address;  // with mask 255.255.255.255, the network id is the address
    bool expected;
  };
  const Case cases[] = {
      {"0.0.0.0", false},   {"0.0.0.1", true},          {"0.0.0.126", true},
      {"0.0.0.127", false}, {"0.0.0.128", true},        {"255.255.255.255", false},
      {"255.255.255.254", true}, {"128.0.0.0", true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(CIpAddress(c.address, "255.255.255.255").isValidNetId(), c.expected) << c.address;
  }
  // The loopback network 127.0.0.0 is not the number 127.
  EXPECT_TRUE(CIpAddress("127.0.0.1").isValidNetId());
}

TEST(CIpAddressSubnets, CompareAndSameSubnet) {
  EXPECT_EQ(CIpAddress(1UL, 0UL).compare(CIpAddress(0xFFFFFFFFUL, 0UL)), 2);
  EXPECT_LT(CIpAddress("10.0.0.1").compare(CIpAddress("10.0.0.2")), 0);
  EXPECT_EQ(CIpAddress("10.0.0.1").compare(CIpAddress("10.0.0.1", "255.255.255.0")), 0);

  const CIpAddress ip("192.168.1.5", "255.255.255.0");
  EXPECT_TRUE(ip.canCommunicate(CIpAddress("192.168.1.200", "255.255.255.0")));
  EXPECT_FALSE(ip.canCommunicate(CIpAddress("192.168.2.5", "255.255.255.0")));
  EXPECT_FALSE(CIpAddress("10.1.2.3").canCommunicate(CIpAddress("10.9.9.9", "255.255.0.0")));
  EXPECT_TRUE(ip.isSameSubnet("192.168.1.99"));
  EXPECT_FALSE(ip.isSameSubnet("192.168.2.1"));
  EXPECT_FALSE(ip.isSameSubnet(nullptr));
}

TEST(CIpAddressControl, ReadsTheControlsAddressWithItsClassMask) {
  CIPAddressCtrl control;
  control.SetAddress(192, 168, 10, 20);
  const CIpAddress ip(control);
  EXPECT_EQ(ip.getAddress(), "192.168.10.20");
  EXPECT_EQ(ip.getMask(), "255.255.255.0");
  EXPECT_TRUE(ip.isValid());

  const CIPAddressCtrl blank;
  const CIpAddress none(blank);
  EXPECT_EQ(none.getAddress(), "0.0.0.0");
  EXPECT_EQ(none.getMask(), "255.0.0.0");
  EXPECT_FALSE(none.isValid());  // host id 0
}

}  // namespace
