#include "server/providers/SubnetService.h"

#include <string>
#include <vector>

#include "server/discovery/SubnetDiscovery.h"
#include "wbem/WbemSubnet.h"

bool SubnetService::known(const std::string& name) {
  SubnetBase subnet;
  return server_->subnets->find(name, subnet);
}

bool SubnetService::exists(const std::string& name) {
  return server_->locked([&] { return known(name); });
}

bool SubnetService::addOrReplace(const SubnetBase& subnet) {
  return server_->locked([&] { return server_->putSubnet(subnet); });
}

bool SubnetService::remove(const std::string& name) {
  return server_->locked([&] { return known(name) && server_->removeObject(name); });
}

HRESULT SubnetService::GetObjectAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  WbemSubnet subnet(services_);
  if (!server_->locked([&] { return server_->subnets->find(name, subnet.getSubnet()); })) {
    return finish(sink, WBEM_E_NOT_FOUND);
  }
  return finish(sink, indicateInstance(services_, subnet, sink));
}

HRESULT SubnetService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext*, IWbemObjectSink* sink) {
  WbemSubnet subnet(services_);
  if (!subnet.getFromInstance(instance) || subnet.getName().empty()) return finish(sink, WBEM_E_INVALID_PARAMETER);
  return finish(sink, addOrReplace(subnet) ? WBEM_S_NO_ERROR : WBEM_E_INVALID_PARAMETER);
}

HRESULT SubnetService::DeleteInstanceAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  return finish(sink, remove(name) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND);
}

HRESULT SubnetService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink* sink) {
  const std::vector<SubnetBase> subnets = server_->locked([&] { return server_->subnets->list(); });
  InstanceBatch batch(services_, "Subnet", sink);
  HRESULT hr = WBEM_S_NO_ERROR;
  for (const SubnetBase& each : subnets) {
    WbemSubnet subnet(each, services_);
    hr = batch.add(subnet);
    if (FAILED(hr)) break;
  }
  return batch.finish(hr);
}

HRESULT SubnetService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx,
                                       IWbemClassObject* in, IWbemObjectSink* sink) {
  const std::u16string name = method == nullptr ? std::u16string() : std::u16string(method);
  NetworkServer& server = *server_;
  if (name == u"GoDiscover") {
    return serveOne<GoDiscoverProvider, tstring>(ctx, in, sink,
                                                 [&](const tstring& n) { return server.discovery->start(n); });
  }
  if (name == u"Delete") {
    return serveOne<DeleteProvider, tstring>(ctx, in, sink, [&](const tstring& n) { return remove(n); });
  }
  if (name == u"isExist") {
    return serveOne<IsExistSubnet, tstring>(ctx, in, sink, [&](const tstring& n) { return exists(n); });
  }
  if (name == u"Rename") {
    return serve<RenameProvider>(ctx, in, sink, [&](RenameProvider& m) {
      tstring oldName, newName;
      const HRESULT hr = m.getInParams(oldName, newName);
      if (FAILED(hr)) return hr;
      return m.indicate(server.locked([&] { return known(oldName) && server.renameObject(oldName, newName); }));
    });
  }
  if (name == u"GetAllDevices") {
    return serve<GetAllDevices>(ctx, in, sink, [&](GetAllDevices& m) {
      tstring subnet;
      const HRESULT hr = m.getInParams(subnet);
      if (FAILED(hr)) return hr;
      std::vector<NetworkObjectBase> devices;
      if (!server.locked([&] { return known(subnet) && server.tree.children(NetworkTree::subnetPath(subnet), devices); })) {
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
      }
      SerializableNetObjs found(devices);
      return m.indicate(found.pointers);
    });
  }
  return finish(sink, WBEM_E_INVALID_METHOD);
}
