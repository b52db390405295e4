// The connection layer: names and paths, the login settings in the user's
// registry, the identity buffers, and (in one ordered test, since COM
// security can be set once per process) COM start, connecting to the hosted
// manager, the server check, the steps and their error texts, and log events.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <atlbase.h>
#include <om/ComObject.h>
#include <om/ProxyBlanket.h>
#include <om/codepage.h>
#include <omtools/Registry.h>
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

#include "wbem/WbemConnect.h"

namespace {

namespace fs = std::filesystem;

// Points both registry hives at a fresh temporary directory.
class RegistryHome {
 public:
  RegistryHome() {
    char pattern[] = "/tmp/wbemconnect-XXXXXX";
    dir_ = mkdtemp(pattern);
    setenv("OMLIB_HOME", (dir_ / "machine").c_str(), 1);
    setenv("OMLIB_USER_HOME", (dir_ / "user").c_str(), 1);
  }
  ~RegistryHome() {
    std::error_code ignored;
    fs::remove_all(dir_, ignored);
  }

 private:
  fs::path dir_;
};

// Opens the protected members used below.
class OpenRoot : public WbemRoot {
 public:
  using WbemRoot::WbemRoot;
  using WbemRoot::concatName;
  using WbemRoot::getServerName;
  using WbemRoot::m_AuthIDentity;
  using WbemRoot::SaveInterfaceSucurityIdentity;
};

tstring cp932(const char* utf8) { return om::utf8ToCp932(utf8); }

TEST(WbemRoot, NamesOfTheRootAndOfTheSystemNamespace) {
  for (const char* server : {static_cast<const char*>(nullptr), ""}) {
    OpenRoot root(server);
    EXPECT_EQ(root.getServerName(), ".");
    EXPECT_EQ(root.getName(), "\\\\.\\root");
    EXPECT_EQ(root.getFullpath(), "\\\\.\\root");
    EXPECT_FALSE(root.isConnected());
    EXPECT_EQ(root.getParent(), nullptr);
    EXPECT_EQ(root.getErrorCode(), 0u);
  }
  OpenRoot remote("srv7");
  EXPECT_EQ(remote.getName(), "\\\\srv7\\root");
  EXPECT_EQ(OpenRoot::concatName("a", "b"), "\\\\a\\b");
  remote.resetName("");
  EXPECT_EQ(remote.getName(), "\\\\.\\root");
  // The name is set before connecting, so it holds even when COM is not up.
  EXPECT_FALSE(remote.connectOrvaMan("", "", "", ""));
  EXPECT_EQ(remote.getName(), "\\\\.\\root\\Velmoran\\OrvaManager");
  EXPECT_EQ(static_cast<HRESULT>(remote.getErrorCode()), CO_E_NOTINITIALIZED);
  remote.setErrorCode(5);
  OpenRoot copy(remote);
  EXPECT_EQ(copy.getErrorCode(), 5u);
  EXPECT_EQ(copy.getName(), remote.getName());

  EXPECT_EQ(WbemRoot::SetInterfaceSucurityIdentity(nullptr), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(WbemRoot::GetAuthenticationLevel(), static_cast<DWORD>(RPC_C_AUTHN_LEVEL_DEFAULT));
  EXPECT_EQ(WbemRoot::GetImpersonationLevel(), static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
}

TEST(WbemRoot, IdentityKeepsEarlierValuesAndRefusesLongOnes) {
  OpenRoot root;
  auto text = [](unsigned char* p, ULONG n) { return std::string(reinterpret_cast<char*>(p), n); };
  ASSERT_TRUE(root.SaveInterfaceSucurityIdentity("op", "pw", "LAB"));
  auto& id = OpenRoot::m_AuthIDentity;
  EXPECT_EQ(text(id.User, id.UserLength), "op");
  EXPECT_EQ(text(id.Password, id.PasswordLength), "pw");
  EXPECT_EQ(text(id.Domain, id.DomainLength), "LAB");
  EXPECT_EQ(id.Flags, static_cast<ULONG>(SEC_WINNT_AUTH_IDENTITY_ANSI));
  // Empty values leave the identity last used.
  ASSERT_TRUE(root.SaveInterfaceSucurityIdentity("", "", "DOM2"));
  EXPECT_EQ(text(id.User, id.UserLength), "op");
  EXPECT_EQ(text(id.Domain, id.DomainLength), "DOM2");
  // 63 bytes fit the 64-byte user buffer with its terminator; 64 do not.
  ASSERT_TRUE(root.SaveInterfaceSucurityIdentity(std::string(63, 'u'), "", std::string(127, 'd')));
  EXPECT_EQ(id.UserLength, 63u);
  EXPECT_EQ(id.DomainLength, 127u);
  EXPECT_FALSE(root.SaveInterfaceSucurityIdentity(std::string(64, 'u'), "", ""));
  EXPECT_FALSE(root.SaveInterfaceSucurityIdentity("", std::string(64, 'p'), ""));
  EXPECT_FALSE(root.SaveInterfaceSucurityIdentity("x", "", std::string(128, 'd')));
  EXPECT_EQ(id.UserLength, 63u);  // nothing changed by a refused call
  ASSERT_TRUE(root.SaveInterfaceSucurityIdentity("", "", "LAB"));

  WbemRoot::SetAuthImpLevel(RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IDENTIFY);
  EXPECT_EQ(WbemRoot::GetAuthenticationLevel(), static_cast<DWORD>(RPC_C_AUTHN_LEVEL_CALL));
  EXPECT_EQ(WbemRoot::GetImpersonationLevel(), static_cast<DWORD>(RPC_C_IMP_LEVEL_IDENTIFY));
  WbemRoot::SetAuthImpLevel(RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE);
}

TEST(WbemConnect, LoginSettingsLiveInTheUsersRegistry) {
  RegistryHome home;
  WbemConnect connection;
  tstring host = "h0", user = "u0", password = "p0", domain = "d0";
  EXPECT_FALSE(connection.readLoginInfo(host, user, password, domain));
  EXPECT_EQ(user, "u0");  // nothing was found, nothing changed but the password
  EXPECT_EQ(password, "");

  ASSERT_TRUE(connection.writeLoginInfo("server1", cp932("管理者").c_str(), "secret", "LAB"));
  ASSERT_TRUE(connection.readLoginInfo(host, user, password, domain));
  EXPECT_EQ(host, "server1");
  EXPECT_EQ(user, cp932("管理者"));
  EXPECT_EQ(password, "secret");
  EXPECT_EQ(domain, "LAB");
  // The password is never written.
  CRegistry key(HKEY_CURRENT_USER, "Software\\Velmoran\\Orva Manager");
  ASSERT_TRUE(key.isOpen());
  std::vector<tstring> names;
  ASSERT_TRUE(key.enumValues(names));
  EXPECT_EQ(names, (std::vector<tstring>{"LoginDomainName", "LoginHostName", "LoginUserName"}));

  // A missing host: false, yet user and domain are returned.
  ASSERT_TRUE(key.deleteValue("LoginHostName"));
  host = user = domain = "";
  EXPECT_FALSE(connection.readLoginInfo(host, user, password, domain));
  EXPECT_EQ(host, "");
  EXPECT_EQ(user, cp932("管理者"));
  EXPECT_EQ(domain, "LAB");
  CString cHost("keep"), cUser, cPassword, cDomain;
  EXPECT_FALSE(connection.readLoginInfo(cHost, cUser, cPassword, cDomain));
  EXPECT_EQ(tstring(cHost.GetString()), "keep");
  EXPECT_EQ(tstring(cDomain.GetString()), "LAB");
  EXPECT_EQ(tstring(cPassword.GetString()), "secret");

  DWORD auth = 99, imp = 99;
  EXPECT_FALSE(connection.readAuthImpLevel(auth, imp));
  EXPECT_EQ(auth, 99u);
  ASSERT_TRUE(key.setValue("ImpLevel", "2"));
  EXPECT_FALSE(connection.readAuthImpLevel(auth, imp));
  EXPECT_EQ(imp, 2u);
  ASSERT_TRUE(connection.writeAuthImpLevel(6, 4));
  tstring stored;
  ASSERT_TRUE(key.getValue("AuthnLevel", stored));
  EXPECT_EQ(stored, "6");
  EXPECT_TRUE(connection.readAuthImpLevel(auth, imp));
  EXPECT_EQ(auth, 6u);
  EXPECT_EQ(imp, 4u);
}

// Collects the events of a subscription and its final status.
class EventSink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long, IWbemClassObject**) override { return WBEM_S_NO_ERROR; }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT, BSTR, IWbemClassObject*) override { return WBEM_S_NO_ERROR; }
};

