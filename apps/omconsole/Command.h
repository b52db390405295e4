// The subcommands of omconsole. Each lives in its own source file and is
// listed in main.cpp.
#ifndef OM_APPS_OMCONSOLE_COMMAND_H_
#define OM_APPS_OMCONSOLE_COMMAND_H_

#include <string>
#include <vector>

namespace omconsole {

typedef std::vector<std::string> Args;

struct Command {
  const char* name;
  const char* usage;  // one or more lines, each starting with the command's name
  // Runs the command with the arguments after its name; returns the exit status.
  int (*run)(const Args& args);
  // Prints what the installation holds for this command's area; may be null.
  void (*status)();
};

// Prints "omconsole: MESSAGE" on standard error and returns `status`.
int fail(const std::string& message, int status = 1);

int runReg(const Args& args);
void regStatus();
// Writes the registry key KEY (as on the command line) to a .reg file.
int exportRegKey(const std::string& key, const std::string& file, bool regedit4);
// Applies a .reg file; with `within` (a KEY) every change must lie in it.
int importRegFile(const std::string& file, const std::string& within);

int runConfig(const Args& args);
void configStatus();

int runArchive(const Args& args);

int runSubtypes(const Args& args);
void subtypesStatus();

// The probes: ping, trace route, path ping (IPv4) and ICMPv6 echo.
int runPing(const Args& args);
int runTrace(const Args& args);
int runPathPing(const Args& args);
int runPing6(const Args& args);

// The network tree through the embedded server.
int runTree(const Args& args);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_COMMAND_H_
