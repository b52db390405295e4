// omconsole status: what the server watches and how it stands: which server,
// the physical tree with each node's status, and the newest log records. A
// server embedded in this console first polls every node once, so that a
// fresh machine shows itself up.
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "Arguments.h"
#include "Command.h"
#include "ConsoleSession.h"
#include "LogRecord.h"
#include "MethodCall.h"
#include "TreeWalk.h"
#include "model/NetworkPath.h"
#include "server/NetworkServer.h"
#include "server/polling/PollingManager.h"
#include "wbem/WbemLogObject.h"
#include "wbem/WbemNetworkObjectClient.h"

namespace omconsole {
namespace {

constexpr int kDefaultLogs = 10;

std::string nodeState(const NetworkObjectBase& object) {
  switch (object.getNodeStatus()) {
    case NetworkServer::kNodeUp:
      return "up";
    case NetworkServer::kNodeDown:
      return "down";
    default:
      return "unknown";
  }
}

// The line of an object under the root, ports left out: a node with its
// status and addresses, any other object by its name.
bool printObject(const NetworkObjectBase& object, int depth, std::ostream& out) {
  if (object.getObjectType() == kObjectTypePort) return false;
  const std::string& shown = object.getDisplayName().empty() ? object.getName() : object.getDisplayName();
  out << std::string(2 * depth, ' ') << om::cp932ToUtf8(shown);
  if (object.getObjectType() == kObjectTypeNode) {
    out << "  " << nodeState(object);
    for (const std::string& address : object.getIpAddresses()) out << " " << address;
  }
  out << "\n";
  return true;
}

// The newest `count` log records, newest last.
bool newestLogs(IWbemServices* services, int count, std::vector<CLogObject>& out, unsigned long& error) {
  WbemLogObjectClient client(services);
  if (!client.beginRecordEnumeration("select * from LogObject", "")) {
    error = client.getErrorCode();
    return false;
  }
  while (client.getNextRecord(out)) {
  }
  std::sort(out.begin(), out.end(),
            [](const CLogObject& a, const CLogObject& b) { return a.getIdentifier() < b.getIdentifier(); });
  if (out.size() > static_cast<size_t>(count)) out.erase(out.begin(), out.end() - count);
  return true;
}

}  // namespace

int runStatus(ConsoleSession& session, const Args& args) {
  int logs = kDefaultLogs;
  const bool counted = args.size() == 2 && args[0] == "--logs" && parseInt(args[1], logs) && logs >= 0;
  if (!args.empty() && !counted) return fail("usage: omconsole status [--logs N]", 2);
  std::ostringstream out;
  out << "server: " << ConsoleSession::server().describe() << "\n";
  if (NetworkServer* embedded = session.network()) {
    const size_t polled = embedded->polling->pollOnce();
    out << "data: " << embedded->data->directory() << "\npolled " << polled << " nodes by ICMP echo\n";
  }
  const std::string root = CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName();
  WbemNetworkObjectClient client(session.services());
  out << "\n" << om::cp932ToUtf8(root) << "\n";
  const auto print = [&](const NetworkObjectBase& object, int depth) { return printObject(object, depth, out); };
  if (!walkTree(client, CNetworkPath(root), print)) return fail("the tree: " + statusName(client.getErrorCode()));
  std::vector<CLogObject> records;
  unsigned long error = 0;
  if (!newestLogs(session.services(), logs, records, error)) return fail("the log: " + statusName(error));
  out << "\nnewest log records:\n";
  std::vector<Record> lines;
  for (const CLogObject& record : records) lines.push_back(logRecord(record));
  emit(out.str());
  printList(lines, false);
  return 0;
}

}  // namespace omconsole
