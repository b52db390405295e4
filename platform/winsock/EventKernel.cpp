// Winsock event objects and WSAEventSelect over eventfd and poll(2).
#include "EventKernel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include <om/WinsockErrors.h>

#include "../win/KernelObject.h"
#include "Kernel.h"
#include "RawIcmp.h"

namespace om::kernel {
namespace {

// The Winsock FD_* bits.
constexpr int32_t kRead = 1;
constexpr int32_t kWrite = 2;
constexpr int32_t kOob = 4;
constexpr int32_t kAccept = 8;
constexpr int32_t kConnect = 16;
constexpr int32_t kClose = 32;
constexpr int32_t kAll = (1 << 10) - 1;
constexpr int kMaxWait = 64;

int bitIndex(int32_t bit) {
  int i = 0;
  while ((bit >>= 1) != 0) ++i;
  return i;
}

class SocketEvent;

// A socket tied to an event.
struct Tie {
  SocketEvent* event = nullptr;
  int32_t mask = 0;
  int32_t recorded = 0;
  int errors[10] = {};
  int32_t enabled = kAll;  // events that may be recorded now
  bool connected = false;  // a stream socket whose connection was made
};

std::mutex g_mu;  // guards everything below and the events' signalled state
std::set<const void*> g_events;  // the HANDLE values of live events
std::map<int, Tie> g_ties;
std::set<int> g_connecting;
std::map<int, int> g_keptErrors;  // errno of a connection that failed, for SO_ERROR

class SocketEvent : public om::KernelObject {
 public:
  SocketEvent() : fd_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
  ~SocketEvent() override {
    {
      std::lock_guard<std::mutex> lock(g_mu);
      g_events.erase(static_cast<om::KernelObject*>(this));
      for (auto it = g_ties.begin(); it != g_ties.end();) {
        it = it->second.event == this ? g_ties.erase(it) : std::next(it);
      }
    }
    if (fd_ >= 0) close(fd_);
  }

  bool ok() const { return fd_ >= 0; }
  int fd() const { return fd_; }
  bool signalled() const { return signalled_; }  // under g_mu

  // Under g_mu.
  void signal(bool on) {
    signalled_ = on;
    uint64_t value = 1;
    if (on) {
      (void)!write(fd_, &value, sizeof value);
    } else {
      (void)!read(fd_, &value, sizeof value);
    }
  }

  DWORD wait(DWORD milliseconds) override;

