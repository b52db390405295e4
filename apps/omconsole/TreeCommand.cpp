// omconsole tree: the network tree as a console sees it, read through the
// whole road of a request: COM, the connection to ".", the server check and
// GetChildren of each object, served by the embedded server over this
// machine's own network.
#include <sstream>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "Command.h"
#include "ConsoleSession.h"
#include "MethodCall.h"
#include "Records.h"
#include "model/NetworkPath.h"
#include "server/store/NetworkTree.h"
#include "wbem/WbemNetworkObjectClient.h"

namespace omconsole {
namespace {

std::string typeName(const NetworkObjectBase& object) {
  switch (object.getObjectType()) {
    case kObjectTypeRoot:
      return "root";
    case kObjectTypeSubnet:
      return "subnet";
    case kObjectTypeNode:
      return "node";
    case kObjectTypeGroup:
      return "group";
    case kObjectTypePort:
      return object.getPortStatus() == 1 ? "port up" : "port down";
    default:
      return "type " + std::to_string(object.getObjectType());
  }
}

// One line: the shown name, the kind, then the addresses.
std::string line(const NetworkObjectBase& object) {
  const std::string& shown = object.getDisplayName().empty() ? object.getName() : object.getDisplayName();
  std::string text = om::cp932ToUtf8(shown) + "  [" + typeName(object) + "]";
  for (const std::string& address : object.getIpAddresses()) text += " " + address;
  if (!object.getMacAddress().empty()) text += " " + object.getMacAddress();
  return text;
}

// Writes the children of `path` and theirs, indented by depth.
bool printChildren(WbemNetworkObjectClient& client, const CNetworkPath& path, int depth, std::ostream& out) {
  std::vector<NetworkObjectBase> children;
  if (!client.getChildren(path.getPath(), children)) return false;
  for (const NetworkObjectBase& child : children) {
    out << std::string(2 * depth, ' ') << line(child) << "\n";
    CNetworkPath childPath(path);
    childPath.addChild(child.getName());
    if (!printChildren(client, childPath, depth + 1, out)) return false;
  }
  return true;
}

}  // namespace

int runTree(ConsoleSession& session, const Args& args) {
  if (args.size() > 1) return fail("usage: omconsole tree [PATH]", 2);
  const std::string path =
      args.empty() ? CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName() : om::utf8ToCp932(args[0]);
  WbemNetworkObjectClient client(session.services());
  std::ostringstream tree;
  tree << om::cp932ToUtf8(path) << "\n";
  if (!printChildren(client, CNetworkPath(path), 1, tree)) {
    return fail(om::cp932ToUtf8(path) + ": " + statusName(client.getErrorCode()));
  }
  emit(tree.str());
  return 0;
}

}  // namespace omconsole
