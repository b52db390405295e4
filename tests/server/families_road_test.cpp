// Subnets, MIB nodes, action commands and filters, and task samples end to
// end: every method and instance operation from the console's clients,
// through the object manager, to the server's providers over their stores.
#include <gtest/gtest.h>

#include <algorithm>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "EmbeddedRoad.h"
#include "model/NetworkPath.h"
#include "server/discovery/SubnetDiscovery.h"
#include "server/store/MemoryStores.h"
#include "server/providers/MibNodeService.h"
#include "server/snmp/MibTree.h"
#include "wbem/WbemActionCommand.h"
#include "wbem/WbemActionFilter.h"
#include "wbem/WbemMibNodeClient.h"
#include "wbem/WbemSubnet.h"
#include "wbem/WbemTaskDataRecord.h"
#include "wbem/WbemTaskObject.h"

namespace {

const std::string kSep = CNetworkPath::getSeparator();
const std::string kPhysical = CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName();

std::vector<std::string> names(const std::vector<NetworkObjectBase>& objects) {
  std::vector<std::string> out;
  for (const NetworkObjectBase& o : objects) out.push_back(o.getName());
  return out;
}

template <class Record>
std::string fields(const Record& record) {
  std::string text;
  for (const auto& [name, value] : record.describeFields()) text += name + "=" + value + ";";
  return text;
}

int intAt(StatusSink& sink, const char16_t* name) {
  const CComVariant value = outputAt(sink, name);
  return value.vt == VT_I4 ? value.lVal : -100;
}

// ---- Subnets -----------------------------------------------------------------------------

SubnetBase subnet(const std::string& name, const std::string& network, const std::string& mask) {
  SubnetBase s;
  s.setName(name);
  s.setNetworkID(network);
  s.setSubnetMask(mask);
  s.addCommunityName("public");
  s.addCommunityName("ops");
  s.setDiscoveringInterval(3600);
  s.setHops(2);
  s.setDiscoveredNodeType(5);
  s.setStatus(0);
  s.setLookupHostName(false);
  s.setDiscoverOnTrap(true);
  return s;
}

class SubnetRoadTest : public EmbeddedRoadTest {
 protected:
  void SetUp() override {
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->tree = NetworkTree();
    state_->subnets = std::make_unique<om::server::MemorySubnetStore>();
    state_->logs = std::make_unique<om::server::MemoryLogStore>();
    // No packet leaves: the sweep asks this instead, and .2 and .5 answer.
    state_->discovery->sweepEcho = [](const std::vector<std::string>& addresses,
                                      const SubnetDiscovery::EchoReport& report) {
      for (const std::string& address : addresses) report(address, address.back() == '2' || address.back() == '5');
      return EchoResult::kAnswered;
    };
    state_->discovery->lookupName = [](const std::string& address) { return "host-" + address; };
  }
  static std::string toText(const SubnetBase& s) { return s.toString(); }
  static std::vector<std::string> logMessages() {
    std::vector<std::string> messages;
    state_->logs->scan([&](const CLogObject& record) {
      messages.push_back(record.getMessage().GetString());
      return true;
    });
    return messages;
  }
};

TEST_F(SubnetRoadTest, SubnetsAreWrittenReadAndListedWithEveryProperty) {
  WbemSubnetClient writer(subnet("lab", "192.0.2.0", "255.255.255.248"), services());
  ASSERT_TRUE(writer.put()) << std::hex << writer.getErrorCode();
  ASSERT_TRUE(WbemSubnetClient(subnet("dmz", "198.51.100.0", "255.255.255.0"), services()).put());
  WbemSubnetClient reader(services());
  SubnetBase read;
  ASSERT_TRUE(reader.getSubnet("Subnet.SubnetName=\"lab\"", read));
  EXPECT_EQ(toText(read), toText(subnet("lab", "192.0.2.0", "255.255.255.248")));
  std::vector<SubnetBase> all;
  ASSERT_TRUE(reader.enumSubnets(all));
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(toText(all[1]), toText(subnet("lab", "192.0.2.0", "255.255.255.248")));
  // The subnet is an object of the tree too, under the physical root.
  EXPECT_TRUE(WbemSubnetClient(services()).isExistSubnet("lab"));
  ASSERT_NE(state_->tree.find("lab"), nullptr);
  EXPECT_EQ(state_->tree.find("lab")->getObjectType(), kObjectTypeSubnet);

  // A known name is replaced; a name some other object has is refused.
  writer.setHops(9);
  ASSERT_TRUE(writer.put());
  ASSERT_TRUE(reader.getSubnet("Subnet.SubnetName=\"lab\""));
  EXPECT_EQ(reader.getHops(), 9);
  NetworkObjectBase node;
  node.setName("taken");
  node.setObjectType(kObjectTypeNode);
  state_->tree.add(kPhysical + kSep + "lab", node);
  EXPECT_FALSE(WbemSubnetClient(subnet("taken", "10.0.0.0", "255.0.0.0"), services()).put());
  EXPECT_FALSE(reader.getSubnet("Subnet.SubnetName=\"ghost\"", read));
  EXPECT_EQ(static_cast<HRESULT>(reader.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(read.getName(), "lab");
}

TEST_F(SubnetRoadTest, RenameDeleteAndExistenceKeepTreeAndStoreTogether) {
  WbemSubnetClient client(subnet("a", "192.0.2.0", "255.255.255.0"), services());
  ASSERT_TRUE(client.put());
  ASSERT_TRUE(WbemSubnetClient(subnet("b", "198.51.100.0", "255.255.255.0"), services()).put());
  EXPECT_TRUE(client.isExistSubnet());
  EXPECT_FALSE(client.isExistSubnet("ghost"));
  EXPECT_FALSE(client.renameSubnet("a", "b"));  // taken
  EXPECT_TRUE(client.renameSubnet("c"));        // this subnet, "a"
  EXPECT_FALSE(client.isExistSubnet("a"));
  EXPECT_NE(state_->tree.find("c"), nullptr);
  EXPECT_EQ(state_->tree.find("a"), nullptr);
  SubnetBase renamed;
  ASSERT_TRUE(WbemSubnetClient(services()).getSubnet("Subnet.SubnetName=\"c\"", renamed));
  EXPECT_EQ(renamed.getNetworkID(), "192.0.2.0");

  const CComPtr<StatusSink> sink = async([&](IWbemObjectSink* s) { return client.deleteSubnet("c", s); });
  EXPECT_EQ(outputAt(*sink, u"ReturnValue"), CComVariant(true));
  EXPECT_FALSE(client.deleteSubnet("c"));
  EXPECT_EQ(state_->tree.find("c"), nullptr);
  // Deleted as a network object, it leaves the subnet store as well.
  ASSERT_TRUE(state_->locked([&] { return state_->removeObject("b"); }));
  std::vector<SubnetBase> left;
  ASSERT_TRUE(client.enumSubnets(left));
  EXPECT_TRUE(left.empty());
}

TEST_F(SubnetRoadTest, DiscoveryAddsTheNodesThatAnswerOnceAndLogsTheSweep) {
  SubnetBase lab = subnet("lab", "192.0.2.0", "255.255.255.248");
  WbemSubnetClient client(lab, services());
  ASSERT_TRUE(client.put());
  EXPECT_FALSE(client.goDiscover("ghost"));
  ASSERT_TRUE(client.goDiscover());
  state_->discovery->wait();
  std::vector<NetworkObjectBase> devices;
  ASSERT_TRUE(client.getAllDevices(devices));
  EXPECT_EQ(names(devices), (std::vector<std::string>{"192.0.2.2", "192.0.2.5"}));
  EXPECT_EQ(devices[0].getIpAddresses(), (std::vector<std::string>{"192.0.2.2"}));
  EXPECT_EQ(devices[0].getNodeStatus(), 1);
  EXPECT_EQ(devices[0].getReadCommunityName(), "public");

  // Again, with names looked up: the known nodes are updated, not doubled.
  client.setLookupHostName(true);
  ASSERT_TRUE(client.put());
  ASSERT_TRUE(client.goDiscover());
  state_->discovery->wait();
  devices.clear();
  ASSERT_TRUE(client.getAllDevices("lab", devices));
  EXPECT_EQ(names(devices), (std::vector<std::string>{"192.0.2.2", "192.0.2.5"}));
  ASSERT_TRUE(client.getSubnet("Subnet.SubnetName=\"lab\""));
  EXPECT_EQ(client.getDiscoverdNodes(), 2);
  EXPECT_EQ(client.getStatus(), SubnetDiscovery::kIdle);
  // The nodes are logged in the order they answered, which is not fixed.
  std::vector<std::string> messages = logMessages();
  if (messages.size() >= 3) std::sort(messages.begin() + 1, messages.begin() + 3);
  EXPECT_EQ(messages, (std::vector<std::string>{
                               "Discovery started: 6 addresses.", "Node found at 192.0.2.2 in lab.",
                               "Node found at 192.0.2.5 in lab.", "Discovery ended: 2 new nodes.",
                               "Discovery started: 6 addresses.", "Discovery ended: 0 new nodes."}));

  // With a sink, the devices go there.
  const CComPtr<StatusSink> sink = async([&](IWbemObjectSink* s) { return client.getAllDevices(devices, s); });
  const CComVariant objects = outputAt(*sink, u"Objects");
  ASSERT_EQ(objects.vt, VT_ARRAY | VT_UNKNOWN);
  EXPECT_EQ(objects.parray->rgsabound[0].cElements, 2u);
  EXPECT_EQ(devices.size(), 2u);
  EXPECT_FALSE(client.getAllDevices("ghost", devices));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);
}

TEST_F(SubnetRoadTest, SweepsThatCannotRunAreRefusedOrStoppedWithAReason) {
  ASSERT_TRUE(WbemSubnetClient(subnet("big", "10.0.0.0", "255.255.0.0"), services()).put());
  ASSERT_TRUE(WbemSubnetClient(subnet("odd", "10.1.0.0", "255.0.255.0"), services()).put());
  WbemSubnetClient client(services());
  EXPECT_FALSE(client.goDiscover("big"));
  EXPECT_FALSE(client.goDiscover("odd"));
  std::vector<std::string> messages = logMessages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0],
            "The subnet cannot be discovered: it has 65534 addresses, more than the 4096 a sweep covers.");
  EXPECT_EQ(messages[1], "The subnet cannot be discovered: the mask 255.0.255.0 is not contiguous.");

