// omconsole: the project's console. With no arguments it prints its usage and
// what the installation holds; otherwise it runs one subcommand.
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "Command.h"
#include "ConsoleSession.h"
#include "Records.h"

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
     "archive ... NAME reads records serialised directly, without class tags\n"
     "archive export STORE FILE                  write a store of the server's data to an archive file\n"
     "archive import STORE FILE                  add an archive file's records to a store (server stopped)\n"
     "archive ... STORE is tree, subnets, tasks, samples, logs, commands or filters",
     runArchive, nullptr, nullptr},
    {"config",
     "config show [--json]              every setting: name, type, current and factory value\n"
     "config get NAME                   one setting as its getter reads it\n"
     "config set NAME VALUE             write a setting (checked against its type)\n"
     "config reset [--missing-only]     create the key and write the factory values\n"
     "config export FILE [--regedit4]   write the settings key to a .reg file\n"
     "config import FILE                apply a .reg file that changes only the settings key",
     runConfig, nullptr, configStatus},
    {"reg",
     "reg list KEY                      subkeys, then values with type and data\n"
     "reg get KEY NAME                  a value as text (NAME \"\" is the default value)\n"
     "reg set KEY NAME VALUE [--dword]  write a REG_SZ (or REG_DWORD) value; creates the key\n"
     "reg delete KEY [NAME]             delete a value, or a key with its subkeys\n"
     "reg export KEY FILE [--regedit4]  write a .reg file (version 5.00, or REGEDIT4)\n"
     "reg import FILE                   apply a .reg file, all or nothing\n"
     "reg ... KEY is HKEY_LOCAL_MACHINE\\PATH or HKEY_CURRENT_USER\\PATH (HKLM, HKCU)",
     runReg, nullptr, regStatus},
    {"subtypes",
     "subtypes [FILE]                   the log subtype table (FILE: SubtypeInformationFile)",
     runSubtypes, nullptr, subtypesStatus},
    {"ping",
     "ping HOST [-n COUNT] [-w MS] [-i MS] [-l SIZE] [-t TTL] [-d] [--discovery]  ICMP echo\n"
     "ping ... defaults: TimeoutPollingForPing (s), RetryCountPollingForPing, PingInterval (ms)",
     runPing, nullptr, nullptr},
    {"trace",
     "trace HOST [-q QUERIES] [-h MAXHOP] [-w MS] [-l SIZE] [-d] [-e]  trace route\n"
     "trace ... defaults: PathTestQueries, PathTestMaxHop, PathTestTimeout (s), PathTestDataSize",
     runTrace, nullptr, nullptr},
    {"pathping",
     "pathping HOST [-q QUERIES] [-h MAXHOP] [-n COUNT] [-w MS] [-i MS] [-l SIZE] [-t TTL] [-d] [-e]\n"
     "pathping ... trace route, then ping each hop (-n: RetryCountPollingForPing, -i: PathTestInterval)",
     runPathPing, nullptr, nullptr},
    {"tree",
     "tree [PATH]                       the network tree, read through the embedded server (PATH: \\物理\\...)",
     nullptr, runTree, nullptr},
    {"subnet",
     "subnet list [--json]                      every subnet: name, network, mask, status, nodes found\n"
     "subnet show NAME [--json]                 the subnet's 12 properties and its devices\n"
     "subnet add NAME NETWORK MASK [--community NAME]... [--lookup]  add a subnet\n"
     "subnet discover NAME [--wait] [--json]    sweep it with ICMP echo; --wait: until done, then its devices\n"
     "subnet rename OLD NEW                     give a subnet another name\n"
     "subnet delete NAME                        delete a subnet with the objects under it",
     nullptr, runSubnet, nullptr},
    {"task",
     "task add NAME --ip ADDRESS [--var VARIABLE]... [--interval SECONDS] [--samples N] [--display TEXT] [--community NAME]\n"
     "task ... adds a polling task (defaults: 10 s, 50 samples; --samples -1 polls without end)\n"
     "task list [--json]                        name, display name, status, address, interval, variables\n"
     "task show NAME [--json]                   every field of a task\n"
     "task start|stop|restart|delete NAME|--all  change one task, or every task",
     nullptr, runTask, nullptr},
    {"log",
     "log list [--query CONDITION] [--json]     identifier, time, type, level, target and message of each record\n"
     "log count [--query CONDITION] [--json]    how many records the condition selects\n"
     "log follow                                each new record as it is written, until interrupted\n"
     "log ... CONDITION: WQL on LogObject (\"LogType = 4 AND InternalName = 't1'\"); a shell follows in the background",
     nullptr, runLog, nullptr},
    {"mib",
     "mib load [FOLDER]... [--json]             compile the MIB modules of the folders (the MIB folder setting without any)\n"
     "mib tree [NAME] [--depth N] [--json]      the tree under a node (iso without one), indented\n"
     "mib show NAME [--json]                    every field of a MIB node\n"
     "mib children NAME [--json]                its child nodes: name, oid, syntax\n"
     "mib traps [MODULE] [--json]               the traps and notifications of a module (of every module without one)\n"
     "mib walk HOST START FILE [--overwrite]    write HOST's values under START to FILE",
     nullptr, runMib, nullptr},
    {"snmp",
     "snmp get HOST OID... [-c COMMUNITY] [-v 1|2c] [-p PORT] [-t SECONDS] [-r RETRIES]  GET, printed as snmpget does\n"
     "snmp walk HOST [OID] [-c COMMUNITY] [-v 1|2c] [-p PORT] [-t SECONDS] [-r RETRIES]  every variable under OID (mib-2)\n"
     "snmp ... defaults: DefaultReadCommunity, SNMPv2c, SNMPPort, TimeoutSNMP, RetryCountSNMP",
     runSnmp, nullptr, nullptr},
    {"traps",
     "traps [-p PORT]                   receive SNMP traps (port: SNMPTrapPort, 162 when 0), print each log record",
     nullptr, runTraps, nullptr},
    {"action",
     "action list [--json]                      id, type, name, side, command, parameter, description\n"
     "action show ID [--json]                   one action command\n"
     "action set ID (--command TEXT | --type N) [--param TEXT] [--description TEXT] [--server-side | --client-side]\n"
     "action ... writes an action command: a command line, or a built-in type 1 to 10\n"
     "action delete ID                          delete an action command",
     nullptr, runAction, nullptr},
    {"filter",
     "filter list [--json]                      every action filter (\"-\": a field not in force)\n"
     "filter show ID [--json]                   the fields in force of one filter\n"
     "filter set ID [--action ID] [--log-type N] [--log-subtype N] [--address A] [--oid OID] [--name INTERNALNAME]\n"
     "filter ... [--from \"YYYY-MM-DD HH:MM:SS\"] [--to \"YYYY-MM-DD HH:MM:SS\"]: each option puts its field in force\n"
     "filter delete ID                          delete an action filter",
     nullptr, runFilter, nullptr},
    {"server",
     "server status                     which server this console reaches (--server HOST, the local\n"
     "server ... daemon or its own embedded one) and whether it answers",
     runServer, nullptr, nullptr},
    {"status",
     "status [--logs N]                 the tree with each node's status and the newest log records (an\n"
     "status ... embedded server polls every node once first); what omconsole alone runs",
     nullptr, runStatus, nullptr},
    {"shell",
     "shell                             command lines from standard input, all against one server (exit, quit: end)",
     runShell, nullptr, nullptr},
    {"ping6",
     "ping6 HOST [-n COUNT] [-w MS] [-l SIZE] [-t HOPLIMIT]  ICMPv6 echo\n"
     "ping6 ... defaults: TimeoutPollingForPing6 (s), RetryCountPollingForPing6",
     runPing6, nullptr, nullptr},
};

