// EmbeddedServer: the server hosted in this process: the object manager with
// the product's class definitions, the providers of every class over one
// NetworkServer, and the log's events. Consoles then reach it by connecting
// to ".". COM must be initialised on the thread that starts and stops it.
#ifndef OM_SERVER_EMBEDDEDSERVER_H_
#define OM_SERVER_EMBEDDEDSERVER_H_

#include <memory>
#include <string>

#include "server/LogEvents.h"
#include "server/NetworkServer.h"
#include "wbem/wbemroot.h"

class EmbeddedServer {
 public:
  explicit EmbeddedServer(std::shared_ptr<NetworkServer> server) : server_(std::move(server)) {}
  EmbeddedServer(const EmbeddedServer&) = delete;
  EmbeddedServer& operator=(const EmbeddedServer&) = delete;
  ~EmbeddedServer() { stop(); }

  // Loads the class definitions, connects the server to its namespace and
  // registers the providers; the HRESULT of the first failing step.
  HRESULT start();
  // Unregisters the providers and disconnects.
  void stop();

  NetworkServer& server() { return *server_; }

 private:
  std::shared_ptr<NetworkServer> server_;
  WbemRoot root_;
  std::unique_ptr<LogEvents> events_;
  bool registered_ = false;
};

// Readies `network` as the daemon and a console's embedded server run it:
// the data kept in its folder, this machine's own subnets and interfaces,
// its work started (tasks sampled with `sampleTasks`) and the MIB modules
// read. Empty when done, else why not.
std::string prepareNetwork(NetworkServer& network, bool sampleTasks);

// The product's class definitions (MOF text, UTF-8), built into the program.
extern const char kOrvaManagerMof[];

#endif  // OM_SERVER_EMBEDDEDSERVER_H_
