#include "server/NetworkServer.h"

std::string NetworkServer::snmpValue(const NetworkObjectBase& object, const std::string& variable) {
  if (variable == "sysName.0") return object.getSysName();
  if (variable == "sysContact.0") return object.getSysContact();
  if (variable == "sysObjectID.0") return object.getSysObjectID();
  if (variable == "sysDescr.0") return object.getDescription();
  return "noSuchObject";
}

bool NetworkServer::setSnmpValue(NetworkObjectBase& object, const std::string& variable, const std::string& value) {
  if (variable == "sysName.0") {
    object.setSysName(value);
  } else if (variable == "sysContact.0") {
    object.setSysContact(value);
  } else {
    return false;
  }
  return true;
}
