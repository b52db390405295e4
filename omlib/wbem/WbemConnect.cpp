#include "wbem/WbemConnect.h"

#include <cstdlib>

#include <objbase.h>
#include <omtools/Registry.h>
#include <windows.h>

#include "wbem/WbemOMNetwork.h"

namespace {

// Set once COM and COM security have been set up by this module.
bool g_comReady = false;
// The login password, kept in memory only.
tstring g_rememberedPassword;

constexpr DWORD kPlatformWin9x = 1;
constexpr DWORD kPlatformNT = 2;

tstring resourceText(UINT id) {
  tstring text;
  text.loadString(id);
  return text;
}

// The authentication level used when none is asked for: none on Windows 9x
// and NT 4 or older, packet on every later platform.
DWORD defaultAuthLevel() {
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof(info);
  if (!GetVersionExA(&info)) return RPC_C_AUTHN_LEVEL_PKT;
  if (info.dwPlatformId == kPlatformWin9x) return RPC_C_AUTHN_LEVEL_NONE;
  if (info.dwPlatformId == kPlatformNT && info.dwMajorVersion <= 4) return RPC_C_AUTHN_LEVEL_NONE;
  return RPC_C_AUTHN_LEVEL_PKT;
}

bool readValue(const CRegistry& key, UINT nameId, tstring& value) {
  return key.isOpen() && key.getValue(resourceText(nameId), value);
}

CRegistry loginKey(bool create) {
  const tstring path = resourceText(WbemConnect::IDS_LOGIN_KEY);
  if (create) CRegistry::createKey(HKEY_CURRENT_USER, path);
  return CRegistry(HKEY_CURRENT_USER, path);
}

}  // namespace

WbemConnect::WbemConnect() = default;

WbemConnect::~WbemConnect() {
  cancelLogEvents();
  WbemRoot::disconnect();
}

bool WbemConnect::failWith(HRESULT hr) {
  setErrorCode(hr);
  return false;
}

bool WbemConnect::initializeCom(DWORD authLevel, DWORD impLevel, bool force) {
  if (g_comReady && !force) return true;
  return setUpCom(authLevel, impLevel);
}

bool WbemConnect::reinitializeCom() {
  disconnect();
  CoUninitialize();
  g_comReady = false;
  return setUpCom(0, 0);
}

bool WbemConnect::setUpCom(DWORD authLevel, DWORD impLevel) {
  const HRESULT init = CoInitialize(nullptr);
  if (init != S_OK) return failWith(init);
  setStep(IDS_STEP_COM_INITIALIZED);
  const DWORD auth = authLevel != 0 ? authLevel : defaultAuthLevel();
  const DWORD imp = impLevel != 0 ? impLevel : RPC_C_IMP_LEVEL_IMPERSONATE;
  const HRESULT hr =
      CoInitializeSecurity(nullptr, -1, nullptr, nullptr, auth, imp, nullptr, EOAC_NONE, nullptr);
  if (FAILED(hr)) return failWith(hr);
  setStep(IDS_STEP_COM_SECURITY);
  g_comReady = true;
  return true;
}

bool WbemConnect::isWbemInstalled() {
  return CRegistry::keyExists(HKEY_LOCAL_MACHINE, resourceText(IDS_WBEM_KEY)) && locator() != nullptr;
}

bool WbemConnect::connectServer(const tstring& server, const tstring& user, const tstring& password,
                                const tstring& domain) {
  setStep(IDS_STEP_NAMESPACE);
  if (!connectOrvaMan(server, user, password, domain)) return false;
  SetInterfaceSucurityIdentity(getServices());
  return checkServerRunning();
}

bool WbemConnect::checkServerRunning() {
  if (!isConnected()) return false;
  setStep(IDS_STEP_CHECKING_SERVER);
  bool found = false;
  try {
    WbemOMNetworkClient network(getServices());
    found = network.get();
  } catch (...) {
    // A failure like any other: the thread's last error, set by the step
    // that threw, is the cause.
  }
  if (!found) return failWith(static_cast<HRESULT>(GetLastError()));
  setStep(IDS_STEP_SERVER_RUNNING);
  return true;
}

void WbemConnect::disconnect() {
  WbemRoot::disconnect();
  setStep(IDS_STEP_DISCONNECTED);
}

