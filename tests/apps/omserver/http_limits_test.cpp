// The caps both endpoints share (calls in progress in total and per
// client), the time-out of a silent connection, and stopping with calls in
// progress.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <thread>

#include <om/UniqueFd.h>

#include "HttpServer.h"
#include "ServerTestSupport.h"

namespace omserver {
namespace {

using namespace std::chrono_literals;
using servertest::Call;
using servertest::HoldingHandler;
using servertest::PamFixture;
using servertest::Reply;
using servertest::TempDir;

class HttpLimitsTest : public ::testing::Test {
 protected:
  HttpLimitsTest() { pam_.setPasswords({{"daemon", "secret"}}); }

  // Serves the local socket and plain HTTP on 127.0.0.1.
  void start(unsigned maxCalls, unsigned maxCallsPerClient, unsigned timeoutSeconds = 30) {
    HttpLimits limits;
    limits.maxCalls = maxCalls;
    limits.maxCallsPerClient = maxCallsPerClient;
    limits.timeoutSeconds = timeoutSeconds;
    limits.authDelay = 0ms;
    http_ = std::make_unique<HttpServer>(holding_.handler(), access_, limits, [](const std::string&) {});
    ASSERT_EQ(http_->listenUnix(socket_), "");
    ASSERT_EQ(http_->listenTcp("127.0.0.1", 0, nullptr), "");
  }
  Reply local(const std::string& body) const { return servertest::perform(servertest::onSocket(socket_, body)); }
  Reply remote(const std::string& body) const {
    Call call;
    call.url = "http://127.0.0.1:" + std::to_string(http_->tcpPort()) + "/";
    call.body = body;
    call.userPassword = "daemon:secret";
    return servertest::perform(call);
  }

  TempDir dir_;
  PamFixture pam_{dir_.path()};
  PamAuthenticator access_{{"daemon", pam_.confDir(), 60s}};
  const std::string socket_ = dir_.path() + "/omserver.sock";
  HoldingHandler holding_;
  std::unique_ptr<HttpServer> http_;
};

TEST_F(HttpLimitsTest, TheTotalCapTurnsCallsAwayUntilOneEnds) {
  start(1, 5);
  Reply held;
  std::thread holder([&] { held = local("hold"); });
  holding_.waitHeld(1);
  const Reply busy = local("x");
  EXPECT_EQ(busy.status, 503);
  EXPECT_EQ(busy.header("Retry-After"), "1");
  EXPECT_EQ(remote("x").status, 503);
  holding_.release();
  holder.join();
  EXPECT_EQ(held.status, 200);
  EXPECT_EQ(held.body, "held");
  EXPECT_EQ(local("x").body, "quick");
}

TEST_F(HttpLimitsTest, EachClientHasItsOwnCap) {
  start(5, 1);
  Reply held;
  std::thread holder([&] { held = local("hold"); });
  holding_.waitHeld(1);
  EXPECT_EQ(local("x").status, 503);
  const Reply other = remote("x");  // another user
  EXPECT_EQ(other.status, 200);
  EXPECT_EQ(other.body, "quick");
  holding_.release();
  holder.join();
  EXPECT_EQ(held.status, 200);
}

TEST_F(HttpLimitsTest, StoppingClosesTheDoorButLetsCallsInProgressFinish) {
  start(5, 5);
  Reply held;
  std::thread holder([&] { held = local("hold"); });
  holding_.waitHeld(1);
  EXPECT_FALSE(http_->stop(0ms));  // the call is still in progress
  EXPECT_EQ(access(socket_.c_str(), F_OK), -1);
  EXPECT_EQ(remote("x").code, CURLE_COULDNT_CONNECT);
  holding_.release();
  holder.join();
  EXPECT_EQ(held.status, 200);
  EXPECT_EQ(held.body, "held");
  EXPECT_TRUE(http_->stop(10s));
}

TEST_F(HttpLimitsTest, ASilentConnectionIsClosedAfterTheTimeout) {
  start(5, 5, 1);
  const om::UniqueFd fd(socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(http_->tcpPort());
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  const std::string partial = "POST / HTTP/1.1\r\nHost: localhost\r\n";
  ASSERT_EQ(send(fd.get(), partial.data(), partial.size(), 0), static_cast<ssize_t>(partial.size()));
  char byte;
  EXPECT_LE(recv(fd.get(), &byte, 1, 0), 0);  // the server hung up without an answer
}

}  // namespace
}  // namespace omserver
