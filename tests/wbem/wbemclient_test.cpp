// The access layer against the hosted object manager: key paths, instance
// store round trips, enumeration and query, methods served by a provider
// built on WbemProvider (synchronously and with a sink), context values, and
// the extended error object; with the status names and WbemChild.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <om/ComObject.h>
#include <om/WbemGuids.h>
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

#include "StatusSink.h"
#include "wbem/WbemChild.h"
#include "wbem/WbemClient.h"
#include "wbem/WbemProvider.h"
#include "wbem/wbemroot.h"

namespace {

const char kMof[] = R"(
#pragma namespace("\\\\.\\root\\Velmoran\\WbemTest")
class Gadget {
  [key] string Name;
  sint32 Size;
};
class Counter {
  [key] sint32 Id;
  string Note;
};
class Probe {
  [key] string Name;
  [static] sint32 Run([in] string Label, [in] boolean Loud, [in] string Tags[], [out] string Echo,
                      [out] boolean Flag, [out] sint32 Count, [out] string List[], [out] Gadget Found);
};
)";

// A client wrapper of Gadget: the record is the wrapper.
class GadgetClient : public WbemClient {
 public:
  using WbemClient::WbemClient;
  tstring getClassName() const override { return "Gadget"; }
  bool putToInstance(IWbemClassObject* instance) override {
    CComVariant name(name_.c_str());
    CComVariant size(size_);
    return SUCCEEDED(instance->Put(u"Name", 0, &name, 0)) && SUCCEEDED(instance->Put(u"Size", 0, &size, 0));
  }
  bool getFromInstance(IWbemClassObject* instance) override {
    CComVariant name;
    CComVariant size;
    if (FAILED(instance->Get(u"Name", 0, &name, nullptr, nullptr)) || name.vt != VT_BSTR) return false;
    name_.fromBSTR(name.bstrVal);
    size_ = SUCCEEDED(instance->Get(u"Size", 0, &size, nullptr, nullptr)) && size.vt == VT_I4 ? size.lVal : -1;
    return true;
  }
  tstring name_;
  int size_ = 0;
};

// Probe.Run, served with WbemProvider: echoes its arguments and the context
// value "SubnetName" (or "<none>").
class RunMethod : public WbemProvider {
 public:
  RunMethod(IWbemClassObject* in, IWbemObjectSink* sink, IWbemServices* services, IWbemContext* ctx)
      : WbemProvider(in, sink), services_(services), ctx_(ctx) {}

  HRESULT run() {
    tstring label;
    bool loud = false;
    HRESULT hr = getParamString("Label", label);
    if (hr == WBEM_S_NO_ERROR) hr = getParamBool("Loud", loud);
    if (hr != WBEM_S_NO_ERROR) return setStatus(hr);
    CComPtr<IWbemClassObject> cls;
    hr = services_->GetObject(CComBSTR(u"Probe"), 0, nullptr, &cls, nullptr);
    if (SUCCEEDED(hr)) hr = cls->GetMethod(u"Run", 0, nullptr, &m_pOutClass);
    if (SUCCEEDED(hr)) hr = m_pOutClass->SpawnInstance(0, &m_pOutInstance);
    if (FAILED(hr)) return setStatus(hr);
    CComVariant echo((label + "|" + contextValue()).c_str());
    CComVariant flag(!loud);
    CComVariant count(static_cast<int>(label.size()));
    CComVariant list;
    WbemClient::createStringSafeArray(std::vector<std::string>{label, "x"}, list);
    m_pOutInstance->Put(u"Echo", 0, &echo, 0);
    m_pOutInstance->Put(u"Flag", 0, &flag, 0);
    m_pOutInstance->Put(u"Count", 0, &count, 0);
    m_pOutInstance->Put(u"List", 0, &list, 0);
    CComPtr<IWbemClassObject> gadgetClass;
    CComPtr<IWbemClassObject> gadget;
    services_->GetObject(CComBSTR(u"Gadget"), 0, nullptr, &gadgetClass, nullptr);
    gadgetClass->SpawnInstance(0, &gadget);
    CComVariant gadgetName("embedded");
    gadget->Put(u"Name", 0, &gadgetName, 0);
    CComVariant found(static_cast<IUnknown*>(gadget.p));
    m_pOutInstance->Put(u"Found", 0, &found, 0);
    IWbemClassObject* out = m_pOutInstance;
    m_pSink->Indicate(1, &out);
    return setStatus(WBEM_S_NO_ERROR);
  }

