// OMNetworkService: the provider of the class "OrvaManagerNetwork" over a
// NetworkServer: its one instance, summarised from the tree, and the four
// methods, each through its provider method class.
#ifndef OM_SERVER_OMNETWORKSERVICE_H_
#define OM_SERVER_OMNETWORKSERVICE_H_

#include <omtools/tstring.h>

#include "server/providers/ServerProvider.h"

class COrvaManagerNetwork;

class OMNetworkService : public ServerProvider {
 public:
  using ServerProvider::ServerProvider;

  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  // Applies the two manager states of the instance; the counts are the
  // tree's and are not written.
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  // "SearchNetworkObject" matches every object but subnets and roots,
  // "SearchSubnet" the subnets; by substring of the name.
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

 private:
  // The network as the tree and the managers stand now.
  COrvaManagerNetwork summary();
  // Starts or stops the manager whose state is `state`.
  template <class Method>
  HRESULT switchManager(bool NetworkServer::*state, IWbemContext* ctx, IWbemClassObject* inParams,
                        IWbemObjectSink* sink);
  HRESULT search(const tstring& method, bool subnets, IWbemContext* ctx, IWbemClassObject* inParams,
                 IWbemObjectSink* sink);
};

#endif  // OM_SERVER_OMNETWORKSERVICE_H_
