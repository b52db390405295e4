// The wrappers of subnets, tasks, task samples, logs, MIB nodes and actions
// against the hosted object manager: what reading an instance does with
// properties of the wrong type, null or missing, and with datetimes of other
// offsets under other time zones; the provider method classes called
// directly; and the client calls that must fail without a request or leave
// the caller's data alone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <om/codepage.h>
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

#include "HostedManager.h"
#include "wbem/WbemActionCommand.h"
#include "wbem/WbemActionFilter.h"
#include "wbem/WbemLogObject.h"
#include "wbem/WbemMibNodeClient.h"
#include "wbem/WbemMibNodeManager.h"
#include "wbem/WbemSubnet.h"
#include "wbem/WbemTaskDataRecord.h"
#include "wbem/WbemTaskManager.h"

namespace {

// Look-alikes whose every property has another type than the product's
// class (ActionFilter's look-alike lacks EndTime), and method arguments of
// the wrong types.
const char kTestMof[] = R"(
#pragma namespace("\\\\.\\root\\Velmoran\\FamilyTest")
class OddTask {
  sint32 TaskName = 1; boolean DisplayName = true; real64 UserText = 1.5; sint32 DNSName = 2; sint32 IpAddress = 3;
  boolean ReadCommunityName = true; sint32 WriteCommunityName = 4; string MibVariables = "v"; string TaskType = "5";
  boolean TaskStatus = true; string RmonFlag = "1"; sint32 StartTime = 6; real64 SamplesRequested = 7;
  string PollingInterval = "8"; boolean AlarmType = true; sint32 RisingThreshold = 9; sint32 FallingThreshold = 10;
  string SampleType = "1"; sint32 LastSampleValues = 11; sint64 PollingCount = 12; boolean WrapFlag = true;
  string SnmpVersion = "1";
};
class OddRecord { sint32 PollStartTime = 1; sint32 SysUpTime = 2; boolean MibValues = true; };
class OddLog {
  string Identifier = "5"; boolean LogLevel = true; sint32 Time = 1; string LogType = "2"; real64 LogSubType = 3;
  sint64 TargetType = 4; sint32 InternalName = 5; boolean DisplayName = true; sint32 Address = 6;
  sint32 SysObjectID = 7; real64 Message = 8; string ActionID = "9";
};
class OddMib {
  sint32 ModuleName = 1; sint32 ParentName = 2; sint32 NodeName = 3; sint32 Oid = 4; sint32 FullPath = 5;
  sint32 Description = 6; string NodeTypeKind = "7"; string Status = "8"; boolean Access = true; sint32 Syntax = 9;
  sint32 NextSiblingName = 10; sint32 PrevSiblingName = 11; string ChildNameList = "c"; sint32 ValueList[] = {1};
};
class OddSubnet {
  sint32 SubnetName = 1; sint32 NetworkID = 2; sint32 SubnetMask = 3; string Communities = "c";
  string DiscoveredNodes = "4"; boolean ObservedNodes = true; real64 Status = 5; string DiscoveredNodeType = "6";
  sint64 DiscoveringInterval = 7; string Hops = "8"; sint32 IsLookupHostname = 1; string IsDiscoverOnTrap = "true";
};
class OddCommand { string Identifier = "5"; sint32 IsServerSide = 1; boolean Command = true; sint32 Parameter = 2;
  sint32 Description = 3; };
class OddFilter {
  string Availables = "1"; boolean Identifier = true; sint32 StartTime = 1; string LogType = "2";
  string LogSubType = "3"; sint32 Address = 4; sint32 SysObjectID = 5; string ActionID = "6"; sint32 InternalName = 7;
};
class TaskArgs { sint32 TaskName = 1; string DisplayName = "shown"; string TaskObject = "not an object";
  string QueryString = "q"; };
class WalkArgs { string FileName = "f"; string HostName = "h"; sint32 StartVariable = 1; string ReadCommunityName = "c";
  string OverwriteFlag = "1"; string ModuleName = "m"; };
class CountArgs { string TaskName = "t"; sint32 QueryString = 1; string OldName = "o"; sint32 NewName = 2; };
)";

template <class Record>
std::string fields(const Record& record) {
  std::string text;
  for (const auto& [name, value] : record.describeFields()) text += name + "=" + value + ";";
  return text;
}

