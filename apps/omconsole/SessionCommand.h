// The frame of the command families that go through the server ("subnet",
// "task", ...): each family is a table of subcommands, each with the options
// it takes; a run finds the subcommand, reads its arguments and hands it a
// SubcommandCall with what it needs to work and to report failures.
#ifndef OM_APPS_OMCONSOLE_SESSIONCOMMAND_H_
#define OM_APPS_OMCONSOLE_SESSIONCOMMAND_H_

#include <span>
#include <string>

#include <wbemcli.h>

#include "Arguments.h"
#include "Command.h"
#include "ConsoleSession.h"

namespace omconsole {

// One run of a subcommand.
struct SubcommandCall {
  ConsoleSession& session;
  std::string family;  // "task"
  std::string name;    // "stop"
  Arguments args;

  IWbemServices* services() const { return session.services(); }
  bool json() const { return args.has("--json"); }
  // The word at `index` read as an integer; false when it is not one.
  bool intWord(size_t index, int& value) const { return parseInt(args.words()[index], value); }
  // The words of the call ("task stop ghost").
  std::string text() const;
  // "omconsole: task stop ghost: REASON" on standard error; status 1.
  int fail(const std::string& reason) const;
  // The same with the name of a WMI status as the reason.
  int failStatus(unsigned long code) const;
  // The subcommand's usage line on standard error; status 2.
  int usage() const { return failUsage(family, name); }
};

struct Subcommand {
  const char* name;
  // How many words (arguments that are not options) it takes.
  size_t minWords;
  size_t maxWords;
  Arguments::Names valued;  // options with a value
  Arguments::Names flags;   // options without one
  int (*run)(const SubcommandCall& call);
};

// The path of the instance of `className` whose key `key` is `value`
// (Class.Key="value", quotes and backslashes escaped).
std::string instancePath(const std::string& className, const std::string& key, const std::string& value);

// Runs the subcommand of `family` named by the first argument.
int runSubcommand(ConsoleSession& session, const std::string& family, std::span<const Subcommand> table,
                  const Args& args);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_SESSIONCOMMAND_H_
