// ChildProcess: a program started with its own arguments, no shell, in a
// process group of its own, with stdin from /dev/null and stdout and stderr
// into one pipe that this side reads. It owns the pipe's read end and a
// pidfd that becomes readable when the program has ended, so that one
// thread can wait on many programs with poll(). A program still running
// when its ChildProcess goes is killed with its group and reaped.
//
// The process must not reap children it did not start itself (waitpid(-1),
// SIGCHLD ignored): the exit status would be lost.
#ifndef OM_SERVER_ACTIONS_CHILDPROCESS_H_
#define OM_SERVER_ACTIONS_CHILDPROCESS_H_

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include <om/UniqueFd.h>

namespace om::server {

class ChildProcess {
 public:
  // Starts argv[0], looked up in PATH when it has no slash, with `argv`
  // (UTF-8, at least one word) and this process's environment. Null when it
  // could not start; `error` then says why.
  static std::unique_ptr<ChildProcess> start(const std::vector<std::string>& argv, std::string& error);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // The pipe (-1 once it reached its end) and the pidfd, for poll().
  int outputFd() const { return output_.get(); }
  int exitFd() const { return exit_.get(); }
  // Reads what the pipe holds now and appends it to `out`; closes the pipe
  // at its end (or on an error).
  void readOutput(std::string& out);
  // Sends `signal` to the program's process group.
  void signalGroup(int signal) const;
  // Once exitFd() is readable: collects the program's wait status (as
  // waitpid gives it); -1 when it could not be had.
  int reap();

 private:
  ChildProcess(pid_t pid, int output, int exit) : pid_(pid), output_(output), exit_(exit) {}

  pid_t pid_;
  om::UniqueFd output_;
  om::UniqueFd exit_;
  bool reaped_ = false;
};

}  // namespace om::server

#endif  // OM_SERVER_ACTIONS_CHILDPROCESS_H_
