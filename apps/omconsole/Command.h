// The subcommands of omconsole. Each lives in its own source file and is
// listed in main.cpp.
#ifndef OM_APPS_OMCONSOLE_COMMAND_H_
#define OM_APPS_OMCONSOLE_COMMAND_H_

#include <string>
#include <vector>

namespace omconsole {

typedef std::vector<std::string> Args;

class ConsoleSession;

struct Command {
  const char* name;
  const char* usage;  // one or more lines, each starting with the command's name
  // Runs the command with the arguments after its name; returns the exit
  // status. A command has either `run` or `runWith`.
  int (*run)(const Args& args);
  // The same for a command that goes through the server: the session is
  // open when it is called.
  int (*runWith)(ConsoleSession& session, const Args& args);
  // Prints what the installation holds for this command's area; may be null.
  void (*status)();
};

// Prints "omconsole: MESSAGE" on standard error and returns `status`.
int fail(const std::string& message, int status = 1);

// Runs one command line (the command's name, then its arguments) as
// `omconsole WORDS...` would; commands that go through the server use
// `session`, opening it if needed.
int runCommandLine(const Args& words, ConsoleSession& session);

// Fails with status 2 and the usage line of `family`'s subcommand `sub`
// ("usage: omconsole task add NAME --ip ADDRESS ..."), or says that the
// family has no such subcommand.
int failUsage(const std::string& family, const std::string& sub);

int runReg(const Args& args);
void regStatus();
// Writes the registry key KEY (as on the command line) to a .reg file.
int exportRegKey(const std::string& key, const std::string& file, bool regedit4);
// Applies a .reg file; with `within` (a KEY) every change must lie in it.
int importRegFile(const std::string& file, const std::string& within);

int runConfig(const Args& args);
void configStatus();

int runArchive(const Args& args);

int runServer(const Args& args);

int runSubtypes(const Args& args);
void subtypesStatus();

// The probes: ping, trace route, path ping (IPv4) and ICMPv6 echo.
int runPing(const Args& args);
int runTrace(const Args& args);
int runPathPing(const Args& args);
int runPing6(const Args& args);

// SNMP requests straight to an agent.
int runSnmp(const Args& args);

// Command lines read from standard input, run against one session.
int runShell(const Args& args);

// The families that go through the embedded server.
int runTree(ConsoleSession& session, const Args& args);
int runSubnet(ConsoleSession& session, const Args& args);
int runTask(ConsoleSession& session, const Args& args);
int runLog(ConsoleSession& session, const Args& args);
int runMib(ConsoleSession& session, const Args& args);
int runAction(ConsoleSession& session, const Args& args);
int runFilter(ConsoleSession& session, const Args& args);
int runTraps(ConsoleSession& session, const Args& args);
int runStatus(ConsoleSession& session, const Args& args);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_COMMAND_H_
