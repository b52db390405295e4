#include "server/snmp/SnmpEngine.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "server/snmp/NetSnmp.h"
#include "server/snmp/SnmpText.h"

namespace om::snmp {
namespace {

// Sessions without a request for this long are closed.
constexpr auto kIdleSession = std::chrono::seconds(60);

int pduCommand(PduType type) {
  switch (type) {
    case PduType::kGetNext: return SNMP_MSG_GETNEXT;
    case PduType::kGetBulk: return SNMP_MSG_GETBULK;
    case PduType::kSet: return SNMP_MSG_SET;
    default: return SNMP_MSG_GET;
  }
}

std::string peerName(const Target& target) {
  const std::string port = std::to_string(target.port);
  if (target.host.find(':') != std::string::npos) return "udp6:[" + target.host + "]:" + port;
  return "udp:" + target.host + ":" + port;
}

Response failure(Status status, std::string message) {
  Response response;
  response.status = status;
  response.message = std::move(message);
  return response;
}

}  // namespace

class SnmpEngine::Loop {
 public:
  Loop() : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    initSnmpLibrary();
    thread_ = std::thread([this] { run(); });
  }

  ~Loop() {
    post(nullptr);  // the stop mark
    thread_.join();
    for (auto& session : sessions_) closeSession(*session);
    close(wake_);
  }

  // Runs `task` on the loop's thread; null stops the loop.
  void post(std::function<void()> task) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t n = write(wake_, &one, sizeof one);
  }

  bool onLoopThread() const { return std::this_thread::get_id() == thread_.get_id(); }

  void start(const Target& target, const Request& request, Callback done);

  void watch(int fd, std::function<void()> ready) { watched_[fd] = std::move(ready); }
  void unwatch(int fd) { watched_.erase(fd); }

  std::atomic<size_t> inFlight{0};

 private:
  struct Session;
  // A request sent and not yet ended.
  struct Pending {
    Callback done;
    Session* session;
    Loop* loop;
  };
  struct Session {
    Target target;
    void* handle = nullptr;
    std::set<Pending*> pending;
    std::chrono::steady_clock::time_point lastUsed;
  };

  static int onResponse(int op, netsnmp_session*, int, netsnmp_pdu* pdu, void* magic);
  void run();
  bool runTasks();
  Session* sessionFor(const Target& target, std::string& error);
  void closeSession(Session& session);
  void closeIdleSessions();

  const int wake_;
  std::thread thread_;
  std::mutex mutex_;
  std::vector<std::function<void()>> tasks_;
  // Touched only on the loop's thread.
  std::vector<std::unique_ptr<Session>> sessions_;
  std::map<int, std::function<void()>> watched_;
};

void SnmpEngine::Loop::start(const Target& target, const Request& request, Callback done) {
  std::string error;
  Session* session = sessionFor(target, error);
  if (session == nullptr) return done(failure(Status::kSendFailed, error));
  if (request.type == PduType::kGetBulk && target.version == Version::kV1) {
    return done(failure(Status::kSendFailed, "GETBULK needs SNMPv2c"));
  }
  netsnmp_pdu* pdu = snmp_pdu_create(pduCommand(request.type));
  if (request.type == PduType::kGetBulk) {
    pdu->non_repeaters = request.nonRepeaters;
    pdu->max_repetitions = request.maxRepetitions;
  }
  for (const Varbind& varbind : request.varbinds) {
    if (request.type == PduType::kSet) {
      addVarbind(pdu, varbind);
    } else {
      const std::vector<oid> name(varbind.oid.begin(), varbind.oid.end());
      snmp_add_null_var(pdu, name.data(), name.size());
    }
  }
  auto* pending = new Pending{std::move(done), session, this};
  if (snmp_sess_async_send(session->handle, pdu, &Loop::onResponse, pending) == 0) {
    snmp_free_pdu(pdu);
    char* text = nullptr;
    int libError = 0, sysError = 0;
    snmp_sess_error(session->handle, &libError, &sysError, &text);
    error = text != nullptr ? text : "send failed";
    std::free(text);
    Callback callback = std::move(pending->done);
    delete pending;
    return callback(failure(Status::kSendFailed, error));
  }
  session->pending.insert(pending);
  session->lastUsed = std::chrono::steady_clock::now();
  ++inFlight;
}

