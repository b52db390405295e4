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

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_COMMAND_H_