om::ProxyBlanket blanketOf(IUnknown* proxy) {
  CComPtr<om::IProxyBlanket> holder;
  om::ProxyBlanket blanket;
  if (SUCCEEDED(proxy->QueryInterface(om::IID_IProxyBlanket, reinterpret_cast<void**>(&holder)))) {
    holder->QueryBlanket(&blanket);
  }
  return blanket;
}

// COM security is set once per process, so the whole life of a console's
// connection is one test, in order.
// Services whose GetObject sets the thread's last error and then throws.
class ThrowingServices : public om::wmi::ProviderBase {
 public:
  HRESULT STDMETHODCALLTYPE GetObject(const BSTR, long, IWbemContext*, IWbemClassObject**,
                                      IWbemCallResult**) override {
    SetLastError(static_cast<DWORD>(WBEM_E_ACCESS_DENIED));
    throw std::runtime_error("connection lost");
  }
};

// A connection over services of the test's choosing.
class ConnectionTo : public WbemConnect {
 public:
  explicit ConnectionTo(IWbemServices* services) : services_(services) {}
  IWbemServices* getServices() override { return services_; }
  bool isConnected() const override { return true; }

 private:
  IWbemServices* services_;
};

TEST(WbemConnect, AServerCheckThatThrowsKeepsTheCause) {
  CComPtr<ThrowingServices> services;
  services.Attach(new ThrowingServices);
  ConnectionTo connection(services);
  EXPECT_FALSE(connection.checkServerRunning());
  EXPECT_EQ(static_cast<HRESULT>(connection.getErrorCode()), WBEM_E_ACCESS_DENIED);
  EXPECT_EQ(connection.getStep(), 7069u);
}

