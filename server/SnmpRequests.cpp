#include "server/SnmpRequests.h"

#include <omtools/Registry.h>

#include "config/DefaultValues.h"
#include "monitor/OidValPair.h"
#include "server/SettingOr.h"
#include "server/snmp/SnmpText.h"

namespace om::server {
namespace {

using om::snmp::Status;

constexpr int kSnmpPort = 161;
const char kServerKey[] = "SOFTWARE\\Velmoran\\OrvaManager\\Server";

std::string settingsCommunity(DefaultValues& settings, Community which) {
  const std::string own = which == Community::kRead ? settings.getReadCommunity() : settings.getWriteCommunity();
  if (!own.empty()) return own;
  const std::string shared = settings.getCommunity();
  return shared.empty() ? "public" : shared;
}

// Each variable's request form; false where the MIB does not know it.
std::vector<bool> parseVariables(const std::vector<std::string>& variables, om::snmp::Request& request) {
  std::vector<bool> known;
  for (const std::string& variable : variables) {
    om::snmp::Varbind varbind;
    known.push_back(om::snmp::parseOid(variable, varbind.oid));
    if (known.back()) request.varbinds.push_back(std::move(varbind));
  }
  return known;
}

}  // namespace

om::snmp::Target snmpTarget(const std::string& host, Community which, const std::string& community) {
  DefaultValues& settings = *DefaultValues::getDefault();
  om::snmp::Target target;
  target.host = host;
  target.port = settingOr(settings.getSNMPPort(), kSnmpPort);
  target.community = community.empty() ? settingsCommunity(settings, which) : community;
  target.timeoutMs = settingOr(settings.getTimeoutSNMP(), 1) * 1000;
  target.retries = std::max(0, settings.getRetryCountSNMP());
  return target;
}

om::snmp::Target snmpTarget(const NetworkObjectBase& node, Community which, const std::string& community) {
  std::string host = node.getIpAddress();
  if (host.empty() && !node.getIpv6Addresses().empty()) host = node.getIpv6Addresses().front();
  if (host.empty()) host = node.getName();
  const std::string& own = which == Community::kRead ? node.getReadCommunityName() : node.getWriteCommunityName();
  om::snmp::Target target = snmpTarget(host, which, community.empty() ? own : community);
  if (node.getSnmpPort() > 0) target.port = node.getSnmpPort();
  target.version = node.getSnmpVersion() == SNMP_VERSION_1 ? om::snmp::Version::kV1 : om::snmp::Version::kV2c;
  return target;
}

bool getSnmpInfo(om::snmp::SnmpEngine& engine, const NetworkObjectBase& node,
                 const std::vector<std::string>& variables, std::vector<std::string>& results, std::string& error) {
  om::snmp::Request request;
  const std::vector<bool> known = parseVariables(variables, request);
  om::snmp::Response response;
  if (!request.varbinds.empty()) {
    response = engine.call(snmpTarget(node, Community::kRead), request);
    if (response.status != Status::kOk && response.status != Status::kAgentError) {
      error = response.message;
      return false;
    }
  }
  results.clear();
  size_t answered = 0;
  for (size_t i = 0; i < variables.size(); ++i) {
    if (!known[i]) {
      results.push_back(OidValPair(variables[i], "unknownVariable").concat());
      continue;
    }
    const om::snmp::Varbind& asked = request.varbinds[answered++];
    std::string value;
    if (response.status == Status::kAgentError) {
      value = static_cast<size_t>(response.errorIndex) == answered ? om::snmp::errorStatusName(response.errorStatus)
                                                                   : "notAsked";
    } else {
      value = answered <= response.varbinds.size() ? om::snmp::valueText(response.varbinds[answered - 1]) : "NULL";
    }
    results.push_back(OidValPair(om::snmp::oidText(asked.oid), value).concat());
  }
  return true;
}

bool setSnmpInfo(om::snmp::SnmpEngine& engine, const NetworkObjectBase& node, const std::string& variable,
                 const std::string& value, std::string& error) {
  om::snmp::Request request;
  request.type = om::snmp::PduType::kSet;
  om::snmp::Varbind varbind;
  if (!om::snmp::parseOid(variable, varbind.oid)) {
    error = "unknown variable " + variable;
    return false;
  }
  if (!om::snmp::encodeValue(varbind.oid, '=', value, varbind, error) &&
      !om::snmp::encodeValue(varbind.oid, 's', value, varbind, error)) {
    return false;
  }
  request.varbinds.push_back(std::move(varbind));
  const om::snmp::Response response = engine.call(snmpTarget(node, Community::kWrite), request);
  error = response.message;
  return response.status == Status::kOk;
}

std::vector<std::string> mibFolders() {
  CRegistry key(HKEY_LOCAL_MACHINE, kServerKey);
  tstring value;
  if (key.isOpen() && key.getValue("MibFolders", value) && !value.empty()) {
    std::vector<std::string> folders;
    size_t start = 0;
    for (size_t end; (end = value.find(';', start)) != std::string::npos; start = end + 1) {
      if (end > start) folders.push_back(value.substr(start, end - start));
    }
    if (start < value.size()) folders.push_back(value.substr(start));
    return folders;
  }
  return {OM_MIB_FOLDER, "/usr/share/snmp/mibs"};
}

}  // namespace om::server