int SnmpEngine::Loop::onResponse(int op, netsnmp_session*, int, netsnmp_pdu* pdu, void* magic) {
  auto* pending = static_cast<Pending*>(magic);
  Response response;
  if (op == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE && pdu != nullptr) {
    for (const netsnmp_variable_list* v = pdu->variables; v != nullptr; v = v->next_variable) {
      response.varbinds.push_back(fromVariable(*v));
    }
    if (pdu->errstat != SNMP_ERR_NOERROR) {
      response.status = Status::kAgentError;
      response.errorStatus = pdu->errstat;
      response.errorIndex = pdu->errindex;
      response.message = "SNMP error " + errorStatusName(pdu->errstat) + " at variable " + std::to_string(pdu->errindex);
    }
  } else if (op == NETSNMP_CALLBACK_OP_TIMED_OUT) {
    response = failure(Status::kTimeout, "no answer from " + pending->session->target.host);
  } else if (op == NETSNMP_CALLBACK_OP_SEND_FAILED) {
    response = failure(Status::kSendFailed, "cannot send to " + pending->session->target.host);
  } else {
    return 1;  // a resend or a connection event: the request goes on
  }
  pending->session->pending.erase(pending);
  --pending->loop->inFlight;
  Callback done = std::move(pending->done);
  delete pending;
  done(std::move(response));
  return 1;
}

SnmpEngine::Loop::Session* SnmpEngine::Loop::sessionFor(const Target& target, std::string& error) {
  for (auto& session : sessions_) {
    if (session->target == target) return session.get();
  }
  netsnmp_session config;
  snmp_sess_init(&config);
  config.version = target.version == Version::kV1 ? SNMP_VERSION_1 : SNMP_VERSION_2c;
  std::string peer = peerName(target);
  std::string community = target.community;
  config.peername = peer.data();
  config.community = reinterpret_cast<u_char*>(community.data());
  config.community_len = community.size();
  config.timeout = static_cast<long>(target.timeoutMs) * 1000L;
  config.retries = target.retries;
  void* handle = snmp_sess_open(&config);
  if (handle == nullptr) {
    char* text = nullptr;
    int libError = 0, sysError = 0;
    snmp_error(&config, &libError, &sysError, &text);
    error = "cannot open a session to " + target.host + ": " + (text != nullptr ? text : "unknown error");
    std::free(text);
    return nullptr;
  }
  auto session = std::make_unique<Session>();
  session->target = target;
  session->handle = handle;
  session->lastUsed = std::chrono::steady_clock::now();
  sessions_.push_back(std::move(session));
  return sessions_.back().get();
}

void SnmpEngine::Loop::closeSession(Session& session) {
  // net-snmp drops the requests of a closed session without a word.
  for (Pending* pending : session.pending) {
    --inFlight;
    pending->done(failure(Status::kCancelled, "the SNMP engine stopped"));
    delete pending;
  }
  session.pending.clear();
  snmp_sess_close(session.handle);
}

void SnmpEngine::Loop::closeIdleSessions() {
  const auto now = std::chrono::steady_clock::now();
  for (auto it = sessions_.begin(); it != sessions_.end();) {
    if ((*it)->pending.empty() && now - (*it)->lastUsed > kIdleSession) {
      closeSession(**it);
      it = sessions_.erase(it);
    } else {
      ++it;
    }
  }
}

bool SnmpEngine::Loop::runTasks() {
  std::vector<std::function<void()>> tasks;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks.swap(tasks_);
  }
  for (auto& task : tasks) {
    if (!task) return false;
    task();
  }
  return true;
}

void SnmpEngine::Loop::run() {
  netsnmp_large_fd_set fds;
  netsnmp_large_fd_set_init(&fds, FD_SETSIZE);
  while (runTasks()) {
    NETSNMP_LARGE_FD_ZERO(&fds);
    int count = wake_ + 1;
    NETSNMP_LARGE_FD_SET(wake_, &fds);
    for (const auto& [fd, ready] : watched_) {
      NETSNMP_LARGE_FD_SET(fd, &fds);
      count = std::max(count, fd + 1);
    }
    timeval timeout{1, 0};
    int block = 0;
    for (auto& session : sessions_) snmp_sess_select_info2(session->handle, &count, &fds, &timeout, &block);
    const int ready = netsnmp_large_fd_set_select(count, &fds, nullptr, nullptr, &timeout);
    if (ready < 0 && errno != EINTR) continue;
    if (ready > 0) {
      for (auto& session : sessions_) snmp_sess_read2(session->handle, &fds);
      std::vector<std::function<void()>*> handlers;
      for (auto& [fd, handler] : watched_) {
        if (NETSNMP_LARGE_FD_ISSET(fd, &fds)) handlers.push_back(&handler);
      }
      for (auto* handler : handlers) (*handler)();
      if (NETSNMP_LARGE_FD_ISSET(wake_, &fds)) {
        uint64_t count64 = 0;
        [[maybe_unused]] const ssize_t n = read(wake_, &count64, sizeof count64);
      }
    }
    for (auto& session : sessions_) snmp_sess_timeout(session->handle);
    closeIdleSessions();
  }
  netsnmp_large_fd_set_cleanup(&fds);
}

