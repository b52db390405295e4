// Runs the omconsole program built with the tests (OMCONSOLE) as a child
// process, for the tests of its commands.
#ifndef OMLIB_TESTS_APPS_CONSOLERUNNER_H_
#define OMLIB_TESTS_APPS_CONSOLERUNNER_H_

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Runs omconsole with `args`; returns its exit status, standard output and
// standard error.
inline int console(const std::string& args, std::string* out, std::string* err = nullptr) {
  const std::string errFile = std::filesystem::temp_directory_path() / ("omconsole-err-" + std::to_string(getpid()));
  FILE* p = popen((std::string(OMCONSOLE) + " " + args + " 2>" + errFile).c_str(), "r");
  out->clear();
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, p)) > 0;) out->append(buffer, n);
  const int status = pclose(p);
  if (err != nullptr) {
    std::ifstream in(errFile);
    err->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  std::filesystem::remove(errFile);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#endif  // OMLIB_TESTS_APPS_CONSOLERUNNER_H_
