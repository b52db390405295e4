#include "ServerTestSupport.h"

#include <crypt.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <strings.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

extern char** environ;

namespace servertest {
namespace {

size_t appendBody(char* data, size_t size, size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

struct Upload {
  const std::string* body;
  size_t sent = 0;
};

size_t readUpload(char* buffer, size_t size, size_t count, void* upload) {
  auto& from = *static_cast<Upload*>(upload);
  const size_t n = std::min(size * count, from.body->size() - from.sent);
  from.body->copy(buffer, n, from.sent);
  from.sent += n;
  return n;
}

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using List = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

void appendAll(List& list, const std::vector<std::string>& items) {
  for (const std::string& item : items) list.reset(curl_slist_append(list.release(), item.c_str()));
}

void setBody(CURL* curl, const Call& call, List& headers, Upload* upload) {
  if (call.method == "GET") {
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
    return;
  }
  if (call.method != "POST") curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, call.method.c_str());
  curl_easy_setopt(curl, CURLOPT_POST, 1L);
  if (call.chunked) {
    appendAll(headers, {"Transfer-Encoding: chunked"});
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, readUpload);
    curl_easy_setopt(curl, CURLOPT_READDATA, upload);
  } else {
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, call.body.data());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(call.body.size()));
  }
}

void collectHeaders(CURL* curl, Reply* reply) {
  for (curl_header* h = nullptr; (h = curl_easy_nextheader(curl, CURLH_HEADER, -1, h)) != nullptr;) {
    reply->headers[h->name] = h->value;
  }
}

std::string cryptPassword(const std::string& password) {
  crypt_data data{};
  return crypt_r(password.c_str(), "$6$omservertest$", &data);
}

}  // namespace

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "omserver-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

Call onSocket(const std::string& socket, const std::string& body) {
  Call call;
  call.url = "http://localhost/cimom";
  call.unixSocket = socket;
  call.body = body;
  return call;
}

Reply perform(const Call& call) {
  Easy curl(curl_easy_init(), curl_easy_cleanup);
  CURL* c = curl.get();
  Reply reply;
  List headers(nullptr, curl_slist_free_all);
  List resolve(nullptr, curl_slist_free_all);
  Upload upload{&call.body};
  appendAll(headers, call.headers);
  appendAll(resolve, call.resolve);
  curl_easy_setopt(c, CURLOPT_URL, call.url.c_str());
  curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(c, CURLOPT_PROXY, "");  // never a proxy from the environment
  setBody(c, call, headers, &upload);
  if (!call.unixSocket.empty()) curl_easy_setopt(c, CURLOPT_UNIX_SOCKET_PATH, call.unixSocket.c_str());
  if (!call.caFile.empty()) curl_easy_setopt(c, CURLOPT_CAINFO, call.caFile.c_str());
  if (!call.userPassword.empty()) {
    curl_easy_setopt(c, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
    curl_easy_setopt(c, CURLOPT_USERPWD, call.userPassword.c_str());
  }
  curl_easy_setopt(c, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(c, CURLOPT_RESOLVE, resolve.get());
  curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, appendBody);
  curl_easy_setopt(c, CURLOPT_WRITEDATA, &reply.body);
  reply.code = curl_easy_perform(c);
  curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &reply.status);
  if (reply.code == CURLE_OK) collectHeaders(c, &reply);
  return reply;
}

omserver::HttpHandler EchoHandler::handler() {
  return [this](const omserver::HttpRequest& request) {
    ++calls_;
    const omserver::Peer& peer = request.peer;
    omserver::HttpReply reply;
    reply.body = "user=" + peer.user + " uid=" + std::to_string(static_cast<int>(peer.uid)) +
                 " local=" + std::to_string(peer.local) + " address=" + peer.address + " url=" + request.url +
                 " body=" + request.body;
    for (const auto& [name, value] : request.headers) {
      if (name.size() > 7 && strncasecmp(name.c_str(), "x-echo-", 7) == 0) {
        reply.headers.emplace_back("Echoed-" + name.substr(7), value);
      }
    }
    return reply;
  };
}

omserver::HttpHandler HoldingHandler::handler() {
  return [this](const omserver::HttpRequest& request) {
    if (request.body != "hold") return omserver::HttpReply{200, "quick", {}};
    std::unique_lock<std::mutex> lock(mutex_);
    ++held_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return released_; });
    --held_;
    return omserver::HttpReply{200, "held", {}};
  };
}

void HoldingHandler::waitHeld(int count) {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [&] { return held_ >= count; });
}

void HoldingHandler::release() {
  std::lock_guard<std::mutex> lock(mutex_);
  released_ = true;
  changed_.notify_all();
}

