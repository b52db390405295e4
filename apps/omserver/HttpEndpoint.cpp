#include "HttpEndpoint.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <thread>
#include <vector>

namespace omserver {

struct HttpEndpoint::Call {
  Peer peer;
  CallLimiter::Slot slot;
  std::string body;
  bool tooLarge = false;  // the body outgrew the cap: the rest is dropped
};

namespace {

constexpr char kRealm[] = "omserver";
constexpr char kTlsPriorities[] = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";

// `text` with control characters shown as '?', for a log line.
std::string printable(std::string_view text) {
  std::string shown(text);
  for (char& c : shown) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  }
  return shown;
}

// What the exception being handled says.
std::string currentExceptionText() {
  try {
    throw;
  } catch (const std::exception& failure) {
    return failure.what();
  } catch (...) {
    return "an exception that is no std::exception";
  }
}

extern "C" MHD_Result requestThunk(void* endpoint, MHD_Connection* connection, const char* url, const char* method,
                                   const char*, const char* data, size_t* size, void** call) {
  return static_cast<HttpEndpoint*>(endpoint)->onRequest(connection, url, method, data, size, call);
}

extern "C" void completedThunk(void*, MHD_Connection*, void** call, MHD_RequestTerminationCode) {
  HttpEndpoint::onCompleted(call);
}

extern "C" void logThunk(void* context, const char* format, va_list args) {
  char text[512];
  std::vsnprintf(text, sizeof text, format, args);
  std::string line = text;
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  static_cast<EndpointContext*>(context)->log("http: " + printable(line));
}

std::string utcNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::string userName(uid_t uid) {
  passwd entry;
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::to_string(uid);
  }
  return found->pw_name;
}

// The client's numeric address; an IPv4 client of a dual-stack socket shows
// as IPv4.
std::string remoteAddress(MHD_Connection* connection) {
  const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  if (info == nullptr || info->client_addr == nullptr) return "?";
  const sockaddr* address = info->client_addr;
  char text[INET6_ADDRSTRLEN] = "?";
  if (address->sa_family == AF_INET6) {
    const in6_addr& v6 = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    if (IN6_IS_ADDR_V4MAPPED(&v6)) {
      inet_ntop(AF_INET, &v6.s6_addr[12], text, sizeof text);
    } else {
      inet_ntop(AF_INET6, &v6, text, sizeof text);
    }
  } else if (address->sa_family == AF_INET) {
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
  }
  return text;
}

// The body length the client announced; 0 when it did not.
uint64_t announcedLength(MHD_Connection* connection) {
  const char* text = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
  uint64_t length = 0;
  if (text != nullptr) std::from_chars(text, text + std::strlen(text), length);
  return length;
}

extern "C" MHD_Result collectHeader(void* headers, MHD_ValueKind, const char* name, const char* value) {
  auto& all = *static_cast<HttpHeaders*>(headers);
  const auto [field, added] = all.try_emplace(name, value != nullptr ? value : "");
  if (!added) field->second.append(", ").append(value != nullptr ? value : "");
  return MHD_YES;
}

MHD_Result send(MHD_Connection* connection, const HttpReply& reply) {
  MHD_Response* response =
      MHD_create_response_from_buffer(reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
  if (response == nullptr) return MHD_NO;
  for (const auto& [name, value] : reply.headers) MHD_add_response_header(response, name.c_str(), value.c_str());
  const MHD_Result queued = reply.status == MHD_HTTP_UNAUTHORIZED
                                ? MHD_queue_basic_auth_fail_response(connection, kRealm, response)
                                : MHD_queue_response(connection, static_cast<unsigned>(reply.status), response);
  MHD_destroy_response(response);
  return queued;
}

HttpReply textReply(int status, const std::string& text) {
  return {status, text + "\n", {{"Content-Type", "text/plain"}}};
}

HttpReply tooLarge() { return textReply(MHD_HTTP_CONTENT_TOO_LARGE, "request body too large"); }

}  // namespace

