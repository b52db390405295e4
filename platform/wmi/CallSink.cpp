#include "CallSink.h"

#include <algorithm>
#include <utility>

namespace om::wmi {

CallSink::CallSink(IWbemObjectSink* caller, Describe describe, CallTable* table)
    : caller_(caller), callerKey_(caller), describe_(std::move(describe)), table_(table) {
  if (table_ != nullptr) table_->add(this);
}

HRESULT CallSink::Indicate(long lObjectCount, IWbemClassObject** apObjArray) {
  if (lObjectCount < 0 || (lObjectCount > 0 && apObjArray == nullptr)) return WBEM_E_INVALID_PARAMETER;
  CComPtr<IWbemObjectSink> caller;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == State::Cancelled) return WBEM_E_CALL_CANCELLED;
    if (state_ == State::Done) return WBEM_E_INVALID_OPERATION;
    ++inFlight_;
    caller = caller_;
  }
  const HRESULT hr = caller->Indicate(lObjectCount, apObjArray);
  bool deliverNow;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    deliverNow = --inFlight_ == 0 && finalPending_;
  }
  if (deliverNow) deliver();
  return hr;
}

HRESULT CallSink::SetStatus(long lFlags, HRESULT hResult, BSTR strParam, IWbemClassObject* pObjParam) {
  if (lFlags != WBEM_STATUS_COMPLETE) {
    // Progress reports pass through while the call runs.
    CComPtr<IWbemObjectSink> caller;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (state_ != State::Open) return state_ == State::Cancelled ? WBEM_E_CALL_CANCELLED : WBEM_E_INVALID_OPERATION;
      caller = caller_;
    }
    return caller->SetStatus(lFlags, hResult, strParam, pObjParam);
  }
  CComPtr<IWbemClassObject> object(pObjParam);
  if (FAILED(hResult) && object == nullptr && describe_) object.Attach(describe_(hResult, strParam).Detach());
  bool deliverNow;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::Open) return state_ == State::Cancelled ? WBEM_E_CALL_CANCELLED : WBEM_E_INVALID_OPERATION;
    deliverNow = finishLocked(State::Done, hResult, strParam, object);
  }
  if (deliverNow) deliver();
  return WBEM_S_NO_ERROR;
}

bool CallSink::cancel() {
  std::function<void()> handler;
  bool deliverNow;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::Open) return false;
    deliverNow = finishLocked(State::Cancelled, WBEM_E_CALL_CANCELLED, nullptr, nullptr);
    handler = std::move(cancelHandler_);
  }
  if (handler) handler();
  if (deliverNow) deliver();
  return true;
}

void CallSink::onCancel(std::function<void()> handler) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::Cancelled) {
      cancelHandler_ = std::move(handler);
      return;
    }
  }
  handler();
}

bool CallSink::isOpen() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return state_ == State::Open;
}

bool CallSink::finishLocked(State state, HRESULT hr, BSTR text, IWbemClassObject* object) {
  state_ = state;
  finalStatus_ = hr;
  finalText_.Empty();
  if (text != nullptr) finalText_.Attach(SysAllocStringLen(text, SysStringLen(text)));
  finalObject_ = object;
  finalPending_ = true;
  return inFlight_ == 0;
}

void CallSink::deliver() {
  CComPtr<IWbemObjectSink> caller;
  CComBSTR text;
  CComPtr<IWbemClassObject> object;
  HRESULT hr;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!finalPending_) return;
    finalPending_ = false;
    caller.Attach(caller_.Detach());
    text.Attach(finalText_.Detach());
    object.Attach(finalObject_.Detach());
    hr = finalStatus_;
  }
  caller->SetStatus(WBEM_STATUS_COMPLETE, hr, text, object);
  caller.Release();
  // The table's reference may be the last one: keep this object alive until
  // the function returns.
  CComPtr<CallSink> self(this);
  if (table_ != nullptr) table_->remove(this);
}

void CallTable::add(CallSink* call) {
  std::lock_guard<std::mutex> lock(mutex_);
  calls_.emplace_back(call);
}

void CallTable::remove(CallSink* call) {
  CComPtr<CallSink> removed;
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = std::find(calls_.begin(), calls_.end(), call);
  if (it == calls_.end()) return;
  removed.Attach(it->Detach());  // released after the lock
  it->Attach(calls_.back().Detach());
  calls_.pop_back();
}

std::vector<CComPtr<CallSink>> CallTable::take(IWbemObjectSink* caller) {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<CComPtr<CallSink>> taken;
  for (const CComPtr<CallSink>& call : calls_) {
    if (caller == nullptr || call->caller() == caller) taken.push_back(call);
  }
  return taken;
}

bool CallTable::cancel(IWbemObjectSink* caller) {
  bool any = false;
  for (const CComPtr<CallSink>& call : take(caller)) any = call->cancel() || any;
  return any;
}

void CallTable::cancelAll() { cancel(nullptr); }

}  // namespace om::wmi
