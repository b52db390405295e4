#include "ManagerTestSupport.h"

#include <om/WbemGuids.h>

#include "TestProviders.h"

namespace wmitest {

std::u16string textOf(const VARIANT& value) {
  if (value.vt != VT_BSTR || value.bstrVal == nullptr) return std::u16string();
  return std::u16string(value.bstrVal, SysStringLen(value.bstrVal));
}

std::u16string stringProperty(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  if (object == nullptr || FAILED(object->Get(name, 0, &value, nullptr, nullptr))) return std::u16string();
  return textOf(value);
}

long intProperty(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  if (object == nullptr || FAILED(object->Get(name, 0, &value, nullptr, nullptr)) || value.vt != VT_I4) return -1;
  return value.lVal;
}

bool boolProperty(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  if (object == nullptr || FAILED(object->Get(name, 0, &value, nullptr, nullptr)) || value.vt != VT_BOOL) return false;
  return value.boolVal == VARIANT_TRUE;
}

VARTYPE typeOf(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  if (object == nullptr || FAILED(object->Get(name, 0, &value, nullptr, nullptr))) return VT_ILLEGAL;
  return value.vt;
}

HRESULT putValue(IWbemClassObject* object, const char16_t* name, const CComVariant& value) {
  CComVariant copy(value);
  return object->Put(name, 0, &copy, 0);
}

CComVariant stringArray(const std::vector<std::u16string>& items) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(items.size()));
  for (LONG i = 0; i < static_cast<LONG>(items.size()); ++i) {
    CComBSTR item(items[static_cast<std::size_t>(i)].c_str());
    SafeArrayPutElement(array, &i, item.m_str);
  }
  CComVariant value;
  value.vt = VT_ARRAY | VT_BSTR;
  value.parray = array;
  return value;
}

std::vector<std::u16string> stringArrayOf(const VARIANT& value) {
  std::vector<std::u16string> items;
  if (value.vt != (VT_ARRAY | VT_BSTR)) return items;
  LONG low = 0, high = -1;
  SafeArrayGetLBound(value.parray, 1, &low);
  SafeArrayGetUBound(value.parray, 1, &high);
  for (LONG i = low; i <= high; ++i) {
    CComBSTR item;
    SafeArrayGetElement(value.parray, &i, &item);
    items.emplace_back(item.m_str == nullptr ? u"" : item.m_str, item.Length());
  }
  return items;
}

// ---- TestSink ---------------------------------------------------------------------------

HRESULT TestSink::Indicate(long lObjectCount, IWbemClassObject** apObjArray) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!gateOpen_) {
    held_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return gateOpen_; });
  }
  if (statusCount_ > 0) ++lateIndicates_;
  for (long i = 0; i < lObjectCount; ++i) objects_.emplace_back(apObjArray[i]);
  changed_.notify_all();
  return WBEM_S_NO_ERROR;
}

HRESULT TestSink::SetStatus(long lFlags, HRESULT hResult, BSTR, IWbemClassObject* pObjParam) {
  if (lFlags != WBEM_STATUS_COMPLETE) return WBEM_S_NO_ERROR;
  std::lock_guard<std::mutex> lock(mutex_);
  ++statusCount_;
  status_ = hResult;
  statusObject_ = pObjParam;
  changed_.notify_all();
  return WBEM_S_NO_ERROR;
}

bool TestSink::waitForStatus() {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, kPatience, [this] { return statusCount_ > 0; });
}

bool TestSink::waitForObjects(std::size_t count) {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return objects_.size() >= count; });
}

bool TestSink::waitUntilHeld() {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, kPatience, [this] { return held_; });
}

std::vector<CComPtr<IWbemClassObject>> TestSink::objects() {
  std::lock_guard<std::mutex> lock(mutex_);
  return objects_;
}

std::size_t TestSink::objectCount() {
  std::lock_guard<std::mutex> lock(mutex_);
  return objects_.size();
}

int TestSink::statusCount() {
  std::lock_guard<std::mutex> lock(mutex_);
  return statusCount_;
}

HRESULT TestSink::status() {
  std::lock_guard<std::mutex> lock(mutex_);
  return status_;
}

CComPtr<IWbemClassObject> TestSink::statusObject() {
  std::lock_guard<std::mutex> lock(mutex_);
  return statusObject_;
}

int TestSink::lateIndicates() {
  std::lock_guard<std::mutex> lock(mutex_);
  return lateIndicates_;
}

void TestSink::closeGate() {
  std::lock_guard<std::mutex> lock(mutex_);
  gateOpen_ = false;
}

void TestSink::openGate() {
  std::lock_guard<std::mutex> lock(mutex_);
  gateOpen_ = true;
  changed_.notify_all();
}

// ---- ManagerTest ------------------------------------------------------------------------

void ManagerTest::SetUp() {
  baseline_ = om::comObjectCount();
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  ASSERT_EQ(manager().loadMof(OM_WMI_TEST_MOF), WBEM_S_NO_ERROR);
  CComPtr<IWbemLocator> locator;
  ASSERT_EQ(locator.CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER), S_OK);
  ASSERT_EQ(locator->ConnectServer(bstr(u"\\\\.\\root\\Velmoran\\ManagerTest"), nullptr, nullptr, nullptr, 0, nullptr,
                                   nullptr, &services_),
            WBEM_S_NO_ERROR);
  devices_.Attach(new DeviceProvider(services_));
  sensors_.Attach(new SensorProvider(services_));
  ASSERT_EQ(manager().registerProvider(kNamespace, u"Device", devices_), WBEM_S_NO_ERROR);
  ASSERT_EQ(manager().registerProvider(kNamespace, u"Sensor", sensors_), WBEM_S_NO_ERROR);
}

void ManagerTest::TearDown() {
  services_.Release();
  devices_.Release();
  sensors_.Release();
  manager().shutdown();
  SetErrorInfo(0, nullptr);
  CoUninitialize();
  EXPECT_EQ(om::comObjectCount(), baseline_) << "COM objects leaked";
}

CComPtr<IWbemClassObject> ManagerTest::spawn(const char16_t* className) {
  CComPtr<IWbemClassObject> cls;
  CComPtr<IWbemClassObject> instance;
  EXPECT_EQ(services_->GetObject(bstr(className), 0, nullptr, &cls, nullptr), WBEM_S_NO_ERROR);
  if (cls != nullptr) {
    EXPECT_EQ(cls->SpawnInstance(0, &instance), WBEM_S_NO_ERROR);
  }
  return instance;
}

CComPtr<IWbemClassObject> ManagerTest::inParameters(const char16_t* className, const char16_t* method) {
  CComPtr<IWbemClassObject> cls;
  CComPtr<IWbemClassObject> signature;
  CComPtr<IWbemClassObject> in;
  EXPECT_EQ(services_->GetObject(bstr(className), 0, nullptr, &cls, nullptr), WBEM_S_NO_ERROR);
  if (cls != nullptr) {
    EXPECT_EQ(cls->GetMethod(method, 0, &signature, nullptr), WBEM_S_NO_ERROR);
  }
  if (signature != nullptr) {
    EXPECT_EQ(signature->SpawnInstance(0, &in), WBEM_S_NO_ERROR);
  }
  return in;
}

CComPtr<IWbemClassObject> ManagerTest::takeErrorObject() {
  CComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, &info) != S_OK) return nullptr;
  CComPtr<IWbemClassObject> status;
  info->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&status));
  return status;
}

}  // namespace wmitest
