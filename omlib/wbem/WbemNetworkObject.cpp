#include "wbem/WbemNetworkObject.h"

#include <string>
#include <vector>

#include "wbem/WbemProperties.h"

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

namespace {

using NOB = NetworkObjectBase;

// A read-back address list empties the object's list, then appends each
// element through the adder: a text listed twice is kept once, and each text
// is kept as it stands.
void readIpAddresses(NOB& object, const std::vector<std::string>& addresses) {
  object.clearIpAddresses();
  for (const std::string& address : addresses) object.addIpAddress(address);
}

void readIpv6Addresses(NOB& object, const std::vector<std::string>& addresses) {
  object.clearIpv6Addresses();
  for (const std::string& address : addresses) object.addIpv6Address(address);
}

// The 34 properties of "NetworkObject", in the class's order.
constexpr om::WbemProperty<NOB> kProperties[] = {
    om::property<&NOB::getName, &NOB::setName>(u"ObjectName"),
    om::property<&NOB::getDescription, &NOB::setDescription>(u"Description"),
    om::property<&NOB::getDisplayName, &NOB::setDisplayName>(u"DisplayName"),
    om::property<&NOB::getDNSName, &NOB::setDNSName>(u"DNSName"),
    om::property<&NOB::getMacAddress, &NOB::setMacAddress>(u"MacAddress"),
    om::property<&NOB::getSubnetMask, &NOB::setSubnetMask>(u"SubnetMask"),
    om::property<&NOB::getObjectType, &NOB::setObjectType>(u"ObjectType"),
    om::property<&NOB::getObjectFunction, &NOB::setObjectFunction>(u"ObjectFunction"),
    om::property<&NOB::getNodeStatus, &NOB::setNodeStatus>(u"NodeStatus"),
    om::property<&NOB::getPortStatus, &NOB::setPortStatus>(u"PortStatus"),
    om::property<&NOB::getPortType, &NOB::setPortType>(u"PortType"),
    om::property<&NOB::isOurProduct, &NOB::setIsOurProduct>(u"IsOurProduct"),
    om::property<&NOB::isExProduct, &NOB::setIsExProduct>(u"IsExProduct"),
    om::property<&NOB::getVLANName, &NOB::setVLANName>(u"VLANName"),
    om::property<&NOB::getNumber, &NOB::setNumber>(u"Number"),
    om::property<&NOB::getIfIndex, &NOB::setIfIndex>(u"IfIndex"),
    om::property<&NOB::getReadCommunityName, &NOB::setReadCommunityName>(u"ReadCommunityName"),
    om::property<&NOB::getWriteCommunityName, &NOB::setWriteCommunityName>(u"WriteCommunityName"),
    om::property<&NOB::getSysObjectID, &NOB::setSysObjectID>(u"SysObjectID"),
    om::property<&NOB::getSysName, &NOB::setSysName>(u"SysName"),
    om::property<&NOB::getSysContact, &NOB::setSysContact>(u"SysContact"),
    om::property<&NOB::hasTelnet, &NOB::setHasTelnet>(u"HasTelnet"),
    om::property<&NOB::hasHTTP, &NOB::setHasHTTP>(u"HasHTTP"),
    om::property<&NOB::hasTFTP, &NOB::setHasTFTP>(u"HasTFTP"),
    om::property<&NOB::hasStack, &NOB::setHasStack>(u"HasStack"),
    om::property<&NOB::hasVlan, &NOB::setHasVlan>(u"HasVlan"),
    om::property<&NOB::getPollingInterval, &NOB::setPollingInterval>(u"PollingInterval"),
    om::property<&NOB::isPollingPort, &NOB::setIsPollingPort>(u"IsPollingPort"),
    om::property<&NOB::getDeleteInterval, &NOB::setDeleteInterval>(u"DeleteInterval"),
    om::property<&NOB::isTrapped, &NOB::setIsTrapped>(u"IsTrapped"),
    om::property<&NOB::getSnmpVersion, &NOB::setSnmpVersion>(u"SnmpVersion"),
    om::property<&NOB::getIpAddresses, &readIpAddresses>(u"IpAddresses"),
    om::property<&NOB::getIpv6Addresses, &readIpv6Addresses>(u"Ipv6Addresses"),
    om::property<&NOB::getSnmpPort, &NOB::setSnmpPort>(u"SnmpPort"),
};

}  // namespace

bool WbemNetworkObject::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getObject());
}

bool WbemNetworkObject::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getObject());
}
