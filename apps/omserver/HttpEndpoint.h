// HttpEndpoint: one listening socket served by libmicrohttpd with a thread
// per connection, since a call may block for long. On the local (Unix)
// socket the peer's uid says who calls; on the network socket (HTTPS, or
// plain HTTP) every request logs in with HTTP Basic. Each POST that passes
// the login and the caps has its body collected and is handed to the
// handler; nothing reaches the handler before that.
#ifndef OM_APPS_OMSERVER_HTTPENDPOINT_H_
#define OM_APPS_OMSERVER_HTTPENDPOINT_H_

#include <microhttpd.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include <om/UniqueFd.h>

#include "CallLimiter.h"
#include "HttpLimits.h"
#include "HttpMessage.h"
#include "PamAuthenticator.h"
#include "TlsCredentials.h"

namespace omserver {

// What the endpoints of one server share; owned by the server, outlives
// its endpoints.
struct EndpointContext {
  EndpointContext(HttpHandler h, PamAuthenticator& a, HttpLimits l, LogSink s)
      : handler(std::move(h)), access(a), limits(l), calls(l.maxCalls, l.maxCallsPerClient), log(std::move(s)) {}

  const HttpHandler handler;
  PamAuthenticator& access;
  const HttpLimits limits;
  CallLimiter calls;
  const LogSink log;
  std::atomic<bool> stopping{false};  // new requests are turned away
};

class HttpEndpoint {
 public:
  enum class Kind { kLocal, kNetwork };

  // Serves `listener`, which it takes; with `tls` (network only) over TLS.
  // `url` names the endpoint. Null, with the reason in `error`, when the
  // library cannot start.
  static std::unique_ptr<HttpEndpoint> start(EndpointContext& context, Kind kind, om::UniqueFd listener,
                                             const TlsCredentials* tls, std::string url, std::string* error);
  ~HttpEndpoint();
  HttpEndpoint(const HttpEndpoint&) = delete;
  HttpEndpoint& operator=(const HttpEndpoint&) = delete;

  const std::string& url() const { return url_; }
  // Stops accepting connections; the open ones go on.
  void quiesce();
  // Closes every connection and waits for their threads.
  void close();

  // One request on its way in (defined with the callbacks).
  struct Call;
  // The library's request callback (see MHD_AccessHandlerCallback): `call`
  // is the library's place for the request's Call.
  MHD_Result onRequest(MHD_Connection* connection, const char* url, const char* method, const char* data, size_t* size,
                       void** call);
  // The library's end-of-request callback: frees the request's Call.
  static void onCompleted(void** call);

 private:
  HttpEndpoint(EndpointContext& context, Kind kind, std::string url) : context_(context), kind_(kind), url_(url) {}

  // Starts the library on `listenFd`, over TLS with tls_ when `tls`.
  MHD_Daemon* launch(int listenFd, bool tls);
  // First call of a request, its headers read: decides whether it goes on.
  MHD_Result admit(MHD_Connection* connection, const char* method, void** call);
  // Who sent the request; a queued refusal when nobody may.
  std::optional<MHD_Result> identify(MHD_Connection* connection, Peer* peer);
  std::optional<MHD_Result> identifyLocal(MHD_Connection* connection, Peer* peer);
  std::optional<MHD_Result> identifyRemote(MHD_Connection* connection, Peer* peer);
  MHD_Result refuse(MHD_Connection* connection, int status, const Peer& peer, const std::string& reason);
  HttpReply answer(MHD_Connection* connection, const char* url, const char* method, Call& call);
  // Logs one line: the time, who, and `what`.
  void logAbout(const Peer& peer, const std::string& what);

  EndpointContext& context_;
  const Kind kind_;
  const std::string url_;
  TlsCredentials tls_;  // the library reads them while it runs
  MHD_Daemon* daemon_ = nullptr;
  om::UniqueFd quiesced_;  // the listening socket after quiesce(), closed once the library stops
};

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_HTTPENDPOINT_H_
