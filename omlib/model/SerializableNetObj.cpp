#include "model/SerializableNetObj.h"

#include "model/ArchiveFields.h"
#include "model/CStringUtil.h"
#include "model/NetworkObjectBase.h"
#include "model/FieldWriter.h"

// Versionable: archives of earlier schemas load with the same layout.
IMPLEMENT_SERIAL(SerializableNetObj, CObject, VERSIONABLE_SCHEMA | 3)

SerializableNetObj::SerializableNetObj(const SerializableNetObj& other) : CObject(), f_(other.f_) {}

SerializableNetObj::SerializableNetObj(const NetworkObjectBase& object) { setObject(object); }

SerializableNetObj& SerializableNetObj::operator=(const SerializableNetObj& other) {
  copyIn(other);
  return *this;
}

void SerializableNetObj::copyIn(const SerializableNetObj& other) { f_ = other.f_; }

void SerializableNetObj::setObject(const NetworkObjectBase& o) {
  f_.name = om::toCString(o.getName());
  f_.description = om::toCString(o.getDescription());
  f_.displayName = om::toCString(o.getDisplayName());
  f_.DNSName = om::toCString(o.getDNSName());
  f_.macAddress = om::toCString(o.getMacAddress());
  f_.subnetMask = om::toCString(o.getSubnetMask());
  f_.objectType = o.getObjectType();
  f_.objectFunction = o.getObjectFunction();
  f_.nodeStatus = o.getNodeStatus();
  f_.portStatus = o.getPortStatus();
  f_.portType = o.getPortType();
  f_.isOurProduct = o.isOurProduct();
  f_.isExProduct = o.isExProduct();
  f_.VLANName = om::toCString(o.getVLANName());
  f_.ifIndex = o.getIfIndex();
  f_.sysObjectID = om::toCString(o.getSysObjectID());
  f_.readCommunityName = om::toCString(o.getReadCommunityName());
  f_.writeCommunityName = om::toCString(o.getWriteCommunityName());
  f_.sysName = om::toCString(o.getSysName());
  f_.sysContact = om::toCString(o.getSysContact());
  f_.hasTelnet = o.hasTelnet();
  f_.hasHTTP = o.hasHTTP();
  f_.hasTFTP = o.hasTFTP();
  f_.hasStack = o.hasStack();
  f_.hasVlan = o.hasVlan();
  f_.pollingInterval = o.getPollingInterval();
  f_.isPollingPort = o.isPollingPort();
  f_.deleteInterval = o.getDeleteInterval();
  f_.number = o.getNumber();
  f_.isTrapped = o.isTrapped();
  f_.snmpVersion = o.getSnmpVersion();
  f_.ipv6Addresses = om::toCStrings(o.getIpv6Addresses());
  f_.ipAddresses = om::toCStrings(o.getIpAddresses());
  f_.snmpPort = o.getSnmpPort();
}

void SerializableNetObj::getObject(NetworkObjectBase& o) const {
  o.setName(om::toStdString(f_.name));
  o.setDescription(om::toStdString(f_.description));
  o.setDisplayName(om::toStdString(f_.displayName));
  o.setDNSName(om::toStdString(f_.DNSName));
  o.setMacAddress(om::toStdString(f_.macAddress));
  o.setSubnetMask(om::toStdString(f_.subnetMask));
  o.setObjectType(f_.objectType);
  o.setObjectFunction(f_.objectFunction);
  o.setNodeStatus(f_.nodeStatus);
  o.setPortStatus(f_.portStatus);
  o.setPortType(f_.portType);
  o.setIsOurProduct(f_.isOurProduct);
  o.setIsExProduct(f_.isExProduct);
  o.setVLANName(om::toStdString(f_.VLANName));
  o.setIfIndex(f_.ifIndex);
  o.setSysObjectID(om::toStdString(f_.sysObjectID));
  o.setReadCommunityName(om::toStdString(f_.readCommunityName));
  o.setWriteCommunityName(om::toStdString(f_.writeCommunityName));
  o.setSysName(om::toStdString(f_.sysName));
  o.setSysContact(om::toStdString(f_.sysContact));
  o.setHasTelnet(f_.hasTelnet);
  o.setHasHTTP(f_.hasHTTP);
  o.setHasTFTP(f_.hasTFTP);
  o.setHasStack(f_.hasStack);
  o.setHasVlan(f_.hasVlan);
  o.setPollingInterval(f_.pollingInterval);
  o.setIsPollingPort(f_.isPollingPort);
  o.setDeleteInterval(f_.deleteInterval);
  o.setNumber(f_.number);
  o.setIsTrapped(f_.isTrapped);
  o.setSnmpVersion(f_.snmpVersion);
  o.setIpv6Addresses(om::toStdStrings(f_.ipv6Addresses));
  o.setIpAddresses(om::toStdStrings(f_.ipAddresses));
  o.setSnmpPort(f_.snmpPort);
}

