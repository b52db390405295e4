// Runs the omconsole program built with the tests (OMCONSOLE) as a child
// process, for the tests of its commands.
#ifndef OMLIB_TESTS_APPS_CONSOLERUNNER_H_
#define OMLIB_TESTS_APPS_CONSOLERUNNER_H_

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace console_detail {

// A test program that names no OMLIB_HOME gets a fresh one for its run (and
// so do the consoles it starts), so that what one test's consoles keep never
// reaches another's.
class FreshHome : public ::testing::Environment {
 public:
  void SetUp() override {
    if (std::getenv("OMLIB_HOME") != nullptr) return;
    char pattern[] = "/tmp/omconsole-home-XXXXXX";
    if (mkdtemp(pattern) == nullptr) return;
    dir_ = pattern;
    setenv("OMLIB_HOME", pattern, 1);
  }
  void TearDown() override {
    if (dir_.empty()) return;
    std::filesystem::remove_all(dir_);
    unsetenv("OMLIB_HOME");
  }

 private:
  std::string dir_;
};

inline ::testing::Environment* const kFreshHome = ::testing::AddGlobalTestEnvironment(new FreshHome);

inline std::string tempFile(const char* kind) {
  return std::filesystem::temp_directory_path() / ("omconsole-" + std::string(kind) + "-" + std::to_string(getpid()));
}

// Runs omconsole with `args`, its standard input from `input` when given.
inline int run(const std::string& args, const std::string* input, std::string* out, std::string* err) {
  const std::string errFile = tempFile("err");
  const std::string inFile = tempFile("in");
  std::string command = std::string(OMCONSOLE) + " " + args + " 2>" + errFile;
  if (input != nullptr) {
    std::ofstream(inFile, std::ios::binary) << *input;
    command += " <" + inFile;
  }
  FILE* p = popen(command.c_str(), "r");
  out->clear();
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, p)) > 0;) out->append(buffer, n);
  const int status = pclose(p);
  if (err != nullptr) {
    std::ifstream in(errFile);
    err->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  std::filesystem::remove(errFile);
  std::filesystem::remove(inFile);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace console_detail

// Runs omconsole with `args`; returns its exit status, standard output and
// standard error.
inline int console(const std::string& args, std::string* out, std::string* err = nullptr) {
  return console_detail::run(args, nullptr, out, err);
}

// The same with `input` as its standard input.
inline int consoleWithInput(const std::string& args, const std::string& input, std::string* out,
                            std::string* err = nullptr) {
  return console_detail::run(args, &input, out, err);
}

#endif  // OMLIB_TESTS_APPS_CONSOLERUNNER_H_
