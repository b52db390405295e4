// The fixture of the SNMP tests against a real agent: snmpd in a network
// namespace of the test's own, a NetworkServer whose SNMP thread lives in
// it, and net-snmp's command line tools (run in the same namespace with the
// same MIB modules) as the reference. Needs root; skipped otherwise.
#ifndef OM_TESTS_SERVER_SNMPNETTEST_H_
#define OM_TESTS_SERVER_SNMPNETTEST_H_

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

namespace snmptest {

using namespace om::snmp;
using omtest::Netns;
using omtest::NetnsScope;

inline const std::string kMibs = std::string(OM_MIB_FOLDER) + ":/usr/share/snmp/mibs";
// net-snmp's tools as the reference: no configuration file, our modules.
inline const std::string kTool = "env SNMPCONFPATH=/nonexistent ";
inline const std::string kToolMibs = " -M " + kMibs + " -m ALL ";

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

  // Lines of net-snmp's text with the values of counters and time stamps
  // cut off: those of lo move between two walks.
  static std::string steady(const std::string& text) {
    std::string out;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      std::string line = text.substr(start, end - start);
      const bool moving = line.find("Counter") != std::string::npos || line.find("Timeticks") != std::string::npos;
      out += (moving ? line.substr(0, line.find(':', line.find(" = "))) : line) + "\n";
    }
    return out;
  }

  static inline std::string skip_;
  static inline SnmpAgent* agent_ = nullptr;
  static inline NetworkServer* server_ = nullptr;
};

}  // namespace snmptest

#endif  // OM_TESTS_SERVER_SNMPNETTEST_H_
