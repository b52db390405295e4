#include "SyncCall.h"

#include <new>
#include <utility>

#include "CallResult.h"
#include "ExtendedStatus.h"
#include "ObjectEnumerator.h"

namespace om::wmi {

namespace {

CComPtr<ResultSink> newResultSink(long flags) {
  CComPtr<ResultSink> results;
  results.Attach(new ResultSink((flags & WBEM_FLAG_FORWARD_ONLY) == 0));
  return results;
}

}  // namespace

SyncCall::SyncCall(ManagerCore& core, std::u16string nameSpace, std::u16string operation,
                   std::u16string parameterInfo, long flags, IWbemContext* context, bool cancellable)
    : core_(core),
      results_(newResultSink(flags)),
      call_(core.newCall(std::move(nameSpace), std::move(operation), std::move(parameterInfo), flags, context,
                         results_, cancellable)) {
  setErrorObject(nullptr);
}

void SyncCall::run(const std::function<void(const Call&)>& operation) { operation(call_); }

HRESULT SyncCall::finalStatus() {
  results_->waitDone(std::nullopt);
  const HRESULT hr = results_->status();
  if (FAILED(hr)) setErrorObject(results_->statusObject());
  return hr;
}

HRESULT SyncCall::giveCallResult(IWbemCallResult** callResult) {
  if (callResult == nullptr) return WBEM_S_NO_ERROR;
  *callResult = new (std::nothrow) CallResult(results_, nullptr);
  return *callResult == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR;
}

HRESULT SyncCall::object(IWbemClassObject** out, IWbemCallResult** callResult) {
  if (out != nullptr) *out = nullptr;
  if (callResult != nullptr) *callResult = nullptr;
  if (immediate()) return giveCallResult(callResult);
  const HRESULT hr = finalStatus();
  if (FAILED(hr)) return hr;
  if (out != nullptr && results_->waitFor(0, std::nullopt) == ResultSink::Wait::kReady) {
    *out = results_->take(0).Detach();
  }
  return giveCallResult(callResult);
}

HRESULT SyncCall::done(IWbemCallResult** callResult) {
  if (callResult != nullptr) *callResult = nullptr;
  if (immediate()) return giveCallResult(callResult);
  const HRESULT hr = finalStatus();
  if (FAILED(hr)) return hr;
  return giveCallResult(callResult);
}

HRESULT SyncCall::enumerator(IEnumWbemClassObject** out, bool cancelOnRelease) {
  *out = nullptr;
  // A call that returns immediately may have failed already (a query that
  // does not parse).
  if (!immediate() || results_->waitDone(deadlineAfter(WBEM_NO_WAIT))) {
    const HRESULT hr = finalStatus();
    if (FAILED(hr)) return hr;
  }
  ManagerCore* core = &core_;
  auto post = [core](std::function<void()> task) { return core->post(std::move(task)); };
  *out = new (std::nothrow) ObjectEnumerator(results_, (call_.flags & WBEM_FLAG_FORWARD_ONLY) != 0, post,
                                             cancelOnRelease ? call_.sink.p : nullptr);
  return *out == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
