// omconsole mib: the MIB tree the server knows (class "MibNode"): loading it
// from MIB modules, the tree under a node, a node with every field, a node's
// children, the traps and notifications of a module, and a walk of a host's
// values into a file.
#include <climits>

#include <om/codepage.h>

#include "ConsoleSession.h"
#include "MethodCall.h"
#include "Records.h"
#include "SessionCommand.h"
#include "server/NetworkServer.h"
#include "server/SnmpRequests.h"
#include "server/providers/MibNodeService.h"
#include "wbem/WbemMibNodeClient.h"

namespace omconsole {
namespace {

// Every kind of node: the "NodeTypeKind" that selects them all.
constexpr int kAnyKind = 0;

// Every field the class carries. A trap's access and syntax fields hold its
// number and enterprise, which the class does not carry (both are in its
// OID, enterprise.0.number): a trap shows neither.
Record details(const CMibNode& n) {
  Record record{Field::text("name", n.getNodeName()),
                Field::text("module", n.getModuleName()),
                Field::text("parent", n.getParentName()),
                Field::text("oid", n.getOidString()),
                Field::text("fullPath", n.getFullPath()),
                Field::text("description", n.getDescription()),
                Field::number("type", n.getNodeType()),
                Field::number("kind", n.getNodeKind()),
                Field::number("status", n.getStatus())};
  if (!n.isTrapNode()) {
    record.push_back(Field::number("access", n.getAccess()));
    record.push_back(Field::text("syntax", n.getSyntax()));
  }
  record.insert(record.end(), {Field::text("nextSibling", n.getNextSiblingName()),
                               Field::text("prevSibling", n.getPrevSiblingName()),
                               Field::texts("children", n.getChildNameList()),
                               Field::texts("values", n.getValueList())});
  return record;
}

// Compiles the modules into the session's server; status 1 when the parser
// complained of anything (the rest is loaded all the same).
int load(const SubcommandCall& call) {
  const Args& words = call.args.words();
  if (call.session.network() == nullptr) return call.fail("loads modules only into a server embedded in this console");
  NetworkServer& network = *call.session.network();
  const size_t modules = network.loadMib(words.empty() ? om::server::mibFolders() : words);
  std::vector<std::string> errors;
  for (const om::snmp::MibLoadError& e : network.mibErrors) {
    errors.push_back(e.file.empty() ? e.message : e.file + ":" + std::to_string(e.line) + ": " + e.message);
  }
  const size_t nodes = network.mib->list().size();
  if (call.json()) {
    printRecord({Field::number("modules", static_cast<long long>(modules)),
                 Field::number("nodes", static_cast<long long>(nodes)), Field::texts("errors", errors)},
                true);
  } else {
    for (const std::string& error : errors) emit(error + "\n");
    emit(std::to_string(modules) + " modules, " + std::to_string(nodes) + " nodes\n");
  }
  return errors.empty() ? 0 : 1;
}

struct TreeLine {
  int depth;
  std::string name;  // code page 932
  std::string oid;
};

// Adds `node` at `depth` and, down to `maxDepth`, the nodes under it.
bool addSubtree(WbemMibNodeClient& client, const CMibNode& node, int depth, int maxDepth, std::vector<TreeLine>& out) {
  out.push_back({depth, node.getNodeName(), node.getOidString()});
  if (depth == maxDepth || node.getChildNameList().empty()) return true;
  std::vector<CMibNode> children;
  if (!client.GetAllChildNodes(node, children, kAnyKind)) return false;
  for (const CMibNode& child : children) {
    if (!addSubtree(client, child, depth + 1, maxDepth, out)) return false;
  }
  return true;
}

// "    name(arc)": two blanks a level, the last sub-identifier of the OID.
std::string treeText(const std::vector<TreeLine>& lines) {
  std::string text;
  for (const TreeLine& line : lines) {
    const size_t dot = line.oid.rfind('.');
    text += std::string(2 * static_cast<size_t>(line.depth), ' ') + om::cp932ToUtf8(line.name) + "(" +
            (dot == std::string::npos ? line.oid : line.oid.substr(dot + 1)) + ")\n";
  }
  return text;
}

int tree(const SubcommandCall& call) {
  int maxDepth = INT_MAX;
  if (!call.args.intValue("--depth", maxDepth) || maxDepth < 0) return call.fail("--depth takes a number from 0");
  const std::string name = call.args.words().empty() ? "iso" : call.args.words()[0];
  WbemMibNodeClient client(call.services());
  CMibNode top;
  const std::string path = instancePath("MibNode", "NodeName", om::utf8ToCp932(name));
  std::vector<TreeLine> lines;
  if (!client.GetMibNode(path.c_str(), top, kAnyKind) || !addSubtree(client, top, 0, maxDepth, lines)) {
    return call.failStatus(client.getErrorCode());
  }
  if (!call.json()) {
    emit(treeText(lines));
    return 0;
  }
  std::vector<Record> records;
  for (const TreeLine& line : lines) {
    records.push_back({Field::number("depth", line.depth), Field::text("name", line.name), Field::text("oid", line.oid)});
  }
  printList(records, true);
  return 0;
}

int show(const SubcommandCall& call) {
  WbemMibNodeClient client(call.services());
  CMibNode node;
  const std::string path = instancePath("MibNode", "NodeName", om::utf8ToCp932(call.args.words()[0]));
  if (!client.GetMibNode(path.c_str(), node, kAnyKind)) return call.failStatus(client.getErrorCode());
  printRecord(details(node), call.json());
  return 0;
}

int children(const SubcommandCall& call) {
  WbemMibNodeClient client(call.services());
  std::vector<CMibNode> nodes;
  if (!client.GetAllChildNodes(om::utf8ToCp932(call.args.words()[0]).c_str(), nodes, kAnyKind)) {
    return call.failStatus(client.getErrorCode());
  }
  std::vector<Record> records;
  for (const CMibNode& n : nodes) {
    records.push_back({Field::text("name", n.getNodeName()), Field::text("oid", n.getOidString()),
                       Field::text("syntax", n.getSyntax())});
  }
  printList(records, call.json());
  return 0;
}

void addNames(std::vector<Record>& records, const char* kind, const std::vector<std::string>& names) {
  for (const std::string& name : names) records.push_back({Field::text("kind", kind), Field::text("name", name)});
}

int traps(const SubcommandCall& call) {
  const Args& words = call.args.words();
  const CString module(words.empty() ? "" : om::utf8ToCp932(words[0]).c_str());
  WbemMibNodeClient client(call.services());
  std::vector<std::string> traps, notifications;
  if (!client.GetAllTraps(traps, module) || !client.GetAllNotifications(notifications, module)) {
    // The call worked and the server answered 1: no node of the module.
    return client.getErrorCode() != 0 ? call.failStatus(client.getErrorCode()) : call.fail("no such module");
  }
  std::vector<Record> records;
  addNames(records, "trap", traps);
  addNames(records, "notification", notifications);
  printList(records, call.json());
  return 0;
}

std::string walkRefusal(int returnValue) {
  switch (returnValue) {
    case MibNodeService::kFileExists:
      return "the file exists (--overwrite replaces it)";
    case MibNodeService::kNoStartVariable:
      return "no such MIB node";
    case MibNodeService::kNoHost:
      return "no host given";
    case MibNodeService::kNoAnswer:
      return "the agent did not answer";
    case MibNodeService::kNotWritten:
      return "the file cannot be written";
  }
  return "the server answered " + std::to_string(returnValue);
}

int walk(const SubcommandCall& call) {
  const Args& w = call.args.words();
  WbemMibNodeClient client(call.services());
  const CString file(om::utf8ToCp932(w[2]).c_str()), host(om::utf8ToCp932(w[0]).c_str()),
      start(om::utf8ToCp932(w[1]).c_str());
  const long overwrite = call.args.has("--overwrite") ? 1 : 0;
  const MethodResult result = callWithSink(
      client, [&](IWbemObjectSink* sink) { client.DoMibWalk(file, host, start, CString(""), overwrite, sink); });
  if (FAILED(result.status)) return call.failStatus(static_cast<unsigned long>(result.status));
  if (result.returnValue != MibNodeService::kWalked) return call.fail(walkRefusal(result.returnValue));
  emit("walked " + w[0] + " from " + w[1] + " into " + w[2] + "\n");
  return 0;
}

const Subcommand kSubcommands[] = {
    {"load", 0, SIZE_MAX, {}, {"--json"}, load},
    {"tree", 0, 1, {"--depth"}, {"--json"}, tree},
    {"show", 1, 1, {}, {"--json"}, show},
    {"children", 1, 1, {}, {"--json"}, children},
    {"traps", 0, 1, {}, {"--json"}, traps},
    {"walk", 3, 3, {}, {"--overwrite"}, walk},
};

}  // namespace

int runMib(ConsoleSession& session, const Args& args) { return runSubcommand(session, "mib", kSubcommands, args); }

}  // namespace omconsole
