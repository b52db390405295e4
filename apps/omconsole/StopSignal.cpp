#include "StopSignal.h"

#include <semaphore.h>

#include <cerrno>

namespace omconsole {
namespace {

// Posted by the handler: sem_post may be called from a signal handler.
sem_t stopped;

extern "C" void onStop(int) { sem_post(&stopped); }

}  // namespace

StopSignal::StopSignal() {
  sem_init(&stopped, 0, 0);
  struct sigaction action {};
  action.sa_handler = onStop;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &formerInterrupt_);
  sigaction(SIGTERM, &action, &formerTerminate_);
}

StopSignal::~StopSignal() {
  sigaction(SIGINT, &formerInterrupt_, nullptr);
  sigaction(SIGTERM, &formerTerminate_, nullptr);
  sem_destroy(&stopped);
}

void StopSignal::wait() {
  while (sem_wait(&stopped) != 0 && errno == EINTR) {
  }
}

}  // namespace omconsole
