#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include <atlbase.h>
#include <objbase.h>
#include <oleauto.h>

#include <om/ComRuntime.h>
#include <om/ProxyBlanket.h>
#include <om/WbemGuids.h>

#include "TestObjects.h"

namespace {

using comtest::CLSID_Value;
using comtest::IID_IValue;
using comtest::IValue;
using comtest::refCount;

// COM initialised on the calling thread for one scope.
class ComScope {
 public:
  explicit ComScope(DWORD model = COINIT_APARTMENTTHREADED) : hr_(CoInitializeEx(nullptr, model)) {}
  ~ComScope() {
    if (SUCCEEDED(hr_)) CoUninitialize();
  }
  HRESULT result() const { return hr_; }

 private:
  HRESULT hr_;
};

// Registers comtest::Value's factory for one scope.
class RegisteredValue {
 public:
  RegisteredValue() {
    factory_.Attach(new om::ComClassFactory<comtest::Value>);
    EXPECT_EQ(om::registerClassObject(CLSID_Value, factory_), S_OK);
  }
  ~RegisteredValue() { EXPECT_EQ(om::revokeClassObject(CLSID_Value), S_OK); }
  IClassFactory* factory() const { return factory_; }

 private:
  CComPtr<IClassFactory> factory_;
};

HRESULT createValue(IValue** out) {
  return CoCreateInstance(CLSID_Value, nullptr, CLSCTX_INPROC_SERVER, IID_IValue, reinterpret_cast<void**>(out));
}

TEST(CoInitialize, CountsPerThreadAndKeepsTheModel) {
  RegisteredValue registered;
  std::thread([] {
    CComPtr<IValue> value;
    EXPECT_EQ(createValue(&value), CO_E_NOTINITIALIZED);
    EXPECT_EQ(value.p, nullptr);
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);  // not counted
    EXPECT_EQ(CoInitializeEx(reinterpret_cast<void*>(1), COINIT_APARTMENTTHREADED), E_INVALIDARG);

    // Another thread has its own state.
    std::thread([] {
      CComPtr<IValue> other;
      EXPECT_EQ(createValue(&other), CO_E_NOTINITIALIZED);
      EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
      EXPECT_EQ(createValue(&other), S_OK);
      other.Release();
      CoUninitialize();
    }).join();

    CoUninitialize();
    EXPECT_EQ(createValue(&value), S_OK);  // one initialisation still open
    value.Release();
    CoUninitialize();
    EXPECT_EQ(createValue(&value), CO_E_NOTINITIALIZED);
    CoUninitialize();  // one too many: ignored
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);  // a fresh start may change the model
    CoUninitialize();
  }).join();
}

