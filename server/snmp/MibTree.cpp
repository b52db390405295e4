#include "server/snmp/MibTree.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>

#include "server/snmp/NetSnmp.h"
#include "server/snmp/SnmpText.h"

namespace om::snmp {
namespace {

constexpr const char* kTrapList = CMibNode::m_pszTrapListParentName;
constexpr const char* kNotificationList = CMibNode::m_pszNotificationListParentName;
constexpr const char* kRootParent = CMibNode::m_pszMibRootParentName;
constexpr const char* kSnmpEnterprise = "1.3.6.1.2.1.11";

// net-snmp names the place of a complaint as "At line 12 in FILE", "near
// line 12 of FILE" or "(FILE)".
MibLoadError errorOf(const std::string& message) {
  MibLoadError error;
  error.message = message;
  const size_t line = message.find("line ");
  if (line != std::string::npos) error.line = std::atoi(message.c_str() + line + 5);
  for (const char* before : {" in /", " of /"}) {
    const size_t at = message.rfind(before);
    if (at != std::string::npos && error.file.empty()) error.file = message.substr(at + 4);
  }
  const size_t open = message.rfind("(/");
  const size_t close = message.rfind(')');
  if (error.file.empty() && open != std::string::npos && close > open) {
    error.file = message.substr(open + 1, close - open - 1);
  }
  return error;
}

int typeOf(const tree& node) {
  switch (node.type) {
    case TYPE_TRAPTYPE: return CMibNode::NODE_TYPE_TRAP;
    case TYPE_NOTIFTYPE: return CMibNode::NODE_TYPE_NOTIFICATION;
    case TYPE_OBJGROUP:
    case TYPE_NOTIFGROUP:
    case TYPE_AGENTCAP:
    case TYPE_MODCOMP: return kMibConformance;
    case TYPE_MODID: return kMibModuleIdentity;
    case TYPE_OBJIDENTITY: return kMibObjectIdentity;
    default:
      return node.type != TYPE_OTHER || node.access != 0 || node.indexes != nullptr || node.augments != nullptr
                 ? kMibObjectType
                 : kMibPlain;
  }
}

int statusOf(int status) {
  switch (status) {
    case MIB_STATUS_CURRENT:
    case MIB_STATUS_MANDATORY: return 1;
    case MIB_STATUS_DEPRECATED: return 2;
    case MIB_STATUS_OBSOLETE: return 3;
    case MIB_STATUS_OPTIONAL: return 4;
    default: return 0;
  }
}

int accessOf(int access) {
  switch (access) {
    case MIB_ACCESS_READONLY: return CMibNode::ACCESS_READ_ONLY;
    case MIB_ACCESS_READWRITE: return CMibNode::ACCESS_READ_WRITE;
    case MIB_ACCESS_WRITEONLY: return CMibNode::ACCESS_WRITE_ONLY;
    case MIB_ACCESS_NOTIFY: return 4;
    case MIB_ACCESS_CREATE: return CMibNode::ACCESS_READ_CREATE;
    default: return 0;
  }
}

const char* baseSyntax(int type) {
  switch (type) {
    case TYPE_OBJID: return "OBJECT IDENTIFIER";
    case TYPE_OCTETSTR: return "OCTET STRING";
    case TYPE_INTEGER: return "INTEGER";
    case TYPE_NETADDR: return "NetworkAddress";
    case TYPE_IPADDR: return "IpAddress";
    case TYPE_COUNTER: return "Counter32";
    case TYPE_GAUGE: return "Gauge32";
    case TYPE_TIMETICKS: return "TimeTicks";
    case TYPE_OPAQUE: return "Opaque";
    case TYPE_NULL: return "NULL";
    case TYPE_COUNTER64: return CMibNode::m_pszCounter64;
    case TYPE_BITSTRING: return "BITS";
    case TYPE_NSAPADDRESS: return "NsapAddress";
    case TYPE_UINTEGER: return "UInteger32";
    case TYPE_UNSIGNED32: return "Unsigned32";
    case TYPE_INTEGER32: return "Integer32";
    default: return "";
  }
}

bool isTrapPlaceholder(const tree& node) {
  const size_t length = node.label == nullptr ? 0 : std::strlen(node.label);
  return length > 0 && node.label[length - 1] == '#';
}

// A description as one line: every run of white space one space.
std::string oneLine(const char* text) {
  std::string out;
  for (const char* p = text; *p != '\0'; ++p) {
    if (std::isspace(static_cast<unsigned char>(*p))) {
      if (!out.empty() && out.back() != ' ') out += ' ';
    } else {
      out += *p;
    }
  }
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

bool isEntry(const tree& node) { return node.indexes != nullptr || node.augments != nullptr; }

std::vector<tree*> childrenOf(const tree& node) {
  std::vector<tree*> children;
  for (tree* child = node.child_list; child != nullptr; child = child->next_peer) children.push_back(child);
  std::sort(children.begin(), children.end(), [](const tree* a, const tree* b) { return a->subid < b->subid; });
  return children;
}

// Reads net-snmp's tree into CMibNode records; the caller holds the MIB
// lock.
class TreeReader {
 public:
  explicit TreeReader(MibTree& out) : out_(out) {}

  void read() {
    std::vector<tree*> roots;
    for (tree* root = get_tree_head(); root != nullptr; root = root->next_peer) roots.push_back(root);
    std::sort(roots.begin(), roots.end(), [](const tree* a, const tree* b) { return a->subid < b->subid; });
    for (tree* root : roots) nameSubtree(*root, "");
    out_.nodes = mibTreeFrame();
    for (tree* root : roots) frameNode(kRootParent).addChildName(names_.at(root));
    for (tree* root : roots) addSubtree(*root, "");
    for (const CMibNode& trap : traps_) {
      frameNode(kTrapList).addChildName(trap.getNodeName());
      out_.nodes.push_back(trap);
    }
    for (const std::string& name : notifications_) frameNode(kNotificationList).addChildName(name);
    linkSiblings();
    out_.modules.assign(modules_.begin(), modules_.end());
  }

 private:
  CMibNode& frameNode(const std::string& name) {
    return *std::find_if(out_.nodes.begin(), out_.nodes.end(),
                         [&](const CMibNode& node) { return node.getNodeName() == name; });
  }

  std::string moduleOf(const tree& node) {
    char buffer[256];
    std::string module = module_name(node.modid, buffer);
    if (!module.empty() && module[0] != '#') modules_.insert(module);
    return module;
  }

  void nameSubtree(tree& node, const std::string& parentOid) {
    const std::string oid = parentOid.empty() ? std::to_string(node.subid) : parentOid + "." + std::to_string(node.subid);
    std::string name = node.label;
    const auto taken = oidOfName_.find(name);
    if (taken != oidOfName_.end() && taken->second != oid) name = moduleOf(node) + "::" + node.label;
    oidOfName_.emplace(name, oid);
    names_[&node] = name;
    oids_[&node] = oid;
    for (tree* child : childrenOf(node)) nameSubtree(*child, oid);
  }

  void addSubtree(tree& node, const std::string& parentPath) {
    const std::string& name = names_.at(&node);
    const std::string& oid = oids_.at(&node);
    const std::string parentOid = node.parent != nullptr ? oids_.at(node.parent) : "";
    if (isTrapPlaceholder(node)) {
      // net-snmp's "enterprise#" node (enterprise.0, typed TRAP-TYPE) holds
      // the enterprise's TRAP-TYPEs.
      for (tree* child : childrenOf(node)) addTrap(*child, parentOid);
      return;
    }
    if (node.type == TYPE_TRAPTYPE) return addTrap(node, parentOid);
    CMibNode out;
    out.setNodeName(name);
    out.setModuleName(moduleOf(node));
    out.setParentName(node.parent != nullptr ? names_.at(node.parent) : kRootParent);
    out.setOidString(oid);
    const std::string path = parentPath.empty() ? name : parentPath + "." + name;
    out.setFullPath(path);
    describe(node, out);
    const std::vector<tree*> children = childrenOf(node);
    for (tree* child : children) {
      if (child->type != TYPE_TRAPTYPE && !isTrapPlaceholder(*child)) out.addChildName(names_.at(child));
    }
    out.setNodeTypeKind(kindOf(node, children) << 16 | typeOf(node));
    if (out.isTableNode() && out.getSyntax().empty()) out.setSyntax(isEntry(node) ? "SEQUENCE" : "SEQUENCE OF");
    if (out.isNotificationNode()) notifications_.push_back(name);
    out_.nodes.push_back(out);
    for (tree* child : children) addSubtree(*child, path);
  }

  static void describe(const tree& node, CMibNode& out) {
    if (node.description != nullptr) out.setDescription(oneLine(node.description));
    out.setStatus(statusOf(node.status));
    out.setAccess(accessOf(node.access));
    std::string syntax = node.tc_index >= 0 ? get_tc_descriptor(node.tc_index) : baseSyntax(node.type);
    std::vector<std::string> values;
    std::vector<const enum_list*> enums;
    for (const enum_list* e = node.enums; e != nullptr; e = e->next) enums.push_back(e);
    std::sort(enums.begin(), enums.end(), [](const enum_list* a, const enum_list* b) { return a->value < b->value; });
    for (const enum_list* e : enums) values.push_back(std::string(e->label) + "(" + std::to_string(e->value) + ")");
    for (const varbind_list* v = node.varbinds; v != nullptr; v = v->next) values.push_back(v->vblabel);
    out.setSyntax(syntax);
    out.setValueList(values);
  }

  static int kindOf(const tree& node, const std::vector<tree*>& children) {
    if (typeOf(node) != kMibObjectType) return 0;
    const bool table = std::any_of(children.begin(), children.end(), [](const tree* c) { return isEntry(*c); });
    if (table || isEntry(node)) return CMibNode::NODE_KIND_TABLE;
    if (!children.empty()) return 0;
    int kind = CMibNode::NODE_KIND_LEAF;
    const tree* parent = node.parent;
    if (parent == nullptr || !isEntry(*parent)) return kind | CMibNode::NODE_KIND_SCALAR;
    for (const index_list* index = parent->indexes; index != nullptr; index = index->next) {
      if (index->ilabel != nullptr && node.label != nullptr && std::string(index->ilabel) == node.label) {
        kind |= CMibNode::NODE_KIND_INDEX;
      }
    }
    return kind;
  }

  // A TRAP-TYPE: its number is its sub-identifier, its enterprise its parent.
  void addTrap(const tree& node, const std::string& enterprise) {
    CMibNode trap;
    trap.setNodeName(std::string(CMibNode::m_pszSmiTrapType) + node.label);
    trap.setModuleName(moduleOf(node));
    trap.setParentName(kTrapList);
    trap.setOidString(enterprise + ".0." + std::to_string(node.subid));
    describe(node, trap);
    trap.setNodeTypeKind(CMibNode::NODE_TYPE_TRAP);
    trap.setAccess(static_cast<int>(node.subid));
    trap.setSyntax(enterprise);
    traps_.push_back(trap);
  }

  void linkSiblings() {
    std::map<std::string, size_t> byName;
    for (size_t i = 0; i < out_.nodes.size(); ++i) byName.emplace(out_.nodes[i].getNodeName(), i);
    for (const CMibNode& parent : out_.nodes) {
      if (parent.getNodeName() == kNotificationList) continue;  // not their parent
      const std::vector<std::string>& children = parent.getChildNameList();
      for (size_t i = 0; i < children.size(); ++i) {
        const auto child = byName.find(children[i]);
        if (child == byName.end()) continue;
        CMibNode& node = out_.nodes[child->second];
        node.setPrevSiblingName(i > 0 ? children[i - 1] : "");
        node.setNextSiblingName(i + 1 < children.size() ? children[i + 1] : "");
      }
    }
  }

  MibTree& out_;
  std::map<const tree*, std::string> names_;
  std::map<const tree*, std::string> oids_;
  std::map<std::string, std::string> oidOfName_;
  std::set<std::string> modules_;
  std::vector<CMibNode> traps_;
  std::vector<std::string> notifications_;
};

}  // namespace

std::vector<CMibNode> mibTreeFrame() {
  struct Generic {
    const char* name;
    const char* description;
  };
  static const Generic kGenericTraps[] = {
      {"coldStart", "The agent restarted; its configuration may have changed."},
      {"warmStart", "The agent reinitialised without a change of configuration."},
      {"linkDown", "A communication link failed."},
      {"linkUp", "A communication link came up."},
      {"authenticationFailure", "A request failed authentication."},
      {"egpNeighborLoss", "An EGP peer was lost."},
  };
  std::vector<CMibNode> nodes(3);
  nodes[0].setNodeName(kRootParent);
  nodes[0].setDescription("The roots of the tree.");
  nodes[1].setNodeName(kTrapList);
  nodes[1].setDescription("Every trap of the loaded modules.");
  nodes[2].setNodeName(kNotificationList);
  nodes[2].setDescription("Every notification of the loaded modules.");
  for (int number = 0; number < 6; ++number) {
    CMibNode trap;
    trap.setNodeName(std::string(CMibNode::m_pszSmiTrapType) + kGenericTraps[number].name);
    trap.setModuleName("RFC1215");
    trap.setParentName(kTrapList);
    trap.setOidString("1.3.6.1.6.3.1.1.5." + std::to_string(number + 1));
    trap.setDescription(kGenericTraps[number].description);
    trap.setNodeTypeKind(CMibNode::NODE_TYPE_TRAP);
    trap.setStatus(1);
    trap.setAccess(number);
    trap.setSyntax(kSnmpEnterprise);
    nodes[1].addChildName(trap.getNodeName());
    nodes.push_back(trap);
  }
  return nodes;
}

MibTree loadMibTree(const std::vector<std::string>& folders) {
  initSnmpLibrary();
  // The tree of the folders read last, kept: reading them again gives the
  // same tree, and net-snmp keeps part of every tree it drops (its table of
  // textual conventions) until the process ends.
  static std::vector<std::string> lastFolders;
  static bool loaded = false;
  static MibTree last;
  std::unique_lock<std::shared_mutex> lock(mibMutex());
  if (loaded && folders == lastFolders) return last;
  MibTree out;
  {
    LogCapture capture([&out](const std::string& message) { out.errors.push_back(errorOf(message)); });
    if (loaded) {
      shutdown_mib();
      netsnmp_init_mib_internals();
    }
    snmp_set_save_descriptions(1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MIB_ERRORS, 1);
    for (const std::string& folder : folders) {
      if (add_mibdir(folder.c_str()) < 0) out.errors.push_back({folder, 0, "cannot read the MIB folder " + folder});
    }
    read_all_mibs();
  }
  TreeReader(out).read();
  loaded = true;
  lastFolders = folders;
  last = out;
  return out;
}

}  // namespace om::snmp
