#include "wbem/WbemNetworkObject.h"

#include <vector>

WbemNetworkObject::WbemNetworkObject(IWbemServices* services) : WbemClient(services) {}

WbemNetworkObject::WbemNetworkObject(const NetworkObjectBase& object, IWbemServices const* services)
    : NetworkObjectBase(object), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemNetworkObject::put(const tstring& subnetName) {
  WbemAccess access(this);
  access.putContext("SubnetName", CComVariant(subnetName.c_str()));
  return keepResult(access.put());
}

bool WbemNetworkObject::get(const tstring& path, bool silent) {
  WbemAccess access(this);
  access.putContext("Silent", CComVariant(silent));
  return keepResult(access.get(path));
}

bool WbemNetworkObject::putToInstance(IWbemClassObject* instance) {
  if (instance == nullptr) return false;
  putProperty(instance, u"ObjectName", getName());
  putProperty(instance, u"Description", getDescription());
  putProperty(instance, u"DisplayName", getDisplayName());
  putProperty(instance, u"DNSName", getDNSName());
  putProperty(instance, u"MacAddress", getMacAddress());
  putProperty(instance, u"SubnetMask", getSubnetMask());
  putProperty(instance, u"ObjectType", getObjectType());
  putProperty(instance, u"ObjectFunction", getObjectFunction());
  putProperty(instance, u"NodeStatus", getNodeStatus());
  putProperty(instance, u"PortStatus", getPortStatus());
  putProperty(instance, u"PortType", getPortType());
  putProperty(instance, u"IsOurProduct", isOurProduct());
  putProperty(instance, u"IsExProduct", isExProduct());
  putProperty(instance, u"VLANName", getVLANName());
  putProperty(instance, u"Number", getNumber());
  putProperty(instance, u"IfIndex", getIfIndex());
  putProperty(instance, u"ReadCommunityName", getReadCommunityName());
  putProperty(instance, u"WriteCommunityName", getWriteCommunityName());
  putProperty(instance, u"SysObjectID", getSysObjectID());
  putProperty(instance, u"SysName", getSysName());
  putProperty(instance, u"SysContact", getSysContact());
  putProperty(instance, u"HasTelnet", hasTelnet());
  putProperty(instance, u"HasHTTP", hasHTTP());
  putProperty(instance, u"HasTFTP", hasTFTP());
  putProperty(instance, u"HasStack", hasStack());
  putProperty(instance, u"HasVlan", hasVlan());
  putProperty(instance, u"PollingInterval", getPollingInterval());
  putProperty(instance, u"IsPollingPort", isPollingPort());
  putProperty(instance, u"DeleteInterval", getDeleteInterval());
  putProperty(instance, u"IsTrapped", isTrapped());
  putProperty(instance, u"SnmpVersion", static_cast<int>(getSnmpVersion()));
  putProperty(instance, u"IpAddresses", getIpAddresses());
  putProperty(instance, u"Ipv6Addresses", getIpv6Addresses());
  putProperty(instance, u"SnmpPort", getSnmpPort());
  return true;
}

bool WbemNetworkObject::getFromInstance(IWbemClassObject* instance) {
  if (instance == nullptr) return false;
  int number = 0;
  bool flag = false;
  setName(getStringProperty(instance, u"ObjectName"));
  setDisplayName(getStringProperty(instance, u"DisplayName"));
  setDescription(getStringProperty(instance, u"Description"));
  setDNSName(getStringProperty(instance, u"DNSName"));
  setMacAddress(getStringProperty(instance, u"MacAddress"));
  setSubnetMask(getStringProperty(instance, u"SubnetMask"));
  // The range-checked setters keep the enumerations within their values.
  if (getProperty(instance, u"ObjectType", number)) setObjectType(number);
  if (getProperty(instance, u"ObjectFunction", number)) setObjectFunction(number);
  if (getProperty(instance, u"NodeStatus", number)) setNodeStatus(number);
  if (getProperty(instance, u"PortStatus", number)) setPortStatus(number);
  if (getProperty(instance, u"PortType", number)) setPortType(number);
  if (getProperty(instance, u"IsOurProduct", flag)) setIsOurProduct(flag);
  if (getProperty(instance, u"IsExProduct", flag)) setIsExProduct(flag);
  setVLANName(getStringProperty(instance, u"VLANName"));
  if (getProperty(instance, u"Number", number)) setNumber(number);
  if (getProperty(instance, u"IfIndex", number)) setIfIndex(number);
  setReadCommunityName(getStringProperty(instance, u"ReadCommunityName"));
  setWriteCommunityName(getStringProperty(instance, u"WriteCommunityName"));
  setSysObjectID(getStringProperty(instance, u"SysObjectID"));
  setSysName(getStringProperty(instance, u"SysName"));
  setSysContact(getStringProperty(instance, u"SysContact"));
  if (getProperty(instance, u"HasTelnet", flag)) setHasTelnet(flag);
  if (getProperty(instance, u"HasHTTP", flag)) setHasHTTP(flag);
  if (getProperty(instance, u"HasTFTP", flag)) setHasTFTP(flag);
  if (getProperty(instance, u"HasStack", flag)) setHasStack(flag);
  if (getProperty(instance, u"HasVlan", flag)) setHasVlan(flag);
  if (getProperty(instance, u"PollingInterval", number)) setPollingInterval(number);
  if (getProperty(instance, u"IsPollingPort", flag)) setIsPollingPort(flag);
  if (getProperty(instance, u"DeleteInterval", number)) setDeleteInterval(number);
  if (getProperty(instance, u"IsTrapped", flag)) setIsTrapped(flag);
  if (getProperty(instance, u"SnmpVersion", number)) setSnmpVersion(static_cast<SNMP_VERSION>(number));
  setIpAddresses(getStringsProperty(instance, u"IpAddresses"));
  setIpv6Addresses(getStringsProperty(instance, u"Ipv6Addresses"));
  if (getProperty(instance, u"SnmpPort", number)) setSnmpPort(number);
  return true;
}