TEST(CoCreateInstance, GoesThroughTheRegisteredFactory) {
  ComScope com;
  ASSERT_EQ(com.result(), S_OK);
  const long before = om::comObjectCount();
  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, &out),
            REGDB_E_CLASSNOTREG);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(CoCreateInstance(CLSID_Value, nullptr, CLSCTX_ALL, IID_IValue, nullptr), E_POINTER);

  CComPtr<IValue> value;
  {
    RegisteredValue registered;
    EXPECT_EQ(refCount(registered.factory()), 2u);  // the registry holds one
    EXPECT_EQ(om::registerClassObject(CLSID_Value, registered.factory()), CO_E_OBJISREG);
    ASSERT_EQ(createValue(&value), S_OK);
    EXPECT_EQ(value->value(), 42);
    EXPECT_EQ(refCount(value), 1u);

    out = reinterpret_cast<void*>(1);
    EXPECT_EQ(CoCreateInstance(CLSID_Value, nullptr, CLSCTX_ALL, IID_IClassFactory, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(CoCreateInstance(CLSID_Value, value, CLSCTX_ALL, IID_IValue, &out), CLASS_E_NOAGGREGATION);

    CComPtr<IClassFactory> factory;
    ASSERT_EQ(CoGetClassObject(CLSID_Value, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                               reinterpret_cast<void**>(&factory)),
              S_OK);
    EXPECT_EQ(factory.p, registered.factory());

    CComPtr<IValue> viaAtl;
    EXPECT_EQ(viaAtl.CoCreateInstance(CLSID_Value), S_OK);
    EXPECT_FALSE(viaAtl.IsEqualObject(value));
  }
  EXPECT_EQ(om::revokeClassObject(CLSID_Value), CO_E_OBJNOTREG);
  IValue* none = nullptr;
  EXPECT_EQ(createValue(&none), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(value->value(), 42);  // objects outlive their class's registration
  value.Release();
  EXPECT_EQ(om::comObjectCount(), before);
}

TEST(CoRegisterClassObject, ContextsSingleUseAndCookies) {
  CComPtr<IClassFactory> factory;
  factory.Attach(new om::ComClassFactory<comtest::Value>);
  DWORD cookie = 99;
  std::thread([&] {
    EXPECT_EQ(CoRegisterClassObject(CLSID_Value, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
              CO_E_NOTINITIALIZED);
  }).join();
  EXPECT_EQ(cookie, 0u);

  ComScope com;
  ASSERT_EQ(CoRegisterClassObject(CLSID_Value, factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, &cookie), S_OK);
  EXPECT_NE(cookie, 0u);
  CComPtr<IValue> value;
  EXPECT_EQ(createValue(&value), REGDB_E_CLASSNOTREG);  // in-process requests do not match
  EXPECT_EQ(CoCreateInstance(CLSID_Value, nullptr, CLSCTX_ALL, IID_IValue, reinterpret_cast<void**>(&value)),
            S_OK);
  value.Release();
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
  EXPECT_EQ(CoRevokeClassObject(cookie), CO_E_OBJNOTREG);

  ASSERT_EQ(CoRegisterClassObject(CLSID_Value, factory, CLSCTX_INPROC_SERVER, REGCLS_SINGLEUSE, &cookie), S_OK);
  EXPECT_EQ(createValue(&value), S_OK);
  value.Release();
  EXPECT_EQ(createValue(&value), REGDB_E_CLASSNOTREG);  // served its one caller
  EXPECT_EQ(refCount(factory), 2u);  // still held until revoked
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
  EXPECT_EQ(refCount(factory), 1u);

  EXPECT_EQ(CoRegisterClassObject(CLSID_Value, factory, CLSCTX_INPROC_SERVER, REGCLS_SUSPENDED, &cookie),
            E_INVALIDARG);
}

// An identity as the connection layer keeps it: code page 932 buffers.
struct AnsiIdentity {
  unsigned char user[64] = "\x83\x86\x81\x5B\x83\x55";  // "ユーザ"
  unsigned char domain[128] = "LAB";
  unsigned char password[64] = "secret";
  SEC_WINNT_AUTH_IDENTITY_A identity = {user, 6, domain, 3, password, 6, SEC_WINNT_AUTH_IDENTITY_ANSI};
};

TEST(CoSetProxyBlanket, KeepsACopyOnTheProxy) {
  CComPtr<IValue> proxy;
  proxy.Attach(new comtest::Proxy);
  AnsiIdentity id;
  // Set on the object's IUnknown and then on the interface, as the connection does.
  CComPtr<IUnknown> unknown;
  ASSERT_EQ(proxy.QueryInterface(&unknown), S_OK);
  ASSERT_EQ(CoSetProxyBlanket(unknown, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT,
                              RPC_C_IMP_LEVEL_IMPERSONATE, &id.identity, EOAC_NONE),
            S_OK);
  ASSERT_EQ(CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT,
                              RPC_C_IMP_LEVEL_IMPERSONATE, &id.identity, EOAC_NONE),
            S_OK);
  std::memcpy(id.password, "change", 6);  // the proxy kept its own copy

  CComQIPtr<om::IProxyBlanket> holder(static_cast<IUnknown*>(proxy));
  ASSERT_NE(holder.p, nullptr);
  om::ProxyBlanket blanket;
  ASSERT_EQ(holder->QueryBlanket(&blanket), S_OK);
  EXPECT_EQ(blanket.authnService, static_cast<DWORD>(RPC_C_AUTHN_WINNT));
  EXPECT_EQ(blanket.authnLevel, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT));
  EXPECT_EQ(blanket.impLevel, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
  EXPECT_TRUE(blanket.hasIdentity);
  EXPECT_EQ(blanket.identity, (om::AuthIdentity{u"ユーザ", u"LAB", u"secret"}));

  DWORD authn = 0, authz = 9, level = 0, imp = 0, caps = 9;
  RPC_AUTH_IDENTITY_HANDLE info = nullptr;
  LPOLESTR principal = reinterpret_cast<LPOLESTR>(1);
  ASSERT_EQ(CoQueryProxyBlanket(proxy, &authn, &authz, &principal, &level, &imp, &info, &caps), S_OK);
  EXPECT_EQ(authn, static_cast<DWORD>(RPC_C_AUTHN_WINNT));
  EXPECT_EQ(authz, static_cast<DWORD>(RPC_C_AUTHZ_NONE));
  EXPECT_EQ(principal, nullptr);
  EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT));
  EXPECT_EQ(imp, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
  EXPECT_EQ(info, &id.identity);
  EXPECT_EQ(caps, static_cast<DWORD>(EOAC_NONE));

  // A wide identity, a principal name, and defaults resolved to the process's settings.
  std::u16string user = u"operator";
  SEC_WINNT_AUTH_IDENTITY_W wide = {reinterpret_cast<unsigned short*>(user.data()), 8, nullptr, 0,
                                    nullptr, 0, SEC_WINNT_AUTH_IDENTITY_UNICODE};
  OLECHAR server[] = u"host/velmoran";
  ASSERT_EQ(CoSetProxyBlanket(proxy, RPC_C_AUTHN_DEFAULT, RPC_C_AUTHZ_DEFAULT, server, RPC_C_AUTHN_LEVEL_DEFAULT,
                              RPC_C_IMP_LEVEL_DEFAULT, &wide, EOAC_DEFAULT),
            S_OK);
  const om::ComSecurity process = om::processComSecurity();
  ASSERT_EQ(CoQueryProxyBlanket(proxy, &authn, nullptr, &principal, &level, &imp, nullptr, &caps), S_OK);
  EXPECT_EQ(authn, static_cast<DWORD>(RPC_C_AUTHN_WINNT));
  ASSERT_NE(principal, nullptr);
  EXPECT_EQ(std::u16string(principal), u"host/velmoran");
  CoTaskMemFree(principal);
  EXPECT_EQ(level, process.authnLevel);
  EXPECT_EQ(imp, process.impLevel);
  EXPECT_EQ(caps, process.capabilities);
  ASSERT_EQ(holder->QueryBlanket(&blanket), S_OK);
  EXPECT_EQ(blanket.identity, (om::AuthIdentity{u"operator", u"", u""}));

  // No identity: the process's own.
  ASSERT_EQ(CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CONNECT,
                              RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_NONE),
            S_OK);
  ASSERT_EQ(holder->QueryBlanket(&blanket), S_OK);
  EXPECT_FALSE(blanket.hasIdentity);
}

