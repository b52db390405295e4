// omconsole log: the server's log (class "LogObject"): list and count the
// records a WQL condition selects, and follow new records as they are
// written: until interrupted, or in a shell in the background until the
// shell ends.
#include <om/codepage.h>

#include "LogFollower.h"
#include "LogRecord.h"
#include "MethodCall.h"
#include "SessionCommand.h"
#include "wbem/WbemLogObject.h"

namespace omconsole {
namespace {

std::string condition(const SubcommandCall& call) { return om::utf8ToCp932(call.args.value("--query")); }

int list(const SubcommandCall& call) {
  WbemLogObjectClient client(call.services());
  if (!client.beginRecordEnumeration("select * from LogObject", condition(call).c_str())) {
    return call.failStatus(client.getErrorCode());
  }
  std::vector<CLogObject> records;
  while (client.getNextRecord(records)) {
  }
  const HRESULT end = static_cast<HRESULT>(GetLastError());  // the status that ended the enumeration
  if (FAILED(end)) return call.failStatus(static_cast<unsigned long>(end));
  std::vector<Record> lines;
  for (const CLogObject& record : records) lines.push_back(logRecord(record));
  printList(lines, call.json());
  return 0;
}

int count(const SubcommandCall& call) {
  WbemLogObjectClient client(call.services());
  const int number = client.numberOfLogObject(condition(call));
  if (number < 0) return call.failStatus(client.getErrorCode());
  if (call.json()) {
    printRecord({Field::number("count", number)}, true);
  } else {
    emit(std::to_string(number) + "\n");
  }
  return 0;
}

int follow(const SubcommandCall& call) { return followLog(call, std::nullopt); }

const Subcommand kSubcommands[] = {
    {"list", 0, 0, {"--query"}, {"--json"}, list},
    {"count", 0, 0, {"--query"}, {"--json"}, count},
    {"follow", 0, 0, {}, {}, follow},
};

}  // namespace

int runLog(ConsoleSession& session, const Args& args) { return runSubcommand(session, "log", kSubcommands, args); }

}  // namespace omconsole