 private:
  tstring contextValue() {
    CComVariant value;
    if (ctx_ == nullptr || FAILED(ctx_->GetValue(u"SubnetName", 0, &value)) || value.vt != VT_BSTR) return "<none>";
    return tstring().fromBSTR(value.bstrVal);
  }

  IWbemServices* services_;
  IWbemContext* ctx_;
};

class ProbeProvider : public om::wmi::ProviderBase {
 public:
  explicit ProbeProvider(IWbemServices* services) : services_(services) {}
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, long, IWbemContext* ctx, IWbemClassObject* in,
                                            IWbemObjectSink* sink) override {
    RunMethod method(in, sink, services_, ctx);
    return method.run();
  }

 private:
  CComPtr<IWbemServices> services_;
};

CComVariant nullValue() {
  CComVariant value;
  value.vt = VT_NULL;
  return value;
}

tstring stringOf(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  if (FAILED(object->Get(name, 0, &value, nullptr, nullptr)) || value.vt != VT_BSTR) return "<missing>";
  return tstring().fromBSTR(value.bstrVal);
}

class AccessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    baseline_ = om::comObjectCount();
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
    auto& manager = om::wmi::ObjectManager::instance();
    ASSERT_EQ(manager.loadMofText(kMof), WBEM_S_NO_ERROR);
    root_.resetName(".");
    root_.setName("\\\\.\\root\\Velmoran\\WbemTest");
    ASSERT_TRUE(root_.connect()) << std::hex << root_.getErrorCode();
    provider_.Attach(new ProbeProvider(root_.getServices()));
    ASSERT_EQ(manager.registerProvider(u"root\\Velmoran\\WbemTest", u"Probe", provider_), WBEM_S_NO_ERROR);
  }
  void TearDown() override {
    provider_.Release();
    om::wmi::ObjectManager::instance().shutdown();
    root_.disconnect();
    SetErrorInfo(0, nullptr);
    CoUninitialize();
    EXPECT_EQ(om::comObjectCount(), baseline_) << "COM objects leaked";
  }

  long baseline_ = 0;
  WbemRoot root_;
  CComPtr<IWbemServices> provider_;
};

TEST_F(AccessTest, KeysWithQuotesAndIntegersReachTheirInstances) {
  GadgetClient gadget(root_.getServices());
  gadget.name_ = "say \"hi\"";
  gadget.size_ = 42;
  WbemAccess access(&gadget);
  access.setKeyPrefix("Gadget.Name");
  ASSERT_TRUE(access.put()) << std::hex << GetLastError();

  GadgetClient reader(root_.getServices());
  WbemAccess readAccess(&reader);
  readAccess.setKeyPrefix("Gadget.Name");
  ASSERT_TRUE(readAccess.get("say \"hi\"")) << std::hex << GetLastError();
  EXPECT_EQ(reader.name_, "say \"hi\"");
  EXPECT_EQ(reader.size_, 42);
  // The same path written out by hand.
  reader.size_ = 0;
  EXPECT_TRUE(readAccess.get(tstring("Gadget.Name=\"say \\\"hi\\\"\"")));
  EXPECT_EQ(reader.size_, 42);

  SetLastError(0);
  EXPECT_FALSE(readAccess.get("nobody"));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_NOT_FOUND);

  // Integer keys: Counter.Id="7".
  WbemAccess counters(root_.getServices(), "Counter");
  counters.setKeyPrefix("Counter.Id");
  ASSERT_EQ(om::wmi::ObjectManager::instance().loadMofText(
                "#pragma namespace(\"\\\\\\\\.\\\\root\\\\Velmoran\\\\WbemTest\")\n"
                "instance of Counter { Id = 7; Note = \"seven\"; };\n"),
            WBEM_S_NO_ERROR);
  EXPECT_TRUE(counters.get(7));
  EXPECT_FALSE(counters.get(8));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_NOT_FOUND);

  EXPECT_TRUE(counters.remove(7));
  EXPECT_FALSE(counters.get(7));
  EXPECT_FALSE(counters.remove(7));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_NOT_FOUND);
  EXPECT_TRUE(access.remove("say \"hi\""));
  EXPECT_FALSE(readAccess.get("say \"hi\""));
}

