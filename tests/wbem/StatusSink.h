// A sink for the tests of asynchronous WMI calls: keeps every object it is
// given and lets the test wait for the final status.
#ifndef OMLIB_TESTS_WBEM_STATUSSINK_H_
#define OMLIB_TESTS_WBEM_STATUSSINK_H_

#include <condition_variable>
#include <mutex>
#include <vector>

#include <atlbase.h>
#include <om/ComObject.h>
#include <wbemcli.h>

class StatusSink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject** objects) override {
    std::lock_guard<std::mutex> lock(mutex_);
    for (long i = 0; i < count; ++i) objects_.emplace_back(objects[i]);
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT hr, BSTR, IWbemClassObject*) override {
    std::lock_guard<std::mutex> lock(mutex_);
    status_ = hr;
    done_ = true;
    changed_.notify_all();
    return WBEM_S_NO_ERROR;
  }
  // The final status, once it has come.
  HRESULT wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return done_; });
    return status_;
  }
  bool done() {
    std::lock_guard<std::mutex> lock(mutex_);
    return done_;
  }
  // The objects indicated so far; read after wait().
  std::vector<CComPtr<IWbemClassObject>> objects_;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
  HRESULT status_ = E_FAIL;
};

#endif  // OMLIB_TESTS_WBEM_STATUSSINK_H_
