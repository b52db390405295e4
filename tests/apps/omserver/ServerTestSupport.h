// What the daemon's tests share: a temporary directory, a libcurl client
// for one call, a private PAM configuration that checks passwords against a
// file (pam_pwdfile), and handlers that echo or hold the calls they get.
#ifndef OMLIB_TESTS_APPS_OMSERVER_SERVERTESTSUPPORT_H_
#define OMLIB_TESTS_APPS_OMSERVER_SERVERTESTSUPPORT_H_

#include <curl/curl.h>

#include <signal.h>
#include <sys/types.h>

#include <atomic>
#include <cstdio>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "HttpMessage.h"

namespace servertest {

// A directory made for one test and removed with everything in it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// One call made with libcurl.
struct Call {
  std::string url;
  std::string method = "POST";
  std::string body;
  std::string unixSocket;            // connect to this socket instead
  std::string caFile;                // trust this certificate (HTTPS)
  std::string userPassword;          // "user:password" for HTTP Basic
  std::vector<std::string> headers;  // extra request fields, "Name: value"
  std::vector<std::string> resolve;  // CURLOPT_RESOLVE entries, "host:port:address"
  bool chunked = false;              // send the body without a length
};

// A call of `body` to http://localhost/cimom over the Unix socket `socket`.
Call onSocket(const std::string& socket, const std::string& body);

struct Reply {
  CURLcode code = CURLE_OK;
  long status = 0;
  std::string body;
  std::map<std::string, std::string, omserver::HeaderNameLess> headers;

  // The field's value; empty when it did not come.
  std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found != headers.end() ? found->second : "";
  }
};

Reply perform(const Call& call);

// Counts the calls it answers. Each reply body describes the call as
// "user=U uid=N local=0|1 address=A url=U body=B", and each request field
// "X-Echo-NAME" comes back as the reply field "Echoed-NAME".
class EchoHandler {
 public:
  omserver::HttpHandler handler();
  int calls() const { return calls_; }

 private:
  std::atomic<int> calls_{0};
};

// A handler that holds every call whose body is "hold" until release(),
// and answers the others at once.
class HoldingHandler {
 public:
  omserver::HttpHandler handler();
  // Waits until `count` calls are held.
  void waitHeld(int count);
  void release();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int held_ = 0;
  bool released_ = false;
};

// A private PAM configuration for the service "omserver" in `dir`: logins
// are checked against a password file, accounts are all accepted.
class PamFixture {
 public:
  explicit PamFixture(const std::string& dir);
  const std::string& confDir() const { return confDir_; }
  // Replaces the password file with these users and passwords.
  void setPasswords(const std::map<std::string, std::string>& passwords) const;

 private:
  std::string confDir_;
  std::string passwordFile_;
};

// A started program (omserver, omconsole) with its standard output readable
// line by line; killed, if still running, when it goes.
class Program {
 public:
  // Runs `binary` with `args` and OMLIB_HOME and OMLIB_USER_HOME `home`
  // (the caller's other OMLIB_ variables are not passed on), its errors
  // written to `errFile`; `env`: more variables for it.
  Program(const std::string& binary, const std::vector<std::string>& args, const std::string& home,
          const std::string& errFile, std::vector<std::string> env = {});
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bool started() const { return pid_ > 0; }
  // The next line of standard output without its end; empty at the end.
  std::string line();
  // The rest of standard output.
  std::string rest();
  void signal(int number) const;
  // The exit status; -1 when it did not exit normally.
  int wait();

 private:
  pid_t pid_ = -1;
  FILE* out_ = nullptr;
};

// root's password in the daemons the tests start.
inline constexpr char kPassword[] = "secret";

std::string readFile(const std::string& path);

// An omserver program with its own home, PAM configuration (root's password
// is kPassword, the group is root) and a free port on 127.0.0.1.
class Daemon {
 public:
  // `extra`: more options.
  Daemon(std::string binary, std::string home, std::vector<std::string> extra = {});

  // Starts it again with the same options (after kill()).
  void restart();
  void kill() { program_->signal(SIGKILL); }

  // True when it printed both endpoints.
  bool ready() const { return ready_; }
  std::string socket() const { return home_ + "/run/omserver.sock"; }
  std::string server() const { return "127.0.0.1:" + port_; }
  std::string certificate() const { return home_ + "/tls/omserver.crt"; }
  std::string errors() const { return readFile(home_ + "/omserver.err"); }
  // A call of `body` over the local socket with these request fields.
  Reply post(const std::string& body, const std::vector<std::string>& headers) const;

 private:
  void start();

  const std::string binary_;
  const std::string home_;
  PamFixture pam_;
  std::vector<std::string> args_;
  std::unique_ptr<Program> program_;
  std::string port_;
  bool ready_ = false;
};

// One run of a program (omconsole) to its end.
struct ConsoleRun {
  int status = -1;
  std::string out;
  std::string err;
};
ConsoleRun console(const std::string& binary, const std::string& home, const std::vector<std::string>& args,
                   const std::vector<std::string>& env = {});

// The name of the group with that id.
std::string groupName(gid_t gid);
std::string userName(uid_t uid);

}  // namespace servertest

#endif  // OMLIB_TESTS_APPS_OMSERVER_SERVERTESTSUPPORT_H_
