#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <omtools/Registry.h>

#include "../monitor/RecordArchiveTestUtil.h"
#include "model/NetworkObjectBase.h"
#include "model/OrvaManagerNetwork.h"
#include "model/SerializableAC.h"
#include "model/SerializableNetObj.h"
#include "model/SerializableOMNetwork.h"
#include "model/SerializableSubnet.h"
#include "model/subnet.h"
#include "monitor/ActionCmd.h"

namespace {

using recordtest::ByteList;
using recordtest::Bytes;
using recordtest::dword;
using recordtest::text;

// A registry of its own for the process, with the settings that a new
// subnet record takes its defaults from.
class ConfigEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    char dir[] = "/tmp/omlib-serializable-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    home_ = dir;
    setenv("OMLIB_HOME", home_.c_str(), 1);
    setenv("OMLIB_USER_HOME", home_.c_str(), 1);
    const char* key = "SOFTWARE\\Velmoran\\OrvaManager";
    ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, key));
    CRegistry settings(HKEY_LOCAL_MACHINE, key);
    ASSERT_TRUE(settings.setValue("DefaultCommunity", "public"));
    ASSERT_TRUE(settings.setValue("DefaultDiscoveringInterval", "3600"));
    ASSERT_TRUE(settings.setValue("DefaultDiscoveredNodeType", "3"));
    ASSERT_TRUE(settings.setValue("DefaultLookupHostName", "TRUE"));
    ASSERT_TRUE(settings.setValue("DefaultDiscoverOnTrap", "false"));
  }
  void TearDown() override { std::filesystem::remove_all(home_); }

 private:
  std::string home_;
};

[[maybe_unused]] const auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new ConfigEnvironment);

ByteList& newClass(ByteList& list, const std::string& name, int schema) {
  return list << 0xFF << 0xFF << schema << 0 << static_cast<int>(name.size()) << 0 << name;
}

ByteList& operator<<(ByteList& list, const Bytes& bytes) {
  for (BYTE b : bytes) list << b;
  return list;
}

Bytes cat(const Bytes& a, const Bytes& b) {
  Bytes all = a;
  all.insert(all.end(), b.begin(), b.end());
  return all;
}

// Reads one object of class T through ReadObject.
template <class T>
std::unique_ptr<T> readObject(const Bytes& bytes) {
  std::unique_ptr<T> object;
  mfctest::load(bytes, [&](CArchive& ar) { object.reset(static_cast<T*>(ar.ReadObject(T::GetThisClass()))); });
  return object;
}

std::vector<std::string> texts(const std::vector<CString>& list) {
  std::vector<std::string> result;
  for (const CString& s : list) result.emplace_back(s.GetString(), static_cast<size_t>(s.GetLength()));
  return result;
}

// ---- SerializableNetObj -------------------------------------------------------

NetworkObjectBase sampleObject() {
  NetworkObjectBase o;
  o.setName("sw01");
  o.setDescription("core switch");
  o.setDisplayName("SW-01");
  o.setDNSName("sw01.example.net");
  o.setMacAddress("00:11:22:33:44:55");
  o.setSubnetMask("255.255.255.0");
  o.setObjectType(3);
  o.setObjectFunction(0x105);
  o.setNodeStatus(2);
  o.setPortStatus(9);
  o.setPortType(1);
  o.setIsOurProduct(true);
  o.setIsExProduct(false);
  o.setVLANName("v10");
  o.setIfIndex(17);
  o.setSysObjectID("1.3.6.1.4.1.99.1");
  o.setReadCommunityName("public");
  o.setWriteCommunityName("private");
  o.setSysName("sw01-sys");
  o.setSysContact("ops");
  o.setHasTelnet(true);
  o.setHasHTTP(false);
  o.setHasTFTP(true);
  o.setHasStack(false);
  o.setHasVlan(true);
  o.setPollingInterval(600);
  o.setIsPollingPort(true);
  o.setDeleteInterval(604800);
  o.setNumber(42);
  o.setIsTrapped(false);
  o.setSnmpVersion(SNMP_VERSION_2C);
  o.setIpv6Addresses({"fe80::1"});
  o.setIpAddresses({"10.0.0.1", "10.0.0.2"});
  o.setSnmpPort(161);
  return o;
}

