// Mutexes and events behind HANDLEs, on std::mutex and condition variables.
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "KernelObject.h"

namespace om {
namespace {

// Waits on `cv` until `ready()` or the time-out; true when ready.
template <class Ready>
bool waitFor(std::unique_lock<std::mutex>& lock, std::condition_variable& cv, DWORD ms,
             Ready ready) {
  if (ms == INFINITE) {
    cv.wait(lock, ready);
    return true;
  }
  return cv.wait_for(lock, std::chrono::milliseconds(ms), ready);
}

class MutexState;

// The mutexes a thread owns; when the thread ends they become abandoned.
class OwnedMutexes {
 public:
  ~OwnedMutexes();
  void add(const std::shared_ptr<MutexState>& m) { owned_.push_back(m); }
  void remove(const MutexState* m);

 private:
  std::vector<std::shared_ptr<MutexState>> owned_;
};

thread_local OwnedMutexes t_owned;

class MutexState : public std::enable_shared_from_this<MutexState> {
 public:
  DWORD acquire(DWORD ms) {
    std::unique_lock<std::mutex> lock(mu_);
    const auto self = std::this_thread::get_id();
    if (count_ > 0 && owner_ == self) {
      ++count_;
      return WAIT_OBJECT_0;
    }
    if (!waitFor(lock, cv_, ms, [this] { return count_ == 0; })) return WAIT_TIMEOUT;
    owner_ = self;
    count_ = 1;
    t_owned.add(shared_from_this());
    const bool abandoned = abandoned_;
    abandoned_ = false;
    return abandoned ? WAIT_ABANDONED : WAIT_OBJECT_0;
  }

  bool release() {
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (count_ == 0 || owner_ != std::this_thread::get_id()) return false;
      if (--count_ > 0) return true;
    }
    cv_.notify_one();
    t_owned.remove(this);  // may drop the last reference to this state: nothing after it
    return true;
  }

  // Called when the owning thread ends while holding the mutex.
  void abandon() {
    {
      std::lock_guard<std::mutex> lock(mu_);
      count_ = 0;
      abandoned_ = true;
    }
    cv_.notify_one();
  }

 private:
  std::mutex mu_;
  std::condition_variable cv_;
  std::thread::id owner_;
  int count_ = 0;
  bool abandoned_ = false;
};

OwnedMutexes::~OwnedMutexes() {
  for (auto& m : owned_) m->abandon();
}

void OwnedMutexes::remove(const MutexState* m) {
  for (auto it = owned_.begin(); it != owned_.end(); ++it) {
    if (it->get() == m) {
      owned_.erase(it);
      return;
    }
  }
}

class MutexObject : public KernelObject {
 public:
  explicit MutexObject(std::shared_ptr<MutexState> state) : state_(std::move(state)) {}
  DWORD wait(DWORD ms) override { return state_->acquire(ms); }
  bool release() { return state_->release(); }

 private:
  std::shared_ptr<MutexState> state_;
};

class EventObject : public KernelObject {
 public:
  EventObject(bool manualReset, bool signalled) : manual_(manualReset), signalled_(signalled) {}

  DWORD wait(DWORD ms) override {
    std::unique_lock<std::mutex> lock(mu_);
    if (!waitFor(lock, cv_, ms, [this] { return signalled_; })) return WAIT_TIMEOUT;
    if (!manual_) signalled_ = false;
    return WAIT_OBJECT_0;
  }
  void set(bool signalled) {
    {
      std::lock_guard<std::mutex> lock(mu_);
      signalled_ = signalled;
    }
    if (signalled) cv_.notify_all();
  }

 private:
  std::mutex mu_;
  std::condition_variable cv_;
  const bool manual_;
  bool signalled_;
};

// Named mutexes of this process, by name.
std::mutex g_namesMu;
std::map<std::string, std::weak_ptr<MutexState>> g_names;

std::shared_ptr<MutexState> mutexByName(const char* name, bool& existed) {
  existed = false;
  if (name == nullptr || *name == '\0') return std::make_shared<MutexState>();
  std::lock_guard<std::mutex> lock(g_namesMu);
  std::weak_ptr<MutexState>& slot = g_names[name];
  if (auto state = slot.lock()) {
    existed = true;
    return state;
  }
  auto state = std::make_shared<MutexState>();
  slot = state;
  return state;
}

template <class T>
T* objectAs(HANDLE handle) {
  auto* object = dynamic_cast<T*>(kernelObject(handle));
  if (object == nullptr) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace

KernelObject* kernelObject(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return static_cast<KernelObject*>(handle);
}

}  // namespace om

HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES, BOOL initialOwner, LPCSTR name) {
  bool existed = false;
  auto* mutex = new om::MutexObject(om::mutexByName(name, existed));
  if (initialOwner && !existed) mutex->wait(INFINITE);
  SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return static_cast<om::KernelObject*>(mutex);
}

BOOL ReleaseMutex(HANDLE handle) {
  auto* mutex = om::objectAs<om::MutexObject>(handle);
  if (mutex == nullptr) return FALSE;
  if (!mutex->release()) {
    SetLastError(ERROR_NOT_OWNER);
    return FALSE;
  }
  return TRUE;
}

HANDLE CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState, LPCSTR) {
  return static_cast<om::KernelObject*>(new om::EventObject(manualReset, initialState));
}

BOOL SetEvent(HANDLE handle) {
  auto* event = om::objectAs<om::EventObject>(handle);
  if (event == nullptr) return FALSE;
  event->set(true);
  return TRUE;
}

BOOL ResetEvent(HANDLE handle) {
  auto* event = om::objectAs<om::EventObject>(handle);
  if (event == nullptr) return FALSE;
  event->set(false);
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  om::KernelObject* object = om::kernelObject(handle);
  return object == nullptr ? WAIT_FAILED : object->wait(milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
  om::KernelObject* object = om::kernelObject(handle);
  if (object == nullptr) return FALSE;
  delete object;
  return TRUE;
}
