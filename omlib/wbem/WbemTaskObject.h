// The polling task as the WMI class "TaskObject": the wrapper
// (WbemTaskObject) and the console's calls (WbemTaskObjectClient). The server
// side is in WbemTaskManager.h.
//
// The family is older in style: task names are MFC strings, results are the
// sint32 "ReturnValue" (0 for success), and whole tasks travel as embedded
// "TaskObject" instances. A property of the wrong type leaves its field as it
// was, texts included; "StartTime" of the wrong type gives the null time.
#ifndef OMLIB_WBEM_WBEMTASKOBJECT_H_
#define OMLIB_WBEM_WBEMTASKOBJECT_H_

#include <string>
#include <vector>

#include <afx.h>

#include "monitor/TaskObject.h"
#include "wbem/WbemClient.h"

// A task that reads and writes itself as an instance of "TaskObject". Copies
// share the services pointer without a reference of their own.
class WbemTaskObject : public CTaskObject, public WbemClient {
 public:
  explicit WbemTaskObject(IWbemServices* services) : WbemClient(services) {}
  WbemTaskObject(const CTaskObject& task, IWbemServices const* services);

  CTaskObject& getObject() { return *this; }
  const CTaskObject& getObject() const { return *this; }
  void setObject(const CTaskObject& task) { CTaskObject::operator=(task); }

  tstring getClassName() const override { return "TaskObject"; }
  // Writes this task as an instance.
  bool put();
  bool get() { return true; }
  // The 22 properties in the class's order; "StartTime" as a datetime with
  // the fixed offset +540.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;

 protected:
  IWbemClassObject* spawnInstance(IWbemClassObject* cls) { return spawnClass(cls); }
};

// The calls of the console. Without a sink a call waits for the server's
// answer; with one it returns true once the method has started and the
// answer goes to the sink. The forms without a task name use this task's.
class WbemTaskObjectClient : public WbemTaskObject {
 public:
  using WbemTaskObject::WbemTaskObject;

  // Sends this task (or `task`, copied in first) as "AddTask" /
  // "SetTaskObject"; true when the server answers 0.
  bool addTask2(IWbemObjectSink* sink);
  bool addTask2(const CTaskObject& task, IWbemObjectSink* sink);
  bool addTask() { return addTask2(nullptr); }
  bool addTask(const CTaskObject& task) { return addTask2(task, nullptr); }
  bool setTaskObject(IWbemObjectSink* sink = nullptr);
  bool setTaskObject(const CTaskObject& task, IWbemObjectSink* sink = nullptr);

  // Changes a task's display name; true when "ReturnValue" could be read,
  // whatever it says.
  using CTaskObject::setDisplayName;
  bool setDisplayName(const CString& taskName, const std::string& displayName, IWbemObjectSink* sink = nullptr);
  bool setDisplayName(const std::string& displayName, IWbemObjectSink* sink);

  // Reads the instance at `path` into this task (and copies it to `out`).
  bool getTaskObject(const CString& path);
  bool getTaskObject(const CString& path, CTaskObject& out);
  // Deletes the instance at `path`, or this task's instance.
  bool deleteTask(const CString& path);
  bool deleteTask();
  // Appends every task, enumerated as instances.
  bool getAllTaskObjects(std::vector<CTaskObject>& tasks);
  // Appends every task, listed by the method "GetAllTaskObjects"; the first
  // argument is not used.
  bool getChildren(const tstring& unused, std::vector<CTaskObject>& tasks);

  // Fire-and-forget: these return true whatever the server answers (the
  // error code still tells a failed call). Pass a sink to learn the result.
  bool stopTask(const CString& taskName, IWbemObjectSink* sink = nullptr);
  bool stopTask(IWbemObjectSink* sink = nullptr) { return stopTask(getName().c_str(), sink); }
  bool startTask(const CString& taskName, IWbemObjectSink* sink = nullptr);
  bool startTask(IWbemObjectSink* sink = nullptr) { return startTask(getName().c_str(), sink); }
  bool restartTask(const CString& taskName, IWbemObjectSink* sink = nullptr);
  bool restartTask(IWbemObjectSink* sink = nullptr) { return restartTask(getName().c_str(), sink); }
  bool deleteTask2(const CString& taskName, IWbemObjectSink* sink = nullptr);
  bool deleteTask2(IWbemObjectSink* sink = nullptr) { return deleteTask2(getName().c_str(), sink); }
  bool stopAllTasks(IWbemObjectSink* sink = nullptr);
  bool startAllTasks(IWbemObjectSink* sink = nullptr);
  bool restartAllTasks(IWbemObjectSink* sink = nullptr);
  bool deleteAllTasks(IWbemObjectSink* sink = nullptr);

 private:
  // Runs a method with this task embedded as "TaskObject".
  bool sendTask(const char* method, IWbemObjectSink* sink);
  // Run a one-task method with "TaskName" / an all-task method; both read
  // "ReturnValue" when no sink is given and report 0 all the same.
  int doOneTask(const CString& taskName, IWbemObjectSink* sink, const char* methodName);
  int doAllTasks(IWbemObjectSink* sink, const char* methodName);
};

#endif  // OMLIB_WBEM_WBEMTASKOBJECT_H_
