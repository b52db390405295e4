// ActionRunner: carries out the server's actions. It hears every new log
// record of a NetworkServer, and on a thread of its own matches it against
// each action filter of `server.actions` (filterMatches); for each filter
// that selects it, the filter's action command (its action id, when in
// force) is carried out once per record:
//  - a server-side custom command (type 0) runs as a program: the words of
//    the command text and then of the parameter text, with the record's
//    fields in their placeholders (CommandLine.h), no shell. It runs in a
//    process group of its own with stdin from /dev/null; past the time-out
//    its group gets SIGTERM and, a grace period later, SIGKILL. One record
//    then tells how it ended (exit status, signal, killed after the time-out,
//    or why it could not start) with the first lines of its output (stdout
//    and stderr together).
//  - a built-in server-side type (8 mail, 9 trap forwarding, 10 path test,
//    or one this server does not know) is not available: one record says so.
//  - a command for the consoles (types 1 to 7, or any command that is not
//    server-side) is handed to them: one record whose actionId is the
//    command's, which reaches them as that record's LogObjectEvent.
// Every record the runner writes names its command in actionId, has level
// "user" and is about the same target as the record that set it off: type
// information with subtype "start" (handed to the consoles) or "end" (a
// program exited with status 0), else type error with subtype "general
// error", or "invalid" when a filter names a command that does not exist.
// Records that name an action set off none (setsOffActions), so the runner
// never feeds itself. A program's words go to it in UTF-8 and its output is
// read as UTF-8.
//
// Programs run side by side, up to a limit; matched actions wait beyond it.
// The server must outlive the runner.
#ifndef OM_SERVER_ACTIONS_ACTIONRUNNER_H_
#define OM_SERVER_ACTIONS_ACTIONRUNNER_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "monitor/log.h"
#include "server/NetworkServer.h"
#include "server/actions/ProgramRuns.h"

namespace om::server {

// How the runner runs programs.
struct ActionRunnerOptions {
  // How long a program may run before its group gets SIGTERM, and then
  // SIGKILL after the grace period.
  std::chrono::milliseconds timeout = std::chrono::seconds(30);
  std::chrono::milliseconds killGrace = std::chrono::seconds(5);
  // Programs running at the same time at most.
  size_t maxRunning = 8;
  // How much of a program's output its record keeps.
  size_t outputLines = 3;
  size_t outputLineBytes = 256;
};

class ActionRunner {
 public:
  // Starts listening to the server's log.
  explicit ActionRunner(NetworkServer& server, ActionRunnerOptions options = ActionRunnerOptions());
  // Stops listening; actions not yet begun are dropped, programs under way
  // end or are killed after their time-out; then the thread is joined.
  ~ActionRunner();
  ActionRunner(const ActionRunner&) = delete;
  ActionRunner& operator=(const ActionRunner&) = delete;

  // Waits until every record heard so far is dealt with: matched, its
  // actions carried out and their records written.
  void drain();

 private:
  struct Job;  // a matched action: its command and the record that set it off

  // The server's log listener: queues the record for the thread.
  void hear(const CLogObject& record);
  // The thread: takes queued records until told to stop, matches them and
  // carries out their actions.
  void work();
  // Takes the queued records; false once the runner stops. `idle` says the
  // thread has nothing under way, for drain().
  bool takeRecords(std::deque<CLogObject>& out, bool idle);
  // Makes the thread look at the queue.
  void wake() const;
  // Adds the actions the filters select for `record`, each once.
  void addJobs(const CLogObject& record, const std::vector<ActionFilter>& filters, std::deque<Job>& jobs);
  // Carries out the jobs in order while programs may still start.
  void startJobs(std::deque<Job>& jobs, ProgramRuns& programs);
  void startProgram(const Job& job, ProgramRuns& programs);
  // Writes a record of the action `actionId` about the target of `about`.
  void report(const CLogObject& about, int actionId, log_def::tagLOGTYPE type, log_def::tagLOGSUBTYPE subType,
              const std::string& message);

  NetworkServer& server_;
  const ActionRunnerOptions options_;
  int wakeFd_ = -1;  // an eventfd the thread polls with its programs
  std::mutex mutex_;
  std::condition_variable idleChanged_;
  std::deque<CLogObject> queue_;
  bool busy_ = false;  // the thread has taken records it has not finished
  bool stopping_ = false;
  std::thread thread_;
  int listener_ = 0;
};

}  // namespace om::server

#endif  // OM_SERVER_ACTIONS_ACTIONRUNNER_H_
