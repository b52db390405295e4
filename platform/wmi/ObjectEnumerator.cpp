#include "ObjectEnumerator.h"

#include <new>
#include <utility>
#include <vector>

#include "ExtendedStatus.h"

namespace om::wmi {

ObjectEnumerator::ObjectEnumerator(ResultSink* results, bool forwardOnly, Post post, CallSink* call)
    : results_(results), forwardOnly_(forwardOnly), post_(std::move(post)), call_(call) {}

ObjectEnumerator::~ObjectEnumerator() {
  if (call_ != nullptr) call_->cancel();
}

HRESULT ObjectEnumerator::Reset() {
  if (forwardOnly_) return WBEM_E_INVALID_OPERATION;
  std::lock_guard<std::mutex> lock(mutex_);
  cursor_ = 0;
  return WBEM_S_NO_ERROR;
}

HRESULT ObjectEnumerator::advance(long timeout, ULONG count, IWbemClassObject** out, ULONG* taken) {
  *taken = 0;
  if (timeout < 0 && timeout != WBEM_INFINITE) return WBEM_E_INVALID_PARAMETER;
  const Deadline deadline = deadlineAfter(timeout);
  std::lock_guard<std::mutex> lock(mutex_);
  while (*taken < count) {
    switch (results_->waitFor(cursor_, deadline)) {
      case ResultSink::Wait::kTimedOut: return WBEM_S_TIMEDOUT;
      case ResultSink::Wait::kEnd: {
        const HRESULT status = results_->status();
        if (FAILED(status) && *taken == 0) {
          setErrorObject(results_->statusObject());
          return status;
        }
        return WBEM_S_FALSE;
      }
      case ResultSink::Wait::kReady: break;
    }
    CComPtr<IWbemClassObject> object = results_->take(cursor_++);
    if (out != nullptr) out[*taken] = object.Detach();
    ++*taken;
  }
  return WBEM_S_NO_ERROR;
}

HRESULT ObjectEnumerator::Next(long lTimeout, ULONG uCount, IWbemClassObject** apObjects, ULONG* puReturned) {
  if (apObjects == nullptr || puReturned == nullptr) return WBEM_E_INVALID_PARAMETER;
  return advance(lTimeout, uCount, apObjects, puReturned);
}

HRESULT ObjectEnumerator::Skip(long lTimeout, ULONG nCount) {
  ULONG skipped = 0;
  return advance(lTimeout, nCount, nullptr, &skipped);
}

HRESULT ObjectEnumerator::NextAsync(ULONG uCount, IWbemObjectSink* pSink) {
  if (pSink == nullptr) return WBEM_E_INVALID_PARAMETER;
  CComPtr<ObjectEnumerator> self(this);
  CComPtr<IWbemObjectSink> sink(pSink);
  const bool posted = post_ && post_([self, sink, uCount] {
    std::vector<IWbemClassObject*> objects(uCount, nullptr);
    ULONG returned = 0;
    HRESULT hr = self->Next(WBEM_INFINITE, uCount, objects.data(), &returned);
    if (returned > 0) sink->Indicate(static_cast<long>(returned), objects.data());
    for (ULONG i = 0; i < returned; ++i) objects[i]->Release();
    sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
  });
  return posted ? WBEM_S_NO_ERROR : WBEM_E_SHUTTING_DOWN;
}

HRESULT ObjectEnumerator::Clone(IEnumWbemClassObject** ppEnum) {
  if (ppEnum == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppEnum = nullptr;
  if (forwardOnly_) return WBEM_E_INVALID_OPERATION;
  auto* copy = new (std::nothrow) ObjectEnumerator(results_, false, post_);
  if (copy == nullptr) return WBEM_E_OUT_OF_MEMORY;
  std::lock_guard<std::mutex> lock(mutex_);
  copy->cursor_ = cursor_;
  *ppEnum = copy;
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
