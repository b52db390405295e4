// omconsole: the project's console. With no arguments it prints its usage and
// what the installation holds; otherwise it runs one subcommand.
#include <cstdio>
#include <cstring>
#include <iostream>

#include "Command.h"

namespace omconsole {

int fail(const std::string& message, int status) {
  std::cerr << "omconsole: " << message << "\n";
  return status;
}

namespace {

const Command kCommands[] = {
    {"archive",
     "archive dump FILE [--class NAME] [--json]  the records of an archive file, field by field\n"
     "archive verify FILE [--class NAME]         read, write again in memory, compare the bytes\n"
     "archive ... NAME reads records serialised directly, without class tags",
     runArchive, nullptr},
    {"config",
     "config show [--json]              every setting: name, type, current and factory value\n"
     "config get NAME                   one setting as its getter reads it\n"
     "config set NAME VALUE             write a setting (checked against its type)\n"
     "config reset [--missing-only]     create the key and write the factory values\n"
     "config export FILE [--regedit4]   write the settings key to a .reg file\n"
     "config import FILE                apply a .reg file that changes only the settings key",
     runConfig, configStatus},
    {"reg",
     "reg list KEY                      subkeys, then values with type and data\n"
     "reg get KEY NAME                  a value as text (NAME \"\" is the default value)\n"
     "reg set KEY NAME VALUE [--dword]  write a REG_SZ (or REG_DWORD) value; creates the key\n"
     "reg delete KEY [NAME]             delete a value, or a key with its subkeys\n"
     "reg export KEY FILE [--regedit4]  write a .reg file (version 5.00, or REGEDIT4)\n"
     "reg import FILE                   apply a .reg file, all or nothing\n"
     "reg ... KEY is HKEY_LOCAL_MACHINE\\PATH or HKEY_CURRENT_USER\\PATH (HKLM, HKCU)",
     runReg, regStatus},
    {"subtypes",
     "subtypes [FILE]                   the log subtype table (FILE: SubtypeInformationFile)",
     runSubtypes, subtypesStatus},
    {"ping",
     "ping HOST [-n COUNT] [-w MS] [-i MS] [-l SIZE] [-t TTL] [-d] [--discovery]  ICMP echo\n"
     "ping ... defaults: TimeoutPollingForPing (s), RetryCountPollingForPing, PingInterval (ms)",
     runPing, nullptr},
    {"trace",
     "trace HOST [-q QUERIES] [-h MAXHOP] [-w MS] [-l SIZE] [-d] [-e]  trace route\n"
     "trace ... defaults: PathTestQueries, PathTestMaxHop, PathTestTimeout (s), PathTestDataSize",
     runTrace, nullptr},
    {"pathping",
     "pathping HOST [-q QUERIES] [-h MAXHOP] [-n COUNT] [-w MS] [-i MS] [-l SIZE] [-t TTL] [-d] [-e]\n"
     "pathping ... trace route, then ping each hop (-n: RetryCountPollingForPing, -i: PathTestInterval)",
     runPathPing, nullptr},
    {"tree",
     "tree [PATH]                       the network tree, read through the embedded server (PATH: \\物理\\...)",
     runTree, nullptr},
    {"ping6",
     "ping6 HOST [-n COUNT] [-w MS] [-l SIZE] [-t HOPLIMIT]  ICMPv6 echo\n"
     "ping6 ... defaults: TimeoutPollingForPing6 (s), RetryCountPollingForPing6",
     runPing6, nullptr},
};

void printUsage() {
  std::cout << "usage: omconsole COMMAND [ARGS]   (omconsole help: this text)\n\ncommands:\n";
  for (const Command& c : kCommands) {
    const char* line = c.usage;
    while (*line != '\0') {
      const char* end = std::strchr(line, '\n');
      const size_t n = end == nullptr ? std::strlen(line) : static_cast<size_t>(end - line);
      std::cout << "  " << std::string(line, n) << "\n";
      line += n + (end == nullptr ? 0 : 1);
    }
  }
}

void printStatus() {
  for (const Command& c : kCommands) {
    if (c.status != nullptr) c.status();
  }
}

}  // namespace
}  // namespace omconsole

int main(int argc, char** argv) {
  using namespace omconsole;
  if (argc < 2) {
    printUsage();
    std::cout << "\n";
    printStatus();
    return 0;
  }
  const std::string name = argv[1];
  for (const Command& c : kCommands) {
    if (name == c.name && c.run != nullptr) return c.run(Args(argv + 2, argv + argc));
  }
  if (name == "help" || name == "--help" || name == "-h") {
    printUsage();
    return 0;
  }
  printUsage();
  return fail("unknown command '" + name + "'", 2);
}