TEST_F(AccessTest, EnumerateAndQueryHandOutEveryInstance) {
  GadgetClient gadget(root_.getServices());
  WbemAccess access(&gadget);
  for (int i = 0; i < 3; ++i) {
    gadget.name_ = tstring().format("g%d", i);
    gadget.size_ = i * 10;
    ASSERT_TRUE(access.put());
  }
  auto drain = [](WbemAccess& a) {
    std::vector<tstring> names;
    IWbemClassObject* objects[2] = {};
    ULONG returned = 0;
    while (a.getOutput(2, objects, returned)) {
      EXPECT_GE(returned, 1u);
      for (ULONG i = 0; i < returned; ++i) {
        names.push_back(stringOf(objects[i], u"Name"));
        objects[i]->Release();
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  };
  ASSERT_TRUE(access.enumerate());
  EXPECT_EQ(drain(access), (std::vector<tstring>{"g0", "g1", "g2"}));
  ASSERT_TRUE(access.query("select * from Gadget where Size >= 10"));
  EXPECT_EQ(drain(access), (std::vector<tstring>{"g1", "g2"}));
  EXPECT_FALSE(access.query("select from"));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_INVALID_QUERY);
  // Without an enumeration there is nothing to read.
  WbemAccess fresh(root_.getServices(), "Gadget");
  ULONG returned = 5;
  IWbemClassObject* object = nullptr;
  EXPECT_FALSE(fresh.getOutput(1, &object, returned));
  EXPECT_EQ(returned, 0u);
}

TEST_F(AccessTest, ExecuteReadsEveryOutputFormAndClearsTheContext) {
  WbemAccess probe(root_.getServices(), "Probe");
  probe.putContext("SubnetName", CComVariant("lab"));
  ASSERT_TRUE(probe.putParam("Label", "abc"));
  ASSERT_TRUE(probe.putParam("Loud", CComVariant(true)));
  ASSERT_TRUE(probe.putParam("Tags", std::vector<tstring>{"t1", "t2"}));
  ASSERT_TRUE(probe.execute("Run")) << std::hex << GetLastError();

  tstring echo;
  CComVariant echoVariant;
  ASSERT_TRUE(probe.getOutput("Echo", echoVariant));
  ASSERT_EQ(echoVariant.vt, VT_BSTR);
  EXPECT_EQ(tstring().fromBSTR(echoVariant.bstrVal), "abc|lab");
  bool flag = true;
  EXPECT_TRUE(probe.getOutput("Flag", flag));
  EXPECT_FALSE(flag);
  int count = 0;
  EXPECT_TRUE(probe.getOutput("Count", count));
  EXPECT_EQ(count, 3);
  std::vector<tstring> list;
  EXPECT_TRUE(probe.getOutput("List", list));
  EXPECT_EQ(list, (std::vector<tstring>{"abc", "x"}));
  IWbemClassObject* found = nullptr;
  ASSERT_TRUE(probe.getOutput("Found", &found));
  EXPECT_EQ(stringOf(found, u"Name"), "embedded");
  found->Release();
  // Wrong forms and unknown names fail with the cause as last error.
  EXPECT_FALSE(probe.getOutput("Echo", flag));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_TYPE_MISMATCH);
  EXPECT_FALSE(probe.getOutput("Echo", &found));
  EXPECT_EQ(found, nullptr);
  EXPECT_FALSE(probe.getOutput("NoSuch", echoVariant));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_NOT_FOUND);

  // The context and the parameters went with the first call only.
  ASSERT_TRUE(probe.putParam("Label", "z"));
  ASSERT_TRUE(probe.putParam("Loud", CComVariant(false)));
  ASSERT_TRUE(probe.execute("Run"));
  EXPECT_TRUE(probe.getOutput("Echo", echoVariant));
  EXPECT_EQ(tstring().fromBSTR(echoVariant.bstrVal), "z|<none>");
  EXPECT_TRUE(probe.getOutput("Flag", flag));
  EXPECT_TRUE(flag);
  probe.clearOutParam();
  EXPECT_FALSE(probe.getOutput("Echo", echoVariant));

  // No parameters: the provider finds no in-parameters and refuses.
  SetLastError(0);
  EXPECT_FALSE(probe.execute("Run"));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_INVALID_PARAMETER);
  // A parameter the method does not have fails before the call.
  ASSERT_TRUE(probe.putParam("Nonsense", "v"));
  EXPECT_FALSE(probe.execute("Run"));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_NOT_FOUND);
  // A value the property cannot hold fails at the put, before the call.
  ASSERT_TRUE(probe.putParam("Label", CComVariant(5)));
  EXPECT_FALSE(probe.execute("Run"));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_TYPE_MISMATCH);
  // A null label reaches the provider, which refuses it.
  ASSERT_TRUE(probe.putParam("Label", nullValue()));
  ASSERT_TRUE(probe.putParam("Loud", CComVariant(true)));
  EXPECT_FALSE(probe.execute("Run"));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), WBEM_E_INVALID_PARAMETER);

  // With a sink the call is asynchronous and the sink gets the out-parameters.
  CComPtr<StatusSink> sink;
  sink.Attach(new StatusSink);
  probe.putContext("SubnetName", CComVariant("async"));
  ASSERT_TRUE(probe.putParam("Label", "q"));
  ASSERT_TRUE(probe.putParam("Loud", CComVariant(true)));
  ASSERT_TRUE(probe.execute("Run", sink));
  EXPECT_EQ(sink->wait(), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink->objects_.size(), 1u);
  EXPECT_EQ(stringOf(sink->objects_[0], u"Echo"), "q|async");
  sink->objects_.clear();
}