// Sets the time zone of the process (a POSIX rule, so that no zone files are
// needed) until the end of the scope.
class TimeZone {
 public:
  explicit TimeZone(const char* rule) {
    const char* old = std::getenv("TZ");
    had_ = old != nullptr;
    if (had_) old_ = old;
    set(rule);
  }
  ~TimeZone() { had_ ? set(old_.c_str()) : (unsetenv("TZ"), tzset()); }
  static void set(const char* rule) {
    setenv("TZ", rule, 1);
    tzset();
  }

 private:
  bool had_ = false;
  std::string old_;
};

CTaskObject sampleTask() {
  CTaskObject task;
  task.setName("t1");
  task.setDisplayName("shown");
  task.setUserText("u");
  task.setDNSName("d");
  task.setIpAddress("10.0.0.1");
  task.setReadCommunityName("r");
  task.setWriteCommunityName("w");
  task.setMibVariables({"a", "b"});
  task.setTaskStatus(CTaskObject::TASKSTATUS_RUNNING);
  task.setStartTime(CTime(2004, 3, 5, 7, 8, 9));
  task.setRisingThreshold("100");
  task.setFallingThreshold("-5");
  task.setLastSampleValues({"1"});
  task.setPollingCount(3);
  task.setWrapFlag(1);
  task.setSnmpVersion(SNMP_VERSION_1);
  return task;
}

CLogObject sampleLog() {
  CLogObject log;
  log.setIdentifier(42);
  log.setLevel(log_def::LOGLEVEL_DEBUG);
  log.setTime(CTime(2004, 3, 5, 7, 8, 9));
  log.setType(log_def::LOGTYPE_ALARM);
  log.setSubType(log_def::LOGSUBTYPE_RISING_THRESHOLD);
  log.setTargetType(log_def::TARGETTYPE_TASK);
  log.setInternalName("i");
  log.setDisplayName("d");
  log.setAddress("10.0.0.1");
  log.setSysObjectId("1.3.6");
  log.setMessage("m");
  log.setActionId(3);
  return log;
}

class FamiliesTest : public HostedManagerTest {
 protected:
  void SetUp() override { host(kTestMof, "\\\\.\\root\\Velmoran\\FamilyTest"); }
  CComPtr<IWbemClassObject> odd(const char16_t* className) { return spawn(test_.getServices(), className); }
  CComPtr<IWbemClassObject> real(const char16_t* className) { return spawn(services(), className); }
};

// ---- Writing instances -------------------------------------------------------------------

// A property's value as text: numbers in decimal, booleans as true/false,
// lists joined by commas.
std::string textAt(IWbemClassObject* instance, const char16_t* name) {
  CComVariant value;
  if (FAILED(instance->Get(name, 0, &value, nullptr, nullptr))) return "<missing>";
  std::vector<std::string> items;
  if (value.vt == (VT_ARRAY | VT_BSTR) && WbemClient::getStringArray(value, items)) {
    std::string joined;
    for (const std::string& item : items) joined += (joined.empty() ? "" : ",") + item;
    return joined;
  }
  if (value.vt == VT_BOOL) return value.boolVal != VARIANT_FALSE ? "true" : "false";
  if (value.vt == VT_I4) return std::to_string(value.lVal);
  return value.vt == VT_BSTR ? WbemClient::textOf(value) : "<other>";
}

using Expected = std::vector<std::pair<const char16_t*, std::string>>;

void expectProperties(IWbemClassObject* instance, const Expected& expected) {
  for (const auto& [name, text] : expected) EXPECT_EQ(textAt(instance, name), text) << tstring(name);
}

