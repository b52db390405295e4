// SerializableOMNetwork: the persistent form of the managed network's summary
// record (COrvaManagerNetwork) in MFC archives, registered as
// "SerializableOMNetwork", schema 1.
#ifndef OMLIB_MODEL_SERIALIZABLEOMNETWORK_H_
#define OMLIB_MODEL_SERIALIZABLEOMNETWORK_H_

#include <afx.h>

#include "model/FieldWriter.h"

class COrvaManagerNetwork;

// Holds the network's values with a CString name; the two manager flags are
// kept as ints (0 or not 0), as the file holds them.
//
// Archive form (Serialize): name (string); numberOfSubnets,
// numberOfDiscoveredNodes, numberOfObservingNodes, nodeStatus,
// pollingManager, autoDiscoverManager (ints). Every schema is read with this
// one layout.
class SerializableOMNetwork : public CObject {
  DECLARE_SERIAL(SerializableOMNetwork)
 public:
  SerializableOMNetwork() = default;
  SerializableOMNetwork(const SerializableOMNetwork& other);
  ~SerializableOMNetwork() override = default;

  SerializableOMNetwork& operator=(const SerializableOMNetwork& other);
  void copyIn(const SerializableOMNetwork& other);

  // From the plain record: each flag is stored as 1 or 0.
  void setNetwork(const COrvaManagerNetwork& network);
  // To the plain record: a flag is true when its int is not 0.
  void getNetwork(COrvaManagerNetwork& network) const;

  void Serialize(CArchive& ar) override;

  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

  const CString& getName() const { return f_.name; }
  void setName(const CString& name) { f_.name = name; }
  int getNumberOfSubnets() const { return f_.numberOfSubnets; }
  void setNumberOfSubnets(int count) { f_.numberOfSubnets = count; }
  int getNumberOfDiscoveredNodes() const { return f_.numberOfDiscoveredNodes; }
  void setNumberOfDiscoveredNodes(int count) { f_.numberOfDiscoveredNodes = count; }
  int getNumberOfObservingNodes() const { return f_.numberOfObservingNodes; }
  void setNumberOfObservingNodes(int count) { f_.numberOfObservingNodes = count; }
  int getNodeStatus() const { return f_.nodeStatus; }
  void setNodeStatus(int status) { f_.nodeStatus = status; }
  int isPollingManager() const { return f_.pollingManager; }
  void setPollingManager(int running) { f_.pollingManager = running; }
  int isAutoDiscoverManager() const { return f_.autoDiscoverManager; }
  void setAutoDiscoverManager(int running) { f_.autoDiscoverManager = running; }

 private:
  // The values, in declared order; copied as a whole.
  struct Fields {
    CString name;
    int numberOfSubnets = 0;
    int numberOfDiscoveredNodes = 0;
    int numberOfObservingNodes = 0;
    int nodeStatus = 0;
    int pollingManager = 0;
    int autoDiscoverManager = 0;
  };

  Fields f_;
};

#endif  // OMLIB_MODEL_SERIALIZABLEOMNETWORK_H_