 private:
  const int fd_;
  bool signalled_ = false;
};

int socketInt(int fd, int name) {
  int value = 0;
  socklen_t length = sizeof value;
  return getsockopt(fd, SOL_SOCKET, name, &value, &length) == 0 ? value : -1;
}

int kernelError(int fd) { return socketInt(fd, SO_ERROR); }

int takeError(int fd) {
  const auto kept = g_keptErrors.find(fd);
  if (kept == g_keptErrors.end()) return kernelError(fd);
  const int error = kept->second;
  g_keptErrors.erase(kept);
  return error;
}

bool hasPeer(int fd) {
  sockaddr_storage peer{};
  socklen_t length = sizeof peer;
  return getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
}

int queuedBytes(int fd) {
  int n = 0;
  return ioctl(fd, FIONREAD, &n) == 0 ? n : 0;
}

// Under g_mu: records the events whose condition holds now; true when one
// was recorded.
bool scan(int fd, Tie& tie) {
  pollfd p{fd, POLLIN | POLLPRI | POLLOUT | POLLRDHUP, 0};
  if (poll(&p, 1, 0) < 0) return false;
  const short r = p.revents;
  bool recorded = false;
  auto record = [&](int32_t bit, int error) {
    if ((tie.mask & tie.enabled & bit) == 0) return;
    tie.recorded |= bit;
    tie.errors[bitIndex(bit)] = error;
    tie.enabled &= ~bit;
    recorded = true;
  };
  if (socketInt(fd, SO_ACCEPTCONN) == 1) {
    if ((r & POLLIN) != 0) record(kAccept, 0);
  } else {
    const bool stream = socketInt(fd, SO_TYPE) == SOCK_STREAM;
    if (g_connecting.count(fd) != 0 && (r & (POLLOUT | POLLERR | POLLHUP)) != 0) {
      g_connecting.erase(fd);
      const int error = takeError(fd);
      tie.connected = error == 0;
      record(kConnect, error == 0 ? 0 : wsaFromErrno(error, WSAECONNREFUSED));
    }
    if (stream && !tie.connected && g_connecting.count(fd) == 0) tie.connected = hasPeer(fd);
    const bool readable = stream ? queuedBytes(fd) > 0
                                 : (r & (POLLIN | POLLERR)) != 0 || (isDatagramIcmp(fd) && pendingDatagramIcmp(fd) > 0);
    if (readable) record(kRead, 0);
    if ((r & POLLPRI) != 0) record(kOob, 0);
    if ((r & POLLOUT) != 0 && (!stream || tie.connected)) record(kWrite, 0);
    if (stream && tie.connected && (r & (POLLRDHUP | POLLHUP | POLLERR)) != 0 && (tie.mask & tie.enabled & kClose)) {
      const int error = (r & POLLERR) != 0 ? takeError(fd) : 0;
      record(kClose, error == 0 ? 0 : wsaFromErrno(error, WSAECONNRESET));
    }
  }
  if (recorded && (tie.recorded & tie.mask) != 0) tie.event->signal(true);
  return recorded;
}

// Under g_mu: what to poll for to learn of the next event of a tied socket.
short pollFlags(int fd, const Tie& tie) {
  const int32_t open = tie.mask & tie.enabled;
  if (socketInt(fd, SO_ACCEPTCONN) == 1) return (open & kAccept) != 0 ? POLLIN : 0;
  short flags = 0;
  if (g_connecting.count(fd) != 0) flags |= POLLOUT;
  if ((open & kRead) != 0) flags |= POLLIN;
  if ((open & kOob) != 0) flags |= POLLPRI;
  if ((open & kWrite) != 0) flags |= POLLOUT;
  if ((open & kClose) != 0 && socketInt(fd, SO_TYPE) == SOCK_STREAM) flags |= POLLRDHUP;
  return flags;
}

// The event behind a handle, or null for any other value; looked up before
// any use of the pointer, which may be stale.
SocketEvent* eventOf(void* handle) {
  if (g_events.count(handle) == 0) return nullptr;
  return static_cast<SocketEvent*>(static_cast<om::KernelObject*>(handle));
}

bool isSocket(int fd) { return socketInt(fd, SO_TYPE) >= 0; }

// The wait itself, over validated events.
int waitFor(const std::vector<SocketEvent*>& events, bool waitAll, uint32_t milliseconds, int& result) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  std::set<int> quiet;  // sockets that woke the wait without an event: not polled again
  std::set<int> woke;
  for (;;) {
    std::vector<pollfd> polled;
    {
      std::lock_guard<std::mutex> lock(g_mu);
      for (auto& [fd, tie] : g_ties) {
        bool mine = false;
        for (SocketEvent* e : events) mine = mine || tie.event == e;
        if (!mine) continue;
        if (!scan(fd, tie) && woke.count(fd) != 0) quiet.insert(fd);
      }
      int first = -1;
      int count = 0;
      for (size_t i = 0; i < events.size(); ++i) {
        if (!events[i]->signalled()) continue;
        if (first < 0) first = static_cast<int>(i);
        ++count;
      }
      if (waitAll ? count == static_cast<int>(events.size()) : first >= 0) {
        result = waitAll ? 0 : first;
        return 0;
      }
      for (SocketEvent* e : events) polled.push_back({e->fd(), POLLIN, 0});
      for (auto& [fd, tie] : g_ties) {
        bool mine = false;
        for (SocketEvent* e : events) mine = mine || tie.event == e;
        const short flags = mine && quiet.count(fd) == 0 ? pollFlags(fd, tie) : 0;
        if (flags != 0) polled.push_back({fd, flags, 0});
      }
    }
    int remaining = -1;
    if (milliseconds != 0xFFFFFFFFu) {
      const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
      if (spent >= static_cast<int64_t>(milliseconds)) {
        result = -1;
        return 0;
      }
      remaining = static_cast<int>(milliseconds - spent);
    }
    const int rc = poll(polled.data(), polled.size(), remaining);
    if (rc < 0 && errno != EINTR) return wsaFromErrno(errno, WSA_INVALID_PARAMETER);
    woke.clear();
    for (size_t i = events.size(); i < polled.size(); ++i) {
      if (polled[i].revents != 0) woke.insert(polled[i].fd);
    }
  }
}

DWORD SocketEvent::wait(DWORD milliseconds) {
  int index = 0;
  const int rc = waitFor({this}, false, milliseconds, index);
  if (rc != 0) {
    SetLastError(static_cast<DWORD>(rc));
    return WAIT_FAILED;
  }
  return index < 0 ? WAIT_TIMEOUT : WAIT_OBJECT_0;
}

}  // namespace

