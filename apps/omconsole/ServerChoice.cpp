#include "ServerChoice.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include <wmi/ServerAddress.h>

#include "Command.h"

namespace omconsole {
namespace {

std::string envVar(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool isThisMachine(const std::string& host) { return host.empty() || host == "." || host == "localhost"; }

// Reads a line from the terminal with echo off.
std::string readHidden(const std::string& prompt) {
  const int tty = open("/dev/tty", O_RDWR | O_CLOEXEC);
  if (tty < 0) return "";
  termios saved{};
  const bool isTerminal = tcgetattr(tty, &saved) == 0;
  if (isTerminal) {
    termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(tty, TCSAFLUSH, &quiet);
  }
  if (write(tty, prompt.data(), prompt.size()) < 0) {
    // The prompt is a courtesy; the password is read all the same.
  }
  std::string line;
  char c = 0;
  while (read(tty, &c, 1) == 1 && c != '\n') line += c;
  if (isTerminal) tcsetattr(tty, TCSAFLUSH, &saved);
  if (write(tty, "\n", 1) < 0) {
    // As above.
  }
  close(tty);
  return line;
}

}  // namespace

ServerChoice ServerChoice::choose(const std::string& host, const std::string& user) {
  ServerChoice choice;
  choice.host = host.empty() ? envVar("OMLIB_SERVER") : host;
  choice.user = user.empty() ? envVar("OMLIB_USER") : user;
  if (!isThisMachine(choice.host)) {
    choice.kind = Kind::kRemote;
    if (choice.user.empty()) choice.user = envVar("USER");
    return choice;
  }
  choice.host.clear();
  choice.kind = om::wmi::localServerRunning() ? Kind::kLocalDaemon : Kind::kEmbedded;
  return choice;
}

std::string ServerChoice::describe() const {
  switch (kind) {
    case Kind::kRemote:
      return host + " over HTTPS as " + user + " (certificates: " + om::wmi::serverTrustFile() + ")";
    case Kind::kLocalDaemon:
      return "the local daemon on unix:" + om::wmi::localServerSocket();
    default:
      return "a server embedded in this console (no daemon on unix:" + om::wmi::localServerSocket() + ")";
  }
}

bool takeServerOptions(std::vector<std::string>* words, std::string* host, std::string* user) {
  while (!words->empty() && (words->front() == "--server" || words->front() == "--user")) {
    if (words->size() < 2) {
      fail(words->front() + " needs a value", 2);
      return false;
    }
    *(words->front() == "--server" ? host : user) = (*words)[1];
    words->erase(words->begin(), words->begin() + 2);
  }
  return true;
}

std::string serverPassword(const ServerChoice& choice) {
  const char* given = std::getenv("OMLIB_PASSWORD");
  if (given != nullptr) return given;
  return readHidden("Password for " + choice.user + "@" + choice.host + ": ");
}

}  // namespace omconsole
