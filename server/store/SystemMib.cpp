#include "server/store/SystemMib.h"

#include <map>
#include <string>

namespace {

constexpr int kPlain = 0;
constexpr int kObjectType = 1;
constexpr int kScalar = (CMibNode::NODE_KIND_LEAF | CMibNode::NODE_KIND_SCALAR) << 16 | kObjectType;
constexpr int kNotification = CMibNode::NODE_TYPE_NOTIFICATION;
constexpr int kTrap = CMibNode::NODE_TYPE_TRAP;

struct Entry {
  const char* name;
  const char* parent;
  int subId;  // the last sub-identifier; a trap's number
  const char* module;
  int typeKind;
  int access;
  const char* syntax;  // a trap's enterprise
  const char* description;
};

constexpr const char* kTrapList = CMibNode::m_pszTrapListParentName;
constexpr const char* kNotificationList = CMibNode::m_pszNotificationListParentName;

// Parents come before their children; children in the order of their
// sub-identifiers.
const Entry kEntries[] = {
    {CMibNode::m_pszMibRootParentName, "", 0, "", kPlain, 0, "", "The roots of the tree."},
    {"ccitt", CMibNode::m_pszMibRootParentName, 0, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"iso", CMibNode::m_pszMibRootParentName, 1, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"org", "iso", 3, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"dod", "org", 6, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"internet", "dod", 1, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"mgmt", "internet", 2, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"mib-2", "mgmt", 1, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"system", "mib-2", 1, "SNMPv2-MIB", kPlain, 0, "", ""},
    {"sysDescr", "system", 1, "SNMPv2-MIB", kScalar, 1, "DisplayString", "What the entity is: hardware and software."},
    {"sysObjectID", "system", 2, "SNMPv2-MIB", kScalar, 1, "OBJECT IDENTIFIER", "The vendor's identification of it."},
    {"sysUpTime", "system", 3, "SNMPv2-MIB", kScalar, 1, "TimeTicks", "Hundredths of a second since its agent started."},
    {"sysContact", "system", 4, "SNMPv2-MIB", kScalar, 2, "DisplayString", "Who looks after it."},
    {"sysName", "system", 5, "SNMPv2-MIB", kScalar, 2, "DisplayString", "Its administrative name."},
    {"sysLocation", "system", 6, "SNMPv2-MIB", kScalar, 2, "DisplayString", "Where it is."},
    {"sysServices", "system", 7, "SNMPv2-MIB", kScalar, 1, "INTEGER", "The layers of service it offers."},
    {"snmpV2", "internet", 6, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"snmpModules", "snmpV2", 3, "SNMPv2-SMI", kPlain, 0, "", ""},
    {"snmpMIB", "snmpModules", 1, "SNMPv2-MIB", kPlain, 0, "", ""},
    {"snmpMIBObjects", "snmpMIB", 1, "SNMPv2-MIB", kPlain, 0, "", ""},
    {"snmpTraps", "snmpMIBObjects", 5, "SNMPv2-MIB", kPlain, 0, "", ""},
    {"coldStart", "snmpTraps", 1, "SNMPv2-MIB", kNotification, 0, "", "The entity restarted; its configuration may have changed."},
    {"warmStart", "snmpTraps", 2, "SNMPv2-MIB", kNotification, 0, "", "The entity restarted without a change of configuration."},
    {"linkDown", "snmpTraps", 3, "IF-MIB", kNotification, 0, "", "An interface left the up state."},
    {"linkUp", "snmpTraps", 4, "IF-MIB", kNotification, 0, "", "An interface came up."},
    {"authenticationFailure", "snmpTraps", 5, "SNMPv2-MIB", kNotification, 0, "", "A request failed authentication."},
    {kTrapList, "", 0, "", kPlain, 0, "", "Every trap of the loaded modules."},
    {"SmiTrapType.coldStart", kTrapList, 0, "RFC1215", kTrap, 0, "1.3.6.1.2.1.11", "The agent restarted."},
    {"SmiTrapType.warmStart", kTrapList, 1, "RFC1215", kTrap, 0, "1.3.6.1.2.1.11", "The agent reinitialised."},
    {"SmiTrapType.linkDown", kTrapList, 2, "RFC1215", kTrap, 0, "1.3.6.1.2.1.11", "A link failed."},
    {"SmiTrapType.linkUp", kTrapList, 3, "RFC1215", kTrap, 0, "1.3.6.1.2.1.11", "A link came up."},
    {"SmiTrapType.authenticationFailure", kTrapList, 4, "RFC1215", kTrap, 0, "1.3.6.1.2.1.11",
     "A request failed authentication."},
    {"SmiTrapType.egpNeighborLoss", kTrapList, 5, "RFC1215", kTrap, 0, "1.3.6.1.2.1.11", "An EGP peer was lost."},
};

}  // namespace

std::vector<CMibNode> systemMibNodes() {
  std::vector<CMibNode> nodes;
  std::map<std::string, size_t> byName;
  for (const Entry& entry : kEntries) {
    CMibNode node;
    node.setNodeName(entry.name);
    node.setParentName(entry.parent);
    node.setModuleName(entry.module);
    node.setNodeTypeKind(entry.typeKind);
    node.setStatus(1);
    // A trap keeps its number where other nodes keep their access.
    node.setAccess(entry.typeKind == kTrap ? entry.subId : entry.access);
    node.setSyntax(entry.syntax);
    node.setDescription(entry.description);
    const auto parent = byName.find(entry.parent);
    const bool inTree = entry.typeKind != kTrap && entry.parent[0] != '\0';
    if (inTree && parent != byName.end()) {
      const CMibNode& up = nodes[parent->second];
      const std::string prefix = up.getOidString().empty() ? "" : up.getOidString() + ".";
      node.setOidString(prefix + std::to_string(entry.subId));
      node.setFullPath(up.getFullPath().empty() ? entry.name : up.getFullPath() + "." + entry.name);
    }
    if (parent != byName.end()) {
      CMibNode& up = nodes[parent->second];
      if (!up.getChildNameList().empty()) {
        const std::string& previous = up.getChildNameList().back();
        node.setPrevSiblingName(previous);
        nodes[byName.at(previous)].setNextSiblingName(entry.name);
      }
      up.addChildName(entry.name);
    }
    byName.emplace(entry.name, nodes.size());
    nodes.push_back(node);
  }
  // The notifications are listed under their own pseudo-parent too.
  CMibNode list;
  list.setNodeName(kNotificationList);
  list.setDescription("Every notification of the loaded modules.");
  for (const CMibNode& node : nodes) {
    if (node.isNotificationNode()) list.addChildName(node.getNodeName());
  }
  nodes.push_back(list);
  return nodes;
}
