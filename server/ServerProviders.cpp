#include "server/ServerProviders.h"

#include <atlbase.h>
#include <wmi/ObjectManager.h>

#include "server/providers/ActionService.h"
#include "server/providers/LogService.h"
#include "server/providers/MibNodeService.h"
#include "server/providers/NetworkObjectService.h"
#include "server/providers/OMNetworkService.h"
#include "server/providers/SubnetService.h"
#include "server/providers/TaskRecordService.h"
#include "server/providers/TaskService.h"

const char16_t kOrvaManagerNamespace[] = u"root\\Velmoran\\OrvaManager";

namespace {

using Server = std::shared_ptr<NetworkServer>;

template <class Provider>
IWbemServices* make(IWbemServices* services, const Server& server) {
  return new Provider(services, server);
}

struct ProviderEntry {
  const char16_t* className;
  IWbemServices* (*make)(IWbemServices* services, const Server& server);
};

const ProviderEntry kProviders[] = {
    {u"NetworkObject", make<NetworkObjectService>},   {u"OrvaManagerNetwork", make<OMNetworkService>},
    {u"Subnet", make<SubnetService>},                 {u"TaskObject", make<TaskService>},
    {u"TaskDataRecord", make<TaskRecordService>},     {u"LogObject", make<LogService>},
    {u"MibNode", make<MibNodeService>},               {u"ActionCommand", make<ActionCommandService>},
    {u"ActionFilter", make<ActionFilterService>},
};

}  // namespace

HRESULT registerServerProviders(IWbemServices* services, const Server& server) {
  om::wmi::ObjectManager& manager = om::wmi::ObjectManager::instance();
  for (const ProviderEntry& entry : kProviders) {
    CComPtr<IWbemServices> provider;
    provider.Attach(entry.make(services, server));
    const HRESULT hr = manager.registerProvider(kOrvaManagerNamespace, entry.className, provider);
    if (FAILED(hr)) {
      unregisterServerProviders();
      return hr;
    }
  }
  return WBEM_S_NO_ERROR;
}

void unregisterServerProviders() {
  om::wmi::ObjectManager& manager = om::wmi::ObjectManager::instance();
  for (const ProviderEntry& entry : kProviders) manager.unregisterProvider(kOrvaManagerNamespace, entry.className);
}