TEST_F(AccessTest, ExtendedErrorNamesTheProviderAndTheOperation) {
  WbemErrorInfo info;
  SetErrorInfo(0, nullptr);
  EXPECT_FALSE(readWbemErrorInfo(info));
  WbemAccess probe(root_.getServices(), "Probe");
  ASSERT_TRUE(probe.putParam("Label", nullValue()));
  EXPECT_FALSE(probe.execute("Run"));
  ASSERT_TRUE(readWbemErrorInfo(info));
  EXPECT_EQ(info.statusCode, WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(info.operation, "ExecMethod");
  EXPECT_FALSE(info.providerName.empty());
  EXPECT_FALSE(info.hasOrvaStatusCode);
  // Reading takes the object off the thread.
  EXPECT_FALSE(readWbemErrorInfo(info));
}

TEST_F(AccessTest, CopiesOfAConnectionBorrowItsPointers) {
  {
    WbemRoot copy(root_);
    EXPECT_EQ(copy.getServices(), root_.getServices());
    EXPECT_EQ(copy.getName(), root_.getName());
    WbemRoot assigned;
    assigned = copy;
    EXPECT_EQ(assigned.getServices(), root_.getServices());
    copy.disconnect();
    EXPECT_FALSE(copy.isConnected());
  }
  // The original's references are untouched: a copy that released them
  // would leave these calls on freed objects.
  ASSERT_TRUE(root_.isConnected());
  WbemAccess access(root_.getServices(), "Gadget");
  EXPECT_TRUE(access.enumerate());
  EXPECT_TRUE(root_.connect());
  EXPECT_EQ(root_.getErrorCode(), 0x2E010002u);
}

TEST_F(AccessTest, ChildNamespacesAreCreatedOpenedAndRemoved) {
  WbemChild child(&root_, "Kid");
  EXPECT_EQ(child.getFullpath(), "\\\\.\\root\\Velmoran\\WbemTest\\Kid");
  EXPECT_EQ(child.getNamespaceInParent(), "\\\\.\\root\\Velmoran\\WbemTest:__NAMESPACE.Name=\"Kid\"");
  EXPECT_EQ(child.getParent(), &root_);
  EXPECT_EQ(child.getParentServices(), root_.getServices());
  EXPECT_FALSE(child.connect());
  EXPECT_EQ(static_cast<HRESULT>(child.getErrorCode()), WBEM_E_INVALID_NAMESPACE);
  ASSERT_TRUE(child.create()) << std::hex << child.getErrorCode();
  ASSERT_TRUE(child.connect()) << std::hex << child.getErrorCode();
  EXPECT_TRUE(child.isConnected());
  ASSERT_TRUE(child.remove());
  EXPECT_FALSE(child.isConnected());
  EXPECT_FALSE(child.connect());
  WbemChild orphan(nullptr, "x");
  EXPECT_FALSE(orphan.create());
  EXPECT_EQ(static_cast<HRESULT>(orphan.getErrorCode()), WBEM_E_INVALID_PARAMETER);
}

// ---- without the manager ----------------------------------------------------------------

std::u16string name(HRESULT hr) { return WbemStatusName(hr); }

TEST(WbemStatusName, PublishedNamesAndTheHexFormForOthers) {
  EXPECT_EQ(name(0), u"WBEM_NO_ERROR/WBEM_S_NO_ERROR/WBEM_S_SAME");
  EXPECT_EQ(name(1), u"WBEM_S_FALSE");
  EXPECT_EQ(name(0x40001), u"WBEM_S_ALREADY_EXISTS");
  EXPECT_EQ(name(0x40006), u"WBEM_OPERATION_CANCELLED");
  EXPECT_EQ(name(0x40008), u"WBEM_S_DUPLICATE_OBJECTS");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80041001)), u"WBEM_E_FAILED");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80041008)), u"WBEM_E_INVALID_PARAMETER");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80041024)), u"WBEM_E_PROVIDER_NOT_CAPABLE");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80041032)), u"WBEM_E_CALL_CANCELLED");
  EXPECT_EQ(name(static_cast<HRESULT>(0x8004103A)), u"WBEM_E_INVALID_OBJECT_PATH");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80042001)), u"WBEMESS_E_REGISTRATION_TOO_BROAD");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80042002)), u"WBEMESS_E_REGISTRATION_TOO_PRECISE");
  // Just past each table.
  EXPECT_EQ(name(2), u"0x2");
  EXPECT_EQ(name(0x40000), u"0x40000");
  EXPECT_EQ(name(0x40009), u"0x40009");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80041000)), u"0x80041000");
  EXPECT_EQ(name(static_cast<HRESULT>(0x8004103B)), u"0x8004103b");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80041100)), u"0x80041100");
  EXPECT_EQ(name(static_cast<HRESULT>(0x80042003)), u"0x80042003");
  // One buffer, overwritten by the next unknown code.
  LPCWSTR first = WbemStatusName(static_cast<HRESULT>(0xFFFFFFFF));
  EXPECT_EQ(std::u16string(first), u"0xffffffff");
  WbemStatusName(3);
  EXPECT_EQ(std::u16string(first), u"0x3");
}

