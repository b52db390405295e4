// What the registry tests share: a fresh store location per test and
// running other programs (the helper and the console) as child processes.
#ifndef OM_TESTS_PLATFORM_OMTOOLS_REGISTRYTESTSUPPORT_H_
#define OM_TESTS_PLATFORM_OMTOOLS_REGISTRYTESTSUPPORT_H_

#include <fcntl.h>
#include <spawn.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

extern char** environ;

namespace regtest {

// Points OMLIB_HOME and OMLIB_USER_HOME at a new temporary directory for the
// test and removes it afterwards.
class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "omlib-reg-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    home_ = pattern;
    setenv("OMLIB_HOME", (home_ / "machine").c_str(), 1);
    setenv("OMLIB_USER_HOME", (home_ / "user").c_str(), 1);
  }
  void TearDown() override {
    unsetenv("OMLIB_HOME");
    unsetenv("OMLIB_USER_HOME");
    std::filesystem::remove_all(home_);
  }

  std::filesystem::path home_;
};

// A child process started with posix_spawn. Its standard output and error
// go to files that output() and errors() read once the process ended.
class Child {
 public:
  explicit Child(const std::vector<std::string>& argv) {
    static int counter = 0;
    const std::string base = "omlib-child-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
    out_ = std::filesystem::temp_directory_path() / (base + ".out");
    err_ = std::filesystem::temp_directory_path() / (base + ".err");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    if (posix_spawn(&pid_, args[0], &actions, nullptr, args.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Child() {
    if (pid_ > 0 && !waited_) {
      kill(pid_, SIGKILL);
      wait();
    }
    std::filesystem::remove(out_);
    std::filesystem::remove(err_);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t pid() const { return pid_; }
  bool started() const { return pid_ > 0; }

  // Waits for the end; the exit status, or 128 + the signal number.
  int wait() {
    int raw = 0;
    if (waitpid(pid_, &raw, 0) != pid_) return -1;
    waited_ = true;
    return decode(raw);
  }
  // True, with the status as wait() gives it, when the process has ended.
  bool ended(int* status) {
    int raw = 0;
    if (waitpid(pid_, &raw, WNOHANG) != pid_) return false;
    waited_ = true;
    *status = decode(raw);
    return true;
  }
  std::string output() const { return slurp(out_); }
  std::string errors() const { return slurp(err_); }

 private:
  static int decode(int raw) { return WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw); }
  static std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
  }

  pid_t pid_ = -1;
  bool waited_ = false;
  std::filesystem::path out_;
  std::filesystem::path err_;
};

}  // namespace regtest

#endif  // OM_TESTS_PLATFORM_OMTOOLS_REGISTRYTESTSUPPORT_H_
