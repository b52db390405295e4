// omconsole mib: the MIB tree the server knows (class "MibNode"): a node with
// every field, a node's children, the traps and notifications of a module,
// and a walk of a host's values into a file.
#include <om/codepage.h>

#include "MethodCall.h"
#include "Records.h"
#include "SessionCommand.h"
#include "server/providers/MibNodeService.h"
#include "wbem/WbemMibNodeClient.h"

namespace omconsole {
namespace {

// Every kind of node: the "NodeTypeKind" that selects them all.
constexpr int kAnyKind = 0;

// Every stored field; a trap's number and enterprise under their own names.
Record details(const CMibNode& n) {
  return {Field::text("name", n.getNodeName()),
          Field::text("module", n.getModuleName()),
          Field::text("parent", n.getParentName()),
          Field::text("oid", n.getOidString()),
          Field::text("fullPath", n.getFullPath()),
          Field::text("description", n.getDescription()),
          Field::number("type", n.getNodeType()),
          Field::number("kind", n.getNodeKind()),
          Field::number("status", n.getStatus()),
          n.isTrapNode() ? Field::number("trapNumber", n.getTrapNumber()) : Field::number("access", n.getAccess()),
          n.isTrapNode() ? Field::text("enterprise", n.getEnterprise()) : Field::text("syntax", n.getSyntax()),
          Field::text("nextSibling", n.getNextSiblingName()),
          Field::text("prevSibling", n.getPrevSiblingName()),
          Field::texts("children", n.getChildNameList()),
          Field::texts("values", n.getValueList())};
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
    {"show", 1, 1, {}, {"--json"}, show},
    {"children", 1, 1, {}, {"--json"}, children},
    {"traps", 0, 1, {}, {"--json"}, traps},
    {"walk", 3, 3, {}, {"--overwrite"}, walk},
};

}  // namespace

int runMib(ConsoleSession& session, const Args& args) { return runSubcommand(session, "mib", kSubcommands, args); }

}  // namespace omconsole
