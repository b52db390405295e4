// WbemRoot: a connection to one namespace on one server. Owns one reference
// each to the IWbemLocator and the IWbemServices it obtains. The
// authentication and impersonation levels and the identity put on every WMI
// proxy are process-wide; they are set by the start-up thread before any
// connection is used from other threads.
#ifndef OMLIB_WBEM_WBEMROOT_H_
#define OMLIB_WBEM_WBEMROOT_H_

#include <objbase.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

#include "wbem/wbem.h"

class WbemRoot : public Wbem {
 public:
  // The root namespace of `serverName` (the local machine when null or empty).
  explicit WbemRoot(const char* serverName = nullptr);
  // Shallow: copies the names and the raw pointers without adding references,
  // so a copy must not outlive the object it was copied from.
  WbemRoot(const WbemRoot& other);
  WbemRoot& operator=(const WbemRoot& other);
  ~WbemRoot() override;

  // Connects as the current user.
  bool connect() override;
  void disconnect() override;
  IWbemServices* getServices() const override { return m_pServices; }
  IWbemServices* getServices() override { return m_pServices; }
  void setName(const tstring& name) override { m_tstrName = name; }
  const tstring& getName() const override { return m_tstrName; }
  bool isConnected() const override { return m_pServices != nullptr; }
  void setParent(const Wbem*) override {}
  const Wbem* getParent() const override { return nullptr; }
  tstring getFullpath() const override { return getName(); }

  // Points the object at the root namespace of `serverName`.
  virtual void resetName(const char* serverName);
  // Connects with an explicit identity; empty texts are sent as null (the
  // current user). A non-empty domain becomes the authority
  // "NTLMDOMAIN:<domain>". True without doing anything (error code
  // 0x2E010002) when already connected.
  virtual bool connect(const tstring& user, const tstring& password, const tstring& domain);
  virtual bool connect(const tstring& user, const tstring& password);
  // Connects to the system's namespace root\Velmoran\OrvaManager on `server`.
  virtual bool connectOrvaMan(const tstring& server, const tstring& user, const tstring& password,
                              const tstring& domain);

  IWbemServices* operator()() const { return m_pServices; }
  operator IWbemServices*() const { return m_pServices; }
  operator IWbemLocator*() const { return m_pLocator; }

  // Ignored on a Windows 9x platform, where the levels stay as they are.
  static void SetAuthImpLevel(DWORD authLevel, DWORD impLevel);
  static DWORD GetAuthenticationLevel() { return m_dwAuthLevel; }
  static DWORD GetImpersonationLevel() { return m_dwImpLevel; }
  // Puts the process's levels and identity on `proxy` (and on its
  // IUnknown). WBEM_E_INVALID_PARAMETER for a null proxy.
  static HRESULT SetInterfaceSucurityIdentity(IUnknown* proxy);

  // The error code of connect() on a connection that is already connected.
  static constexpr DWORD kAlreadyConnected = 0x2E010002;

 protected:
  void setServerName(const char* serverName);
  const tstring& getServerName() const { return m_tstrServerName; }
  static const char* getDefaultServerName() { return m_pDefaultServerName; }
  // "\\a\b".
  static tstring concatName(const tstring& a, const tstring& b);
  // The locator, created on first use; null (error code set) on failure.
  IWbemLocator* locator();
  // Keeps each non-empty value as the identity put on later proxies; empty
  // ones leave the earlier value. False (nothing changed) when a value does
  // not fit its buffer.
  bool SaveInterfaceSucurityIdentity(const tstring& user, const tstring& password, const tstring& domain);

  static const char* const m_pDefaultServerName;
  static const char* const m_pRootName;
  static DWORD m_dwAuthLevel;
  static DWORD m_dwImpLevel;
  static char m_tchUser[64];
  static char m_tchDomain[128];
  static char m_tchPassword[64];
  static SEC_WINNT_AUTH_IDENTITY_A m_AuthIDentity;

 private:
  tstring m_tstrServerName;
  tstring m_tstrName;
  IWbemServices* m_pServices = nullptr;
  IWbemLocator* m_pLocator = nullptr;
  // False for pointers copied from another object: they are that object's
  // references and are never released here.
  bool m_bOwnsServices = true;
  bool m_bOwnsLocator = true;
};

#endif  // OMLIB_WBEM_WBEMROOT_H_
