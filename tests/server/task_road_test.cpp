// The task classes end to end: tasks added, read, changed, started, stopped,
// restarted and deleted from the console's client, through the object
// manager, by the server's provider over its task store.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <om/codepage.h>

#include "EmbeddedRoad.h"
#include "server/store/MemoryStores.h"
#include "wbem/WbemTaskObject.h"

namespace {

std::string jp(const char* utf8) { return om::utf8ToCp932(utf8); }

// A task with every field set, none equal to its default.
CTaskObject sampleTask(const std::string& name) {
  CTaskObject task;
  task.setName(name);
  task.setDisplayName(jp("表示") + name);
  task.setUserText(jp("利用者の文"));
  task.setDNSName("sw1.example");
  task.setIpAddress("10.1.0.1");
  task.setReadCommunityName("public");
  task.setWriteCommunityName("private");
  task.setMibVariables({"ifInOctets.1", "1.3.6.1.2.1.2.2.1.16.1"});
  task.setTaskType(static_cast<CTaskObject::TaskType>(7));
  task.setTaskStatus(CTaskObject::TASKSTATUS_FINISHED);
  task.setRmonFlag(CTaskObject::RMONFLAG_USED);
  task.setStartTime(CTime(2004, 3, 5, 7, 8, 9));
  task.setSamplesRequested(-1);
  task.setPollingInterval(30);
  task.setAlarmType(CTaskObject::ALARMTYPE_FALLING);
  task.setRisingThresholdInt(0x1234567890ULL);
  task.setFallingThreshold("-42");
  task.setSampleType(CTaskObject::SAMPLETYPE_ABSOLUTE);
  task.setLastSampleValues({"1", "2"});
  task.setPollingCount(99);
  task.setWrapFlag(1);
  task.setSnmpVersion(SNMP_VERSION_2C);
  return task;
}

std::string fields(const CTaskObject& task) {
  std::string text;
  for (const auto& [name, value] : task.describeFields()) text += name + "=" + value + ";";
  return text;
}

std::vector<std::string> names(const std::vector<CTaskObject>& tasks) {
  std::vector<std::string> out;
  for (const CTaskObject& task : tasks) out.push_back(task.getName());
  return out;
}

int returnValueOf(StatusSink& sink) {
  const CComVariant value = outputAt(sink, u"ReturnValue");
  return value.vt == VT_I4 ? value.lVal : -100;
}

class TaskRoadTest : public EmbeddedRoadTest {
 protected:
  void SetUp() override {
    state_->tasks = std::make_unique<om::server::MemoryTaskStore>();
    state_->logs = std::make_unique<om::server::MemoryLogStore>();
  }
  static CTaskObject stored(const std::string& name) {
    CTaskObject task;
    EXPECT_TRUE(state_->tasks->find(name, task)) << name;
    return task;
  }
  // The messages of the log, in order.
  static std::vector<std::string> logMessages() {
    std::vector<std::string> messages;
    state_->logs->scan([&](const CLogObject& record) {
      messages.push_back(std::string(record.getInternalName().GetString()) + ": " + record.getMessage().GetString());
      return true;
    });
    return messages;
  }
};

TEST_F(TaskRoadTest, ATaskTravelsWholeEveryWayItCanBeRead) {
  const CTaskObject task = sampleTask(jp("帯域-1"));
  WbemTaskObjectClient client(services());
  ASSERT_TRUE(client.addTask(task)) << std::hex << client.getErrorCode();
  EXPECT_EQ(fields(stored(task.getName())), fields(task));

  // As an instance, by path.
  WbemTaskObjectClient reader(services());
  CTaskObject read;
  ASSERT_TRUE(reader.getTaskObject(("TaskObject.TaskName=\"" + task.getName() + "\"").c_str(), read));
  EXPECT_EQ(fields(read), fields(task));
  // By the method the server answers itself, and by enumeration.
  ASSERT_TRUE(client.addTask(sampleTask("b")));
  std::vector<CTaskObject> listed;
  ASSERT_TRUE(reader.getChildren("ignored", listed));
  ASSERT_EQ(names(listed), (std::vector<std::string>{"b", task.getName()}));
  EXPECT_EQ(fields(listed[1]), fields(task));
  listed.clear();
  ASSERT_TRUE(reader.getAllTaskObjects(listed));
  ASSERT_EQ(names(listed), (std::vector<std::string>{"b", task.getName()}));
  EXPECT_EQ(fields(listed[1]), fields(task));
  // An unknown path fails and leaves the output alone.
  EXPECT_FALSE(reader.getTaskObject("TaskObject.TaskName=\"ghost\"", read));
  EXPECT_EQ(static_cast<HRESULT>(reader.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(fields(read), fields(task));
}

TEST_F(TaskRoadTest, AddAndSetReportTheServersAnswer) {
  WbemTaskObjectClient client(services());
  ASSERT_TRUE(client.addTask(sampleTask("t")));
  // The same name again: refused with 2, both synchronously and at a sink.
  EXPECT_FALSE(client.addTask(sampleTask("t")));
  EXPECT_EQ(client.getErrorCode(), 0u);  // the call worked; the server said no
  EXPECT_EQ(returnValueOf(*async([&](IWbemObjectSink* s) { return client.addTask2(sampleTask("t"), s); })), 2);
  EXPECT_FALSE(client.addTask(CTaskObject()));  // no name: 3
  EXPECT_EQ(returnValueOf(*async([&](IWbemObjectSink* s) { return client.addTask2(CTaskObject(), s); })), 3);

  CTaskObject changed = sampleTask("t");
  changed.setPollingInterval(5);
  changed.setMibVariables({"sysUpTime.0"});
  ASSERT_TRUE(client.setTaskObject(changed));
  EXPECT_EQ(fields(stored("t")), fields(changed));
  EXPECT_FALSE(client.setTaskObject(sampleTask("ghost")));
  EXPECT_EQ(returnValueOf(*async([&](IWbemObjectSink* s) { return client.setTaskObject(sampleTask("ghost"), s); })),
            1);

  // setDisplayName tells only whether the answer could be read.
  EXPECT_TRUE(client.setDisplayName("t", jp("新しい名前")));
  EXPECT_EQ(stored("t").getDisplayName(), jp("新しい名前"));
  EXPECT_TRUE(client.setDisplayName("ghost", "x"));
  client.setName("t");
  EXPECT_TRUE(client.setDisplayName(std::string("short form"), nullptr));
  EXPECT_EQ(stored("t").getDisplayName(), "short form");
  EXPECT_EQ(returnValueOf(*async([&](IWbemObjectSink* s) { return client.setDisplayName("ghost", "x", s); })), 1);
}

TEST_F(TaskRoadTest, StateChangesReachTheStoreAndTheLog) {
  WbemTaskObjectClient client(services());
  CTaskObject fresh = sampleTask("poll");
  fresh.setStartTime(CTime());
  fresh.setTaskStatus(CTaskObject::TASKSTATUS_WAITING);
  ASSERT_TRUE(client.addTask(fresh));
  const CTime before = CTime::GetCurrentTime();

  EXPECT_TRUE(client.startTask("poll"));
  CTaskObject task = stored("poll");
  EXPECT_EQ(task.getTaskStatus(), CTaskObject::TASKSTATUS_RUNNING);
  EXPECT_GE(task.getStartTime(), before);  // a task without a start time gets one
  EXPECT_EQ(task.getPollingCount(), 99u);

  EXPECT_TRUE(client.stopTask("poll"));
  EXPECT_EQ(stored("poll").getTaskStatus(), CTaskObject::TASKSTATUS_STOPPED);
  client.setName("poll");
  EXPECT_TRUE(client.restartTask());
  task = stored("poll");
  EXPECT_EQ(task.getTaskStatus(), CTaskObject::TASKSTATUS_RUNNING);
  EXPECT_EQ(task.getPollingCount(), 0u);
  EXPECT_EQ(task.getWrapFlag(), 0);
  EXPECT_TRUE(task.getLastSampleValues().empty());

  EXPECT_TRUE(client.deleteTask2());
  CTaskObject gone;
  EXPECT_FALSE(state_->tasks->find("poll", gone));
  EXPECT_EQ(logMessages(), (std::vector<std::string>{"poll: Task added.", "poll: Task started.", "poll: Task stopped.",
                                                     "poll: Task restarted.", "poll: Task deleted."}));
}

TEST_F(TaskRoadTest, OneTaskAndAllTaskCallsReportSuccessWhateverTheServerSays) {
  WbemTaskObjectClient client(services());
  // Unknown tasks: the server answers 1, the calls still return true.
  EXPECT_TRUE(client.stopTask("ghost"));
  EXPECT_TRUE(client.startTask("ghost"));
  EXPECT_TRUE(client.restartTask("ghost"));
  EXPECT_TRUE(client.deleteTask2("ghost"));
  EXPECT_EQ(returnValueOf(*async([&](IWbemObjectSink* s) { return client.stopTask("ghost", s); })), 1);
  // Even a call that cannot be made returns true; the error code tells.
  WbemTaskObjectClient unconnected(nullptr);
  EXPECT_TRUE(unconnected.stopAllTasks(nullptr));
  EXPECT_NE(unconnected.getErrorCode(), 0u);

  for (const char* name : {"a", "b", "c"}) ASSERT_TRUE(client.addTask(sampleTask(name)));
  EXPECT_TRUE(client.stopAllTasks(nullptr));
  for (const char* name : {"a", "b", "c"}) EXPECT_EQ(stored(name).getTaskStatus(), CTaskObject::TASKSTATUS_STOPPED);
  EXPECT_EQ(returnValueOf(*async([&](IWbemObjectSink* s) { return client.startAllTasks(s); })), 0);
  for (const char* name : {"a", "b", "c"}) EXPECT_EQ(stored(name).getTaskStatus(), CTaskObject::TASKSTATUS_RUNNING);
  EXPECT_TRUE(client.restartAllTasks());
  EXPECT_EQ(stored("b").getPollingCount(), 0u);
  EXPECT_TRUE(client.deleteAllTasks());
  std::vector<CTaskObject> none;
  ASSERT_TRUE(client.getChildren("", none));
  EXPECT_TRUE(none.empty());
  ASSERT_TRUE(client.getAllTaskObjects(none));
  EXPECT_TRUE(none.empty());
}

TEST_F(TaskRoadTest, InstancesArePutAndDeletedByName) {
  WbemTaskObjectClient client(sampleTask("inst"), services());
  ASSERT_TRUE(client.put()) << std::hex << client.getErrorCode();
  EXPECT_EQ(fields(stored("inst")), fields(sampleTask("inst")));
  client.setPollingInterval(1);
  ASSERT_TRUE(client.put());  // a known name is replaced
  EXPECT_EQ(stored("inst").getPollingInterval(), 1);
  ASSERT_TRUE(client.deleteTask());
  EXPECT_FALSE(client.deleteTask());
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);
  ASSERT_TRUE(client.addTask(sampleTask("path")));
  ASSERT_TRUE(client.deleteTask("TaskObject.TaskName=\"path\""));
  std::vector<CTaskObject> none;
  ASSERT_TRUE(client.getAllTaskObjects(none));
  EXPECT_TRUE(none.empty());
}

TEST_F(TaskRoadTest, ATaskInParameterThatIsMissingOrNullIsRefused) {
  // No in-parameters at all, and a null "TaskObject".
  CComPtr<IWbemClassObject> out;
  EXPECT_EQ(services()->ExecMethod(CComBSTR(u"TaskObject"), CComBSTR(u"AddTask"), 0, nullptr, nullptr, &out, nullptr),
            WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> cls;
  ASSERT_EQ(services()->GetObject(CComBSTR(u"TaskObject"), 0, nullptr, &cls, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> signature;
  ASSERT_EQ(cls->GetMethod(u"SetTaskObject", 0, &signature, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> in;
  ASSERT_EQ(signature->SpawnInstance(0, &in), WBEM_S_NO_ERROR);
  out.Release();
  EXPECT_EQ(services()->ExecMethod(CComBSTR(u"TaskObject"), CComBSTR(u"SetTaskObject"), 0, nullptr, in, &out, nullptr),
            WBEM_E_INVALID_PARAMETER);
}

}  // namespace