  state_->discovery->sweepEcho = [](const std::vector<std::string>&, const SubnetDiscovery::EchoReport&) {
    return EchoResult::kNotSent;
  };
  ASSERT_TRUE(WbemSubnetClient(subnet("one", "192.0.2.9", "255.255.255.255"), services()).put());
  ASSERT_TRUE(client.goDiscover("one"));
  state_->discovery->wait();
  messages = logMessages();
  EXPECT_EQ(messages.back(), "Discovery ended: 0 new nodes.");
  EXPECT_EQ(messages[messages.size() - 2], "Discovery stopped: ICMP echo requests cannot be sent.");
}

TEST(SubnetAddresses, HostsOfASubnetWithoutItsNetworkAndBroadcast) {
  std::vector<std::string> addresses;
  std::string reason;
  ASSERT_TRUE(subnetAddresses("192.0.2.77", "255.255.255.248", addresses, reason));
  EXPECT_EQ(addresses, (std::vector<std::string>{"192.0.2.73", "192.0.2.74", "192.0.2.75", "192.0.2.76",
                                                 "192.0.2.77", "192.0.2.78"}));
  ASSERT_TRUE(subnetAddresses("192.0.2.8", "255.255.255.254", addresses, reason));
  EXPECT_EQ(addresses, (std::vector<std::string>{"192.0.2.8", "192.0.2.9"}));
  ASSERT_TRUE(subnetAddresses("192.0.2.8", "255.255.255.255", addresses, reason));
  EXPECT_EQ(addresses, (std::vector<std::string>{"192.0.2.8"}));
  ASSERT_TRUE(subnetAddresses("10.0.0.0", "255.255.240.0", addresses, reason));
  EXPECT_EQ(addresses.size(), 4094u);
  EXPECT_EQ(addresses.back(), "10.0.15.254");
  EXPECT_FALSE(subnetAddresses("10.0.0.0", "255.255.224.0", addresses, reason));
  EXPECT_FALSE(subnetAddresses("10.0.0", "255.255.255.0", addresses, reason));
  EXPECT_EQ(reason, "the network id or the mask is not an IPv4 address");
}

