// The subnet as the WMI class "Subnet": the wrapper (WbemSubnet), the
// console's calls (WbemSubnetClient) and the server side
// (WbemSubnetProvider and one class per method).
//
// Reading back stores every sint32 as it comes: the model gives the counters,
// the status and the discovery settings no ranges to keep. The community
// names are read as a list without duplicates, as the model keeps them.
#ifndef OMLIB_WBEM_WBEMSUBNET_H_
#define OMLIB_WBEM_WBEMSUBNET_H_

#include <string>
#include <vector>

#include "model/NetworkObjectBase.h"
#include "model/SerializableNetObj.h"
#include "model/subnet.h"
#include "wbem/WbemClient.h"
#include "wbem/WbemProvider.h"

// A subnet that reads and writes itself as an instance of "Subnet". Copies
// share the services pointer without a reference of their own.
class WbemSubnet : public SubnetBase, public WbemClient {
 public:
  explicit WbemSubnet(IWbemServices* services) : WbemClient(services) {}
  WbemSubnet(const SubnetBase& subnet, IWbemServices const* services);

  SubnetBase& getSubnet() { return *this; }
  const SubnetBase& getSubnet() const { return *this; }
  void setSubnet(const SubnetBase& subnet) { SubnetBase::operator=(subnet); }

  tstring getClassName() const override { return "Subnet"; }
  // Writes this subnet as an instance.
  bool put();
  bool get() { return true; }
  // The 12 properties in the class's order.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;
};

// The calls of the console. Each puts its in-parameters and runs the method;
// without a sink it reads the result, with one it returns true once started.
// The forms without a subnet name use this subnet's name.
class WbemSubnetClient : public WbemSubnet {
 public:
  using WbemSubnet::WbemSubnet;

  using WbemSubnet::getSubnet;
  // Reads the instance at `path` into this object (and copies it to `out`).
  bool getSubnet(const tstring& path);
  bool getSubnet(const tstring& path, SubnetBase& out);
  // Appends every subnet of the server.
  bool enumSubnets(std::vector<SubnetBase>& subnets);

  bool goDiscover(const tstring& subnetName, IWbemObjectSink* sink = nullptr);
  bool goDiscover(IWbemObjectSink* sink = nullptr) { return goDiscover(getName(), sink); }
  bool deleteSubnet(const tstring& subnetName, IWbemObjectSink* sink = nullptr);
  bool deleteSubnet(IWbemObjectSink* sink = nullptr) { return deleteSubnet(getName(), sink); }
  bool renameSubnet(const tstring& oldName, const tstring& newName, IWbemObjectSink* sink = nullptr);
  bool renameSubnet(const tstring& newName, IWbemObjectSink* sink = nullptr) {
    return renameSubnet(getName(), newName, sink);
  }
  bool isExistSubnet(const tstring& subnetName, IWbemObjectSink* sink = nullptr);
  bool isExistSubnet(IWbemObjectSink* sink = nullptr) { return isExistSubnet(getName(), sink); }
  // The devices of the subnet, appended to `devices` (a failed read keeps
  // those read before it); with a sink they go to the sink instead.
  bool getAllDevices(const tstring& subnetName, std::vector<NetworkObjectBase>& devices,
                     IWbemObjectSink* sink = nullptr);
  bool getAllDevices(std::vector<NetworkObjectBase>& devices, IWbemObjectSink* sink = nullptr) {
    return getAllDevices(getName(), devices, sink);
  }
};

// A subnet on the provider side; caches the class definition and the
// out-signature of its method on the first execInit.
class WbemSubnetProvider : public WbemProviderOf<WbemSubnet> {
 public:
  using WbemProviderOf::WbemProviderOf;
  explicit WbemSubnetProvider(IWbemServices* services) : WbemProviderOf(services, nullptr, nullptr) {}
};

class GoDiscoverProvider : public WbemSubnetProvider {
 public:
  OM_WBEM_METHOD(GoDiscoverProvider, WbemSubnetProvider, "GoDiscover")
  HRESULT getInParams(tstring& subnetName) { return getParamString("SubnetName", subnetName); }
};

class DeleteProvider : public WbemSubnetProvider {
 public:
  OM_WBEM_METHOD(DeleteProvider, WbemSubnetProvider, "Delete")
  HRESULT getInParams(tstring& subnetName) { return getParamString("SubnetName", subnetName); }
};

class RenameProvider : public WbemSubnetProvider {
 public:
  OM_WBEM_METHOD(RenameProvider, WbemSubnetProvider, "Rename")
  // "OldName", then "NewName"; stops at the first failure.
  HRESULT getInParams(tstring& oldName, tstring& newName);
};

class IsExistSubnet : public WbemSubnetProvider {
 public:
  OM_WBEM_METHOD(IsExistSubnet, WbemSubnetProvider, "isExist")
  HRESULT getInParams(tstring& subnetName) { return getParamString("SubnetName", subnetName); }
};

class GetAllDevices : public WbemSubnetProvider {
 public:
  OM_WBEM_METHOD(GetAllDevices, WbemSubnetProvider, "GetAllDevices")
  HRESULT getInParams(tstring& subnetName) { return getParamString("SubnetName", subnetName); }
  // Delivers the devices as embedded "NetworkObject" instances in "Objects",
  // in order. The devices stay the caller's.
  HRESULT indicate(std::vector<SerializableNetObj*>& devices);
};

#endif  // OMLIB_WBEM_WBEMSUBNET_H_
