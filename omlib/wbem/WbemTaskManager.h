// The server side of "TaskObject": WbemTaskManager, the base of the task
// methods, and one class per method. Each method class serves its method
// with the pattern of WbemManager. "GetAllTaskObjects" has no class here:
// the server answers it itself.
#ifndef OMLIB_WBEM_WBEMTASKMANAGER_H_
#define OMLIB_WBEM_WBEMTASKMANAGER_H_

#include <vector>

#include <afx.h>

#include "wbem/WbemManager.h"
#include "wbem/WbemTaskObject.h"

// A task on the provider side, with the call's services, in-parameters and
// sink (not owned) and the out-parameter instance it makes (held until
// clear()).
class WbemTaskManager : public WbemManager<WbemTaskObject> {
 public:
  using WbemManager::WbemManager;

  // "TaskName" (a string).
  HRESULT getInParamTaskName(CString& taskName) { return getInParamStrValue("TaskName", taskName); }
  // Loads the embedded "TaskObject" in-parameter into this task.
  HRESULT getInParamTaskObject() { return getInParamObject("TaskObject"); }
  // Puts the tasks as the array of embedded "TaskObject" instances
  // "taskObjects" into the out-parameter instance and delivers it; each
  // task passes through this object on its way.
  HRESULT indicateTasks(const std::vector<CTaskObject>& tasks);
};

#define OM_TASK_METHOD(Class, method) OM_WBEM_METHOD(Class, WbemTaskManager, method)

class CAddTask : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CAddTask, "AddTask")
};

class CSetDisplayName : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CSetDisplayName, "SetDisplayName")
  // "TaskName", then "DisplayName"; stops at the first failure.
  HRESULT getInParams(CString& taskName, CString& displayName);
};

class CGetTaskObject : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CGetTaskObject, "GetTaskObject")
  using WbemTaskManager::indicate;
  // Delivers "taskObjects": an array holding `task` as one embedded
  // "TaskObject" instance.
  HRESULT indicate(CTaskObject& task);
};

class CSetTaskObject : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CSetTaskObject, "SetTaskObject")
};

class CStopTask : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CStopTask, "StopTask")
};

class CStopAllTasks : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CStopAllTasks, "StopAllTasks")
};

class CStartTask : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CStartTask, "StartTask")
};

class CStartAllTasks : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CStartAllTasks, "StartAllTasks")
};

class CRestartTask : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CRestartTask, "RestartTask")
};

class CRestartAllTasks : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CRestartAllTasks, "RestartAllTasks")
};

class CDeleteTask : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CDeleteTask, "DeleteTask")
};

class CDeleteAllTasks : public WbemTaskManager {
 public:
  OM_TASK_METHOD(CDeleteAllTasks, "DeleteAllTasks")
};

#undef OM_TASK_METHOD

#endif  // OMLIB_WBEM_WBEMTASKMANAGER_H_