// ---- MIB nodes ---------------------------------------------------------------------------

constexpr int kAnyKind = 0;
constexpr int kScalarKind = (CMibNode::NODE_KIND_SCALAR << 16);

class MibRoadTest : public EmbeddedRoadTest {
 protected:
  // The shipped modules, compiled once for the suite.
  static const std::vector<CMibNode>& shippedTree() {
    static const std::vector<CMibNode> nodes = om::snmp::loadMibTree({OM_MIB_FOLDER, "/usr/share/snmp/mibs"}).nodes;
    return nodes;
  }
  void SetUp() override {
    state_->mib = std::make_unique<om::server::MemoryMibStore>();
    state_->mib->load(shippedTree());
  }
  size_t countOf(int kind) const {
    size_t count = 0;
    for (const CMibNode& node : shippedTree()) count += MibNodeService::isOfKind(node, kind) ? 1 : 0;
    return count;
  }
  static std::vector<std::string> nodeNames(const std::vector<CMibNode>& nodes) {
    std::vector<std::string> out;
    for (const CMibNode& node : nodes) out.push_back(node.getNodeName());
    return out;
  }
};

TEST_F(MibRoadTest, ANodeIsReadWholeAndItsNeighboursReached) {
  WbemMibNodeClient client(services());
  CMibNode sysName;
  ASSERT_TRUE(client.GetMibNode("MibNode.NodeName=\"sysName\"", sysName, kAnyKind)) << std::hex
                                                                                  << client.getErrorCode();
  CMibNode expected;
  ASSERT_TRUE(state_->mib->find("sysName", expected));
  EXPECT_EQ(fields(sysName), fields(expected));
  EXPECT_EQ(sysName.getOidString(), "1.3.6.1.2.1.1.5");
  EXPECT_EQ(sysName.getFullPath(), "iso.org.dod.internet.mgmt.mib-2.system.sysName");

  CMibNode other;
  ASSERT_TRUE(client.GetParentNode(other, kAnyKind));
  EXPECT_EQ(other.getNodeName(), "system");
  ASSERT_TRUE(client.GetNextSiblingNode(other, kAnyKind));
  EXPECT_EQ(other.getNodeName(), "sysLocation");
  ASSERT_TRUE(client.GetPrevSiblingNode(other, kAnyKind));
  EXPECT_EQ(other.getNodeName(), "sysContact");
  // A kind the node is not of: not found.
  EXPECT_FALSE(client.GetParentNode(other, kScalarKind));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_FALSE(client.GetMibNode("MibNode.NodeName=\"sysName\"", other, CMibNode::NODE_TYPE_TRAP));

  // The children of "system", one after the other with the cursor.
  ASSERT_TRUE(client.GetMibNode("MibNode.NodeName=\"system\"", kAnyKind));
  std::vector<std::string> visited;
  ASSERT_TRUE(client.GetChildNode(0, other, kAnyKind));
  visited.push_back(other.getNodeName());
  while (client.GetNextChildNode(other, kAnyKind)) visited.push_back(other.getNodeName());
  EXPECT_EQ(visited, (std::vector<std::string>{"sysDescr", "sysObjectID", "sysUpTime", "sysContact", "sysName",
                                               "sysLocation", "sysServices", "sysORLastChange", "sysORTable"}));
  EXPECT_EQ(client.getCurrentChildIndex(), 9);
  EXPECT_FALSE(client.GetChildNode(9, other, kAnyKind));
  EXPECT_FALSE(client.GetChildNode(-1, other, kAnyKind));
  EXPECT_EQ(client.getCurrentChildIndex(), 9);
  ASSERT_TRUE(client.GetChildNode(8, other, kAnyKind));
  EXPECT_FALSE(client.GetNextChildNode(other, kAnyKind));
}

