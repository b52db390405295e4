// The omserver program: its exit codes for --check on good and bad
// configurations and for a bad command line, and a real start: the
// endpoints it prints, the certificate it makes, calls over both
// endpoints, and an orderly exit on SIGTERM that removes its socket.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <om/UniqueFd.h>

#include "ServerTestSupport.h"
#include "TlsCredentials.h"

namespace {

using servertest::Call;
using servertest::PamFixture;
using servertest::Program;
using servertest::Reply;
using servertest::TempDir;

class OmserverProgramTest : public ::testing::Test {
 protected:
  // Runs omserver to its end; its exit status, with its output in out_
  // and its errors in err_.
  int run(const std::vector<std::string>& args) {
    Program program(OMSERVER, args, dir_.path(), errFile_);
    EXPECT_TRUE(program.started());
    out_ = program.rest();
    const int status = program.wait();
    err_ = errors();
    return status;
  }
  std::string errors() const {
    std::ifstream in(errFile_);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  std::string path(const std::string& name) const { return dir_.path() + "/" + name; }

  TempDir dir_;
  const std::string errFile_ = dir_.path() + "/stderr";
  std::string out_;
  std::string err_;
};

TEST_F(OmserverProgramTest, HelpPrintsTheUsage) {
  EXPECT_EQ(run({"--help"}), 0);
  EXPECT_EQ(out_.rfind("usage: omserver", 0), 0u) << out_;
  EXPECT_NE(out_.find("--max-calls-per-client"), std::string::npos);
}

TEST_F(OmserverProgramTest, ABadCommandLineExitsWith2AndOneLine) {
  EXPECT_EQ(run({"--bogus"}), 2);
  EXPECT_EQ(err_, "omserver: unknown option --bogus\n");
  EXPECT_EQ(run({"--check", "--port", "65536"}), 2);
  EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), 1) << err_;
  EXPECT_EQ(out_, "");
}

TEST_F(OmserverProgramTest, CheckAcceptsAGoodConfiguration) {
  ASSERT_EQ(omserver::createTlsCredentials(path("c.crt"), path("c.key"), "h"), "");
  EXPECT_EQ(run({"--check", "--socket", path("s.sock"), "--address", "127.0.0.1", "--port", "0", "--group", "root",
                 "--cert", path("c.crt"), "--key", path("c.key")}),
            0)
      << err_;
  EXPECT_EQ(out_, "omserver: configuration OK: unix:" + path("s.sock") + ", https://127.0.0.1:0, group root\n");
  EXPECT_EQ(err_, "");
  EXPECT_FALSE(std::filesystem::exists(path("s.sock")));
}

TEST_F(OmserverProgramTest, CheckAnnouncesTheDefaultCertificateWithoutMakingIt) {
  EXPECT_EQ(run({"--check", "--group", "root"}), 0) << err_;
  EXPECT_EQ(out_, "omserver: configuration OK: unix:" + path("run/omserver.sock") +
                      ", https://*:5989, group root, certificate to be created at " + path("tls/omserver.crt") + "\n");
  EXPECT_FALSE(std::filesystem::exists(path("tls")));
  EXPECT_EQ(run({"--check", "--group", "root", "--http", "--no-socket", "--address", "::1"}), 0) << err_;
  EXPECT_EQ(out_, "omserver: configuration OK: http://[::1]:5988, group root\n");
}

TEST_F(OmserverProgramTest, CheckRefusesABadConfigurationWithExit1AndOneLine) {
  ASSERT_EQ(omserver::createTlsCredentials(path("a.crt"), path("a.key"), "a"), "");
  ASSERT_EQ(omserver::createTlsCredentials(path("b.crt"), path("b.key"), "b"), "");
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"--group", "no-such-group-omserver"}, "omserver: no group no-such-group-omserver\n"},
      {{"--group", "root", "--cert", path("a.crt"), "--key", path("b.key")},
       "omserver: the key " + path("b.key") + " does not belong to " + path("a.crt") + "\n"},
      {{"--group", "root", "--cert", path("none.crt"), "--key", path("a.key")}, ""},
      {{"--group", "root", "--pam-dir", path("nopam")}, ""},
  };
  for (const auto& [args, expected] : cases) {
    std::vector<std::string> all{"--check"};
    all.insert(all.end(), args.begin(), args.end());
    EXPECT_EQ(run(all), 1) << args.back();
    EXPECT_EQ(out_, "");
    EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), 1) << err_;
    if (!expected.empty()) {
      EXPECT_EQ(err_, expected);
    }
  }
}

