// WbemNetworkObject: a network object that is also a client of the WMI class
// "NetworkObject": it reads and writes its own NetworkObjectBase fields as
// the 34 properties of an instance.
#ifndef OMLIB_WBEM_WBEMNETWORKOBJECT_H_
#define OMLIB_WBEM_WBEMNETWORKOBJECT_H_

#include <string>

#include "model/NetworkObjectBase.h"
#include "wbem/WbemClient.h"

// Copies share the services pointer without a reference of their own.
class WbemNetworkObject : public NetworkObjectBase, public WbemClient {
 public:
  explicit WbemNetworkObject(IWbemServices* services);
  WbemNetworkObject(const NetworkObjectBase& object, IWbemServices const* services);
  WbemNetworkObject(const WbemNetworkObject& other) = default;
  WbemNetworkObject& operator=(const WbemNetworkObject& other) = default;
  ~WbemNetworkObject() override = default;

  NetworkObjectBase& getObject() { return *this; }
  const NetworkObjectBase& getObject() const { return *this; }
  void setObject(const NetworkObjectBase& object) { copyIn(object); }

  tstring getClassName() const override { return "NetworkObject"; }

  // Writes this object as an instance; the context value "SubnetName" tells
  // the provider which subnet a new object belongs to.
  bool put(const tstring& subnetName);
  bool put() { return put(tstring()); }
  // Reads the instance at the object path `path` into this object; the
  // context value "Silent" asks the provider not to log a miss.
  bool get(const tstring& path, bool silent);
  bool get() { return true; }

  // The 34 properties, in the class's order. Numbers and booleans of another
  // type leave the field as it was; the range-checked fields store 0 for a
  // value outside their range; a string of another type reads as empty. The
  // address lists are emptied, then each element is appended as the adders
  // do (a text listed twice is kept once; texts are not checked).
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;
};

#endif  // OMLIB_WBEM_WBEMNETWORKOBJECT_H_