void WbemConnect::formatErrorMessage(tstring& message, UINT formatId) const {
  if (static_cast<HRESULT>(getErrorCode()) == WBEM_E_LOCAL_CREDENTIALS) {
    message = resourceText(IDS_LOCAL_CREDENTIALS);
    return;
  }
  const tstring format = resourceText(formatId);
  message.format(format.c_str(), resourceText(m_dwStep).c_str(), static_cast<unsigned>(getErrorCode()));
}

bool WbemConnect::readLoginInfo(tstring& host, tstring& user, tstring& password, tstring& domain) {
  const CRegistry key = loginKey(false);
  password = g_rememberedPassword;
  const bool hasUser = readValue(key, IDS_LOGIN_USER, user);
  const bool hasDomain = readValue(key, IDS_LOGIN_DOMAIN, domain);
  const bool hasHost = readValue(key, IDS_LOGIN_HOST, host);
  return hasUser && hasDomain && hasHost;
}

bool WbemConnect::readLoginInfo(CString& host, CString& user, CString& password, CString& domain) {
  tstring texts[4] = {tstring(host.GetString()), tstring(user.GetString()), tstring(password.GetString()),
                      tstring(domain.GetString())};
  const bool found = readLoginInfo(texts[0], texts[1], texts[2], texts[3]);
  host = texts[0].c_str();
  user = texts[1].c_str();
  password = texts[2].c_str();
  domain = texts[3].c_str();
  return found;
}

bool WbemConnect::writeLoginInfo(const tstring& host, const tstring& user, const tstring& password,
                                 const tstring& domain) {
  CRegistry key = loginKey(true);
  g_rememberedPassword = password;
  const bool ok = key.setValue(resourceText(IDS_LOGIN_USER), user) &&
                  key.setValue(resourceText(IDS_LOGIN_DOMAIN), domain);
  return key.setValue(resourceText(IDS_LOGIN_HOST), host) && ok;
}

bool WbemConnect::writeLoginInfo(const char* host, const char* user, const char* password, const char* domain) {
  auto text = [](const char* s) { return tstring(s == nullptr ? "" : s); };
  return writeLoginInfo(text(host), text(user), text(password), text(domain));
}

bool WbemConnect::readAuthImpLevel(DWORD& authLevel, DWORD& impLevel) {
  const CRegistry key = loginKey(false);
  tstring auth;
  tstring imp;
  const bool hasAuth = readValue(key, IDS_AUTHN_LEVEL, auth);
  const bool hasImp = readValue(key, IDS_IMP_LEVEL, imp);
  if (hasAuth) authLevel = static_cast<DWORD>(std::strtoul(auth.c_str(), nullptr, 10));
  if (hasImp) impLevel = static_cast<DWORD>(std::strtoul(imp.c_str(), nullptr, 10));
  return hasAuth && hasImp;
}

bool WbemConnect::writeAuthImpLevel(int authLevel, int impLevel) {
  CRegistry key = loginKey(true);
  const bool ok = key.setValue(resourceText(IDS_AUTHN_LEVEL), tstring().format("%d", authLevel));
  return key.setValue(resourceText(IDS_IMP_LEVEL), tstring().format("%d", impLevel)) && ok;
}

bool WbemConnect::subscribeLogEvents(IWbemObjectSink* sink, tstring& query) {
  if (!isConnected()) return false;
  const tstring language = resourceText(IDS_QUERY_LANGUAGE);
  if (query.empty()) query = "select * from LogObjectEvent";
  setStep(IDS_STEP_LOG_EVENTS);
  const HRESULT hr =
      getServices()->ExecNotificationQueryAsync(om::bstrOf(language), om::bstrOf(query), 0, nullptr, sink);
  if (m_pEventSink != nullptr) m_pEventSink->Release();
  m_pEventSink = nullptr;
  if (FAILED(hr)) return failWith(hr);
  m_pEventSink = sink;
  if (m_pEventSink != nullptr) m_pEventSink->AddRef();
  return true;
}

void WbemConnect::cancelLogEvents() {
  if (m_pEventSink == nullptr) return;
  if (getServices() != nullptr) getServices()->CancelAsyncCall(m_pEventSink);
  m_pEventSink->Release();
  m_pEventSink = nullptr;
}
