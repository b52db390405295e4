// Names and texts of SNMP values. Names come from the MIB tree that
// MibTree loaded into net-snmp (every function here is safe against a load
// running in another thread).
//
// Two text forms of a value:
// - valueText, the product's own: integers and counters in decimal, time
//   ticks as "[N days ]H:MM:SS.hh" (what CCounterValue reads as a sysUpTime),
//   object identifiers and IP addresses dotted, printable strings as they
//   are and other strings as upper-case hex bytes separated by spaces, and
//   "noSuchObject", "noSuchInstance", "endOfMibView" or "NULL".
// - netsnmpText, net-snmp's own "NAME = TYPE: VALUE" line, as its command
//   line tools print it with the same MIB modules loaded.
#ifndef OM_SERVER_SNMP_SNMPTEXT_H_
#define OM_SERVER_SNMP_SNMPTEXT_H_

#include <string>

#include "server/snmp/SnmpTypes.h"

namespace om::snmp {

// Sets net-snmp up for this process once (no configuration files read, no
// state written, its log routed to MibTree's error list); every function
// of this layer calls it.
void initSnmpLibrary();

// An object identifier from dotted digits or from a name the loaded MIB
// knows ("sysDescr.0", "SNMPv2-MIB::sysName.0", "ifInOctets.2"); false when
// neither.
bool parseOid(const std::string& text, Oid& out);
// "sysDescr.0": the label of the deepest known node and the rest dotted;
// the dotted digits when no node but a root is known.
std::string oidName(const Oid& oid);

std::string valueText(const Varbind& varbind);
// "INTEGER", "STRING", "Hex-STRING", "OID", "IpAddress", "Counter32",
// "Gauge32", "Timeticks", "Opaque", "Counter64", "NULL", "BITS", or the
// exception's name.
std::string typeName(const Varbind& varbind);
std::string netsnmpText(const Varbind& varbind);

// A value for a SET from text, as net-snmp's snmpset reads it: `type` is
// one of its letters (i u t a o s x d b U I F D n, or '=' for the type the
// MIB gives the object). False, with the reason in `error`, when the text
// does not fit.
bool encodeValue(const Oid& oid, char type, const std::string& text, Varbind& out, std::string& error);

// The protocol's name of an SNMP error-status ("notWritable", "noAccess", ...).
std::string errorStatusName(long errorStatus);

}  // namespace om::snmp

#endif  // OM_SERVER_SNMP_SNMPTEXT_H_
