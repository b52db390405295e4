#include <gtest/gtest.h>

#include "model/NetworkObjectBase.h"

namespace {

typedef std::vector<std::string> Names;

TEST(NetworkObjectBase, DefaultsAreEmptyZeroFalseAndVersionNotSet) {
  const NetworkObjectBase o;
  EXPECT_EQ(o.getName(), "");
  EXPECT_EQ(o.getObjectType(), 0);
  EXPECT_EQ(o.getPortType(), 0);
  EXPECT_EQ(o.getSnmpVersion(), SNMP_VERSION_NOT_SET);
  EXPECT_EQ(static_cast<int>(o.getSnmpVersion()), -1);
  EXPECT_FALSE(o.isOurProduct() || o.hasTelnet() || o.hasVlan() || o.isTrapped());
  EXPECT_TRUE(o.getIpAddresses().empty());
  EXPECT_TRUE(o.getIpv6Addresses().empty());
  EXPECT_EQ(o.getSnmpPort(), 0);
}

TEST(NetworkObjectBase, RangeCheckedSettersStoreZeroOutsideTheirRange) {
  NetworkObjectBase o;
  // Each input with what the setter keeps of it.
  const std::vector<std::pair<int, int>> objectType = {{7, 7}, {8, 0}, {3, 3}, {-1, 0}, {INT32_MIN, 0}};
  const std::vector<std::pair<int, int>> upToTwo = {{2, 2}, {3, 0}, {1, 1}, {-1, 0}};
  const std::vector<std::pair<int, int>> portStatus = {{6, 6}, {7, 0}, {8, 8},     {9, 9},
                                                       {10, 0}, {-1, 0}, {INT32_MAX, 0}};
  for (const auto& [in, kept] : objectType) {
    o.setObjectType(in);
    EXPECT_EQ(o.getObjectType(), kept) << in;
  }
  for (const auto& [in, kept] : upToTwo) {
    o.setNodeStatus(in);
    o.setPortType(in);
    EXPECT_EQ(o.getNodeStatus(), kept) << in;
    EXPECT_EQ(o.getPortType(), kept) << in;
  }
  for (const auto& [in, kept] : portStatus) {
    o.setPortStatus(in);
    EXPECT_EQ(o.getPortStatus(), kept) << in;
  }
}

TEST(NetworkObjectBase, ObjectTypeNamesAndFunctionBits) {
  NetworkObjectBase o;
  o.setObjectType(5);
  EXPECT_TRUE(o.isPort());
  EXPECT_FALSE(o.isVLAN() || o.isStacked());
  o.setObjectType(6);
  EXPECT_TRUE(o.isVLAN());
  o.setObjectType(7);
  EXPECT_TRUE(o.isStacked());
  EXPECT_FALSE(o.isPort());

  o.setObjectFunction(0x1);
  o.addObjectFunction(0x4);
  o.addObjectFunction(0x1);
  EXPECT_EQ(o.getObjectFunction(), 0x5);
  o.setObjectFunction(0x2);
  EXPECT_EQ(o.getObjectFunction(), 0x2);
}

TEST(NetworkObjectBase, AddressListsAreUniqueExactTexts) {
  NetworkObjectBase o;
  EXPECT_EQ(o.getIpAddress(), "");
  o.addIpAddress("10.0.0.1");
  o.addIpAddress("10.0.0.2");
  o.addIpAddress("10.0.0.1");
  // No normalisation: a leading zero makes a different text.
  o.addIpAddress("10.0.0.01");
  EXPECT_EQ(o.getIpAddresses(), (Names{"10.0.0.1", "10.0.0.2", "10.0.0.01"}));
  EXPECT_EQ(o.getIpAddress(), "10.0.0.1");

  o.removeIpAddress("10.0.0.9");
  EXPECT_EQ(o.getIpAddresses().size(), 3u);
  o.removeIpAddress("10.0.0.1");
  EXPECT_EQ(o.getIpAddresses(), (Names{"10.0.0.2", "10.0.0.01"}));
  EXPECT_EQ(o.getIpAddress(), "10.0.0.2");

  o.setIpAddress("192.168.0.1");
  EXPECT_EQ(o.getIpAddresses(), (Names{"192.168.0.1"}));
  o.clearIpAddresses();
  EXPECT_EQ(o.getIpAddress(), "");

  // setIpAddresses takes a list as it is, duplicates included.
  o.setIpAddresses({"a", "a"});
  EXPECT_EQ(o.getIpAddresses(), (Names{"a", "a"}));
  o.removeIpAddress("a");
  EXPECT_EQ(o.getIpAddresses(), (Names{"a"}));

  // The IPv6 list is separate from the IPv4 list.
  o.addIpv6Address("fe80::1");
  o.addIpv6Address("FE80::1");
  o.addIpv6Address("fe80::1");
  EXPECT_EQ(o.getIpv6Addresses(), (Names{"fe80::1", "FE80::1"}));
  EXPECT_EQ(o.getIpAddresses(), (Names{"a"}));
  o.removeIpv6Address("FE80::1");
  EXPECT_EQ(o.getIpv6Addresses(), (Names{"fe80::1"}));
  o.setIpv6Addresses({"::1"});
  EXPECT_EQ(o.getIpv6Addresses(), (Names{"::1"}));
  o.clearIpv6Addresses();
  EXPECT_TRUE(o.getIpv6Addresses().empty());
}

TEST(NetworkObjectBase, CompareLooksAtTheNameOnly) {
  NetworkObjectBase a;
  NetworkObjectBase b;
  a.setName("switch-1");
  b.setName("switch-1");
  a.setIpAddress("10.0.0.1");
  b.setIpAddress("10.0.0.2");
  b.setObjectType(5);
  EXPECT_TRUE(a.compare(b));
  b.setName("Switch-1");
  EXPECT_FALSE(a.compare(b));
}

TEST(CNetworkObject, ChildrenAreUniqueByNameAndNotOwned) {
  CNetworkObject device;
  device.setName("dev");
  CNetworkObject port1;
  port1.setName("port1");
  CNetworkObject port2;
  port2.setName("port2");
  CNetworkObject otherPort1;
  otherPort1.setName("port1");
  otherPort1.setIfIndex(99);

  device.addNetworkObject(&port1);
  device.addNetworkObject(&port2);
  device.addNetworkObject(&otherPort1);  // same name: refused
  device.addNetworkObject(&port1);
  device.addNetworkObject(nullptr);
  ASSERT_EQ(device.getNetworkObjects().size(), 2u);
  EXPECT_EQ(device.getNetworkObjects()[0], &port1);
  EXPECT_EQ(device.getNetworkObjects()[1], &port2);

  // The list holds the callers' objects: changes show through it.
  port2.setIfIndex(5);
  EXPECT_EQ(device.getNetworkObjects()[1]->getIfIndex(), 5);

  // Removing leaves the list as it is, for a listed child and for a stranger.
  CNetworkObject stranger;
  stranger.setName("none");
  device.removeNetworkObject(&port1);
  device.removeNetworkObject(&stranger);
  device.removeNetworkObject(nullptr);
  EXPECT_EQ(device.getNetworkObjects(), (std::vector<CNetworkObject*>{&port1, &port2}));

  // A parent on the heap that dies leaves its children alive (ASan would
  // report a double free or a use after free otherwise).
  auto* parent = new CNetworkObject;
  parent->addNetworkObject(&port1);
  delete parent;
  EXPECT_EQ(port1.getName(), "port1");
}

TEST(CNetworkObject, CopyingTakesAttributesButNotChildren) {
  CNetworkObject a;
  a.setName("a");
  a.setIpAddress("10.1.1.1");
  CNetworkObject c1, c2, c3;
  c1.setName("1");
  c2.setName("2");
  c3.setName("3");
  a.addNetworkObject(&c1);
  a.addNetworkObject(&c2);
  a.addNetworkObject(&c3);

  const CNetworkObject copy(a);
  EXPECT_EQ(copy.getName(), "a");
  EXPECT_EQ(copy.getIpAddress(), "10.1.1.1");
  EXPECT_TRUE(copy.getNetworkObjects().empty());
  EXPECT_TRUE(copy.compare(a));

  // Assignment keeps the target's own children.
  CNetworkObject b;
  CNetworkObject own;
  own.setName("own");
  b.addNetworkObject(&own);
  b = a;
  EXPECT_EQ(b.getName(), "a");
  EXPECT_EQ(b.getNetworkObjects(), (std::vector<CNetworkObject*>{&own}));

  // So does copyIn from a plain base object.
  NetworkObjectBase plain;
  plain.setName("plain");
  b.copyIn(plain);
  EXPECT_EQ(b.getName(), "plain");
  EXPECT_EQ(b.getIpAddress(), "");
  EXPECT_EQ(b.getNetworkObjects().size(), 1u);
  EXPECT_EQ(a.getNetworkObjects().size(), 3u);
}

}  // namespace