// The archive order: description, hasTFTP, isTrapped and snmpVersion late,
// the IPv4 list before the IPv6 list.
Bytes sampleObjectBytes() {
  ByteList b;
  text(b, "sw01");
  text(b, "SW-01");
  text(b, "sw01.example.net");
  text(b, "00:11:22:33:44:55");
  text(b, "255.255.255.0");
  dword(b, 3);
  dword(b, 0x105);
  dword(b, 2);
  dword(b, 9);
  dword(b, 1);
  b << 1 << 0;  // isOurProduct, isExProduct
  text(b, "v10");
  dword(b, 17);
  text(b, "1.3.6.1.4.1.99.1");
  text(b, "public");
  text(b, "private");
  text(b, "sw01-sys");
  text(b, "ops");
  b << 1 << 0 << 0 << 1;  // hasTelnet, hasHTTP, hasStack, hasVlan
  dword(b, 600);
  b << 1;  // isPollingPort
  dword(b, 604800);
  dword(b, 42);
  text(b, "core switch");
  b << 1 << 0;  // hasTFTP, isTrapped
  dword(b, 1);  // snmpVersion
  dword(b, 2);
  text(b, "10.0.0.1");
  text(b, "10.0.0.2");
  dword(b, 1);
  text(b, "fe80::1");
  dword(b, 161);
  return b.bytes();
}

TEST(SerializableNetObj, ArchiveFormKeepsTheFileOrder) {
  const SerializableNetObj stored(sampleObject());
  const Bytes golden = sampleObjectBytes();
  EXPECT_EQ(recordtest::storeRecord(stored), golden);

  SerializableNetObj loaded;
  recordtest::loadRecord(golden, loaded);
  NetworkObjectBase plain;
  loaded.getObject(plain);
  SerializableNetObj again(plain);
  EXPECT_EQ(recordtest::storeRecord(again), golden);
}

TEST(SerializableNetObj, NoAddressesAndLongNames) {
  NetworkObjectBase bare;
  bare.setName("empty");
  ByteList b;
  text(b, "empty");
  for (int i = 0; i < 4; ++i) text(b, "");
  for (int i = 0; i < 5; ++i) dword(b, 0);
  b << 0 << 0;
  text(b, "");
  dword(b, 0);
  for (int i = 0; i < 5; ++i) text(b, "");
  b << 0 << 0 << 0 << 0;
  dword(b, 0);
  b << 0;
  dword(b, 0);
  dword(b, 0);
  text(b, "");
  b << 0 << 0;
  dword(b, 0xFFFFFFFF);  // snmpVersion not set
  dword(b, 0);           // no IPv4 address
  dword(b, 0);           // no IPv6 address
  dword(b, 0);
  const Bytes golden = b.bytes();
  EXPECT_EQ(recordtest::storeRecord(SerializableNetObj(bare)), golden);

  // Loading replaces lists that held addresses before.
  SerializableNetObj loaded(sampleObject());
  recordtest::loadRecord(golden, loaded);
  EXPECT_TRUE(loaded.getIpAddresses().empty());
  EXPECT_TRUE(loaded.getIpv6Addresses().empty());
  EXPECT_EQ(loaded.getSnmpVersion(), SNMP_VERSION_NOT_SET);
  NetworkObjectBase plain = sampleObject();
  loaded.getObject(plain);
  EXPECT_EQ(plain.getIpAddress(), "");
  EXPECT_TRUE(plain.getIpv6Addresses().empty());
  EXPECT_EQ(plain.getSnmpVersion(), SNMP_VERSION_NOT_SET);

  // A name of 300 characters: 0xFF, then the 16-bit length 300.
  bare.setName(std::string(300, 'n'));
  const Bytes longName = recordtest::storeRecord(SerializableNetObj(bare));
  ASSERT_EQ(longName.size(), golden.size() - 1 + 3 + 300 - 5);
  EXPECT_EQ(Bytes(longName.begin(), longName.begin() + 4), (Bytes{0xFF, 0x2C, 0x01, 'n'}));
  recordtest::loadRecord(longName, loaded);
  EXPECT_EQ(loaded.getName().GetLength(), 300);

  // Addresses listed twice in a file are all kept.
  ByteList twice;
  dword(twice, 3);
  text(twice, "10.0.0.9");
  text(twice, "10.0.0.9");
  text(twice, "10.0.0.1");
  Bytes doubled(golden.begin(), golden.end() - 12);
  doubled = cat(cat(doubled, twice.bytes()), Bytes(8, 0));
  recordtest::loadRecord(doubled, loaded);
  EXPECT_EQ(texts(loaded.getIpAddresses()), (std::vector<std::string>{"10.0.0.9", "10.0.0.9", "10.0.0.1"}));
  EXPECT_EQ(recordtest::storeRecord(loaded), doubled);
}

