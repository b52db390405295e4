// omconsole action: the action commands of the server (class
// "ActionCommand"): list, show, set (a command line or a built-in type, with
// its parameter, description and side) and delete.
#include <om/codepage.h>

#include "MethodCall.h"
#include "Records.h"
#include "SessionCommand.h"
#include "wbem/WbemActionCommand.h"

namespace omconsole {
namespace {

Record actionRecord(const CActionCommand& a) {
  return {Field::number("id", a.getId()),
          Field::number("type", a.getCommandType()),
          Field::text("name", a.getActionName()),
          Field::text("side", a.isServerSide() ? "server" : "client"),
          Field::text("command", a.getCommand()),
          Field::text("parameter", a.getParam()),
          Field::text("description", a.getDescription())};
}

int list(const SubcommandCall& call) {
  std::vector<CActionCommand> actions;
  if (!WbemActionCommand::enumActionCommand(call.services(), actions)) {
    return call.failStatus(GetLastError());
  }
  std::vector<Record> records;
  for (const CActionCommand& a : actions) records.push_back(actionRecord(a));
  printList(records, call.json());
  return 0;
}

int show(const SubcommandCall& call) {
  int id = 0;
  if (!call.intWord(0, id)) return call.usage();
  WbemActionCommand action(call.services());
  if (!action.get(id)) return call.failStatus(action.getErrorCode());
  printRecord(actionRecord(action), call.json());
  return 0;
}

// Applies the options of `set` to `action`; false when they do not fit
// together or a number is not one.
bool applyOptions(const Arguments& a, CActionCommand& action) {
  int type = CActionCommand::TYPE_CUSTOM;
  if (a.has("--command") == a.has("--type") || (a.has("--server-side") && a.has("--client-side")) ||
      !a.intValue("--type", type) || (a.has("--type") && (type < CActionCommand::TYPE_POPUP ||
                                                          type > CActionCommand::TYPE_PATH_TEST))) {
    return false;
  }
  action.setCommandType(type);
  if (a.has("--command")) action.setCommand(om::utf8ToCp932(a.value("--command")));
  if (a.has("--param")) action.setParam(om::utf8ToCp932(a.value("--param")));
  if (a.has("--description")) action.setDescription(om::utf8ToCp932(a.value("--description")));
  if (a.has("--server-side") || a.has("--client-side")) action.setServerSide(a.has("--server-side"));
  return true;
}

// Writes the action command: the one stored under ID changed by the options,
// or a new one.
int set(const SubcommandCall& call) {
  int id = 0;
  if (!call.intWord(0, id)) return call.usage();
  WbemActionCommand action(call.services());
  if (!action.get(id) && static_cast<HRESULT>(action.getErrorCode()) != WBEM_E_NOT_FOUND) {
    return call.failStatus(action.getErrorCode());
  }
  if (!applyOptions(call.args, action)) return call.usage();
  if (!action.put()) return call.failStatus(action.getErrorCode());
  emit("set action " + std::to_string(id) + "\n");
  return 0;
}

int remove(const SubcommandCall& call) {
  int id = 0;
  if (!call.intWord(0, id)) return call.usage();
  WbemActionCommand action(call.services());
  action.setId(id);
  if (!action.remove()) return call.failStatus(action.getErrorCode());
  emit("deleted action " + std::to_string(id) + "\n");
  return 0;
}

const Subcommand kSubcommands[] = {
    {"list", 0, 0, {}, {"--json"}, list},
    {"show", 1, 1, {}, {"--json"}, show},
    {"set", 1, 1, {"--command", "--type", "--param", "--description"}, {"--server-side", "--client-side"}, set},
    {"delete", 1, 1, {}, {}, remove},
};

}  // namespace

int runAction(ConsoleSession& session, const Args& args) {
  return runSubcommand(session, "action", kSubcommands, args);
}

}  // namespace omconsole
