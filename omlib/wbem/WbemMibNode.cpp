#include "wbem/WbemMibNode.h"

#include "wbem/WbemProperties.h"

namespace {

using Node = CMibNode;

// The 14 properties of "MibNode", in the class's order.
constexpr om::WbemProperty<Node> kProperties[] = {
    om::property<&Node::getModuleName, &Node::setModuleName>(u"ModuleName"),
    om::property<&Node::getParentName, &Node::setParentName>(u"ParentName"),
    om::property<&Node::getNodeName, &Node::setNodeName>(u"NodeName"),
    om::property<&Node::getOidString, &Node::setOidString>(u"Oid"),
    om::property<&Node::getFullPath, &Node::setFullPath>(u"FullPath"),
    om::property<&Node::getDescription, &Node::setDescription>(u"Description"),
    om::property<&Node::getNodeTypeKind, &Node::setNodeTypeKind>(u"NodeTypeKind"),
    om::property<&Node::getStatus, &Node::setStatus>(u"Status"),
    om::property<&Node::getAccess, &Node::setAccess>(u"Access"),
    om::property<&Node::getSyntax, &Node::setSyntax>(u"Syntax"),
    om::property<&Node::getNextSiblingName, &Node::setNextSiblingName>(u"NextSiblingName"),
    om::property<&Node::getPrevSiblingName, &Node::setPrevSiblingName>(u"PrevSiblingName"),
    om::property<&Node::getChildNameList, &Node::setChildNameList>(u"ChildNameList"),
    om::property<&Node::getValueList, &Node::setValueList>(u"ValueList"),
};

}  // namespace

WbemMibNode::WbemMibNode(const CMibNode& node, IWbemServices const* services)
    : CMibNode(node), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemMibNode::put() { return putInstance(); }

bool WbemMibNode::putToInstance(IWbemClassObject* instance, const CMibNode& node) {
  return om::writeProperties(instance, kProperties, node);
}

bool WbemMibNode::getFromInstance(IWbemClassObject* instance, CMibNode& node) {
  return om::readProperties(instance, kProperties, node);
}
