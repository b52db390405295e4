// SNMP against a real agent (see SnmpNetTest.h): GET, GETNEXT, walks and
// SETs against net-snmp's tools, time-outs, requests in flight, the node
// methods and traps into the log.
#include "SnmpNetTest.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using namespace om::snmp;
using namespace snmptest;

TEST_F(SnmpNetTest, GetAndGetNextAnswerAsSnmpgetDoes) {
  const std::vector<std::string> names{"sysDescr.0", "sysObjectID.0", "sysLocation.0", "ifNumber.0",
                                       "ifPhysAddress.1"};
  Response response = engine().call(agent(), get(names));
  ASSERT_EQ(response.status, Status::kOk) << response.message;
  EXPECT_EQ(lines(response.varbinds),
            toolOutput("snmpget -v2c -c public" + kToolMibs + "127.0.0.1 sysDescr.0 sysObjectID.0 sysLocation.0 "
                       "ifNumber.0 ifPhysAddress.1"));
  response = engine().call(agent(), get({"sysLocation", "ifDescr"}, PduType::kGetNext));
  ASSERT_EQ(response.status, Status::kOk) << response.message;
  EXPECT_EQ(lines(response.varbinds),
            toolOutput("snmpgetnext -v2c -c public" + kToolMibs + "127.0.0.1 sysLocation ifDescr"));
  // An instance the agent lacks: an exception value, not an error.
  response = engine().call(agent(), get({"sysDescr.7"}));
  ASSERT_EQ(response.varbinds.size(), 1u);
  EXPECT_EQ(typeName(response.varbinds[0]), "noSuchInstance");
  // SNMPv1 reports it as an error status instead.
  response = engine().call(agent("public", Version::kV1), get({"sysDescr.7"}));
  EXPECT_EQ(response.status, Status::kAgentError);
  EXPECT_EQ(errorStatusName(response.errorStatus), "noSuchName");
  EXPECT_EQ(response.errorIndex, 1);
}

TEST_F(SnmpNetTest, WalksEqualSnmpwalkAndBulkEqualsGetNext) {
  for (const char* root : {"system", "interfaces", "ifXTable"}) {
    Oid oid;
    ASSERT_TRUE(parseOid(root, oid));
    std::vector<Varbind> bulk, next;
    ASSERT_EQ(engine().walkAll(agent(), oid, bulk).status, Status::kOk) << root;
    ASSERT_EQ(engine().walkAll(agent("public", Version::kV1), oid, next).status, Status::kOk) << root;
    const std::string reference = toolOutput("snmpwalk -v2c -c public" + kToolMibs + "127.0.0.1 " + root);
    EXPECT_GT(bulk.size(), 5u) << root;
    EXPECT_EQ(steady(lines(bulk)), steady(reference)) << root;
    if (std::string(root) != "ifXTable") {  // SNMPv1 has no Counter64
      EXPECT_EQ(steady(lines(next)), steady(reference)) << root;
    }
  }
  std::vector<Varbind> hc;
  Oid inOctets;
  ASSERT_TRUE(parseOid("ifHCInOctets", inOctets));
  ASSERT_EQ(engine().walkAll(agent(), inOctets, hc).status, Status::kOk);
  ASSERT_FALSE(hc.empty());
  EXPECT_EQ(hc[0].type, kCounter64);
}

TEST_F(SnmpNetTest, SetsTakeEffectOrKeepTheAgentsErrorStatus) {
  Request set;
  set.type = PduType::kSet;
  Varbind name;
  std::string error;
  ASSERT_TRUE(parseOid("sysName.0", name.oid));
  ASSERT_TRUE(encodeValue(name.oid, '=', "set-by-test", name, error)) << error;
  set.varbinds = {name};
  Response response = engine().call(agent("private"), set);
  ASSERT_EQ(response.status, Status::kOk) << response.message;
  EXPECT_EQ(toolOutput("snmpget -v2c -c public -Oqv" + kToolMibs + "127.0.0.1 sysName.0"), "set-by-test\n");
  // sysLocation comes from the configuration: not writable.
  ASSERT_TRUE(parseOid("sysLocation.0", set.varbinds[0].oid));
  response = engine().call(agent("private"), set);
  EXPECT_EQ(response.status, Status::kAgentError);
  EXPECT_EQ(errorStatusName(response.errorStatus), "notWritable") << response.errorStatus;
  EXPECT_EQ(response.errorIndex, 1);
}