std::unique_ptr<HttpEndpoint> HttpEndpoint::start(EndpointContext& context, Kind kind, om::UniqueFd listener,
                                                  const TlsCredentials* tls, std::string url, std::string* error) {
  std::unique_ptr<HttpEndpoint> endpoint(new HttpEndpoint(context, kind, std::move(url)));
  if (tls != nullptr) endpoint->tls_ = *tls;
  // The library gets its own descriptor: whether it closes the one it was
  // given when it fails to start is not ours to rely on. (Without one it
  // would open a socket of its own: never let it.)
  const int own = fcntl(listener.get(), F_DUPFD_CLOEXEC, 0);
  if (own < 0) {
    *error = "cannot serve " + endpoint->url_ + ": " + std::strerror(errno);
    return nullptr;
  }
  endpoint->daemon_ = endpoint->launch(own, tls != nullptr);
  if (endpoint->daemon_ == nullptr) {
    *error = "cannot serve " + endpoint->url_;
    return nullptr;  // `own` may have been closed by the library: at worst it stays open
  }
  return endpoint;
}

MHD_Daemon* HttpEndpoint::launch(int listenFd, bool tls) {
  const HttpLimits& limits = context_.limits;
  unsigned flags =
      MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC | MHD_USE_ERROR_LOG;
  std::vector<MHD_OptionItem> options{
      {MHD_OPTION_EXTERNAL_LOGGER, reinterpret_cast<intptr_t>(&logThunk), &context_},
      {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<intptr_t>(&completedThunk), nullptr},
      {MHD_OPTION_CONNECTION_TIMEOUT, limits.timeoutSeconds, nullptr},
      // Idle keep-alive connections hold a thread too: room for twice the calls.
      {MHD_OPTION_CONNECTION_LIMIT, 2 * static_cast<intptr_t>(limits.maxCalls), nullptr},
      {MHD_OPTION_LISTEN_SOCKET, listenFd, nullptr},
  };
  if (kind_ == Kind::kNetwork) options.push_back({MHD_OPTION_PER_IP_CONNECTION_LIMIT, limits.maxCalls, nullptr});
  if (tls) {
    flags |= MHD_USE_TLS;
    options.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, tls_.certPem.data()});
    options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, tls_.keyPem.data()});
    options.push_back({MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>(kTlsPriorities)});
  }
  options.push_back({MHD_OPTION_END, 0, nullptr});
  return MHD_start_daemon(flags, 0, nullptr, nullptr, &requestThunk, this, MHD_OPTION_ARRAY, options.data(),
                          MHD_OPTION_END);
}

HttpEndpoint::~HttpEndpoint() { close(); }

void HttpEndpoint::quiesce() {
  if (daemon_ == nullptr || quiesced_.valid()) return;
  quiesced_.reset(MHD_quiesce_daemon(daemon_));
  // Refuses connections at once rather than leaving them in the backlog.
  if (quiesced_.valid()) shutdown(quiesced_.get(), SHUT_RDWR);
}

void HttpEndpoint::close() {
  if (daemon_ != nullptr) MHD_stop_daemon(daemon_);
  daemon_ = nullptr;
  quiesced_.reset();
}

void HttpEndpoint::onCompleted(void** call) {
  delete static_cast<Call*>(*call);
  *call = nullptr;
}

MHD_Result HttpEndpoint::onRequest(MHD_Connection* connection, const char* url, const char* method, const char* data,
                                   size_t* size, void** call) {
  if (*call == nullptr) return admit(connection, method, call);
  Call& pending = *static_cast<Call*>(*call);
  if (*size != 0) {
    pending.tooLarge = pending.tooLarge || pending.body.size() + *size > context_.limits.maxBody;
    if (pending.tooLarge) {
      std::string().swap(pending.body);
    } else {
      pending.body.append(data, *size);
    }
    *size = 0;
    return MHD_YES;
  }
  if (pending.tooLarge) return send(connection, tooLarge());
  return send(connection, answer(connection, url, method, pending));
}

