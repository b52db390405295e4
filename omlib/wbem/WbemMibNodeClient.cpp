#include "wbem/WbemMibNodeClient.h"

bool WbemMibNodeClient::GetMibNode(const CString& path, int kind) {
  WbemAccess access(this);
  access.putContext("NodeTypeKind", CComVariant(kind));
  return keepResult(access.get(tstring(path.GetString())));
}

bool WbemMibNodeClient::GetMibNode(const CString& path, CMibNode& out, int kind) {
  if (!GetMibNode(path, kind)) return false;
  out = getObject();
  return true;
}

bool WbemMibNodeClient::GetOtherMibNode(const CString& name, CMibNode& out, int kind) {
  WbemMibNode reader(getServices());
  WbemAccess access(&reader);
  access.setKeyPrefix(getClassName() + ".NodeName");
  access.putContext("NodeTypeKind", CComVariant(kind));
  if (!keepResult(access.get(name.GetString()))) return false;
  out = reader.getObject();
  return true;
}

bool WbemMibNodeClient::GetNamedNode(const std::string& name, CMibNode& out, int kind) {
  return !name.empty() && GetOtherMibNode(name.c_str(), out, kind);
}

bool WbemMibNodeClient::GetParentNode(const CMibNode& from, CMibNode& out, int kind) {
  return GetNamedNode(from.getParentName(), out, kind);
}

bool WbemMibNodeClient::GetNextSiblingNode(const CMibNode& from, CMibNode& out, int kind) {
  return GetNamedNode(from.getNextSiblingName(), out, kind);
}

bool WbemMibNodeClient::GetPrevSiblingNode(const CMibNode& from, CMibNode& out, int kind) {
  return GetNamedNode(from.getPrevSiblingName(), out, kind);
}

bool WbemMibNodeClient::GetChildNode(long index, CMibNode& out, int kind) {
  if (index < 0 || index >= getChildCount()) return false;
  if (!GetNamedNode(getChildNameList()[static_cast<size_t>(index)], out, kind)) return false;
  setCurrentChildIndex(static_cast<int>(index) + 1);
  return true;
}

bool WbemMibNodeClient::GetNextChildNode(CMibNode& out, int kind) {
  const int cursor = getCurrentChildIndex();
  if (cursor < 0 || cursor >= getChildCount()) return false;
  if (!GetNamedNode(getChildNameList()[static_cast<size_t>(cursor)], out, kind)) return false;
  setCurrentChildIndex(cursor + 1);
  return true;
}

bool WbemMibNodeClient::GetAllChildNodes(const CString& nodeName, std::vector<CMibNode>& nodes, int kind) {
  WbemMibNode reader(getServices());
  WbemAccess access(&reader);
  access.putContext("NodeName", CComVariant(nodeName.GetString()));
  access.putContext("NodeTypeKind", CComVariant(kind));
  if (!keepResult(access.enumerate())) return false;
  return keepResult(readEnumeration(access, reader, [&] {
    nodes.push_back(reader.getObject());
    reader.setObject(CMibNode());
  }));
}

bool WbemMibNodeClient::DoMibWalk(const CString& fileName, const CString& hostName, const CString& startVariable,
                                  const CString& readCommunityName, long overwriteFlag, IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("FileName", fileName.GetString());
  access.putParam("HostName", hostName.GetString());
  access.putParam("StartVariable", startVariable.GetString());
  access.putParam("ReadCommunityName", readCommunityName.GetString());
  access.putParam("OverwriteFlag", CComVariant(static_cast<int>(overwriteFlag)));
  return runZeroReturnMethod(access, "DoMibWalk", sink);
}

bool WbemMibNodeClient::listMethod(const char* method, const char* output, const CString& moduleName,
                                   std::vector<std::string>& list) {
  WbemAccess access(this);
  access.putParam("ModuleName", moduleName.GetString());
  if (!runZeroReturnMethod(access, method, nullptr)) return false;
  std::vector<std::string> read;
  if (!keepResult(access.getOutput(output, read))) return false;
  list.swap(read);
  return true;
}

bool WbemMibNodeClient::GetAllTraps(std::vector<std::string>& traps, const CString& moduleName) {
  return listMethod("GetAllTraps", "Traps", moduleName, traps);
}

bool WbemMibNodeClient::GetAllNotifications(std::vector<std::string>& notifications, const CString& moduleName) {
  return listMethod("GetAllNotifications", "Notifications", moduleName, notifications);
}
