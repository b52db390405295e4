// The daemon's command line: defaults, values at their bounds, and every
// kind of wrong command line refused with a one-line reason.
#include <gtest/gtest.h>

#include "ServerOptions.h"

namespace omserver {
namespace {

bool parse(const std::vector<std::string>& args, ServerOptions* options, std::string* error) {
  return parseServerOptions(args, "/h", options, error);
}

ServerOptions parsed(const std::vector<std::string>& args) {
  ServerOptions options;
  std::string error;
  EXPECT_TRUE(parse(args, &options, &error)) << error;
  return options;
}

std::string refusal(const std::vector<std::string>& args) {
  ServerOptions options;
  std::string error;
  EXPECT_FALSE(parse(args, &options, &error));
  EXPECT_EQ(error.find('\n'), std::string::npos) << error;
  return error;
}

TEST(ServerOptions, DefaultsServeBothEndpointsUnderTheHome) {
  const ServerOptions o = parsed({});
  EXPECT_EQ(o.socketPath, "/h/run/omserver.sock");
  EXPECT_TRUE(o.network);
  EXPECT_EQ(o.address, "");
  EXPECT_TRUE(o.tls);
  EXPECT_EQ(o.port, 5989);
  EXPECT_EQ(o.certFile, "/h/tls/omserver.crt");
  EXPECT_EQ(o.keyFile, "/h/tls/omserver.key");
  EXPECT_TRUE(o.defaultCredentials);
  EXPECT_EQ(o.group, "omadmin");
  EXPECT_EQ(o.pamDir, "");
  EXPECT_EQ(o.maxBody, 4u * 1024 * 1024);
  EXPECT_EQ(o.maxCalls, 64u);
  EXPECT_EQ(o.maxCallsPerClient, 16u);
  EXPECT_EQ(o.timeoutSeconds, 30u);
  EXPECT_EQ(o.authDelayMs, 1000u);
  EXPECT_FALSE(o.check);
  EXPECT_FALSE(o.help);
}

TEST(ServerOptions, PlainHttpDefaultsToItsOwnPortUnlessOneIsGiven) {
  EXPECT_EQ(parsed({"--http"}).port, 5988);
  EXPECT_FALSE(parsed({"--http"}).tls);
  EXPECT_EQ(parsed({"--http", "--port", "0"}).port, 0);
  EXPECT_EQ(parsed({"--port", "0", "--http"}).port, 0);
  EXPECT_EQ(parsed({"--port=8443"}).port, 8443);
}

TEST(ServerOptions, ValuesAreTakenInBothForms) {
  const ServerOptions o =
      parsed({"--socket", "/s", "--address=::1", "--group", "wheel", "--pam-dir=/p", "--max-body", "1", "--max-calls=2",
              "--max-calls-per-client", "3", "--timeout=4", "--auth-delay-ms", "0", "--check"});
  EXPECT_EQ(o.socketPath, "/s");
  EXPECT_EQ(o.address, "::1");
  EXPECT_EQ(o.group, "wheel");
  EXPECT_EQ(o.pamDir, "/p");
  EXPECT_EQ(o.maxBody, 1u);
  EXPECT_EQ(o.maxCalls, 2u);
  EXPECT_EQ(o.maxCallsPerClient, 3u);
  EXPECT_EQ(o.timeoutSeconds, 4u);
  EXPECT_EQ(o.authDelayMs, 0u);
  EXPECT_TRUE(o.check);
}

TEST(ServerOptions, GivenCredentialsAreNotTheDefaultOnes) {
  const ServerOptions o = parsed({"--cert", "/c.pem", "--key", "/k.pem"});
  EXPECT_EQ(o.certFile, "/c.pem");
  EXPECT_EQ(o.keyFile, "/k.pem");
  EXPECT_FALSE(o.defaultCredentials);
}

TEST(ServerOptions, EitherEndpointCanBeLeftOut) {
  EXPECT_EQ(parsed({"--no-socket"}).socketPath, "");
  EXPECT_FALSE(parsed({"--no-network"}).network);
  EXPECT_TRUE(parsed({"--help"}).help);
}

TEST(ServerOptions, NumbersAreCheckedAtTheirBounds) {
  EXPECT_EQ(parsed({"--port", "65535"}).port, 65535);
  EXPECT_NE(refusal({"--port", "65536"}).find("--port"), std::string::npos);
  refusal({"--port", "-1"});
  refusal({"--port", ""});
  refusal({"--port", "80x"});
  refusal({"--port", " 80"});
  refusal({"--max-body", "0"});
  refusal({"--max-calls", "0"});
  refusal({"--max-calls-per-client", "0"});
  refusal({"--timeout", "0"});
  EXPECT_EQ(parsed({"--auth-delay-ms", "60000"}).authDelayMs, 60000u);
  refusal({"--auth-delay-ms", "60001"});
  refusal({"--max-body", "99999999999999999999999"});
}

TEST(ServerOptions, WrongCommandLinesAreRefusedWithTheirReason) {
  EXPECT_EQ(refusal({"--bogus"}), "unknown option --bogus");
  EXPECT_EQ(refusal({"extra"}), "unexpected argument \"extra\"");
  EXPECT_EQ(refusal({"--port"}), "--port needs a value");
  EXPECT_EQ(refusal({"--http=yes"}), "--http takes no value");
  EXPECT_EQ(refusal({"--group", ""}), "--group takes a value that is not empty");
  EXPECT_EQ(refusal({"--cert", "/c"}), "--cert and --key go together");
  EXPECT_EQ(refusal({"--key", "/k"}), "--cert and --key go together");
  EXPECT_NE(refusal({"--http", "--cert", "/c", "--key", "/k"}).find("--http"), std::string::npos);
  EXPECT_NE(refusal({"--no-socket", "--socket", "/s"}).find("contradict"), std::string::npos);
  EXPECT_NE(refusal({"--no-socket", "--no-network"}).find("nothing to serve"), std::string::npos);
}

TEST(ServerOptions, ARefusedCommandLineLeavesTheOptionsAlone) {
  ServerOptions options;
  options.group = "kept";
  std::string error;
  EXPECT_FALSE(parse({"--group", "changed", "--bogus"}, &options, &error));
  EXPECT_EQ(options.group, "kept");
}

}  // namespace
}  // namespace omserver
