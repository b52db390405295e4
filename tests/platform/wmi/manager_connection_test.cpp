// The locator's rules, proxies, namespaces (OpenNamespace, __NAMESPACE
// instances), classes, MOF loading and the enumerators.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <om/WbemGuids.h>

#include "ManagerTestSupport.h"
#include "TestProviders.h"

namespace wmitest {
namespace {

class ConnectionTest : public ManagerTest {
 protected:
  HRESULT connect(const std::u16string& path, const char16_t* user = nullptr, const char16_t* password = nullptr,
                  IWbemServices** out = nullptr) {
    CComPtr<IWbemLocator> locator;
    EXPECT_EQ(locator.CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER), S_OK);
    CComPtr<IWbemServices> services;
    const CComBSTR userText(user);
    const CComBSTR passwordText(password);
    const HRESULT hr = locator->ConnectServer(bstr(path.c_str()), userText, passwordText, nullptr, 0, nullptr, nullptr,
                                              &services);
    EXPECT_EQ(SUCCEEDED(hr), services != nullptr);
    if (out != nullptr) *out = services.Detach();
    return hr;
  }

  // The names of the namespace's children, in alphabetical order.
  std::vector<std::u16string> childNamespaces(IWbemServices* services) {
    CComPtr<IEnumWbemClassObject> children;
    EXPECT_EQ(services->CreateInstanceEnum(bstr(u"__NAMESPACE"), 0, nullptr, &children), WBEM_S_NO_ERROR);
    std::vector<std::u16string> names;
    IWbemClassObject* child = nullptr;
    ULONG count = 0;
    while (children != nullptr && children->Next(WBEM_INFINITE, 1, &child, &count) == WBEM_S_NO_ERROR) {
      names.push_back(stringProperty(child, u"Name"));
      child->Release();
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

std::u16string hostName() {
  char name[256] = {};
  gethostname(name, sizeof(name) - 1);
  return std::u16string(name, name + std::char_traits<char>::length(name));
}

TEST_F(ConnectionTest, LocatorAcceptsEverySpellingOfThisMachine) {
  for (const std::u16string& path :
       {std::u16string(u"\\\\.\\root\\Velmoran\\OrvaManager"), std::u16string(u"root\\velmoran\\orvamanager"),
        std::u16string(u"//./root/Velmoran/OrvaManager"), std::u16string(u"\\\\LOCALHOST\\root\\Velmoran"),
        u"\\\\" + hostName() + u"\\ROOT", std::u16string(u"\\\\.\\root\\default")}) {
    EXPECT_EQ(connect(path), WBEM_S_NO_ERROR) << path.size();
  }
  EXPECT_EQ(connect(u"\\\\.\\root\\Velmoran\\OrvaManager", u"admin", nullptr), WBEM_E_LOCAL_CREDENTIALS);
  EXPECT_EQ(connect(u"root\\Velmoran\\OrvaManager", nullptr, u"secret"), WBEM_E_LOCAL_CREDENTIALS);
  EXPECT_EQ(connect(u"\\\\.\\root\\Velmoran\\Nothing"), WBEM_E_INVALID_NAMESPACE);
  EXPECT_EQ(connect(u"\\\\.\\"), WBEM_E_INVALID_NAMESPACE);
  EXPECT_EQ(connect(u"\\\\.\\other\\x"), WBEM_E_INVALID_NAMESPACE);
  // Another server is reached over the network: here one that is not
  // listening (port 1 on loopback), which is a server that cannot be reached.
  EXPECT_EQ(connect(u"\\\\127.0.0.1:1\\root\\Velmoran\\OrvaManager", u"admin", u"secret"),
            HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE));
  EXPECT_EQ(connect(u""), WBEM_E_INVALID_PARAMETER);
}

TEST_F(ConnectionTest, ServicesAreProxiesThatKeepTheirBlanket) {
  char user[] = "operator";
  char domain[] = "LAB";
  char password[] = "pw";
  SEC_WINNT_AUTH_IDENTITY_A identity{reinterpret_cast<unsigned char*>(user), 8,
                                     reinterpret_cast<unsigned char*>(domain), 3,
                                     reinterpret_cast<unsigned char*>(password), 2, SEC_WINNT_AUTH_IDENTITY_ANSI};
  ASSERT_EQ(CoSetProxyBlanket(services_, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT,
                              RPC_C_IMP_LEVEL_IMPERSONATE, &identity, EOAC_NONE),
            S_OK);
  DWORD level = 0;
  DWORD impersonation = 0;
  ASSERT_EQ(CoQueryProxyBlanket(services_, nullptr, nullptr, nullptr, &level, &impersonation, nullptr, nullptr), S_OK);
  EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT));
  EXPECT_EQ(impersonation, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
  // Through IUnknown too, as connection code does it.
  CComPtr<IUnknown> unknown;
  ASSERT_EQ(services_->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)), S_OK);
  EXPECT_EQ(CoSetProxyBlanket(unknown, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, 0, 3, nullptr, 0), S_OK);
}

