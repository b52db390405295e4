// The server's SNMP requests to the nodes of its tree: where a node is
// reached and with which community, the "GetSnmpInfo" and "SetSnmpInfo"
// methods, and where the MIB modules are.
//
// A node is reached at its first IPv4 address (else its first IPv6 address,
// else its name), on its snmpPort or the setting "SNMPPort" (161 when both
// are 0), with its SNMP version (0 SNMPv1; 1 or not set SNMPv2c), its read
// or write community or else "DefaultReadCommunity" / "DefaultWriteCommunity",
// "DefaultCommunity" and "public" in that order, each try waiting
// "TimeoutSNMP" seconds (1 when 0) and "RetryCountSNMP" retries.
#ifndef OM_SERVER_SNMPREQUESTS_H_
#define OM_SERVER_SNMPREQUESTS_H_

#include <string>
#include <vector>

#include "model/NetworkObjectBase.h"
#include "server/snmp/SnmpEngine.h"

namespace om::server {

enum class Community { kRead, kWrite };

// `community` non-empty replaces the node's and the settings'.
om::snmp::Target snmpTarget(const NetworkObjectBase& node, Community which, const std::string& community = "");
// A host that is not in the tree, with the settings only.
om::snmp::Target snmpTarget(const std::string& host, Community which, const std::string& community = "");

// GETs `variables` (MIB names or dotted OIDs) from `node`; `results` gets
// one "OID:value" text (OidValPair's form; the value as valueText gives
// it) for each, in order: the variable as given and "unknownVariable" for
// a name the MIB does not know, the OID and the agent's error name
// ("noSuchName", ...) for a variable the agent refused. False, with the
// reason, when no answer came.
bool getSnmpInfo(om::snmp::SnmpEngine& engine, const NetworkObjectBase& node,
                 const std::vector<std::string>& variables, std::vector<std::string>& results, std::string& error);
// SETs `variable` to `value` (read as the MIB's type of the object, or as a
// string when the MIB does not know it) with the write community. False,
// with the reason, unless the agent took it.
bool setSnmpInfo(om::snmp::SnmpEngine& engine, const NetworkObjectBase& node, const std::string& variable,
                 const std::string& value, std::string& error);

// The folders the MIB modules are read from: the registry value
// "MibFolders" of HKEY_LOCAL_MACHINE\SOFTWARE\Velmoran\OrvaManager\Server
// (folders separated by ';'), else the project's mibs folder and the
// system's net-snmp folder.
std::vector<std::string> mibFolders();

}  // namespace om::server

#endif  // OM_SERVER_SNMPREQUESTS_H_
