// ConsoleSession: what the commands that go through the server share: COM
// and the console's connection to its server (ServerChoice): another host's
// daemon, the local daemon, or a server embedded in this process over this
// machine's network and the system MIB tree. It opens on first need and, when it
// goes, runs its closing steps (last added first) and then tears the rest
// down in order. One command uses it, or every line of a shell.
#ifndef OM_APPS_OMCONSOLE_CONSOLESESSION_H_
#define OM_APPS_OMCONSOLE_CONSOLESESSION_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <wbemcli.h>

#include "ServerChoice.h"

class EmbeddedServer;
class WbemConnect;
struct NetworkServer;

namespace omconsole {

class ConsoleSession {
 public:
  // `shared`: the session of a shell, where state lives from line to line
  // and a follower may run in the background.
  explicit ConsoleSession(bool shared = false);
  ~ConsoleSession();
  ConsoleSession(const ConsoleSession&) = delete;
  ConsoleSession& operator=(const ConsoleSession&) = delete;

  // Opens the session the first time; false, after saying why on standard
  // error (each time it is asked), when it cannot be opened.
  bool open();
  // The connection's services; open() must have succeeded.
  IWbemServices* services() const;
  // The embedded server's network, or null when the server is another
  // process; open() must have succeeded.
  NetworkServer* network() const { return network_.get(); }
  // The server that sessions of this process reach (set once, by main).
  static void useServer(ServerChoice choice);
  static const ServerChoice& server();
  bool shared() const { return shared_; }
  // Adds a step to run before the session is torn down, while the
  // connection still works.
  void atClose(std::function<void()> step);

 private:
  enum class State { kNew, kOpen, kFailed };

  // Starts everything; why it could not, or "".
  std::string start();
  std::string startEmbedded();
  void close();

  const bool shared_;
  State state_ = State::kNew;
  std::string failure_;
  std::unique_ptr<WbemConnect> connection_;
  std::shared_ptr<NetworkServer> network_;
  std::unique_ptr<EmbeddedServer> server_;
  std::vector<std::function<void()>> closing_;
};

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_CONSOLESESSION_H_
