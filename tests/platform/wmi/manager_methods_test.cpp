// ExecMethod(Async): in-parameters checked against the method's signature,
// out-parameters delivered by the provider, failures and their extended
// error objects, and cancellation.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "ManagerTestSupport.h"
#include "TestProviders.h"

namespace wmitest {
namespace {

class MethodsTest : public ManagerTest {
 protected:
  // In-parameters for Device.Configure.
  CComPtr<IWbemClassObject> configureParameters(const char16_t* label, bool force, long retries,
                                                const std::vector<std::u16string>& targets) {
    CComPtr<IWbemClassObject> in = inParameters(u"Device", u"Configure");
    CComPtr<IWbemClassObject> templ = spawn(u"SpecialItem");
    EXPECT_EQ(putValue(templ, u"Name", CComVariant(u"tmpl")), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(in, u"Label", CComVariant(label)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(in, u"Force", CComVariant(force)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(in, u"Retries", CComVariant(retries)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(in, u"Targets", stringArray(targets)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(in, u"Template", CComVariant(static_cast<IUnknown*>(templ.p))), WBEM_S_NO_ERROR);
    return in;
  }

  // The embedded devices of Results, as (Name, Kind, Address) texts.
  static std::vector<std::u16string> results(IWbemClassObject* out) {
    CComVariant value;
    EXPECT_EQ(out->Get(u"Results", 0, &value, nullptr, nullptr), WBEM_S_NO_ERROR);
    EXPECT_EQ(value.vt, VT_ARRAY | VT_UNKNOWN);
    std::vector<std::u16string> devices;
    if (value.vt != (VT_ARRAY | VT_UNKNOWN)) return devices;
    LONG low = 0, high = -1;
    SafeArrayGetLBound(value.parray, 1, &low);
    SafeArrayGetUBound(value.parray, 1, &high);
    for (LONG i = low; i <= high; ++i) {
      CComPtr<IUnknown> element;
      SafeArrayGetElement(value.parray, &i, &element);
      CComQIPtr<IWbemClassObject> device(element);
      EXPECT_EQ(stringProperty(device, u"__CLASS"), u"Device");
      devices.push_back(stringProperty(device, u"Name") + u"/" +
                        std::u16string(1, static_cast<char16_t>(u'0' + intProperty(device, u"Kind"))) + u"/" +
                        stringProperty(device, u"Address"));
    }
    return devices;
  }
};

TEST_F(MethodsTest, SynchronousCallCarriesEveryParameterType) {
  CComPtr<IWbemClassObject> in = configureParameters(u"lab", true, 3, {u"r1", u"r2"});
  CComPtr<IWbemClassObject> out;
  ASSERT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), 0, nullptr, in, &out, nullptr),
            WBEM_S_NO_ERROR);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(stringProperty(out, u"__CLASS"), u"__PARAMETERS");
  EXPECT_EQ(intProperty(out, u"ReturnValue"), 2);
  EXPECT_EQ(results(out),
            (std::vector<std::u16string>{u"r1/3/lab!:tmpl", u"r2/3/lab!:tmpl", u"r1/3/lab!:tmpl"}));

  // The provider got a copy: the caller's in-parameters are its own.
  EXPECT_EQ(stringProperty(in, u"Label"), u"lab");

  // Method and class names are case-insensitive; an instance path works too.
  CComPtr<IWbemClassObject> again;
  ASSERT_EQ(services_->ExecMethod(bstr(u"device.Name=\"x\""), bstr(u"configure"), 0, nullptr,
                                  configureParameters(u"b", false, 1, {u"only"}), &again, nullptr),
            WBEM_S_NO_ERROR);
  EXPECT_EQ(results(again), (std::vector<std::u16string>{u"only/1/b:tmpl"}));

  // The semisynchronous form hands the result over through IWbemCallResult.
  CComPtr<IWbemCallResult> pending;
  ASSERT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                  configureParameters(u"c", false, 2, {u"z"}), nullptr, &pending),
            WBEM_S_NO_ERROR);
  long status = -1;
  ASSERT_EQ(pending->GetCallStatus(WBEM_INFINITE, &status), WBEM_S_NO_ERROR);
  EXPECT_EQ(status, WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> result;
  ASSERT_EQ(pending->GetResultObject(WBEM_INFINITE, &result), WBEM_S_NO_ERROR);
  EXPECT_EQ(results(result), (std::vector<std::u16string>{u"z/2/c:tmpl", u"z/2/c:tmpl"}));
  EXPECT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                  nullptr, nullptr, nullptr),
            WBEM_E_INVALID_PARAMETER);
}