TEST(CoSetProxyBlanket, RefusesWhatIsNotAProxy) {
  AnsiIdentity id;
  CComPtr<IValue> plain;
  plain.Attach(new comtest::Value);
  EXPECT_EQ(CoSetProxyBlanket(plain, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT,
                              RPC_C_IMP_LEVEL_IMPERSONATE, &id.identity, EOAC_NONE),
            E_NOINTERFACE);
  EXPECT_EQ(CoQueryProxyBlanket(plain, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            E_NOINTERFACE);
  EXPECT_EQ(CoSetProxyBlanket(nullptr, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT,
                              RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE),
            E_INVALIDARG);

  CComPtr<IValue> proxy;
  proxy.Attach(new comtest::Proxy);
  id.identity.Flags = 3;
  EXPECT_EQ(CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT,
                              RPC_C_IMP_LEVEL_IMPERSONATE, &id.identity, EOAC_NONE),
            E_INVALIDARG);
  EXPECT_EQ(CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, 7, RPC_C_IMP_LEVEL_IMPERSONATE,
                              nullptr, EOAC_NONE),
            E_INVALIDARG);
  // A refused blanket leaves the proxy's as it was.
  DWORD level = 0;
  ASSERT_EQ(CoQueryProxyBlanket(proxy, nullptr, nullptr, nullptr, &level, nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(level, om::processComSecurity().authnLevel);
}

TEST(ErrorInfo, OneSlotPerThread) {
  CComPtr<ICreateErrorInfo> create;
  ASSERT_EQ(CreateErrorInfo(&create), S_OK);
  create->SetDescription(const_cast<LPOLESTR>(u"接続に失敗しました"));
  create->SetSource(const_cast<LPOLESTR>(u"WinMgmt"));
  create->SetHelpContext(7);
  CComQIPtr<IErrorInfo> error(static_cast<IUnknown*>(create));
  ASSERT_NE(error.p, nullptr);
  EXPECT_EQ(refCount(error), 2u);

  ASSERT_EQ(SetErrorInfo(0, error), S_OK);
  EXPECT_EQ(refCount(error), 3u);
  std::thread([] {
    IErrorInfo* none = reinterpret_cast<IErrorInfo*>(1);
    EXPECT_EQ(GetErrorInfo(0, &none), S_FALSE);
    EXPECT_EQ(none, nullptr);
  }).join();

  CComPtr<IErrorInfo> got;
  ASSERT_EQ(GetErrorInfo(0, &got), S_OK);  // handed over: no new reference
  EXPECT_EQ(got.p, error.p);
  EXPECT_EQ(refCount(error), 3u);
  CComBSTR description;
  ASSERT_EQ(got->GetDescription(&description), S_OK);
  EXPECT_TRUE(description == u"接続に失敗しました");
  DWORD context = 0;
  EXPECT_EQ(got->GetHelpContext(&context), S_OK);
  EXPECT_EQ(context, 7u);
  got.Release();
  IErrorInfo* again = nullptr;
  EXPECT_EQ(GetErrorInfo(0, &again), S_FALSE);  // the slot was cleared
  EXPECT_EQ(refCount(error), 2u);

  // Replacing and clearing release the object held; so does the end of a thread.
  ASSERT_EQ(SetErrorInfo(0, error), S_OK);
  CComPtr<ICreateErrorInfo> other;
  ASSERT_EQ(CreateErrorInfo(&other), S_OK);
  CComQIPtr<IErrorInfo> otherError(static_cast<IUnknown*>(other));
  ASSERT_EQ(SetErrorInfo(0, otherError), S_OK);
  EXPECT_EQ(refCount(error), 2u);
  EXPECT_EQ(refCount(otherError), 3u);
  ASSERT_EQ(SetErrorInfo(0, nullptr), S_OK);
  EXPECT_EQ(refCount(otherError), 2u);
  IErrorInfo* shared = error;
  std::thread([shared] {
    SetErrorInfo(0, shared);
    EXPECT_EQ(refCount(shared), 3u);
  }).join();
  EXPECT_EQ(refCount(error), 2u);
}

}  // namespace
