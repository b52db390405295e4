#include "wbem/wbemroot.h"

#include <cstring>

#include <atlbase.h>
#include <om/WbemGuids.h>
#include <windows.h>

#include "wbem/WbemClient.h"

const char* const WbemRoot::m_pDefaultServerName = ".";
const char* const WbemRoot::m_pRootName = "root";
DWORD WbemRoot::m_dwAuthLevel = RPC_C_AUTHN_LEVEL_DEFAULT;
DWORD WbemRoot::m_dwImpLevel = RPC_C_IMP_LEVEL_IMPERSONATE;
char WbemRoot::m_tchUser[64];
char WbemRoot::m_tchDomain[128];
char WbemRoot::m_tchPassword[64];
SEC_WINNT_AUTH_IDENTITY_A WbemRoot::m_AuthIDentity = {
    reinterpret_cast<unsigned char*>(m_tchUser),     0, reinterpret_cast<unsigned char*>(m_tchDomain), 0,
    reinterpret_cast<unsigned char*>(m_tchPassword), 0, SEC_WINNT_AUTH_IDENTITY_ANSI};

namespace {

// Platform id of Windows 95/98/Me in GetVersionExA.
constexpr DWORD kPlatformWin9x = 1;

bool isWin9x() {
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof(info);
  return GetVersionExA(&info) && info.dwPlatformId == kPlatformWin9x;
}

using om::bstrOf;

// A BSTR of `text`, or null when it is empty (the current user's identity).
CComBSTR bstrOrNull(const tstring& text) { return text.empty() ? CComBSTR() : bstrOf(text); }

// Copies `value` into `buffer` and its length into `length`; an empty value
// changes nothing.
void keepIdentityPart(const tstring& value, char* buffer, ULONG& length) {
  if (value.empty()) return;
  std::memcpy(buffer, value.c_str(), value.size() + 1);
  length = static_cast<ULONG>(value.size());
}

}  // namespace

WbemRoot::WbemRoot(const char* serverName) {
  setServerName(serverName);
  setName(concatName(m_tstrServerName, m_pRootName));
}

WbemRoot::WbemRoot(const WbemRoot& other)
    : Wbem(other),
      m_tstrServerName(other.m_tstrServerName),
      m_tstrName(other.m_tstrName),
      m_pServices(other.m_pServices),
      m_pLocator(other.m_pLocator),
      m_bOwnsServices(false),
      m_bOwnsLocator(false) {}

WbemRoot& WbemRoot::operator=(const WbemRoot& other) {
  if (this == &other) return *this;
  disconnect();
  Wbem::operator=(other);
  m_tstrServerName = other.m_tstrServerName;
  m_tstrName = other.m_tstrName;
  m_pServices = other.m_pServices;
  m_pLocator = other.m_pLocator;
  m_bOwnsServices = false;
  m_bOwnsLocator = false;
  return *this;
}

WbemRoot::~WbemRoot() { WbemRoot::disconnect(); }

void WbemRoot::setServerName(const char* serverName) {
  m_tstrServerName = (serverName == nullptr || *serverName == '\0') ? getDefaultServerName() : serverName;
}

tstring WbemRoot::concatName(const tstring& a, const tstring& b) { return "\\\\" + a + "\\" + b; }

void WbemRoot::resetName(const char* serverName) {
  setServerName(serverName);
  setName(concatName(m_tstrServerName, m_pRootName));
}

IWbemLocator* WbemRoot::locator() {
  if (m_pLocator != nullptr) return m_pLocator;
  void* created = nullptr;
  const HRESULT hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, &created);
  if (hr != S_OK) {
    setErrorCode(hr);
    return nullptr;
  }
  m_pLocator = static_cast<IWbemLocator*>(created);
  m_bOwnsLocator = true;
  return m_pLocator;
}

bool WbemRoot::connect() { return connect(tstring(), tstring(), tstring()); }

bool WbemRoot::connect(const tstring& user, const tstring& password) { return connect(user, password, tstring()); }

bool WbemRoot::connect(const tstring& user, const tstring& password, const tstring& domain) {
  if (m_pServices != nullptr) {
    setErrorCode(kAlreadyConnected);
    return true;
  }
  IWbemLocator* wbemLocator = locator();
  if (wbemLocator == nullptr) return false;
  const CComBSTR authority = domain.empty() ? CComBSTR() : bstrOf("NTLMDOMAIN:" + domain);
  IWbemServices* services = nullptr;
  const HRESULT hr = wbemLocator->ConnectServer(bstrOf(getName()), bstrOrNull(user), bstrOrNull(password), nullptr, 0, authority,
                                                nullptr, &services);
  if (FAILED(hr)) {
    setErrorCode(hr);
    return false;
  }
  m_pServices = services;
  m_bOwnsServices = true;
  SaveInterfaceSucurityIdentity(user, password, domain);
  SetInterfaceSucurityIdentity(m_pServices);
  return true;
}

bool WbemRoot::connectOrvaMan(const tstring& server, const tstring& user, const tstring& password,
                              const tstring& domain) {
  resetName(server.c_str());
  setName(getName() + "\\Velmoran\\OrvaManager");
  return connect(user, password, domain);
}

void WbemRoot::disconnect() {
  if (m_pServices != nullptr && m_bOwnsServices) m_pServices->Release();
  m_pServices = nullptr;
  m_bOwnsServices = true;
  if (m_pLocator != nullptr && m_bOwnsLocator) m_pLocator->Release();
  m_pLocator = nullptr;
  m_bOwnsLocator = true;
}

void WbemRoot::SetAuthImpLevel(DWORD authLevel, DWORD impLevel) {
  if (isWin9x()) return;
  m_dwAuthLevel = authLevel;
  m_dwImpLevel = impLevel;
}

bool WbemRoot::SaveInterfaceSucurityIdentity(const tstring& user, const tstring& password, const tstring& domain) {
  if (user.size() >= sizeof(m_tchUser) || password.size() >= sizeof(m_tchPassword) ||
      domain.size() >= sizeof(m_tchDomain)) {
    return false;
  }
  keepIdentityPart(user, m_tchUser, m_AuthIDentity.UserLength);
  keepIdentityPart(password, m_tchPassword, m_AuthIDentity.PasswordLength);
  keepIdentityPart(domain, m_tchDomain, m_AuthIDentity.DomainLength);
  return true;
}

HRESULT WbemRoot::SetInterfaceSucurityIdentity(IUnknown* proxy) {
  if (proxy == nullptr) return WBEM_E_INVALID_PARAMETER;
  IUnknown* unknown = nullptr;
  proxy->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown));
  if (unknown != nullptr) {
    CoSetProxyBlanket(unknown, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, m_dwAuthLevel, m_dwImpLevel,
                      &m_AuthIDentity, EOAC_NONE);
  }
  const HRESULT hr = CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, m_dwAuthLevel,
                                       m_dwImpLevel, &m_AuthIDentity, EOAC_NONE);
  if (unknown != nullptr) unknown->Release();
  return hr;
}
