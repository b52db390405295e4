// omconsole server status: which server the console reaches, how, and
// whether it answers.
#include <iostream>

#include "Command.h"
#include "ConsoleSession.h"

namespace omconsole {

int runServer(const Args& args) {
  if (args.size() != 1 || args[0] != "status") return failUsage("server", args.empty() ? "" : args[0]);
  std::cout << "server: " << ConsoleSession::server().describe() << "\n" << std::flush;
  ConsoleSession session;
  if (!session.open()) return 1;
  std::cout << "connected: the server answers\n";
  return 0;
}

}  // namespace omconsole
