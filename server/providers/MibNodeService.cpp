#include "server/providers/MibNodeService.h"

#include <sys/stat.h>

#include <omtools/vstream.h>

#include "server/SnmpRequests.h"
#include "server/snmp/SnmpText.h"
#include "wbem/WbemMibNodeManager.h"

namespace {

bool fileExists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

bool MibNodeService::isOfKind(const CMibNode& node, int kind) {
  const int type = static_cast<int>(static_cast<DWORD>(kind) & 0xFFFF);
  const int flags = static_cast<int>(static_cast<DWORD>(kind) >> 16);
  return (type == 0 || node.getNodeType() == type) && (node.getNodeKind() & flags) == flags;
}

HRESULT MibNodeService::GetObjectAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  WbemMibNode node(services_);
  if (!server_->mib->find(name, node.getObject()) || !isOfKind(node, contextInt(ctx, u"NodeTypeKind", 0))) {
    return finish(sink, WBEM_E_NOT_FOUND);
  }
  return finish(sink, indicateInstance(services_, node, sink));
}

HRESULT MibNodeService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext*, IWbemObjectSink* sink) {
  WbemMibNode node(services_);
  if (!node.getFromInstance(instance) || node.getNodeName().empty()) return finish(sink, WBEM_E_INVALID_PARAMETER);
  server_->mib->put(node);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT MibNodeService::DeleteInstanceAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  return finish(sink, server_->mib->remove(name) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND);
}

HRESULT MibNodeService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  const std::string parentName = contextString(ctx, u"NodeName");
  const int kind = contextInt(ctx, u"NodeTypeKind", 0);
  std::vector<CMibNode> nodes;
  if (parentName.empty()) {
    nodes = server_->mib->list();
  } else {
    CMibNode parent;
    if (!server_->mib->find(parentName, parent)) return finish(sink, WBEM_E_NOT_FOUND);
    for (const std::string& child : parent.getChildNameList()) {
      CMibNode node;
      if (server_->mib->find(child, node)) nodes.push_back(node);
    }
  }
  InstanceBatch batch(services_, "MibNode", sink);
  HRESULT hr = WBEM_S_NO_ERROR;
  for (const CMibNode& each : nodes) {
    if (!isOfKind(each, kind)) continue;
    WbemMibNode node(each, services_);
    hr = batch.add(node);
    if (FAILED(hr)) break;
  }
  return batch.finish(hr);
}

bool MibNodeService::startOid(const std::string& startVariable, om::snmp::Oid& root) const {
  if (om::snmp::parseOid(startVariable, root)) return true;
  CMibNode node;
  return server_->mib->find(startVariable, node) && om::snmp::parseNumericOid(node.getOidString(), root);
}

MibNodeService::WalkResult MibNodeService::walk(const std::string& fileName, const std::string& hostName,
                                                const std::string& startVariable, const std::string& community,
                                                bool overwrite) {
  if (!overwrite && fileExists(fileName)) return kFileExists;
  om::snmp::Oid root;
  if (!startOid(startVariable, root)) return kNoStartVariable;
  if (hostName.empty()) return kNoHost;
  NetworkObjectBase host;
  const bool known = server_->copyObject(hostName, NetworkServer::Lookup::kNameOrAddress, host);
  using om::server::Community;
  const om::snmp::Target target = known ? om::server::snmpTarget(host, Community::kRead, community)
                                        : om::server::snmpTarget(hostName, Community::kRead, community);
  std::vector<om::snmp::Varbind> variables;
  if (server_->snmp->walkAll(target, root, variables).status != om::snmp::Status::kOk) return kNoAnswer;
  std::string text;
  for (const om::snmp::Varbind& variable : variables) {
    text += om::snmp::oidText(variable.oid) + "\t" + om::snmp::oidName(variable.oid) + "\t" +
            om::snmp::typeName(variable) + "\t" + om::snmp::valueText(variable) + "\n";
  }
  vofstream file(fileName.c_str());
  file.write(text.data(), text.size());
  return file.is_open() && file.close() ? kWalked : kNotWritten;
}

bool MibNodeService::listModule(const std::string& module, bool traps, std::vector<CString>& names) {
  bool found = false;
  for (const CMibNode& node : server_->mib->list()) {
    if (!module.empty() && node.getModuleName() != module) continue;
    found = true;
    if (traps ? node.isTrapNode() : node.isNotificationNode()) names.emplace_back(node.getNodeName().c_str());
  }
  return found;
}

HRESULT MibNodeService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx, IWbemClassObject* in,
                                        IWbemObjectSink* sink) {
  const std::u16string name = method == nullptr ? std::u16string() : std::u16string(method);
  if (name == u"DoMibWalk") {
    return serve<CDoMibWalk>(ctx, in, sink, [&](CDoMibWalk& m) {
      CString file, host, start, community;
      long overwrite = 0;
      const HRESULT hr = m.getInParams(file, host, start, community, overwrite);
      return FAILED(hr) ? hr : m.indicate(
          walk(file.GetString(), host.GetString(), start.GetString(), community.GetString(), overwrite != 0));
    });
  }
  const auto list = [&]<class Method>(bool traps) {
    return serve<Method>(ctx, in, sink, [&](Method& m) {
      CString module;
      const HRESULT hr = m.getInParams(module);
      if (FAILED(hr)) return hr;
      std::vector<CString> names;
      return listModule(module.GetString(), traps, names) ? m.indicate(names) : m.indicate(1);
    });
  };
  if (name == u"GetAllTraps") return list.template operator()<CGetAllTraps>(true);
  if (name == u"GetAllNotifications") return list.template operator()<CGetAllNotifications>(false);
  return finish(sink, WBEM_E_INVALID_METHOD);
}
