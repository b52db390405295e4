// LogFollower: prints each record the server announces as a "LogObjectEvent"
// (subscribed with "select * from LogObjectEvent"), one line each as
// `log list` prints it, from the moment it starts until it is stopped;
// records of other types than the one asked for are passed over. The
// events arrive on the object manager's worker threads.
#ifndef OM_APPS_OMCONSOLE_LOGFOLLOWER_H_
#define OM_APPS_OMCONSOLE_LOGFOLLOWER_H_

#include <chrono>
#include <optional>

#include <atlbase.h>
#include <wbemcli.h>

namespace omconsole {

class LogFollower {
 public:
  // `services`: the console's connection, which must outlive the follower.
  // `logType`: the only type printed; every type when unset.
  explicit LogFollower(IWbemServices* services, std::optional<int> logType = std::nullopt);
  // Stops following.
  ~LogFollower();
  LogFollower(const LogFollower&) = delete;
  LogFollower& operator=(const LogFollower&) = delete;

  // Subscribes to the events; the records already in the log are taken as
  // printed. The HRESULT.
  HRESULT start();
  // Waits until every record written so far (up to the highest identifier
  // of the log) has been printed, at most `limit`; false when it had not.
  bool drain(std::chrono::milliseconds limit);
  // Cancels the subscription and waits until the sink has been told.
  void stop();

 private:
  class Sink;

  IWbemServices* services_;
  std::optional<int> logType_;
  CComPtr<Sink> sink_;
};

struct SubcommandCall;

// Runs `call` as a follower of the log: until interrupted, or in a shell in
// the background until the shell ends. The exit status.
int followLog(const SubcommandCall& call, std::optional<int> logType);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_LOGFOLLOWER_H_
