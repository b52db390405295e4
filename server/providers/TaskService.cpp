#include "server/providers/TaskService.h"

#include <vector>

#include "server/tasks/TaskSampler.h"
#include "wbem/WbemTaskManager.h"

namespace {

// "GetAllTaskObjects", which the server answers itself.
class GetAllTaskObjects : public WbemTaskManager {
 public:
  OM_WBEM_METHOD(GetAllTaskObjects, WbemTaskManager, "GetAllTaskObjects")
};

std::string nameOf(const CString& name) { return name.GetString(); }

}  // namespace

void TaskService::log(log_def::tagLOGSUBTYPE subType, const std::string& name, const std::string& message) {
  server_->writeLog(log_def::LOGTYPE_INFORMATION, subType, log_def::TARGETTYPE_TASK, name, message);
}

TaskService::Result TaskService::add(const CTaskObject& task) {
  if (task.getName().empty()) return kNoName;
  if (!server_->tasks->add(task)) return kTaskExists;
  log(log_def::LOGSUBTYPE_ADD, task.getName(), "Task added.");
  return kDone;
}

TaskService::Result TaskService::replace(const CTaskObject& task) {
  if (!server_->tasks->update(task.getName(), [&](CTaskObject& stored) { stored = task; })) return kNoSuchTask;
  log(log_def::LOGSUBTYPE_CHANGE, task.getName(), "Task changed.");
  return kDone;
}

TaskService::Result TaskService::setDisplayName(const std::string& name, const std::string& displayName) {
  if (!server_->tasks->update(name, [&](CTaskObject& task) { task.setDisplayName(displayName); })) {
    return kNoSuchTask;
  }
  log(log_def::LOGSUBTYPE_CHANGE, name, "Display name changed.");
  return kDone;
}

TaskService::Result TaskService::start(const std::string& name, bool restart) {
  const CTime now = CTime::GetCurrentTime();
  const bool found = server_->tasks->update(name, [&](CTaskObject& task) {
    task.setTaskStatus(CTaskObject::TASKSTATUS_RUNNING);
    if (restart || task.getStartTime() == CTime()) task.setStartTime(now);
    if (restart) {
      task.setPollingCount(0);
      task.setWrapFlag(0);
      task.setLastSampleValues({});
    }
  });
  if (!found) return kNoSuchTask;
  if (server_->taskSampler) server_->taskSampler->wake();
  log(log_def::LOGSUBTYPE_START, name, restart ? "Task restarted." : "Task started.");
  return kDone;
}

TaskService::Result TaskService::stop(const std::string& name) {
  if (!server_->tasks->update(name, [](CTaskObject& task) { task.setTaskStatus(CTaskObject::TASKSTATUS_STOPPED); })) {
    return kNoSuchTask;
  }
  log(log_def::LOGSUBTYPE_END, name, "Task stopped.");
  return kDone;
}

TaskService::Result TaskService::remove(const std::string& name) {
  if (!server_->tasks->remove(name)) return kNoSuchTask;
  server_->taskRecords->removeTask(name);
  log(log_def::LOGSUBTYPE_DELETE, name, "Task deleted.");
  return kDone;
}

template <class Action>
int TaskService::forAll(Action action) {
  for (const CTaskObject& task : server_->tasks->list()) action(task.getName());
  return kDone;
}

HRESULT TaskService::GetObjectAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  WbemTaskObject task(services_);
  if (!server_->tasks->find(name, task.getObject())) return finish(sink, WBEM_E_NOT_FOUND);
  return finish(sink, indicateInstance(services_, task, sink));
}