// The usage lines of one command, each as written in the table.
std::vector<std::string> usageLines(const Command& c) {
  std::vector<std::string> lines;
  std::istringstream in(c.usage);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void printUsage() {
  std::string text =
      "usage: omconsole [--server HOST[:PORT]] [--user USER] COMMAND [ARGS]   (omconsole help: this text)\n"
      "  --server, or OMLIB_SERVER: the server's daemon over HTTPS (password: OMLIB_PASSWORD, or asked)\n\n"
      "commands:\n";
  for (const Command& c : kCommands) {
    for (const std::string& line : usageLines(c)) text += "  " + line + "\n";
  }
  emit(text);
}

const Command* findCommand(const std::string& name) {
  for (const Command& c : kCommands) {
    if (name == c.name) return &c;
  }
  return nullptr;
}

// Whether a usage line is the one of subcommand `sub`: its second word names
// it, alone or among others ("start|stop|restart"). A command without
// subcommands (`sub` empty) has options or nothing there.
bool describes(const std::string& line, const std::string& sub) {
  std::istringstream words(line);
  std::string family, names;
  words >> family >> names;
  if (sub.empty()) return names.empty() || names[0] == '[' || names[0] == '-';
  std::istringstream each(names);
  for (std::string name; std::getline(each, name, '|');) {
    if (name == sub) return true;
  }
  return false;
}

bool isHelp(const std::string& name) { return name == "help" || name == "--help" || name == "-h"; }

void printStatus() {
  for (const Command& c : kCommands) {
    if (c.status != nullptr) c.status();
  }
}

}  // namespace

int failUsage(const std::string& family, const std::string& sub) {
  const Command* c = findCommand(family);
  for (const std::string& line : c == nullptr ? std::vector<std::string>() : usageLines(*c)) {
    if (describes(line, sub)) return fail("usage: omconsole " + line.substr(0, line.find("  ")), 2);
  }
  return fail(family + ": unknown subcommand '" + sub + "' (omconsole help lists them)", 2);
}

int runCommandLine(const Args& words, ConsoleSession& session) {
  const std::string name = words.empty() ? "" : words[0];
  const Args args(words.begin() + (words.empty() ? 0 : 1), words.end());
  if (const Command* c = findCommand(name)) {
    if (c->run != nullptr) return c->run(args);
    return session.open() ? c->runWith(session, args) : 1;
  }
  if (isHelp(name)) {
    printUsage();
    emit("\n");
    printStatus();
    return 0;
  }
  return fail("unknown command '" + name + "'", 2);
}

}  // namespace omconsole

int main(int argc, char** argv) {
  using namespace omconsole;
  Args words(argv + 1, argv + argc);
  std::string host;
  std::string user;
  if (!takeServerOptions(&words, &host, &user)) return 2;
  ConsoleSession::useServer(ServerChoice::choose(host, user));
  if (words.empty()) words.push_back("status");  // the server's main job
  if (findCommand(words[0]) == nullptr && !isHelp(words[0])) printUsage();
  ConsoleSession session;
  return runCommandLine(words, session);
}
