// COM security: the process's default settings (CoInitializeSecurity) and the
// blankets kept on proxies (CoSetProxyBlanket, CoQueryProxyBlanket).
#include <cstddef>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include <objbase.h>

#include <om/ComRuntime.h>
#include <om/ProxyBlanket.h>
#include <om/codepage.h>

#include "Apartment.h"

namespace {

// Set once, by CoInitializeSecurity or by the first reader of the defaults.
std::mutex g_securityMutex;
bool g_securityFixed = false;
om::ComSecurity g_security = {RPC_C_AUTHN_LEVEL_CONNECT, RPC_C_IMP_LEVEL_IDENTIFY, EOAC_NONE};

bool validLevels(DWORD authnLevel, DWORD impLevel) {
  return authnLevel <= RPC_C_AUTHN_LEVEL_PKT_PRIVACY && impLevel <= RPC_C_IMP_LEVEL_DELEGATE;
}

std::u16string wideText(const unsigned short* text, ULONG length) {
  std::u16string out(length, u'\0');
  if (length > 0) std::memcpy(out.data(), text, length * sizeof(char16_t));
  return out;
}

std::u16string ansiText(const unsigned char* text, ULONG length) {
  return om::cp932ToUtf16(std::string_view(reinterpret_cast<const char*>(text), length));
}

// Copies the strings of a SEC_WINNT_AUTH_IDENTITY_A or _W, told apart by
// Flags, which sits at the same place in both.
HRESULT copyIdentity(RPC_AUTH_IDENTITY_HANDLE authInfo, om::AuthIdentity* out) {
  static_assert(offsetof(SEC_WINNT_AUTH_IDENTITY_A, Flags) == offsetof(SEC_WINNT_AUTH_IDENTITY_W, Flags));
  ULONG flags;
  std::memcpy(&flags, static_cast<const char*>(authInfo) + offsetof(SEC_WINNT_AUTH_IDENTITY_A, Flags),
              sizeof flags);
  const auto missing = [](const void* text, ULONG length) { return text == nullptr && length > 0; };
  if (flags == SEC_WINNT_AUTH_IDENTITY_ANSI) {
    const auto* ansi = static_cast<const SEC_WINNT_AUTH_IDENTITY_A*>(authInfo);
    if (missing(ansi->User, ansi->UserLength) || missing(ansi->Domain, ansi->DomainLength) ||
        missing(ansi->Password, ansi->PasswordLength)) {
      return E_INVALIDARG;
    }
    out->user = ansiText(ansi->User, ansi->UserLength);
    out->domain = ansiText(ansi->Domain, ansi->DomainLength);
    out->password = ansiText(ansi->Password, ansi->PasswordLength);
    return S_OK;
  }
  if (flags == SEC_WINNT_AUTH_IDENTITY_UNICODE) {
    const auto* wide = static_cast<const SEC_WINNT_AUTH_IDENTITY_W*>(authInfo);
    if (missing(wide->User, wide->UserLength) || missing(wide->Domain, wide->DomainLength) ||
        missing(wide->Password, wide->PasswordLength)) {
      return E_INVALIDARG;
    }
    out->user = wideText(wide->User, wide->UserLength);
    out->domain = wideText(wide->Domain, wide->DomainLength);
    out->password = wideText(wide->Password, wide->PasswordLength);
    return S_OK;
  }
  return E_INVALIDARG;
}

om::IProxyBlanket* proxyOf(IUnknown* pProxy, HRESULT* hr) {
  om::IProxyBlanket* proxy = nullptr;
  *hr = pProxy == nullptr ? E_INVALIDARG
                          : pProxy->QueryInterface(om::IID_IProxyBlanket, reinterpret_cast<void**>(&proxy));
  return SUCCEEDED(*hr) ? proxy : nullptr;
}

}  // namespace

om::ComSecurity om::processComSecurity() {
  std::lock_guard<std::mutex> lock(g_securityMutex);
  g_securityFixed = true;
  return g_security;
}

HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR, LONG cAuthSvc, SOLE_AUTHENTICATION_SERVICE* asAuthSvc,
                             void*, DWORD dwAuthnLevel, DWORD dwImpLevel, void*, DWORD dwCapabilities, void*) {
  if (!om::com::comInitialised()) return CO_E_NOTINITIALIZED;
  std::lock_guard<std::mutex> lock(g_securityMutex);
  if (g_securityFixed) return RPC_E_TOO_LATE;
  if (cAuthSvc < -1 || (cAuthSvc > 0 && asAuthSvc == nullptr) || !validLevels(dwAuthnLevel, dwImpLevel)) {
    return E_INVALIDARG;
  }
  // Every authentication service is accepted: calls stay in the process.
  for (LONG i = 0; i < cAuthSvc; ++i) asAuthSvc[i].hr = S_OK;
  g_security.authnLevel = dwAuthnLevel == RPC_C_AUTHN_LEVEL_DEFAULT ? RPC_C_AUTHN_LEVEL_CONNECT : dwAuthnLevel;
  g_security.impLevel = dwImpLevel == RPC_C_IMP_LEVEL_DEFAULT ? RPC_C_IMP_LEVEL_IDENTIFY : dwImpLevel;
  g_security.capabilities = dwCapabilities == EOAC_DEFAULT ? DWORD{EOAC_NONE} : dwCapabilities;
  g_securityFixed = true;
  return S_OK;
}

