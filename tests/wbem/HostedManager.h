// Shared pieces of the tests of the WMI class families: a fixture that hosts
// the object manager with the product's classes and a namespace of the
// test's own, a call log for test providers, and spawning instances.
#ifndef OMLIB_TESTS_WBEM_HOSTEDMANAGER_H_
#define OMLIB_TESTS_WBEM_HOSTEDMANAGER_H_

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include <atlbase.h>
#include <om/ComObject.h>
#include <omtools/tstring.h>
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

#include "StatusSink.h"
#include "wbem/wbemroot.h"

// A new instance of the class, or of the in-parameters of its `method`.
inline CComPtr<IWbemClassObject> spawn(IWbemServices* services, const char16_t* className,
                                       const char16_t* method = nullptr) {
  CComPtr<IWbemClassObject> cls;
  CComPtr<IWbemClassObject> instance;
  EXPECT_EQ(services->GetObject(CComBSTR(className), 0, nullptr, &cls, nullptr), WBEM_S_NO_ERROR);
  if (method != nullptr) {
    CComPtr<IWbemClassObject> signature;
    EXPECT_EQ(cls->GetMethod(method, 0, &signature, nullptr), WBEM_S_NO_ERROR);
    cls = signature;
  }
  EXPECT_EQ(cls->SpawnInstance(0, &instance), WBEM_S_NO_ERROR);
  return instance;
}

// The calls a test provider served, as "Method:arg|arg|" lines, from any
// thread.
class CallLog {
 public:
  template <class... Params>
  void record(const std::string& method, const Params&... params) {
    std::string line = method + ":";
    ((line += text(params) + "|"), ...);
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back(line);
  }
  std::vector<std::string> calls() {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
  }
  // The calls so far, and the log emptied.
  std::vector<std::string> takeCalls() {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> calls;
    calls.swap(calls_);
    return calls;
  }

 private:
  static std::string text(const tstring& value) { return value; }
  static std::string text(bool value) { return value ? "true" : "false"; }
  static std::string text(const std::vector<tstring>& values) {
    std::string joined = "[";
    for (const tstring& value : values) joined += value + ";";
    return joined + "]";
  }

  std::mutex mutex_;
  std::vector<std::string> calls_;
};

// A provider for tests: keeps the last instance put and gives it to
// GetObject, records every call with its context values ("SubnetName" for
// a put, "Silent" for a get), and serves methods through the provider method
// classes with the answers the test set.
class RecordingProvider : public om::wmi::ProviderBase, public CallLog {
 public:
  explicit RecordingProvider(IWbemServices* services) : services_(services) {}

  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override {
    record("PutInstance", contextText(ctx, u"SubnetName"));
    stored_ = instance;
    return sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
  }
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) override {
    record("GetObject", tstring(path), contextText(ctx, u"Silent"));
    IWbemClassObject* found = stored_;
    const HRESULT hr = found != nullptr ? sink->Indicate(1, &found) : WBEM_E_NOT_FOUND;
    sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
    return hr;
  }

  // What a method ends with instead of its answer; set while no call is under way.
  HRESULT failure_ = WBEM_S_NO_ERROR;
  CComPtr<IWbemClassObject> stored_;

 protected:
  // execInit, getInParams (recorded), then `result` indicated unless
  // failure_ is set, and setStatus.
  template <class Method, class Result, class... Params>
  HRESULT serve(Method& method, IWbemContext* ctx, Result result, Params... params) {
    HRESULT hr = method.execInit(ctx);
    if (SUCCEEDED(hr)) hr = method.getInParams(params...);
    if (SUCCEEDED(hr)) {
      record(method.getMethodName(), params...);
      hr = failure_;
    }
    if (SUCCEEDED(hr)) hr = method.indicate(result);
    return method.setStatus(hr);
  }

  CComPtr<IWbemServices> services_;

 private:
  static std::string contextText(IWbemContext* ctx, const char16_t* name) {
    CComVariant value;
    if (ctx == nullptr || FAILED(ctx->GetValue(name, 0, &value))) return "<none>";
    if (value.vt == VT_BOOL) return value.boolVal != VARIANT_FALSE ? "true" : "false";
    return value.vt == VT_BSTR ? tstring().fromBSTR(value.bstrVal) : "<other>";
  }
};

// Hosts the manager for one test; checks at the end that no COM object was
// left alive.
class HostedManagerTest : public ::testing::Test {
 protected:
  // Loads the product's classes and `testMof` (whose namespace is
  // `testNamespace`, as "\\.\root\..."), connects root_ to the product's
  // namespace and test_ to the test's.
  void host(const char* testMof, const char* testNamespace) {
    baseline_ = om::comObjectCount();
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
    auto& manager = om::wmi::ObjectManager::instance();
    ASSERT_EQ(manager.loadMof(OM_ORVA_MOF), WBEM_S_NO_ERROR);
    ASSERT_EQ(manager.loadMofText(testMof), WBEM_S_NO_ERROR);
    root_.setName("\\\\.\\root\\Velmoran\\OrvaManager");
    ASSERT_TRUE(root_.connect()) << std::hex << root_.getErrorCode();
    test_.setName(testNamespace);
    ASSERT_TRUE(test_.connect()) << std::hex << test_.getErrorCode();
    sink_.Attach(new StatusSink);
  }
  // Derived fixtures release their providers first.
  void TearDown() override {
    sink_.Release();
    om::wmi::ObjectManager::instance().shutdown();
    test_.disconnect();
    root_.disconnect();
    SetErrorInfo(0, nullptr);  // failed calls leave an error object on the thread
    CoUninitialize();
    EXPECT_EQ(om::comObjectCount(), baseline_) << "COM objects leaked";
  }

  IWbemServices* services() { return root_.getServices(); }

  long baseline_ = 0;
  WbemRoot root_;
  WbemRoot test_;
  CComPtr<StatusSink> sink_;
};

#endif  // OMLIB_TESTS_WBEM_HOSTEDMANAGER_H_
