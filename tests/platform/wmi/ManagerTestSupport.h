// Shared pieces of the object manager's tests: COM set-up, a sink that
// records what it is given, text helpers, and a fixture that hosts the
// manager with the tests' classes and providers.
#ifndef OM_TESTS_PLATFORM_WMI_MANAGERTESTSUPPORT_H_
#define OM_TESTS_PLATFORM_WMI_MANAGERTESTSUPPORT_H_

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <atlbase.h>
#include <objbase.h>
#include <oleauto.h>
#include <wbemcli.h>

#include <om/ComObject.h>
#include <wmi/ObjectManager.h>

namespace wmitest {

inline constexpr const char16_t* kNamespace = u"root\\Velmoran\\ManagerTest";
// The longest a test waits for something that should happen at once; only
// there so that a fault ends the test instead of hanging it.
inline constexpr std::chrono::seconds kPatience{30};

inline CComBSTR bstr(const char16_t* text) { return CComBSTR(text); }

std::u16string textOf(const VARIANT& value);
// The string / integer / boolean property of an object; "" / -1 / false
// when missing or of another type.
std::u16string stringProperty(IWbemClassObject* object, const char16_t* name);
long intProperty(IWbemClassObject* object, const char16_t* name);
bool boolProperty(IWbemClassObject* object, const char16_t* name);
VARTYPE typeOf(IWbemClassObject* object, const char16_t* name);
HRESULT putValue(IWbemClassObject* object, const char16_t* name, const CComVariant& value);
// A SAFEARRAY of BSTRs in a variant.
CComVariant stringArray(const std::vector<std::u16string>& items);
std::vector<std::u16string> stringArrayOf(const VARIANT& value);

// Records what a call delivers. Indicate can be held at a gate to play a
// slow caller.
class TestSink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override;
  HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                      IWbemClassObject* pObjParam) override;

  // False when kPatience passed first.
  bool waitForStatus();
  bool waitForObjects(std::size_t count);

  std::vector<CComPtr<IWbemClassObject>> objects();
  std::size_t objectCount();
  int statusCount();
  HRESULT status();
  CComPtr<IWbemClassObject> statusObject();
  // Indicate calls that arrived after the final status.
  int lateIndicates();

  void closeGate();
  void openGate();
  // True once an Indicate waits at the closed gate.
  bool waitUntilHeld();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<CComPtr<IWbemClassObject>> objects_;
  int statusCount_ = 0;
  int lateIndicates_ = 0;
  HRESULT status_ = S_OK;
  CComPtr<IWbemClassObject> statusObject_;
  bool gateOpen_ = true;
  bool held_ = false;
};

// COM for the test's thread, the manager with the tests' MOF, a connection
// to the test namespace, and the tests' providers registered. TearDown shuts
// the manager down and checks that every COM object was released.
class ManagerTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  om::wmi::ObjectManager& manager() { return om::wmi::ObjectManager::instance(); }
  // A new instance of a class of the test namespace.
  CComPtr<IWbemClassObject> spawn(const char16_t* className);
  // The in-parameters object of a method.
  CComPtr<IWbemClassObject> inParameters(const char16_t* className, const char16_t* method);
  // The failure object the thread holds (GetErrorInfo), as IWbemClassObject.
  CComPtr<IWbemClassObject> takeErrorObject();

  long baseline_ = 0;
  CComPtr<IWbemServices> services_;
  CComPtr<IWbemServices> devices_;  // the device provider
  CComPtr<IWbemServices> sensors_;  // the sensor provider
};

}  // namespace wmitest

#endif  // OM_TESTS_PLATFORM_WMI_MANAGERTESTSUPPORT_H_
