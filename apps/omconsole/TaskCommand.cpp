// omconsole task: the polling tasks of the server (class "TaskObject"): add,
// list, show, and start, stop, restart or delete one task or every task. The
// task methods are made with a sink so that the server's "ReturnValue" is
// read and a refusal reported.
#include <om/codepage.h>

#include "MethodCall.h"
#include "Records.h"
#include "SessionCommand.h"
#include "server/providers/TaskService.h"
#include "wbem/WbemTaskObject.h"

namespace omconsole {
namespace {

std::string statusText(CTaskObject::TaskStatus status) {
  switch (status) {
    case CTaskObject::TASKSTATUS_WAITING:
      return "waiting";
    case CTaskObject::TASKSTATUS_RUNNING:
      return "running";
    case CTaskObject::TASKSTATUS_STOPPED:
      return "stopped";
    case CTaskObject::TASKSTATUS_FINISHED:
      return "finished";
  }
  return std::to_string(static_cast<int>(status));
}

// What a "ReturnValue" of the task methods other than done means.
std::string refusal(int returnValue) {
  switch (returnValue) {
    case TaskService::kNoSuchTask:
      return "no such task";
    case TaskService::kTaskExists:
      return "a task of that name exists";
    case TaskService::kNoName:
      return "the task has no name";
  }
  return "the server answered " + std::to_string(returnValue);
}

// The outcome of a task method: 0, or the failure reported.
int report(const SubcommandCall& call, const MethodResult& result) {
  if (FAILED(result.status)) return call.failStatus(static_cast<unsigned long>(result.status));
  return result.returnValue == TaskService::kDone ? 0 : call.fail(refusal(result.returnValue));
}

Record summary(const CTaskObject& t) {
  return {Field::text("name", t.getName()),         Field::text("displayName", t.getDisplayName()),
          Field::text("status", statusText(t.getTaskStatus())), Field::text("address", t.getIpAddress()),
          Field::number("interval", t.getPollingInterval()),   Field::texts("variables", t.getMibVariables())};
}

// The 22 fields of a task.
Record details(const CTaskObject& t) {
  return {Field::text("name", t.getName()),
          Field::text("displayName", t.getDisplayName()),
          Field::text("userText", t.getUserText()),
          Field::text("dnsName", t.getDNSName()),
          Field::text("address", t.getIpAddress()),
          Field::text("readCommunity", t.getReadCommunityName()),
          Field::text("writeCommunity", t.getWriteCommunityName()),
          Field::texts("variables", t.getMibVariables()),
          Field::number("type", t.getTaskType()),
          Field::text("status", statusText(t.getTaskStatus())),
          Field::flag("rmon", t.isUsingRmon()),
          Field::text("startTime", localTimeText(t.getStartTime().GetTime())),
          Field::number("samples", t.getSamplesRequested()),
          Field::number("interval", t.getPollingInterval()),
          Field::number("alarmType", t.getAlarmType()),
          Field::text("risingThreshold", t.getRisingThreshold()),
          Field::text("fallingThreshold", t.getFallingThreshold()),
          Field::number("sampleType", t.getSampleType()),
          Field::texts("lastSampleValues", t.getLastSampleValues()),
          Field::number("pollingCount", t.getPollingCount()),
          Field::number("wrapFlag", t.getWrapFlag()),
          Field::number("snmpVersion", t.getSnmpVersion())};
}

std::vector<std::string> cp932(const std::vector<std::string>& utf8) {
  std::vector<std::string> texts;
  for (const std::string& text : utf8) texts.push_back(om::utf8ToCp932(text));
  return texts;
}

int add(const SubcommandCall& call) {
  const Arguments& a = call.args;
  CTaskObject task;
  int interval = task.getPollingInterval();
  int samples = task.getSamplesRequested();
  if (!a.has("--ip") || !a.intValue("--interval", interval) || interval <= 0 || !a.intValue("--samples", samples)) {
    return call.usage();
  }
  task.setName(om::utf8ToCp932(a.words()[0]));
  task.setIpAddress(a.value("--ip"));
  task.setMibVariables(cp932(a.values("--var")));
  task.setPollingInterval(interval);
  task.setSamplesRequested(samples);
  task.setDisplayName(om::utf8ToCp932(a.value("--display")));
  task.setReadCommunityName(om::utf8ToCp932(a.value("--community")));
  WbemTaskObjectClient client(call.services());
  const int status = report(call, callWithSink(client, [&](IWbemObjectSink* sink) { client.addTask2(task, sink); }));
  if (status == 0) emit("added task " + a.words()[0] + "\n");
  return status;
}

int list(const SubcommandCall& call) {
  WbemTaskObjectClient client(call.services());
  std::vector<CTaskObject> tasks;
  if (!client.getAllTaskObjects(tasks)) return call.failStatus(client.getErrorCode());
  std::vector<Record> records;
  for (const CTaskObject& t : tasks) records.push_back(summary(t));
  printList(records, call.json());
  return 0;
}

int show(const SubcommandCall& call) {
  WbemTaskObjectClient client(call.services());
  CTaskObject task;
  const std::string path = instancePath("TaskObject", "TaskName", om::utf8ToCp932(call.args.words()[0]));
  if (!client.getTaskObject(path.c_str(), task)) return call.failStatus(client.getErrorCode());
  printRecord(details(task), call.json());
  return 0;
}

// A method of one task and its form for every task.
struct TaskMethod {
  const char* subcommand;
  const char* done;
  bool (WbemTaskObjectClient::*one)(const CString& taskName, IWbemObjectSink* sink);
  bool (WbemTaskObjectClient::*all)(IWbemObjectSink* sink);
};

const TaskMethod kMethods[] = {
    {"start", "started", &WbemTaskObjectClient::startTask, &WbemTaskObjectClient::startAllTasks},
    {"stop", "stopped", &WbemTaskObjectClient::stopTask, &WbemTaskObjectClient::stopAllTasks},
    {"restart", "restarted", &WbemTaskObjectClient::restartTask, &WbemTaskObjectClient::restartAllTasks},
    {"delete", "deleted", &WbemTaskObjectClient::deleteTask2, &WbemTaskObjectClient::deleteAllTasks},
};

// start, stop, restart or delete: NAME or --all.
int change(const SubcommandCall& call) {
  const bool all = call.args.has("--all");
  if (all == (call.args.words().size() == 1)) return call.usage();
  const TaskMethod* method = nullptr;
  for (const TaskMethod& m : kMethods) {
    if (call.name == m.subcommand) method = &m;
  }
  WbemTaskObjectClient client(call.services());
  const std::string name = all ? "" : om::utf8ToCp932(call.args.words()[0]);
  const int status = report(call, callWithSink(client, [&](IWbemObjectSink* sink) {
                              all ? (client.*method->all)(sink) : (client.*method->one)(name.c_str(), sink);
                            }));
  if (status == 0) emit(std::string(method->done) + (all ? " every task" : " task " + call.args.words()[0]) + "\n");
  return status;
}

const Subcommand kSubcommands[] = {
    {"add", 1, 1, {"--ip", "--var", "--interval", "--samples", "--display", "--community"}, {}, add},
    {"list", 0, 0, {}, {"--json"}, list},
    {"show", 1, 1, {}, {"--json"}, show},
    {"start", 0, 1, {}, {"--all"}, change},
    {"stop", 0, 1, {}, {"--all"}, change},
    {"restart", 0, 1, {}, {"--all"}, change},
    {"delete", 0, 1, {}, {"--all"}, change},
};

}  // namespace

int runTask(ConsoleSession& session, const Args& args) { return runSubcommand(session, "task", kSubcommands, args); }

}  // namespace omconsole