TEST_F(MibRoadTest, ChildrenAreListedByNameAndKind) {
  WbemMibNodeClient client(services());
  std::vector<CMibNode> nodes;
  ASSERT_TRUE(client.GetAllChildNodes("internet", nodes, kAnyKind));
  EXPECT_EQ(nodeNames(nodes),
            (std::vector<std::string>{"directory", "mgmt", "experimental", "private", "security", "snmpV2"}));
  nodes.clear();
  ASSERT_TRUE(client.GetAllChildNodes("snmpTraps", nodes, CMibNode::NODE_TYPE_NOTIFICATION));
  EXPECT_EQ(nodes.size(), 5u);
  nodes.clear();
  ASSERT_TRUE(client.GetAllChildNodes("system", nodes, kScalarKind | 1));
  EXPECT_EQ(nodes.size(), 8u);  // sysORTable is not a scalar
  EXPECT_EQ(nodes[2].getSyntax(), "TimeTicks");
  nodes.clear();
  ASSERT_TRUE(client.GetAllChildNodes("system", nodes, CMibNode::NODE_TYPE_TRAP));
  EXPECT_TRUE(nodes.empty());
  EXPECT_FALSE(client.GetAllChildNodes("nowhere", nodes, kAnyKind));
  // Every node, when no name is given.
  client.setNodeName("");
  ASSERT_TRUE(client.GetAllChildNodes(nodes, kAnyKind));
  EXPECT_EQ(nodes.size(), shippedTree().size());
}