TEST_F(FamiliesTest, EachFieldIsWrittenUnderItsOwnPropertyName) {
  TimeZone tz("UTC0");
  CTaskObject task = sampleTask();
  task.setTaskType(static_cast<CTaskObject::TaskType>(11));
  task.setRmonFlag(static_cast<CTaskObject::RmonFlag>(12));
  task.setSamplesRequested(13);
  task.setPollingInterval(14);
  task.setAlarmType(static_cast<CTaskObject::AlarmType>(15));
  task.setSampleType(static_cast<CTaskObject::SampleType>(16));
  CComPtr<IWbemClassObject> instance = real(u"TaskObject");
  ASSERT_TRUE(WbemTaskObject(task, services()).putToInstance(instance));
  expectProperties(instance, {{u"TaskName", "t1"}, {u"DisplayName", "shown"}, {u"UserText", "u"}, {u"DNSName", "d"},
                              {u"IpAddress", "10.0.0.1"}, {u"ReadCommunityName", "r"}, {u"WriteCommunityName", "w"},
                              {u"MibVariables", "a,b"}, {u"TaskType", "11"}, {u"TaskStatus", "2"},
                              {u"RmonFlag", "12"}, {u"StartTime", "20040305070809.000000+540"},
                              {u"SamplesRequested", "13"}, {u"PollingInterval", "14"}, {u"AlarmType", "15"},
                              {u"RisingThreshold", "100"}, {u"FallingThreshold", "-5"}, {u"SampleType", "16"},
                              {u"LastSampleValues", "1"}, {u"PollingCount", "3"}, {u"WrapFlag", "1"},
                              {u"SnmpVersion", "0"}});

  CTaskDataRecord record;
  record.setPollStartTime(CTime(2010, 1, 2, 3, 4, 5));
  record.setSysUpTime("1 day");
  record.setMibValues("7,8");
  instance = real(u"TaskDataRecord");
  ASSERT_TRUE(WbemTaskDataRecord(record, services()).putToInstance(instance));
  expectProperties(instance,
                   {{u"PollStartTime", "20100102030405.000000+540"}, {u"SysUpTime", "1 day"}, {u"MibValues", "7,8"}});

  instance = real(u"LogObject");
  ASSERT_TRUE(WbemLogObject(sampleLog(), services()).putToInstance(instance));
  expectProperties(instance, {{u"Identifier", "42"}, {u"LogLevel", "3"}, {u"Time", "20040305070809.000000+540"},
                              {u"LogType", "2"}, {u"LogSubType", "4"}, {u"TargetType", "9"}, {u"InternalName", "i"},
                              {u"DisplayName", "d"}, {u"Address", "10.0.0.1"}, {u"SysObjectID", "1.3.6"},
                              {u"Message", "m"}, {u"ActionID", "3"}});

  CMibNode node;
  node.setModuleName("M");
  node.setParentName("p");
  node.setNodeName("n");
  node.setOidString("1.3");
  node.setFullPath("iso.org");
  node.setDescription("about");
  node.setNodeTypeKind(0x20001);
  node.setStatus(5);
  node.setAccess(6);
  node.setSyntax("INTEGER");
  node.setNextSiblingName("next");
  node.setPrevSiblingName("prev");
  node.setChildNameList({"c1", "c2"});
  node.setValueList({"up(1)"});
  instance = real(u"MibNode");
  ASSERT_TRUE(WbemMibNode::putToInstance(instance, node));
  expectProperties(instance, {{u"ModuleName", "M"}, {u"ParentName", "p"}, {u"NodeName", "n"}, {u"Oid", "1.3"},
                              {u"FullPath", "iso.org"}, {u"Description", "about"}, {u"NodeTypeKind", "131073"},
                              {u"Status", "5"}, {u"Access", "6"}, {u"Syntax", "INTEGER"},
                              {u"NextSiblingName", "next"}, {u"PrevSiblingName", "prev"},
                              {u"ChildNameList", "c1,c2"}, {u"ValueList", "up(1)"}});

  SubnetBase subnet;
  subnet.setName("s");
  subnet.setNetworkID("10.0.0.0");
  subnet.setSubnetMask("255.0.0.0");
  subnet.addCommunityName("public");
  subnet.setDiscoveredNodes(1);
  subnet.setObservedNodes(2);
  subnet.setStatus(3);
  subnet.setDiscoveredNodeType(4);
  subnet.setDiscoveringInterval(5);
  subnet.setHops(6);
  subnet.setDiscoverOnTrap(true);
  instance = real(u"Subnet");
  ASSERT_TRUE(WbemSubnet(subnet, services()).putToInstance(instance));
  expectProperties(instance, {{u"SubnetName", "s"}, {u"NetworkID", "10.0.0.0"}, {u"SubnetMask", "255.0.0.0"},
                              {u"Communities", "public"}, {u"DiscoveredNodes", "1"}, {u"ObservedNodes", "2"},
                              {u"Status", "3"}, {u"DiscoveredNodeType", "4"}, {u"DiscoveringInterval", "5"},
                              {u"Hops", "6"}, {u"IsLookupHostname", "false"}, {u"IsDiscoverOnTrap", "true"}});

  CActionCommand command;
  command.setId(8);
  command.setServerSide(true);
  command.setCommandEntity("cmd");
  command.setParam("par");
  command.setDescription("desc");
  instance = real(u"ActionCommand");
  ASSERT_TRUE(WbemActionCommand(command, services()).putToInstance(instance));
  expectProperties(instance, {{u"Identifier", "8"}, {u"IsServerSide", "true"}, {u"Command", "cmd"},
                              {u"Parameter", "par"}, {u"Description", "desc"}});

  ActionFilter filter;
  filter.setAvailables(0x1FF);
  filter.setId(9);
  filter.setStartTime(CTime(2020, 1, 1, 0, 0, 0));
  filter.setEndTime(CTime(2021, 2, 2, 0, 0, 0));
  filter.setLogType(log_def::LOGTYPE_TRAP);
  filter.setLogSubType(log_def::LOGSUBTYPE_LINK_UP);
  filter.setAddress("a");
  filter.setSysObjectId("o");
  filter.setActionId(10);
  filter.setInternalName("n");
  instance = real(u"ActionFilter");
  ASSERT_TRUE(WbemActionFilter(filter, services()).putToInstance(instance));
  expectProperties(instance, {{u"Availables", "511"}, {u"Identifier", "9"},
                              {u"StartTime", "20200101000000.000000+540"}, {u"EndTime", "20210202000000.000000+540"},
                              {u"LogType", "3"}, {u"LogSubType", "9"}, {u"Address", "a"}, {u"SysObjectID", "o"},
                              {u"ActionID", "10"}, {u"InternalName", "n"}});
  // The constants name the same properties.
  for (const char* name : {WbemActionCommand::m_tszPropIdentifier, WbemActionCommand::m_tszPropIsServerSide,
                           WbemActionCommand::m_tszPropCommand, WbemActionCommand::m_tszPropParameter,
                           WbemActionCommand::m_tszPropDescription}) {
    EXPECT_NE(textAt(real(u"ActionCommand"), om::cp932ToUtf16(name).c_str()), "<missing>") << name;
  }
  for (const char* name : {WbemActionFilter::m_tcszPropAvailables, WbemActionFilter::m_tcszPropIdentifier,
                           WbemActionFilter::m_tcszPropStartTime, WbemActionFilter::m_tcszPropEndTime,
                           WbemActionFilter::m_tcszPropLogType, WbemActionFilter::m_tcszPropLogSubType,
                           WbemActionFilter::m_tcszPropAddress, WbemActionFilter::m_tcszPropSysObjectId,
                           WbemActionFilter::m_tcszPropActionId, WbemActionFilter::m_tcszPropInternalName}) {
    EXPECT_NE(textAt(real(u"ActionFilter"), om::cp932ToUtf16(name).c_str()), "<missing>") << name;
  }
}