HRESULT TaskService::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext*, IWbemObjectSink* sink) {
  WbemTaskObject task(services_);
  if (!task.getFromInstance(instance) || task.getName().empty()) return finish(sink, WBEM_E_INVALID_PARAMETER);
  if (replace(task) == kNoSuchTask) add(task);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT TaskService::DeleteInstanceAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  std::string name;
  if (!keyOfPath(path, name)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  return finish(sink, remove(name) == kDone ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND);
}

HRESULT TaskService::CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink* sink) {
  InstanceBatch batch(services_, "TaskObject", sink);
  HRESULT hr = WBEM_S_NO_ERROR;
  for (const CTaskObject& each : server_->tasks->list()) {
    WbemTaskObject task(each, services_);
    hr = batch.add(task);
    if (FAILED(hr)) break;
  }
  return batch.finish(hr);
}

HRESULT TaskService::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx, IWbemClassObject* in,
                                     IWbemObjectSink* sink) {
  const std::u16string name = method == nullptr ? std::u16string() : std::u16string(method);
  // The one-task methods: "TaskName" in, "ReturnValue" out.
  const auto oneTask = [&]<class Method>(auto action) {
    return serve<Method>(ctx, in, sink, [&](Method& m) {
      CString task;
      const HRESULT hr = m.getInParamTaskName(task);
      return FAILED(hr) ? hr : m.indicate(action(nameOf(task)));
    });
  };
  // The all-task methods: nothing in, "ReturnValue" out.
  const auto allTasks = [&]<class Method>(auto action) {
    return serve<Method>(ctx, in, sink, [&](Method& m) { return m.indicate(forAll(action)); });
  };
  const auto startOne = [this](const std::string& n) { return start(n, false); };
  const auto restartOne = [this](const std::string& n) { return start(n, true); };
  const auto stopOne = [this](const std::string& n) { return stop(n); };
  const auto removeOne = [this](const std::string& n) { return remove(n); };
  if (name == u"StartTask") return oneTask.template operator()<CStartTask>(startOne);
  if (name == u"RestartTask") return oneTask.template operator()<CRestartTask>(restartOne);
  if (name == u"StopTask") return oneTask.template operator()<CStopTask>(stopOne);
  if (name == u"DeleteTask") return oneTask.template operator()<CDeleteTask>(removeOne);
  if (name == u"StartAllTasks") return allTasks.template operator()<CStartAllTasks>(startOne);
  if (name == u"RestartAllTasks") return allTasks.template operator()<CRestartAllTasks>(restartOne);
  if (name == u"StopAllTasks") return allTasks.template operator()<CStopAllTasks>(stopOne);
  if (name == u"DeleteAllTasks") return allTasks.template operator()<CDeleteAllTasks>(removeOne);
  if (name == u"AddTask" || name == u"SetTaskObject") {
    const bool adding = name == u"AddTask";
    const auto work = [&](WbemTaskManager& m) {
      const HRESULT hr = m.getInParamTaskObject();
      return FAILED(hr) ? hr : m.indicate(adding ? add(m.getObject()) : replace(m.getObject()));
    };
    return adding ? serve<CAddTask>(ctx, in, sink, work) : serve<CSetTaskObject>(ctx, in, sink, work);
  }
  if (name == u"SetDisplayName") {
    return serve<CSetDisplayName>(ctx, in, sink, [&](CSetDisplayName& m) {
      CString task, displayName;
      const HRESULT hr = m.getInParams(task, displayName);
      return FAILED(hr) ? hr : m.indicate(setDisplayName(nameOf(task), nameOf(displayName)));
    });
  }
  if (name == u"GetTaskObject") {
    return serve<CGetTaskObject>(ctx, in, sink, [&](CGetTaskObject& m) {
      CString task;
      HRESULT hr = m.getInParamTaskName(task);
      CTaskObject found;
      if (SUCCEEDED(hr) && !server_->tasks->find(nameOf(task), found)) hr = WBEM_E_NOT_FOUND;
      return FAILED(hr) ? hr : m.indicate(found);
    });
  }
  if (name == u"GetAllTaskObjects") {
    return serve<GetAllTaskObjects>(ctx, in, sink,
                                    [&](GetAllTaskObjects& m) { return m.indicateTasks(server_->tasks->list()); });
  }
  return finish(sink, WBEM_E_INVALID_METHOD);
}
