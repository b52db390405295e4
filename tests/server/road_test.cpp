// One request's road end to end in one process: an embedded server with the
// providers of "NetworkObject" and "OrvaManagerNetwork" over a known tree; a
// console that starts COM, connects to "." and checks the server; then every
// method of both classes called from the clients, synchronously and with a
// sink, and answered by the provider method classes.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <atlbase.h>
#include <om/ComObject.h>
#include <wmi/ObjectManager.h>

#include "EmbeddedRoad.h"
#include "model/NetworkPath.h"
#include "wbem/WbemConnect.h"
#include "wbem/WbemNetworkObjectClient.h"
#include "wbem/WbemOMNetwork.h"

namespace {

const std::string kSep = CNetworkPath::getSeparator();
const std::string kPhysical = CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName();
const std::string kLogical = CNetworkPath::getRootMark() + CNetworkPath::getLogicalRootName();
const std::string kSubnet = "10.1.0.0";
const std::string kSwitch = "\x83\x58\x83\x43\x83\x62\x83\x60-1";  // "スイッチ-1"

NetworkObjectBase object(const std::string& name, int type) {
  NetworkObjectBase o;
  o.setName(name);
  o.setDisplayName(name + " shown");
  o.setObjectType(type);
  return o;
}

// \物理\10.1.0.0\{スイッチ-1\{port1, port2}, router}; \論理\core\スイッチ-1.
void buildTree(NetworkServer& server) {
  NetworkTree& tree = server.tree;
  tree = NetworkTree();
  tree.add(kPhysical, object(kSubnet, kObjectTypeSubnet));
  NetworkObjectBase node = object(kSwitch, kObjectTypeNode);
  node.setDescription("core switch");
  node.setIpAddresses({"10.1.0.1", "10.1.0.2"});
  node.setIpv6Addresses({"fe80::1"});
  node.setMacAddress("00:11:22:33:44:55");
  node.setSnmpVersion(SNMP_VERSION_2C);
  node.setSysName("sw1");
  node.setSysContact("noc");
  node.setHasVlan(true);
  node.setPollingInterval(300);
  node.setSnmpPort(161);
  node.setNodeStatus(2);
  tree.add(kPhysical + kSep + kSubnet, node);
  tree.add(kPhysical + kSep + kSubnet, object("router", kObjectTypeNode));
  for (int i = 1; i <= 2; ++i) {
    NetworkObjectBase port = object("port" + std::to_string(i), kObjectTypePort);
    port.setIfIndex(i);
    port.setPortStatus(9);
    port.setPortType(2);
    tree.add(kPhysical + kSep + kSubnet + kSep + kSwitch, port);
  }
  tree.add(kLogical, object("core", kObjectTypeGroup));
  tree.add(kLogical + kSep + "core", node);
  server.poll = [](const NetworkObjectBase& n) { return n.getName() == "router" ? 1 : 0; };
  server.findPorts = [](const NetworkObjectBase&) { return std::vector<NetworkObjectBase>{object("port3", 5)}; };
  server.pollingManager = false;
  server.autoDiscoverManager = false;
  server.log.clear();
}

std::vector<std::string> names(const std::vector<NetworkObjectBase>& objects) {
  std::vector<std::string> out;
  for (const NetworkObjectBase& o : objects) out.push_back(o.getName());
  return out;
}

bool returnValueOf(StatusSink& sink) {
  const CComVariant value = outputAt(sink, u"ReturnValue");
  return value.vt == VT_BOOL && value.boolVal != VARIANT_FALSE;
}

class RoadTest : public EmbeddedRoadTest {
 protected:
  void SetUp() override {
    std::lock_guard<std::mutex> lock(state_->mutex);
    buildTree(*state_);
  }
};

TEST_F(RoadTest, GetChildrenBringsEveryChildWithItsAttributes) {
  WbemNetworkObjectClient client(services());
  std::vector<NetworkObjectBase> children;
  ASSERT_TRUE(client.getChildren(kPhysical + kSep + kSubnet, children)) << std::hex << client.getErrorCode();
  ASSERT_EQ(names(children), (std::vector<std::string>{kSwitch, "router"}));
  const NetworkObjectBase& node = children[0];
  EXPECT_EQ(node.getDisplayName(), kSwitch + " shown");
  EXPECT_EQ(node.getDescription(), "core switch");
  EXPECT_EQ(node.getIpAddresses(), (std::vector<std::string>{"10.1.0.1", "10.1.0.2"}));
  EXPECT_EQ(node.getIpv6Addresses(), (std::vector<std::string>{"fe80::1"}));
  EXPECT_EQ(node.getMacAddress(), "00:11:22:33:44:55");
  EXPECT_EQ(node.getSnmpVersion(), SNMP_VERSION_2C);
  EXPECT_EQ(node.getSysContact(), "noc");
  EXPECT_TRUE(node.hasVlan());
  EXPECT_EQ(node.getPollingInterval(), 300);
  EXPECT_EQ(node.getSnmpPort(), 161);
  EXPECT_EQ(node.getNodeStatus(), 2);
  EXPECT_EQ(node.getObjectType(), kObjectTypeNode);
  // The router read after the switch: nothing of the switch is left on it.
  EXPECT_TRUE(children[1].getIpAddresses().empty());
  EXPECT_EQ(children[1].getDescription(), "");

  // Children are appended; a leaf adds none and still succeeds.
  ASSERT_TRUE(client.getChildren(kPhysical + kSep + kSubnet + kSep + kSwitch, children));
  EXPECT_EQ(names(children), (std::vector<std::string>{kSwitch, "router", "port1", "port2"}));
  EXPECT_EQ(children[3].getPortStatus(), 9);
  EXPECT_EQ(children[3].getPortType(), 2);
  ASSERT_TRUE(client.getChildren(kPhysical + kSep + kSubnet + kSep + "router", children));
  EXPECT_EQ(children.size(), 4u);
  // An unknown path is the server's WBEM_E_NOT_FOUND, kept by the client.
  EXPECT_FALSE(client.getChildren(kPhysical + kSep + "nowhere", children));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(children.size(), 4u);
}

TEST_F(RoadTest, ValuesOutOfRangeAreClampedOnTheWay) {
  // A raw instance with values the model refuses: the server reads it with
  // the clamps, and so does the console.
  CComPtr<IWbemClassObject> cls;
  ASSERT_EQ(services()->GetObject(CComBSTR(u"NetworkObject"), 0, nullptr, &cls, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> raw;
  ASSERT_EQ(cls->SpawnInstance(0, &raw), WBEM_S_NO_ERROR);
  CComVariant name("odd"), type(8), portStatus(7), nodeStatus(3), portType(-1), number(-5);
  raw->Put(u"ObjectName", 0, &name, 0);
  raw->Put(u"ObjectType", 0, &type, 0);
  raw->Put(u"PortStatus", 0, &portStatus, 0);
  raw->Put(u"NodeStatus", 0, &nodeStatus, 0);
  raw->Put(u"PortType", 0, &portType, 0);
  raw->Put(u"Number", 0, &number, 0);
  CComPtr<IWbemContext> ctx;
  ASSERT_EQ(ctx.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER), S_OK);
  CComVariant subnet(kSubnet.c_str());
  ctx->SetValue(u"SubnetName", 0, &subnet);
  ASSERT_EQ(services()->PutInstance(raw, 0, ctx, nullptr), WBEM_S_NO_ERROR);

  WbemNetworkObjectClient client(services());
  std::vector<NetworkObjectBase> children;
  ASSERT_TRUE(client.getChildren(kPhysical + kSep + kSubnet, children));
  ASSERT_EQ(children.size(), 3u);
  const NetworkObjectBase& odd = children[2];
  EXPECT_EQ(odd.getName(), "odd");
  EXPECT_EQ(odd.getObjectType(), 0);
  EXPECT_EQ(odd.getPortStatus(), 0);
  EXPECT_EQ(odd.getNodeStatus(), 0);
  EXPECT_EQ(odd.getPortType(), 0);
  EXPECT_EQ(odd.getNumber(), -5);
}

TEST_F(RoadTest, InstancesAreWrittenAndReadWithTheirContextValues) {
  WbemNetworkObjectClient client(services());
  client.setObject(object("printer", kObjectTypeNode));
  client.setIpAddress("10.1.0.9");
  // A new object needs the subnet it belongs to.
  EXPECT_FALSE(client.put());
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_INVALID_PARAMETER);
  ASSERT_TRUE(client.put(kSubnet)) << std::hex << client.getErrorCode();
  EXPECT_EQ(client.getErrorCode(), 0u);

  const std::string path = "NetworkObject.ObjectName=\"printer\"";
  NetworkObjectBase read;
  WbemNetworkObjectClient reader(services());
  ASSERT_TRUE(reader.getObject(path, read, false));
  EXPECT_EQ(read.getIpAddresses(), (std::vector<std::string>{"10.1.0.9"}));
  // A known object is updated without a subnet.
  client.setSysName("lp");
  ASSERT_TRUE(client.put());
  ASSERT_TRUE(reader.getObject(path, true));
  EXPECT_EQ(reader.getSysName(), "lp");

  // Misses: logged unless the read is silent.
  EXPECT_FALSE(reader.getObject("NetworkObject.ObjectName=\"ghost\"", read, true));
  EXPECT_EQ(static_cast<HRESULT>(reader.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(read.getIpAddresses(), (std::vector<std::string>{"10.1.0.9"}));  // untouched by a failed read
  EXPECT_FALSE(reader.getObject("NetworkObject.ObjectName=\"ghost\"", false));
  std::lock_guard<std::mutex> lock(state_->mutex);
  EXPECT_EQ(state_->log, (std::vector<std::string>{"No subnet \"\" for printer.", "ghost was not found."}));
}

TEST_F(RoadTest, EveryNetworkObjectMethodSynchronously) {
  WbemNetworkObjectClient client(services());
  EXPECT_TRUE(client.isExistObject(kSwitch));
  EXPECT_FALSE(client.isExistObject("ghost"));
  EXPECT_EQ(client.getErrorCode(), 0u);  // a false answer is not a failure

  std::vector<std::string> paths;
  ASSERT_TRUE(client.getPathNames(kSwitch, paths));
  EXPECT_EQ(paths, (std::vector<std::string>{kPhysical + kSep + kSubnet + kSep + kSwitch,
                                             kLogical + kSep + "core" + kSep + kSwitch}));

  EXPECT_TRUE(client.hasChildren(kPhysical + kSep + kSubnet + kSep + kSwitch));
  EXPECT_FALSE(client.hasChildren(kPhysical + kSep + kSubnet + kSep + "router"));

  EXPECT_TRUE(client.forcePolling("router"));  // the test's probe answers 1
  EXPECT_FALSE(client.forcePolling(kSwitch));  // and 0 (unknown) for others

  EXPECT_TRUE(client.autoAddPort(kSwitch));
  std::vector<NetworkObjectBase> children;
  ASSERT_TRUE(client.getChildren(kLogical + kSep + "core" + kSep + kSwitch, children));
  EXPECT_EQ(names(children), (std::vector<std::string>{"port1", "port2", "port3"}));

  // SNMP against a real agent is tested with one (snmp_net_test); here
  // only what is answered without a packet: names no MIB knows.
  std::vector<std::string> results;
  ASSERT_TRUE(client.getSnmpInfo(kSwitch, {"noSuchVariable.0", "no.such"}, results));
  EXPECT_EQ(results, (std::vector<std::string>{"noSuchVariable.0:unknownVariable", "no.such:unknownVariable"}));
  EXPECT_FALSE(client.getSnmpInfo("ghost", {"noSuchVariable.0"}, results));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);

  // The calls that act on the client's own object.
  client.setName(kSwitch);
  EXPECT_FALSE(client.setSnmpInfo("noSuchVariable.0", "ops"));

  EXPECT_TRUE(client.moveObject(kLogical + kSep + "core", kLogical));
  EXPECT_FALSE(client.moveObject(kLogical + kSep + "core", kLogical));  // no longer there
  EXPECT_TRUE(client.renameObject("switch-a"));
  client.setName("switch-a");
  ASSERT_TRUE(client.getPathNames(paths));
  EXPECT_EQ(paths,
            (std::vector<std::string>{kPhysical + kSep + kSubnet + kSep + "switch-a", kLogical + kSep + "switch-a"}));

  // Deleting the switch takes its ports, which nothing else lists.
  EXPECT_TRUE(client.deleteObject());
  EXPECT_FALSE(client.isExistObject("port1"));
  EXPECT_FALSE(client.deleteObject());
}

TEST_F(RoadTest, EveryNetworkObjectMethodWithASink) {
  WbemNetworkObjectClient client(services());
  client.setName(kSwitch);
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return client.isExistObject(s); })));
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return client.autoAddPort(s); })));
  EXPECT_FALSE(returnValueOf(*async([&](IWbemObjectSink* s) { return client.forcePolling(s); })));
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return client.hasChildren(kLogical, s); })));
  EXPECT_FALSE(
      returnValueOf(*async([&](IWbemObjectSink* s) { return client.setSnmpInfo("noSuchVariable.0", "x", s); })));

  std::vector<std::string> untouched{"keep"};
  CComPtr<StatusSink> sink = async([&](IWbemObjectSink* s) { return client.getPathNames(untouched, s); });
  EXPECT_EQ(sink->wait(), WBEM_S_NO_ERROR);
  EXPECT_EQ(untouched, (std::vector<std::string>{"keep"}));  // the answer went to the sink
  ASSERT_EQ(sink->objects_.size(), 1u);
  CComVariant pathNames;
  sink->objects_[0]->Get(u"PathNames", 0, &pathNames, nullptr, nullptr);
  std::vector<std::string> paths;
  ASSERT_TRUE(WbemClient::getStringArray(pathNames, paths));
  EXPECT_EQ(paths.size(), 2u);

  EXPECT_TRUE(returnValueOf(
      *async([&](IWbemObjectSink* s) { return client.moveObject(kLogical + kSep + "core", kLogical, s); })));
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return client.renameObject("switch-b", s); })));
  client.setName("switch-b");
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return client.deleteObject(s); })));
  EXPECT_FALSE(client.isExistObject("switch-b"));
}

