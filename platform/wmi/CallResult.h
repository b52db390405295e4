// IWbemCallResult: the outcome of a semisynchronous call
// (WBEM_FLAG_RETURN_IMMEDIATELY), or of a synchronous one when the caller
// asks for it. Each Get* waits up to its time-out (WBEM_S_TIMEDOUT) for the
// call to end.
#ifndef OM_PLATFORM_WMI_CALLRESULT_H_
#define OM_PLATFORM_WMI_CALLRESULT_H_

#include <atlcomcli.h>
#include <wbemcli.h>

#include <om/ComObject.h>

#include "ResultSink.h"

namespace om::wmi {

class CallResult final : public om::ComObject<IWbemCallResult> {
 public:
  // `services`: what OpenNamespace opened, else null.
  CallResult(ResultSink* results, IWbemServices* services) : results_(results), services_(services) {}

  // The first object the call delivered (the object read, or the
  // out-parameters of a method).
  HRESULT STDMETHODCALLTYPE GetResultObject(long lTimeout, IWbemClassObject** ppResultObject) override;
  // The text of the final status: the path of the instance PutInstance wrote.
  HRESULT STDMETHODCALLTYPE GetResultString(long lTimeout, BSTR* pstrResultString) override;
  HRESULT STDMETHODCALLTYPE GetResultServices(long lTimeout, IWbemServices** ppServices) override;
  HRESULT STDMETHODCALLTYPE GetCallStatus(long lTimeout, long* plStatus) override;

 private:
  // WBEM_S_NO_ERROR once the call has ended, the time-out result otherwise.
  HRESULT wait(long timeout) const;

  CComPtr<ResultSink> results_;
  CComPtr<IWbemServices> services_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CALLRESULT_H_
