#include "server/providers/LogService.h"

#include <wmi/WqlFilter.h>

#include "wbem/WbemLogObject.h"

namespace {

// The identifier of a path; false when it has none.
bool identifierOf(const BSTR path, DWORD& identifier) {
  int key = 0;
  if (!integerKeyOfPath(path, key)) return false;
  identifier = static_cast<DWORD>(key);
  return true;
}

}  // namespace

HRESULT LogService::select(const std::string& queryString, InstanceBatch& batch) {
  if (FAILED(batch.status())) return batch.status();
  om::wmi::WqlFilter filter;
  HRESULT hr = queryFilter(queryString, batch.getClass(), filter);
  WbemLogObject record(services_);
  server_->logs->scan([&](const CLogObject& each) {
    if (FAILED(hr)) return false;
    record.setObject(each);
    hr = batch.add(record, &filter);
    return true;
  });
  return hr;
}

HRESULT LogService::GetObjectAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  DWORD identifier = 0;
  if (!identifierOf(path, identifier)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  WbemLogObject record(services_);
  if (!server_->logs->find(identifier, record.getObject())) return finish(sink, WBEM_E_NOT_FOUND);
  return finish(sink, indicateInstance(services_, record, sink));
}

HRESULT LogService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext*, IWbemObjectSink* sink) {
  WbemLogObject record(services_);
  if (!record.getFromInstance(instance)) return finish(sink, WBEM_E_INVALID_PARAMETER);
  server_->writeLog(record);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT LogService::DeleteInstanceAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  DWORD identifier = 0;
  if (!identifierOf(path, identifier)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  return finish(sink, server_->logs->remove(identifier) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND);
}

HRESULT LogService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  InstanceBatch batch(services_, "LogObject", sink);
  return batch.finish(select(contextString(ctx, u"QueryString"), batch));
}

HRESULT LogService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx, IWbemClassObject* in,
                                    IWbemObjectSink* sink) {
  if (method == nullptr || std::u16string(method) != u"NumberOf") return finish(sink, WBEM_E_INVALID_METHOD);
  return serve<NumberOfMethod>(ctx, in, sink, [&](NumberOfMethod& m) {
    tstring queryString;
    HRESULT hr = m.getInParams(queryString);
    InstanceBatch counter(services_, "LogObject", nullptr);
    if (SUCCEEDED(hr)) hr = select(queryString, counter);
    return FAILED(hr) ? hr : m.indicate(static_cast<int>(counter.count()));
  });
}
