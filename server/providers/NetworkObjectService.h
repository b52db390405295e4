// NetworkObjectService: the provider of the class "NetworkObject" over a
// NetworkServer. It serves reading, writing, deleting and listing instances
// and the eleven methods, each through its provider method class.
#ifndef OM_SERVER_NETWORKOBJECTSERVICE_H_
#define OM_SERVER_NETWORKOBJECTSERVICE_H_

#include "server/providers/ServerProvider.h"

class NetworkObjectService : public ServerProvider {
 public:
  using ServerProvider::ServerProvider;

  // Path NetworkObject.ObjectName="name"; the context value "Silent" keeps a
  // miss out of the server's log.
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  // A known name updates the object; a new one is added to the subnet named
  // by the context value "SubnetName".
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

 private:
  HRESULT execMethod(const std::u16string& method, IWbemContext* ctx, IWbemClassObject* inParams,
                     IWbemObjectSink* sink);
};

#endif  // OM_SERVER_NETWORKOBJECTSERVICE_H_
