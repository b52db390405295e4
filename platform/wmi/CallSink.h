// The manager's wrapper around the sink of one asynchronous call. Providers
// get this wrapper, never the caller's sink, so that:
// - the caller sees at most one final SetStatus, and nothing after it;
// - a cancelled call stops reaching the caller at once: the provider's later
//   Indicate calls return WBEM_E_CALL_CANCELLED and are dropped, and the
//   caller gets SetStatus(WBEM_E_CALL_CANCELLED) exactly once, after any
//   Indicate already under way has returned;
// - a failure that arrives without an error object gets one (__ExtendedStatus)
//   from the call's `describe` function.
// CancelAsyncCall never waits for the caller's sink.
#ifndef OM_PLATFORM_WMI_CALLSINK_H_
#define OM_PLATFORM_WMI_CALLSINK_H_

#include <functional>
#include <mutex>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include <om/ComObject.h>

namespace om::wmi {

class CallTable;

class CallSink final : public om::ComObject<IWbemObjectSink> {
 public:
  // Makes the error object for a failed call that brought none: (status,
  // provider's text or null) -> __ExtendedStatus instance, or null.
  using Describe = std::function<CComPtr<IWbemClassObject>(HRESULT, BSTR)>;

  // Holds a reference to `caller` until the call ends. The call is listed in
  // `table` (when given), which holds a reference to it, until it ends.
  CallSink(IWbemObjectSink* caller, Describe describe, CallTable* table);

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override;
  HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                      IWbemClassObject* pObjParam) override;

  // Ends the call as cancelled. False when it had ended already.
  bool cancel();
  // Runs `handler` once when the call is cancelled (at once if it already was).
  void onCancel(std::function<void()> handler);
  bool isOpen() const;
  IWbemObjectSink* caller() const { return callerKey_; }

 private:
  enum class State { Open, Cancelled, Done };

  // Ends the call with this status; delivered now, or by the last Indicate
  // still under way. Called with the lock held; returns whether to deliver now.
  bool finishLocked(State state, HRESULT hr, BSTR text, IWbemClassObject* object);
  void deliver();

  mutable std::mutex mutex_;
  CComPtr<IWbemObjectSink> caller_;  // released once the final status is delivered
  IWbemObjectSink* const callerKey_;  // for CancelAsyncCall lookups; never called
  Describe describe_;
  CallTable* table_;
  State state_ = State::Open;
  int inFlight_ = 0;
  bool finalPending_ = false;
  HRESULT finalStatus_ = WBEM_S_NO_ERROR;
  CComBSTR finalText_;
  CComPtr<IWbemClassObject> finalObject_;
  std::function<void()> cancelHandler_;
};

// The asynchronous calls under way, by the caller's sink, for
// CancelAsyncCall and shutdown.
class CallTable {
 public:
  void add(CallSink* call);
  void remove(CallSink* call);
  // Cancels every call made with `caller`; false when there was none.
  bool cancel(IWbemObjectSink* caller);
  void cancelAll();

 private:
  std::vector<CComPtr<CallSink>> take(IWbemObjectSink* caller);

  std::mutex mutex_;
  std::vector<CComPtr<CallSink>> calls_;  // a call removes itself when it ends
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CALLSINK_H_
