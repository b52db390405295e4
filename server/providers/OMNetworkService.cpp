#include "server/providers/OMNetworkService.h"

#include <algorithm>
#include <string>
#include <vector>

#include "wbem/WbemOMNetwork.h"

COrvaManagerNetwork OMNetworkService::summary() {
  std::lock_guard<std::mutex> lock(server_->mutex);
  const NetworkTree& tree = server_->tree;
  COrvaManagerNetwork network;
  network.setName(WbemOMNetwork::networkName());
  network.setNumberOfSubnets(tree.count(kObjectTypeSubnet));
  const int nodes = tree.count(kObjectTypeNode);
  network.setNumberOfDiscoveredNodes(nodes);
  network.setNumberOfObservingNodes(server_->pollingManager ? nodes : 0);
  // The worst status of any node: down over up over unknown.
  int status = NetworkServer::kNodeUnknown;
  for (const std::string& name : tree.names(kObjectTypeNode)) status = std::max(status, tree.find(name)->getNodeStatus());
  network.setNodeStatus(status);
  network.setPollingManager(server_->pollingManager);
  network.setAutoDiscoverManager(server_->autoDiscoverManager);
  return network;
}

HRESULT OMNetworkService::GetObjectAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  if (name != WbemOMNetwork::networkName()) return finish(sink, WBEM_E_NOT_FOUND);
  WbemOMNetwork network(summary(), services_);
  return finish(sink, indicateInstance(services_, network, sink));
}

HRESULT OMNetworkService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext*, IWbemObjectSink* sink) {
  WbemOMNetwork network(services_);
  if (!network.getFromInstance(instance)) return finish(sink, WBEM_E_INVALID_PARAMETER);
  if (network.getName() != WbemOMNetwork::networkName()) return finish(sink, WBEM_E_NOT_FOUND);
  std::lock_guard<std::mutex> lock(server_->mutex);
  server_->setManagers(network.isPollingManager(), network.isAutoDiscoverManager());
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT OMNetworkService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink* sink) {
  WbemOMNetwork network(summary(), services_);
  return finish(sink, indicateInstance(services_, network, sink));
}

template <class Method>
HRESULT OMNetworkService::switchManager(bool NetworkServer::*state, IWbemContext* ctx, IWbemClassObject* inParams,
                                        IWbemObjectSink* sink) {
  Method method(services_, inParams, sink);
  HRESULT hr = method.execInit(ctx);
  bool start = false;
  if (SUCCEEDED(hr)) hr = method.getInParams(start);
  if (SUCCEEDED(hr)) {
    {
      std::lock_guard<std::mutex> lock(server_->mutex);
      bool polling = server_->pollingManager;
      bool autoDiscover = server_->autoDiscoverManager;
      (state == &NetworkServer::pollingManager ? polling : autoDiscover) = start;
      server_->setManagers(polling, autoDiscover);
    }
    hr = method.indicate(true);
  }
  return method.setStatus(hr);
}

HRESULT OMNetworkService::search(const tstring& name, bool subnets, IWbemContext* ctx, IWbemClassObject* inParams,
                                 IWbemObjectSink* sink) {
  SearchMethod method(services_, inParams, sink);
  method.setMethodName(name);
  HRESULT hr = method.execInit(ctx);
  tstring text;
  bool ignoreCase = false;
  if (SUCCEEDED(hr)) hr = method.getInParams(text, ignoreCase);
  if (SUCCEEDED(hr)) {
    std::vector<std::string> found;
    {
      std::lock_guard<std::mutex> lock(server_->mutex);
      found = server_->tree.search(text, ignoreCase, subnets);
    }
    std::vector<tstring> results(found.begin(), found.end());
    hr = method.indicate(results);
  }
  return method.setStatus(hr);
}

HRESULT OMNetworkService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx,
                                          IWbemClassObject* inParams, IWbemObjectSink* sink) {
  const std::u16string name = method == nullptr ? std::u16string() : std::u16string(method);
  if (name == u"PollingManager") {
    return switchManager<PollingManagerMethod>(&NetworkServer::pollingManager, ctx, inParams, sink);
  }
  if (name == u"AutoDiscoverManager") {
    return switchManager<AutoDiscoverManagerMethod>(&NetworkServer::autoDiscoverManager, ctx, inParams, sink);
  }
  if (name == u"SearchNetworkObject") return search("SearchNetworkObject", false, ctx, inParams, sink);
  if (name == u"SearchSubnet") return search("SearchSubnet", true, ctx, inParams, sink);
  return finish(sink, WBEM_E_INVALID_METHOD);
}