// ---- Reading instances -------------------------------------------------------------------

TEST_F(FamiliesTest, TasksAndSamplesKeepEveryFieldOfTheWrongTypeButTheirTimes) {
  WbemTaskObject task(sampleTask(), services());
  CTaskObject expected = sampleTask();
  expected.setStartTime(CTime());  // a start time that is no string is the null time
  ASSERT_TRUE(task.getFromInstance(odd(u"OddTask")));
  EXPECT_EQ(fields(task.getObject()), fields(expected));
  task.setObject(sampleTask());
  ASSERT_TRUE(task.getFromInstance(real(u"TaskObject")));  // every property null
  EXPECT_EQ(fields(task.getObject()), fields(expected));

  CTaskDataRecord record;
  record.setPollStartTime(CTime(2010, 1, 1, 0, 0, 0));
  record.setSysUpTime("1 day");
  record.setMibValues("v");
  WbemTaskDataRecord sample(record, services());
  ASSERT_TRUE(sample.getFromInstance(odd(u"OddRecord")));
  record.setPollStartTime(CTime());
  EXPECT_EQ(fields(sample.getObject()), fields(record));
  EXPECT_FALSE(sample.getFromInstance(nullptr));
  EXPECT_FALSE(sample.putToInstance(nullptr));
}

