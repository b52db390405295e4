#include "SessionCommand.h"

#include <om/codepage.h>

#include "MethodCall.h"

namespace omconsole {

namespace {

// A word as a shell line would give it: quoted when empty or with blanks.
std::string shown(const std::string& word) {
  return word.empty() || word.find_first_of(" \t") != std::string::npos ? "\"" + word + "\"" : word;
}

}  // namespace

std::string SubcommandCall::text() const {
  std::string text = name.empty() ? family : family + " " + name;
  for (const std::string& word : args.words()) text += " " + shown(word);
  return text;
}

int SubcommandCall::fail(const std::string& reason) const { return omconsole::fail(text() + ": " + reason); }

int SubcommandCall::failStatus(unsigned long code) const { return fail(statusName(code)); }

std::string instancePath(const std::string& className, const std::string& key, const std::string& value) {
  std::string path = className + "." + key + "=\"";
  for (size_t i = 0; i < value.size();) {
    const size_t length = om::cp932CharLength(value, i);  // a trail byte may look like a backslash
    if (length == 1 && (value[i] == '"' || value[i] == '\\')) path += '\\';
    path.append(value, i, length);
    i += length;
  }
  return path + "\"";
}

int runSubcommand(ConsoleSession& session, const std::string& family, std::span<const Subcommand> table,
                  const Args& args) {
  const std::string name = args.empty() ? "" : args[0];
  for (const Subcommand& sub : table) {
    if (name != sub.name) continue;
    SubcommandCall call{session, family, name, Arguments(Args(args.begin() + 1, args.end()), sub.valued, sub.flags)};
    const size_t words = call.args.words().size();
    if (!call.args.ok() || words < sub.minWords || words > sub.maxWords) return call.usage();
    return sub.run(call);
  }
  return failUsage(family, name);
}

}  // namespace omconsole
