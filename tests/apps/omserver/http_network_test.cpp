// The network endpoint: TLS with the generated certificate as the client's
// only trust, logins with HTTP Basic through PAM, refusals and their log
// lines, the body cap, and what reaches the handler.
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>

#include "HttpServer.h"
#include "ServerTestSupport.h"

namespace omserver {
namespace {

using namespace std::chrono_literals;
using servertest::Call;
using servertest::EchoHandler;
using servertest::PamFixture;
using servertest::Reply;
using servertest::TempDir;

class HttpNetworkTest : public ::testing::Test {
 protected:
  HttpNetworkTest() {
    pam_.setPasswords({{"daemon", "secret"}, {"nobody", "secret"}});
    EXPECT_EQ(createTlsCredentials(certFile_, dir_.path() + "/tls/omserver.key", "omtest.example"), "");
    EXPECT_EQ(loadTlsCredentials(certFile_, dir_.path() + "/tls/omserver.key", &tls_), "");
  }

  // Serves HTTPS (or plain HTTP) on a free port of 127.0.0.1 with `limits`.
  void start(HttpLimits limits = quickLimits(), bool tls = true, HttpHandler handler = {}) {
    http_ = std::make_unique<HttpServer>(handler ? handler : echo_.handler(), access_, limits,
                                         [this](const std::string& line) {
                                           std::lock_guard<std::mutex> lock(logMutex_);
                                           log_ += line + "\n";
                                         });
    ASSERT_EQ(http_->listenTcp("127.0.0.1", 0, tls ? &tls_ : nullptr), "");
    ASSERT_NE(http_->tcpPort(), 0);
    url_ = (tls ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(http_->tcpPort()) + "/cimom";
  }
  static HttpLimits quickLimits() {
    HttpLimits limits;
    limits.authDelay = 0ms;
    return limits;
  }
  // A trusting call as `user`.
  Call as(const std::string& userPassword, const std::string& body = "") const {
    Call call;
    call.url = url_;
    call.body = body;
    call.caFile = certFile_;
    call.userPassword = userPassword;
    return call;
  }
  std::string log() {
    std::lock_guard<std::mutex> lock(logMutex_);
    return log_;
  }

  TempDir dir_;
  PamFixture pam_{dir_.path()};
  const std::string certFile_ = dir_.path() + "/tls/omserver.crt";
  TlsCredentials tls_;
  PamAuthenticator access_{{"daemon", pam_.confDir(), 60s}};
  EchoHandler echo_;
  std::unique_ptr<HttpServer> http_;
  std::string url_;
  std::mutex logMutex_;
  std::string log_;
};

TEST_F(HttpNetworkTest, ATrustedCertificateServesByAddressAndByName) {
  start();
  EXPECT_EQ(http_->endpoints(), std::vector<std::string>{"https://127.0.0.1:" + std::to_string(http_->tcpPort())});
  const Reply byAddress = servertest::perform(as("daemon:secret", "<a/>"));
  ASSERT_EQ(byAddress.code, CURLE_OK) << curl_easy_strerror(byAddress.code);
  EXPECT_EQ(byAddress.status, 200);
  EXPECT_EQ(byAddress.body, "user=daemon uid=-1 local=0 address=127.0.0.1 url=/cimom body=<a/>");
  Call byName = as("daemon:secret");
  byName.url = "https://localhost:" + std::to_string(http_->tcpPort()) + "/";
  byName.resolve = {"localhost:" + std::to_string(http_->tcpPort()) + ":127.0.0.1"};
  const Reply named = servertest::perform(byName);
  ASSERT_EQ(named.code, CURLE_OK) << curl_easy_strerror(named.code);
  EXPECT_EQ(named.status, 200);
  EXPECT_EQ(echo_.calls(), 2);
}

TEST_F(HttpNetworkTest, TheIpv6LoopbackIsNamedToo) {
  http_ = std::make_unique<HttpServer>(echo_.handler(), access_, quickLimits());
  if (!http_->listenTcp("::1", 0, &tls_).empty()) GTEST_SKIP() << "no IPv6 loopback here";
  EXPECT_EQ(http_->endpoints(), std::vector<std::string>{"https://[::1]:" + std::to_string(http_->tcpPort())});
  Call call = as("daemon:secret");
  call.url = "https://[::1]:" + std::to_string(http_->tcpPort()) + "/";
  const Reply reply = servertest::perform(call);
  ASSERT_EQ(reply.code, CURLE_OK) << curl_easy_strerror(reply.code);
  EXPECT_NE(reply.body.find("address=::1 "), std::string::npos) << reply.body;
}

TEST_F(HttpNetworkTest, AClientThatDoesNotTrustTheCertificateGetsNothingThrough) {
  start();
  ASSERT_EQ(createTlsCredentials(dir_.path() + "/other.crt", dir_.path() + "/other.key", "omtest.example"), "");
  Call untrusted = as("daemon:secret", "x");
  untrusted.caFile = dir_.path() + "/other.crt";
  EXPECT_EQ(servertest::perform(untrusted).code, CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(echo_.calls(), 0);
}

TEST_F(HttpNetworkTest, ANameTheCertificateDoesNotCarryFailsVerification) {
  start();
  Call misnamed = as("daemon:secret", "x");
  misnamed.url = "https://elsewhere.example:" + std::to_string(http_->tcpPort()) + "/";
  misnamed.resolve = {"elsewhere.example:" + std::to_string(http_->tcpPort()) + ":127.0.0.1"};
  EXPECT_EQ(servertest::perform(misnamed).code, CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(echo_.calls(), 0);
}

TEST_F(HttpNetworkTest, PlainHttpToTheTlsPortIsRefused) {
  start();
  Call plain = as("daemon:secret", "x");
  plain.url = "http://127.0.0.1:" + std::to_string(http_->tcpPort()) + "/";
  const Reply reply = servertest::perform(plain);
  EXPECT_NE(reply.code, CURLE_OK);
  EXPECT_EQ(reply.status, 0);
  EXPECT_EQ(echo_.calls(), 0);
}

TEST_F(HttpNetworkTest, PlainHttpIsServedWhenAskedFor) {
  start(quickLimits(), false);
  EXPECT_EQ(http_->endpoints(), std::vector<std::string>{"http://127.0.0.1:" + std::to_string(http_->tcpPort())});
  const Reply reply = servertest::perform(as("daemon:secret", "plain"));
  ASSERT_EQ(reply.code, CURLE_OK);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(servertest::perform(as("daemon:wrong")).status, 401);
}

TEST_F(HttpNetworkTest, NoCredentialsOrAWrongPasswordIsUnauthorized) {
  start();
  for (const std::string& credentials :
       {std::string(), std::string("daemon:wrong"), std::string("bob:secret"), std::string("daemon:")}) {
    const Reply reply = servertest::perform(as(credentials, "x"));
    ASSERT_EQ(reply.code, CURLE_OK) << credentials;
    EXPECT_EQ(reply.status, 401) << credentials;
    EXPECT_EQ(reply.header("WWW-Authenticate"), "Basic realm=\"omserver\"") << credentials;
  }
  EXPECT_EQ(echo_.calls(), 0);
  const std::string lines = log();
  EXPECT_NE(lines.find(" 127.0.0.1 user \"\": 401, no credentials\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find(" 127.0.0.1 user \"daemon\": 401, Authentication failure\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find(" 127.0.0.1 user \"bob\": 401, "), std::string::npos) << lines;
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 4);
}

TEST_F(HttpNetworkTest, TheLogLineStartsWithTheTimeInUtc) {
  start();
  servertest::perform(as("", "x"));
  const std::string line = log();
  ASSERT_GE(line.size(), 21u) << line;
  // 2025-05-20T10:00:00Z
  EXPECT_EQ(line[4], '-');
  EXPECT_EQ(line[10], 'T');
  EXPECT_EQ(line[19], 'Z');
  EXPECT_EQ(line[20], ' ');
}

TEST_F(HttpNetworkTest, ARefusedLoginWaitsTheConfiguredDelay) {
  HttpLimits limits;
  limits.authDelay = 300ms;
  start(limits);
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(servertest::perform(as("daemon:wrong")).status, 401);
  EXPECT_GE(std::chrono::steady_clock::now() - before, 300ms);
}

TEST_F(HttpNetworkTest, AUserOutsideTheGroupIsForbidden) {
  start();
  const Reply reply = servertest::perform(as("nobody:secret", "x"));
  EXPECT_EQ(reply.status, 403);
  EXPECT_EQ(reply.headers.count("WWW-Authenticate"), 0u);
  EXPECT_EQ(echo_.calls(), 0);
  EXPECT_NE(log().find(" 127.0.0.1 user \"nobody\": 403, not in group daemon\n"), std::string::npos) << log();
}

TEST_F(HttpNetworkTest, AnAllowedLoginIsRememberedBetweenCalls) {
  start();
  ASSERT_EQ(servertest::perform(as("daemon:secret")).status, 200);
  pam_.setPasswords({});
  EXPECT_EQ(servertest::perform(as("daemon:secret")).status, 200);
  EXPECT_EQ(servertest::perform(as("nobody:secret")).status, 401);
  EXPECT_EQ(echo_.calls(), 2);
}

TEST_F(HttpNetworkTest, OnlyPostIsServed) {
  start();
  for (const std::string method : {"GET", "PUT", "DELETE", "M-POST"}) {
    Call call = as("daemon:secret");
    call.method = method;
    const Reply reply = servertest::perform(call);
    EXPECT_EQ(reply.status, 405) << method;
    EXPECT_EQ(reply.header("Allow"), "POST") << method;
  }
  EXPECT_EQ(echo_.calls(), 0);
}

TEST_F(HttpNetworkTest, ABodyOverTheCapIsRefusedBeforeTheHandler) {
  HttpLimits limits = quickLimits();
  limits.maxBody = 1000;
  start(limits);
  const std::string fits(1000, 'a');
  const std::string over(1001, 'a');
  for (const bool chunked : {false, true}) {
    Call call = as("daemon:secret", fits);
    call.chunked = chunked;
    const Reply accepted = servertest::perform(call);
    EXPECT_EQ(accepted.status, 200) << chunked;
    EXPECT_NE(accepted.body.find("body=" + fits), std::string::npos);
    call.body = over;
    EXPECT_EQ(servertest::perform(call).status, 413) << chunked;
  }
  Call huge = as("daemon:secret", std::string(4 << 20, 'b'));
  EXPECT_EQ(servertest::perform(huge).status, 413);
  EXPECT_EQ(echo_.calls(), 2);
}

TEST_F(HttpNetworkTest, HeadersReachTheHandlerAndItsReplyFieldsTheClient) {
  start();
  Call call = as("daemon:secret", "x");
  call.headers = {"X-Echo-CIMOperation: MethodCall", "x-echo-cimoperation: again", "X-Echo-CIMObject: root/x"};
  const Reply reply = servertest::perform(call);
  ASSERT_EQ(reply.status, 200);
  EXPECT_EQ(reply.header("Echoed-CIMOperation"), "MethodCall, again");
  EXPECT_EQ(reply.header("echoed-cimobject"), "root/x");
}

TEST_F(HttpNetworkTest, AFailingHandlerAnswers500) {
  start(quickLimits(), true, [](const HttpRequest&) -> HttpReply { throw std::runtime_error("broken\nline"); });
  EXPECT_EQ(servertest::perform(as("daemon:secret")).status, 500);
  EXPECT_NE(log().find("user \"daemon\": the handler failed: broken?line\n"), std::string::npos) << log();
}

TEST_F(HttpNetworkTest, AHandlerThrowingAnythingAnswers500) {
  start(quickLimits(), true, [](const HttpRequest&) -> HttpReply { throw 42; });
  EXPECT_EQ(servertest::perform(as("daemon:secret")).status, 500);
  EXPECT_EQ(servertest::perform(as("daemon:secret")).status, 500);  // the server lives on
  EXPECT_NE(log().find("the handler failed: an exception that is no std::exception\n"), std::string::npos) << log();
}

TEST_F(HttpNetworkTest, TheHandlersStatusAndBodyArePassedThrough) {
  start(quickLimits(), true, [](const HttpRequest& request) {
    return HttpReply{207, "<reply to=\"" + request.body + "\"/>", {{"Content-Type", "application/xml"}}};
  });
  const Reply reply = servertest::perform(as("daemon:secret", "q"));
  EXPECT_EQ(reply.status, 207);
  EXPECT_EQ(reply.body, "<reply to=\"q\"/>");
  EXPECT_EQ(reply.header("content-type"), "application/xml");
}

TEST_F(HttpNetworkTest, ControlCharactersInAUserNameDoNotBreakTheLogLine) {
  start();
  servertest::perform(as("evil\r\nforged:pw"));
  const std::string lines = log();
  EXPECT_NE(lines.find("user \"evil??forged\": 401"), std::string::npos) << lines;
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1);
}

}  // namespace
}  // namespace omserver
