// WbemMibNode: a node of the loaded MIB tree that reads and writes itself as
// an instance of the WMI class "MibNode". A trap node travels as getAccess()
// and getSyntax() give it, so its trap number and enterprise do not travel.
#ifndef OMLIB_WBEM_WBEMMIBNODE_H_
#define OMLIB_WBEM_WBEMMIBNODE_H_

#include "monitor/mibnode.h"
#include "wbem/WbemClient.h"

// Copies share the services pointer without a reference of their own.
class WbemMibNode : public CMibNode, public WbemClient {
 public:
  explicit WbemMibNode(IWbemServices* services) : WbemClient(services) {}
  WbemMibNode(const CMibNode& node, IWbemServices const* services);

  CMibNode& getObject() { return *this; }
  const CMibNode& getObject() const { return *this; }
  void setObject(const CMibNode& node) { CMibNode::operator=(node); }

  tstring getClassName() const override { return "MibNode"; }
  // Writes this node as an instance.
  bool put();
  bool get() { return true; }
  // The 14 properties in the class's order, from and to this node or
  // another one.
  bool putToInstance(IWbemClassObject* instance) override { return putToInstance(instance, *this); }
  bool getFromInstance(IWbemClassObject* instance) override { return getFromInstance(instance, *this); }
  static bool putToInstance(IWbemClassObject* instance, const CMibNode& node);
  static bool getFromInstance(IWbemClassObject* instance, CMibNode& node);

 protected:
  IWbemClassObject* spawnInstance(IWbemClassObject* cls) { return spawnClass(cls); }
};

#endif  // OMLIB_WBEM_WBEMMIBNODE_H_
