// HttpServer: the daemon's HTTP side: the local endpoint on a Unix socket
// and the network endpoint on TCP (HTTPS, or plain HTTP when asked), one
// handler behind both, and the caps they share. Over the network every
// request logs in with HTTP Basic through PAM and must come from root or a
// member of the group; on the socket the peer's uid must be root, the
// server's own, or a member. Only POST is served (405 otherwise); the
// handler decides about the URL. Refusals: 401 (after the configured delay)
// and 403, each with one log line; 413 for a body over the cap; 503 past
// the caps on calls in progress, or once stopping.
#ifndef OM_APPS_OMSERVER_HTTPSERVER_H_
#define OM_APPS_OMSERVER_HTTPSERVER_H_

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "HttpLimits.h"
#include "HttpMessage.h"
#include "PamAuthenticator.h"
#include "TlsCredentials.h"

namespace omserver {

class HttpEndpoint;
struct EndpointContext;

class HttpServer {
 public:
  // `access` must outlive the server. `log` receives the log lines;
  // unset, they go to standard error.
  HttpServer(HttpHandler handler, PamAuthenticator& access, HttpLimits limits, LogSink log = {});
  // Stops as stop() does, but waits for every call in progress however long.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // Serves the Unix socket at `path` (see listenUnix in ListenSocket.h),
  // in the group of `access`. "" on success, else why not.
  std::string listenUnix(const std::string& path);
  // Serves TCP `port` (0: any free port) of `address` (empty: every
  // address): HTTPS with `tls`, plain HTTP when it is null. "" on success,
  // else why not.
  std::string listenTcp(const std::string& address, uint16_t port, const TlsCredentials* tls);

  // "unix:PATH", "https://HOST:PORT" or "http://HOST:PORT", in the order
  // they started; the real port when the system picked it.
  std::vector<std::string> endpoints() const;
  // The TCP endpoint's port; 0 when there is none.
  uint16_t tcpPort() const { return tcpPort_; }

  // Stops accepting connections, removes the socket file, answers new
  // requests on open connections with 503, and waits up to `grace` for the
  // calls in progress. Then closes every connection and returns true; or,
  // when calls are still running, returns false and leaves them be.
  bool stop(std::chrono::milliseconds grace);

 private:
  // Stops accepting and removes the socket file.
  void quiesce();
  // Removes the socket file when it is still the one this server made.
  void removeSocketFile();
  void close();

  std::unique_ptr<EndpointContext> context_;
  std::vector<std::unique_ptr<HttpEndpoint>> endpoints_;
  std::string socketPath_;  // the socket file this server made; empty once removed
  dev_t socketDevice_ = 0;
  ino_t socketInode_ = 0;
  uint16_t tcpPort_ = 0;
};

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_HTTPSERVER_H_
