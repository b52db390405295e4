// omconsole tree: the network tree as a console sees it, read through the
// whole road of a request: COM, the connection to ".", the server check and
// GetChildren of each object, served by the embedded server over this
// machine's own network.
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <om/codepage.h>
#include <wmi/ObjectManager.h>

#include "Command.h"
#include "server/EmbeddedServer.h"
#include "server/discovery/LocalNetwork.h"
#include "model/NetworkPath.h"
#include "wbem/WbemConnect.h"
#include "wbem/WbemNetworkObjectClient.h"
#include "wbem/WbemProvider.h"

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

std::string statusText(unsigned long code) { return om::utf16ToUtf8(WbemStatusName(static_cast<HRESULT>(code))); }

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

int showTree(const std::string& path) {
  WbemConnect connection;
  if (!connection.initializeCom(0, 0)) return fail("COM cannot be started: " + statusText(connection.getErrorCode()));
  auto state = std::make_shared<NetworkServer>();
  addLocalNetwork(*state);
  EmbeddedServer server(state);
  const HRESULT started = server.start();
  if (FAILED(started)) return fail("the embedded server cannot start: " + statusText(started));
  if (!connection.connectServer(".", "", "", "")) {
    tstring message;
    connection.formatErrorMessage(message, WbemConnect::IDS_CONNECT_ERROR);
    return fail(om::cp932ToUtf8(message));
  }
  WbemNetworkObjectClient client(connection.getServices());
  std::ostringstream tree;
  tree << om::cp932ToUtf8(path) << "\n";
  if (!printChildren(client, CNetworkPath(path), 1, tree)) {
    return fail(om::cp932ToUtf8(path) + ": " + statusText(client.getErrorCode()));
  }
  std::cout << tree.str();
  return 0;
}

}  // namespace

int runTree(const Args& args) {
  if (args.size() > 1) return fail("usage: omconsole tree [PATH]", 2);
  const std::string path =
      args.empty() ? CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName() : om::utf8ToCp932(args[0]);
  const int status = showTree(path);
  om::wmi::ObjectManager::instance().shutdown();
  CoUninitialize();
  return status;
}

}  // namespace omconsole
