// TaskRecordService: the provider of the class "TaskDataRecord" over the task
// record store. The context value "TaskName" names the task whose samples a
// call reads, writes or deletes (every task's when an enumeration has none);
// a sample is keyed by its "PollStartTime". "QueryString" is a condition on
// the properties of "TaskDataRecord", in WQL ("SysUpTime LIKE '1 day%'"), or
// a whole WQL query over that class; empty selects every sample. Enumerations
// and queries give the samples it selects, and "NumberOf" counts them.
#ifndef OM_SERVER_PROVIDERS_TASKRECORDSERVICE_H_
#define OM_SERVER_PROVIDERS_TASKRECORDSERVICE_H_

#include <string>

#include "server/providers/ServerProvider.h"

class CTaskDataRecord;

class TaskRecordService : public ServerProvider {
 public:
  using ServerProvider::ServerProvider;

  // Path TaskDataRecord.PollStartTime="<datetime>", with "TaskName".
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  // Stores a sample of the task "TaskName" (WBEM_E_INVALID_PARAMETER without
  // it, WBEM_E_NOT_FOUND for an unknown task).
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
  // Adds to `batch` each sample of `task` (of every task when empty) that
  // `queryString` selects; WBEM_E_INVALID_QUERY for a query string that does
  // not parse.
  HRESULT select(const std::string& task, const std::string& queryString, InstanceBatch& batch);
  // The sample of `task` named by an instance path.
  bool findRecord(const BSTR path, IWbemContext* ctx, CTaskDataRecord& out, std::string& task);
};

#endif  // OM_SERVER_PROVIDERS_TASKRECORDSERVICE_H_
