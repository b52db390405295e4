#include "server/actions/ActionRunner.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <set>
#include <vector>

#include <om/codepage.h>

#include "server/actions/CommandLine.h"
#include "server/actions/FilterMatch.h"

namespace om::server {

struct ActionRunner::Job {
  CActionCommand command;
  CLogObject record;
};

namespace {

// Where an action is carried out.
enum class Kind { kConsoles, kProgram, kUnavailable };

Kind kindOf(const CActionCommand& command) {
  const int type = command.getCommandType();
  const bool consoleType = type >= CActionCommand::TYPE_POPUP && type <= CActionCommand::TYPE_TFTP_CLIENT;
  if (consoleType || !command.isServerSide()) return Kind::kConsoles;
  return type == CActionCommand::TYPE_CUSTOM ? Kind::kProgram : Kind::kUnavailable;
}

// "Action 5 (what it is)": its description, else its type's name, if any.
std::string title(const CActionCommand& command) {
  const tstring what = command.getDescription().empty() ? command.getActionName() : command.getDescription();
  const std::string number = "Action " + std::to_string(command.getId());
  return what.empty() ? number : number + " (" + std::string(what) + ")";
}

// "mail (type 8)", or "type 11" for a number that names no type.
std::string typeText(const CActionCommand& command) {
  const std::string number = "type " + std::to_string(command.getCommandType());
  const tstring name = command.getActionName();
  return name.empty() ? number : std::string(name) + " (" + number + ")";
}

// The message of a program that has ended: how, then its first lines.
std::string outcomeText(const std::string& head, const ProgramRuns::Outcome& outcome) {
  std::string text = head + " " + outcome.how + ".";
  for (const std::string& line : outcome.lines) text += "\n" + utf8ToCp932(line);
  if (outcome.outputCut) text += "\n...";
  return text;
}

}  // namespace

ActionRunner::ActionRunner(NetworkServer& server, ActionRunnerOptions options)
    : server_(server), options_(options), wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  thread_ = std::thread([this] { work(); });
  listener_ = server_.addLogListener([this](const CLogObject& record) { hear(record); });
}

ActionRunner::~ActionRunner() {
  server_.removeLogListener(listener_);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake();
  thread_.join();
  close(wakeFd_);
}

void ActionRunner::drain() {
  std::unique_lock<std::mutex> lock(mutex_);
  idleChanged_.wait(lock, [this] { return queue_.empty() && !busy_; });
}

void ActionRunner::hear(const CLogObject& record) {
  if (!setsOffActions(record)) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (stopping_) return;
    queue_.push_back(record);
  }
  wake();
}

void ActionRunner::wake() const {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof one);  // full only when already woken
}

bool ActionRunner::takeRecords(std::deque<CLogObject>& out, bool idle) {
  uint64_t count = 0;
  [[maybe_unused]] const ssize_t drained = read(wakeFd_, &count, sizeof count);  // EAGAIN: nothing new
  std::lock_guard<std::mutex> lock(mutex_);
  if (stopping_) {
    queue_.clear();
    busy_ = false;
  } else {
    out.swap(queue_);
    busy_ = !out.empty() || !idle;
  }
  if (!busy_) idleChanged_.notify_all();
  return !stopping_;
}

void ActionRunner::work() {
  ProgramRuns programs({options_.timeout, options_.killGrace, options_.outputLines, options_.outputLineBytes});
  std::deque<Job> jobs;
  std::deque<CLogObject> records;
  for (;;) {
    if (!takeRecords(records, jobs.empty() && programs.empty())) {
      jobs.clear();
      if (programs.empty()) return;
    }
    const bool took = !records.empty();
    if (took) {
      const std::vector<ActionFilter> filters = server_.actions->listFilters();
      for (const CLogObject& record : records) addJobs(record, filters, jobs);
    }
    records.clear();
    startJobs(jobs, programs);
    // Just after taking records, only look, so that drain() hears of it at once when all is done.
    programs.wait(wakeFd_, !took);
  }
}

