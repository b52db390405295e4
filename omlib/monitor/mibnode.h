// CMibNode: one node of the compiled MIB tree as clients see it (an object
// type, a table, an index, a trap or a notification) with its names, object
// identifier, syntax, access, description and the names of its neighbours.
// Nodes refer to each other by name only, so one node can travel alone
// between processes (archive class "CMibNode").
#ifndef OMLIB_MONITOR_MIBNODE_H_
#define OMLIB_MONITOR_MIBNODE_H_

#include <string>
#include <vector>

#include <afx.h>

#include "model/RecordFields.h"

// A trap node keeps its trap number in the access field, its enterprise in
// the syntax field and its variables in the value list; a notification node
// keeps its objects in the value list. The members trapNumber, enterprise,
// trapVariableList and notificationObjectList are those fields under their
// second names; every node binds them to its own fields, copies included.
//
// Archive form: moduleName, parentName, nodeName, oidString, fullPath,
// description (archived CStrings); nodeTypeKind, status, access (32-bit);
// syntax, nextSiblingName, prevSiblingName; childNameList and valueList (each
// a 32-bit count and the texts); currentChildIndex (32-bit). The second names
// and the short-name cache are not stored.
class CMibNode : public CObject {
  DECLARE_SERIAL(CMibNode)

 public:
  // Node types (low half of nodeTypeKind) that the class tells apart; other
  // numbers pass through as the MIB compiler gives them.
  enum { NODE_TYPE_NOTIFICATION = 4, NODE_TYPE_TRAP = 9 };
  // Node kind flags (high half of nodeTypeKind).
  enum { NODE_KIND_LEAF = 0x1, NODE_KIND_SCALAR = 0x2, NODE_KIND_TABLE = 0x4, NODE_KIND_INDEX = 0x8 };
  enum { ACCESS_READ_ONLY = 1, ACCESS_READ_WRITE = 2, ACCESS_WRITE_ONLY = 3, ACCESS_READ_CREATE = 5 };

  static constexpr const char* m_pszRootMibVariableISO = "iso";
  static constexpr const char* m_pszRootMibVariableCCITT = "ccitt";
  static constexpr const char* m_pszCounter64 = "Counter64";
  // The pseudo-parent of the two roots.
  static constexpr const char* m_pszMibRootParentName = "OrvaMibRootParent";
  // The pseudo-parents under which all traps and all notifications are listed.
  static constexpr const char* m_pszTrapListParentName = "OrvaTrapListParent";
  static constexpr const char* m_pszNotificationListParentName = "OrvaNotificationListParent";
  // The prefix of the names given to trap nodes.
  static constexpr const char* m_pszSmiTrapType = "SmiTrapType.";

  CMibNode();
  CMibNode(const CMibNode& other);
  const CMibNode& operator=(const CMibNode& other);

  const std::string& getModuleName() const { return moduleName_; }
  void setModuleName(const std::string& name) { moduleName_ = name; }
  const std::string& getParentName() const { return parentName_; }
  void setParentName(const std::string& name) { parentName_ = name; }
  // The full node name; may be dotted.
  const std::string& getNodeName() const { return nodeName_; }
  void setNodeName(const std::string& name) { nodeName_ = name; }
  const std::string& getOidString() const { return oidString_; }
  void setOidString(const std::string& oid) { oidString_ = oid; }
  const std::string& getFullPath() const { return fullPath_; }
  void setFullPath(const std::string& path) { fullPath_ = path; }
  const std::string& getDescription() const { return description_; }
  void setDescription(const std::string& description) { description_ = description; }
  const std::string& getNextSiblingName() const { return nextSiblingName_; }
  void setNextSiblingName(const std::string& name) { nextSiblingName_ = name; }
  const std::string& getPrevSiblingName() const { return prevSiblingName_; }
  void setPrevSiblingName(const std::string& name) { prevSiblingName_ = name; }

