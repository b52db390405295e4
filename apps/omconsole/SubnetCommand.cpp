// omconsole subnet: the subnets of the server (class "Subnet"): list, show,
// add, discover (with --wait, until the sweep ends), rename and delete.
#include <arpa/inet.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include <om/codepage.h>

#include "MethodCall.h"
#include "Records.h"
#include "SessionCommand.h"
#include "server/discovery/SubnetDiscovery.h"
#include "wbem/WbemSubnet.h"

namespace omconsole {
namespace {

std::string subnetPath(const std::string& name) { return instancePath("Subnet", "SubnetName", name); }

Record summary(const SubnetBase& s) {
  return {Field::text("name", s.getName()), Field::text("networkId", s.getNetworkID()),
          Field::text("subnetMask", s.getSubnetMask()), Field::number("status", s.getStatus()),
          Field::number("discoveredNodes", s.getDiscoverdNodes())};
}

Record device(const NetworkObjectBase& d) {
  return {Field::text("name", d.getName()), Field::texts("addresses", d.getIpAddresses()),
          Field::text("mac", d.getMacAddress())};
}

std::vector<Record> deviceRecords(const std::vector<NetworkObjectBase>& devices) {
  std::vector<Record> records;
  for (const NetworkObjectBase& d : devices) records.push_back(device(d));
  return records;
}

// The 12 properties in the class's order, then the devices.
Record details(const SubnetBase& s, const std::vector<NetworkObjectBase>& devices) {
  return {Field::text("name", s.getName()),
          Field::text("networkId", s.getNetworkID()),
          Field::text("subnetMask", s.getSubnetMask()),
          Field::texts("communities", s.getCommunityNames()),
          Field::number("discoveredNodes", s.getDiscoverdNodes()),
          Field::number("observedNodes", s.getObservedNodes()),
          Field::number("status", s.getStatus()),
          Field::number("discoveredNodeType", s.getDiscoveredNodeType()),
          Field::number("discoveringInterval", s.getDiscoveringInterval()),
          Field::number("hops", s.getHops()),
          Field::flag("lookupHostName", s.isLookupHostName()),
          Field::flag("discoverOnTrap", s.isDiscoverOnTrap()),
          Field::records("devices", deviceRecords(devices))};
}

std::string word(const SubcommandCall& call, size_t i) { return om::utf8ToCp932(call.args.words()[i]); }

int list(const SubcommandCall& call) {
  WbemSubnetClient client(call.services());
  std::vector<SubnetBase> subnets;
  if (!client.enumSubnets(subnets)) return call.failStatus(client.getErrorCode());
  std::vector<Record> records;
  for (const SubnetBase& s : subnets) records.push_back(summary(s));
  printList(records, call.json());
  return 0;
}

int show(const SubcommandCall& call) {
  WbemSubnetClient client(call.services());
  SubnetBase subnet;
  std::vector<NetworkObjectBase> devices;
  if (!client.getSubnet(subnetPath(word(call, 0)), subnet) || !client.getAllDevices(subnet.getName(), devices)) {
    return call.failStatus(client.getErrorCode());
  }
  printRecord(details(subnet, devices), call.json());
  return 0;
}

bool isAddress(const std::string& text) {
  in_addr address{};
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

int add(const SubcommandCall& call) {
  const Args& words = call.args.words();
  if (!isAddress(words[1]) || !isAddress(words[2])) return call.usage();
  WbemSubnetClient client(call.services());
  if (client.isExistSubnet(word(call, 0))) return call.fail("a subnet of that name exists");
  if (client.getErrorCode() != 0) return call.failStatus(client.getErrorCode());
  WbemSubnet subnet(call.services());
  subnet.setName(word(call, 0));
  subnet.setNetworkID(words[1]);
  subnet.setSubnetMask(words[2]);
  for (const std::string& community : call.args.values("--community")) {
    subnet.addCommunityName(om::utf8ToCp932(community));
  }
  subnet.setLookupHostName(call.args.has("--lookup"));
  if (!subnet.put()) return call.failStatus(subnet.getErrorCode());
  emit("added subnet " + words[0] + " (" + words[1] + "/" + words[2] + ")\n");
  return 0;
}

// Why GoDiscover said no.
std::string discoveryRefusal(WbemSubnetClient& client, const std::string& name) {
  SubnetBase subnet;
  if (!client.getSubnet(subnetPath(name), subnet)) return "no such subnet";
  if (subnet.getStatus() == SubnetDiscovery::kDiscovering) return "a sweep of it is under way";
  return "it cannot be swept: its network or mask is not valid, or it has more than " +
         std::to_string(SubnetDiscovery::kMaxAddresses) + " addresses";
}

// Reads the subnet until its sweep has ended, showing the count of nodes
// found on a terminal.
bool waitForSweep(WbemSubnetClient& client, const std::string& name, const std::string& shown) {
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  SubnetBase subnet;
  for (;;) {
    if (!client.getSubnet(subnetPath(name), subnet)) return false;
    if (terminal) emit("\r" + shown + ": " + std::to_string(subnet.getDiscoverdNodes()) + " nodes found");
    if (subnet.getStatus() != SubnetDiscovery::kDiscovering) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  if (terminal) emit("\n");
  return true;
}

int discover(const SubcommandCall& call) {
  const std::string name = word(call, 0);
  WbemSubnetClient client(call.services());
  if (!client.goDiscover(name)) {
    if (client.getErrorCode() != 0) return call.failStatus(client.getErrorCode());
    return call.fail(discoveryRefusal(client, name));
  }
  if (!call.args.has("--wait")) {
    if (call.json()) {
      printRecord({Field::text("name", name), Field::flag("started", true)}, true);
    } else {
      emit("discovery of " + call.args.words()[0] + " started\n");
    }
    return 0;
  }
  std::vector<NetworkObjectBase> devices;
  if (!waitForSweep(client, name, call.args.words()[0]) || !client.getAllDevices(name, devices)) {
    return call.failStatus(client.getErrorCode());
  }
  printList(deviceRecords(devices), call.json());
  return 0;
}

int rename(const SubcommandCall& call) {
  const std::string oldName = word(call, 0);
  WbemSubnetClient client(call.services());
  if (client.renameSubnet(oldName, word(call, 1))) {
    emit("renamed subnet " + call.args.words()[0] + " to " + call.args.words()[1] + "\n");
    return 0;
  }
  if (client.getErrorCode() != 0) return call.failStatus(client.getErrorCode());
  if (!client.isExistSubnet(oldName)) return call.fail("no such subnet");
  return call.fail("the name '" + call.args.words()[1] + "' is taken or not valid");
}

int remove(const SubcommandCall& call) {
  WbemSubnetClient client(call.services());
  if (client.deleteSubnet(word(call, 0))) {
    emit("deleted subnet " + call.args.words()[0] + "\n");
    return 0;
  }
  if (client.getErrorCode() != 0) return call.failStatus(client.getErrorCode());
  return call.fail("no such subnet");
}

const Subcommand kSubcommands[] = {
    {"list", 0, 0, {}, {"--json"}, list},
    {"show", 1, 1, {}, {"--json"}, show},
    {"add", 3, 3, {"--community"}, {"--lookup"}, add},
    {"discover", 1, 1, {}, {"--wait", "--json"}, discover},
    {"rename", 2, 2, {}, {}, rename},
    {"delete", 1, 1, {}, {}, remove},
};

}  // namespace

int runSubnet(ConsoleSession& session, const Args& args) { return runSubcommand(session, "subnet", kSubcommands, args); }

}  // namespace omconsole