TEST_F(MibRoadTest, TrapsAndNotificationsOfAModule) {
  WbemMibNodeClient client(services());
  std::vector<std::string> list{"kept"};
  ASSERT_TRUE(client.GetAllTraps(list, "RFC1215"));
  EXPECT_EQ(list, (std::vector<std::string>{"SmiTrapType.coldStart", "SmiTrapType.warmStart", "SmiTrapType.linkDown",
                                            "SmiTrapType.linkUp", "SmiTrapType.authenticationFailure",
                                            "SmiTrapType.egpNeighborLoss"}));
  ASSERT_TRUE(client.GetAllNotifications(list, "SNMPv2-MIB"));
  EXPECT_EQ(list, (std::vector<std::string>{"coldStart", "warmStart", "authenticationFailure"}));
  ASSERT_TRUE(client.GetAllTraps(list, "SNMPv2-MIB"));
  EXPECT_TRUE(list.empty());
  // A module the server does not know: "ReturnValue" 1, the list untouched.
  list = {"kept"};
  EXPECT_FALSE(client.GetAllNotifications(list, "NO-SUCH-MIB"));
  EXPECT_EQ(list, (std::vector<std::string>{"kept"}));
  ASSERT_TRUE(client.GetAllNotifications(list, ""));
  EXPECT_EQ(list.size(), countOf(CMibNode::NODE_TYPE_NOTIFICATION));
  client.setModuleName("IF-MIB");
  ASSERT_TRUE(client.GetAllNotifications(list));
  EXPECT_EQ(list, (std::vector<std::string>{"linkDown", "linkUp"}));
}