void ActionRunner::addJobs(const CLogObject& record, const std::vector<ActionFilter>& filters, std::deque<Job>& jobs) {
  std::set<int> taken;
  for (const ActionFilter& filter : filters) {
    const int actionId = filter.getActionId();
    if (!filter.isActionId() || actionId == 0 || !filterMatches(filter, record) || !taken.insert(actionId).second) {
      continue;
    }
    Job job{CActionCommand(), record};
    if (server_.actions->findCommand(actionId, job.command)) {
      jobs.push_back(std::move(job));
    } else {
      report(record, actionId, log_def::LOGTYPE_ERROR, log_def::LOGSUBTYPE_INVALID,
             "Action filter " + std::to_string(filter.getId()) + " names action " + std::to_string(actionId) +
                 ", which does not exist.");
    }
  }
}

void ActionRunner::startJobs(std::deque<Job>& jobs, ProgramRuns& programs) {
  while (!jobs.empty()) {
    const Job& job = jobs.front();
    const int id = job.command.getId();
    switch (kindOf(job.command)) {
      case Kind::kProgram:
        if (programs.size() >= options_.maxRunning) return;
        startProgram(job, programs);
        break;
      case Kind::kConsoles:
        report(job.record, id, log_def::LOGTYPE_INFORMATION, log_def::LOGSUBTYPE_START,
               title(job.command) + " is handed to the consoles.");
        break;
      case Kind::kUnavailable:
        report(job.record, id, log_def::LOGTYPE_ERROR, log_def::LOGSUBTYPE_GENERAL_ERROR,
               title(job.command) + " cannot run: " + typeText(job.command) + " is not available on this server.");
        break;
    }
    jobs.pop_front();
  }
}

void ActionRunner::startProgram(const Job& job, ProgramRuns& programs) {
  const int id = job.command.getId();
  const auto fail = [&](const std::string& why) {
    report(job.record, id, log_def::LOGTYPE_ERROR, log_def::LOGSUBTYPE_GENERAL_ERROR, title(job.command) + ": " + why);
  };
  std::vector<std::string> words;
  if (!splitWords(job.command.getCommand(), words) || !splitWords(job.command.getParam(), words)) {
    return fail("its command line has a quote that is not closed.");
  }
  if (words.empty()) return fail("its command line is empty.");
  std::vector<std::string> argv;
  for (const std::string& word : words) argv.push_back(cp932ToUtf8(expandPlaceholders(word, job.record)));
  const std::string head = title(job.command) + ": " + words.front();
  std::string error;
  std::unique_ptr<ChildProcess> child = ChildProcess::start(argv, error);
  if (child == nullptr) return fail(words.front() + " could not start: " + error + ".");
  programs.add(std::move(child), [this, job, head](const ProgramRuns::Outcome& outcome) {
    report(job.record, job.command.getId(), outcome.succeeded ? log_def::LOGTYPE_INFORMATION : log_def::LOGTYPE_ERROR,
           outcome.succeeded ? log_def::LOGSUBTYPE_END : log_def::LOGSUBTYPE_GENERAL_ERROR, outcomeText(head, outcome));
  });
}

void ActionRunner::report(const CLogObject& about, int actionId, log_def::tagLOGTYPE type,
                          log_def::tagLOGSUBTYPE subType, const std::string& message) {
  CLogObject record;
  record.setLevel(log_def::LOGLEVEL_USER);
  record.setTime(CTime::GetCurrentTime());
  record.setType(type);
  record.setSubType(subType);
  record.setTargetType(about.getTargetType());
  record.setInternalName(about.getInternalName());
  record.setDisplayName(about.getDisplayName());
  record.setAddress(about.getAddress());
  record.setSysObjectId(about.getSysObjectId());
  record.setMessage(message.c_str());
  record.setActionId(actionId);
  server_.writeLog(record);
}

}  // namespace om::server