// A client that sends an in-parameter the provider cannot take.
class NullParamClient : public WbemNetworkObjectClient {
 public:
  using WbemNetworkObjectClient::WbemNetworkObjectClient;
  bool hasChildrenOfNull() {
    WbemAccess access(this);
    CComVariant null;
    null.vt = VT_NULL;
    access.putParam("PathName", null);
    return runReturnValueMethod(access, "HasChildren", nullptr);
  }
};

TEST_F(RoadTest, AParameterOfTheWrongTypeIsRefusedByTheProvider) {
  NullParamClient client(services());
  EXPECT_FALSE(client.hasChildrenOfNull());
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_INVALID_PARAMETER);
  WbemErrorInfo info;
  ASSERT_TRUE(readWbemErrorInfo(info));
  EXPECT_EQ(info.statusCode, WBEM_E_INVALID_PARAMETER);
  // The same client succeeds afterwards, and clears its error code.
  EXPECT_TRUE(client.hasChildren(kLogical));
  EXPECT_EQ(client.getErrorCode(), 0u);
}

TEST_F(RoadTest, TheNetworkInstanceAndItsMethods) {
  WbemOMNetworkClient network(services());
  COrvaManagerNetwork read;
  ASSERT_TRUE(network.getObject(read)) << std::hex << network.getErrorInfo();
  EXPECT_EQ(read.getName(), WbemOMNetwork::networkName());
  EXPECT_EQ(read.getNumberOfSubnets(), 1);
  EXPECT_EQ(read.getNumberOfDiscoveredNodes(), 2);
  EXPECT_EQ(read.getNumberOfObservingNodes(), 0);
  EXPECT_EQ(read.getNodeStatus(), 2);  // the switch is down
  EXPECT_FALSE(network.isPollingManagerRunning());

  EXPECT_TRUE(network.pollingManager(true));
  EXPECT_TRUE(network.isPollingManagerRunning());
  EXPECT_EQ(network.getNumberOfObservingNodes(), 2);
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return network.autoDiscoverManager(true, s); })));
  EXPECT_TRUE(network.isAutoDiscoverManagerRunning());
  EXPECT_TRUE(network.autoDiscoverManager(false));
  EXPECT_FALSE(network.isAutoDiscoverManagerRunning());
  EXPECT_TRUE(returnValueOf(*async([&](IWbemObjectSink* s) { return network.pollingManager(false, s); })));
  EXPECT_FALSE(network.isPollingManagerRunning());

  // put() writes the manager states back.
  network.setPollingManager(true);
  network.setAutoDiscoverManager(false);
  ASSERT_TRUE(network.put());
  EXPECT_TRUE(network.isPollingManagerRunning());
  EXPECT_FALSE(network.isAutoDiscoverManagerRunning());

  std::vector<std::string> results;
  ASSERT_TRUE(network.searchNetworkObject("PORT", true, results));
  EXPECT_EQ(results, (std::vector<std::string>{"port1", "port2"}));
  ASSERT_TRUE(network.searchNetworkObject("PORT", false, results));
  EXPECT_TRUE(results.empty());
  ASSERT_TRUE(network.searchNetworkObject("\x83\x58\x83\x43", false, results));  // "スイ"
  EXPECT_EQ(results, (std::vector<std::string>{kSwitch}));
  ASSERT_TRUE(network.srarchSubnet("10.1", false, results));
  EXPECT_EQ(results, (std::vector<std::string>{kSubnet}));
  // With a sink the results go there, not to the caller's vector.
  const auto resultsAtSink = [](StatusSink& sink) {
    std::vector<std::string> found{"<none>"};
    CComVariant value;
    if (sink.wait() == WBEM_S_NO_ERROR && sink.objects_.size() == 1 &&
        SUCCEEDED(sink.objects_[0]->Get(u"Results", 0, &value, nullptr, nullptr))) {
      WbemClient::getStringArray(value, found);
    }
    return found;
  };
  results = {"kept"};
  EXPECT_TRUE(resultsAtSink(*async([&](IWbemObjectSink* s) {
                return network.srarchSubnet("none", true, results, s);
              })).empty());
  EXPECT_EQ(resultsAtSink(
                *async([&](IWbemObjectSink* s) { return network.searchNetworkObject("router", false, results, s); })),
            (std::vector<std::string>{"router"}));
  EXPECT_EQ(results, (std::vector<std::string>{"kept"}));
}

TEST_F(RoadTest, TheServerCheckFailsWhenTheNetworkCannotBeRead) {
  ASSERT_TRUE(connection_->checkServerRunning());
  EXPECT_EQ(connection_->getStep(), static_cast<UINT>(WbemConnect::IDS_STEP_SERVER_RUNNING));
  om::wmi::ObjectManager::instance().unregisterProvider(u"root\\Velmoran\\OrvaManager", u"OrvaManagerNetwork");
  WbemOMNetworkClient network(services());
  network.setPollingManager(true);
  EXPECT_FALSE(network.isPollingManagerRunning());
  EXPECT_NE(network.getErrorInfo(), 0u);
  EXPECT_FALSE(connection_->checkServerRunning());
  EXPECT_EQ(connection_->getStep(), static_cast<UINT>(WbemConnect::IDS_STEP_CHECKING_SERVER));
  EXPECT_EQ(connection_->getErrorCode(), network.getErrorInfo());
  // Back as it was for the tests that follow in this process.
  server_->stop();
  ASSERT_EQ(server_->start(), WBEM_S_NO_ERROR);
  ASSERT_TRUE(connection_->connectServer(".", "", "", ""));
}

}  // namespace
