#include "Locator.h"

#include <new>
#include <string>

#include <wmi/ObjectManager.h>

#include "ObjectManagerCore.h"
#include "Services.h"
#include "Text.h"

namespace om::wmi {

HRESULT Locator::ConnectServer(const BSTR strNetworkResource, const BSTR strUser, const BSTR strPassword,
                               const BSTR, long lSecurityFlags, const BSTR, IWbemContext*,
                               IWbemServices** ppNamespace) {
  if (ppNamespace == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppNamespace = nullptr;
  if (SysStringLen(strNetworkResource) == 0 || (lSecurityFlags & ~WBEM_FLAG_CONNECT_USE_MAX_WAIT) != 0) {
    return WBEM_E_INVALID_PARAMETER;
  }
  std::u16string server;
  std::u16string path;
  splitNamespacePath(bstrView(strNetworkResource), &server, &path);
  if (!server.empty() && !isLocalServer(server)) return WBEM_E_TRANSPORT_FAILURE;
  if (SysStringLen(strUser) != 0 || SysStringLen(strPassword) != 0) return WBEM_E_LOCAL_CREDENTIALS;
  if (!ObjectManager::isHosted()) return WBEM_E_TRANSPORT_FAILURE;
  ManagerCore& core = ManagerCore::instance();
  const std::u16string ns = core.existingNamespace(path);
  if (ns.empty()) return WBEM_E_INVALID_NAMESPACE;
  *ppNamespace = new (std::nothrow) Services(core, ns);
  return *ppNamespace == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
