// The local endpoint: the socket file (mode, group, a stale one replaced, a
// live one or another file left alone, removed at stop) and the identity of
// its peers.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <mutex>

#include "HttpServer.h"
#include "ServerTestSupport.h"

namespace omserver {
namespace {

using servertest::Call;
using servertest::EchoHandler;
using servertest::Reply;
using servertest::TempDir;

struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

bool exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

class HttpLocalTest : public ::testing::Test {
 protected:
  // A server whose group is this process's own, which it may give its
  // socket without being root.
  std::unique_ptr<HttpServer> server(const std::string& group = servertest::groupName(getegid())) {
    access_ = std::make_unique<PamAuthenticator>(PamAuthenticator::Settings{group, "", std::chrono::seconds(60)});
    return std::make_unique<HttpServer>(echo_.handler(), *access_, HttpLimits{}, [this](const std::string& line) {
      std::lock_guard<std::mutex> lock(logMutex_);
      log_ += line + "\n";
    });
  }
  Reply post(const std::string& body) const { return servertest::perform(servertest::onSocket(socket_, body)); }
  std::string log() {
    std::lock_guard<std::mutex> lock(logMutex_);
    return log_;
  }

  TempDir dir_;
  const std::string socket_ = dir_.path() + "/run/omserver.sock";
  EchoHandler echo_;
  std::unique_ptr<PamAuthenticator> access_;
  std::mutex logMutex_;
  std::string log_;
};

TEST_F(HttpLocalTest, TheSocketIsMadeForTheOwnerAndTheGroupOnly) {
  auto http = server();
  ASSERT_EQ(http->listenUnix(socket_), "");
  const struct stat file = statusOf(socket_);
  EXPECT_TRUE(S_ISSOCK(file.st_mode));
  EXPECT_EQ(file.st_mode & 07777, 0660u);
  EXPECT_EQ(file.st_gid, getegid());
  EXPECT_EQ(statusOf(dir_.path() + "/run").st_mode & 07777, 0755u);
  EXPECT_EQ(http->endpoints(), std::vector<std::string>{"unix:" + socket_});
  EXPECT_EQ(http->tcpPort(), 0);
  EXPECT_EQ(log(), "");
}

TEST_F(HttpLocalTest, ThePeerIsTheUserOfTheConnectingProcess) {
  auto http = server();
  ASSERT_EQ(http->listenUnix(socket_), "");
  const Reply reply = post("<CIM/>");
  ASSERT_EQ(reply.code, CURLE_OK) << curl_easy_strerror(reply.code);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "user=" + servertest::userName(geteuid()) + " uid=" + std::to_string(geteuid()) +
                            " local=1 address=unix url=/cimom body=<CIM/>");
  EXPECT_EQ(echo_.calls(), 1);
}

TEST_F(HttpLocalTest, AStaleSocketIsReplaced) {
  std::filesystem::create_directories(dir_.path() + "/run");
  {
    // Bound, then closed without removing the file: what a crash leaves.
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket_.copy(address.sun_path, socket_.size());
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(fd);
  }
  const ino_t stale = statusOf(socket_).st_ino;
  auto http = server();
  ASSERT_EQ(http->listenUnix(socket_), "");
  EXPECT_NE(statusOf(socket_).st_ino, stale);
  EXPECT_EQ(post("x").status, 200);
}

TEST_F(HttpLocalTest, ALiveSocketIsNotTaken) {
  auto first = server();
  ASSERT_EQ(first->listenUnix(socket_), "");
  const ino_t live = statusOf(socket_).st_ino;
  EchoHandler other;
  PamAuthenticator access({"root", "", std::chrono::seconds(60)});
  HttpServer second(other.handler(), access, HttpLimits{});
  EXPECT_EQ(second.listenUnix(socket_), "another omserver is running on " + socket_);
  second.stop(std::chrono::milliseconds(0));
  EXPECT_EQ(statusOf(socket_).st_ino, live);  // the second server's stop removes nothing
  EXPECT_EQ(post("x").status, 200);
  EXPECT_EQ(echo_.calls(), 1);
  EXPECT_EQ(other.calls(), 0);
}

TEST_F(HttpLocalTest, AFileThatIsNoSocketIsLeftAlone) {
  std::filesystem::create_directories(dir_.path() + "/run");
  std::ofstream(socket_) << "data";
  auto http = server();
  EXPECT_EQ(http->listenUnix(socket_), socket_ + " exists and is not a socket");
  std::ifstream in(socket_);
  std::string content;
  in >> content;
  EXPECT_EQ(content, "data");
}

TEST_F(HttpLocalTest, TooLongAPathIsRefused) {
  auto http = server();
  const std::string path = dir_.path() + "/" + std::string(120, 's');
  EXPECT_NE(http->listenUnix(path).find("too long"), std::string::npos);
  EXPECT_FALSE(exists(path));
}

TEST_F(HttpLocalTest, StoppingRemovesTheSocketAndRefusesConnections) {
  auto http = server();
  ASSERT_EQ(http->listenUnix(socket_), "");
  ASSERT_EQ(post("x").status, 200);
  EXPECT_TRUE(http->stop(std::chrono::seconds(10)));
  EXPECT_FALSE(exists(socket_));
  EXPECT_EQ(post("x").code, CURLE_COULDNT_CONNECT);
  EXPECT_EQ(echo_.calls(), 1);
}

TEST_F(HttpLocalTest, StoppingLeavesASocketFileThatIsNoLongerItsOwn) {
  auto http = server();
  ASSERT_EQ(http->listenUnix(socket_), "");
  ASSERT_EQ(unlink(socket_.c_str()), 0);
  std::ofstream(socket_) << "another's";
  EXPECT_TRUE(http->stop(std::chrono::seconds(10)));
  EXPECT_TRUE(exists(socket_));
}

// Runs curl as `uid` with `gid` as its only group, posting to `socket`;
// the HTTP status it printed.
std::string postAs(uid_t uid, gid_t gid, const std::string& socket) {
  int out[2];
  if (pipe(out) != 0) return "";
  const pid_t child = fork();
  if (child == 0) {
    dup2(out[1], STDOUT_FILENO);
    if (setgroups(1, &gid) != 0 || setgid(gid) != 0 || setuid(uid) != 0) _exit(126);
    execl("/usr/bin/curl", "curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "--noproxy", "*", "--unix-socket",
          socket.c_str(), "-d", "x", "http://localhost/", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(out[1]);
  std::string printed;
  char buffer[64];
  for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) > 0;) printed.append(buffer, static_cast<size_t>(n));
  close(out[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return printed;
}

TEST_F(HttpLocalTest, APeerOutsideTheGroupIsForbidden) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to connect as another user";
  if (access("/usr/bin/curl", X_OK) != 0) GTEST_SKIP() << "needs the curl program";
  auto http = server("root");
  ASSERT_EQ(http->listenUnix(socket_), "");
  chmod(dir_.path().c_str(), 0711);
  // In the socket's group, so the file lets it connect; but "nobody" is no
  // member of "root" in the group database, which is what the server asks.
  EXPECT_EQ(postAs(65534, 0, socket_), "403");
  EXPECT_EQ(echo_.calls(), 0);
  EXPECT_NE(log().find("unix user \"nobody\": 403, not in group root"), std::string::npos) << log();
  EXPECT_EQ(postAs(0, 0, socket_), "200");
  EXPECT_EQ(echo_.calls(), 1);
}

}  // namespace
}  // namespace omserver
