#include "HttpServer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "HttpEndpoint.h"
#include "ListenSocket.h"

namespace omserver {
namespace {

void logToStandardError(const std::string& line) { std::fprintf(stderr, "omserver: %s\n", line.c_str()); }

}  // namespace

HttpServer::HttpServer(HttpHandler handler, PamAuthenticator& access, HttpLimits limits, LogSink log)
    : context_(std::make_unique<EndpointContext>(std::move(handler), access, limits,
                                                 log ? std::move(log) : LogSink(logToStandardError))) {}

HttpServer::~HttpServer() {
  quiesce();
  context_->calls.waitIdle();
  close();
}

std::string HttpServer::listenUnix(const std::string& path) {
  if (!socketPath_.empty()) return "already serving " + socketPath_;
  om::UniqueFd listener;
  std::string warning;
  std::string error = omserver::listenUnix(path, context_->access.groupId(), &listener, &warning);
  if (!error.empty()) return error;
  if (!warning.empty()) context_->log(path + ": " + warning);
  struct stat status {};
  lstat(path.c_str(), &status);
  socketPath_ = path;
  socketDevice_ = status.st_dev;
  socketInode_ = status.st_ino;
  std::unique_ptr<HttpEndpoint> endpoint =
      HttpEndpoint::start(*context_, HttpEndpoint::Kind::kLocal, std::move(listener), nullptr, "unix:" + path, &error);
  if (endpoint == nullptr) {
    removeSocketFile();
    return error;
  }
  endpoints_.push_back(std::move(endpoint));
  return "";
}

std::string HttpServer::listenTcp(const std::string& address, uint16_t port, const TlsCredentials* tls) {
  if (tcpPort_ != 0) return "already serving port " + std::to_string(tcpPort_);
  TcpListener listener;
  std::string error = omserver::listenTcp(address, port, &listener);
  if (!error.empty()) return error;
  const std::string url =
      (tls != nullptr ? "https://" : "http://") + listener.host + ":" + std::to_string(listener.port);
  const uint16_t boundPort = listener.port;
  std::unique_ptr<HttpEndpoint> endpoint =
      HttpEndpoint::start(*context_, HttpEndpoint::Kind::kNetwork, std::move(listener.fd), tls, url, &error);
  if (endpoint == nullptr) return error;
  endpoints_.push_back(std::move(endpoint));
  tcpPort_ = boundPort;
  return "";
}

std::vector<std::string> HttpServer::endpoints() const {
  std::vector<std::string> urls;
  for (const auto& endpoint : endpoints_) urls.push_back(endpoint->url());
  return urls;
}

bool HttpServer::stop(std::chrono::milliseconds grace) {
  quiesce();
  if (!context_->calls.waitIdle(std::chrono::steady_clock::now() + grace)) return false;
  close();
  return true;
}

void HttpServer::quiesce() {
  context_->stopping = true;
  for (const auto& endpoint : endpoints_) endpoint->quiesce();
  removeSocketFile();
}

void HttpServer::removeSocketFile() {
  if (socketPath_.empty()) return;
  // Only the file this server made: another server may have taken the path.
  struct stat status {};
  if (lstat(socketPath_.c_str(), &status) == 0 && status.st_dev == socketDevice_ && status.st_ino == socketInode_) {
    unlink(socketPath_.c_str());
  }
  socketPath_.clear();
}

void HttpServer::close() {
  for (const auto& endpoint : endpoints_) endpoint->close();
}

}  // namespace omserver
