// sequencer: process-wide request numbers; mutexLocker: holds a Win32 mutex
// for the lifetime of a scope.
#ifndef OMLIB_CORE_SEQUENCER_H_
#define OMLIB_CORE_SEQUENCER_H_

#include <windows.h>

// Hands out 1, 2, ... 65535, 0, 1, ... to any thread; one per process.
class sequencer {
 public:
  static sequencer* getInstance();

  virtual ~sequencer();
  sequencer(const sequencer&) = delete;
  sequencer& operator=(const sequencer&) = delete;

  // Increments the counter under the mutex and returns the new value.
  unsigned short number();

 private:
  sequencer();

  unsigned short counter_;
  HANDLE mutex_;  // owned
};

// Releases the mutex when destroyed, whether or not this object acquired it.
// The mutex handle is borrowed and must outlive the locker; copies refer to
// the same handle.
class mutexLocker {
 public:
  // Waits for the mutex without time limit when `lock` is true.
  mutexLocker(HANDLE& mutex, bool lock);
  mutexLocker(const mutexLocker& other) = default;
  mutexLocker& operator=(const mutexLocker& other) = default;
  virtual ~mutexLocker();

  // True exactly when the wait returned WAIT_OBJECT_0.
  bool wait(unsigned long milliseconds);

 private:
  HANDLE* mutex_;
};

#endif  // OMLIB_CORE_SEQUENCER_H_