TEST(SerializableNetObj, EachFlagHasItsOwnByte) {
  NetworkObjectBase bare;
  bare.setName("empty");
  const Bytes base = recordtest::storeRecord(SerializableNetObj(bare));
  // Each flag alone, with the offset of its byte in the record above.
  const std::pair<void (NetworkObjectBase::*)(bool), size_t> flags[] = {
      {&NetworkObjectBase::setIsOurProduct, 30}, {&NetworkObjectBase::setIsExProduct, 31},
      {&NetworkObjectBase::setHasTelnet, 42},    {&NetworkObjectBase::setHasHTTP, 43},
      {&NetworkObjectBase::setHasStack, 44},     {&NetworkObjectBase::setHasVlan, 45},
      {&NetworkObjectBase::setIsPollingPort, 50}, {&NetworkObjectBase::setHasTFTP, 60},
      {&NetworkObjectBase::setIsTrapped, 61},
  };
  for (const auto& [set, offset] : flags) {
    NetworkObjectBase o = bare;
    (o.*set)(true);
    Bytes expected = base;
    expected[offset] = 1;
    EXPECT_EQ(recordtest::storeRecord(SerializableNetObj(o)), expected) << offset;
  }
}

TEST(SerializableNetObj, EverySchemaLoadsWithOneLayout) {
  const Bytes golden = sampleObjectBytes();
  std::unique_ptr<SerializableNetObj> written;
  const Bytes bytes = recordtest::roundTripThroughObject(SerializableNetObj(sampleObject()), written);
  ByteList tag;
  newClass(tag, "SerializableNetObj", 3);
  EXPECT_EQ(bytes, cat(tag.bytes(), golden));
  ASSERT_NE(written, nullptr);
  EXPECT_EQ(recordtest::storeRecord(*written), golden);

  for (int schema : {1, 2, 4}) {
    ByteList old;
    newClass(old, "SerializableNetObj", schema);
    const auto loaded = readObject<SerializableNetObj>(cat(old.bytes(), golden));
    ASSERT_NE(loaded, nullptr) << schema;
    EXPECT_EQ(recordtest::storeRecord(*loaded), golden) << schema;
  }
}

TEST(SerializableNetObj, ConversionsAndAccessors) {
  // Values outside the plain class's ranges are kept in the persistent form
  // and checked when handed back.
  SerializableNetObj stored(sampleObject());
  stored.setObjectType(9);
  stored.setPortStatus(7);
  stored.setNodeStatus(-1);
  stored.setPortType(3);
  EXPECT_EQ(stored.getObjectType(), 9);
  EXPECT_EQ(stored.getPortStatus(), 7);
  NetworkObjectBase plain;
  stored.getObject(plain);
  EXPECT_EQ(plain.getObjectType(), 0);
  EXPECT_EQ(plain.getPortStatus(), 0);
  EXPECT_EQ(plain.getNodeStatus(), 0);
  EXPECT_EQ(plain.getPortType(), 0);
  EXPECT_EQ(plain.getName(), "sw01");
  EXPECT_EQ(plain.getDescription(), "core switch");
  EXPECT_EQ(plain.getIpAddress(), "10.0.0.1");
  EXPECT_EQ(plain.getObjectFunction(), 0x105);
  EXPECT_TRUE(plain.hasTFTP());
  EXPECT_FALSE(plain.isTrapped());

  // Texts pass byte for byte, embedded NULs included.
  NetworkObjectBase withNul;
  withNul.setName(std::string("a\0b", 3));
  SerializableNetObj(withNul).getObject(plain);
  EXPECT_EQ(plain.getName(), std::string("a\0b", 3));

  stored.addIpAddress("10.0.0.1");
  stored.addIpAddress("10.0.0.3");
  EXPECT_EQ(texts(stored.getIpAddresses()), (std::vector<std::string>{"10.0.0.1", "10.0.0.2", "10.0.0.3"}));
}

// ---- SerializableSubnet -----------------------------------------------------

