#include "monitor/mibnode.h"

#include <initializer_list>

#include "model/ArchiveFields.h"

IMPLEMENT_SERIAL(CMibNode, CObject, 1)

namespace {

// The part of a dotted name after its last ".", or the whole name.
std::string afterLastDot(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos ? name : name.substr(dot + 1);
}

const std::string& emptyText() {
  static const std::string empty;
  return empty;
}

bool isOneOf(int value, std::initializer_list<int> values) {
  for (int v : values) {
    if (value == v) return true;
  }
  return false;
}

}  // namespace

CMibNode::CMibNode()
    : trapNumber_(access_),
      enterprise_(syntax_),
      trapVariableList_(valueList_),
      notificationObjectList_(valueList_) {}

CMibNode::CMibNode(const CMibNode& other) : CMibNode() { copyIn(other); }

const CMibNode& CMibNode::operator=(const CMibNode& other) {
  if (this != &other) copyIn(other);
  return *this;
}

void CMibNode::copyIn(const CMibNode& other) {
  moduleName_ = other.moduleName_;
  parentName_ = other.parentName_;
  nodeName_ = other.nodeName_;
  oidString_ = other.oidString_;
  fullPath_ = other.fullPath_;
  description_ = other.description_;
  nodeTypeKind_ = other.nodeTypeKind_;
  status_ = other.status_;
  access_ = other.access_;
  syntax_ = other.syntax_;
  nextSiblingName_ = other.nextSiblingName_;
  prevSiblingName_ = other.prevSiblingName_;
  childNameList_ = other.childNameList_;
  valueList_ = other.valueList_;
  currentChildIndex_ = other.currentChildIndex_;
  childShortNames_ = other.childShortNames_;
}

bool CMibNode::isReadable() const {
  return isOneOf(getAccess(), {ACCESS_READ_ONLY, ACCESS_READ_WRITE, ACCESS_READ_CREATE});
}

bool CMibNode::isWriteable() const {
  return isOneOf(getAccess(), {ACCESS_READ_WRITE, ACCESS_WRITE_ONLY, ACCESS_READ_CREATE});
}

const std::string& CMibNode::getSyntax() const { return isTrapNode() ? emptyText() : syntax_; }

const std::string& CMibNode::getEnterprise() const { return isTrapNode() ? enterprise_ : emptyText(); }

std::string CMibNode::getNodeShortName() const { return afterLastDot(nodeName_); }

std::string CMibNode::getNodeShortNameSubId() const {
  std::string name = getNodeShortName();
  if (!isTrapNode() && oidString_.empty()) return name;
  const std::string subId = isTrapNode() ? std::to_string(getTrapNumber()) : afterLastDot(oidString_);
  name.append(1, '(').append(subId).append(1, ')');
  return name;
}

const std::vector<std::string>& CMibNode::getChildShortNames() {
  childShortNames_.clear();
  for (const std::string& child : childNameList_) childShortNames_.push_back(afterLastDot(child));
  return childShortNames_;
}

void CMibNode::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  for (std::string* text : {&moduleName_, &parentName_, &nodeName_, &oidString_, &fullPath_, &description_}) {
    fields(*text);
  }
  fields(nodeTypeKind_)(status_)(access_);
  for (std::string* text : {&syntax_, &nextSiblingName_, &prevSiblingName_}) fields(*text);
  fields.strings(childNameList_).strings(valueList_)(currentChildIndex_);
}

om::RecordFields CMibNode::describeFields() const {
  om::RecordFields fields = {
      {"moduleName", moduleName_},
      {"parentName", parentName_},
      {"nodeName", nodeName_},
      {"oidString", oidString_},
      {"fullPath", fullPath_},
      {"description", description_},
      {"nodeTypeKind", std::to_string(nodeTypeKind_)},
      {"status", std::to_string(status_)},
      {"access", std::to_string(access_)},
      {"syntax", syntax_},
      {"nextSiblingName", nextSiblingName_},
      {"prevSiblingName", prevSiblingName_},
  };
  om::appendListField(fields, "childNameList", childNameList_);
  om::appendListField(fields, "valueList", valueList_);
  fields.emplace_back("currentChildIndex", std::to_string(currentChildIndex_));
  return fields;
}
