// LogService: the provider of the class "LogObject" over the server's log.
// Records are keyed by "Identifier". A record written through it is a new
// log entry (identifier 0: the next one) or replaces the entry of its
// identifier; each new entry is announced as a "LogObjectEvent". The context
// value "QueryString", like the in-parameter of "NumberOf", is a condition on
// the properties of "LogObject" in WQL ("LogType = 3 AND Address LIKE
// '10.%'"), or a whole WQL query over that class; empty selects every record.
// Enumerations and queries give the records it selects, "NumberOf" counts
// them.
#ifndef OM_SERVER_PROVIDERS_LOGSERVICE_H_
#define OM_SERVER_PROVIDERS_LOGSERVICE_H_

#include <string>

#include "server/providers/ServerProvider.h"

class LogService : public ServerProvider {
 public:
  using ServerProvider::ServerProvider;

  // Path LogObject="<identifier>" or LogObject.Identifier=<identifier>.
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  // "NumberOf".
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

 private:
  // Adds to `batch` each record `queryString` selects; WBEM_E_INVALID_QUERY
  // for a query string that does not parse.
  HRESULT select(const std::string& queryString, InstanceBatch& batch);
};

#endif  // OM_SERVER_PROVIDERS_LOGSERVICE_H_
