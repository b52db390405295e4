// The fixture of the console tests that drive `omconsole shell`: a registry
// of their own in a temporary directory, a script run on standard input, and
// checks of the outputs.
#ifndef OMLIB_TESTS_APPS_SHELLTEST_H_
#define OMLIB_TESTS_APPS_SHELLTEST_H_

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ConsoleRunner.h"

class ShellTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/omlib-shell-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    setenv("OMLIB_HOME", dir, 1);
    setenv("OMLIB_USER_HOME", dir, 1);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // Runs `script` through `omconsole shell`; its exit status, with its
  // standard output in out_ and its standard error in err_.
  int shell(const std::string& script) { return consoleWithInput("shell", script, &out_, &err_); }
  // Forgets what the consoles' server kept, for a run that starts afresh.
  void forgetData() { std::filesystem::remove_all(dir_ + "/data"); }

  std::string dir_;
  std::string out_;
  std::string err_;
};

// How often `part` occurs in `text`.
inline size_t occurrences(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

// The lines of `text`, without their ends.
inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(text.substr(start, end - start));
  }
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

// `text` from its first line that starts a JSON object or array: the
// output of the one --json command that ends a script.
inline std::string jsonPart(const std::string& text) {
  for (size_t start = 0; start < text.size(); start = text.find('\n', start) + 1) {
    if (text[start] == '{' || text[start] == '[') return text.substr(start);
    if (text.find('\n', start) == std::string::npos) break;
  }
  return "";
}

// Whether `text` is one JSON object or array as far as its structure goes:
// strings closed (with their escapes), brackets and braces balanced and
// nested properly outside strings, and nothing but blanks after the end.
inline bool wellFormedJson(const std::string& text) {
  std::string open;  // the brackets not closed yet
  bool started = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == ' ' || c == '\n') continue;
    if (started ? open.empty() : c != '{' && c != '[') return false;  // before or after the one value
    started = true;
    if (c == '"') {
      for (++i; i < text.size() && text[i] != '"'; ++i) {
        if (static_cast<unsigned char>(text[i]) < 0x20) return false;
        if (text[i] == '\\') ++i;
      }
      if (i >= text.size()) return false;
    } else if (c == '{' || c == '[') {
      open += c;
    } else if (c == '}' || c == ']') {
      if (open.empty() || open.back() != (c == '}' ? '{' : '[')) return false;
      open.pop_back();
    }
  }
  return started && open.empty();
}

#endif  // OMLIB_TESTS_APPS_SHELLTEST_H_
