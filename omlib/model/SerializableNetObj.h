// SerializableNetObj: the persistent form of a network object
// (NetworkObjectBase) in MFC archives, registered as "SerializableNetObj",
// schema 3.
#ifndef OMLIB_MODEL_SERIALIZABLENETOBJ_H_
#define OMLIB_MODEL_SERIALIZABLENETOBJ_H_

#include <afx.h>

#include <vector>

#include "model/SnmpVersion.h"

class NetworkObjectBase;

// Holds the values of a NetworkObjectBase with CString texts. Setters store
// what they are given; the range checks of NetworkObjectBase apply when the
// values are handed to one with getObject().
//
// Archive form (Serialize), in this order, which is the file format and
// differs from the declared order:
//   name, displayName, DNSName, macAddress, subnetMask (strings);
//   objectType, objectFunction, nodeStatus, portStatus, portType (ints);
//   isOurProduct, isExProduct (bools); VLANName (string); ifIndex (int);
//   sysObjectID, readCommunityName, writeCommunityName, sysName, sysContact
//   (strings); hasTelnet, hasHTTP, hasStack, hasVlan (bools);
//   pollingInterval (int); isPollingPort (bool); deleteInterval, number (ints);
//   description (string); hasTFTP, isTrapped (bools); snmpVersion (int);
//   ipAddresses, then ipv6Addresses (int count and strings); snmpPort (int).
// Every schema is read with this one layout (the class is registered as
// versionable, so ReadObject accepts archives of schemas 1 and 2 too).
// Loading replaces both address lists with exactly the strings read.
class SerializableNetObj : public CObject {
  DECLARE_SERIAL(SerializableNetObj)
 public:
  SerializableNetObj() = default;
  SerializableNetObj(const SerializableNetObj& other);
  explicit SerializableNetObj(const NetworkObjectBase& object);
  ~SerializableNetObj() override = default;

  SerializableNetObj& operator=(const SerializableNetObj& other);
  void copyIn(const SerializableNetObj& other);

  // Every value from / to the plain object.
  void setObject(const NetworkObjectBase& object);
  void getObject(NetworkObjectBase& object) const;

  void Serialize(CArchive& ar) override;

  // A multi-line dump for diagnostics, one "Label: value\n" line per value.
  CString toString() const;

  const CString& getName() const { return name_; }
  void setName(const CString& name) { name_ = name; }
  const CString& getDescription() const { return description_; }
  void setDescription(const CString& description) { description_ = description; }
  const CString& getDisplayName() const { return displayName_; }
  void setDisplayName(const CString& displayName) { displayName_ = displayName; }
  const CString& getDNSName() const { return DNSName_; }
  void setDNSName(const CString& DNSName) { DNSName_ = DNSName; }
  const CString& getMacAddress() const { return macAddress_; }
  void setMacAddress(const CString& macAddress) { macAddress_ = macAddress; }
  const CString& getSubnetMask() const { return subnetMask_; }
  void setSubnetMask(const CString& subnetMask) { subnetMask_ = subnetMask; }
  int getObjectType() const { return objectType_; }
  void setObjectType(int objectType) { objectType_ = objectType; }
  int getObjectFunction() const { return objectFunction_; }
  void setObjectFunction(int objectFunction) { objectFunction_ = objectFunction; }
  int getNodeStatus() const { return nodeStatus_; }
  void setNodeStatus(int nodeStatus) { nodeStatus_ = nodeStatus; }
  int getPortStatus() const { return portStatus_; }
  void setPortStatus(int portStatus) { portStatus_ = portStatus; }
  int getPortType() const { return portType_; }
  void setPortType(int portType) { portType_ = portType; }
  bool isOurProduct() const { return isOurProduct_; }
  void setIsOurProduct(bool value) { isOurProduct_ = value; }
  bool isExProduct() const { return isExProduct_; }
  void setIsExProduct(bool value) { isExProduct_ = value; }
  const CString& getVLANName() const { return VLANName_; }
  void setVLANName(const CString& VLANName) { VLANName_ = VLANName; }
  int getIfIndex() const { return ifIndex_; }
  void setIfIndex(int ifIndex) { ifIndex_ = ifIndex; }
  const CString& getSysObjectID() const { return sysObjectID_; }
  void setSysObjectID(const CString& sysObjectID) { sysObjectID_ = sysObjectID; }
  const CString& getReadCommunityName() const { return readCommunityName_; }
  void setReadCommunityName(const CString& name) { readCommunityName_ = name; }
  const CString& getWriteCommunityName() const { return writeCommunityName_; }
  void setWriteCommunityName(const CString& name) { writeCommunityName_ = name; }
  const CString& getSysName() const { return sysName_; }
  void setSysName(const CString& sysName) { sysName_ = sysName; }
  const CString& getSysContact() const { return sysContact_; }
  void setSysContact(const CString& sysContact) { sysContact_ = sysContact; }
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
  int getNumber() const { return number_; }
  void setNumber(int number) { number_ = number; }
  bool isTrapped() const { return isTrapped_; }
  void setIsTrapped(bool value) { isTrapped_ = value; }
  SNMP_VERSION getSnmpVersion() const { return snmpVersion_; }
  void setSnmpVersion(SNMP_VERSION version) { snmpVersion_ = version; }
  int getSnmpPort() const { return snmpPort_; }
  void setSnmpPort(int port) { snmpPort_ = port; }

  // Address lists, as in NetworkObjectBase: add appends unless an equal text
  // is listed, remove erases the first equal text.
  const std::vector<CString>& getIpAddresses() const { return ipAddresses_; }
  void addIpAddress(const CString& address);
  void removeIpAddress(const CString& address);
  void clearIpAddresses() { ipAddresses_.clear(); }
  const std::vector<CString>& getIpv6Addresses() const { return ipv6Addresses_; }
  void addIpv6Address(const CString& address);
  void removeIpv6Address(const CString& address);
  void clearIpv6Addresses() { ipv6Addresses_.clear(); }

 private:
  CString name_;
  CString description_;
  CString displayName_;
  CString DNSName_;
  CString macAddress_;
  CString subnetMask_;
  int objectType_ = 0;
  int objectFunction_ = 0;
  int nodeStatus_ = 0;
  int portStatus_ = 0;
  int portType_ = 0;
  bool isOurProduct_ = false;
  bool isExProduct_ = false;
  CString VLANName_;
  int ifIndex_ = 0;
  CString sysObjectID_;
  CString readCommunityName_;
  CString writeCommunityName_;
  CString sysName_;
  CString sysContact_;
  bool hasTelnet_ = false;
  bool hasHTTP_ = false;
  bool hasTFTP_ = false;
  bool hasStack_ = false;
  bool hasVlan_ = false;
  int pollingInterval_ = 0;
  bool isPollingPort_ = false;
  int deleteInterval_ = 0;
  int number_ = 0;
  bool isTrapped_ = false;
  SNMP_VERSION snmpVersion_ = SNMP_VERSION_NOT_SET;
  std::vector<CString> ipv6Addresses_;
  std::vector<CString> ipAddresses_;
  int snmpPort_ = 0;
};

#endif  // OMLIB_MODEL_SERIALIZABLENETOBJ_H_
