// IEnumWbemClassObject over the results of one call (a ResultSink). Next
// waits up to its time-out for the objects asked for: WBEM_S_NO_ERROR when
// it got them all, WBEM_S_TIMEDOUT when time ran out first, WBEM_S_FALSE when
// the call ended with fewer, and the call's error (with the thread's error
// object set) when it failed and nothing is left. A forward-only enumerator
// gives each object up once returned and refuses Reset and Clone
// (WBEM_E_INVALID_OPERATION).
#ifndef OM_PLATFORM_WMI_OBJECTENUMERATOR_H_
#define OM_PLATFORM_WMI_OBJECTENUMERATOR_H_

#include <cstddef>
#include <functional>
#include <mutex>

#include <atlcomcli.h>
#include <wbemcli.h>

#include <om/ComObject.h>

#include "CallSink.h"
#include "ResultSink.h"

namespace om::wmi {

class ObjectEnumerator final : public om::ComObject<IEnumWbemClassObject> {
 public:
  // Runs a task on the manager's workers (for NextAsync); false when it
  // cannot.
  using Post = std::function<bool(std::function<void()>)>;

  // `call`, when given, is cancelled when the enumerator is released (an
  // event query's subscription ends with its enumerator).
  ObjectEnumerator(ResultSink* results, bool forwardOnly, Post post, CallSink* call = nullptr);
  ~ObjectEnumerator() override;

  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE Next(long lTimeout, ULONG uCount, IWbemClassObject** apObjects,
                                 ULONG* puReturned) override;
  HRESULT STDMETHODCALLTYPE NextAsync(ULONG uCount, IWbemObjectSink* pSink) override;
  HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** ppEnum) override;
  HRESULT STDMETHODCALLTYPE Skip(long lTimeout, ULONG nCount) override;

 private:
  // Takes up to `count` objects into `out` (null: drops them).
  HRESULT advance(long timeout, ULONG count, IWbemClassObject** out, ULONG* taken);

  CComPtr<ResultSink> results_;
  const bool forwardOnly_;
  Post post_;
  CComPtr<CallSink> call_;
  std::mutex mutex_;  // one reader at a time
  std::size_t cursor_ = 0;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_OBJECTENUMERATOR_H_
