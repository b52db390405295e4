#include "ResultSink.h"

#include "Text.h"

namespace om::wmi {

Deadline deadlineAfter(long timeoutMs) {
  if (timeoutMs < 0) return std::nullopt;
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
}

HRESULT ResultSink::Indicate(long lObjectCount, IWbemClassObject** apObjArray) {
  if (lObjectCount < 0 || (lObjectCount > 0 && apObjArray == nullptr)) return WBEM_E_INVALID_PARAMETER;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (done_) return WBEM_E_INVALID_OPERATION;
    for (long i = 0; i < lObjectCount; ++i) objects_.emplace_back(apObjArray[i]);
  }
  changed_.notify_all();
  return WBEM_S_NO_ERROR;
}

HRESULT ResultSink::SetStatus(long lFlags, HRESULT hResult, BSTR strParam, IWbemClassObject* pObjParam) {
  if (lFlags != WBEM_STATUS_COMPLETE) return WBEM_S_NO_ERROR;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (done_) return WBEM_E_INVALID_OPERATION;
    done_ = true;
    status_ = hResult;
    statusObject_ = pObjParam;
    statusText_ = bstrView(strParam);
  }
  changed_.notify_all();
  return WBEM_S_NO_ERROR;
}

ResultSink::Wait ResultSink::waitFor(std::size_t index, const Deadline& deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto ready = [&] { return index < first_ + objects_.size() || done_; };
  if (deadline) {
    if (!changed_.wait_until(lock, *deadline, ready)) return Wait::kTimedOut;
  } else {
    changed_.wait(lock, ready);
  }
  return index < first_ + objects_.size() ? Wait::kReady : Wait::kEnd;
}

CComPtr<IWbemClassObject> ResultSink::take(std::size_t index) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (index < first_ || index >= first_ + objects_.size()) return nullptr;
  if (keepAll_) return objects_[index - first_];
  if (index != first_) return nullptr;
  CComPtr<IWbemClassObject> object;
  object.Attach(objects_.front().Detach());
  objects_.pop_front();
  ++first_;
  return object;
}

bool ResultSink::waitDone(const Deadline& deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (deadline) return changed_.wait_until(lock, *deadline, [this] { return done_; });
  changed_.wait(lock, [this] { return done_; });
  return true;
}

HRESULT ResultSink::status() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return status_;
}

CComPtr<IWbemClassObject> ResultSink::statusObject() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return statusObject_;
}

std::u16string ResultSink::statusText() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return statusText_;
}

}  // namespace om::wmi
