// SerializableSubnet: the persistent form of a subnet (SubnetBase) in MFC
// archives, registered as "SerializableSubnet", schema 1.
#ifndef OMLIB_MODEL_SERIALIZABLESUBNET_H_
#define OMLIB_MODEL_SERIALIZABLESUBNET_H_

#include <afx.h>

#include <vector>

#include <omtools/tstring.h>

#include "model/FieldWriter.h"

class SubnetBase;

// Holds the values of a SubnetBase with CString texts. A new record (and
// init()) lists the configured default community (even an empty one, when
// the setting is missing) and takes the discovering interval, node type and
// the two discovery flags from the configuration (DefaultValues); the texts
// are empty and the counters 0. Setters store what they are given.
//
// Archive form (Serialize): name, networkID, subnetMask (strings);
// communityNames (int count and strings); discoveredNodes, observedNodes,
// status, discoveringInterval, hops, discoveredNodeType (ints);
// lookupHostName, discoverOnTrap (bools). Loading drops a community name
// that the record lists twice. Every schema is read with this one layout.
class SerializableSubnet : public CObject {
  DECLARE_SERIAL(SerializableSubnet)
 public:
  SerializableSubnet();
  SerializableSubnet(const tstring& name, const tstring& networkID, const tstring& subnetMask);
  SerializableSubnet(const SerializableSubnet& other);
  explicit SerializableSubnet(const SubnetBase& subnet);
  ~SerializableSubnet() override = default;

  SerializableSubnet& operator=(const SerializableSubnet& other);
  void copyIn(const SerializableSubnet& other);

  // Back to the defaults of a new record (reads the configuration).
  void init();

  // Every value from / to the plain subnet.
  void setSubnet(const SubnetBase& subnet);
  void getSubnet(SubnetBase& subnet) const;

  void Serialize(CArchive& ar) override;

  // As SubnetBase::calcNetworkID(), compare() and toString().
  CString calcNetworkID() const;
  bool compare(const SerializableSubnet& other) const;
  CString toString() const;
  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

  const CString& getName() const { return f_.name; }
  void setName(const CString& name) { f_.name = name; }
  const CString& getNetworkID() const { return f_.networkID; }
  void setNetworkID(const CString& networkID) { f_.networkID = networkID; }
  const CString& getSubnetMask() const { return f_.subnetMask; }
  void setSubnetMask(const CString& subnetMask) { f_.subnetMask = subnetMask; }

  // Community names, in the order added and without duplicates.
  const std::vector<CString>& getCommunityNames() const { return f_.communityNames; }
  void addCommunityName(const CString& name);
  void removeCommunityName(const CString& name);
  void clearCommunityName() { f_.communityNames.clear(); }

  // The getter's name lacks an "e", as in SubnetBase.
  int getDiscoverdNodes() const { return f_.discoveredNodes; }
  void setDiscoveredNodes(int count) { f_.discoveredNodes = count; }
  int getObservedNodes() const { return f_.observedNodes; }
  void setObservedNodes(int count) { f_.observedNodes = count; }
  int getStatus() const { return f_.status; }
  void setStatus(int status) { f_.status = status; }
  int getDiscoveringInterval() const { return f_.discoveringInterval; }
  void setDiscoveringInterval(int interval) { f_.discoveringInterval = interval; }
  int getHops() const { return f_.hops; }
  void setHops(int hops) { f_.hops = hops; }
  int getDiscoveredNodeType() const { return f_.discoveredNodeType; }
  void setDiscoveredNodeType(int type) { f_.discoveredNodeType = type; }
  bool isLookupHostName() const { return f_.lookupHostName; }
  void setLookupHostName(bool value) { f_.lookupHostName = value; }
  bool isDiscoverOnTrap() const { return f_.discoverOnTrap; }
  void setDiscoverOnTrap(bool value) { f_.discoverOnTrap = value; }

 private:
  // The values, in declared order; copied as a whole.
  struct Fields {
    CString name;
    CString networkID;
    CString subnetMask;
    std::vector<CString> communityNames;
    int discoveredNodes = 0;
    int observedNodes = 0;
    int status = 0;
    int discoveringInterval = 0;
    int hops = 0;
    int discoveredNodeType = 0;
    bool lookupHostName = false;
    bool discoverOnTrap = false;
  };

  Fields f_;
};

#endif  // OMLIB_MODEL_SERIALIZABLESUBNET_H_