  int getNodeTypeKind() const { return nodeTypeKind_; }
  void setNodeTypeKind(int nodeTypeKind) { nodeTypeKind_ = nodeTypeKind; }
  int getNodeType() const { return static_cast<int>(static_cast<DWORD>(nodeTypeKind_) & 0xFFFF); }
  int getNodeKind() const { return static_cast<int>(static_cast<DWORD>(nodeTypeKind_) >> 16); }
  bool isTrapNode() const { return getNodeType() == NODE_TYPE_TRAP; }
  bool isNotificationNode() const { return getNodeType() == NODE_TYPE_NOTIFICATION; }
  bool isLeafNode() const { return (getNodeKind() & NODE_KIND_LEAF) != 0; }
  bool isScalarNode() const { return (getNodeKind() & NODE_KIND_SCALAR) != 0; }
  bool isTableNode() const { return (getNodeKind() & NODE_KIND_TABLE) != 0; }
  bool isIndexNode() const { return (getNodeKind() & NODE_KIND_INDEX) != 0; }

  int getStatus() const { return status_; }
  void setStatus(int status) { status_ = status; }
  // 0 for a trap node, whose field holds its trap number instead.
  int getAccess() const { return isTrapNode() ? 0 : access_; }
  // The field as stored, trap number or access.
  int getAccessTrapNumber() const { return access_; }
  void setAccess(int access) { access_ = access; }
  // The trap number of a trap node, 0 for any other node.
  int getTrapNumber() const { return isTrapNode() ? trapNumber_ : 0; }
  // By getAccess(): read-only, read-write and read-create are readable;
  // read-write, write-only and read-create are writable.
  bool isReadable() const;
  bool isWriteable() const;

  // Empty for a trap node, whose field holds its enterprise instead.
  const std::string& getSyntax() const;
  // The field as stored, syntax or enterprise.
  const std::string& getSyntaxEnterprise() const { return syntax_; }
  // The enterprise of a trap node, empty for any other node.
  const std::string& getEnterprise() const;
  void setSyntax(const std::string& syntax) { syntax_ = syntax; }
  // getSyntax() is "Counter64" exactly (case counts).
  bool isCounter64() const { return getSyntax() == m_pszCounter64; }

  const std::vector<std::string>& getChildNameList() const { return childNameList_; }
  void setChildNameList(const std::vector<std::string>& names) { childNameList_ = names; }
  void addChildName(const std::string& name) { childNameList_.push_back(name); }
  int getChildCount() const { return static_cast<int>(childNameList_.size()); }

  // Named values of the syntax, or the variables of a trap or the objects of
  // a notification: one list under three names.
  const std::vector<std::string>& getValueList() const { return valueList_; }
  void setValueList(const std::vector<std::string>& values) { valueList_ = values; }
  const std::vector<std::string>& getTrapVariableList() const { return trapVariableList_; }
  const std::vector<std::string>& getNotificationObjectList() const { return notificationObjectList_; }

  // -1 when the node has no children, whatever index was set.
  int getCurrentChildIndex() const { return childNameList_.empty() ? -1 : currentChildIndex_; }
  void setCurrentChildIndex(int index) { currentChildIndex_ = index; }

  // The part of the node name after its last ".", or the whole name.
  std::string getNodeShortName() const;
  // The short name followed by "(trap number)" for a trap node, or else by
  // "(last sub-identifier of the oid)" when the oid is known: sysDescr(1).
  std::string getNodeShortNameSubId() const;
  std::string getNodeDisplayName() const { return getNodeShortNameSubId(); }
  // Refills the cache with the short name of each child, in order, and
  // returns it.
  const std::vector<std::string>& getChildShortNames();

  void Serialize(CArchive& ar) override;

  // Every stored field by name, in archive order, for dumps.
  om::RecordFields describeFields() const;

 protected:
  void copyIn(const CMibNode& other);

 private:
  std::string moduleName_;
  std::string parentName_;
  std::string nodeName_;
  std::string oidString_;
  std::string fullPath_;
  std::string description_;
  int nodeTypeKind_ = 0;
  int status_ = 0;
  int access_ = 0;
  int& trapNumber_;
  std::string syntax_;
  std::string& enterprise_;
  std::string nextSiblingName_;
  std::string prevSiblingName_;
  std::vector<std::string> childNameList_;
  std::vector<std::string> valueList_;
  std::vector<std::string>& trapVariableList_;
  std::vector<std::string>& notificationObjectList_;
  int currentChildIndex_ = 0;
  std::vector<std::string> childShortNames_;
};

#endif  // OMLIB_MONITOR_MIBNODE_H_
