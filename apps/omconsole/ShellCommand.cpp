// omconsole shell: reads command lines from standard input and runs each as
// `omconsole LINE` would, all against one session, so that what one line
// adds to the embedded server the next one sees.
#include <unistd.h>

#include <iostream>
#include <optional>
#include <string>

#include "Command.h"
#include "ConsoleSession.h"
#include "Records.h"

namespace omconsole {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Splits a line as a shell does: blanks separate words; single quotes keep
// everything up to the next one, double quotes too but for \" and \\; quoted
// and plain parts next to each other make one word. Nothing for a quote
// left open.
std::optional<Args> splitWords(const std::string& line) {
  Args words;
  std::string word;
  bool inWord = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (isBlank(c)) {
      if (inWord) words.push_back(word);
      word.clear();
      inWord = false;
      continue;
    }
    inWord = true;
    if (c != '\'' && c != '"') {
      word += c;
      continue;
    }
    for (++i; i < line.size() && line[i] != c; ++i) {
      if (c == '"' && line[i] == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\')) ++i;
      word += line[i];
    }
    if (i == line.size()) return std::nullopt;
  }
  if (inWord) words.push_back(word);
  return words;
}

bool isComment(const std::string& line) {
  const size_t first = line.find_first_not_of(" \t\r");
  return first == std::string::npos || line[first] == '#';
}

// The next line of standard input, after the prompt when asked for one.
bool readLine(std::string& line, bool prompt) {
  if (prompt) emit("om> ");
  return static_cast<bool>(std::getline(std::cin, line));
}

}  // namespace

int runShell(const Args& args) {
  static bool running = false;
  if (running) return fail("shell: a shell runs already", 2);
  if (!args.empty()) return fail("usage: omconsole shell", 2);
  running = true;
  const bool prompt = isatty(STDIN_FILENO) != 0;
  int status = 0;
  {
    ConsoleSession session(true);
    for (std::string line; readLine(line, prompt);) {
      if (isComment(line)) continue;
      const std::optional<Args> words = splitWords(line);
      if (!words) {
        fail("a quote is not closed: " + line, 2);
        status = 1;
        continue;
      }
      if (words->size() == 1 && ((*words)[0] == "exit" || (*words)[0] == "quit")) break;
      if (runCommandLine(*words, session) != 0) status = 1;
    }
  }
  running = false;
  return status;
}

}  // namespace omconsole
