#include "model/SerializableSubnet.h"

#include "config/DefaultValues.h"
#include "model/ArchiveFields.h"
#include "model/CStringUtil.h"
#include "model/FieldWriter.h"
#include "model/subnet.h"

// Versionable: archives of other schemas load with the same layout.
IMPLEMENT_SERIAL(SerializableSubnet, CObject, VERSIONABLE_SCHEMA | 1)

SerializableSubnet::SerializableSubnet() { init(); }

SerializableSubnet::SerializableSubnet(const tstring& name, const tstring& networkID,
                                       const tstring& subnetMask) {
  init();
  f_.name = om::toCString(name);
  f_.networkID = om::toCString(networkID);
  f_.subnetMask = om::toCString(subnetMask);
}

SerializableSubnet::SerializableSubnet(const SerializableSubnet& other) : CObject(), f_(other.f_) {}

SerializableSubnet::SerializableSubnet(const SubnetBase& subnet) { setSubnet(subnet); }

SerializableSubnet& SerializableSubnet::operator=(const SerializableSubnet& other) {
  copyIn(other);
  return *this;
}

void SerializableSubnet::copyIn(const SerializableSubnet& other) { f_ = other.f_; }

void SerializableSubnet::init() {
  DefaultValues& config = *DefaultValues::getDefault();
  f_ = Fields();
  addCommunityName(om::toCString(config.getCommunity()));
  f_.discoveringInterval = config.getDiscoveringInterval();
  f_.discoveredNodeType = config.getDiscoveredNodeType();
  f_.lookupHostName = config.getLookupHostName();
  f_.discoverOnTrap = config.getDiscoverOnTrap();
}

void SerializableSubnet::setSubnet(const SubnetBase& s) {
  f_.name = om::toCString(s.getName());
  f_.networkID = om::toCString(s.getNetworkID());
  f_.subnetMask = om::toCString(s.getSubnetMask());
  f_.communityNames = om::toCStrings(s.getCommunityNames());
  f_.discoveredNodes = s.getDiscoverdNodes();
  f_.observedNodes = s.getObservedNodes();
  f_.status = s.getStatus();
  f_.discoveringInterval = s.getDiscoveringInterval();
  f_.hops = s.getHops();
  f_.discoveredNodeType = s.getDiscoveredNodeType();
  f_.lookupHostName = s.isLookupHostName();
  f_.discoverOnTrap = s.isDiscoverOnTrap();
}

void SerializableSubnet::getSubnet(SubnetBase& s) const {
  s.setName(om::toStdString(f_.name));
  s.setNetworkID(om::toStdString(f_.networkID));
  s.setSubnetMask(om::toStdString(f_.subnetMask));
  s.clearCommunityNames();
  for (const CString& name : f_.communityNames) s.addCommunityName(om::toStdString(name));
  s.setDiscoveredNodes(f_.discoveredNodes);
  s.setObservedNodes(f_.observedNodes);
  s.setStatus(f_.status);
  s.setDiscoveringInterval(f_.discoveringInterval);
  s.setHops(f_.hops);
  s.setDiscoveredNodeType(f_.discoveredNodeType);
  s.setLookupHostName(f_.lookupHostName);
  s.setDiscoverOnTrap(f_.discoverOnTrap);
}

void SerializableSubnet::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(f_.name)(f_.networkID)(f_.subnetMask)
      .strings(f_.communityNames, /*unique=*/true)
      (f_.discoveredNodes)(f_.observedNodes)(f_.status)(f_.discoveringInterval)(f_.hops)
      (f_.discoveredNodeType)
      (f_.lookupHostName)(f_.discoverOnTrap);
}

// The subnet functions work on a plain copy, so that both forms give the
// same results.
CString SerializableSubnet::calcNetworkID() const {
  SubnetBase plain;
  plain.setNetworkID(om::toStdString(f_.networkID));
  plain.setSubnetMask(om::toStdString(f_.subnetMask));
  return om::toCString(plain.calcNetworkID());
}

bool SerializableSubnet::compare(const SerializableSubnet& other) const {
  return f_.name == other.f_.name && calcNetworkID() == other.calcNetworkID();
}

CString SerializableSubnet::toString() const {
  SubnetBase plain;
  getSubnet(plain);
  return om::toCString(plain.toString());
}

om::RecordFields SerializableSubnet::describeFields() const {
  return om::FieldWriter()
      .add("name", f_.name)
      .add("networkID", f_.networkID)
      .add("subnetMask", f_.subnetMask)
      .add("communityNames", f_.communityNames)
      .add("discoveredNodes", f_.discoveredNodes)
      .add("observedNodes", f_.observedNodes)
      .add("status", f_.status)
      .add("discoveringInterval", f_.discoveringInterval)
      .add("hops", f_.hops)
      .add("discoveredNodeType", f_.discoveredNodeType)
      .add("lookupHostName", f_.lookupHostName)
      .add("discoverOnTrap", f_.discoverOnTrap)
      .take();
}

void SerializableSubnet::addCommunityName(const CString& name) { om::addUniqueString(f_.communityNames, name); }

void SerializableSubnet::removeCommunityName(const CString& name) { om::removeString(f_.communityNames, name); }
