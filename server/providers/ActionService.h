// ActionService: the providers of the classes "ActionCommand" and
// "ActionFilter" over the action store. Both key their records by
// "Identifier" (paths Class="<identifier>" or Class.Identifier=<identifier>)
// and serve reading, writing, deleting and listing; identifier 0 is refused
// (WBEM_E_INVALID_PARAMETER). The classes have no methods.
#ifndef OM_SERVER_PROVIDERS_ACTIONSERVICE_H_
#define OM_SERVER_PROVIDERS_ACTIONSERVICE_H_

#include "server/providers/ServerProvider.h"

// `Kind` says which records: ActionCommandKind or ActionFilterKind.
template <class Kind>
class ActionService : public ServerProvider {
 public:
  using ServerProvider::ServerProvider;

  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
};

struct ActionCommandKind;
struct ActionFilterKind;
using ActionCommandService = ActionService<ActionCommandKind>;
using ActionFilterService = ActionService<ActionFilterKind>;

#endif  // OM_SERVER_PROVIDERS_ACTIONSERVICE_H_
