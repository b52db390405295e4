// Process-wide parts of the COM run time that have no Windows call of their
// own: registering class factories without a COM-initialised thread (for
// hosts that set up at start-up), and reading the security settings.
#ifndef OM_PLATFORM_OM_COMRUNTIME_H_
#define OM_PLATFORM_OM_COMRUNTIME_H_

#include <objbase.h>

namespace om {

// Makes CoCreateInstance of `clsid` (any CLSCTX) go to `factory`, which gains
// a reference until the class is revoked. CO_E_OBJISREG when the class is
// registered already; E_INVALIDARG for a null factory. `cookie`, when given,
// receives the registration's CoRevokeClassObject cookie.
HRESULT registerClassObject(REFCLSID clsid, IClassFactory* factory, DWORD* cookie = nullptr);

// Removes the registration of `clsid` and releases its factory; objects it
// made stay alive. CO_E_OBJNOTREG when the class is not registered.
HRESULT revokeClassObject(REFCLSID clsid);

// The process's default security.
struct ComSecurity {
  DWORD authnLevel;
  DWORD impLevel;
  DWORD capabilities;
};

// The settings given to CoInitializeSecurity; before that call, the defaults
// (RPC_C_AUTHN_LEVEL_CONNECT, RPC_C_IMP_LEVEL_IDENTIFY, EOAC_NONE), which this
// call then fixes: a later CoInitializeSecurity returns RPC_E_TOO_LATE, as on
// Windows once the first proxy was made. Proxies (om::ProxyBlanketHolder) and
// CoSetProxyBlanket read their defaults here.
ComSecurity processComSecurity();

}  // namespace om

#endif  // OM_PLATFORM_OM_COMRUNTIME_H_