HRESULT CoSetProxyBlanket(IUnknown* pProxy, DWORD dwAuthnSvc, DWORD dwAuthzSvc, OLECHAR* pServerPrincName,
                          DWORD dwAuthnLevel, DWORD dwImpLevel, RPC_AUTH_IDENTITY_HANDLE pAuthInfo,
                          DWORD dwCapabilities) {
  HRESULT hr;
  om::IProxyBlanket* proxy = proxyOf(pProxy, &hr);
  if (proxy == nullptr) return hr;
  const om::ComSecurity process = om::processComSecurity();
  om::ProxyBlanket blanket;
  blanket.authnService = dwAuthnSvc == RPC_C_AUTHN_DEFAULT ? RPC_C_AUTHN_WINNT : dwAuthnSvc;
  blanket.authzService = dwAuthzSvc == RPC_C_AUTHZ_DEFAULT ? RPC_C_AUTHZ_NONE : dwAuthzSvc;
  if (pServerPrincName != nullptr && pServerPrincName != COLE_DEFAULT_PRINCIPAL) {
    blanket.serverPrincipal = pServerPrincName;
  }
  blanket.authnLevel = dwAuthnLevel == RPC_C_AUTHN_LEVEL_DEFAULT ? process.authnLevel : dwAuthnLevel;
  blanket.impLevel = dwImpLevel == RPC_C_IMP_LEVEL_DEFAULT ? process.impLevel : dwImpLevel;
  blanket.capabilities = dwCapabilities == EOAC_DEFAULT ? process.capabilities : dwCapabilities;
  hr = validLevels(blanket.authnLevel, blanket.impLevel) ? S_OK : E_INVALIDARG;
  if (SUCCEEDED(hr) && pAuthInfo != nullptr && pAuthInfo != COLE_DEFAULT_AUTHINFO) {
    hr = copyIdentity(pAuthInfo, &blanket.identity);
    blanket.hasIdentity = true;
    blanket.authInfo = pAuthInfo;
  }
  if (SUCCEEDED(hr)) hr = proxy->SetBlanket(blanket);
  proxy->Release();
  return hr;
}

HRESULT CoQueryProxyBlanket(IUnknown* pProxy, DWORD* pwAuthnSvc, DWORD* pAuthzSvc, LPOLESTR* pServerPrincName,
                            DWORD* pAuthnLevel, DWORD* pImpLevel, RPC_AUTH_IDENTITY_HANDLE* pAuthInfo,
                            DWORD* pCapabilites) {
  HRESULT hr;
  om::IProxyBlanket* proxy = proxyOf(pProxy, &hr);
  if (proxy == nullptr) return hr;
  om::ProxyBlanket blanket;
  hr = proxy->QueryBlanket(&blanket);
  proxy->Release();
  if (FAILED(hr)) return hr;
  LPOLESTR principal = nullptr;
  if (pServerPrincName != nullptr && !blanket.serverPrincipal.empty()) {
    const size_t bytes = (blanket.serverPrincipal.size() + 1) * sizeof(OLECHAR);
    principal = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (principal == nullptr) return E_OUTOFMEMORY;
    std::memcpy(principal, blanket.serverPrincipal.c_str(), bytes);
  }
  if (pwAuthnSvc != nullptr) *pwAuthnSvc = blanket.authnService;
  if (pAuthzSvc != nullptr) *pAuthzSvc = blanket.authzService;
  if (pServerPrincName != nullptr) *pServerPrincName = principal;
  if (pAuthnLevel != nullptr) *pAuthnLevel = blanket.authnLevel;
  if (pImpLevel != nullptr) *pImpLevel = blanket.impLevel;
  if (pAuthInfo != nullptr) *pAuthInfo = blanket.authInfo;
  if (pCapabilites != nullptr) *pCapabilites = blanket.capabilities;
  return S_OK;
}

// ---- ProxyBlanketHolder ---------------------------------------------------------

om::ProxyBlanket om::ProxyBlanketHolder::defaultBlanket() {
  const ComSecurity process = processComSecurity();
  ProxyBlanket blanket;
  blanket.authnLevel = process.authnLevel;
  blanket.impLevel = process.impLevel;
  blanket.capabilities = process.capabilities;
  return blanket;
}

HRESULT om::ProxyBlanketHolder::SetBlanket(const ProxyBlanket& blanket) {
  std::lock_guard<std::mutex> lock(mutex_);
  blanket_ = blanket;
  return S_OK;
}

HRESULT om::ProxyBlanketHolder::QueryBlanket(ProxyBlanket* blanket) {
  if (blanket == nullptr) return E_POINTER;
  *blanket = this->blanket();
  return S_OK;
}

om::ProxyBlanket om::ProxyBlanketHolder::blanket() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return blanket_;
}
