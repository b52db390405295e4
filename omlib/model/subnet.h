// SubnetBase: one IPv4 network that is discovered and watched: its name,
// network id and mask, community names, node counters and discovery settings.
// CSubnet: a subnet with the list of network objects found in it.
#ifndef OMLIB_MODEL_SUBNET_H_
#define OMLIB_MODEL_SUBNET_H_

#include <windows.h>

#include <string>
#include <vector>

class CNetworkObject;

// A subnet is identified by its name together with its network id as the
// mask selects it (see compare()). Setters store what they are given.
// Addresses and masks are dotted-decimal texts; the static helpers work on
// 32-bit addresses in network byte order, as inet_addr() returns them.
class SubnetBase {
 public:
  SubnetBase() = default;
  SubnetBase(const SubnetBase& other) = default;
  virtual ~SubnetBase() = default;

  SubnetBase& operator=(const SubnetBase& other) = default;

  const std::string& getName() const { return name_; }
  void setName(const std::string& name) { name_ = name; }
  const std::string& getNetworkID() const { return networkID_; }
  void setNetworkID(const std::string& networkID) { networkID_ = networkID; }
  const std::string& getSubnetMask() const { return subnetMask_; }
  void setSubnetMask(const std::string& subnetMask) { subnetMask_ = subnetMask; }

  // Community names, in the order added and without duplicates.
  const std::vector<std::string>& getCommunityNames() const { return communityNames_; }
  // Appends unless an equal name is listed already.
  void addCommunityName(const std::string& name);
  // Erases the equal name, if any.
  void removeCommunityName(const std::string& name);
  void clearCommunityNames() { communityNames_.clear(); }

  // The getter's name lacks an "e", as callers know it.
  int getDiscoverdNodes() const { return discoveredNodes_; }
  void setDiscoveredNodes(int count) { discoveredNodes_ = count; }
  int getObservedNodes() const { return observedNodes_; }
  void setObservedNodes(int count) { observedNodes_ = count; }
  int getStatus() const { return status_; }
  void setStatus(int status) { status_ = status; }
  int getDiscoveringInterval() const { return discoveringInterval_; }
  void setDiscoveringInterval(int interval) { discoveringInterval_ = interval; }
  int getHops() const { return hops_; }
  void setHops(int hops) { hops_ = hops; }
  int getDiscoveredNodeType() const { return discoveredNodeType_; }
  void setDiscoveredNodeType(int type) { discoveredNodeType_ = type; }
  bool isLookupHostName() const { return lookupHostName_; }
  void setLookupHostName(bool value) { lookupHostName_ = value; }
  bool isDiscoverOnTrap() const { return discoverOnTrap_; }
  void setDiscoverOnTrap(bool value) { discoverOnTrap_ = value; }

  // Every text and the community list empty, numbers 0, flags false.
  void clear() { *this = SubnetBase(); }

  // True when the names are equal (exact) and calcNetworkID() of both gives
  // the same text.
  bool compare(const SubnetBase& other) const;

  // The dotted text of inet_addr(network id) AND inet_addr(mask), or "" when
  // that cannot be written as text. A mask that does not parse reads as
  // 255.255.255.255, so the network id itself comes back.
  std::string calcNetworkID() const;
  // address AND mask.
  static ULONG calcNetworkID(ULONG address, ULONG mask) { return address & mask; }
  static ULONG calcNetworkID(const char* address, const char* mask);
  // (address AND mask) OR NOT mask.
  static ULONG calcBroadcast(ULONG address, ULONG mask) { return (address & mask) | ~mask; }
  static ULONG calcBroadcast(const char* address, const char* mask);

  // A multi-line dump for diagnostics, each line ended by "\n".
  std::string toString() const;

 protected:
  // The position of `name` in the community list, or the end.
  std::vector<std::string>::const_iterator getCommunityName(const std::string& name) const;

 private:
  std::string name_;
  std::string networkID_;
  std::string subnetMask_;
  std::vector<std::string> communityNames_;
  int discoveredNodes_ = 0;
  int observedNodes_ = 0;
  int status_ = 0;
  int discoveringInterval_ = 0;
  int hops_ = 0;
  int discoveredNodeType_ = 0;
  bool lookupHostName_ = false;
  bool discoverOnTrap_ = false;
};

// A subnet with the network objects found in it, in the order added. The
// objects are not owned: destroying a CSubnet frees only the list.
class CSubnet : public SubnetBase {
 public:
  CSubnet() = default;
  // Copies the subnet values only: the new subnet has no objects.
  CSubnet(const CSubnet& other) : SubnetBase(other) {}
  ~CSubnet() override = default;

  // The subnet values only; the object list is kept.
  CSubnet& operator=(const SubnetBase& other);
  // The subnet values and the object list (the pointers, not the objects).
  CSubnet& operator=(const CSubnet& other) = default;

  // Appends `object` always, even when it is listed already.
  void addNetworkObject(const CNetworkObject* object);
  const std::vector<CNetworkObject*>& getNetworkObjects() const { return networkObjects_; }

 private:
  std::vector<CNetworkObject*> networkObjects_;
};

#endif  // OMLIB_MODEL_SUBNET_H_
