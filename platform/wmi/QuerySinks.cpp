#include "QuerySinks.h"

#include <utility>
#include <vector>

#include "WqlEvaluator.h"

namespace om::wmi {

// ---- Gather ----------------------------------------------------------------------

struct Gather::State {
  CComPtr<IWbemObjectSink> target;
  std::mutex mutex;
  int open = 0;
  bool sealed = false;
  bool finished = false;
  HRESULT status = WBEM_S_NO_ERROR;
  CComBSTR text;
  CComPtr<IWbemClassObject> object;

  // Sends the final status when the last part has ended after seal().
  void finishIfDone(std::unique_lock<std::mutex>& lock) {
    if (!sealed || open > 0 || finished) return;
    finished = true;
    CComBSTR finalText;
    finalText.Attach(text.Detach());
    CComPtr<IWbemClassObject> finalObject;
    finalObject.Attach(object.Detach());
    const HRESULT finalStatus = status;
    lock.unlock();
    target->SetStatus(WBEM_STATUS_COMPLETE, finalStatus, finalText, finalObject);
  }
};

class Gather::Part final : public om::ComObject<IWbemObjectSink> {
 public:
  explicit Part(std::shared_ptr<State> state) : state_(std::move(state)) {}

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override {
    return state_->target->Indicate(lObjectCount, apObjArray);
  }

  HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                      IWbemClassObject* pObjParam) override {
    if (lFlags != WBEM_STATUS_COMPLETE) return state_->target->SetStatus(lFlags, hResult, strParam, pObjParam);
    std::unique_lock<std::mutex> lock(state_->mutex);
    if (ended_) return WBEM_E_INVALID_OPERATION;
    ended_ = true;
    --state_->open;
    if (FAILED(hResult) && SUCCEEDED(state_->status)) {
      state_->status = hResult;
      state_->text = strParam;
      state_->object = pObjParam;
    }
    state_->finishIfDone(lock);
    return WBEM_S_NO_ERROR;
  }

 private:
  std::shared_ptr<State> state_;
  bool ended_ = false;  // guarded by state_->mutex
};

Gather::Gather(IWbemObjectSink* target) : state_(std::make_shared<State>()) { state_->target = target; }

CComPtr<IWbemObjectSink> Gather::part() {
  {
    std::lock_guard<std::mutex> lock(state_->mutex);
    ++state_->open;
  }
  CComPtr<IWbemObjectSink> sink;
  sink.Attach(new Part(state_));
  return sink;
}

void Gather::seal() {
  std::unique_lock<std::mutex> lock(state_->mutex);
  state_->sealed = true;
  state_->finishIfDone(lock);
}

// ---- FilterSink ---------------------------------------------------------------------

FilterSink::FilterSink(IWbemObjectSink* next, std::shared_ptr<const WqlQuery> query)
    : next_(next), query_(std::move(query)) {}

HRESULT FilterSink::Indicate(long lObjectCount, IWbemClassObject** apObjArray) {
  if (lObjectCount < 0 || (lObjectCount > 0 && apObjArray == nullptr)) return WBEM_E_INVALID_PARAMETER;
  std::vector<CComPtr<IWbemClassObject>> selected;
  std::vector<IWbemClassObject*> pointers;
  for (long i = 0; i < lObjectCount; ++i) {
    if (apObjArray[i] == nullptr || !wqlMatches(query_->where.get(), apObjArray[i])) continue;
    if (query_->properties.empty()) {
      pointers.push_back(apObjArray[i]);
      continue;
    }
    selected.push_back(wqlProject(*query_, apObjArray[i]));
    if (selected.back() != nullptr) pointers.push_back(selected.back());
  }
  if (pointers.empty()) return WBEM_S_NO_ERROR;
  return next_->Indicate(static_cast<long>(pointers.size()), pointers.data());
}

HRESULT FilterSink::SetStatus(long lFlags, HRESULT hResult, BSTR strParam, IWbemClassObject* pObjParam) {
  return next_->SetStatus(lFlags, hResult, strParam, pObjParam);
}

// ---- QueryProbe ---------------------------------------------------------------------

namespace {

bool isRefusal(HRESULT hr) {
  return hr == WBEM_E_NOT_SUPPORTED || hr == WBEM_E_PROVIDER_NOT_CAPABLE || hr == WBEM_E_QUERY_NOT_IMPLEMENTED ||
         hr == E_NOTIMPL;
}

}  // namespace

QueryProbe::QueryProbe(IWbemObjectSink* next, std::function<void()> fallback)
    : next_(next), fallback_(std::move(fallback)) {}

HRESULT QueryProbe::Indicate(long lObjectCount, IWbemClassObject** apObjArray) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ended_) return WBEM_E_INVALID_OPERATION;
    delivered_ = true;
  }
  return next_->Indicate(lObjectCount, apObjArray);
}

bool QueryProbe::fallBackOn(HRESULT hr) {
  std::function<void()> fallback;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ended_) return true;
    ended_ = true;
    if (delivered_ || !isRefusal(hr)) return false;
    fallback.swap(fallback_);
  }
  fallback();
  return true;
}

HRESULT QueryProbe::SetStatus(long lFlags, HRESULT hResult, BSTR strParam, IWbemClassObject* pObjParam) {
  if (lFlags != WBEM_STATUS_COMPLETE) return next_->SetStatus(lFlags, hResult, strParam, pObjParam);
  if (fallBackOn(hResult)) return WBEM_S_NO_ERROR;
  return next_->SetStatus(lFlags, hResult, strParam, pObjParam);
}

void QueryProbe::providerReturned(HRESULT hr) {
  if (SUCCEEDED(hr)) return;
  if (!fallBackOn(hr)) next_->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
}

}  // namespace om::wmi
