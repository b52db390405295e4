// SNMP_VERSION: the SNMP version used to talk to a node or a polling target.
// The underlying type is fixed so that any stored number passes through
// unchanged; only -1, 0 and 1 carry a meaning here.
#ifndef OMLIB_MODEL_SNMPVERSION_H_
#define OMLIB_MODEL_SNMPVERSION_H_

enum SNMP_VERSION : int {
  SNMP_VERSION_NOT_SET = -1,
  SNMP_VERSION_1 = 0,
  SNMP_VERSION_2C = 1,
};

#endif  // OMLIB_MODEL_SNMPVERSION_H_
