#include "server/providers/NetworkObjectService.h"

#include <string>
#include <vector>

#include "server/SnmpRequests.h"
#include "wbem/WbemNetworkObjectProvider.h"

namespace {

}  // namespace

HRESULT NetworkObjectService::GetObjectAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  WbemNetworkObject object(services_);
  {
    std::lock_guard<std::mutex> lock(server_->mutex);
    const NetworkObjectBase* found = server_->tree.find(name);
    if (found == nullptr) {
      if (!contextBool(ctx, u"Silent", false)) server_->log.push_back(name + " was not found.");
      return finish(sink, WBEM_E_NOT_FOUND);
    }
    object.setObject(*found);
  }
  return finish(sink, indicateInstance(services_, object, sink));
}

HRESULT NetworkObjectService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext* ctx,
                                               IWbemObjectSink* sink) {
  WbemNetworkObject object(services_);
  if (!object.getFromInstance(instance)) return finish(sink, WBEM_E_INVALID_PARAMETER);
  const std::string subnet = contextString(ctx, u"SubnetName");
  std::lock_guard<std::mutex> lock(server_->mutex);
  NetworkTree& tree = server_->tree;
  if (tree.find(object.getName()) != nullptr && subnet.empty()) {
    return finish(sink, tree.update(object) ? WBEM_S_NO_ERROR : WBEM_E_INVALID_PARAMETER);
  }
  if (subnet.empty() || tree.find(subnet) == nullptr) {
    server_->log.push_back("No subnet \"" + subnet + "\" for " + object.getName() + ".");
    return finish(sink, WBEM_E_INVALID_PARAMETER);
  }
  return finish(sink, tree.add(NetworkTree::subnetPath(subnet), object) ? WBEM_S_NO_ERROR : WBEM_E_INVALID_PARAMETER);
}

HRESULT NetworkObjectService::DeleteInstanceAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  std::lock_guard<std::mutex> lock(server_->mutex);
  return finish(sink, server_->tree.remove(name) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND);
}

HRESULT NetworkObjectService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink* sink) {
  std::vector<NetworkObjectBase> objects;
  {
    std::lock_guard<std::mutex> lock(server_->mutex);
    for (const bool subnets : {true, false}) {
      for (const std::string& name : server_->tree.search("", false, subnets)) {
        objects.push_back(*server_->tree.find(name));
      }
    }
  }
  HRESULT hr = WBEM_S_NO_ERROR;
  for (const NetworkObjectBase& each : objects) {
    WbemNetworkObject object(each, services_);
    hr = indicateInstance(services_, object, sink);
    if (FAILED(hr)) break;
  }
  return finish(sink, hr);
}

HRESULT NetworkObjectService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx,
                                              IWbemClassObject* inParams, IWbemObjectSink* sink) {
  return execMethod(method == nullptr ? std::u16string() : std::u16string(method), ctx, inParams, sink);
}

namespace {

std::vector<tstring> toTstrings(const std::vector<std::string>& texts) { return {texts.begin(), texts.end()}; }
std::vector<std::string> toStrings(const std::vector<tstring>& texts) { return {texts.begin(), texts.end()}; }

// Polls the node outside the lock and stores its new status; false when the
// node is unknown or could not be probed.
bool forcePolling(NetworkServer& server, const std::string& name) {
  NetworkObjectBase node;
  {
    std::lock_guard<std::mutex> lock(server.mutex);
    const NetworkObjectBase* found = server.tree.find(name);
    if (found == nullptr || !server.poll) return false;
    node = *found;
  }
  const int status = server.poll(node);
  return server.setNodeStatus(name, status) && status != NetworkServer::kNodeUnknown;
}

// Lists the ports the server finds under every path of the node.
bool autoAddPort(NetworkServer& server, const std::string& name) {
  std::lock_guard<std::mutex> lock(server.mutex);
  const NetworkObjectBase* node = server.tree.find(name);
  if (node == nullptr || node->getObjectType() != kObjectTypeNode) return false;
  const std::vector<NetworkObjectBase> ports =
      server.findPorts ? server.findPorts(*node) : std::vector<NetworkObjectBase>();
  for (const std::string& path : server.tree.pathNames(name)) {
    for (const NetworkObjectBase& port : ports) server.tree.add(path, port);
  }
  return true;
}

}  // namespace