void* createSocketEvent(int& error) {
  auto* event = new SocketEvent;
  if (!event->ok()) {
    error = wsaFromErrno(errno, WSA_NOT_ENOUGH_MEMORY);
    delete event;
    return nullptr;
  }
  void* handle = static_cast<om::KernelObject*>(event);
  std::lock_guard<std::mutex> lock(g_mu);
  g_events.insert(handle);
  return handle;
}

bool isSocketEvent(void* handle) {
  std::lock_guard<std::mutex> lock(g_mu);
  return eventOf(handle) != nullptr;
}

bool closeSocketEvent(void* handle) {
  SocketEvent* event = nullptr;
  {
    std::lock_guard<std::mutex> lock(g_mu);
    event = eventOf(handle);
  }
  delete event;  // unregisters itself
  return event != nullptr;
}

bool signalSocketEvent(void* handle, bool signalled) {
  std::lock_guard<std::mutex> lock(g_mu);
  SocketEvent* event = eventOf(handle);
  if (event == nullptr) return false;
  event->signal(signalled);
  return true;
}

int selectNetworkEvents(int fd, void* handle, int32_t mask) {
  if (!isSocket(fd)) return WSAENOTSOCK;
  std::lock_guard<std::mutex> lock(g_mu);
  if (mask == 0 && handle == nullptr) {
    g_ties.erase(fd);
    return 0;
  }
  SocketEvent* event = eventOf(handle);
  if (event == nullptr) return WSAEINVAL;
  if (fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK) != 0) return wsaFromErrno(errno, WSAEINVAL);
  Tie& tie = g_ties[fd] = Tie{};
  tie.event = event;
  tie.mask = mask;
  scan(fd, tie);
  return 0;
}

int enumNetworkEvents(int fd, void* handle, int32_t& events, int errors[10]) {
  if (!isSocket(fd)) return WSAENOTSOCK;
  std::lock_guard<std::mutex> lock(g_mu);
  SocketEvent* event = nullptr;
  if (handle != nullptr && (event = eventOf(handle)) == nullptr) return WSA_INVALID_HANDLE;
  events = 0;
  for (int i = 0; i < 10; ++i) errors[i] = 0;
  const auto it = g_ties.find(fd);
  if (it != g_ties.end()) {
    scan(fd, it->second);
    events = it->second.recorded;
    for (int i = 0; i < 10; ++i) errors[i] = it->second.errors[i];
    it->second.recorded = 0;
    for (int& e : it->second.errors) e = 0;
  }
  if (event != nullptr) event->signal(false);
  return 0;
}

int waitSocketEvents(void* const* handles, int count, bool waitAll, uint32_t milliseconds, int& result) {
  if (count <= 0 || count > kMaxWait || handles == nullptr) return WSA_INVALID_PARAMETER;
  std::vector<SocketEvent*> events;
  {
    std::lock_guard<std::mutex> lock(g_mu);
    for (int i = 0; i < count; ++i) {
      SocketEvent* event = eventOf(handles[i]);
      if (event == nullptr) return WSA_INVALID_HANDLE;
      events.push_back(event);
    }
  }
  return waitFor(events, waitAll, milliseconds, result);
}

void noteReceive(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  const auto it = g_ties.find(fd);
  if (it != g_ties.end()) it->second.enabled |= kRead | kOob;
}

void noteSendBlocked(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  const auto it = g_ties.find(fd);
  if (it != g_ties.end()) it->second.enabled |= kWrite;
}

void noteAccepted(int listener, int accepted) {
  std::lock_guard<std::mutex> lock(g_mu);
  const auto it = g_ties.find(listener);
  if (it == g_ties.end()) return;
  it->second.enabled |= kAccept;
  fcntl(accepted, F_SETFL, fcntl(accepted, F_GETFL) | O_NONBLOCK);
  Tie& tie = g_ties[accepted] = Tie{};
  tie.event = it->second.event;
  tie.mask = it->second.mask;
  scan(accepted, tie);
}

void noteConnecting(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_connecting.insert(fd);
  g_keptErrors.erase(fd);
  const auto it = g_ties.find(fd);
  if (it != g_ties.end()) {
    it->second.enabled |= kConnect | kWrite | kClose;
    it->second.connected = false;
  }
}

void forgetSocketEvents(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_ties.erase(fd);
  g_connecting.erase(fd);
  g_keptErrors.erase(fd);
}

bool connectionFailed(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  if (g_connecting.count(fd) == 0) return false;
  g_connecting.erase(fd);
  const int error = kernelError(fd);
  if (error == 0) return false;
  g_keptErrors[fd] = error;
  return true;
}

int takeSocketError(int fd) {
  std::lock_guard<std::mutex> lock(g_mu);
  return takeError(fd);
}

}  // namespace om::kernel
