#include <gtest/gtest.h>

#include <winsock2.h>

#include <sstream>

#include "model/NetworkObjectBase.h"
#include "model/subnet.h"

namespace {

typedef std::vector<std::string> Names;

SubnetBase makeSubnet(const std::string& name, const std::string& network, const std::string& mask) {
  SubnetBase s;
  s.setName(name);
  s.setNetworkID(network);
  s.setSubnetMask(mask);
  return s;
}

Names lines(const std::string& text) {
  Names out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

TEST(SubnetBase, CompareUsesTheNameAndTheMaskedNetworkId) {
  const SubnetBase a = makeSubnet("lan", "192.168.1.0", "255.255.255.0");
  EXPECT_TRUE(a.compare(makeSubnet("lan", "192.168.1.77", "255.255.255.0")));
  EXPECT_FALSE(a.compare(makeSubnet("LAN", "192.168.1.0", "255.255.255.0")));
  EXPECT_FALSE(a.compare(makeSubnet("lan", "192.168.1.0", "255.255.0.0")));
  EXPECT_FALSE(a.compare(makeSubnet("lan", "192.168.2.0", "255.255.255.0")));
  // The texts go through inet_addr: other spellings of one address match.
  EXPECT_TRUE(a.compare(makeSubnet("lan", "192.168.001.000", "255.255.255.0")));
  EXPECT_TRUE(a.compare(makeSubnet("lan", "0xC0.168.1.9", "0xFFFFFF00")));
  // Only the resulting texts count: the other mask may differ when it
  // selects the same network id.
  EXPECT_TRUE(a.compare(makeSubnet("lan", "192.168.1.0", "255.255.255.128")));
}

TEST(SubnetBase, CalcNetworkIdWithMalformedMasks) {
  EXPECT_EQ(makeSubnet("", "192.168.1.77", "255.255.255.0").calcNetworkID(), "192.168.1.0");
  EXPECT_EQ(makeSubnet("", "10.20.30.40", "255.0.0.0").calcNetworkID(), "10.0.0.0");
  // A mask that is not an address reads as 255.255.255.255: the network id
  // comes back whole.
  for (const char* mask : {"", "255.255.255.256", "1..2"}) {
    EXPECT_EQ(makeSubnet("", "192.168.1.77", mask).calcNetworkID(), "192.168.1.77") << mask;
  }
  // A network id that does not parse reads as all ones too.
  EXPECT_EQ(makeSubnet("", "", "255.255.0.0").calcNetworkID(), "255.255.0.0");
  EXPECT_EQ(makeSubnet("", "", "").calcNetworkID(), "255.255.255.255");
  // Shorter forms are addresses: "255.255.255" is 255.255.0.255.
  EXPECT_EQ(makeSubnet("", "192.168.1.77", "255.255.255").calcNetworkID(), "192.168.0.77");

  // Two subnets with broken masks are equal only with equal network ids.
  EXPECT_TRUE(makeSubnet("s", "10.0.0.1", "").compare(makeSubnet("s", "10.0.0.1", "x")));
  EXPECT_FALSE(makeSubnet("s", "10.0.0.1", "").compare(makeSubnet("s", "10.0.0.2", "")));
  EXPECT_FALSE(makeSubnet("s", "10.0.0.1", "").compare(makeSubnet("s", "10.0.0.1", "255.0.0.0")));
}

TEST(SubnetBase, StaticNetworkAndBroadcastArithmetic) {
  EXPECT_EQ(SubnetBase::calcNetworkID(0xC0A8014Du, 0xFFFFFF00u), 0xC0A80100u);
  EXPECT_EQ(SubnetBase::calcBroadcast(0xC0A8014Du, 0xFFFFFF00u), 0xC0A801FFu);
  EXPECT_EQ(SubnetBase::calcBroadcast(0x0A000001u, 0u), 0xFFFFFFFFu);
  EXPECT_EQ(SubnetBase::calcBroadcast(0x0A000001u, 0xFFFFFFFFu), 0x0A000001u);
  // The text forms work in network byte order, as inet_addr gives it.
  EXPECT_EQ(SubnetBase::calcNetworkID("192.168.1.77", "255.255.255.0"), inet_addr("192.168.1.0"));
  EXPECT_EQ(SubnetBase::calcBroadcast("192.168.1.77", "255.255.255.0"), inet_addr("192.168.1.255"));
  EXPECT_EQ(SubnetBase::calcBroadcast("172.16.5.4", "255.240.0.0"), inet_addr("172.31.255.255"));
  EXPECT_EQ(SubnetBase::calcNetworkID("192.168.1.77", "bad"), inet_addr("192.168.1.77"));
  EXPECT_EQ(SubnetBase::calcBroadcast("192.168.1.77", "bad"), inet_addr("192.168.1.77"));
}

TEST(SubnetBase, CommunityNamesStayUniqueInOrder) {
  SubnetBase s;
  s.addCommunityName("public");
  s.addCommunityName("private");
  s.addCommunityName("public");
  s.addCommunityName("Public");
  EXPECT_EQ(s.getCommunityNames(), (Names{"public", "private", "Public"}));
  s.removeCommunityName("nothing");
  s.removeCommunityName("public");
  EXPECT_EQ(s.getCommunityNames(), (Names{"private", "Public"}));
  s.clearCommunityNames();
  EXPECT_TRUE(s.getCommunityNames().empty());
}

TEST(SubnetBase, DumpOfADefaultSubnetLineByLine) {
  const std::string text = SubnetBase().toString();
  EXPECT_EQ(lines(text), (Names{
                             "--- SubnetBase class ---",
                             "Name: ",
                             "NetworkId: ",
                             "SubnetMask: ",
                             "Community Names: ",
                             "DiscoverNodes: 0",
                             "ObservedNodes0",
                             "Status0",
                             "DiscoveringInterval: 0",
                             "Hops: 0",
                             "DiscoveredNodeType: 0",
                             "LookupHostName: false",
                             "DiscoverOnTrap: false",
                         }));
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.back(), '\n');
}

TEST(SubnetBase, DumpOfAFilledSubnet) {
  SubnetBase s = makeSubnet("\x95\x5C lan", "10.0.0.0", "255.0.0.0");
  s.addCommunityName("public");
  s.addCommunityName("private");
  s.setDiscoveredNodes(12);
  s.setObservedNodes(-3);
  s.setStatus(2);
  s.setDiscoveringInterval(3600);
  s.setHops(4);
  s.setDiscoveredNodeType(1);
  s.setLookupHostName(true);
  s.setDiscoverOnTrap(true);
  EXPECT_EQ(s.toString(),
            "--- SubnetBase class ---\n"
            "Name: \x95\x5C lan\n"
            "NetworkId: 10.0.0.0\n"
            "SubnetMask: 255.0.0.0\n"
            "Community Names: public, private\n"
            "DiscoverNodes: 12\n"
            "ObservedNodes-3\n"
            "Status2\n"
            "DiscoveringInterval: 3600\n"
            "Hops: 4\n"
            "DiscoveredNodeType: 1\n"
            "LookupHostName: true\n"
            "DiscoverOnTrap: true\n");

  // clear() brings back the default dump.
  s.clear();
  EXPECT_EQ(s.toString(), SubnetBase().toString());
  EXPECT_TRUE(s.getCommunityNames().empty());
}

TEST(CSubnet, ObjectListIsNotOwnedAndCopiedOnlyByAssignmentFromASubnet) {
  CNetworkObject a;
  a.setName("a");
  CNetworkObject sameName;
  sameName.setName("a");

  CSubnet s;
  s.setName("lan");
  s.addNetworkObject(&a);
  s.addNetworkObject(&a);  // listed twice: no check here
  s.addNetworkObject(&sameName);
  EXPECT_EQ(s.getNetworkObjects(), (std::vector<CNetworkObject*>{&a, &a, &sameName}));

  s.addCommunityName("public");
  const CSubnet copied(s);
  EXPECT_EQ(copied.toString(), s.toString());
  EXPECT_TRUE(copied.getNetworkObjects().empty());

  CSubnet assigned;
  assigned = s;
  EXPECT_EQ(assigned.getName(), "lan");
  EXPECT_EQ(assigned.getNetworkObjects(), s.getNetworkObjects());

  // From a plain subnet only the values come; the list stays.
  CSubnet keeps;
  keeps.addNetworkObject(&a);
  keeps = makeSubnet("other", "1.2.3.0", "255.255.255.0");
  EXPECT_EQ(keeps.getName(), "other");
  EXPECT_EQ(keeps.getNetworkObjects(), (std::vector<CNetworkObject*>{&a}));
  keeps.clear();
  EXPECT_EQ(keeps.getName(), "");
  EXPECT_EQ(keeps.getNetworkObjects().size(), 1u);

  // Destroying a subnet leaves its objects alone.
  auto* heap = new CSubnet;
  heap->addNetworkObject(&a);
  delete heap;
  EXPECT_EQ(a.getName(), "a");
}

}  // namespace
