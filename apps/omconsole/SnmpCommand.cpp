// omconsole snmp: GETs and walks against any agent, each variable printed
// as net-snmp's own tools print it ("SNMPv2-MIB::sysName.0 = STRING: box"),
// with the names of the MIB modules the server loads. Port, time-out and
// retries come from the settings, the community from the option or the
// settings. Exit status: 0 when the agent answered, 1 when it refused or
// did not answer, 2 for bad arguments.
#include <future>
#include <iostream>

#include "Arguments.h"
#include "Command.h"
#include "server/SnmpRequests.h"
#include "server/snmp/MibTree.h"
#include "server/snmp/SnmpEngine.h"
#include "server/snmp/SnmpText.h"

namespace omconsole {
namespace {

using om::snmp::Oid;
using om::snmp::Response;
using om::snmp::Status;
using om::snmp::Target;
using om::snmp::Varbind;

// Where snmpwalk starts without an OID: mib-2.
const Oid kMib2 = {1, 3, 6, 1, 2, 1};

struct SnmpCall {
  std::string sub;  // "get" or "walk"
  Arguments args;
  Target target;
  std::vector<Oid> oids;

  int fail(const std::string& reason, int status = 1) const {
    return omconsole::fail("snmp " + sub + " " + target.host + ": " + reason, status);
  }
};

// The target of the call from its host and options; "" or what is wrong.
std::string readTarget(SnmpCall& call) {
  const Arguments& args = call.args;
  call.target = om::server::snmpTarget(args.words()[0], om::server::Community::kRead, args.value("-c"));
  const std::string version = args.value("-v", "2c");
  if (version != "1" && version != "2c") return "-v takes 1 or 2c";
  call.target.version = version == "1" ? om::snmp::Version::kV1 : om::snmp::Version::kV2c;
  int seconds = call.target.timeoutMs / 1000;
  if (!args.intValue("-p", call.target.port) || call.target.port < 1 || call.target.port > 65535) {
    return "-p takes a port from 1 to 65535";
  }
  if (!args.intValue("-t", seconds) || seconds < 1) return "-t takes a number of seconds from 1";
  if (!args.intValue("-r", call.target.retries) || call.target.retries < 0) return "-r takes a count from 0";
  call.target.timeoutMs = seconds * 1000;
  return "";
}

// The OIDs named after the host; "" or the first one not known.
std::string readOids(SnmpCall& call) {
  for (size_t i = 1; i < call.args.words().size(); ++i) {
    Oid oid;
    if (!om::snmp::parseOid(call.args.words()[i], oid)) return call.args.words()[i];
    call.oids.push_back(oid);
  }
  return "";
}

void print(const Varbind& varbind) { std::cout << om::snmp::netsnmpText(varbind) << "\n"; }

// The failure of a request: the agent's error status with the variable it
// names, or why no answer came.
int failWith(const SnmpCall& call, const Response& response) {
  if (response.status != Status::kAgentError) return call.fail(response.message);
  std::string reason = om::snmp::errorStatusName(response.errorStatus);
  const size_t index = static_cast<size_t>(response.errorIndex);
  if (index >= 1 && index <= call.oids.size()) reason += " (" + om::snmp::oidName(call.oids[index - 1]) + ")";
  return call.fail(reason);
}

int get(SnmpCall& call, om::snmp::SnmpEngine& engine) {
  om::snmp::Request request;
  for (const Oid& oid : call.oids) request.varbinds.emplace_back().oid = oid;
  const Response response = engine.call(call.target, request);
  if (response.status != Status::kOk) return failWith(call, response);
  for (const Varbind& varbind : response.varbinds) print(varbind);
  return 0;
}

// Prints the variables as they come, from the engine's thread.
int walk(SnmpCall& call, om::snmp::SnmpEngine& engine) {
  std::promise<Response> ended;
  engine.walk(
      call.target, call.oids[0], 25,
      [](const Varbind& varbind) {
        print(varbind);
        return true;
      },
      [&ended](Response response) { ended.set_value(std::move(response)); });
  const Response response = ended.get_future().get();
  std::cout << std::flush;
  return response.status == Status::kOk ? 0 : failWith(call, response);
}

struct SnmpSubcommand {
  const char* name;
  size_t minWords;
  size_t maxWords;
  int (*run)(SnmpCall& call, om::snmp::SnmpEngine& engine);
};

const SnmpSubcommand kSubcommands[] = {
    {"get", 2, SIZE_MAX, get},
    {"walk", 1, 2, walk},
};

}  // namespace

int runSnmp(const Args& args) {
  const std::string name = args.empty() ? "" : args[0];
  for (const SnmpSubcommand& sub : kSubcommands) {
    if (name != sub.name) continue;
    SnmpCall call{name, Arguments(Args(args.begin() + 1, args.end()), {"-c", "-v", "-p", "-t", "-r"}, {}), {}, {}};
    const size_t words = call.args.words().size();
    if (!call.args.ok() || words < sub.minWords || words > sub.maxWords) return failUsage("snmp", name);
    if (const std::string wrong = readTarget(call); !wrong.empty()) return call.fail(wrong, 2);
    om::snmp::loadMibTree(om::server::mibFolders());  // the names of the variables
    if (const std::string unknown = readOids(call); !unknown.empty()) {
      return call.fail(unknown + ": unknown object identifier", 2);
    }
    if (call.oids.empty()) call.oids.push_back(kMib2);
    om::snmp::SnmpEngine engine;
    return sub.run(call, engine);
  }
  return failUsage("snmp", name);
}

}  // namespace omconsole
