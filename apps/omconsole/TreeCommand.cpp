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
#include "TreeWalk.h"
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

}  // namespace

bool walkTree(WbemNetworkObjectClient& client, const CNetworkPath& path,
              const std::function<bool(const NetworkObjectBase& object, int depth)>& visit, int depth) {
  std::vector<NetworkObjectBase> children;
  if (!client.getChildren(path.getPath(), children)) return false;
  for (const NetworkObjectBase& child : children) {
    if (!visit(child, depth)) continue;
    CNetworkPath childPath(path);
    childPath.addChild(child.getName());
    if (!walkTree(client, childPath, visit, depth + 1)) return false;
  }
  return true;
}

int runTree(ConsoleSession& session, const Args& args) {
  if (args.size() > 1) return fail("usage: omconsole tree [PATH]", 2);
  const std::string path =
      args.empty() ? CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName() : om::utf8ToCp932(args[0]);
  WbemNetworkObjectClient client(session.services());
  std::ostringstream tree;
  tree << om::cp932ToUtf8(path) << "\n";
  const auto print = [&](const NetworkObjectBase& object, int depth) {
    tree << std::string(2 * depth, ' ') << line(object) << "\n";
    return true;
  };
  if (!walkTree(client, CNetworkPath(path), print)) {
    return fail(om::cp932ToUtf8(path) + ": " + statusName(client.getErrorCode()));
  }
  emit(tree.str());
  return 0;
}

}  // namespace omconsole