SnmpEngine::SnmpEngine() : loop_(std::make_unique<Loop>()) {}

SnmpEngine::~SnmpEngine() = default;

void SnmpEngine::send(const Target& target, Request request, Callback done) {
  Loop* loop = loop_.get();
  loop->post([loop, target, request = std::move(request), done = std::move(done)]() mutable {
    loop->start(target, request, std::move(done));
  });
}

Response SnmpEngine::call(const Target& target, Request request) {
  std::promise<Response> promise;
  std::future<Response> future = promise.get_future();
  send(target, std::move(request), [&promise](Response response) { promise.set_value(std::move(response)); });
  return future.get();
}

namespace {

// A walk under way: where it stands and whom it tells.
struct WalkState {
  SnmpEngine* engine;
  Target target;
  Oid root;
  Oid next;
  int bulkSize;
  SnmpEngine::WalkStep step;
  SnmpEngine::Callback done;
};

void continueWalk(const std::shared_ptr<WalkState>& state);

void onWalkResponse(const std::shared_ptr<WalkState>& state, Response response) {
  if (response.status == Status::kAgentError && state->target.version == Version::kV1 &&
      response.errorStatus == SNMP_ERR_NOSUCHNAME) {
    return state->done(Response());  // the end of an SNMPv1 agent's MIB
  }
  if (response.status != Status::kOk) return state->done(std::move(response));
  for (const Varbind& varbind : response.varbinds) {
    if (varbind.isException() || !inSubtree(state->root, varbind.oid)) return state->done(Response());
    if (!(state->next < varbind.oid)) {
      return state->done(failure(Status::kAgentError, "the agent answered " + oidText(varbind.oid) +
                                                          " after " + oidText(state->next) + ": OID not increasing"));
    }
    state->next = varbind.oid;
    if (!state->step(varbind)) return state->done(Response());
  }
  if (response.varbinds.empty()) return state->done(Response());
  continueWalk(state);
}

void continueWalk(const std::shared_ptr<WalkState>& state) {
  Request request;
  request.type = state->target.version == Version::kV1 ? PduType::kGetNext : PduType::kGetBulk;
  request.maxRepetitions = state->bulkSize;
  Varbind next;
  next.oid = state->next;
  request.varbinds.push_back(std::move(next));
  state->engine->send(state->target, std::move(request),
                      [state](Response response) { onWalkResponse(state, std::move(response)); });
}

}  // namespace

void SnmpEngine::walk(const Target& target, const Oid& root, int bulkSize, WalkStep step, Callback done) {
  continueWalk(std::make_shared<WalkState>(
      WalkState{this, target, root, root, bulkSize < 1 ? 1 : bulkSize, std::move(step), std::move(done)}));
}

Response SnmpEngine::walkAll(const Target& target, const Oid& root, std::vector<Varbind>& out, int bulkSize) {
  std::promise<Response> promise;
  std::future<Response> future = promise.get_future();
  walk(
      target, root, bulkSize,
      [&out](const Varbind& varbind) {
        out.push_back(varbind);
        return true;
      },
      [&promise](Response response) { promise.set_value(std::move(response)); });
  return future.get();
}

void SnmpEngine::watch(int fd, std::function<void()> ready) {
  Loop* loop = loop_.get();
  loop->post([loop, fd, ready = std::move(ready)]() mutable { loop->watch(fd, std::move(ready)); });
}

void SnmpEngine::unwatch(int fd) {
  Loop* loop = loop_.get();
  if (loop->onLoopThread()) return loop->unwatch(fd);
  std::promise<void> done;
  loop->post([loop, fd, &done] {
    loop->unwatch(fd);
    done.set_value();
  });
  done.get_future().wait();
}

size_t SnmpEngine::inFlight() const { return loop_->inFlight.load(); }

}  // namespace om::snmp