TEST_F(MethodsTest, AsynchronousCallDeliversOutParametersThenStatus) {
  CComPtr<TestSink> sink;
  sink.Attach(new TestSink);
  ASSERT_EQ(services_->ExecMethodAsync(bstr(u"Device"), bstr(u"Configure"), 0, nullptr,
                                       configureParameters(u"async", false, 100, {u"n"}), sink),
            WBEM_S_NO_ERROR);
  ASSERT_TRUE(sink->waitForStatus());
  EXPECT_EQ(sink->status(), WBEM_S_NO_ERROR);
  EXPECT_EQ(sink->statusCount(), 1);
  ASSERT_EQ(sink->objectCount(), 1u);
  const std::vector<std::u16string> devices = results(sink->objects()[0]);
  ASSERT_EQ(devices.size(), 100u);
  EXPECT_EQ(devices[99], u"n/" + std::u16string(1, static_cast<char16_t>(u'0' + 100)) + u"/async:tmpl");
  EXPECT_EQ(sink->lateIndicates(), 0);
}

TEST_F(MethodsTest, InParametersAreCheckedAgainstTheSignature) {
  CComPtr<IWbemClassObject> out;
  EXPECT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Reboot"), 0, nullptr, nullptr, &out, nullptr),
            WBEM_E_INVALID_METHOD);
  EXPECT_EQ(services_->ExecMethod(bstr(u"Gadget"), bstr(u"Configure"), 0, nullptr, nullptr, &out, nullptr),
            WBEM_E_INVALID_CLASS);

  // A value of the wrong CIM type, a parameter the method does not have, and
  // an embedded object of the wrong class.
  CComPtr<IWbemClassObject> wrongType = spawn(u"WrongTypeParams");
  putValue(wrongType, u"Label", CComVariant(5));
  EXPECT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), 0, nullptr, wrongType, &out, nullptr),
            WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> stranger = spawn(u"StrangerParams");
  putValue(stranger, u"Unknown", CComVariant(u"?"));
  EXPECT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), 0, nullptr, stranger, &out, nullptr),
            WBEM_E_INVALID_METHOD_PARAMETERS);
  CComPtr<IWbemClassObject> wrongClass = spawn(u"WrongClassParams");
  CComPtr<IWbemClassObject> device = spawn(u"Device");
  putValue(wrongClass, u"Template", CComVariant(static_cast<IUnknown*>(device.p)));
  EXPECT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), 0, nullptr, wrongClass, &out, nullptr),
            WBEM_E_INVALID_PARAMETER);
  // Null values of an unrelated shape name no parameter: the call reaches the
  // provider, which finds its parameters missing.
  CComPtr<IWbemClassObject> empty = spawn(u"StrangerParams");
  EXPECT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), 0, nullptr, empty, &out, nullptr),
            WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(stringProperty(takeErrorObject(), u"ProviderName"), u"Device");

  // A method of a class without a provider cannot run.
  EXPECT_EQ(services_->ExecMethod(bstr(u"Item"), bstr(u"Touch"), 0, nullptr, nullptr, &out, nullptr),
            WBEM_E_METHOD_NOT_IMPLEMENTED);
  EXPECT_EQ(out, nullptr);
}

