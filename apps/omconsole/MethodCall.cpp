#include "MethodCall.h"

#include <condition_variable>
#include <mutex>

#include <atlbase.h>
#include <om/ComObject.h>
#include <om/codepage.h>

#include "wbem/WbemProvider.h"

namespace omconsole {
namespace {

// Keeps the "ReturnValue" of the objects it is given and the final status.
class ResultSink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject** objects) override {
    std::lock_guard<std::mutex> lock(mutex_);
    for (long i = 0; i < count; ++i) {
      CComVariant value;
      if (SUCCEEDED(objects[i]->Get(u"ReturnValue", 0, &value, nullptr, nullptr)) && value.vt == VT_I4) {
        result_.returnValue = value.lVal;
      }
    }
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT hr, BSTR, IWbemClassObject*) override {
    std::lock_guard<std::mutex> lock(mutex_);
    result_.status = hr;
    done_ = true;
    changed_.notify_all();
    return WBEM_S_NO_ERROR;
  }
  MethodResult wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return done_; });
    return result_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
  MethodResult result_;
};

}  // namespace

MethodResult callWithSink(WbemClient& client, const std::function<void(IWbemObjectSink* sink)>& start) {
  CComPtr<ResultSink> sink;
  sink.Attach(new ResultSink);
  start(sink);
  if (client.getErrorCode() != 0) return {static_cast<HRESULT>(client.getErrorCode()), -1};
  return sink->wait();
}

std::string statusName(unsigned long code) { return om::utf16ToUtf8(WbemStatusName(static_cast<HRESULT>(code))); }

}  // namespace omconsole
