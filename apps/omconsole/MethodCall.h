// Method calls whose answer the console must read even where the client
// reports only "started" (the task methods) or only true or false (the MIB
// walk): the call is made with a sink and waited for, and the "ReturnValue"
// of the out-parameters is read from what the sink received.
#ifndef OM_APPS_OMCONSOLE_METHODCALL_H_
#define OM_APPS_OMCONSOLE_METHODCALL_H_

#include <functional>
#include <string>

#include <wbemcli.h>

#include "wbem/WbemClient.h"

namespace omconsole {

struct MethodResult {
  // The call's final status, or the reason it could not start.
  HRESULT status = WBEM_S_NO_ERROR;
  // The sint32 "ReturnValue", -1 when none came.
  int returnValue = -1;
};

// Starts a call of `client` by running `start` with a fresh sink, and waits
// for the final status (unless the client's error code says the call did not
// start).
MethodResult callWithSink(WbemClient& client, const std::function<void(IWbemObjectSink* sink)>& start);

// The name of a WMI status: "WBEM_E_NOT_FOUND", or hexadecimal.
std::string statusName(unsigned long code);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_METHODCALL_H_