// A subnet file record that lists the community "public" twice.
Bytes subnetBytes(const std::vector<std::string>& communities) {
  ByteList b;
  text(b, "office");
  text(b, "192.168.1.77");
  text(b, "255.255.255.0");
  dword(b, static_cast<uint32_t>(communities.size()));
  for (const std::string& c : communities) text(b, c);
  dword(b, 12);
  dword(b, 10);
  dword(b, 1);
  dword(b, 300);
  dword(b, 2);
  dword(b, 4);
  b << 1 << 0;
  return b.bytes();
}

TEST(SerializableSubnet, DefaultsComeFromTheConfiguration) {
  {
    // Without a default community the list holds one empty name.
    CRegistry settings(HKEY_LOCAL_MACHINE, "SOFTWARE\\Velmoran\\OrvaManager");
    ASSERT_TRUE(settings.deleteValue("DefaultCommunity"));
    const SerializableSubnet bare;
    EXPECT_EQ(texts(bare.getCommunityNames()), std::vector<std::string>{""});
    EXPECT_EQ(bare.getDiscoveringInterval(), 3600);
    ASSERT_TRUE(settings.setValue("DefaultCommunity", "public"));
  }
  const SerializableSubnet fresh;
  EXPECT_EQ(texts(fresh.getCommunityNames()), std::vector<std::string>{"public"});
  EXPECT_EQ(fresh.getDiscoveringInterval(), 3600);
  EXPECT_EQ(fresh.getDiscoveredNodeType(), 3);
  EXPECT_TRUE(fresh.isLookupHostName());
  EXPECT_FALSE(fresh.isDiscoverOnTrap());
  EXPECT_EQ(fresh.getDiscoverdNodes(), 0);
  EXPECT_EQ(fresh.getObservedNodes(), 0);
  EXPECT_EQ(fresh.getStatus(), 0);
  EXPECT_EQ(fresh.getHops(), 0);
  EXPECT_TRUE(fresh.getName().IsEmpty());

  SerializableSubnet named("lab", "10.1.0.0", "255.255.0.0");
  EXPECT_STREQ(named.getName(), "lab");
  EXPECT_STREQ(named.getNetworkID(), "10.1.0.0");
  EXPECT_STREQ(named.getSubnetMask(), "255.255.0.0");
  EXPECT_EQ(texts(named.getCommunityNames()), std::vector<std::string>{"public"});
  EXPECT_EQ(named.getDiscoveringInterval(), 3600);

  named.setHops(5);
  named.clearCommunityName();
  named.addCommunityName("x");
  named.init();
  EXPECT_EQ(named.getHops(), 0);
  EXPECT_TRUE(named.getName().IsEmpty());
  EXPECT_EQ(texts(named.getCommunityNames()), std::vector<std::string>{"public"});
}

TEST(SerializableSubnet, CommunityListedTwiceLoadsOnce) {
  const Bytes file = subnetBytes({"public", "private", "public"});
  SerializableSubnet loaded;
  loaded.addCommunityName("stale");
  recordtest::loadRecord(file, loaded);
  EXPECT_EQ(texts(loaded.getCommunityNames()), (std::vector<std::string>{"public", "private"}));
  EXPECT_EQ(recordtest::storeRecord(loaded), subnetBytes({"public", "private"}));

  // A count that promises more names than the file holds ends the file.
  Bytes overstated = subnetBytes({});
  overstated[34] = 0xFF;
  overstated[35] = 0xFF;
  overstated[36] = 0xFF;
  overstated[37] = 0x7F;
  EXPECT_EQ(mfctest::causeOf([&] { recordtest::loadRecord(overstated, loaded); }), CArchiveException::endOfFile);
}