TEST_F(OmserverProgramTest, ItServesBothEndpointsAndStopsOnSigterm) {
  PamFixture pam(dir_.path());
  pam.setPasswords({{"root", "secret"}});
  const std::string socket = path("run/omserver.sock");
  Program server(OMSERVER,
      {"--address", "127.0.0.1", "--port", "0", "--group", "root", "--pam-dir", pam.confDir(), "--auth-delay-ms", "0"},
      dir_.path(), errFile_);
  ASSERT_TRUE(server.started());
  EXPECT_EQ(server.line(), "omserver: data in " + path("data")) << errors();
  EXPECT_EQ(server.line(), "omserver: listening on unix:" + socket) << errors();
  const std::string network = server.line();
  const std::string prefix = "omserver: listening on https://127.0.0.1:";
  ASSERT_EQ(network.rfind(prefix, 0), 0u) << network << errors();
  const int port = std::stoi(network.substr(prefix.size()));
  EXPECT_GT(port, 0);

  const Reply local = servertest::perform(servertest::onSocket(socket, "<CIM/>"));
  ASSERT_EQ(local.code, CURLE_OK);
  EXPECT_EQ(local.status, 400);  // served: not a CIM operation (no CIMOperation header)
  Call remote;
  remote.url = "https://127.0.0.1:" + std::to_string(port) + "/cimom";
  remote.caFile = path("tls/omserver.crt");  // made on this first start
  remote.body = "<CIM/>";
  EXPECT_EQ(servertest::perform(remote).status, 401);
  remote.userPassword = "root:secret";
  EXPECT_EQ(servertest::perform(remote).status, 400);

  server.signal(SIGTERM);
  EXPECT_EQ(server.wait(), 0) << errors();
  EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST_F(OmserverProgramTest, ASecondServerOnTheSameSocketExitsWith1) {
  const std::string socket = path("run/omserver.sock");
  Program first(OMSERVER, {"--no-network", "--group", "root"}, dir_.path(), errFile_);
  ASSERT_EQ(first.line(), "omserver: data in " + path("data")) << errors();
  ASSERT_EQ(first.line(), "omserver: listening on unix:" + socket) << errors();
  const std::string secondErrors = path("stderr2");
  Program second(OMSERVER, {"--no-network", "--group", "root"}, dir_.path(), secondErrors);
  EXPECT_EQ(second.rest(), "");
  EXPECT_EQ(second.wait(), 1);
  std::ifstream in(secondErrors);
  std::string message;
  std::getline(in, message);
  EXPECT_EQ(message, "omserver: another omserver is running on " + socket);
  EXPECT_TRUE(std::filesystem::exists(socket));
  first.signal(SIGINT);
  EXPECT_EQ(first.wait(), 0);
  EXPECT_FALSE(std::filesystem::exists(socket));
}

// A datagram socket where systemd would listen for the service's state.
class NotifySocket {
 public:
  explicit NotifySocket(const std::string& path) : path_(path), fd_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    bound_ = bind(fd_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  bool bound() const { return bound_; }
  // The next message.
  std::string receive() const {
    char text[256];
    const ssize_t n = recv(fd_.get(), text, sizeof text, 0);
    return n > 0 ? std::string(text, static_cast<size_t>(n)) : "";
  }

 private:
  std::string path_;
  om::UniqueFd fd_;
  bool bound_ = false;
};

TEST_F(OmserverProgramTest, ItTellsSystemdWhenItIsReadyAndWhenItStops) {
  const NotifySocket notify(path("notify"));
  ASSERT_TRUE(notify.bound());
  Program server(OMSERVER, {"--no-network", "--group", "root"}, dir_.path(), errFile_, {"NOTIFY_SOCKET=" + path("notify")});
  ASSERT_EQ(server.line(), "omserver: data in " + path("data")) << errors();
  ASSERT_EQ(server.line(), "omserver: listening on unix:" + path("run/omserver.sock")) << errors();
  EXPECT_EQ(notify.receive(), "READY=1");
  server.signal(SIGTERM);
  EXPECT_EQ(notify.receive(), "STOPPING=1");
  EXPECT_EQ(server.wait(), 0) << errors();
}

}  // namespace
