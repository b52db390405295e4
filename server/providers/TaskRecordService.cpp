#include "server/providers/TaskRecordService.h"

#include <vector>

#include <wmi/WqlFilter.h>

#include "wbem/WbemTaskDataRecord.h"

HRESULT TaskRecordService::select(const std::string& task, const std::string& queryString, InstanceBatch& batch) {
  if (FAILED(batch.status())) return batch.status();
  om::wmi::WqlFilter filter;
  HRESULT hr = queryFilter(queryString, batch.getClass(), filter);
  std::vector<std::string> tasks{task};
  if (task.empty()) {
    tasks.clear();
    for (const CTaskObject& each : server_->tasks->list()) tasks.push_back(each.getName());
  }
  for (const std::string& name : tasks) {
    for (const CTaskDataRecord& record : server_->taskRecords->list(name)) {
      if (FAILED(hr)) return hr;
      WbemTaskDataRecord sample(record, services_);
      hr = batch.add(sample, &filter);
    }
  }
  return hr;
}

bool TaskRecordService::findRecord(const BSTR path, IWbemContext* ctx, CTaskDataRecord& out, std::string& task) {
  std::string key;
  task = contextString(ctx, u"TaskName");
  if (task.empty() || !keyOfPath(path, key)) return false;
  return server_->taskRecords->find(task, WbemClient::CTimeFromComVar(CComVariant(key.c_str())), out);
}

HRESULT TaskRecordService::GetObjectAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  WbemTaskDataRecord record(services_);
  std::string task;
  if (!findRecord(path, ctx, record.getObject(), task)) return finish(sink, WBEM_E_NOT_FOUND);
  return finish(sink, indicateInstance(services_, record, sink));
}

HRESULT TaskRecordService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext* ctx,
                                            IWbemObjectSink* sink) {
  const std::string task = contextString(ctx, u"TaskName");
  WbemTaskDataRecord record(services_);
  if (task.empty() || !record.getFromInstance(instance)) return finish(sink, WBEM_E_INVALID_PARAMETER);
  CTaskObject known;
  if (!server_->tasks->find(task, known)) return finish(sink, WBEM_E_NOT_FOUND);
  server_->taskRecords->put(task, record);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT TaskRecordService::DeleteInstanceAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  CTaskDataRecord record;
  std::string task;
  if (!findRecord(path, ctx, record, task)) return finish(sink, WBEM_E_NOT_FOUND);
  server_->taskRecords->remove(task, record.getPollStartTime());
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT TaskRecordService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  InstanceBatch batch(services_, "TaskDataRecord", sink);
  return batch.finish(select(contextString(ctx, u"TaskName"), contextString(ctx, u"QueryString"), batch));
}

HRESULT TaskRecordService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx,
                                           IWbemClassObject* in, IWbemObjectSink* sink) {
  if (method == nullptr || std::u16string(method) != u"NumberOf") return finish(sink, WBEM_E_INVALID_METHOD);
  return serve<CGetTaskRecordCount>(ctx, in, sink, [&](CGetTaskRecordCount& m) {
    CString task, queryString;
    HRESULT hr = m.getInParams(task, queryString);
    InstanceBatch counter(services_, "TaskDataRecord", nullptr);
    if (SUCCEEDED(hr)) hr = select(task.GetString(), queryString.GetString(), counter);
    return FAILED(hr) ? hr : m.indicate(static_cast<int>(counter.count()));
  });
}