PamFixture::PamFixture(const std::string& dir) : confDir_(dir + "/pam"), passwordFile_(dir + "/pam/passwords") {
  std::filesystem::create_directories(confDir_);
  std::ofstream(confDir_ + "/omserver") << "auth required pam_pwdfile.so pwdfile=" << passwordFile_ << "\n"
                                        << "account required pam_permit.so\n";
  setPasswords({});
}

void PamFixture::setPasswords(const std::map<std::string, std::string>& passwords) const {
  std::ofstream file(passwordFile_, std::ios::trunc);
  for (const auto& [user, password] : passwords) file << user << ":" << cryptPassword(password) << "\n";
}

std::string groupName(gid_t gid) {
  const group* entry = getgrgid(gid);
  return entry != nullptr ? entry->gr_name : std::to_string(gid);
}

std::string userName(uid_t uid) {
  const passwd* entry = getpwuid(uid);
  return entry != nullptr ? entry->pw_name : std::to_string(uid);
}

// ---- Program ---------------------------------------------------------------

namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> all;
  for (const std::string& text : texts) all.push_back(const_cast<char*>(text.c_str()));
  all.push_back(nullptr);
  return all;
}

}  // namespace

Program::Program(const std::string& binary, const std::vector<std::string>& args, const std::string& home,
                 const std::string& errFile, std::vector<std::string> env) {
  env.push_back("OMLIB_HOME=" + home);
  env.push_back("OMLIB_USER_HOME=" + home);
  for (char** e = environ; *e != nullptr; ++e) {
    if (std::string(*e).rfind("OMLIB_", 0) != 0 && std::string(*e).rfind("NOTIFY_SOCKET=", 0) != 0) {
      env.push_back(*e);
    }
  }
  std::vector<std::string> argv{binary};
  argv.insert(argv.end(), args.begin(), args.end());
  int out[2];
  if (pipe(out) != 0) return;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, out[0]);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const std::vector<char*> rawArgs = pointers(argv);
  const std::vector<char*> rawEnv = pointers(env);
  if (posix_spawn(&pid_, binary.c_str(), &actions, nullptr, rawArgs.data(), rawEnv.data()) != 0) pid_ = -1;
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  out_ = fdopen(out[0], "r");
}

Program::~Program() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    wait();
  }
  if (out_ != nullptr) fclose(out_);
}

std::string Program::line() {
  char* text = nullptr;
  size_t size = 0;
  const ssize_t n = getline(&text, &size, out_);
  std::string result = n > 0 ? std::string(text, static_cast<size_t>(n)) : "";
  free(text);
  if (!result.empty() && result.back() == '\n') result.pop_back();
  return result;
}

std::string Program::rest() {
  std::string all;
  for (std::string l = line(); !l.empty(); l = line()) all += l + "\n";
  return all;
}

void Program::signal(int number) const { kill(pid_, number); }

int Program::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// ---- Daemon ------------------------------------------------------------------

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

Daemon::Daemon(std::string binary, std::string home, std::vector<std::string> extra)
    : binary_(std::move(binary)), home_(std::move(home)), pam_(home_) {
  pam_.setPasswords({{"root", kPassword}});
  args_ = {"--address", "127.0.0.1", "--port", "0", "--group", "root", "--pam-dir", pam_.confDir(),
           "--auth-delay-ms", "0"};
  args_.insert(args_.end(), extra.begin(), extra.end());
  start();
}

void Daemon::start() {
  program_ = std::make_unique<Program>(binary_, args_, home_, home_ + "/omserver.err");
  const std::string data = program_->line();
  const std::string local = program_->line();
  const std::string network = program_->line();
  const std::string prefix = "omserver: listening on https://127.0.0.1:";
  if (network.rfind(prefix, 0) == 0) port_ = network.substr(prefix.size());
  ready_ = data == "omserver: data in " + home_ + "/data" && local == "omserver: listening on unix:" + socket() &&
           !port_.empty();
}

void Daemon::restart() {
  program_.reset();
  start();
}

Reply Daemon::post(const std::string& body, const std::vector<std::string>& headers) const {
  Call call = onSocket(socket(), body);
  call.headers = headers;
  return perform(call);
}

ConsoleRun console(const std::string& binary, const std::string& home, const std::vector<std::string>& args,
                   const std::vector<std::string>& env) {
  ConsoleRun run;
  const std::string errFile = home + "/omconsole.err";
  Program program(binary, args, home, errFile, env);
  run.out = program.rest();
  run.status = program.wait();
  run.err = readFile(errFile);
  return run;
}

}  // namespace servertest