TEST(SerializableSubnet, ConversionsMirrorThePlainSubnet) {
  SubnetBase plain;
  plain.setName("office");
  plain.setNetworkID("192.168.1.77");
  plain.setSubnetMask("255.255.255.0");
  plain.addCommunityName("public");
  plain.addCommunityName("private");
  plain.setDiscoveredNodes(12);
  plain.setObservedNodes(10);
  plain.setStatus(1);
  plain.setDiscoveringInterval(300);
  plain.setHops(2);
  plain.setDiscoveredNodeType(4);
  plain.setLookupHostName(true);
  plain.setDiscoverOnTrap(false);

  SerializableSubnet stored(plain);
  EXPECT_EQ(recordtest::storeRecord(stored), subnetBytes({"public", "private"}));
  SubnetBase back;
  back.addCommunityName("old");
  stored.getSubnet(back);
  EXPECT_EQ(back.toString(), plain.toString());
  EXPECT_STREQ(stored.toString(), plain.toString().c_str());
  EXPECT_STREQ(stored.calcNetworkID(), "192.168.1.0");

  SerializableSubnet same(stored);
  same.setNetworkID("192.168.1.0");
  EXPECT_TRUE(same.compare(stored));
  same.setSubnetMask("255.255.0.0");
  EXPECT_FALSE(same.compare(stored));
  same.setSubnetMask("bad mask");
  EXPECT_STREQ(same.calcNetworkID(), "192.168.1.0");
  SerializableSubnet renamed;
  renamed = stored;
  renamed.setName("Office");
  EXPECT_FALSE(renamed.compare(stored));

  stored.setSubnet(SubnetBase());
  EXPECT_TRUE(stored.getCommunityNames().empty());
  EXPECT_EQ(stored.getDiscoveringInterval(), 0);
}

// ---- SerializableOMNetwork ----------------------------------------------------

TEST(SerializableOMNetwork, FlagsAreIntsInTheFile) {
  ByteList b;
  text(b, "net");
  dword(b, 4);
  dword(b, 120);
  dword(b, 80);
  dword(b, 2);
  dword(b, 5);  // pollingManager: any non-zero value is true
  dword(b, 0);
  const Bytes file = b.bytes();

  SerializableOMNetwork loaded;
  recordtest::loadRecord(file, loaded);
  EXPECT_EQ(loaded.isPollingManager(), 5);
  COrvaManagerNetwork network;
  loaded.getNetwork(network);
  EXPECT_EQ(network.getNodeStatus(), 2);
  EXPECT_TRUE(network.isPollingManager());
  EXPECT_FALSE(network.isAutoDiscoverManager());

  SerializableOMNetwork stored;
  stored.setNetwork(network);
  EXPECT_EQ(stored.isPollingManager(), 1);
  Bytes expected = file;
  expected[20] = 1;
  EXPECT_EQ(recordtest::storeRecord(stored), expected);
  EXPECT_EQ(recordtest::storeRecord(SerializableOMNetwork()), Bytes(1 + 6 * 4, 0));
}

// ---- SerializableActionCommand --------------------------------------------------

TEST(SerializableActionCommand, ArchiveFormAndCommandTypes) {
  SerializableActionCommand command;
  command.setId(7);
  command.setCommandType(8);
  command.setParam("ops@example.net");
  command.setDescription("\x83\x5C");
  EXPECT_STREQ(command.getCommand(), "8");
  EXPECT_EQ(command.IsServerSide(), 1);
  EXPECT_EQ(command.getCommandType(), 8);

  ByteList b;
  dword(b, 7);
  dword(b, 1);
  text(b, "8");
  text(b, "ops@example.net");
  text(b, "\x83\x5C");
  const Bytes golden = b.bytes();
  EXPECT_EQ(recordtest::storeRecord(command), golden);
  SerializableActionCommand loaded;
  recordtest::loadRecord(golden, loaded);
  EXPECT_EQ(recordtest::storeRecord(loaded), golden);

  command.setCommand("run.sh");
  command.setCommandType(0);
  EXPECT_STREQ(command.getCommand(), "run.sh");
  EXPECT_EQ(command.IsServerSide(), 1);
  EXPECT_EQ(command.getCommandType(), 0);
  // Types 1 to 7 run on a client, every other one (negative ones included)
  // on the server; the type becomes the command text.
  for (const auto& [type, serverSide] : {std::pair{1, 0}, {7, 0}, {8, 1}, {-3, 1}}) {
    command.setCommandType(type);
    EXPECT_STREQ(command.getCommand(), std::to_string(type).c_str());
    EXPECT_EQ(command.getCommandType(), type);
    EXPECT_EQ(command.IsServerSide(), serverSide) << type;
  }
  command.setCommand("12 monkeys");
  EXPECT_EQ(command.getCommandType(), 12);
  command.setCommand("x12");
  EXPECT_EQ(command.getCommandType(), 0);
}

