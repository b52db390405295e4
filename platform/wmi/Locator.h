// IWbemLocator (CLSID_WbemLocator): connects to a namespace of the object
// manager hosted in this process. The network resource may name this machine
// in any of its spellings ("\\.\root\x", "//./root/x", "\\localhost\...",
// "\\<host name>\...", or no server at all: "root\x"), case-insensitively.
// A user or password on such a local connection is WBEM_E_LOCAL_CREDENTIALS;
// a namespace that does not exist WBEM_E_INVALID_NAMESPACE; another server,
// or this machine while no object manager is hosted in this process,
// WBEM_E_TRANSPORT_FAILURE (there is no network transport yet).
#ifndef OM_PLATFORM_WMI_LOCATOR_H_
#define OM_PLATFORM_WMI_LOCATOR_H_

#include <wbemcli.h>

#include <om/ComObject.h>

namespace om::wmi {

class Locator final : public om::ComObject<IWbemLocator> {
 public:
  Locator() = default;

  HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR strNetworkResource, const BSTR strUser, const BSTR strPassword,
                                          const BSTR strLocale, long lSecurityFlags, const BSTR strAuthority,
                                          IWbemContext* pCtx, IWbemServices** ppNamespace) override;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_LOCATOR_H_
