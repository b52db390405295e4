// StopSignal: lets a command that runs until interrupted wait for SIGINT or
// SIGTERM and then end in order. While one lives, the two signals only wake
// its wait.
#ifndef OM_APPS_OMCONSOLE_STOPSIGNAL_H_
#define OM_APPS_OMCONSOLE_STOPSIGNAL_H_

#include <signal.h>

namespace omconsole {

class StopSignal {
 public:
  StopSignal();
  // Puts the signals' former handlers back.
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  // Returns once SIGINT or SIGTERM has come (at once if one came already).
  void wait();

 private:
  struct sigaction formerInterrupt_ {};
  struct sigaction formerTerminate_ {};
};

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_STOPSIGNAL_H_