TEST_F(SnmpNetTest, SilenceTimesOutAfterEveryRetry) {
  // A wrong community is not answered at all.
  Target wrong = agent("nobody");
  wrong.timeoutMs = 200;
  wrong.retries = 0;
  EXPECT_EQ(engine().call(wrong, get({"sysName.0"})).status, Status::kTimeout);
  // Nothing listens on this port: three tries of 300 ms.
  Target silent = agent();
  silent.port = 1161;
  silent.timeoutMs = 300;
  silent.retries = 2;
  const auto start = std::chrono::steady_clock::now();
  const Response response = engine().call(silent, get({"sysName.0"}));
  const auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(response.status, Status::kTimeout);
  EXPECT_GE(elapsed, std::chrono::milliseconds(880));
  EXPECT_LT(elapsed, std::chrono::milliseconds(3000));
}

TEST_F(SnmpNetTest, ManyRequestsInFlightFromOneThread) {
  std::atomic<int> answered{0};
  std::atomic<int> done{0};
  constexpr int kRequests = 256;
  for (int i = 0; i < kRequests; ++i) {
    engine().send(agent(), get({"sysUpTime.0"}), [&](Response response) {
      answered += response.status == Status::kOk ? 1 : 0;
      ++done;
    });
  }
  for (int i = 0; i < 100 && done < kRequests; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(answered, kRequests);
  EXPECT_EQ(engine().inFlight(), 0u);
}

TEST_F(SnmpNetTest, NodeRequestsUseTheNodesCommunitiesAndGiveOidValuePairs) {
  NetworkObjectBase node;
  node.setName("agent");
  node.setIpAddress("127.0.0.1");
  node.setReadCommunityName("public");
  node.setWriteCommunityName("private");
  std::string error;
  ASSERT_TRUE(om::server::setSnmpInfo(engine(), node, "sysContact.0", "ops", error)) << error;
  EXPECT_FALSE(om::server::setSnmpInfo(engine(), node, "sysLocation.0", "x", error));
  std::vector<std::string> results;
  ASSERT_TRUE(om::server::getSnmpInfo(engine(), node, {"sysContact.0", "1.3.6.1.2.1.1.6.0", "nonsense", "sysDescr.9"},
                                      results, error))
      << error;
  EXPECT_EQ(results, (std::vector<std::string>{"1.3.6.1.2.1.1.4.0:ops", "1.3.6.1.2.1.1.6.0:lab",
                                               "nonsense:unknownVariable", "1.3.6.1.2.1.1.1.9:noSuchInstance"}));
  node.setReadCommunityName("nobody");  // one try of 1 s: the settings are not set
  EXPECT_FALSE(om::server::getSnmpInfo(engine(), node, {"sysContact.0"}, results, error));
  EXPECT_NE(error.find("no answer"), std::string::npos) << error;
}

TEST_F(SnmpNetTest, TrapsBecomeLogRecordsAndMalformedDatagramsAreDropped) {
  {
    NetnsScope inside(agent_->ns);
    ASSERT_EQ(server_->listenForTraps(0), "");
  }
  const std::string port = std::to_string(server_->trapReceiver->port());
  const std::string to = " 127.0.0.1:" + port + " ";
  ASSERT_EQ(agent_->tool("snmptrap -v 1 -c public" + kToolMibs + to +
                         "ORVA-MANAGER-TRAP-MIB::omV1Traps 127.0.0.1 6 1 '' omV1NodeName.0 s node-1"),
            0);
  ASSERT_EQ(agent_->ns.exec("bash -c 'echo not-snmp > /dev/udp/127.0.0.1/" + port + "'"), 0);
  ASSERT_EQ(agent_->tool("snmptrap -v 2c -c public" + kToolMibs + to +
                         "'' ORVA-MANAGER-MIB::omNodeDown omNodeName.7 s node-7 omNodeStatus.7 i 3"),
            0);
  ASSERT_EQ(agent_->tool("snmptrap -v 1 -c public" + kToolMibs + to + "'' 127.0.0.1 2 0 ''"), 0);
  std::vector<CLogObject> traps;
  for (int i = 0; i < 100 && traps.size() < 3; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    traps.clear();
    server_->logs->scan([&](const CLogObject& record) {
      if (record.getType() == log_def::LOGTYPE_TRAP) traps.push_back(record);
      return true;
    });
  }
  ASSERT_EQ(traps.size(), 3u);
  EXPECT_EQ(server_->trapReceiver->dropped(), 1u);
  std::sort(traps.begin(), traps.end(),
            [](const CLogObject& a, const CLogObject& b) { return a.getIdentifier() < b.getIdentifier(); });
  EXPECT_EQ(std::string(traps[0].getMessage()),
            "SmiTrapType.omV1NodeDown (1.3.6.1.4.1.99999.2.0.1) from 127.0.0.1: omV1NodeName.0 = node-1");
  EXPECT_EQ(std::string(traps[0].getSysObjectId()), "1.3.6.1.4.1.99999.2");
  EXPECT_EQ(traps[0].getSubType(), log_def::LOGSUBTYPE_OTHER_TRAP);
  EXPECT_EQ(std::string(traps[0].getAddress()), "127.0.0.1");
  EXPECT_EQ(std::string(traps[0].getInternalName()), "127.0.0.1");
  EXPECT_EQ(std::string(traps[1].getMessage()),
            "omNodeDown (1.3.6.1.4.1.99999.1.0.1) from 127.0.0.1: omNodeName.7 = node-7, omNodeStatus.7 = 3");
  EXPECT_EQ(traps[2].getSubType(), log_def::LOGSUBTYPE_LINK_DOWN);
  server_->trapReceiver.reset();
}

TEST_F(SnmpNetTest, ATrapFromAnUnknownSenderInADiscoveringSubnetAddsANode) {
  SubnetBase subnet;
  subnet.setName("loopback");
  subnet.setNetworkID("127.0.0.0");
  subnet.setSubnetMask("255.0.0.0");
  subnet.setDiscoverOnTrap(true);
  subnet.setLookupHostName(false);
  ASSERT_TRUE(server_->locked([&] { return server_->putSubnet(subnet); }));
  {
    NetnsScope inside(agent_->ns);
    ASSERT_EQ(server_->listenForTraps(0), "");
  }
  const std::string to = " 127.0.0.1:" + std::to_string(server_->trapReceiver->port()) + " ";
  ASSERT_EQ(agent_->tool("snmptrap -v 2c -c public" + kToolMibs + to + "'' ORVA-MANAGER-MIB::omNodeUp"), 0);
  NetworkObjectBase node;
  for (int i = 0; i < 100 && !server_->copyObject("127.0.0.1", NetworkServer::Lookup::kAddress, node); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  server_->trapReceiver.reset();
  EXPECT_EQ(node.getName(), "127.0.0.1");
  std::vector<NetworkObjectBase> nodes;
  server_->locked([&] { return server_->tree.children(NetworkTree::subnetPath("loopback"), nodes); });
  EXPECT_EQ(nodes.size(), 1u);
  server_->locked([&] { return server_->removeObject("loopback"); });
}

}  // namespace
