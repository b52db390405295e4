// mof/OrvaManager.mof against the class tables of the product's namespace:
// every class, property type and method signature, written out by hand.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

constexpr CIMTYPE kString = CIM_STRING;
constexpr CIMTYPE kSint32 = CIM_SINT32;
constexpr CIMTYPE kBoolean = CIM_BOOLEAN;
constexpr CIMTYPE kDatetime = CIM_DATETIME;
constexpr CIMTYPE kStrings = CIM_STRING | CIM_FLAG_ARRAY;
constexpr CIMTYPE kObject = CIM_OBJECT;
constexpr CIMTYPE kObjects = CIM_OBJECT | CIM_FLAG_ARRAY;
constexpr CIMTYPE kVoid = CIM_EMPTY;

struct Item {
  std::u16string name;
  CIMTYPE type;
  std::u16string embedded = {};  // class of an embedded object
};

struct Method {
  std::u16string name;
  CIMTYPE returns;
  std::vector<Item> in;
  std::vector<Item> out;
};

struct ClassTable {
  std::u16string name;
  std::u16string superclass;
  std::u16string key;
  std::vector<Item> properties;
  std::vector<Method> methods;
};

const std::vector<ClassTable>& tables() {
  static const std::vector<ClassTable> all = {
      {u"NetworkObject",
       u"",
       u"ObjectName",
       {{u"ObjectName", kString},        {u"Description", kString},        {u"DisplayName", kString},
        {u"DNSName", kString},           {u"MacAddress", kString},         {u"SubnetMask", kString},
        {u"ObjectType", kSint32},        {u"ObjectFunction", kSint32},     {u"NodeStatus", kSint32},
        {u"PortStatus", kSint32},        {u"PortType", kSint32},           {u"IsOurProduct", kBoolean},
        {u"IsExProduct", kBoolean},      {u"VLANName", kString},           {u"Number", kSint32},
        {u"IfIndex", kSint32},           {u"ReadCommunityName", kString},  {u"WriteCommunityName", kString},
        {u"SysObjectID", kString},       {u"SysName", kString},            {u"SysContact", kString},
        {u"HasTelnet", kBoolean},        {u"HasHTTP", kBoolean},           {u"HasTFTP", kBoolean},
        {u"HasStack", kBoolean},         {u"HasVlan", kBoolean},           {u"PollingInterval", kSint32},
        {u"IsPollingPort", kBoolean},    {u"DeleteInterval", kSint32},     {u"IsTrapped", kBoolean},
        {u"SnmpVersion", kSint32},       {u"IpAddresses", kStrings},       {u"Ipv6Addresses", kStrings},
        {u"SnmpPort", kSint32}},
       {{u"AutoAddPort", kBoolean, {{u"ObjectName", kString}}, {}},
        {u"isExist", kBoolean, {{u"ObjectName", kString}}, {}},
        {u"ForcePolling", kBoolean, {{u"ObjectName", kString}}, {}},
        {u"GetPathNames", kVoid, {{u"ObjectName", kString}}, {{u"PathNames", kStrings}}},
        {u"GetChildren", kVoid, {{u"PathName", kString}}, {{u"Objects", kObjects, u"NetworkObject"}}},
        {u"GetSnmpInfo", kVoid, {{u"Target", kString}, {u"Variables", kStrings}}, {{u"Results", kStrings}}},
        {u"Delete", kBoolean, {{u"ObjectName", kString}}, {}},
        {u"Move", kBoolean, {{u"ObjectName", kString}, {u"SrcParent", kString}, {u"DestParent", kString}}, {}},
        {u"Rename", kBoolean, {{u"OldName", kString}, {u"NewName", kString}}, {}},
        {u"SetSnmpInfo", kBoolean, {{u"Target", kString}, {u"Variable", kString}, {u"Value", kString}}, {}},
        {u"HasChildren", kBoolean, {{u"PathName", kString}}, {}}}},
      {u"Subnet",
       u"",
       u"SubnetName",
       {{u"SubnetName", kString},
        {u"NetworkID", kString},
        {u"SubnetMask", kString},
        {u"Communities", kStrings},
        {u"DiscoveredNodes", kSint32},
        {u"ObservedNodes", kSint32},
        {u"Status", kSint32},
        {u"DiscoveredNodeType", kSint32},
        {u"DiscoveringInterval", kSint32},
        {u"Hops", kSint32},
        {u"IsLookupHostname", kBoolean},
        {u"IsDiscoverOnTrap", kBoolean}},
       {{u"GoDiscover", kBoolean, {{u"SubnetName", kString}}, {}},
        {u"Delete", kBoolean, {{u"SubnetName", kString}}, {}},
        {u"Rename", kBoolean, {{u"OldName", kString}, {u"NewName", kString}}, {}},
        {u"isExist", kBoolean, {{u"SubnetName", kString}}, {}},
        {u"GetAllDevices", kVoid, {{u"SubnetName", kString}}, {{u"Objects", kObjects, u"NetworkObject"}}}}},
      {u"OrvaManagerNetwork",
       u"",
       u"NetworkName",
       {{u"NetworkName", kString},
        {u"NumberOfSubnets", kSint32},
        {u"NumberOfDiscoveredNodes", kSint32},
        {u"NumberOfObservingNodes", kSint32},
        {u"NodeStatus", kSint32},
        {u"StartOrStopPollingManager", kBoolean},
        {u"StartOrStopAutoDiscoverManager", kBoolean}},
       {{u"PollingManager", kBoolean, {{u"StartOrStop", kBoolean}}, {}},
        {u"AutoDiscoverManager", kBoolean, {{u"StartOrStop", kBoolean}}, {}},
        {u"SearchNetworkObject", kVoid, {{u"SearchString", kString}, {u"IgnoreCase", kBoolean}}, {{u"Results", kStrings}}},
        {u"SearchSubnet", kVoid, {{u"SearchString", kString}, {u"IgnoreCase", kBoolean}}, {{u"Results", kStrings}}}}},
      {u"TaskObject",
       u"",
       u"TaskName",
       {{u"TaskName", kString},         {u"DisplayName", kString},       {u"UserText", kString},
        {u"DNSName", kString},          {u"IpAddress", kString},         {u"ReadCommunityName", kString},
        {u"WriteCommunityName", kString}, {u"MibVariables", kStrings},  {u"TaskType", kSint32},
        {u"TaskStatus", kSint32},       {u"RmonFlag", kSint32},          {u"StartTime", kDatetime},
        {u"SamplesRequested", kSint32}, {u"PollingInterval", kSint32},   {u"AlarmType", kSint32},
        {u"RisingThreshold", kString},  {u"FallingThreshold", kString},  {u"SampleType", kSint32},
        {u"LastSampleValues", kStrings}, {u"PollingCount", kSint32},     {u"WrapFlag", kSint32},
        {u"SnmpVersion", kSint32}},
       {{u"AddTask", kSint32, {{u"TaskObject", kObject, u"TaskObject"}}, {}},
        {u"SetDisplayName", kSint32, {{u"TaskName", kString}, {u"DisplayName", kString}}, {}},
        {u"GetTaskObject", kVoid, {{u"TaskName", kString}}, {{u"taskObjects", kObjects, u"TaskObject"}}},
        {u"SetTaskObject", kSint32, {{u"TaskObject", kObject, u"TaskObject"}}, {}},
        {u"GetAllTaskObjects", kVoid, {}, {{u"taskObjects", kObjects, u"TaskObject"}}},
        {u"StopTask", kSint32, {{u"TaskName", kString}}, {}},
        {u"StartTask", kSint32, {{u"TaskName", kString}}, {}},
        {u"RestartTask", kSint32, {{u"TaskName", kString}}, {}},
        {u"DeleteTask", kSint32, {{u"TaskName", kString}}, {}},
        {u"StopAllTasks", kSint32, {}, {}},
        {u"StartAllTasks", kSint32, {}, {}},
        {u"RestartAllTasks", kSint32, {}, {}},
        {u"DeleteAllTasks", kSint32, {}, {}}}},
      {u"TaskDataRecord",
       u"",
       u"PollStartTime",
       {{u"PollStartTime", kDatetime}, {u"SysUpTime", kString}, {u"MibValues", kString}},
       {{u"NumberOf", kSint32, {{u"TaskName", kString}, {u"QueryString", kString}}, {}}}},
      {u"LogObject",
       u"",
       u"Identifier",
       {{u"Identifier", kSint32},
        {u"LogLevel", kSint32},
        {u"Time", kDatetime},
        {u"LogType", kSint32},
        {u"LogSubType", kSint32},
        {u"TargetType", kSint32},
        {u"InternalName", kString},
        {u"DisplayName", kString},
        {u"Address", kString},
        {u"SysObjectID", kString},
        {u"Message", kString},
        {u"ActionID", kSint32}},
       {{u"NumberOf", kSint32, {{u"QueryString", kString}}, {}}}},
      {u"LogObjectEvent",
       u"__ExtrinsicEvent",
       u"",
       // The event classes' own two properties come first.
       {{u"SECURITY_DESCRIPTOR", CIM_UINT8 | CIM_FLAG_ARRAY},
        {u"TIME_CREATED", CIM_UINT64},
        {u"LogObject", kObject, u"LogObject"}},
       {}},
      {u"MibNode",
       u"",
       u"NodeName",
       {{u"ModuleName", kString},
        {u"ParentName", kString},
        {u"NodeName", kString},
        {u"Oid", kString},
        {u"FullPath", kString},
        {u"Description", kString},
        {u"NodeTypeKind", kSint32},
        {u"Status", kSint32},
        {u"Access", kSint32},
        {u"Syntax", kString},
        {u"NextSiblingName", kString},
        {u"PrevSiblingName", kString},
        {u"ChildNameList", kStrings},
        {u"ValueList", kStrings}},
       {{u"DoMibWalk",
         kSint32,
         {{u"FileName", kString},
          {u"HostName", kString},
          {u"StartVariable", kString},
          {u"ReadCommunityName", kString},
          {u"OverwriteFlag", kSint32}},
         {}},
        {u"GetAllTraps", kSint32, {{u"ModuleName", kString}}, {{u"Traps", kStrings}}},
        {u"GetAllNotifications", kSint32, {{u"ModuleName", kString}}, {{u"Notifications", kStrings}}}}},
      {u"ActionCommand",
       u"",
       u"Identifier",
       {{u"Identifier", kSint32},
        {u"IsServerSide", kBoolean},
        {u"Command", kString},
        {u"Parameter", kString},
        {u"Description", kString}},
       {}},
      {u"ActionFilter",
       u"",
       u"Identifier",
       {{u"Availables", kSint32},
        {u"Identifier", kSint32},
        {u"StartTime", kDatetime},
        {u"EndTime", kDatetime},
        {u"LogType", kSint32},
        {u"LogSubType", kSint32},
        {u"Address", kString},
        {u"SysObjectID", kString},
        {u"ActionID", kSint32},
        {u"InternalName", kString}},
       {}},
  };
  return all;
}