TEST(WbemConnect, ConsoleLifeFromComStartToDisconnect) {
  RegistryHome home;
  const long baseline = om::comObjectCount();
  {
    WbemConnect connection;
    auto message = [&connection] {
      tstring text;
      connection.formatErrorMessage(text, WbemConnect::IDS_CONNECT_ERROR);
      return om::cp932ToUtf8(text);
    };

    ASSERT_TRUE(connection.initializeCom(0, 0)) << std::hex << connection.getErrorCode();
    EXPECT_EQ(connection.getStep(), 7068u);
    EXPECT_TRUE(connection.initializeCom(0, 0));  // already done: nothing happens
    // Forced again on the same thread: CoInitialize answers S_FALSE, a failure.
    EXPECT_FALSE(connection.initializeCom(0, 0, true));
    EXPECT_EQ(connection.getErrorCode(), static_cast<unsigned long>(S_FALSE));
    CoUninitialize();  // balances that counted CoInitialize

    EXPECT_FALSE(connection.isWbemInstalled());
    ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\WBEM"));
    EXPECT_TRUE(connection.isWbemInstalled());

    auto& manager = om::wmi::ObjectManager::instance();
    ASSERT_EQ(manager.loadMof(OM_ORVA_MOF), WBEM_S_NO_ERROR);

    // Credentials on a local connection are refused, with their own text.
    EXPECT_FALSE(connection.connectServer(".", "admin", "pw", "LAB"));
    EXPECT_EQ(static_cast<HRESULT>(connection.getErrorCode()), WBEM_E_LOCAL_CREDENTIALS);
    EXPECT_EQ(connection.getStep(), 7076u);
    EXPECT_EQ(message(), "ユーザー資格情報はローカル接続には使用できません。\n「現在のユーザーでログイン」を指定してください。");
    connection.setErrorCode(0x80041003);
    EXPECT_EQ(message(), "サーバとの通信に失敗しました。(Velmoran\\OrvaManager: code=0x80041003)");

    // Connected, but the server's network is not there yet.
    EXPECT_FALSE(connection.connectServer("", "", "", ""));
    EXPECT_TRUE(connection.isConnected());
    EXPECT_EQ(connection.getName(), "\\\\.\\root\\Velmoran\\OrvaManager");
    EXPECT_EQ(static_cast<HRESULT>(connection.getErrorCode()), WBEM_E_NOT_FOUND);
    EXPECT_EQ(connection.getStep(), 7069u);
    EXPECT_EQ(message(), "サーバとの通信に失敗しました。(サーバと接続中: code=0x80041002)");

    ASSERT_EQ(manager.loadMofText("#pragma namespace(\"\\\\\\\\.\\\\root\\\\Velmoran\\\\OrvaManager\")\n"
                                  "instance of OrvaManagerNetwork { NetworkName = \"ネットワーク\"; };\n"),
              WBEM_S_NO_ERROR);
    EXPECT_TRUE(connection.checkServerRunning());
    EXPECT_EQ(connection.getStep(), 7073u);

    // A second connect keeps the connection and reports the private code.
    IWbemServices* services = connection.getServices();
    EXPECT_TRUE(connection.connect());
    EXPECT_EQ(connection.getErrorCode(), 0x2E010002u);
    EXPECT_EQ(connection.getServices(), services);
    EXPECT_EQ(static_cast<IWbemServices*>(connection), services);
    EXPECT_NE(static_cast<IWbemLocator*>(connection), nullptr);

    // The proxy carries the process's levels (packet, impersonate on NT 10)
    // and the identity buffers.
    om::ProxyBlanket blanket = blanketOf(services);
    EXPECT_EQ(blanket.authnService, static_cast<DWORD>(RPC_C_AUTHN_WINNT));
    EXPECT_EQ(blanket.authnLevel, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT));
    EXPECT_EQ(blanket.impLevel, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
    EXPECT_TRUE(blanket.hasIdentity);
    WbemRoot::SetAuthImpLevel(RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_DELEGATE);
    EXPECT_EQ(WbemRoot::SetInterfaceSucurityIdentity(services), S_OK);
    blanket = blanketOf(services);
    EXPECT_EQ(blanket.authnLevel, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT_PRIVACY));
    EXPECT_EQ(blanket.impLevel, static_cast<DWORD>(RPC_C_IMP_LEVEL_DELEGATE));
    WbemRoot::SetAuthImpLevel(RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE);

    // Log events: an empty query is filled in.
    CComPtr<EventSink> sink;
    sink.Attach(new EventSink);
    tstring query;
    EXPECT_TRUE(connection.subscribeLogEvents(sink, query));
    EXPECT_EQ(query, "select * from LogObjectEvent");
    EXPECT_EQ(connection.getStep(), 7074u);
    // A second subscription replaces the first.
    EXPECT_TRUE(connection.subscribeLogEvents(sink, query));
    connection.cancelLogEvents();
    connection.cancelLogEvents();  // nothing held any more

    connection.disconnect();
    EXPECT_FALSE(connection.isConnected());
    EXPECT_EQ(connection.getStep(), 7070u);
    EXPECT_FALSE(connection.checkServerRunning());
    EXPECT_FALSE(connection.subscribeLogEvents(sink, query));
    EXPECT_EQ(connection.getStep(), 7070u);

    // Security was fixed by first use: setting it again is refused.
    EXPECT_FALSE(connection.reinitializeCom());
    EXPECT_EQ(static_cast<HRESULT>(connection.getErrorCode()), RPC_E_TOO_LATE);
    EXPECT_EQ(connection.getStep(), 7067u);
    manager.shutdown();
  }
  CoUninitialize();
  EXPECT_EQ(om::comObjectCount(), baseline) << "COM objects leaked";
}

}  // namespace
