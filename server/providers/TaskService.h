// TaskService: the provider of the class "TaskObject" over the task store.
// Tasks are keyed by "TaskName". Every task method changes the task in the
// store and writes a log record of the change. "ReturnValue" of the task
// methods:
//   0  done;
//   1  no task of that name (kNoSuchTask);
//   2  a task of that name exists already (kTaskExists, "AddTask");
//   3  the task has no name (kNoName, "AddTask").
// Starting sets a task running (with the start time now, unless it has one);
// restarting also starts its count of samples again; stopping stops it;
// deleting removes it with its samples. The all-task methods do the same to
// every task and answer 0. "GetAllTaskObjects" is served here: the library
// has no method class for it.
#ifndef OM_SERVER_PROVIDERS_TASKSERVICE_H_
#define OM_SERVER_PROVIDERS_TASKSERVICE_H_

#include <string>

#include "server/providers/ServerProvider.h"

class CTaskObject;

class TaskService : public ServerProvider {
 public:
  enum Result : int { kDone = 0, kNoSuchTask = 1, kTaskExists = 2, kNoName = 3 };

  using ServerProvider::ServerProvider;

  // Path TaskObject.TaskName="name".
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  // Adds a task or replaces the one of the same name.
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

 private:
  Result add(const CTaskObject& task);
  Result replace(const CTaskObject& task);
  Result setDisplayName(const std::string& name, const std::string& displayName);
  Result start(const std::string& name, bool restart);
  Result stop(const std::string& name);
  Result remove(const std::string& name);
  // Runs `action` on every task; 0.
  template <class Action>
  int forAll(Action action);
  void log(log_def::tagLOGSUBTYPE subType, const std::string& name, const std::string& message);
};

#endif  // OM_SERVER_PROVIDERS_TASKSERVICE_H_
