#include "RoadTransport.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "../apps/omserver/ServerTestSupport.h"
#include "CimHandler.h"
#include "CimXmlEndpoint.h"
#include "HttpServer.h"
#include "PamAuthenticator.h"
#include "TlsCredentials.h"

namespace {

constexpr char kPassword[] = "road-secret";

[[noreturn]] void abandon(const std::string& why) {
  std::fprintf(stderr, "road transport: %s\n", why.c_str());
  std::exit(1);
}

}  // namespace

RoadTransport::RoadTransport() = default;

RoadTransport::~RoadTransport() {
  if (endpoint_ != nullptr) endpoint_->close();
  http_.reset();
}

RoadTransport::Login RoadTransport::start() {
  const char* chosen = std::getenv("OMLIB_ROAD_TRANSPORT");
  const std::string transport = chosen != nullptr ? chosen : "";
  if (transport.empty()) return Login();
  if (transport != "unix" && transport != "https") abandon("unknown OMLIB_ROAD_TRANSPORT " + transport);
  home_ = std::make_unique<servertest::TempDir>();
  pam_ = std::make_unique<servertest::PamFixture>(home_->path());
  pam_->setPasswords({{"root", kPassword}});
  access_ = std::make_unique<omserver::PamAuthenticator>(omserver::PamAuthenticator::Settings{"root", pam_->confDir()});
  endpoint_ = std::make_unique<om::wmi::CimXmlEndpoint>();
  omserver::HttpLimits limits;
  limits.authDelay = std::chrono::milliseconds(0);
  http_ = std::make_unique<omserver::HttpServer>(omserver::cimXmlHandler(*endpoint_), *access_, limits);
  Login login;
  if (transport == "unix") {
    const std::string socket = home_->path() + "/run/omserver.sock";
    const std::string error = http_->listenUnix(socket);
    if (!error.empty()) abandon(error);
    setenv("OMLIB_SOCKET", socket.c_str(), 1);
    setenv("OMLIB_LOCAL_SERVER", "daemon", 1);  // not the manager of this program
    return login;
  }
  const std::string cert = home_->path() + "/tls/omserver.crt";
  std::string error = omserver::createTlsCredentials(cert, home_->path() + "/tls/omserver.key", "localhost");
  omserver::TlsCredentials tls;
  if (error.empty()) error = omserver::loadTlsCredentials(cert, home_->path() + "/tls/omserver.key", &tls);
  if (error.empty()) error = http_->listenTcp("127.0.0.1", 0, &tls);
  if (!error.empty()) abandon(error);
  setenv("OMLIB_TRUST_FILE", cert.c_str(), 1);
  login.server = ("127.0.0.1:" + std::to_string(http_->tcpPort())).c_str();
  login.user = "root";
  login.password = kPassword;
  return login;
}
