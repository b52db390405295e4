// omconsole traps: receives SNMP traps on the server's trap port and prints
// each as the log record the server writes for it, until interrupted (in a
// shell: in the background until the shell ends).
#include "ConsoleSession.h"
#include "LogFollower.h"
#include "SessionCommand.h"
#include "config/DefaultValues.h"
#include "core/logdef.h"
#include "server/NetworkServer.h"
#include "server/SettingOr.h"

namespace omconsole {
namespace {

// The trap port when the setting "SNMPTrapPort" is 0.
constexpr int kTrapPort = 162;

}  // namespace

int runTraps(ConsoleSession& session, const Args& args) {
  const SubcommandCall call{session, "traps", "", Arguments(args, {"-p"}, {})};
  int port = settingOr(DefaultValues::getDefault()->getSNMPTrapPort(), kTrapPort);
  if (!call.args.ok() || !call.args.words().empty() || !call.args.intValue("-p", port)) return call.usage();
  if (port < 1 || port > 65535) return call.fail("-p takes a port from 1 to 65535");
  if (session.network() == nullptr) return call.fail("listens for traps only in a server embedded in this console");
  const std::string error = session.network()->listenForTraps(port);
  if (!error.empty()) return call.fail(error);
  return followLog(call, log_def::LOGTYPE_TRAP);
}

}  // namespace omconsole