void SerializableNetObj::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(f_.name)(f_.displayName)(f_.DNSName)(f_.macAddress)(f_.subnetMask)
      (f_.objectType)(f_.objectFunction)(f_.nodeStatus)(f_.portStatus)(f_.portType)
      (f_.isOurProduct)(f_.isExProduct)
      (f_.VLANName)(f_.ifIndex)
      (f_.sysObjectID)(f_.readCommunityName)(f_.writeCommunityName)(f_.sysName)(f_.sysContact)
      (f_.hasTelnet)(f_.hasHTTP)(f_.hasStack)(f_.hasVlan)
      (f_.pollingInterval)(f_.isPollingPort)(f_.deleteInterval)(f_.number)
      (f_.description)(f_.hasTFTP)(f_.isTrapped)(f_.snmpVersion)
      .strings(f_.ipAddresses)
      .strings(f_.ipv6Addresses)
      (f_.snmpPort);
}

om::RecordFields SerializableNetObj::describeFields() const {
  return om::FieldWriter()
      .add("name", f_.name)
      .add("description", f_.description)
      .add("displayName", f_.displayName)
      .add("DNSName", f_.DNSName)
      .add("macAddress", f_.macAddress)
      .add("subnetMask", f_.subnetMask)
      .add("objectType", f_.objectType)
      .add("objectFunction", f_.objectFunction)
      .add("nodeStatus", f_.nodeStatus)
      .add("portStatus", f_.portStatus)
      .add("portType", f_.portType)
      .add("isOurProduct", f_.isOurProduct)
      .add("isExProduct", f_.isExProduct)
      .add("VLANName", f_.VLANName)
      .add("ifIndex", f_.ifIndex)
      .add("sysObjectID", f_.sysObjectID)
      .add("readCommunityName", f_.readCommunityName)
      .add("writeCommunityName", f_.writeCommunityName)
      .add("sysName", f_.sysName)
      .add("sysContact", f_.sysContact)
      .add("hasTelnet", f_.hasTelnet)
      .add("hasHTTP", f_.hasHTTP)
      .add("hasTFTP", f_.hasTFTP)
      .add("hasStack", f_.hasStack)
      .add("hasVlan", f_.hasVlan)
      .add("pollingInterval", f_.pollingInterval)
      .add("isPollingPort", f_.isPollingPort)
      .add("deleteInterval", f_.deleteInterval)
      .add("number", f_.number)
      .add("isTrapped", f_.isTrapped)
      .add("snmpVersion", static_cast<int>(f_.snmpVersion))
      .add("ipv6Addresses", f_.ipv6Addresses)
      .add("ipAddresses", f_.ipAddresses)
      .add("snmpPort", f_.snmpPort)
      .take();
}

void SerializableNetObj::addIpAddress(const CString& address) { om::addUniqueString(f_.ipAddresses, address); }

void SerializableNetObj::removeIpAddress(const CString& address) { om::removeString(f_.ipAddresses, address); }

void SerializableNetObj::addIpv6Address(const CString& address) { om::addUniqueString(f_.ipv6Addresses, address); }

void SerializableNetObj::removeIpv6Address(const CString& address) { om::removeString(f_.ipv6Addresses, address); }
