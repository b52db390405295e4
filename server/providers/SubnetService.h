// SubnetService: the provider of the class "Subnet" over a NetworkServer. A
// subnet lives in the subnet store and, as an object of type subnet, under
// the physical root of the tree; the provider keeps the two together. It
// serves reading, writing, deleting and listing instances and the five
// methods: "GoDiscover" starts a sweep (true once it has started),
// "GetAllDevices" lists the objects under the subnet.
#ifndef OM_SERVER_PROVIDERS_SUBNETSERVICE_H_
#define OM_SERVER_PROVIDERS_SUBNETSERVICE_H_

#include "server/providers/ServerProvider.h"

class SubnetService : public ServerProvider {
 public:
  using ServerProvider::ServerProvider;

  // Path Subnet.SubnetName="name".
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  // A new name adds the subnet under the physical root; a known one
  // replaces its record. WBEM_E_INVALID_PARAMETER for an empty name or a
  // name that another kind of object has.
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

 private:
  bool addOrReplace(const SubnetBase& subnet);
  bool remove(const std::string& name);
  // Whether a subnet of that name is stored: with `mutex` held by the
  // caller, or taking it.
  bool known(const std::string& name);
  bool exists(const std::string& name);
};

#endif  // OM_SERVER_PROVIDERS_SUBNETSERVICE_H_