constexpr const char16_t* kNamespace = u"root\\Velmoran\\OrvaManager";

// Checks the properties of a class object or signature against `items`.
void expectItems(IWbemClassObject* object, const std::vector<Item>& items, const std::string& where) {
  std::vector<std::u16string> expectedNames;
  for (const Item& item : items) expectedNames.push_back(item.name);
  EXPECT_EQ(names(object, WBEM_FLAG_NONSYSTEM_ONLY), expectedNames) << where;
  for (const Item& item : items) {
    CIMTYPE type = -1;
    ASSERT_EQ(object->Get(item.name.c_str(), 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR) << where;
    EXPECT_EQ(type, item.type) << where << "." << toUtf8(item.name);
    CComPtr<IWbemQualifierSet> qualifiers;
    ASSERT_EQ(object->GetPropertyQualifierSet(item.name.c_str(), &qualifiers), WBEM_S_NO_ERROR);
    CComVariant cimType;
    ASSERT_EQ(qualifiers->Get(u"CIMTYPE", 0, &cimType, nullptr), WBEM_S_NO_ERROR);
    if (item.embedded.empty()) {
      EXPECT_EQ(text(cimType).find(u':'), std::u16string::npos) << where << "." << toUtf8(item.name);
      continue;
    }
    EXPECT_EQ(text(cimType), u"object:" + item.embedded) << where << "." << toUtf8(item.name);
    CComVariant embedded;
    ASSERT_EQ(qualifiers->Get(u"EmbeddedInstance", 0, &embedded, nullptr), WBEM_S_NO_ERROR)
        << where << "." << toUtf8(item.name);
    EXPECT_EQ(text(embedded), item.embedded);
  }
}

TEST(OrvaManagerMofTest, DeclaresEveryClassOfTheNamespaceAsTheTablesGiveIt) {
  ClassRepository repo;
  MofCompiler compiler(repo);
  MofResult result;
  ASSERT_EQ(compiler.compileFile(OM_MOF_DIR "/OrvaManager.mof", &result), S_OK) << result.message;
  EXPECT_TRUE(result.instances.empty());
  ASSERT_EQ(result.classes.size(), tables().size());

  for (const ClassTable& table : tables()) {
    const std::string where = toUtf8(table.name);
    ClassPtr cls = repo.findClass(kNamespace, table.name);
    ASSERT_NE(cls, nullptr) << where;
    EXPECT_EQ(cls->name(), table.name);
    EXPECT_EQ(cls->superclassName(), table.superclass) << where;
    CComPtr<IWbemClassObject> object = CimObject::newClass(cls);
    expectItems(object, table.properties, where);
    const std::vector<std::u16string> keys = names(object, WBEM_FLAG_KEYS_ONLY);
    if (table.key.empty()) {
      EXPECT_TRUE(keys.empty()) << where;
    } else {
      EXPECT_EQ(keys, std::vector<std::u16string>{table.key}) << where;
    }

    std::vector<std::u16string> methodNames;
    for (const MethodDef& m : cls->methods()) methodNames.push_back(m.name);
    std::vector<std::u16string> expectedMethods;
    for (const Method& m : table.methods) expectedMethods.push_back(m.name);
    EXPECT_EQ(methodNames, expectedMethods) << where;  // names keep their case ("isExist")

    for (const Method& m : table.methods) {
      const std::string method = where + "::" + toUtf8(m.name);
      CComPtr<IWbemClassObject> in;
      CComPtr<IWbemClassObject> out;
      ASSERT_EQ(object->GetMethod(m.name.c_str(), 0, &in, &out), WBEM_S_NO_ERROR) << method;
      if (m.in.empty()) {
        EXPECT_EQ(in, nullptr) << method;
      } else {
        ASSERT_NE(in, nullptr) << method;
        expectItems(in, m.in, method + " in");
      }
      std::vector<Item> outItems = m.out;
      if (m.returns != kVoid) outItems.insert(outItems.begin(), Item{u"ReturnValue", m.returns});
      if (outItems.empty()) {
        EXPECT_EQ(out, nullptr) << method;
      } else {
        ASSERT_NE(out, nullptr) << method;
        expectItems(out, outItems, method + " out");
      }
    }
  }

  // An instance with an embedded instance in the event and a relative path
  // built from the integer key.
  CComPtr<IWbemClassObject> log = spawn(classObject(repo, kNamespace, u"LogObject"));
  ASSERT_EQ(put(log, u"Identifier", CComVariant(12)), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(get(log, u"__RELPATH")), u"LogObject.Identifier=12");
  CComPtr<IWbemClassObject> event = spawn(classObject(repo, kNamespace, u"LogObjectEvent"));
  EXPECT_EQ(put(event, u"LogObject", CComVariant(static_cast<IUnknown*>(log))), WBEM_S_NO_ERROR);
  EXPECT_EQ(event->InheritsFrom(u"__Event"), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> task = spawn(classObject(repo, kNamespace, u"TaskObject"));
  EXPECT_EQ(put(event, u"LogObject", CComVariant(static_cast<IUnknown*>(task))), WBEM_E_TYPE_MISMATCH);
}

}  // namespace
}  // namespace om::wmi::test