HRESULT NetworkObjectService::execMethod(const std::u16string& method, IWbemContext* ctx, IWbemClassObject* in,
                                         IWbemObjectSink* sink) {
  NetworkServer& server = *server_;
  if (method == u"AutoAddPort") {
    return serveOne<AutoAddPortMethod, tstring>(ctx, in, sink, [&](const tstring& n) { return autoAddPort(server, n); });
  }
  if (method == u"isExist") {
    return serveOne<IsExistMethod, tstring>(ctx, in, sink, [&](const tstring& n) {
      return server.locked([&] { return server.tree.find(n) != nullptr; });
    });
  }
  if (method == u"ForcePolling") {
    return serveOne<ForcePollingMethod, tstring>(ctx, in, sink, [&](const tstring& n) { return forcePolling(server, n); });
  }
  if (method == u"Delete") {
    return serveOne<DeleteMethod, tstring>(
        ctx, in, sink, [&](const tstring& n) { return server.locked([&] { return server.removeObject(n); }); });
  }
  if (method == u"HasChildren") {
    return serveOne<HasChildrenMethod, tstring>(ctx, in, sink, [&](const tstring& n) {
      return server.locked([&] { return server.tree.hasChildren(n); });
    });
  }
  if (method == u"GetPathNames") {
    return serve<GetPathNamesMethod>(ctx, in, sink, [&](GetPathNamesMethod& m) {
      tstring name;
      const HRESULT hr = m.getInParams(name);
      if (FAILED(hr)) return hr;
      std::vector<tstring> paths = toTstrings(server.locked([&] { return server.tree.pathNames(name); }));
      return m.indicate(paths);
    });
  }
  if (method == u"GetChildren") {
    return serve<GetChildrenMethod>(ctx, in, sink, [&](GetChildrenMethod& m) {
      tstring path;
      const HRESULT hr = m.getInParams(path);
      if (FAILED(hr)) return hr;
      std::vector<NetworkObjectBase> children;
      if (!server.locked([&] { return server.tree.children(path, children); }))
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
      SerializableNetObjs found(children);
      return m.indicate(found.pointers);
    });
  }
  if (method == u"GetSnmpInfo") {
    return serve<GetSnmpInfoMethod>(ctx, in, sink, [&](GetSnmpInfoMethod& m) {
      tstring target;
      std::vector<tstring> variables;
      const HRESULT hr = m.getInParams(target, variables);
      if (FAILED(hr)) return hr;
      NetworkObjectBase object;
      if (!server.copyObject(target, NetworkServer::Lookup::kName, object)) return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
      std::vector<std::string> results;
      std::string error;
      if (!om::server::getSnmpInfo(*server.snmp, object, toStrings(variables), results, error)) {
        return static_cast<HRESULT>(WBEM_E_FAILED);
      }
      std::vector<tstring> texts = toTstrings(results);
      return m.indicate(texts);
    });
  }
  if (method == u"Move") {
    return serve<MoveMethod>(ctx, in, sink, [&](MoveMethod& m) {
      tstring name, src, dest;
      const HRESULT hr = m.getInParams(name, src, dest);
      if (FAILED(hr)) return hr;
      return m.indicate(server.locked([&] { return server.tree.move(name, src, dest); }));
    });
  }
  if (method == u"Rename") {
    return serve<RenameMethod>(ctx, in, sink, [&](RenameMethod& m) {
      tstring oldName, newName;
      const HRESULT hr = m.getInParams(oldName, newName);
      if (FAILED(hr)) return hr;
      return m.indicate(server.locked([&] { return server.renameObject(oldName, newName); }));
    });
  }
  if (method == u"SetSnmpInfo") {
    return serve<SetSnmpInfoMethod>(ctx, in, sink, [&](SetSnmpInfoMethod& m) {
      tstring target, variable, value;
      const HRESULT hr = m.getInParams(target, variable, value);
      if (FAILED(hr)) return hr;
      NetworkObjectBase object;
      std::string error;
      return m.indicate(server.copyObject(target, NetworkServer::Lookup::kName, object) &&
                        om::server::setSnmpInfo(*server.snmp, object, variable, value, error));
    });
  }
  return finish(sink, WBEM_E_INVALID_METHOD);
}