// What a walk refuses before it sends anything; walks of a real agent are in
// snmp_net_test.cpp.
TEST_F(MibRoadTest, AWalkIsRefusedBeforeAnyRequest) {
  const std::string file = std::filesystem::temp_directory_path() / ("mibwalk-" + std::to_string(getpid()));
  std::ofstream(file) << "kept";
  WbemMibNodeClient client(services());
  const auto walk = [&](const char* host, const char* start, long overwrite) {
    return intAt(*async([&](IWbemObjectSink* s) { return client.DoMibWalk(file.c_str(), host, start, "", overwrite, s); }),
                 u"ReturnValue");
  };
  EXPECT_EQ(walk("127.0.0.1", "system", 0), MibNodeService::kFileExists);
  EXPECT_EQ(walk("127.0.0.1", "noSuchNode", 1), MibNodeService::kNoStartVariable);
  EXPECT_EQ(walk("", "system", 1), MibNodeService::kNoHost);
  EXPECT_FALSE(client.DoMibWalk(file.c_str(), "127.0.0.1", "system", "", 0));
  std::ifstream in(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()), "kept");
  std::filesystem::remove(file);
}

// A walk waits for its agent on a thread of the object manager's: other
// calls go on meanwhile. Nothing listens on the node's SNMP port (UDP 1161
// of loopback), so the walk lasts at least one time-out.
TEST_F(MibRoadTest, AWalkInProgressDoesNotHoldUpOtherCalls) {
  NetworkObjectBase silent;
  silent.setName("silent-agent");
  silent.setObjectType(kObjectTypeNode);
  silent.setIpAddress("127.0.0.1");
  silent.setSnmpPort(1161);
  ASSERT_TRUE(state_->locked([&] { return state_->tree.add(NetworkTree::physicalRootPath(), silent); }));
  const std::string file = std::filesystem::temp_directory_path() / ("mibwalk-" + std::to_string(getpid()));
  WbemMibNodeClient walker(services()), reader(services());
  CComPtr<StatusSink> walking;
  walking.Attach(new StatusSink);
  ASSERT_TRUE(walker.DoMibWalk(file.c_str(), "silent-agent", "system", "", 1, walking));
  CMibNode node;
  EXPECT_TRUE(reader.GetMibNode("MibNode.NodeName=\"sysName\"", node, kAnyKind));
  EXPECT_FALSE(walking->done()) << "the read waited for the walk";
  walking->wait();
  EXPECT_EQ(intAt(*walking, u"ReturnValue"), MibNodeService::kNoAnswer);
  EXPECT_FALSE(std::filesystem::exists(file));
  state_->locked([&] { return state_->removeObject("silent-agent"); });
}

TEST_F(MibRoadTest, NodesAreWrittenAndDeletedByName) {
  CMibNode node;
  node.setNodeName("myObject");
  node.setModuleName("MY-MIB");
  node.setParentName("system");
  node.setOidString("1.3.6.1.2.1.1.99");
  node.setNodeTypeKind(kScalarKind | 1);
  node.setValueList({"up(1)", "down(2)"});
  WbemMibNodeClient client(node, services());
  ASSERT_TRUE(client.put());
  CMibNode read;
  ASSERT_TRUE(client.GetMibNode("MibNode.NodeName=\"myObject\"", read, kAnyKind));
  EXPECT_EQ(fields(read), fields(node));
  ASSERT_EQ(services()->DeleteInstance(CComBSTR(u"MibNode.NodeName=\"myObject\""), 0, nullptr, nullptr),
            WBEM_S_NO_ERROR);
  EXPECT_FALSE(client.GetMibNode("MibNode.NodeName=\"myObject\"", read, kAnyKind));
}

// ---- Actions -----------------------------------------------------------------------------

