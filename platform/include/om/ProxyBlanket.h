// Security blankets kept on proxies. The stand-in's proxies are its own
// in-process objects; one that implements IProxyBlanket receives what
// CoSetProxyBlanket sets and reports it to CoQueryProxyBlanket. Objects that
// do not implement it are not proxies (CoSetProxyBlanket: E_NOINTERFACE).
#ifndef OM_PLATFORM_OM_PROXYBLANKET_H_
#define OM_PLATFORM_OM_PROXYBLANKET_H_

#include <mutex>
#include <string>

#include <objbase.h>

namespace om {

// The identity given with a blanket, always kept as UTF-16 whatever form
// (SEC_WINNT_AUTH_IDENTITY_A or _W) the caller used.
struct AuthIdentity {
  std::u16string user;
  std::u16string domain;
  std::u16string password;

  bool operator==(const AuthIdentity&) const = default;
};

// One blanket, with every default already resolved to the process's setting.
struct ProxyBlanket {
  DWORD authnService = RPC_C_AUTHN_WINNT;
  DWORD authzService = RPC_C_AUTHZ_NONE;
  std::u16string serverPrincipal;  // empty when none was named
  DWORD authnLevel = RPC_C_AUTHN_LEVEL_CONNECT;
  DWORD impLevel = RPC_C_IMP_LEVEL_IDENTIFY;
  DWORD capabilities = EOAC_NONE;
  bool hasIdentity = false;  // false: the process's own identity
  AuthIdentity identity;
  RPC_AUTH_IDENTITY_HANDLE authInfo = nullptr;  // the caller's pointer, never read
};

// {6F1C0B52-4E2D-4B8A-9C41-2A7E5D3F8B10}
DEFINE_GUID(IID_IProxyBlanket, 0x6F1C0B52, 0x4E2D, 0x4B8A, 0x9C, 0x41, 0x2A, 0x7E, 0x5D, 0x3F, 0x8B, 0x10);

struct IProxyBlanket : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE SetBlanket(const ProxyBlanket& blanket) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryBlanket(ProxyBlanket* blanket) = 0;
};

// Keeps one blanket, safe to set and read from any thread. List it among the
// interfaces of an om::ComObject to make that object a proxy:
//   om::ComObject<IWbemServices, om::ProxyBlanketHolder>
// A new holder has the process's default blanket with no identity.
class ProxyBlanketHolder : public IProxyBlanket {
 public:
  HRESULT STDMETHODCALLTYPE SetBlanket(const ProxyBlanket& blanket) override;
  HRESULT STDMETHODCALLTYPE QueryBlanket(ProxyBlanket* blanket) override;

  // The blanket as last set, for the object's own use.
  ProxyBlanket blanket() const;

 private:
  mutable std::mutex mutex_;
  ProxyBlanket blanket_ = defaultBlanket();

  static ProxyBlanket defaultBlanket();
};

}  // namespace om

OM_INTERFACE_ID(om::IProxyBlanket, om::IID_IProxyBlanket);
template <>
struct om::InterfaceId<om::ProxyBlanketHolder> : om::InterfaceId<om::IProxyBlanket> {};

#endif  // OM_PLATFORM_OM_PROXYBLANKET_H_
