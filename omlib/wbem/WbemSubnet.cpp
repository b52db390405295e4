#include "wbem/WbemSubnet.h"

#include "wbem/WbemNetworkObject.h"
#include "wbem/WbemProperties.h"

namespace {

// The community list holds no duplicates, whatever the instance holds.
void setCommunities(SubnetBase& subnet, const std::vector<std::string>& names) {
  subnet.clearCommunityNames();
  for (const std::string& name : names) subnet.addCommunityName(name);
}

// The 12 properties of "Subnet", in the class's order.
constexpr om::WbemProperty<SubnetBase> kProperties[] = {
    om::property<&SubnetBase::getName, &SubnetBase::setName>(u"SubnetName"),
    om::property<&SubnetBase::getNetworkID, &SubnetBase::setNetworkID>(u"NetworkID"),
    om::property<&SubnetBase::getSubnetMask, &SubnetBase::setSubnetMask>(u"SubnetMask"),
    om::property<&SubnetBase::getCommunityNames, &setCommunities>(u"Communities"),
    om::property<&SubnetBase::getDiscoverdNodes, &SubnetBase::setDiscoveredNodes>(u"DiscoveredNodes"),
    om::property<&SubnetBase::getObservedNodes, &SubnetBase::setObservedNodes>(u"ObservedNodes"),
    om::property<&SubnetBase::getStatus, &SubnetBase::setStatus>(u"Status"),
    om::property<&SubnetBase::getDiscoveredNodeType, &SubnetBase::setDiscoveredNodeType>(u"DiscoveredNodeType"),
    om::property<&SubnetBase::getDiscoveringInterval, &SubnetBase::setDiscoveringInterval>(u"DiscoveringInterval"),
    om::property<&SubnetBase::getHops, &SubnetBase::setHops>(u"Hops"),
    om::property<&SubnetBase::isLookupHostName, &SubnetBase::setLookupHostName>(u"IsLookupHostname"),
    om::property<&SubnetBase::isDiscoverOnTrap, &SubnetBase::setDiscoverOnTrap>(u"IsDiscoverOnTrap"),
};

}  // namespace

// ---- WbemSubnet -----------------------------------------------------------------------

WbemSubnet::WbemSubnet(const SubnetBase& subnet, IWbemServices const* services)
    : SubnetBase(subnet), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemSubnet::put() { return putInstance(); }

bool WbemSubnet::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getSubnet());
}

bool WbemSubnet::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getSubnet());
}

// ---- WbemSubnetClient -----------------------------------------------------------------

bool WbemSubnetClient::getSubnet(const tstring& path) {
  WbemAccess access(this);
  return keepResult(access.get(path));
}

bool WbemSubnetClient::getSubnet(const tstring& path, SubnetBase& out) {
  if (!getSubnet(path)) return false;
  out = getSubnet();
  return true;
}

bool WbemSubnetClient::enumSubnets(std::vector<SubnetBase>& subnets) {
  WbemAccess access(this);
  if (!keepResult(access.enumerate())) return false;
  WbemSubnet reader(getServices());
  return keepResult(readEnumeration(access, reader, [&] { subnets.push_back(reader.getSubnet()); }));
}

bool WbemSubnetClient::goDiscover(const tstring& subnetName, IWbemObjectSink* sink) {
  return callForBool("GoDiscover", {{"SubnetName", subnetName}}, sink);
}

bool WbemSubnetClient::deleteSubnet(const tstring& subnetName, IWbemObjectSink* sink) {
  return callForBool("Delete", {{"SubnetName", subnetName}}, sink);
}

bool WbemSubnetClient::renameSubnet(const tstring& oldName, const tstring& newName, IWbemObjectSink* sink) {
  return callForBool("Rename", {{"OldName", oldName}, {"NewName", newName}}, sink);
}

bool WbemSubnetClient::isExistSubnet(const tstring& subnetName, IWbemObjectSink* sink) {
  return callForBool("isExist", {{"SubnetName", subnetName}}, sink);
}

bool WbemSubnetClient::getAllDevices(const tstring& subnetName, std::vector<NetworkObjectBase>& devices,
                                     IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("SubnetName", subnetName.c_str());
  if (!keepResult(access.execute("GetAllDevices", sink))) return false;
  if (sink != nullptr) return true;
  WbemNetworkObject reader(getServices());
  return keepResult(readObjects(access, "Objects", reader, [&] { devices.push_back(reader.getObject()); }));
}

// ---- Provider -------------------------------------------------------------------------

HRESULT RenameProvider::getInParams(tstring& oldName, tstring& newName) {
  const HRESULT hr = getParamString("OldName", oldName);
  return FAILED(hr) ? hr : getParamString("NewName", newName);
}

HRESULT GetAllDevices::indicate(std::vector<SerializableNetObj*>& devices) {
  WbemNetworkObject device(getServices());
  CComPtr<IWbemClassObject> cls;
  if (getServices() == nullptr) return WBEM_E_INVALID_OPERATION;
  HRESULT hr = getServices()->GetObject(om::bstrOf(device.getClassName()), 0, nullptr, &cls, nullptr);
  if (FAILED(hr)) return hr;
  CComVariant objects;
  hr = embeddedArray(cls, device, devices.size(), [&](size_t i) {
    if (devices[i] == nullptr) return false;
    devices[i]->getObject(device.getObject());
    return true;
  }, objects);
  return FAILED(hr) ? hr : indicateOutput("Objects", objects);
}
