#include "core/sequencer.h"

sequencer* sequencer::getInstance() {
  static sequencer instance;
  return &instance;
}

sequencer::sequencer() : counter_(0), mutex_(CreateMutex(nullptr, FALSE, nullptr)) {}

sequencer::~sequencer() { CloseHandle(mutex_); }

unsigned short sequencer::number() {
  mutexLocker lock(mutex_, true);
  return ++counter_;
}

mutexLocker::mutexLocker(HANDLE& mutex, bool lock) : mutex_(&mutex) {
  if (lock) wait(INFINITE);
}

mutexLocker::~mutexLocker() { ReleaseMutex(*mutex_); }

bool mutexLocker::wait(unsigned long milliseconds) {
  return WaitForSingleObject(*mutex_, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}