TEST_F(ConnectionTest, NamespacesAreCreatedListedOpenedAndDeleted) {
  CComPtr<IWbemServices> velmoran;
  ASSERT_EQ(connect(u"\\\\.\\root\\Velmoran", nullptr, nullptr, &velmoran), WBEM_S_NO_ERROR);
  EXPECT_EQ(childNamespaces(velmoran), (std::vector<std::u16string>{u"ManagerTest", u"OrvaManager"}));

  // A child namespace is an __NAMESPACE instance put in its parent.
  CComPtr<IWbemClassObject> child = [&] {
    CComPtr<IWbemClassObject> cls, instance;
    velmoran->GetObject(bstr(u"__NAMESPACE"), 0, nullptr, &cls, nullptr);
    cls->SpawnInstance(0, &instance);
    return instance;
  }();
  putValue(child, u"Name", CComVariant(u"Scratch"));
  ASSERT_EQ(velmoran->PutInstance(child, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(velmoran->PutInstance(child, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr), WBEM_E_ALREADY_EXISTS);
  EXPECT_EQ(childNamespaces(velmoran), (std::vector<std::u16string>{u"ManagerTest", u"OrvaManager", u"Scratch"}));
  CComPtr<IWbemClassObject> found;
  EXPECT_EQ(velmoran->GetObject(bstr(u"__NAMESPACE.Name=\"scratch\""), 0, nullptr, &found, nullptr), WBEM_S_NO_ERROR);

  CComPtr<IWbemServices> opened;
  ASSERT_EQ(velmoran->OpenNamespace(bstr(u"scratch"), 0, nullptr, &opened, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemServices> direct;
  ASSERT_EQ(connect(u"root\\Velmoran\\Scratch", nullptr, nullptr, &direct), WBEM_S_NO_ERROR);
  CComPtr<IWbemServices> none;
  EXPECT_EQ(velmoran->OpenNamespace(bstr(u"Nothing"), 0, nullptr, &none, nullptr), WBEM_E_INVALID_NAMESPACE);
  CComPtr<IWbemCallResult> result;
  ASSERT_EQ(velmoran->OpenNamespace(bstr(u"ManagerTest"), 0, nullptr, nullptr, &result), WBEM_S_NO_ERROR);
  CComPtr<IWbemServices> fromResult;
  ASSERT_EQ(result->GetResultServices(WBEM_INFINITE, &fromResult), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> deviceClass;
  EXPECT_EQ(fromResult->GetObject(bstr(u"Device"), 0, nullptr, &deviceClass, nullptr), WBEM_S_NO_ERROR);

  // Deleted by the path a child namespace builds in its parent.
  ASSERT_EQ(velmoran->DeleteInstance(bstr(u"\\\\.\\root\\Velmoran:__NAMESPACE.Name=\"Scratch\""), 0, nullptr, nullptr),
            WBEM_S_NO_ERROR);
  EXPECT_EQ(connect(u"root\\Velmoran\\Scratch"), WBEM_E_INVALID_NAMESPACE);
  EXPECT_EQ(velmoran->DeleteInstance(bstr(u"__NAMESPACE.Name=\"Scratch\""), 0, nullptr, nullptr), WBEM_E_NOT_FOUND);
}

TEST_F(ConnectionTest, ClassesArePutEnumeratedAndDeletedWithTheirInstances) {
  CComPtr<IWbemClassObject> item;
  ASSERT_EQ(services_->GetObject(bstr(u"Item"), 0, nullptr, &item, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> derived;
  ASSERT_EQ(item->SpawnDerivedClass(0, &derived), WBEM_S_NO_ERROR);
  CComVariant name(u"Gizmo");
  ASSERT_EQ(derived->Put(u"__CLASS", 0, &name, 0), WBEM_S_NO_ERROR);
  ASSERT_EQ(services_->PutClass(derived, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(services_->PutClass(derived, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr), WBEM_E_ALREADY_EXISTS);

  CComPtr<IEnumWbemClassObject> classes;
  ASSERT_EQ(services_->CreateClassEnum(bstr(u"Item"), WBEM_FLAG_SHALLOW, nullptr, &classes), WBEM_S_NO_ERROR);
  std::vector<std::u16string> names;
  IWbemClassObject* cls = nullptr;
  ULONG count = 0;
  while (classes->Next(WBEM_INFINITE, 1, &cls, &count) == WBEM_S_NO_ERROR) {
    names.push_back(stringProperty(cls, u"__CLASS"));
    cls->Release();
  }
  EXPECT_EQ(names, (std::vector<std::u16string>{u"SpecialItem", u"Gizmo"}));

  CComPtr<IWbemClassObject> gizmoClass, gizmo;
  ASSERT_EQ(services_->GetObject(bstr(u"Gizmo"), 0, nullptr, &gizmoClass, nullptr), WBEM_S_NO_ERROR);
  gizmoClass->SpawnInstance(0, &gizmo);
  putValue(gizmo, u"Name", CComVariant(u"g1"));
  ASSERT_EQ(services_->PutInstance(gizmo, 0, nullptr, nullptr), WBEM_S_NO_ERROR);
  ASSERT_EQ(services_->DeleteClass(bstr(u"Gizmo"), 0, nullptr, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> gone;
  EXPECT_EQ(services_->GetObject(bstr(u"Item.Name=\"g1\""), 0, nullptr, &gone, nullptr), WBEM_E_NOT_FOUND);
  EXPECT_EQ(services_->DeleteClass(bstr(u"Gizmo"), 0, nullptr, nullptr), WBEM_E_NOT_FOUND);
}

TEST_F(ConnectionTest, MofLoadingReportsErrorsAndStoresInstances) {
  EXPECT_EQ(manager().loadMofText("class Broken {"), WBEM_E_INVALID_SYNTAX);
  EXPECT_EQ(manager().loadMof("/nonexistent/file.mof"), WBEM_E_NOT_FOUND);
  ASSERT_EQ(manager().loadMofText("#pragma namespace(\"\\\\\\\\.\\\\root\\\\Velmoran\\\\ManagerTest\")\n"
                                  "instance of Item { Name = \"loaded\"; Count = 3; };\n"
                                  "instance of Device { Name = \"viaProvider\"; Kind = 4; };\n"),
            WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> loaded, device;
  ASSERT_EQ(services_->GetObject(bstr(u"Item=\"loaded\""), 0, nullptr, &loaded, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(intProperty(loaded, u"Count"), 3);
  // Instances of a provider class go to its provider.
  ASSERT_EQ(services_->GetObject(bstr(u"Device=\"viaProvider\""), 0, nullptr, &device, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(intProperty(device, u"Kind"), 4);

  EXPECT_EQ(manager().registerProvider(kNamespace, u"Device", devices_), WBEM_E_PROVIDER_ALREADY_REGISTERED);
  EXPECT_EQ(manager().registerProvider(kNamespace, u"Nothing", devices_), WBEM_E_INVALID_CLASS);
  EXPECT_EQ(manager().registerProvider(u"root\\Nowhere", u"Device", devices_), WBEM_E_INVALID_NAMESPACE);
  EXPECT_EQ(manager().registerProvider(kNamespace, u"Item", nullptr), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(manager().unregisterProvider(kNamespace, u"Item"), WBEM_E_PROVIDER_NOT_REGISTERED);
  // Without its provider a class falls back to the store.
  ASSERT_EQ(manager().unregisterProvider(kNamespace, u"device"), WBEM_S_NO_ERROR);
  device.Release();
  EXPECT_EQ(services_->GetObject(bstr(u"Device=\"viaProvider\""), 0, nullptr, &device, nullptr), WBEM_E_NOT_FOUND);
}

TEST_F(ConnectionTest, EnumeratorsFollowTheirFlags) {
  for (const char16_t* name : {u"e1", u"e2", u"e3"}) {
    CComPtr<IWbemClassObject> item = spawn(u"Item");
    putValue(item, u"Name", CComVariant(name));
    ASSERT_EQ(services_->PutInstance(item, 0, nullptr, nullptr), WBEM_S_NO_ERROR);
  }
  const BSTR query = bstr(u"SELECT * FROM Item WHERE Name LIKE 'e%'").Detach();

  CComPtr<IEnumWbemClassObject> forward;
  ASSERT_EQ(services_->ExecQuery(bstr(u"WQL"), query, WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                 &forward),
            WBEM_S_NO_ERROR);
  IWbemClassObject* objects[5] = {};
  ULONG count = 0;
  ASSERT_EQ(forward->Next(WBEM_INFINITE, 2, objects, &count), WBEM_S_NO_ERROR);
  EXPECT_EQ(count, 2u);
  for (ULONG i = 0; i < count; ++i) objects[i]->Release();
  ASSERT_EQ(forward->Next(WBEM_INFINITE, 5, objects, &count), WBEM_S_FALSE);
  EXPECT_EQ(count, 1u);
  objects[0]->Release();
  EXPECT_EQ(forward->Next(WBEM_INFINITE, 1, objects, &count), WBEM_S_FALSE);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(forward->Reset(), WBEM_E_INVALID_OPERATION);
  CComPtr<IEnumWbemClassObject> noClone;
  EXPECT_EQ(forward->Clone(&noClone), WBEM_E_INVALID_OPERATION);
  EXPECT_EQ(forward->Next(-2, 1, objects, &count), WBEM_E_INVALID_PARAMETER);

  CComPtr<IEnumWbemClassObject> both;
  ASSERT_EQ(services_->ExecQuery(bstr(u"WQL"), query, 0, nullptr, &both), WBEM_S_NO_ERROR);
  ASSERT_EQ(both->Skip(WBEM_INFINITE, 2), WBEM_S_NO_ERROR);
  CComPtr<IEnumWbemClassObject> clone;
  ASSERT_EQ(both->Clone(&clone), WBEM_S_NO_ERROR);
  ASSERT_EQ(clone->Next(WBEM_INFINITE, 5, objects, &count), WBEM_S_FALSE);
  EXPECT_EQ(count, 1u);  // the clone starts where the original stood
  objects[0]->Release();
  ASSERT_EQ(both->Reset(), WBEM_S_NO_ERROR);
  ASSERT_EQ(both->Next(WBEM_NO_WAIT, 5, objects, &count), WBEM_S_FALSE);
  EXPECT_EQ(count, 3u);
  for (ULONG i = 0; i < count; ++i) objects[i]->Release();
  EXPECT_EQ(both->Skip(WBEM_INFINITE, 1), WBEM_S_FALSE);

  CComPtr<TestSink> sink;
  sink.Attach(new TestSink);
  ASSERT_EQ(both->Reset(), WBEM_S_NO_ERROR);
  ASSERT_EQ(both->NextAsync(2, sink), WBEM_S_NO_ERROR);
  ASSERT_TRUE(sink->waitForStatus());
  EXPECT_EQ(sink->objectCount(), 2u);
  EXPECT_EQ(sink->status(), WBEM_S_NO_ERROR);
  SysFreeString(query);
}

TEST_F(ConnectionTest, NextTimesOutWhileAProviderIsStillWorking) {
  auto* provider = static_cast<DeviceProvider*>(devices_.p);
  CComPtr<IWbemCallResult> pending;
  ASSERT_EQ(services_->ExecMethod(bstr(u"Device"), bstr(u"Slow"), WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, nullptr,
                                  nullptr, &pending),
            WBEM_S_NO_ERROR);
  long status = 0;
  EXPECT_EQ(pending->GetCallStatus(0, &status), WBEM_S_TIMEDOUT);
  CComPtr<IWbemClassObject> out;
  EXPECT_EQ(pending->GetResultObject(10, &out), WBEM_S_TIMEDOUT);
  std::thread finisher([provider] { provider->finishSlow(1); });
  ASSERT_EQ(pending->GetResultObject(WBEM_INFINITE, &out), WBEM_S_NO_ERROR);
  EXPECT_EQ(intProperty(out, u"ReturnValue"), 0);
  finisher.join();
}

}  // namespace
}  // namespace wmitest