class ActionRoadTest : public EmbeddedRoadTest {
 protected:
  void SetUp() override { state_->actions = std::make_unique<om::server::MemoryActionStore>(); }
};

TEST_F(ActionRoadTest, CommandsAreKeptByIdentifier) {
  CActionCommand command;
  command.setId(12);
  command.setCommandEntity("/usr/local/bin/page-oncall");
  command.setParam(om::utf8ToCp932("%s の障害"));
  command.setDescription("page");
  command.setServerSide(true);
  ASSERT_TRUE(WbemActionCommand(command, services()).put());
  CActionCommand other = command;
  other.setId(3);
  other.setCommandType(CActionCommand::TYPE_BEEP);
  ASSERT_TRUE(WbemActionCommand(other, services()).put());

  WbemActionCommand reader(services());
  ASSERT_TRUE(reader.get(12));
  EXPECT_EQ(fields(reader.getObject()), fields(command));
  std::vector<CActionCommand> all;
  ASSERT_TRUE(WbemActionCommand::enumActionCommand(services(), all));
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(fields(all[0]), fields(other));
  EXPECT_EQ(fields(all[1]), fields(command));

  ASSERT_TRUE(reader.remove());
  // A missing identifier: false, the record keeps it and its other fields.
  EXPECT_FALSE(reader.get(12));
  EXPECT_EQ(static_cast<HRESULT>(reader.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(reader.getId(), 12);
  EXPECT_EQ(reader.getDescription(), "page");
  EXPECT_FALSE(reader.remove());
  CActionCommand empty;
  EXPECT_FALSE(WbemActionCommand(empty, services()).put());  // identifier 0
}

TEST_F(ActionRoadTest, FiltersTravelWithEveryFieldWhateverTheirFlags) {
  ActionFilter filter;
  filter.setId(7);
  filter.setStartTime(CTime(2024, 5, 6, 7, 8, 9));
  filter.setEndTime(CTime(2025, 1, 1, 0, 0, 0));
  filter.setLogType(log_def::LOGTYPE_TRAP);
  filter.setLogSubType(log_def::LOGSUBTYPE_LINK_UP);
  filter.setAddress("10.0.0.1");
  filter.setSysObjectId("1.3.6.1.4.1.9");
  filter.setActionId(12);
  filter.setInternalName("core");
  ASSERT_TRUE(WbemActionFilter(filter, services()).put());  // no flag set
  WbemActionFilter reader(services());
  ASSERT_TRUE(reader.get(7));
  EXPECT_EQ(fields(reader.getObject()), fields(filter));
  filter.setAvailables(0x80000000u | ActionFilter::FLAG_ADDRESS);  // the top bit survives sint32
  ASSERT_TRUE(WbemActionFilter(filter, services()).put());
  std::vector<ActionFilter> all;
  ASSERT_TRUE(WbemActionFilter::enumActionFilter(services(), all));
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(fields(all[0]), fields(filter));
  ASSERT_TRUE(reader.remove());
  EXPECT_FALSE(reader.get());
}

// ---- Task samples ------------------------------------------------------------------------

CTaskDataRecord sample(int minute, const std::string& upTime, const std::string& values) {
  CTaskDataRecord record;
  record.setPollStartTime(CTime(2024, 2, 3, 4, minute, 0));
  record.setSysUpTime(upTime);
  record.setMibValues(values);
  return record;
}

class TaskRecordRoadTest : public EmbeddedRoadTest {
 protected:
  void SetUp() override {
    state_->tasks = std::make_unique<om::server::MemoryTaskStore>();
    state_->taskRecords = std::make_unique<om::server::MemoryTaskRecordStore>();
    for (const char* name : {"cpu", "link"}) {
      CTaskObject task;
      task.setName(name);
      state_->tasks->add(task);
    }
  }
  // The samples a record enumeration gives.
  static std::vector<CTaskDataRecord> enumerated(const char* query, const char* task, const char* queryString) {
    WbemTaskRecordClient client(services());
    client.beginRecordEnumeration(query, task, queryString);
    std::vector<CTaskDataRecord> records;
    while (client.getNextRecord(records)) {
    }
    return records;
  }
};

TEST_F(TaskRecordRoadTest, SamplesAreStoredPerTaskAndCountedAsEnumerated) {
  for (int i = 0; i < 6; ++i) {
    WbemTaskDataRecord writer(sample(i, std::to_string(i) + " days", i % 2 == 0 ? "10,20" : "30,40"), services());
    ASSERT_TRUE(writer.put(i < 4 ? "cpu" : "link")) << std::hex << writer.getErrorCode();
  }
  // A sample needs a known task.
  WbemTaskDataRecord orphan(sample(9, "", ""), services());
  EXPECT_FALSE(orphan.put());
  EXPECT_EQ(static_cast<HRESULT>(orphan.getErrorCode()), WBEM_E_INVALID_PARAMETER);
  EXPECT_FALSE(orphan.put("ghost"));
  EXPECT_EQ(static_cast<HRESULT>(orphan.getErrorCode()), WBEM_E_NOT_FOUND);

  const std::vector<CTaskDataRecord> cpu = enumerated("select * from TaskDataRecord", "cpu", "");
  ASSERT_EQ(cpu.size(), 4u);
  EXPECT_EQ(fields(cpu[3]), fields(sample(3, "3 days", "30,40")));
  WbemTaskRecordClient client(services());
  for (const char* queryString : {"", "MibValues = '10,20'", "SysUpTime LIKE '1%' OR SysUpTime LIKE '5%'"}) {
    for (const char* task : {"cpu", "link", ""}) {
      EXPECT_EQ(client.numberOf(task, queryString),
                static_cast<int>(enumerated("select * from TaskDataRecord", task, queryString).size()))
          << task << " / " << queryString;
    }
  }
  EXPECT_EQ(client.numberOf("cpu", "MibValues = '10,20'"), 2);
  EXPECT_EQ(client.numberOf("", ""), 6);
  EXPECT_EQ(client.numberOf("cpu", "Nothing = 1"), -1);
  EXPECT_EQ(enumerated("select * from TaskDataRecord where SysUpTime = '2 days'", "cpu", "").size(), 1u);

  // Deleting the task takes its samples.
  WbemTaskObjectClient tasks(services());
  EXPECT_TRUE(tasks.deleteTask2("cpu"));
  EXPECT_EQ(client.numberOf("cpu", ""), 0);
  EXPECT_EQ(client.numberOf("", ""), 2);
}

TEST_F(TaskRecordRoadTest, ASampleIsAddressedByTaskAndPollStartTime) {
  ASSERT_TRUE(WbemTaskDataRecord(sample(1, "up", "1"), services()).put("link"));
  const CComBSTR path(u"TaskDataRecord.PollStartTime=\"20240203040100.000000+540\"");
  CComPtr<IWbemContext> ctx;
  ASSERT_EQ(ctx.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER), S_OK);
  CComPtr<IWbemClassObject> found;
  EXPECT_EQ(services()->GetObject(path, 0, nullptr, &found, nullptr), WBEM_E_NOT_FOUND);  // whose sample?
  CComVariant task("link");
  ctx->SetValue(u"TaskName", 0, &task);
  ASSERT_EQ(services()->GetObject(path, 0, ctx, &found, nullptr), WBEM_S_NO_ERROR);
  WbemTaskDataRecord read(services());
  ASSERT_TRUE(read.getFromInstance(found));
  EXPECT_EQ(read.getSysUpTime(), "up");
  ASSERT_EQ(services()->DeleteInstance(path, 0, ctx, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(services()->DeleteInstance(path, 0, ctx, nullptr), WBEM_E_NOT_FOUND);
}

}  // namespace
