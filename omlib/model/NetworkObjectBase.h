// NetworkObjectBase: the attributes of one managed thing of the network (a
// device, one of its ports, a VLAN or a stack) as plain values.
// CNetworkObject: a network object with a list of child objects, for trees
// built on the client side.
#ifndef OMLIB_MODEL_NETWORKOBJECTBASE_H_
#define OMLIB_MODEL_NETWORKOBJECTBASE_H_

#include <string>
#include <vector>

#include "model/SnmpVersion.h"

// Every attribute has a getter and a setter named after it. The name is the
// object's identity: compare() looks at nothing else. Setters store what they
// are given, except the range-checked ones (object type, node status, port
// status, port type), which store 0 for a value outside their range.
class NetworkObjectBase {
 public:
  // objectType values that this class tests by name.
  enum { OBJECT_TYPE_PORT = 5, OBJECT_TYPE_VLAN = 6, OBJECT_TYPE_STACKED = 7 };

  NetworkObjectBase() = default;
  NetworkObjectBase(const NetworkObjectBase& other) = default;
  virtual ~NetworkObjectBase() = default;

  NetworkObjectBase& operator=(const NetworkObjectBase& other) = default;
  // Copies every attribute, both address lists included; on a derived object
  // only the attributes are copied.
  void copyIn(const NetworkObjectBase& other) { NetworkObjectBase::operator=(other); }

  // True when the names are equal (exact, case-sensitive).
  bool compare(const NetworkObjectBase& other) const { return name_ == other.name_; }

  const std::string& getName() const { return name_; }
  void setName(const std::string& name) { name_ = name; }
  const std::string& getDescription() const { return description_; }
  void setDescription(const std::string& description) { description_ = description; }
  const std::string& getDisplayName() const { return displayName_; }
  void setDisplayName(const std::string& displayName) { displayName_ = displayName; }
  const std::string& getDNSName() const { return DNSName_; }
  void setDNSName(const std::string& DNSName) { DNSName_ = DNSName; }
  const std::string& getMacAddress() const { return macAddress_; }
  void setMacAddress(const std::string& macAddress) { macAddress_ = macAddress; }
  const std::string& getSubnetMask() const { return subnetMask_; }
  void setSubnetMask(const std::string& subnetMask) { subnetMask_ = subnetMask; }

  // 0 to 7; anything else is stored as 0.
  int getObjectType() const { return objectType_; }
  void setObjectType(int objectType);
  bool isPort() const { return objectType_ == OBJECT_TYPE_PORT; }
  bool isVLAN() const { return objectType_ == OBJECT_TYPE_VLAN; }
  bool isStacked() const { return objectType_ == OBJECT_TYPE_STACKED; }

  int getObjectFunction() const { return objectFunction_; }
  void setObjectFunction(int objectFunction) { objectFunction_ = objectFunction; }
  // ORs `bits` into the function bits.
  void addObjectFunction(int bits) { objectFunction_ |= bits; }

  // 0 to 2; anything else is stored as 0.
  int getNodeStatus() const { return nodeStatus_; }
  void setNodeStatus(int nodeStatus);
  // 0 to 9 except 7; anything else (7 included) is stored as 0.
  int getPortStatus() const { return portStatus_; }
  void setPortStatus(int portStatus);
  // 0 to 2; anything else is stored as 0.
  int getPortType() const { return portType_; }
  void setPortType(int portType);

  bool isOurProduct() const { return isOurProduct_; }
  void setIsOurProduct(bool value) { isOurProduct_ = value; }
  bool isExProduct() const { return isExProduct_; }
  void setIsExProduct(bool value) { isExProduct_ = value; }

  const std::string& getVLANName() const { return VLANName_; }
  void setVLANName(const std::string& VLANName) { VLANName_ = VLANName; }
  const std::string& getSysObjectID() const { return sysObjectID_; }
  void setSysObjectID(const std::string& sysObjectID) { sysObjectID_ = sysObjectID; }
  const std::string& getReadCommunityName() const { return readCommunityName_; }
  void setReadCommunityName(const std::string& name) { readCommunityName_ = name; }
  const std::string& getWriteCommunityName() const { return writeCommunityName_; }
  void setWriteCommunityName(const std::string& name) { writeCommunityName_ = name; }
  const std::string& getSysName() const { return sysName_; }
  void setSysName(const std::string& sysName) { sysName_ = sysName; }
  const std::string& getSysContact() const { return sysContact_; }
  void setSysContact(const std::string& sysContact) { sysContact_ = sysContact; }

  bool hasTelnet() const { return hasTelnet_; }
  void setHasTelnet(bool value) { hasTelnet_ = value; }
  bool hasHTTP() const { return hasHTTP_; }
  void setHasHTTP(bool value) { hasHTTP_ = value; }
  bool hasTFTP() const { return hasTFTP_; }
  void setHasTFTP(bool value) { hasTFTP_ = value; }
  bool hasStack() const { return hasStack_; }
  void setHasStack(bool value) { hasStack_ = value; }
  bool hasVlan() const { return hasVlan_; }
  void setHasVlan(bool value) { hasVlan_ = value; }

