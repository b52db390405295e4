// omconsole filter: the action filters of the server (class "ActionFilter"):
// list, show, set and delete. Each option of `set` puts its field in force:
// it sets the field and the field's flag bit.
#include <cstdio>
#include <ctime>

#include <om/codepage.h>

#include "MethodCall.h"
#include "Records.h"
#include "SessionCommand.h"
#include "wbem/WbemActionFilter.h"

namespace omconsole {
namespace {

using F = ActionFilter;

// `field` when `flag` is in force in the filter, else the field with no value.
Field inForce(const ActionFilter& f, ULONG flag, Field field) {
  return (f.getAvailables() & flag) != 0 ? field : Field::none(field.name);
}

Record filterRecord(const ActionFilter& f) {
  return {Field::number("id", f.getId()),
          inForce(f, F::FLAG_ACTION_ID, Field::number("action", f.getActionId())),
          inForce(f, F::FLAG_LOG_TYPE, Field::number("logType", f.getLogType())),
          inForce(f, F::FLAG_LOG_SUBTYPE, Field::number("logSubtype", f.getLogSubType())),
          inForce(f, F::FLAG_ADDRESS, Field::text("address", f.getAddress().GetString())),
          inForce(f, F::FLAG_SYS_OBJECT_ID, Field::text("oid", f.getSysObjectId().GetString())),
          inForce(f, F::FLAG_INTERNAL_NAME, Field::text("name", f.getInternalName().GetString())),
          inForce(f, F::FLAG_START_TIME, Field::text("from", localTimeText(f.getStartTime().GetTime()))),
          inForce(f, F::FLAG_END_TIME, Field::text("to", localTimeText(f.getEndTime().GetTime())))};
}

// "YYYY-MM-DD HH:MM:SS" as local time; false for other text or a time that
// does not exist (2024-02-30).
bool parseTime(const std::string& text, CTime& time) {
  std::tm parts{};
  int length = 0;
  if (text.size() != 19 || std::sscanf(text.c_str(), "%4d-%2d-%2d %2d:%2d:%2d%n", &parts.tm_year, &parts.tm_mon,
                                       &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &length) != 6 ||
      length != 19) {
    return false;
  }
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  parts.tm_isdst = -1;
  std::tm normalised = parts;
  const std::time_t seconds = std::mktime(&normalised);
  // mktime moves fields that are out of range: they must come back as given.
  if (seconds == -1 || normalised.tm_year != parts.tm_year || normalised.tm_mon != parts.tm_mon ||
      normalised.tm_mday != parts.tm_mday || normalised.tm_hour != parts.tm_hour ||
      normalised.tm_min != parts.tm_min || normalised.tm_sec != parts.tm_sec) {
    return false;
  }
  time = CTime(seconds);
  return true;
}

// How the value of an option goes into its field; false when it does not
// parse.
template <auto setter, class Value>
bool integer(ActionFilter& filter, const std::string& utf8) {
  int number = 0;
  if (!parseInt(utf8, number)) return false;
  (filter.*setter)(static_cast<Value>(number));
  return true;
}

template <auto setter>
bool text(ActionFilter& filter, const std::string& utf8) {
  (filter.*setter)(om::utf8ToCp932(utf8).c_str());
  return true;
}

template <auto setter>
bool localTime(ActionFilter& filter, const std::string& utf8) {
  CTime time;
  if (!parseTime(utf8, time)) return false;
  (filter.*setter)(time);
  return true;
}

// One option of `set`: its flag, and how its value goes into the filter.
struct FilterOption {
  const char* name;
  ULONG flag;
  bool (*apply)(ActionFilter& filter, const std::string& utf8);
};

const FilterOption kOptions[] = {
    {"--action", F::FLAG_ACTION_ID, integer<&F::setActionId, int>},
    {"--log-type", F::FLAG_LOG_TYPE, integer<&F::setLogType, log_def::tagLOGTYPE>},
    {"--log-subtype", F::FLAG_LOG_SUBTYPE, integer<&F::setLogSubType, log_def::tagLOGSUBTYPE>},
    {"--address", F::FLAG_ADDRESS, text<&F::setAddress>},
    {"--oid", F::FLAG_SYS_OBJECT_ID, text<&F::setSysObjectId>},
    {"--name", F::FLAG_INTERNAL_NAME, text<&F::setInternalName>},
    {"--from", F::FLAG_START_TIME, localTime<&F::setStartTime>},
    {"--to", F::FLAG_END_TIME, localTime<&F::setEndTime>},
};

int list(const SubcommandCall& call) {
  std::vector<ActionFilter> filters;
  if (!WbemActionFilter::enumActionFilter(call.services(), filters)) return call.failStatus(GetLastError());
  std::vector<Record> records;
  for (const ActionFilter& f : filters) records.push_back(filterRecord(f));
  printList(records, call.json());
  return 0;
}

int show(const SubcommandCall& call) {
  int id = 0;
  if (!call.intWord(0, id)) return call.usage();
  WbemActionFilter filter(call.services());
  if (!filter.get(id)) return call.failStatus(filter.getErrorCode());
  printRecord(filterRecord(filter), call.json());
  return 0;
}

// Writes the filter: the one stored under ID changed by the options, or a
// new one.
int set(const SubcommandCall& call) {
  int id = 0;
  if (!call.intWord(0, id)) return call.usage();
  WbemActionFilter filter(call.services());
  if (!filter.get(id) && static_cast<HRESULT>(filter.getErrorCode()) != WBEM_E_NOT_FOUND) {
    return call.failStatus(filter.getErrorCode());
  }
  for (const FilterOption& option : kOptions) {
    if (!call.args.has(option.name)) continue;
    if (!option.apply(filter, call.args.value(option.name))) return call.usage();
    filter.addFlags(option.flag);
  }
  if (!filter.put()) return call.failStatus(filter.getErrorCode());
  emit("set filter " + std::to_string(id) + "\n");
  return 0;
}

int remove(const SubcommandCall& call) {
  int id = 0;
  if (!call.intWord(0, id)) return call.usage();
  WbemActionFilter filter(call.services());
  filter.setId(static_cast<ULONG>(id));
  if (!filter.remove()) return call.failStatus(filter.getErrorCode());
  emit("deleted filter " + std::to_string(id) + "\n");
  return 0;
}

const Subcommand kSubcommands[] = {
    {"list", 0, 0, {}, {"--json"}, list},
    {"show", 1, 1, {}, {"--json"}, show},
    {"set", 1, 1, {"--action", "--log-type", "--log-subtype", "--address", "--oid", "--name", "--from", "--to"}, {}, set},
    {"delete", 1, 1, {}, {}, remove},
};

}  // namespace

int runFilter(ConsoleSession& session, const Args& args) {
  return runSubcommand(session, "filter", kSubcommands, args);
}

}  // namespace omconsole
