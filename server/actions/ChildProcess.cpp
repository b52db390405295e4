#include "server/actions/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace om::server {
namespace {

// Bytes read from the pipe at one time at most, so that a program that
// writes without end cannot hold the reader.
constexpr size_t kReadLimit = 1 << 20;

std::string errorText(int error) {
  const char* text = strerrordesc_np(error);
  return text != nullptr ? text : "error " + std::to_string(error);
}

// How the program starts: a process group of its own, default handling of
// every signal and none blocked; stdin from /dev/null, stdout and stderr
// into `pipeEnd`, and no other descriptor of this process.
class SpawnSetup {
 public:
  explicit SpawnSetup(int pipeEnd) {
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigdelset(&all, SIGKILL);
    sigdelset(&all, SIGSTOP);
    sigemptyset(&none);
    error_ = posix_spawnattr_init(&attr_);
    if (error_ == 0) error_ = posix_spawn_file_actions_init(&actions_);
    const int results[] = {
        posix_spawnattr_setflags(&attr_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK),
        posix_spawnattr_setpgroup(&attr_, 0),
        posix_spawnattr_setsigdefault(&attr_, &all),
        posix_spawnattr_setsigmask(&attr_, &none),
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0),
        posix_spawn_file_actions_adddup2(&actions_, pipeEnd, STDOUT_FILENO),
        posix_spawn_file_actions_adddup2(&actions_, pipeEnd, STDERR_FILENO),
        posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1),
    };
    for (const int result : results) {
      if (error_ == 0) error_ = result;
    }
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attr_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  // 0 when every part was set up, else the first error.
  int error() const { return error_; }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attr_; }

 private:
  int error_ = 0;
  posix_spawnattr_t attr_{};
  posix_spawn_file_actions_t actions_{};
};

// Starts the program on the pipe's write end; its pid, or -1 and `error`.
pid_t spawn(const std::vector<std::string>& argv, int pipeEnd, std::string& error) {
  std::vector<char*> args;
  for (const std::string& word : argv) args.push_back(const_cast<char*>(word.c_str()));
  args.push_back(nullptr);
  const SpawnSetup setup(pipeEnd);
  pid_t pid = -1;
  int result = setup.error();
  if (result == 0) result = posix_spawnp(&pid, args[0], setup.actions(), setup.attributes(), args.data(), environ);
  if (result == 0) return pid;
  error = errorText(result);
  return -1;
}

// A descriptor that becomes readable when the process has ended; -1 and
// errno when there is none. (Called by its number: the C library's own
// declaration lacks C linkage in some versions.)
int openPidFd(pid_t pid) { return static_cast<int>(syscall(SYS_pidfd_open, pid, 0)); }

// Waits for the child; its wait status, or -1.
int waitFor(pid_t pid) {
  int status = 0;
  pid_t result = 0;
  do {
    result = waitpid(pid, &status, 0);
  } while (result < 0 && errno == EINTR);
  return result == pid ? status : -1;
}

}  // namespace

std::unique_ptr<ChildProcess> ChildProcess::start(const std::vector<std::string>& argv, std::string& error) {
  if (argv.empty()) {
    error = "no program";
    return nullptr;
  }
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    error = errorText(errno);
    return nullptr;
  }
  const pid_t pid = spawn(argv, ends[1], error);
  close(ends[1]);
  const int exitFd = pid < 0 ? -1 : openPidFd(pid);
  if (exitFd < 0) {
    if (pid >= 0) {
      error = errorText(errno);
      kill(-pid, SIGKILL);
      waitFor(pid);
    }
    close(ends[0]);
    return nullptr;
  }
  // Only this end is non-blocking: the program's end stays as programs expect.
  fcntl(ends[0], F_SETFL, fcntl(ends[0], F_GETFL) | O_NONBLOCK);
  return std::unique_ptr<ChildProcess>(new ChildProcess(pid, ends[0], exitFd));
}

ChildProcess::~ChildProcess() {
  if (!reaped_) {
    signalGroup(SIGKILL);
    waitFor(pid_);
  }
}

void ChildProcess::readOutput(std::string& out) {
  char buffer[16384];
  size_t total = 0;
  while (output_.valid() && total < kReadLimit) {
    const ssize_t count = read(output_.get(), buffer, sizeof buffer);
    if (count > 0) {
      out.append(buffer, static_cast<size_t>(count));
      total += static_cast<size_t>(count);
    } else if (count < 0 && errno == EINTR) {
      continue;
    } else if (count < 0 && errno == EAGAIN) {
      return;
    } else {
      output_.reset();  // its end, or an error
    }
  }
}

void ChildProcess::signalGroup(int signal) const { kill(-pid_, signal); }

int ChildProcess::reap() {
  reaped_ = true;
  return waitFor(pid_);
}

}  // namespace om::server