TEST_F(FamiliesTest, LogsMibNodesSubnetsAndActionsEmptyTheirTextsAndKeepTheirNumbers) {
  WbemLogObject log(sampleLog(), services());
  ASSERT_TRUE(log.getFromInstance(odd(u"OddLog")));
  CLogObject expectedLog = sampleLog();
  for (auto setter : {&CLogObject::setInternalName, &CLogObject::setDisplayName, &CLogObject::setAddress,
                      &CLogObject::setSysObjectId, &CLogObject::setMessage}) {
    (expectedLog.*setter)("");
  }
  expectedLog.setTime(CTime());
  EXPECT_EQ(fields(log.getObject()), fields(expectedLog));

  CMibNode node;
  node.setNodeName("n");
  node.setModuleName("M");
  node.setNodeTypeKind(0x30001);
  node.setStatus(1);
  node.setAccess(2);
  node.setChildNameList({"c"});
  node.setValueList({"v(1)"});
  WbemMibNode mib(node, services());
  ASSERT_TRUE(mib.getFromInstance(odd(u"OddMib")));
  CMibNode expectedNode;
  expectedNode.setNodeTypeKind(0x30001);
  expectedNode.setStatus(1);
  expectedNode.setAccess(2);
  EXPECT_EQ(fields(mib.getObject()), fields(expectedNode));

  SubnetBase subnet;
  subnet.setName("s");
  subnet.addCommunityName("public");
  subnet.setHops(3);
  subnet.setLookupHostName(true);
  WbemSubnet wrapper(subnet, services());
  ASSERT_TRUE(wrapper.getFromInstance(odd(u"OddSubnet")));
  SubnetBase expectedSubnet;
  expectedSubnet.setHops(3);
  expectedSubnet.setLookupHostName(true);
  EXPECT_EQ(wrapper.toString(), expectedSubnet.toString());

  CActionCommand command;
  command.setId(5);
  command.setServerSide(true);
  command.setCommandEntity("c");
  WbemActionCommand commandWrapper(command, services());
  ASSERT_TRUE(commandWrapper.getFromInstance(odd(u"OddCommand")));
  CActionCommand expectedCommand;
  expectedCommand.setId(5);
  expectedCommand.setServerSide(true);
  EXPECT_EQ(fields(commandWrapper.getObject()), fields(expectedCommand));

  ActionFilter filter;
  filter.setAvailables(3);
  filter.setId(9);
  filter.setStartTime(CTime(2020, 1, 1, 0, 0, 0));
  filter.setEndTime(CTime(2021, 1, 1, 0, 0, 0));
  filter.setAddress("a");
  WbemActionFilter filterWrapper(filter, services());
  ASSERT_TRUE(filterWrapper.getFromInstance(odd(u"OddFilter")));
  ActionFilter expectedFilter;
  expectedFilter.setAvailables(3);
  expectedFilter.setId(9);  // both times zero: one of the wrong type, one missing
  EXPECT_EQ(fields(filterWrapper.getObject()), fields(expectedFilter));
}

TEST_F(FamiliesTest, CommunitiesReadFromAnInstanceHoldNoDuplicates) {
  CComPtr<IWbemClassObject> instance = real(u"Subnet");
  CComVariant communities;
  ASSERT_TRUE(WbemClient::createStringSafeArray(std::vector<std::string>{"public", "ops", "public"}, communities));
  ASSERT_EQ(instance->Put(u"Communities", 0, &communities, 0), WBEM_S_NO_ERROR);
  WbemSubnet subnet(services());
  ASSERT_TRUE(subnet.getFromInstance(instance));
  EXPECT_EQ(subnet.getCommunityNames(), (std::vector<std::string>{"public", "ops"}));
}

TEST_F(FamiliesTest, AnEventCarriesItsRecordAsAnEmbeddedInstance) {
  WbemLogObjectEvent event(services());
  event.setObject(WbemLogObject(sampleLog(), services()));
  CComPtr<IWbemClassObject> instance = real(u"LogObjectEvent");
  ASSERT_TRUE(event.putToInstance(instance));
  WbemLogObjectEvent read(nullptr);
  ASSERT_TRUE(read.getFromInstance(instance));
  EXPECT_EQ(fields(read.getObject().getObject()), fields(sampleLog()));
  // Not an event: nothing to carry the record, nothing to read it from.
  EXPECT_FALSE(event.putToInstance(real(u"LogObject")));
  EXPECT_FALSE(read.getFromInstance(real(u"LogObjectEvent")));
  EXPECT_FALSE(read.getFromInstance(real(u"LogObject")));
  EXPECT_FALSE(event.putToInstance(nullptr));
}