// The conversions link with this library alone.
TEST(SerializableActionCommand, ConversionWithTheActionCommand) {
  CActionCommand custom;
  custom.setId(7);
  custom.setServerSide(true);
  custom.setCommand("C:\\tools\\alert.bat");
  custom.setParam("-q");
  custom.setDescription("\x83\x5C");

  SerializableActionCommand stored;
  stored.copyIn(custom);
  EXPECT_EQ(stored.getId(), 7);
  EXPECT_EQ(stored.IsServerSide(), 1);
  EXPECT_STREQ(stored.getCommand(), "C:\\tools\\alert.bat");
  EXPECT_STREQ(stored.getParam(), "-q");
  EXPECT_STREQ(stored.getDescription(), "\x83\x5C");

  // A built-in type gives no command line; the type is recorded apart.
  CActionCommand popup;
  popup.setId(8);
  popup.setCommand("1");
  stored.copyIn(popup);
  EXPECT_STREQ(stored.getCommand(), "");
  EXPECT_EQ(stored.IsServerSide(), 0);
  stored.setCommandType(popup.getCommandType());

  // Back: any non-zero int is server side; texts are taken as they are.
  stored.setServerSide(5);
  stored.setParam("x");
  CActionCommand back;
  stored.copyTo(back);
  EXPECT_EQ(back.getId(), 8);
  EXPECT_TRUE(back.isServerSide());
  EXPECT_EQ(back.getCommandEntity(), "1");
  EXPECT_EQ(back.getParam(), "x");
  stored.setServerSide(0);
  stored.copyTo(back);
  EXPECT_FALSE(back.isServerSide());
}

// ---- Files of records written through CObject pointers ---------------------------

TEST(PersistentForms, FileOfTaggedRecordsReadsBackByClassName) {
  SerializableOMNetwork network;
  network.setName("net");
  const SerializableSubnet first("a", "10.0.0.0", "255.0.0.0");
  SerializableSubnet second("b", "10.1.0.0", "255.255.0.0");
  second.clearCommunityName();
  const SerializableNetObj object(sampleObject());
  SerializableActionCommand command;
  command.setId(3);

  const Bytes bytes = mfctest::store([&](CArchive& ar) {
    ar << static_cast<const CObject*>(&network) << static_cast<const CObject*>(&first)
       << static_cast<const CObject*>(&second) << static_cast<const CObject*>(&object)
       << static_cast<const CObject*>(&command);
  });
  ByteList expected;
  newClass(expected, "SerializableOMNetwork", 1);
  expected << recordtest::storeRecord(network);
  newClass(expected, "SerializableSubnet", 1);
  expected << recordtest::storeRecord(first);
  // The second subnet refers back to the class, index 3 (after the network's
  // class and object).
  expected << 0x03 << 0x80 << recordtest::storeRecord(second);
  newClass(expected, "SerializableNetObj", 3);
  expected << recordtest::storeRecord(object);
  newClass(expected, "SerializableActionCommand", 1);
  expected << recordtest::storeRecord(command);
  EXPECT_EQ(bytes, expected.bytes());

  std::vector<std::unique_ptr<CObject>> read;
  mfctest::load(bytes, [&](CArchive& ar) {
    for (int i = 0; i < 5; ++i) read.emplace_back(ar.ReadObject(nullptr));
  });
  ASSERT_EQ(read.size(), 5u);
  EXPECT_EQ(read[0]->GetRuntimeClass(), RUNTIME_CLASS(SerializableOMNetwork));
  EXPECT_EQ(read[1]->GetRuntimeClass(), RUNTIME_CLASS(SerializableSubnet));
  EXPECT_TRUE(static_cast<SerializableSubnet&>(*read[2]).getCommunityNames().empty());
  EXPECT_STREQ(static_cast<SerializableSubnet&>(*read[2]).getName(), "b");
  EXPECT_EQ(read[3]->GetRuntimeClass(), RUNTIME_CLASS(SerializableNetObj));
  EXPECT_EQ(static_cast<SerializableActionCommand&>(*read[4]).getId(), 3);
  for (const char* name :
       {"SerializableNetObj", "SerializableSubnet", "SerializableOMNetwork", "SerializableActionCommand"}) {
    EXPECT_NE(CRuntimeClass::FromName(name), nullptr) << name;
  }

  recordtest::expectEveryTruncationIsEndOfFile(bytes, [](CArchive& ar) {
    for (int i = 0; i < 5; ++i) delete ar.ReadObject(nullptr);
  });
}

}  // namespace
