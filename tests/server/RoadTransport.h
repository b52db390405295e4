// The road a test console takes to the server hosted in its own program
// (see EmbeddedRoad.h): the object manager directly, or the daemon's
// CIM-XML endpoint started here with a temporary home (certificate, private
// PAM configuration), over its Unix socket or HTTPS on loopback.
#ifndef OMLIB_TESTS_SERVER_ROADTRANSPORT_H_
#define OMLIB_TESTS_SERVER_ROADTRANSPORT_H_

#include <memory>
#include <string>

#include "wbem/WbemConnect.h"

namespace omserver {
class HttpServer;
class PamAuthenticator;
}  // namespace omserver
namespace om::wmi {
class CimXmlEndpoint;
}
namespace servertest {
class TempDir;
class PamFixture;
}  // namespace servertest

class RoadTransport {
 public:
  // What WbemConnect::connectServer is given.
  struct Login {
    tstring server = ".";
    tstring user;
    tstring password;
  };

  RoadTransport();
  ~RoadTransport();

  // Starts the road OMLIB_ROAD_TRANSPORT names ("", "unix" or "https");
  // the login that takes it. A failure ends the test program.
  Login start();

 private:
  std::unique_ptr<servertest::TempDir> home_;
  std::unique_ptr<servertest::PamFixture> pam_;
  std::unique_ptr<omserver::PamAuthenticator> access_;
  std::unique_ptr<om::wmi::CimXmlEndpoint> endpoint_;
  std::unique_ptr<omserver::HttpServer> http_;
};

#endif  // OMLIB_TESTS_SERVER_ROADTRANSPORT_H_