MHD_Result HttpEndpoint::admit(MHD_Connection* connection, const char* method, void** call) {
  if (std::strcmp(method, MHD_HTTP_METHOD_POST) != 0) {
    return send(connection, {MHD_HTTP_METHOD_NOT_ALLOWED, "", {{"Allow", "POST"}}});
  }
  if (context_.stopping) return send(connection, textReply(MHD_HTTP_SERVICE_UNAVAILABLE, "the server is stopping"));
  Peer peer;
  if (const std::optional<MHD_Result> refused = identify(connection, &peer)) return *refused;
  const uint64_t length = announcedLength(connection);
  if (length > context_.limits.maxBody) return send(connection, tooLarge());
  std::optional<CallLimiter::Slot> slot = context_.calls.admit(peer.user);
  if (!slot) {
    HttpReply busy = textReply(MHD_HTTP_SERVICE_UNAVAILABLE, "too many calls in progress");
    busy.headers.emplace_back("Retry-After", "1");
    return send(connection, busy);
  }
  auto* pending = new Call{std::move(peer), std::move(*slot), {}, false};
  pending->body.reserve(length);
  *call = pending;
  return MHD_YES;
}

std::optional<MHD_Result> HttpEndpoint::identify(MHD_Connection* connection, Peer* peer) {
  return kind_ == Kind::kLocal ? identifyLocal(connection, peer) : identifyRemote(connection, peer);
}

std::optional<MHD_Result> HttpEndpoint::identifyLocal(MHD_Connection* connection, Peer* peer) {
  peer->local = true;
  peer->address = "unix";
  const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (info == nullptr || getsockopt(info->connect_fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
    return refuse(connection, MHD_HTTP_FORBIDDEN, *peer, "the peer's credentials are unknown");
  }
  peer->uid = credentials.uid;
  peer->user = userName(credentials.uid);
  if (context_.access.isAllowedLocal(peer->uid, peer->user)) return std::nullopt;
  return refuse(connection, MHD_HTTP_FORBIDDEN, *peer, "not in group " + context_.access.group());
}

std::optional<MHD_Result> HttpEndpoint::identifyRemote(MHD_Connection* connection, Peer* peer) {
  peer->address = remoteAddress(connection);
  char* password = nullptr;
  char* user = MHD_basic_auth_get_username_password(connection, &password);
  if (user == nullptr) return refuse(connection, MHD_HTTP_UNAUTHORIZED, *peer, "no credentials");
  peer->user = user;
  std::string secret = password != nullptr ? password : "";
  if (password != nullptr) explicit_bzero(password, std::strlen(password));
  MHD_free(user);
  MHD_free(password);
  const std::string failure = context_.access.authenticate(peer->user, secret, peer->address);
  explicit_bzero(secret.data(), secret.size());
  if (!failure.empty()) return refuse(connection, MHD_HTTP_UNAUTHORIZED, *peer, failure);
  if (context_.access.isAllowed(peer->user)) return std::nullopt;
  return refuse(connection, MHD_HTTP_FORBIDDEN, *peer, "not in group " + context_.access.group());
}

MHD_Result HttpEndpoint::refuse(MHD_Connection* connection, int status, const Peer& peer, const std::string& reason) {
  logAbout(peer, std::to_string(status) + ", " + reason);
  // A wrong guess costs the guesser time; its thread is its own.
  if (status == MHD_HTTP_UNAUTHORIZED) std::this_thread::sleep_for(context_.limits.authDelay);
  return send(connection, textReply(status, status == MHD_HTTP_UNAUTHORIZED ? "login required" : "forbidden"));
}

HttpReply HttpEndpoint::answer(MHD_Connection* connection, const char* url, const char* method, Call& call) {
  HttpRequest request{method, url, {}, std::move(call.body), call.peer};
  MHD_get_connection_values(connection, MHD_HEADER_KIND, &collectHeader, &request.headers);
  try {
    return context_.handler(request);
  } catch (...) {
    // Nothing may be thrown back into the library.
    logAbout(call.peer, "the handler failed: " + currentExceptionText());
    return textReply(MHD_HTTP_INTERNAL_SERVER_ERROR, "internal error");
  }
}

void HttpEndpoint::logAbout(const Peer& peer, const std::string& what) {
  context_.log(utcNow() + " " + peer.address + " user \"" + printable(peer.user) + "\": " + printable(what));
}

}  // namespace omserver
