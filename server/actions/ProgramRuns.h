// ProgramRuns: the programs of actions under way, watched from one thread
// with poll(): their output is read as it comes, their end is noticed at
// once, and one that outlives the time-out gets SIGTERM for its process
// group and, after the grace period, SIGKILL. When a program has ended, its
// callback hears how, with the first lines of its output.
#ifndef OM_SERVER_ACTIONS_PROGRAMRUNS_H_
#define OM_SERVER_ACTIONS_PROGRAMRUNS_H_

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/actions/ChildProcess.h"
#include "server/actions/OutputHead.h"

namespace om::server {

class ProgramRuns {
 public:
  // How a program ended.
  struct Outcome {
    bool succeeded = false;          // exit status 0 within the time-out
    std::string how;                 // "exited with status 1", "was killed after 30 s", ...
    std::vector<std::string> lines;  // the first lines of its output (UTF-8)
    bool outputCut = false;          // the output went on beyond them
  };
  using Done = std::function<void(const Outcome& outcome)>;

  struct Limits {
    std::chrono::milliseconds timeout;
    std::chrono::milliseconds killGrace;
    size_t outputLines;
    size_t outputLineBytes;
  };
  explicit ProgramRuns(const Limits& limits) : limits_(limits) {}

  // Watches a program that has just started; `done` is called once, from
  // wait(), when it has ended.
  void add(std::unique_ptr<ChildProcess> child, Done done);
  size_t size() const { return runs_.size(); }
  bool empty() const { return runs_.empty(); }

  // Waits for something to do (output, an end, a time-out; or `otherFd`
  // becoming readable, which is left to the caller to read) and does it.
  // With `block` false it only looks.
  void wait(int otherFd, bool block);

 private:
  using Clock = std::chrono::steady_clock;
  enum class Stage { kRunning, kTerminated, kKilled };
  struct Run {
    std::unique_ptr<ChildProcess> child;
    OutputHead output;
    Clock::time_point deadline;  // of the stage it is in; none once killed
    Stage stage = Stage::kRunning;
    Done done;
  };

  // Milliseconds until the nearest deadline; -1 when there is none.
  int msToNextDeadline(Clock::time_point now) const;
  void readOutput(Run& run) const;
  void enforceDeadline(Run& run, Clock::time_point now) const;
  void finish(Run& run) const;

  Limits limits_;
  std::vector<Run> runs_;
};

}  // namespace om::server

#endif  // OM_SERVER_ACTIONS_PROGRAMRUNS_H_
