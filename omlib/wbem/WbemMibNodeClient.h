// WbemMibNodeClient: the console's walk of the MIB tree through the provider
// of "MibNode", node by node, and its three methods. Every read sends the
// context value "NodeTypeKind" (the caller's kind) so that the provider
// answers with nodes of that kind. The child cursor is this node's current
// child index: the index of the next child GetNextChildNode fetches.
#ifndef OMLIB_WBEM_WBEMMIBNODECLIENT_H_
#define OMLIB_WBEM_WBEMMIBNODECLIENT_H_

#include <string>
#include <vector>

#include <afx.h>

#include "wbem/WbemMibNode.h"

class WbemMibNodeClient : public WbemMibNode {
 public:
  using WbemMibNode::WbemMibNode;

  // Reads the instance at `path` into this node (and copies it to `out`).
  bool GetMibNode(const CString& path, int kind);
  bool GetMibNode(const CString& path, CMibNode& out, int kind);

  // The neighbours of this node (or of `from`). Each fails without a request
  // when the name it needs is empty.
  bool GetParentNode(CMibNode& out, int kind) { return GetParentNode(*this, out, kind); }
  bool GetParentNode(const CMibNode& from, CMibNode& out, int kind);
  bool GetNextSiblingNode(CMibNode& out, int kind) { return GetNextSiblingNode(*this, out, kind); }
  bool GetNextSiblingNode(const CMibNode& from, CMibNode& out, int kind);
  bool GetPrevSiblingNode(CMibNode& out, int kind) { return GetPrevSiblingNode(*this, out, kind); }
  bool GetPrevSiblingNode(const CMibNode& from, CMibNode& out, int kind);
  // The child of that index; fails without a request for an index outside
  // the child names. On success the cursor moves to the next child.
  bool GetChildNode(long index, CMibNode& out, int kind);
  // The child at the cursor; fails without a request when there are no
  // children or the cursor is outside them. On success the cursor advances.
  bool GetNextChildNode(CMibNode& out, int kind);

  // Appends the nodes the provider lists for the context values "NodeName"
  // and "NodeTypeKind": the children of that node.
  bool GetAllChildNodes(const CString& nodeName, std::vector<CMibNode>& nodes, int kind);
  bool GetAllChildNodes(const CMibNode& node, std::vector<CMibNode>& nodes, int kind) {
    return GetAllChildNodes(node.getNodeName().c_str(), nodes, kind);
  }
  bool GetAllChildNodes(std::vector<CMibNode>& nodes, int kind) { return GetAllChildNodes(*this, nodes, kind); }

  // Walks `hostName` from `startVariable` into the server's file `fileName`.
  // Without a sink: true when "ReturnValue" is 0; with one: true once started.
  bool DoMibWalk(const CString& fileName, const CString& hostName, const CString& startVariable,
                 const CString& readCommunityName, long overwriteFlag, IWbemObjectSink* sink = nullptr);
  // The traps / notifications of a MIB module (this node's module when none
  // is named). The vector is replaced only when "ReturnValue" is 0.
  bool GetAllTraps(std::vector<std::string>& traps, const CString& moduleName);
  bool GetAllTraps(std::vector<std::string>& traps) { return GetAllTraps(traps, getModuleName().c_str()); }
  bool GetAllNotifications(std::vector<std::string>& notifications, const CString& moduleName);
  bool GetAllNotifications(std::vector<std::string>& notifications) {
    return GetAllNotifications(notifications, getModuleName().c_str());
  }

 private:
  // Reads the node named `name` into `out`.
  bool GetOtherMibNode(const CString& name, CMibNode& out, int kind);
  bool GetNamedNode(const std::string& name, CMibNode& out, int kind);
  bool listMethod(const char* method, const char* output, const CString& moduleName, std::vector<std::string>& list);
};

#endif  // OMLIB_WBEM_WBEMMIBNODECLIENT_H_