// ---- Datetimes ---------------------------------------------------------------------------

TEST_F(FamiliesTest, DatetimesAreWrittenInLocalTimeWithTheFixedOffset) {
  for (const char* zone : {"JST-9", "UTC0", "EST5EDT,M3.2.0,M11.1.0"}) {
    TimeZone tz(zone);
    const CTime start(2004, 3, 5, 7, 8, 9);
    EXPECT_EQ(WbemClient::textOf(WbemClient::ComVarTime(start)), "20040305070809.000000+540") << zone;
    // Readers take the first fourteen digits as local time, whatever offset
    // follows.
    for (const char* text : {"20040305070809.000000+540", "20040305070809.000000+000", "20040305070809.000000-300"}) {
      EXPECT_EQ(WbemClient::CTimeFromComVar(CComVariant(text)), start) << zone << " " << text;
    }
    EXPECT_EQ(WbemClient::CTimeFromComVar(CComVariant("")), CTime()) << zone;
    EXPECT_EQ(WbemClient::CTimeFromComVar(CComVariant("yesterday")), CTime()) << zone;
    EXPECT_EQ(WbemClient::CTimeFromComVar(CComVariant("20040305")), CTime()) << zone;  // a date alone
    EXPECT_EQ(WbemClient::CTimeFromComVar(CComVariant(20040305)), CTime()) << zone;
    CComVariant null;
    null.vt = VT_NULL;
    EXPECT_EQ(WbemClient::CTimeFromComVar(null), CTime()) << zone;
  }
}

