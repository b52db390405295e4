// SerializableNetObj: the persistent form of a network object
// (NetworkObjectBase) in MFC archives, registered as "SerializableNetObj",
// schema 3.
#ifndef OMLIB_MODEL_SERIALIZABLENETOBJ_H_
#define OMLIB_MODEL_SERIALIZABLENETOBJ_H_

#include <afx.h>

#include <vector>

#include "model/FieldWriter.h"
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

  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

  const CString& getName() const { return f_.name; }
  void setName(const CString& name) { f_.name = name; }
  const CString& getDescription() const { return f_.description; }
  void setDescription(const CString& description) { f_.description = description; }
  const CString& getDisplayName() const { return f_.displayName; }
  void setDisplayName(const CString& displayName) { f_.displayName = displayName; }
  const CString& getDNSName() const { return f_.DNSName; }
  void setDNSName(const CString& DNSName) { f_.DNSName = DNSName; }
  const CString& getMacAddress() const { return f_.macAddress; }
  void setMacAddress(const CString& macAddress) { f_.macAddress = macAddress; }
  const CString& getSubnetMask() const { return f_.subnetMask; }
  void setSubnetMask(const CString& subnetMask) { f_.subnetMask = subnetMask; }
  int getObjectType() const { return f_.objectType; }
  void setObjectType(int objectType) { f_.objectType = objectType; }
  int getObjectFunction() const { return f_.objectFunction; }
  void setObjectFunction(int objectFunction) { f_.objectFunction = objectFunction; }
  int getNodeStatus() const { return f_.nodeStatus; }
  void setNodeStatus(int nodeStatus) { f_.nodeStatus = nodeStatus; }
  int getPortStatus() const { return f_.portStatus; }
  void setPortStatus(int portStatus) { f_.portStatus = portStatus; }
  int getPortType() const { return f_.portType; }
  void setPortType(int portType) { f_.portType = portType; }
  bool isOurProduct() const { return f_.isOurProduct; }
  void setIsOurProduct(bool value) { f_.isOurProduct = value; }
  bool isExProduct() const { return f_.isExProduct; }
  void setIsExProduct(bool value) { f_.isExProduct = value; }
  const CString& getVLANName() const { return f_.VLANName; }
  void setVLANName(const CString& VLANName) { f_.VLANName = VLANName; }
  int getIfIndex() const { return f_.ifIndex; }
  void setIfIndex(int ifIndex) { f_.ifIndex = ifIndex; }
  const CString& getSysObjectID() const { return f_.sysObjectID; }
  void setSysObjectID(const CString& sysObjectID) { f_.sysObjectID = sysObjectID; }
  const CString& getReadCommunityName() const { return f_.readCommunityName; }
  void setReadCommunityName(const CString& name) { f_.readCommunityName = name; }
  const CString& getWriteCommunityName() const { return f_.writeCommunityName; }
  void setWriteCommunityName(const CString& name) { f_.writeCommunityName = name; }
  const CString& getSysName() const { return f_.sysName; }
  void setSysName(const CString& sysName) { f_.sysName = sysName; }
  const CString& getSysContact() const { return f_.sysContact; }
  void setSysContact(const CString& sysContact) { f_.sysContact = sysContact; }
  bool hasTelnet() const { return f_.hasTelnet; }
  void setHasTelnet(bool value) { f_.hasTelnet = value; }
  bool hasHTTP() const { return f_.hasHTTP; }
  void setHasHTTP(bool value) { f_.hasHTTP = value; }
  bool hasTFTP() const { return f_.hasTFTP; }
  void setHasTFTP(bool value) { f_.hasTFTP = value; }
  bool hasStack() const { return f_.hasStack; }
  void setHasStack(bool value) { f_.hasStack = value; }
  bool hasVlan() const { return f_.hasVlan; }
  void setHasVlan(bool value) { f_.hasVlan = value; }
  int getPollingInterval() const { return f_.pollingInterval; }
  void setPollingInterval(int interval) { f_.pollingInterval = interval; }
  bool isPollingPort() const { return f_.isPollingPort; }
  void setIsPollingPort(bool value) { f_.isPollingPort = value; }
  int getDeleteInterval() const { return f_.deleteInterval; }
  void setDeleteInterval(int interval) { f_.deleteInterval = interval; }
  int getNumber() const { return f_.number; }
  void setNumber(int number) { f_.number = number; }
  bool isTrapped() const { return f_.isTrapped; }
  void setIsTrapped(bool value) { f_.isTrapped = value; }
  SNMP_VERSION getSnmpVersion() const { return f_.snmpVersion; }
  void setSnmpVersion(SNMP_VERSION version) { f_.snmpVersion = version; }
  int getSnmpPort() const { return f_.snmpPort; }
  void setSnmpPort(int port) { f_.snmpPort = port; }

  // Address lists, as in NetworkObjectBase: add appends unless an equal text
  // is listed, remove erases the first equal text.
  const std::vector<CString>& getIpAddresses() const { return f_.ipAddresses; }
  void addIpAddress(const CString& address);
  void removeIpAddress(const CString& address);
  void clearIpAddresses() { f_.ipAddresses.clear(); }
  const std::vector<CString>& getIpv6Addresses() const { return f_.ipv6Addresses; }
  void addIpv6Address(const CString& address);
  void removeIpv6Address(const CString& address);
  void clearIpv6Addresses() { f_.ipv6Addresses.clear(); }

 private:
  // The values, in declared order; copied as a whole.
  struct Fields {
    CString name;
    CString description;
    CString displayName;
    CString DNSName;
    CString macAddress;
    CString subnetMask;
    int objectType = 0;
    int objectFunction = 0;
    int nodeStatus = 0;
    int portStatus = 0;
    int portType = 0;
    bool isOurProduct = false;
    bool isExProduct = false;
    CString VLANName;
    int ifIndex = 0;
    CString sysObjectID;
    CString readCommunityName;
    CString writeCommunityName;
    CString sysName;
    CString sysContact;
    bool hasTelnet = false;
    bool hasHTTP = false;
    bool hasTFTP = false;
    bool hasStack = false;
    bool hasVlan = false;
    int pollingInterval = 0;
    bool isPollingPort = false;
    int deleteInterval = 0;
    int number = 0;
    bool isTrapped = false;
    SNMP_VERSION snmpVersion = SNMP_VERSION_NOT_SET;
    std::vector<CString> ipv6Addresses;
    std::vector<CString> ipAddresses;
    int snmpPort = 0;
  };

  Fields f_;
};

#endif  // OMLIB_MODEL_SERIALIZABLENETOBJ_H_