TEST_F(MethodsTest, FailuresSetTheExtendedErrorObject) {
  // A failure of the manager's own.
  CComPtr<IWbemClassObject> out;
  ASSERT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Reboot"), 0, nullptr, nullptr, &out, nullptr),
            WBEM_E_INVALID_METHOD);
  CComPtr<IWbemClassObject> status = takeErrorObject();
  ASSERT_NE(status, nullptr);
  EXPECT_EQ(stringProperty(status, u"__CLASS"), u"__ExtendedStatus");
  EXPECT_EQ(stringProperty(status, u"Operation"), u"ExecMethod");
  EXPECT_EQ(stringProperty(status, u"ParameterInfo"), u"Device");
  EXPECT_EQ(stringProperty(status, u"ProviderName"), u"ObjectManager");
  EXPECT_EQ(stringProperty(status, u"Description"), u"The class Device has no method Reboot.");
  EXPECT_EQ(static_cast<HRESULT>(intProperty(status, u"StatusCode")), WBEM_E_INVALID_METHOD);
  EXPECT_EQ(takeErrorObject(), nullptr);  // GetErrorInfo hands it over once

  // A provider's failure: named after the provider's class, with its text.
  CComPtr<IWbemClassObject> in = inParameters(u"Device", u"Fail");
  putValue(in, u"Reason", CComVariant(u"locked by the operator"));
  ASSERT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Fail"), 0, nullptr, in, &out, nullptr),
            WBEM_E_ACCESS_DENIED);
  CComPtr<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, &info), S_OK);
  CComBSTR description;
  ASSERT_EQ(info->GetDescription(&description), S_OK);
  EXPECT_EQ(std::u16string(description.m_str), u"locked by the operator");
  CComQIPtr<IWbemClassObject> fromInfo(info.p);
  ASSERT_NE(fromInfo, nullptr);
  EXPECT_EQ(stringProperty(fromInfo, u"ProviderName"), u"Device");
  EXPECT_EQ(static_cast<HRESULT>(intProperty(fromInfo, u"StatusCode")), WBEM_E_ACCESS_DENIED);

  // A provider's own error object goes through as it is.
  putValue(in, u"Reason", CComVariant(u"own"));
  ASSERT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Fail"), 0, nullptr, in, &out, nullptr),
            WBEM_E_ACCESS_DENIED);
  CComPtr<IWbemClassObject> own = takeErrorObject();
  EXPECT_EQ(stringProperty(own, u"Description"), u"the provider's own account");
  EXPECT_EQ(stringProperty(own, u"ProviderName"), u"DeviceProvider");

  // The asynchronous form gives the error object with the final status.
  CComPtr<TestSink> sink;
  sink.Attach(new TestSink);
  ASSERT_EQ(services_->GetObjectAsync(bstr(u"Item.Name=\"ghost\""), 0, nullptr, sink), WBEM_S_NO_ERROR);
  ASSERT_TRUE(sink->waitForStatus());
  EXPECT_EQ(sink->status(), WBEM_E_NOT_FOUND);
  EXPECT_EQ(stringProperty(sink->statusObject(), u"Operation"), u"GetObject");
  EXPECT_EQ(stringProperty(sink->statusObject(), u"ParameterInfo"), u"Item.Name=\"ghost\"");

  // A successful call clears the thread's error object.
  ASSERT_EQ(services_->GetObject(bstr(u"Item.Name=\"ghost\""), 0, nullptr, &out, nullptr), WBEM_E_NOT_FOUND);
  ASSERT_EQ(services_->GetObject(bstr(u"Item"), 0, nullptr, &out, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(takeErrorObject(), nullptr);
}

TEST_F(MethodsTest, CancellingStopsTheCallAtOnce) {
  auto* provider = static_cast<DeviceProvider*>(devices_.p);
  CComPtr<TestSink> sink;
  sink.Attach(new TestSink);
  ASSERT_EQ(services_->ExecMethodAsync(bstr(u"Device"), bstr(u"Slow"), 0, nullptr, nullptr, sink), WBEM_S_NO_ERROR);
  for (int i = 0; i < 100000 && !provider->hasSlowCall(); ++i) std::this_thread::yield();
  ASSERT_TRUE(provider->hasSlowCall());

  ASSERT_EQ(services_->CancelAsyncCall(sink), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink->statusCount(), 1);  // delivered before CancelAsyncCall returned
  EXPECT_EQ(sink->status(), WBEM_E_CALL_CANCELLED);
  EXPECT_EQ(services_->CancelAsyncCall(sink), WBEM_E_NOT_FOUND);

  // The provider learns of it from Indicate; nothing more reaches the caller.
  const std::vector<HRESULT> results = provider->finishSlow(2);
  EXPECT_EQ(results, (std::vector<HRESULT>{WBEM_E_CALL_CANCELLED, WBEM_E_CALL_CANCELLED, WBEM_E_CALL_CANCELLED}));
  EXPECT_EQ(sink->statusCount(), 1);
  EXPECT_EQ(sink->objectCount(), 0u);
  EXPECT_EQ(services_->CancelAsyncCall(nullptr), WBEM_E_INVALID_PARAMETER);
}

TEST_F(MethodsTest, OneFinalStatusEvenFromAnUnrulyProvider) {
  auto* provider = static_cast<DeviceProvider*>(devices_.p);
  CComPtr<TestSink> sink;
  sink.Attach(new TestSink);
  ASSERT_EQ(services_->ExecMethodAsync(bstr(u"Device"), bstr(u"Slow"), 0, nullptr, nullptr, sink), WBEM_S_NO_ERROR);
  for (int i = 0; i < 100000 && !provider->hasSlowCall(); ++i) std::this_thread::yield();
  // finishSlow indicates, then ends the call; its sink is the manager's, so a
  // second SetStatus would be refused. The caller sees exactly one.
  const std::vector<HRESULT> results = provider->finishSlow(3);
  EXPECT_EQ(results, (std::vector<HRESULT>(4, WBEM_S_NO_ERROR)));
  ASSERT_TRUE(sink->waitForStatus());
  EXPECT_EQ(sink->statusCount(), 1);
  EXPECT_EQ(sink->objectCount(), 3u);
  EXPECT_EQ(sink->lateIndicates(), 0);
  EXPECT_EQ(services_->CancelAsyncCall(sink), WBEM_E_NOT_FOUND);
}

TEST_F(MethodsTest, ManyThreadsCallAtOnce) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      CoInitializeEx(nullptr, COINIT_MULTITHREADED);
      for (int i = 0; i < 50; ++i) {
        CComPtr<IWbemClassObject> out;
        if (services_->ExecMethod(bstr(u"Device"), bstr(u"Configure"), 0, nullptr,
                                  configureParameters(u"t", false, 2, {u"x"}), &out, nullptr) != WBEM_S_NO_ERROR ||
            intProperty(out, u"ReturnValue") != 1) {
          ++failures[static_cast<std::size_t>(t)];
        }
        CComPtr<TestSink> sink;
        sink.Attach(new TestSink);
        if (FAILED(services_->GetObjectAsync(bstr(u"Item=\"fromMof\""), 0, nullptr, sink)) || !sink->waitForStatus() ||
            sink->objectCount() != 1) {
          ++failures[static_cast<std::size_t>(t)];
        }
      }
      CoUninitialize();
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace wmitest