  int getPollingInterval() const { return pollingInterval_; }
  void setPollingInterval(int interval) { pollingInterval_ = interval; }
  bool isPollingPort() const { return isPollingPort_; }
  void setIsPollingPort(bool value) { isPollingPort_ = value; }
  int getDeleteInterval() const { return deleteInterval_; }
  void setDeleteInterval(int interval) { deleteInterval_ = interval; }
  int getIfIndex() const { return ifIndex_; }
  void setIfIndex(int ifIndex) { ifIndex_ = ifIndex; }
  int getNumber() const { return number_; }
  void setNumber(int number) { number_ = number; }
  bool isTrapped() const { return isTrapped_; }
  void setIsTrapped(bool value) { isTrapped_ = value; }
  SNMP_VERSION getSnmpVersion() const { return snmpVersion_; }
  void setSnmpVersion(SNMP_VERSION version) { snmpVersion_ = version; }
  int getSnmpPort() const { return snmpPort_; }
  void setSnmpPort(int port) { snmpPort_ = port; }

  // Addresses are texts compared exactly, without normalisation. The first
  // IPv4 address is the object's primary one.
  const std::vector<std::string>& getIpAddresses() const { return ipAddresses_; }
  const std::vector<std::string>& getIpv6Addresses() const { return ipv6Addresses_; }
  // The first IPv4 address, or "" when there is none.
  std::string getIpAddress() const;
  // The IPv4 list becomes exactly this one address.
  void setIpAddress(const std::string& address);
  // Append unless an equal text is already listed.
  void addIpAddress(const std::string& address) { addUnique(ipAddresses_, address); }
  void addIpv6Address(const std::string& address) { addUnique(ipv6Addresses_, address); }
  // Erase the first equal text, if any.
  void removeIpAddress(const std::string& address) { removeFirst(ipAddresses_, address); }
  void removeIpv6Address(const std::string& address) { removeFirst(ipv6Addresses_, address); }
  void clearIpAddresses() { ipAddresses_.clear(); }
  void clearIpv6Addresses() { ipv6Addresses_.clear(); }
  void setIpAddresses(const std::vector<std::string>& addresses) { ipAddresses_ = addresses; }
  void setIpv6Addresses(const std::vector<std::string>& addresses) { ipv6Addresses_ = addresses; }

 private:
  static void addUnique(std::vector<std::string>& list, const std::string& text);
  static void removeFirst(std::vector<std::string>& list, const std::string& text);

  std::string name_;
  std::string description_;
  std::string displayName_;
  std::string DNSName_;
  std::string macAddress_;
  std::string subnetMask_;
  int objectType_ = 0;
  int objectFunction_ = 0;
  int nodeStatus_ = 0;
  int portStatus_ = 0;
  int portType_ = 0;
  bool isOurProduct_ = false;
  bool isExProduct_ = false;
  std::string VLANName_;
  std::string sysObjectID_;
  std::string readCommunityName_;
  std::string writeCommunityName_;
  std::string sysName_;
  std::string sysContact_;
  bool hasTelnet_ = false;
  bool hasHTTP_ = false;
  bool hasTFTP_ = false;
  bool hasStack_ = false;
  bool hasVlan_ = false;
  int pollingInterval_ = 0;
  bool isPollingPort_ = false;
  int deleteInterval_ = 0;
  int ifIndex_ = 0;
  int number_ = 0;
  bool isTrapped_ = false;
  SNMP_VERSION snmpVersion_ = SNMP_VERSION_NOT_SET;
  std::vector<std::string> ipv6Addresses_;
  std::vector<std::string> ipAddresses_;
  int snmpPort_ = 0;
};

// A network object with child objects (a device with its ports, say), in the
// order added and unique by name. The children are not owned: destroying or
// copying a CNetworkObject neither destroys nor copies them, and they must
// outlive their parent's use of the list.
class CNetworkObject : public NetworkObjectBase {
 public:
  CNetworkObject() = default;
  // Copies the attributes only: the new object has no children.
  CNetworkObject(const CNetworkObject& other) : NetworkObjectBase(other) {}
  ~CNetworkObject() override = default;

  // Copies the attributes only: this object keeps its own children.
  CNetworkObject& operator=(const CNetworkObject& other);

  bool compare(const CNetworkObject& other) const { return NetworkObjectBase::compare(other); }

  // Appends `child` unless a child of the same name is listed already. A null
  // pointer is ignored.
  void addNetworkObject(const CNetworkObject* child);
  // Leaves the list as it is, whether a child of that name is listed or not:
  // once added, a child stays listed for the life of its parent, and callers
  // rely on that.
  void removeNetworkObject(const CNetworkObject* /*child*/) {}
  const std::vector<CNetworkObject*>& getNetworkObjects() const { return children_; }

 private:
  // The listed child with the name of `child`, or the end of the list.
  std::vector<CNetworkObject*>::const_iterator findChild(const CNetworkObject& child) const;

  std::vector<CNetworkObject*> children_;
};

#endif  // OMLIB_MODEL_NETWORKOBJECTBASE_H_
