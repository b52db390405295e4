// omconsole's SNMP commands run in the agent's namespace (see SnmpNetTest.h)
// with a registry of their own: snmp get and walk print what snmpget and
// snmpwalk print, mib walk goes through the server's DoMibWalk to the agent,
// and traps prints a record for each trap it receives.
#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "SnmpNetTest.h"

namespace {

using namespace snmptest;

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

class SnmpConsoleTest : public SnmpNetTest {
 protected:
  void SetUp() override {
    SnmpNetTest::SetUp();
    char dir[] = "/tmp/omlib-snmpconsole-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // omconsole with `args` in the namespace, its own registry in dir_.
  std::string command(const std::string& args) const {
    return "env OMLIB_HOME=" + dir_ + " OMLIB_USER_HOME=" + dir_ + " " + OMCONSOLE + " " + args;
  }
  // Runs it; its exit status, standard output in out_ and error in err_.
  int console(const std::string& args) {
    out_.clear();
    const int status = agent_->ns.exec(command(args) + " 2>" + dir_ + "/err", &out_);
    err_ = fileText(dir_ + "/err");
    return status;
  }

  std::string dir_;
  std::string out_;
  std::string err_;
};

TEST_F(SnmpConsoleTest, GetAndWalkPrintWhatNetSnmpsToolsPrint) {
  const std::string get = "127.0.0.1 sysDescr.0 sysObjectID.0 sysLocation.0 ifPhysAddress.1 ifSpeed.1";
  for (const std::string version : {"1", "2c"}) {
    ASSERT_EQ(console("snmp get " + get + " -v " + version), 0) << err_;
    EXPECT_EQ(out_, toolOutput("snmpget -v" + version + " -c public" + kToolMibs + get)) << version;
    ASSERT_EQ(console("snmp walk 127.0.0.1 interfaces -v " + version), 0) << err_;
    EXPECT_EQ(steady(out_), steady(toolOutput("snmpwalk -v" + version + " -c public" + kToolMibs +
                                              "127.0.0.1 interfaces")))
        << version;
  }
  // Without an OID: mib-2, as snmpwalk does (the rest of mib-2 moves with
  // the machine's processes and sockets: the first variable is compared).
  ASSERT_EQ(console("snmp walk 127.0.0.1 -c public"), 0) << err_;
  EXPECT_EQ(out_.substr(0, out_.find('\n') + 1), toolOutput("snmpget -v2c -c public" + kToolMibs + "127.0.0.1 sysDescr.0"));
  EXPECT_NE(out_.find("IF-MIB::ifDescr.1 = STRING: lo\n"), std::string::npos);
}

TEST_F(SnmpConsoleTest, RefusalsAndSilenceAreToldApart) {
  EXPECT_EQ(console("snmp get 127.0.0.1 sysName.7 -v 1"), 1);
  EXPECT_EQ(err_, "omconsole: snmp get 127.0.0.1: noSuchName (sysName.7)\n");
  EXPECT_EQ(console("snmp get 127.0.0.1 sysName.0 -c wrong -t 1 -r 0"), 1);
  EXPECT_EQ(err_, "omconsole: snmp get 127.0.0.1: no answer from 127.0.0.1\n");
  EXPECT_EQ(console("snmp get 127.0.0.1 noSuchThing.0"), 2);
  EXPECT_EQ(err_, "omconsole: snmp get 127.0.0.1: noSuchThing.0: unknown object identifier\n");
  EXPECT_EQ(console("snmp get 127.0.0.1 sysName.0 -v 3"), 2);
  EXPECT_EQ(out_, "");
}

TEST_F(SnmpConsoleTest, MibWalkGoesThroughTheServerToTheAgent) {
  const std::string file = dir_ + "/walk.txt";
  ASSERT_EQ(console("mib walk 127.0.0.1 system " + file), 0) << err_;
  // One "OID<tab>name<tab>type<tab>value" line per variable of snmpwalk's.
  std::string oids;
  for (const std::string& line : linesOf(fileText(file))) {
    ASSERT_EQ(std::count(line.begin(), line.end(), '\t'), 3) << line;
    oids += "." + line.substr(0, line.find('\t')) + "\n";
  }
  std::string reference;
  for (const std::string& line : linesOf(toolOutput("snmpwalk -On -v2c -c public" + kToolMibs + "127.0.0.1 system"))) {
    reference += line.substr(0, line.find(' ')) + "\n";
  }
  EXPECT_EQ(oids, reference);
  EXPECT_NE(fileText(file).find("1.3.6.1.2.1.1.5.0\tsysName.0\tSTRING\t"), std::string::npos) << fileText(file);

  EXPECT_EQ(console("mib walk 127.0.0.1 system " + file), 1);
  EXPECT_NE(err_.find("the file exists"), std::string::npos) << err_;
  EXPECT_EQ(console("mib walk 127.0.0.1 system " + dir_ + "/no/such/folder/walk.txt"), 1);
  EXPECT_NE(err_.find("the file cannot be written"), std::string::npos) << err_;
}

TEST_F(SnmpConsoleTest, TrapsPrintsARecordForEachTrap) {
  const std::string out = dir_ + "/traps.txt";
  std::string pid;
  ASSERT_EQ(agent_->ns.exec("sh -c '" + command("traps -p 1162") + " >" + out + " 2>&1 & echo $!'", &pid), 0);
  // Traps until one is printed: the console may not be listening yet.
  std::string printed;
  for (int i = 0; i < 50 && printed.find("omNodeUp") == std::string::npos; ++i) {
    agent_->tool("snmptrap -v 2c -c public" + kToolMibs + " 127.0.0.1:1162 '' ORVA-MANAGER-MIB::omNodeUp "
                 "omNodeName.3 s node-3");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    printed = fileText(out);
  }
  const pid_t console = static_cast<pid_t>(std::stol(pid));
  kill(console, SIGINT);
  for (int i = 0; i < 100 && kill(console, 0) == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_NE(printed.find("omNodeUp (1.3.6.1.4.1.99999.1.0.2) from 127.0.0.1: omNodeName.3 = node-3"),
            std::string::npos)
      << printed;
}

}  // namespace
