#include "server/EmbeddedServer.h"

#include <atlbase.h>
#include <wmi/ObjectManager.h>

#include "server/providers/NetworkObjectService.h"
#include "server/providers/OMNetworkService.h"

namespace {

const char16_t kNamespace[] = u"root\\Velmoran\\OrvaManager";

}  // namespace

HRESULT EmbeddedServer::start() {
  om::wmi::ObjectManager& manager = om::wmi::ObjectManager::instance();
  HRESULT hr = manager.loadMofText(kOrvaManagerMof);
  if (FAILED(hr)) return hr;
  if (!root_.connectOrvaMan("", "", "", "")) return static_cast<HRESULT>(root_.getErrorCode());
  CComPtr<IWbemServices> objects;
  objects.Attach(new NetworkObjectService(root_.getServices(), server_));
  hr = manager.registerProvider(kNamespace, u"NetworkObject", objects);
  if (FAILED(hr)) return hr;
  CComPtr<IWbemServices> network;
  network.Attach(new OMNetworkService(root_.getServices(), server_));
  hr = manager.registerProvider(kNamespace, u"OrvaManagerNetwork", network);
  if (FAILED(hr)) {
    manager.unregisterProvider(kNamespace, u"NetworkObject");
    return hr;
  }
  registered_ = true;
  return WBEM_S_NO_ERROR;
}

void EmbeddedServer::stop() {
  if (registered_) {
    om::wmi::ObjectManager& manager = om::wmi::ObjectManager::instance();
    manager.unregisterProvider(kNamespace, u"NetworkObject");
    manager.unregisterProvider(kNamespace, u"OrvaManagerNetwork");
    registered_ = false;
  }
  root_.disconnect();
}
