#include "server/EmbeddedServer.h"

#include <wmi/ObjectManager.h>

#include "config/DefaultValues.h"
#include "server/ServerProviders.h"
#include "server/SnmpRequests.h"
#include "server/discovery/LocalNetwork.h"

HRESULT EmbeddedServer::start() {
  // The settings object is made once, before the providers' threads read it.
  DefaultValues::getDefault();
  HRESULT hr = om::wmi::ObjectManager::instance().loadMofText(kOrvaManagerMof);
  if (FAILED(hr)) return hr;
  if (!root_.connectOrvaMan("", "", "", "")) return static_cast<HRESULT>(root_.getErrorCode());
  hr = registerServerProviders(root_.getServices(), server_);
  if (FAILED(hr)) return hr;
  events_ = std::make_unique<LogEvents>(root_.getServices(), server_);
  registered_ = true;
  return WBEM_S_NO_ERROR;
}

void EmbeddedServer::stop() {
  events_.reset();
  if (registered_) {
    unregisterServerProviders();
    registered_ = false;
  }
  root_.disconnect();
}

std::string prepareNetwork(NetworkServer& network, bool sampleTasks) {
  const std::string kept = network.openData(NetworkServer::dataDirectory(), NetworkServer::configuredRetention());
  if (!kept.empty()) return kept;
  addLocalNetwork(network);
  network.start(sampleTasks);
  network.loadMib(om::server::mibFolders());
  return "";
}