// Records what the provider side reports.
class RecordingSink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long, IWbemClassObject**) override { return WBEM_S_NO_ERROR; }
  HRESULT STDMETHODCALLTYPE SetStatus(long flags, HRESULT hr, BSTR text, IWbemClassObject* object) override {
    calls_.push_back({flags, hr, text == nullptr && object == nullptr});
    return WBEM_S_NO_ERROR;
  }
  struct Call {
    long flags;
    HRESULT hr;
    bool bare;
  };
  std::vector<Call> calls_;
};

TEST(WbemProvider, ParametersAreCheckedByTypeAndStatusGoesToTheSink) {
  ASSERT_EQ(CoInitialize(nullptr), S_OK);
  {
    ASSERT_EQ(om::wmi::ObjectManager::instance().loadMofText(kMof), WBEM_S_NO_ERROR);
    WbemRoot root;
    root.setName("\\\\.\\root\\Velmoran\\WbemTest");
    ASSERT_TRUE(root.connect());
    CComPtr<IWbemClassObject> cls;
    CComPtr<IWbemClassObject> signature;
    CComPtr<IWbemClassObject> in;
    ASSERT_EQ(root.getServices()->GetObject(CComBSTR(u"Probe"), 0, nullptr, &cls, nullptr), WBEM_S_NO_ERROR);
    ASSERT_EQ(cls->GetMethod(u"Run", 0, &signature, nullptr), WBEM_S_NO_ERROR);
    ASSERT_EQ(signature->SpawnInstance(0, &in), WBEM_S_NO_ERROR);
    CComVariant label("hello");
    CComVariant loud(true);
    ASSERT_EQ(in->Put(u"Label", 0, &label, 0), WBEM_S_NO_ERROR);
    ASSERT_EQ(in->Put(u"Loud", 0, &loud, 0), WBEM_S_NO_ERROR);

    CComPtr<RecordingSink> sink;
    sink.Attach(new RecordingSink);
    WbemProvider provider(in, sink);
    tstring text = "old";
    bool flag = false;
    EXPECT_EQ(provider.getParamString("Label", text), WBEM_S_NO_ERROR);
    EXPECT_EQ(text, "hello");
    EXPECT_EQ(provider.getParamBool("Loud", flag), WBEM_S_NO_ERROR);
    EXPECT_TRUE(flag);
    // Wrong types and a null value leave the output alone.
    EXPECT_EQ(provider.getParamString("Loud", text), WBEM_E_INVALID_PARAMETER);
    EXPECT_EQ(provider.getParamBool("Label", flag), WBEM_E_INVALID_PARAMETER);
    EXPECT_EQ(provider.getParamString("Tags", text), WBEM_E_INVALID_PARAMETER);
    EXPECT_EQ(text, "hello");
    EXPECT_EQ(provider.getParamString("Missing", text), WBEM_E_NOT_FOUND);
    WbemProvider noParams(nullptr, sink);
    EXPECT_EQ(noParams.getParamString("Label", text), WBEM_E_INVALID_PARAMETER);
    EXPECT_EQ(noParams.getParamBool("Loud", flag), WBEM_E_INVALID_PARAMETER);

    EXPECT_EQ(provider.setStatus(WBEM_E_ACCESS_DENIED), WBEM_E_ACCESS_DENIED);
    ASSERT_EQ(sink->calls_.size(), 1u);
    EXPECT_EQ(sink->calls_[0].flags, WBEM_STATUS_COMPLETE);
    EXPECT_EQ(sink->calls_[0].hr, WBEM_E_ACCESS_DENIED);
    EXPECT_TRUE(sink->calls_[0].bare);
    root.disconnect();
  }
  om::wmi::ObjectManager::instance().shutdown();
  CoUninitialize();
}

