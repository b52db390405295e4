#include "CallResult.h"

#include "ExtendedStatus.h"
#include "Text.h"

namespace om::wmi {

HRESULT CallResult::wait(long timeout) const {
  if (timeout < 0 && timeout != WBEM_INFINITE) return WBEM_E_INVALID_PARAMETER;
  return results_->waitDone(deadlineAfter(timeout)) ? WBEM_S_NO_ERROR : WBEM_S_TIMEDOUT;
}

HRESULT CallResult::GetResultObject(long lTimeout, IWbemClassObject** ppResultObject) {
  if (ppResultObject == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppResultObject = nullptr;
  HRESULT hr = wait(lTimeout);
  if (hr != WBEM_S_NO_ERROR) return hr;
  hr = results_->status();
  if (FAILED(hr)) {
    setErrorObject(results_->statusObject());
    return hr;
  }
  if (results_->waitFor(0, deadlineAfter(WBEM_NO_WAIT)) != ResultSink::Wait::kReady) return WBEM_E_NOT_FOUND;
  *ppResultObject = results_->take(0).Detach();
  return WBEM_S_NO_ERROR;
}

HRESULT CallResult::GetResultString(long lTimeout, BSTR* pstrResultString) {
  if (pstrResultString == nullptr) return WBEM_E_INVALID_PARAMETER;
  *pstrResultString = nullptr;
  HRESULT hr = wait(lTimeout);
  if (hr != WBEM_S_NO_ERROR) return hr;
  hr = results_->status();
  if (FAILED(hr)) return hr;
  const std::u16string text = results_->statusText();
  if (text.empty()) return WBEM_E_INVALID_OPERATION;
  *pstrResultString = allocBstr(text);
  return WBEM_S_NO_ERROR;
}

HRESULT CallResult::GetResultServices(long lTimeout, IWbemServices** ppServices) {
  if (ppServices == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppServices = nullptr;
  HRESULT hr = wait(lTimeout);
  if (hr != WBEM_S_NO_ERROR) return hr;
  hr = results_->status();
  if (FAILED(hr)) return hr;
  if (services_ == nullptr) return WBEM_E_INVALID_OPERATION;
  return services_.CopyTo(ppServices);
}

HRESULT CallResult::GetCallStatus(long lTimeout, long* plStatus) {
  if (plStatus == nullptr) return WBEM_E_INVALID_PARAMETER;
  const HRESULT hr = wait(lTimeout);
  if (hr != WBEM_S_NO_ERROR) return hr;
  *plStatus = results_->status();
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
