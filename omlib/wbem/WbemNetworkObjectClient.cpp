#include "wbem/WbemNetworkObjectClient.h"

bool WbemNetworkObjectClient::getObject(const tstring& path, NetworkObjectBase& out, bool silent) {
  if (!get(path, silent)) return false;
  out.copyIn(*this);
  return true;
}

bool WbemNetworkObjectClient::autoAddPort(const tstring& objectName, IWbemObjectSink* sink) {
  return callForBool("AutoAddPort", {{"ObjectName", objectName}}, sink);
}

bool WbemNetworkObjectClient::isExistObject(const tstring& objectName, IWbemObjectSink* sink) {
  return callForBool("isExist", {{"ObjectName", objectName}}, sink);
}

bool WbemNetworkObjectClient::forcePolling(const tstring& objectName, IWbemObjectSink* sink) {
  return callForBool("ForcePolling", {{"ObjectName", objectName}}, sink);
}

bool WbemNetworkObjectClient::deleteObject(const tstring& objectName, IWbemObjectSink* sink) {
  return callForBool("Delete", {{"ObjectName", objectName}}, sink);
}

bool WbemNetworkObjectClient::moveObject(const tstring& srcParent, const tstring& destParent, IWbemObjectSink* sink) {
  return callForBool("Move", {{"ObjectName", getName()}, {"SrcParent", srcParent}, {"DestParent", destParent}}, sink);
}

bool WbemNetworkObjectClient::renameObject(const tstring& newName, IWbemObjectSink* sink) {
  return callForBool("Rename", {{"OldName", getName()}, {"NewName", newName}}, sink);
}

bool WbemNetworkObjectClient::setSnmpInfo(const tstring& variable, const tstring& value, IWbemObjectSink* sink) {
  return callForBool("SetSnmpInfo", {{"Target", getName()}, {"Variable", variable}, {"Value", value}}, sink);
}

bool WbemNetworkObjectClient::hasChildren(const tstring& pathName, IWbemObjectSink* sink) {
  return callForBool("HasChildren", {{"PathName", pathName}}, sink);
}

bool WbemNetworkObjectClient::getPathNames(const tstring& objectName, std::vector<std::string>& pathNames,
                                           IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("ObjectName", objectName.c_str());
  return runMethod(access, "GetPathNames", sink, "PathNames", pathNames);
}

bool WbemNetworkObjectClient::getSnmpInfo(const tstring& target, const std::vector<tstring>& variables,
                                          std::vector<std::string>& results) {
  WbemAccess access(this);
  access.putParam("Target", target.c_str());
  access.putParam("Variables", variables);
  return runMethod(access, "GetSnmpInfo", nullptr, "Results", results);
}

bool WbemNetworkObjectClient::getChildren(const tstring& pathName, std::vector<NetworkObjectBase>& children) {
  WbemAccess access(this);
  access.putParam("PathName", pathName.c_str());
  if (!keepResult(access.execute("GetChildren"))) return false;
  return keepResult(readObjects(access, "Objects", *this, [&] { children.push_back(getObject()); }));
}