TEST(WbemClient, StringArraysRoundTripAndRejectOtherValues) {
  CComVariant array;
  ASSERT_TRUE(WbemClient::createStringSafeArray(std::vector<tstring>{"a", "", "\x83\x6c"}, array));
  EXPECT_EQ(array.vt, VT_ARRAY | VT_BSTR);
  std::vector<std::string> back{"stale"};
  ASSERT_TRUE(WbemClient::getStringArray(array, back));
  EXPECT_EQ(back, (std::vector<std::string>{"a", "", "\x83\x6c"}));
  ASSERT_TRUE(WbemClient::createStringSafeArray(std::vector<std::string>{}, array));
  std::vector<tstring> none{"stale"};
  ASSERT_TRUE(WbemClient::getStringArray(array, none));
  EXPECT_TRUE(none.empty());
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_TRUE(WbemClient::getStringArray(null, none));
  EXPECT_FALSE(WbemClient::getStringArray(CComVariant(3), none));
}

TEST(SysStrDeleter, FreesWhatItHoldsWhenReplaced) {
  SysStrDeleter guard(SysAllocString(u"one"));
  EXPECT_EQ(std::u16string(guard.get()), u"one");
  guard.set(SysAllocString(u"two"));  // "one" is freed (the sanitizer sees a leak otherwise)
  EXPECT_EQ(std::u16string(guard.get()), u"two");
  guard.set(guard.get());  // the same string is kept, not freed
  EXPECT_EQ(std::u16string(guard.get()), u"two");
}

}  // namespace
