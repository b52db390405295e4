// SNMP against a real agent: snmpd in a network namespace of the test's own,
// the engine's thread inside it, and net-snmp's command line tools (run in
// the same namespace with the same MIB modules) as the reference. Needs
// root; skipped otherwise.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "../probe/NetTopology.h"
#include "server/NetworkServer.h"
#include "server/SnmpRequests.h"
#include "server/snmp/SnmpEngine.h"
#include "server/snmp/SnmpText.h"

namespace {

using namespace om::snmp;
using omtest::Netns;
using omtest::NetnsScope;

const std::string kMibs = std::string(OM_MIB_FOLDER) + ":/usr/share/snmp/mibs";
// net-snmp's tools as the reference: no configuration file, our modules.
const std::string kTool = "env SNMPCONFPATH=/nonexistent ";
const std::string kToolMibs = " -M " + kMibs + " -m ALL ";

// snmpd on 127.0.0.1:161 of a namespace: "public" reads everything,
// "private" writes sysContact, sysName and sysLocation; sysLocation is set
// by the configuration, which makes it read-only.
class SnmpAgent {
 public:
  SnmpAgent() : dir_(std::filesystem::temp_directory_path() / ("omsnmp-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(dir_);
    std::ofstream(dir_ / "snmpd.conf") << "agentAddress udp:127.0.0.1:161\n"
                                          "rocommunity public 127.0.0.1\n"
                                          "view settable included .1.3.6.1.2.1.1.4\n"
                                          "view settable included .1.3.6.1.2.1.1.5\n"
                                          "view settable included .1.3.6.1.2.1.1.6\n"
                                          "rwcommunity private 127.0.0.1 -V settable\n"
                                          "sysLocation lab\n";
    if (!ns.ok() || ns.exec("ip link set lo up") != 0 ||
        ns.exec("sh -c 'ip link add v0 type veth peer name v1 && ip link set v0 up && ip link set v1 up'") != 0) {
      return;
    }
    ns.exec("snmpd -LF 0-5 " + (dir_ / "log").string() + " -C -c " + (dir_ / "snmpd.conf").string() + " -p " +
            (dir_ / "pid").string() + " -I -smux,mteTrigger,mteTriggerConf -M " + kMibs + " -m ALL");
    for (int i = 0; i < 50 && !ready_; ++i) {
      ready_ = tool("snmpget -v2c -c public" + kToolMibs + "127.0.0.1 sysName.0") == 0;
      if (!ready_) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
  ~SnmpAgent() {
    std::ifstream pid(dir_ / "pid");
    long number = 0;
    if (pid >> number && number > 0) kill(static_cast<pid_t>(number), SIGTERM);
    std::filesystem::remove_all(dir_);
  }
  bool ready() const { return ready_; }
  // Runs a net-snmp tool in the namespace.
  int tool(const std::string& command, std::string* out = nullptr) const { return ns.exec(kTool + command, out); }

  Netns ns{"snmp"};

 private:
  std::filesystem::path dir_;
  bool ready_ = false;
};

class SnmpNetTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::string reason = omtest::netUnavailableReason();
    if (!reason.empty()) {
      skip_ = reason;
      return;
    }
    if (omtest::run("command -v snmpd") != 0) {
      skip_ = "needs snmpd and the snmp tools (scripts/install-deps.sh)";
      return;
    }
    agent_ = new SnmpAgent();
    if (!agent_->ready()) skip_ = "snmpd did not start in the namespace";
    NetnsScope inside(agent_->ns);
    server_ = new NetworkServer();  // its SNMP thread lives in the namespace
    server_->loadMib({OM_MIB_FOLDER, "/usr/share/snmp/mibs"});
  }
  static void TearDownTestSuite() {
    delete server_;
    delete agent_;
    server_ = nullptr;
    agent_ = nullptr;
  }
  void SetUp() override {
    if (!skip_.empty()) GTEST_SKIP() << skip_;
  }
  static SnmpEngine& engine() { return *server_->snmp; }
  static Target agent(const std::string& community = "public", Version version = Version::kV2c) {
    Target target;
    target.host = "127.0.0.1";
    target.community = community;
    target.version = version;
    return target;
  }
  static Request get(const std::vector<std::string>& names, PduType type = PduType::kGet) {
    Request request;
    request.type = type;
    for (const std::string& name : names) {
      Varbind varbind;
      EXPECT_TRUE(parseOid(name, varbind.oid)) << name;
      request.varbinds.push_back(varbind);
    }
    return request;
  }
  // net-snmp's text of each variable, one a line.
  static std::string lines(const std::vector<Varbind>& varbinds) {
    std::string text;
    for (const Varbind& v : varbinds) text += netsnmpText(v) + "\n";
    return text;
  }
  static std::string toolOutput(const std::string& command) {
    std::string out;
    EXPECT_EQ(agent_->tool(command, &out), 0) << command;
    return out;
  }

  static inline std::string skip_;
  static inline SnmpAgent* agent_ = nullptr;
  static inline NetworkServer* server_ = nullptr;
};

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
    // Time stamps and traffic counters of lo move between walks: compare
    // names and types everywhere, values where they stay.
    const auto steady = [](std::string text) {
      std::string out;
      size_t start = 0;
      for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string line = text.substr(start, end - start);
        const bool moving = line.find("Counter") != std::string::npos || line.find("Timeticks") != std::string::npos;
        out += (moving ? line.substr(0, line.find(':', line.find(" = "))) : line) + "\n";
      }
      return out;
    };
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

}  // namespace
