#include "wbem/WbemTaskObject.h"

#include "wbem/WbemProperties.h"

namespace {

using Task = CTaskObject;

// The 22 properties of "TaskObject", in the class's order.
constexpr om::WbemProperty<Task> kProperties[] = {
    om::property<&Task::getName, &Task::setName>(u"TaskName"),
    om::property<&Task::getDisplayName, &Task::setDisplayName>(u"DisplayName"),
    om::property<&Task::getUserText, &Task::setUserText>(u"UserText"),
    om::property<&Task::getDNSName, &Task::setDNSName>(u"DNSName"),
    om::property<&Task::getIpAddress, &Task::setIpAddress>(u"IpAddress"),
    om::property<&Task::getReadCommunityName, &Task::setReadCommunityName>(u"ReadCommunityName"),
    om::property<&Task::getWriteCommunityName, &Task::setWriteCommunityName>(u"WriteCommunityName"),
    om::property<&Task::getMibVariables, &Task::setMibVariables>(u"MibVariables"),
    om::property<&Task::getTaskType, &Task::setTaskType>(u"TaskType"),
    om::property<&Task::getTaskStatus, &Task::setTaskStatus>(u"TaskStatus"),
    om::property<&Task::getRmonFlag, &Task::setRmonFlag>(u"RmonFlag"),
    om::property<&Task::getStartTime, &Task::setStartTime>(u"StartTime"),
    om::property<&Task::getSamplesRequested, &Task::setSamplesRequested>(u"SamplesRequested"),
    om::property<&Task::getPollingInterval, &Task::setPollingInterval>(u"PollingInterval"),
    om::property<&Task::getAlarmType, &Task::setAlarmType>(u"AlarmType"),
    om::property<&Task::getRisingThreshold, &Task::setRisingThreshold>(u"RisingThreshold"),
    om::property<&Task::getFallingThreshold, &Task::setFallingThreshold>(u"FallingThreshold"),
    om::property<&Task::getSampleType, &Task::setSampleType>(u"SampleType"),
    om::property<&Task::getLastSampleValues, &Task::setLastSampleValues>(u"LastSampleValues"),
    om::property<&Task::getPollingCount, &Task::setPollingCount>(u"PollingCount"),
    om::property<&Task::getWrapFlag, &Task::setWrapFlag>(u"WrapFlag"),
    om::property<&Task::getSnmpVersion, &Task::setSnmpVersion>(u"SnmpVersion"),
};

}  // namespace

// ---- WbemTaskObject -------------------------------------------------------------------

WbemTaskObject::WbemTaskObject(const CTaskObject& task, IWbemServices const* services)
    : CTaskObject(task), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemTaskObject::put() { return putInstance(); }

bool WbemTaskObject::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getObject());
}

bool WbemTaskObject::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getObject(), om::WrongTypeText::kKeep);
}

// ---- WbemTaskObjectClient -------------------------------------------------------------

bool WbemTaskObjectClient::sendTask(const char* method, IWbemObjectSink* sink) {
  WbemAccess access(this);
  CComPtr<IWbemClassObject> task;
  task.Attach(spawnInstance(getClass()));
  if (task == nullptr) return keepResult(false);
  putToInstance(task);
  access.putParam("TaskObject", CComVariant(static_cast<IUnknown*>(task)));
  return runZeroReturnMethod(access, method, sink);
}

bool WbemTaskObjectClient::addTask2(IWbemObjectSink* sink) { return sendTask("AddTask", sink); }

bool WbemTaskObjectClient::addTask2(const CTaskObject& task, IWbemObjectSink* sink) {
  setObject(task);
  return addTask2(sink);
}

bool WbemTaskObjectClient::setTaskObject(IWbemObjectSink* sink) { return sendTask("SetTaskObject", sink); }

bool WbemTaskObjectClient::setTaskObject(const CTaskObject& task, IWbemObjectSink* sink) {
  setObject(task);
  return setTaskObject(sink);
}

bool WbemTaskObjectClient::setDisplayName(const CString& taskName, const std::string& displayName,
                                          IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("TaskName", taskName.GetString());
  access.putParam("DisplayName", displayName.c_str());
  int result = 0;
  return runMethod(access, "SetDisplayName", sink, "ReturnValue", result);
}

bool WbemTaskObjectClient::setDisplayName(const std::string& displayName, IWbemObjectSink* sink) {
  return setDisplayName(getName().c_str(), displayName, sink);
}

bool WbemTaskObjectClient::getTaskObject(const CString& path) {
  WbemAccess access(this);
  return keepResult(access.get(tstring(path.GetString())));
}

bool WbemTaskObjectClient::getTaskObject(const CString& path, CTaskObject& out) {
  if (!getTaskObject(path)) return false;
  out = getObject();
  return true;
}

bool WbemTaskObjectClient::deleteTask(const CString& path) {
  WbemAccess access(this);
  return keepResult(access.remove(tstring(path.GetString())));
}

bool WbemTaskObjectClient::deleteTask() {
  WbemAccess access(this);
  access.setKeyPrefix(getClassName() + ".TaskName");
  return keepResult(access.remove(getName().c_str()));
}

bool WbemTaskObjectClient::getAllTaskObjects(std::vector<CTaskObject>& tasks) {
  return keepResult(enumerateAll<WbemTaskObject>(getServices(), tasks));
}

bool WbemTaskObjectClient::getChildren(const tstring&, std::vector<CTaskObject>& tasks) {
  WbemAccess access(this);
  if (!keepResult(access.execute("GetAllTaskObjects"))) return false;
  WbemTaskObject reader(getServices());
  return keepResult(readObjects(access, "taskObjects", reader, [&] {
    tasks.push_back(reader.getObject());
    reader.setObject(CTaskObject());
  }));
}

int WbemTaskObjectClient::doOneTask(const CString& taskName, IWbemObjectSink* sink, const char* methodName) {
  WbemAccess access(this);
  access.putParam("TaskName", taskName.GetString());
  int result = 0;
  runMethod(access, methodName, sink, "ReturnValue", result);
  return 0;
}

int WbemTaskObjectClient::doAllTasks(IWbemObjectSink* sink, const char* methodName) {
  WbemAccess access(this);
  int result = 0;
  runMethod(access, methodName, sink, "ReturnValue", result);
  return 0;
}

bool WbemTaskObjectClient::stopTask(const CString& taskName, IWbemObjectSink* sink) {
  return doOneTask(taskName, sink, "StopTask") == 0;
}

bool WbemTaskObjectClient::startTask(const CString& taskName, IWbemObjectSink* sink) {
  return doOneTask(taskName, sink, "StartTask") == 0;
}

bool WbemTaskObjectClient::restartTask(const CString& taskName, IWbemObjectSink* sink) {
  return doOneTask(taskName, sink, "RestartTask") == 0;
}

bool WbemTaskObjectClient::deleteTask2(const CString& taskName, IWbemObjectSink* sink) {
  return doOneTask(taskName, sink, "DeleteTask") == 0;
}

bool WbemTaskObjectClient::stopAllTasks(IWbemObjectSink* sink) { return doAllTasks(sink, "StopAllTasks") == 0; }

bool WbemTaskObjectClient::startAllTasks(IWbemObjectSink* sink) { return doAllTasks(sink, "StartAllTasks") == 0; }

bool WbemTaskObjectClient::restartAllTasks(IWbemObjectSink* sink) {
  return doAllTasks(sink, "RestartAllTasks") == 0;
}

bool WbemTaskObjectClient::deleteAllTasks(IWbemObjectSink* sink) { return doAllTasks(sink, "DeleteAllTasks") == 0; }