TEST_F(FamiliesTest, ATimeWrittenInOneZoneIsReadAsTheSameClockTimeInAnother) {
  CComPtr<IWbemClassObject> instance = real(u"LogObject");
  CLogObject source;
  {
    TimeZone tz("JST-9");
    source = sampleLog();  // 07:08:09 on a clock in Japan
    WbemLogObject(source, services()).putToInstance(instance);
  }
  CComVariant text;
  ASSERT_EQ(instance->Get(u"Time", 0, &text, nullptr, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(WbemClient::textOf(text), "20040305070809.000000+540");
  TimeZone tz("UTC0");
  WbemLogObject read(services());
  ASSERT_TRUE(read.getFromInstance(instance));
  EXPECT_EQ(read.getTime().GetTime() - source.getTime().GetTime(), 9 * 3600);  // same clock time, nine hours later
  EXPECT_EQ(read.getTime(), CTime(2004, 3, 5, 7, 8, 9));
}

// ---- Provider method classes -------------------------------------------------------------

TEST_F(FamiliesTest, MethodClassesRefuseMissingAndMistypedInParameters) {
  IWbemServices* s = services();
  CComPtr<IWbemClassObject> taskArgs = odd(u"TaskArgs");
  CComPtr<IWbemClassObject> walkArgs = odd(u"WalkArgs");
  CComPtr<IWbemClassObject> countArgs = odd(u"CountArgs");
  CString name = "untouched";
  CString display = "untouched";
  EXPECT_EQ(CSetDisplayName(s, taskArgs, nullptr).getInParams(name, display), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(std::string(display.GetString()), "untouched");  // stopped at the first
  EXPECT_EQ(CStopTask(s, nullptr, nullptr).getInParamTaskName(name), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(CAddTask(s, taskArgs, nullptr).getInParamTaskObject(), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(CAddTask(s, nullptr, nullptr).getInParamTaskObject(), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(CStopTask(s, walkArgs, nullptr).getInParamTaskName(name), WBEM_E_NOT_FOUND);  // no such parameter

  CString file, host, start, community = "untouched";
  long overwrite = -1;
  EXPECT_EQ(CDoMibWalk(s, walkArgs, nullptr).getInParams(file, host, start, community, overwrite),
            WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(std::string(file.GetString()), "f");
  EXPECT_EQ(std::string(host.GetString()), "h");
  EXPECT_EQ(std::string(community.GetString()), "untouched");
  EXPECT_EQ(CDoMibWalk(s, walkArgs, nullptr).getInParamIntValue("OverwriteFlag", overwrite),
            WBEM_E_INVALID_PARAMETER);
  CString module;
  EXPECT_EQ(CGetAllTraps(s, walkArgs, nullptr).getInParams(module), WBEM_S_NO_ERROR);
  EXPECT_EQ(std::string(module.GetString()), "m");
  EXPECT_EQ(CGetAllNotifications(s, nullptr, nullptr).getInParams(module), WBEM_E_INVALID_PARAMETER);

  CString task, query;
  EXPECT_EQ(CGetTaskRecordCount(s, countArgs, nullptr).getInParams(task, query), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(std::string(task.GetString()), "t");
  tstring queryString;
  EXPECT_EQ(NumberOfMethod(s, countArgs, nullptr).getInParams(queryString), WBEM_E_INVALID_PARAMETER);
  tstring oldName, newName;
  EXPECT_EQ(RenameProvider(s, countArgs, nullptr).getInParams(oldName, newName), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(oldName, "o");
  EXPECT_EQ(GoDiscoverProvider(s, nullptr, nullptr).getInParams(oldName), WBEM_E_INVALID_PARAMETER);
}

TEST_F(FamiliesTest, MethodClassesDeliverTheirOutParameters) {
  CComPtr<StatusSink> sink;
  sink.Attach(new StatusSink);
  CGetAllTraps traps(services(), nullptr, sink);
  ASSERT_EQ(traps.getOutParamInst(nullptr), WBEM_S_NO_ERROR);
  ASSERT_EQ(traps.indicate(std::vector<CString>{"SmiTrapType.a", "SmiTrapType.b"}), WBEM_S_NO_ERROR);
  EXPECT_EQ(traps.setStatus(WBEM_S_NO_ERROR), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink->wait(), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink->objects_.size(), 1u);
  CComVariant list, returned;
  sink->objects_[0]->Get(u"Traps", 0, &list, nullptr, nullptr);
  sink->objects_[0]->Get(u"ReturnValue", 0, &returned, nullptr, nullptr);
  std::vector<std::string> names;
  ASSERT_TRUE(WbemClient::getStringArray(list, names));
  EXPECT_EQ(names, (std::vector<std::string>{"SmiTrapType.a", "SmiTrapType.b"}));
  EXPECT_EQ(returned, CComVariant(0));

  // One task as an array of one embedded instance, and a count.
  CComPtr<StatusSink> second;
  second.Attach(new StatusSink);
  CGetTaskObject get(services(), nullptr, second);
  ASSERT_EQ(get.getOutParamInst(nullptr), WBEM_S_NO_ERROR);
  CTaskObject task = sampleTask();
  ASSERT_EQ(get.indicate(task), WBEM_S_NO_ERROR);
  NumberOfMethod count(services(), nullptr, second);
  ASSERT_EQ(count.execInit(nullptr), WBEM_S_NO_ERROR);
  ASSERT_EQ(count.indicate(17), WBEM_S_NO_ERROR);
  ASSERT_EQ(second->objects_.size(), 2u);
  CComVariant tasks;
  second->objects_[0]->Get(u"taskObjects", 0, &tasks, nullptr, nullptr);
  ASSERT_EQ(tasks.vt, VT_ARRAY | VT_UNKNOWN);
  ASSERT_EQ(tasks.parray->rgsabound[0].cElements, 1u);
  LONG index = 0;
  CComPtr<IUnknown> element;
  ASSERT_EQ(SafeArrayGetElement(tasks.parray, &index, &element.p), S_OK);
  CComPtr<IWbemClassObject> embedded;
  ASSERT_EQ(element->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&embedded)), S_OK);
  WbemTaskObject read(services());
  ASSERT_TRUE(read.getFromInstance(embedded));
  EXPECT_EQ(fields(read.getObject()), fields(task));
  CComVariant number;
  second->objects_[1]->Get(u"ReturnValue", 0, &number, nullptr, nullptr);
  EXPECT_EQ(number, CComVariant(17));
  // A method the class does not have.
  CGetAllTraps wrong(services(), nullptr, nullptr);
  EXPECT_EQ(wrong.getOutParamInst(nullptr, "NoSuchMethod"), WBEM_E_NOT_FOUND);
}

// ---- Client calls ------------------------------------------------------------------------

// Services that count the calls made to them and answer none.
class CountingServices : public om::wmi::ProviderBase {
 public:
  HRESULT STDMETHODCALLTYPE GetObject(const BSTR, long, IWbemContext*, IWbemClassObject**,
                                      IWbemCallResult**) override {
    ++calls_;
    return WBEM_E_NOT_FOUND;
  }
  int calls_ = 0;
};

TEST_F(FamiliesTest, NavigationWithoutANameOrIndexSendsNoRequest) {
  CComPtr<CountingServices> counting;
  counting.Attach(new CountingServices);
  CMibNode root;
  root.setNodeName("iso");  // no parent, no siblings
  WbemMibNodeClient client(root, counting);
  CMibNode out;
  out.setNodeName("untouched");
  EXPECT_FALSE(client.GetParentNode(out, 0));
  EXPECT_FALSE(client.GetNextSiblingNode(out, 0));
  EXPECT_FALSE(client.GetPrevSiblingNode(out, 0));
  EXPECT_FALSE(client.GetNextChildNode(out, 0));  // no children
  client.setChildNameList({"org", "other"});
  client.setCurrentChildIndex(1);
  EXPECT_FALSE(client.GetChildNode(-1, out, 0));
  EXPECT_FALSE(client.GetChildNode(2, out, 0));
  EXPECT_EQ(client.getCurrentChildIndex(), 1);
  client.setCurrentChildIndex(2);
  EXPECT_FALSE(client.GetNextChildNode(out, 0));  // past the last child
  client.setCurrentChildIndex(-3);
  EXPECT_FALSE(client.GetNextChildNode(out, 0));
  EXPECT_EQ(counting->calls_, 0);
  EXPECT_EQ(out.getNodeName(), "untouched");
  // A name or an index there is: the request goes out (and fails here),
  // and the cursor stays.
  EXPECT_FALSE(client.GetChildNode(1, out, 0));
  EXPECT_GT(counting->calls_, 0);
  EXPECT_EQ(client.getCurrentChildIndex(), -3);
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);
}

// Answers "GetAllTraps" and "GetAllNotifications" with the list {"x"} and
// the "ReturnValue" the test sets (null: none to read).
class ListAnswer : public CGetAllTraps {
 public:
  using CGetAllTraps::CGetAllTraps;
  HRESULT answer(IWbemContext* ctx, const tstring& method, const CComVariant& returnValue) {
    HRESULT hr = getOutParamInst(ctx, method.c_str());
    CComVariant list;
    WbemClient::createStringSafeArray(std::vector<std::string>{"x"}, list);
    if (SUCCEEDED(hr)) hr = putOutput(method == "GetAllTraps" ? "Traps" : "Notifications", list);
    if (SUCCEEDED(hr)) hr = putOutput("ReturnValue", returnValue);
    return setStatus(FAILED(hr) ? hr : deliverOutput());
  }
};

class ListProvider : public om::wmi::ProviderBase {
 public:
  explicit ListProvider(IWbemServices* services) : services_(services) {}
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx,
                                            IWbemClassObject* in, IWbemObjectSink* sink) override {
    return ListAnswer(services_, in, sink).answer(ctx, tstring(method), returnValue_);
  }
  CComPtr<IWbemServices> services_;
  CComVariant returnValue_;
};

TEST_F(FamiliesTest, ListsAreTakenOnlyWhenTheServerAnswersZero) {
  CComPtr<ListProvider> provider;
  provider.Attach(new ListProvider(services()));
  ASSERT_EQ(om::wmi::ObjectManager::instance().registerProvider(u"root\\Velmoran\\OrvaManager", u"MibNode", provider),
            WBEM_S_NO_ERROR);
  WbemMibNodeClient client(services());
  std::vector<std::string> list{"kept"};
  provider->returnValue_ = 0;
  ASSERT_TRUE(client.GetAllTraps(list, "M"));
  EXPECT_EQ(list, (std::vector<std::string>{"x"}));
  list = {"kept"};
  provider->returnValue_ = 4;
  EXPECT_FALSE(client.GetAllNotifications(list, "M"));
  EXPECT_EQ(list, (std::vector<std::string>{"kept"}));
  provider->returnValue_.Clear();
  provider->returnValue_.vt = VT_NULL;  // "ReturnValue" cannot be read
  EXPECT_FALSE(client.GetAllTraps(list, "M"));
  EXPECT_EQ(list, (std::vector<std::string>{"kept"}));
  provider.Release();
}

}  // namespace
