#include "server/actions/ProgramRuns.h"

#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>

namespace om::server {
namespace {

std::string secondsText(std::chrono::milliseconds duration) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(duration.count()) / 1000.0);
  return text;
}

// How a program ended on its own, from its wait status.
std::string endText(int status) {
  if (status != -1 && WIFEXITED(status)) return "exited with status " + std::to_string(WEXITSTATUS(status));
  if (status != -1 && WIFSIGNALED(status)) {
    const char* name = sigabbrev_np(WTERMSIG(status));
    return "ended by signal " + (name != nullptr ? "SIG" + std::string(name) : std::to_string(WTERMSIG(status)));
  }
  return "ended (its exit status is lost)";
}

}  // namespace

void ProgramRuns::add(std::unique_ptr<ChildProcess> child, Done done) {
  runs_.push_back(Run{std::move(child), OutputHead(limits_.outputLines, limits_.outputLineBytes),
                      Clock::now() + limits_.timeout, Stage::kRunning, std::move(done)});
}

void ProgramRuns::wait(int otherFd, bool block) {
  std::vector<pollfd> fds{{otherFd, POLLIN, 0}};
  for (const Run& run : runs_) {
    fds.push_back({run.child->outputFd(), POLLIN, 0});  // poll passes over -1
    fds.push_back({run.child->exitFd(), POLLIN, 0});
  }
  poll(fds.data(), fds.size(), block ? msToNextDeadline(Clock::now()) : 0);
  const Clock::time_point now = Clock::now();
  std::vector<Run> going;
  for (size_t i = 0; i < runs_.size(); ++i) {
    Run& run = runs_[i];
    if (fds[1 + 2 * i].revents != 0) readOutput(run);
    if (fds[2 + 2 * i].revents != 0) {
      finish(run);
      continue;
    }
    enforceDeadline(run, now);
    going.push_back(std::move(run));
  }
  runs_ = std::move(going);
}

int ProgramRuns::msToNextDeadline(Clock::time_point now) const {
  int nearest = -1;
  for (const Run& run : runs_) {
    if (run.stage == Stage::kKilled) continue;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(run.deadline - now).count();
    const int ms = static_cast<int>(std::clamp<decltype(left)>(left, 0, 1 << 30));
    nearest = nearest < 0 ? ms : std::min(nearest, ms);
  }
  return nearest;
}

void ProgramRuns::readOutput(Run& run) const {
  std::string piece;
  run.child->readOutput(piece);
  run.output.add(piece);
}

void ProgramRuns::enforceDeadline(Run& run, Clock::time_point now) const {
  if (run.stage == Stage::kKilled || now < run.deadline) return;
  if (run.stage == Stage::kRunning) {
    run.child->signalGroup(SIGTERM);
    run.stage = Stage::kTerminated;
    run.deadline = now + limits_.killGrace;
  } else {
    run.child->signalGroup(SIGKILL);
    run.stage = Stage::kKilled;
  }
}

void ProgramRuns::finish(Run& run) const {
  const int status = run.child->reap();
  readOutput(run);  // what it wrote before it ended
  Outcome outcome;
  if (run.stage == Stage::kRunning) {
    outcome.succeeded = status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    outcome.how = endText(status);
  } else {
    run.child->signalGroup(SIGKILL);  // what is left of its group goes with it
    outcome.how = "was killed after " + secondsText(limits_.timeout) + " s";
  }
  outcome.lines = run.output.lines();
  outcome.outputCut = run.output.cut();
  run.done(outcome);
}

}  // namespace om::server
