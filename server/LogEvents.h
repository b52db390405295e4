// LogEvents: announces each new log record of a server as a
// "LogObjectEvent" through the process's object manager, to every
// subscriber of "select * from LogObjectEvent". While it lives it is the
// server's log listener.
#ifndef OM_SERVER_LOGEVENTS_H_
#define OM_SERVER_LOGEVENTS_H_

#include <memory>

#include <atlbase.h>
#include <wbemcli.h>

#include "server/NetworkServer.h"
#include "wbem/WbemLogObject.h"

class LogEvents {
 public:
  // `services` is the server's connection to its namespace (one reference
  // held).
  LogEvents(IWbemServices* services, std::shared_ptr<NetworkServer> server);
  // Stops listening before it goes.
  ~LogEvents();
  LogEvents(const LogEvents&) = delete;
  LogEvents& operator=(const LogEvents&) = delete;

 private:
  // Called one record at a time, under the server's log lock.
  void fire(const CLogObject& record);

  CComPtr<IWbemServices> services_;
  std::shared_ptr<NetworkServer> server_;
  int listener_ = 0;  // its number among the server's log listeners
  CComPtr<IWbemClassObject> eventClass_;
  WbemLogObjectEvent event_;
};

#endif  // OM_SERVER_LOGEVENTS_H_
