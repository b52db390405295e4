// A synchronous or semisynchronous call: the asynchronous operation run on
// the caller's thread with a collecting sink (ResultSink) as its target.
// The caller waits for the final status, unless it asked for
// WBEM_FLAG_RETURN_IMMEDIATELY, in which case it gets an enumerator or a
// call result at once and the operation finishes in its own time. The
// thread's error object is cleared when the call starts and set to the
// call's __ExtendedStatus when it fails.
#ifndef OM_PLATFORM_WMI_SYNCCALL_H_
#define OM_PLATFORM_WMI_SYNCCALL_H_

#include <functional>
#include <string>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "Call.h"
#include "ObjectManagerCore.h"
#include "ResultSink.h"

namespace om::wmi {

class SyncCall {
 public:
  // A `cancellable` call is ended by ManagerCore::shutdown like an
  // asynchronous one (for event queries, which never end by themselves).
  SyncCall(ManagerCore& core, std::u16string nameSpace, std::u16string operation, std::u16string parameterInfo,
           long flags, IWbemContext* context, bool cancellable = false);

  // True when the caller asked to return immediately but gave no place for
  // the call result (WBEM_E_INVALID_PARAMETER).
  static bool lacksCallResult(long flags, IWbemCallResult** callResult) {
    return (flags & WBEM_FLAG_RETURN_IMMEDIATELY) != 0 && callResult == nullptr;
  }

  // Runs `operation` for the call on this thread.
  void run(const std::function<void(const Call&)>& operation);

  // The outcome, as the Windows call returns it. `object`: the first object
  // delivered (GetObject, ExecMethod); `done`: nothing but the status
  // (PutInstance, DeleteInstance, PutClass, DeleteClass); `enumerator`: the
  // objects (enumerations and queries), or the failure of a call that
  // returns immediately but has failed already; `callResult` may be null
  // unless the call returns immediately.
  HRESULT object(IWbemClassObject** out, IWbemCallResult** callResult);
  HRESULT done(IWbemCallResult** callResult);
  HRESULT enumerator(IEnumWbemClassObject** out, bool cancelOnRelease = false);

 private:
  bool immediate() const { return (call_.flags & WBEM_FLAG_RETURN_IMMEDIATELY) != 0; }
  // Waits for the end; the status, with the error object set on failure.
  HRESULT finalStatus();
  HRESULT giveCallResult(IWbemCallResult** callResult);

  ManagerCore& core_;
  CComPtr<ResultSink> results_;
  Call call_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_SYNCCALL_H_
