#include "model/SerializableOMNetwork.h"

#include "model/ArchiveFields.h"
#include "model/CStringUtil.h"
#include "model/OrvaManagerNetwork.h"
#include "model/FieldWriter.h"

// Versionable: archives of other schemas load with the same layout.
IMPLEMENT_SERIAL(SerializableOMNetwork, CObject, VERSIONABLE_SCHEMA | 1)

SerializableOMNetwork::SerializableOMNetwork(const SerializableOMNetwork& other) : CObject(), f_(other.f_) {}

SerializableOMNetwork& SerializableOMNetwork::operator=(const SerializableOMNetwork& other) {
  copyIn(other);
  return *this;
}

void SerializableOMNetwork::copyIn(const SerializableOMNetwork& other) { f_ = other.f_; }

void SerializableOMNetwork::setNetwork(const COrvaManagerNetwork& n) {
  f_.name = om::toCString(n.getName());
  f_.numberOfSubnets = n.getNumberOfSubnets();
  f_.numberOfDiscoveredNodes = n.getNumberOfDiscoveredNodes();
  f_.numberOfObservingNodes = n.getNumberOfObservingNodes();
  f_.nodeStatus = n.getNodeStatus();
  f_.pollingManager = n.isPollingManager() ? 1 : 0;
  f_.autoDiscoverManager = n.isAutoDiscoverManager() ? 1 : 0;
}

void SerializableOMNetwork::getNetwork(COrvaManagerNetwork& n) const {
  n.setName(om::toStdString(f_.name));
  n.setNumberOfSubnets(f_.numberOfSubnets);
  n.setNumberOfDiscoveredNodes(f_.numberOfDiscoveredNodes);
  n.setNumberOfObservingNodes(f_.numberOfObservingNodes);
  n.setNodeStatus(f_.nodeStatus);
  n.setPollingManager(f_.pollingManager != 0);
  n.setAutoDiscoverManager(f_.autoDiscoverManager != 0);
}

void SerializableOMNetwork::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(f_.name)(f_.numberOfSubnets)(f_.numberOfDiscoveredNodes)
      (f_.numberOfObservingNodes)(f_.nodeStatus)(f_.pollingManager)(f_.autoDiscoverManager);
}

om::RecordFields SerializableOMNetwork::describeFields() const {
  return om::FieldWriter()
      .add("name", f_.name)
      .add("numberOfSubnets", f_.numberOfSubnets)
      .add("numberOfDiscoveredNodes", f_.numberOfDiscoveredNodes)
      .add("numberOfObservingNodes", f_.numberOfObservingNodes)
      .add("nodeStatus", f_.nodeStatus)
      .add("pollingManager", f_.pollingManager)
      .add("autoDiscoverManager", f_.autoDiscoverManager)
      .take();
}
