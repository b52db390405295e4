// Class objects: method signatures, editing a class without touching the
// stored definition, building a class through the interface, and the MOF
// text of classes and instances.
#include <gtest/gtest.h>

#include <om/ComObject.h>

#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

constexpr const char* kMethodsMof = R"(
#pragma namespace("\\\\.\\root\\methods")
class Item { [key] string Name; sint32 Count = 3; };
[Description("calls")]
class Service
{
  [key] string Id;
  [Static, Implemented] boolean Check([in] string Target, [in] boolean Force, [in] sint32 Level,
      [in] string Names[], [in, EmbeddedInstance("Item")] object Seed);
  [Static] void List([in] string Filter, [out, EmbeddedInstance("Item")] object Items[]);
  sint32 Count();
  void Nothing();
  uint64 Both([in, out] string Text, [out] datetime When);
};
)";

class ClassObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    startObjects_ = om::comObjectCount();
    compileOk(repo_, kMethodsMof);
  }
  void TearDown() override { EXPECT_EQ(om::comObjectCount(), startObjects_) << "COM objects leaked"; }

  ClassRepository repo_;
  long startObjects_ = 0;
};

TEST_F(ClassObjectTest, MethodSignaturesListTheParametersInOrder) {
  CComPtr<IWbemClassObject> service = classObject(repo_, u"root\\methods", u"Service");
  CComPtr<IWbemClassObject> in;
  CComPtr<IWbemClassObject> out;
  ASSERT_EQ(service->GetMethod(u"check", 0, &in, &out), WBEM_S_NO_ERROR);
  ASSERT_NE(in, nullptr);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(text(get(in, u"__CLASS")), u"__PARAMETERS");
  EXPECT_EQ(get(in, u"__GENUS").lVal, WBEM_GENUS_CLASS);
  EXPECT_EQ(names(in, WBEM_FLAG_NONSYSTEM_ONLY),
            (std::vector<std::u16string>{u"Target", u"Force", u"Level", u"Names", u"Seed"}));
  EXPECT_EQ(names(out, WBEM_FLAG_NONSYSTEM_ONLY), std::vector<std::u16string>{u"ReturnValue"});
  CIMTYPE type = 0;
  EXPECT_EQ(in->Get(u"Names", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_STRING | CIM_FLAG_ARRAY);
  EXPECT_EQ(in->Get(u"Seed", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_OBJECT);
  EXPECT_EQ(out->Get(u"ReturnValue", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_BOOLEAN);
  CComPtr<IWbemQualifierSet> seed;
  ASSERT_EQ(in->GetPropertyQualifierSet(u"Seed", &seed), WBEM_S_NO_ERROR);
  CComVariant v;
  ASSERT_EQ(seed->Get(u"ID", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(v.lVal, 4);
  v.Clear();
  ASSERT_EQ(seed->Get(u"CIMTYPE", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(v), u"object:Item");

  // The in-parameters are filled through an instance of the signature.
  CComPtr<IWbemClassObject> args = spawn(in);
  EXPECT_EQ(put(args, u"Target", CComVariant(u"node")), WBEM_S_NO_ERROR);
  EXPECT_EQ(put(args, u"Force", CComVariant(true)), WBEM_S_NO_ERROR);
  EXPECT_EQ(put(args, u"Names", makeArray(VT_BSTR, {CComVariant(u"a")})), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> item = spawn(classObject(repo_, u"root\\methods", u"Item"));
  EXPECT_EQ(put(args, u"Seed", CComVariant(static_cast<IUnknown*>(item))), WBEM_S_NO_ERROR);
  EXPECT_EQ(put(args, u"Seed", CComVariant(static_cast<IUnknown*>(args))), WBEM_E_TYPE_MISMATCH);
  EXPECT_EQ(put(args, u"Level", CComVariant(u"high")), WBEM_E_TYPE_MISMATCH);
  EXPECT_EQ(put(args, u"Unknown", CComVariant(1)), WBEM_E_NOT_FOUND);

  // A method without in-parameters has no in-signature; one without result
  // and out-parameters no out-signature.
  CComPtr<IWbemClassObject> in2;
  CComPtr<IWbemClassObject> out2;
  ASSERT_EQ(service->GetMethod(u"Count", 0, &in2, &out2), WBEM_S_NO_ERROR);
  EXPECT_EQ(in2, nullptr);
  ASSERT_NE(out2, nullptr);
  EXPECT_EQ(out2->Get(u"ReturnValue", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_SINT32);
  CComPtr<IWbemClassObject> in3;
  CComPtr<IWbemClassObject> out3;
  ASSERT_EQ(service->GetMethod(u"Nothing", 0, &in3, &out3), WBEM_S_NO_ERROR);
  EXPECT_EQ(in3, nullptr);
  EXPECT_EQ(out3, nullptr);
  CComPtr<IWbemClassObject> in4;
  CComPtr<IWbemClassObject> out4;
  ASSERT_EQ(service->GetMethod(u"List", 0, &in4, &out4), WBEM_S_NO_ERROR);
  EXPECT_EQ(names(out4, WBEM_FLAG_NONSYSTEM_ONLY), std::vector<std::u16string>{u"Items"});
  EXPECT_EQ(out4->Get(u"Items", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_OBJECT | CIM_FLAG_ARRAY);
  // [in, out] appears in both signatures.
  CComPtr<IWbemClassObject> in5;
  CComPtr<IWbemClassObject> out5;
  ASSERT_EQ(service->GetMethod(u"Both", 0, &in5, &out5), WBEM_S_NO_ERROR);
  EXPECT_EQ(names(in5, WBEM_FLAG_NONSYSTEM_ONLY), std::vector<std::u16string>{u"Text"});
  EXPECT_EQ(names(out5, WBEM_FLAG_NONSYSTEM_ONLY), (std::vector<std::u16string>{u"ReturnValue", u"Text", u"When"}));

  IWbemClassObject* none = nullptr;
  EXPECT_EQ(service->GetMethod(u"NoSuch", 0, &none, nullptr), WBEM_E_NOT_FOUND);

  // Method enumeration and qualifiers.
  ASSERT_EQ(service->BeginMethodEnumeration(0), WBEM_S_NO_ERROR);
  std::vector<std::u16string> methods;
  BSTR name = nullptr;
  while (service->NextMethod(0, &name, nullptr, nullptr) == WBEM_S_NO_ERROR) {
    methods.emplace_back(bstrView(name));
    SysFreeString(name);
  }
  EXPECT_EQ(methods, (std::vector<std::u16string>{u"Check", u"List", u"Count", u"Nothing", u"Both"}));
  EXPECT_EQ(service->EndMethodEnumeration(), WBEM_S_NO_ERROR);
  CComPtr<IWbemQualifierSet> checkQualifiers;
  ASSERT_EQ(service->GetMethodQualifierSet(u"Check", &checkQualifiers), WBEM_S_NO_ERROR);
  v.Clear();
  EXPECT_EQ(checkQualifiers->Get(u"Static", 0, &v, nullptr), WBEM_S_NO_ERROR);
  BSTR origin = nullptr;
  ASSERT_EQ(service->GetMethodOrigin(u"Check", &origin), WBEM_S_NO_ERROR);
  EXPECT_EQ(bstrView(origin), u"Service");
  SysFreeString(origin);
}

TEST_F(ClassObjectTest, EditingAClassObjectLeavesTheStoredClassAndItsInstances) {
  CComPtr<IWbemClassObject> item = classObject(repo_, u"root\\methods", u"Item");
  CComPtr<IWbemClassObject> before = spawn(item);
  EXPECT_EQ(get(item, u"__GENUS").lVal, WBEM_GENUS_CLASS);
  EXPECT_EQ(text(get(item, u"__RELPATH")), u"Item");
  EXPECT_EQ(text(get(item, u"__PATH")), u"\\\\" + ClassRepository::serverName() + u"\\root\\methods:Item");
  EXPECT_EQ(get(item, u"Count").lVal, 3);  // a class gives its defaults

  ASSERT_EQ(put(item, u"Count", CComVariant(10)), WBEM_S_NO_ERROR);
  CComVariant added(u"x");
  ASSERT_EQ(item->Put(u"Added", 0, &added, CIM_STRING), WBEM_S_NO_ERROR);
  CComPtr<IWbemQualifierSet> set;
  ASSERT_EQ(item->GetQualifierSet(&set), WBEM_S_NO_ERROR);
  CComVariant description(u"edited");
  ASSERT_EQ(set->Put(u"Description", &description, 0), WBEM_S_NO_ERROR);
  CComVariant bad(makeArray(VT_UNKNOWN, {}));
  EXPECT_EQ(set->Put(u"Bad", &bad, 0), WBEM_E_INVALID_QUALIFIER_TYPE);

  CComPtr<IWbemClassObject> after = spawn(item);
  EXPECT_EQ(get(after, u"Count").lVal, 10);
  EXPECT_EQ(text(get(after, u"Added")), u"x");
  EXPECT_EQ(get(before, u"Count").lVal, 3);
  EXPECT_EQ(before->Get(u"Added", 0, nullptr, nullptr, nullptr), WBEM_E_NOT_FOUND);
  ClassPtr stored = repo_.findClass(u"root\\methods", u"Item");
  EXPECT_EQ(stored->property(u"Added"), nullptr);
  EXPECT_EQ(stored->property(u"Count")->defaultValue.lVal, 3);
  EXPECT_EQ(stored->qualifiers().find(u"Description"), nullptr);

  // Deleting a property of a class; an inherited one cannot be.
  ASSERT_EQ(item->Delete(u"Added"), WBEM_S_NO_ERROR);
  EXPECT_EQ(item->Get(u"Added", 0, nullptr, nullptr, nullptr), WBEM_E_NOT_FOUND);
  CComPtr<IWbemClassObject> derived;
  ASSERT_EQ(item->SpawnDerivedClass(0, &derived), WBEM_S_NO_ERROR);
  EXPECT_EQ(derived->Delete(u"Count"), WBEM_E_PROPAGATED_PROPERTY);
}

TEST_F(ClassObjectTest, AClassBuiltThroughTheInterfaceCanBeStored) {
  CComPtr<IWbemClassObject> item = classObject(repo_, u"root\\methods", u"Item");
  CComPtr<IWbemClassObject> derived;
  ASSERT_EQ(item->SpawnDerivedClass(0, &derived), WBEM_S_NO_ERROR);
  EXPECT_EQ(get(derived, u"__CLASS").vt, VT_NULL);
  IWbemClassObject* none = nullptr;
  EXPECT_EQ(derived->SpawnInstance(0, &none), WBEM_E_INCOMPLETE_CLASS);
  ASSERT_EQ(put(derived, u"__CLASS", CComVariant(u"Tool")), WBEM_S_NO_ERROR);
  EXPECT_EQ(put(derived, u"__CLASS", CComVariant(u"9bad")), WBEM_E_INVALID_PARAMETER);
  CComVariant weight(2.5);
  ASSERT_EQ(derived->Put(u"Weight", 0, &weight, 0), WBEM_S_NO_ERROR);  // type taken from the value
  CIMTYPE type = 0;
  ASSERT_EQ(derived->Get(u"Weight", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_REAL64);
  ASSERT_EQ(derived->Put(u"Tags", 0, nullptr, CIM_STRING | CIM_FLAG_ARRAY), WBEM_S_NO_ERROR);
  EXPECT_EQ(derived->Put(u"Broken", 0, nullptr, 0), WBEM_E_INVALID_PROPERTY_TYPE);

  // A method from signature objects of another class.
  CComPtr<IWbemClassObject> service = classObject(repo_, u"root\\methods", u"Service");
  CComPtr<IWbemClassObject> in;
  CComPtr<IWbemClassObject> out;
  ASSERT_EQ(service->GetMethod(u"List", 0, &in, &out), WBEM_S_NO_ERROR);
  ASSERT_EQ(derived->PutMethod(u"List", 0, in, out), WBEM_S_NO_ERROR);

  EXPECT_EQ(derived->InheritsFrom(u"Item"), WBEM_S_NO_ERROR);
  EXPECT_EQ(derived->InheritsFrom(u"Tool"), WBEM_S_FALSE);
  ASSERT_EQ(repo_.putClass(u"root\\methods", *CimObject::from(derived)->definition(), WBEM_FLAG_CREATE_ONLY),
            WBEM_S_NO_ERROR);
  ClassPtr tool = repo_.findClass(u"root\\methods", u"tool");
  ASSERT_NE(tool, nullptr);
  EXPECT_EQ(tool->superclassName(), u"Item");
  ASSERT_NE(tool->property(u"Weight"), nullptr);
  EXPECT_EQ(tool->property(u"Weight")->origin, u"Tool");
  EXPECT_EQ(tool->property(u"Name")->origin, u"Item");
  ASSERT_NE(tool->findMethod(u"List"), nullptr);
  EXPECT_EQ(tool->nameSpace(), u"root\\methods");
}

TEST_F(ClassObjectTest, ObjectTextIsMofThatCompilesBackToTheSameObject) {
  CComPtr<IWbemClassObject> itemClass = classObject(repo_, u"root\\methods", u"Item");
  CComPtr<IWbemClassObject> item = spawn(itemClass);
  ASSERT_EQ(put(item, u"Name", CComVariant(u"say \"hi\"\\\n")), WBEM_S_NO_ERROR);
  BSTR mof = nullptr;
  ASSERT_EQ(item->GetObjectText(0, &mof), WBEM_S_NO_ERROR);
  EXPECT_EQ(bstrView(mof),
            u"instance of Item\n"
            u"{\n"
            u"\tName = \"say \\\"hi\\\"\\\\\\n\";\n"
            u"\tCount = 3;\n"
            u"};\n");
  SysFreeString(mof);

  ASSERT_EQ(itemClass->GetObjectText(0, &mof), WBEM_S_NO_ERROR);
  EXPECT_EQ(bstrView(mof),
            u"class Item\n"
            u"{\n"
            u"\t[key] string Name;\n"
            u"\tsint32 Count = 3;\n"
            u"};\n");
  SysFreeString(mof);

  // The service class, whose methods carry every kind of parameter, reads
  // back identically; so does an instance holding embedded objects.
  CComPtr<IWbemClassObject> service = classObject(repo_, u"root\\methods", u"Service");
  ASSERT_EQ(service->GetObjectText(0, &mof), WBEM_S_NO_ERROR);
  const std::string serviceText = toUtf8(bstrView(mof));
  SysFreeString(mof);
  ClassRepository other;
  compileOk(other, "#pragma namespace(\"root\\\\methods\")\nclass Item { [key] string Name; sint32 Count = 3; };\n" +
                       serviceText);
  CComPtr<IWbemClassObject> serviceAgain = classObject(other, u"root\\methods", u"Service");
  EXPECT_EQ(service->CompareTo(0, serviceAgain), WBEM_S_SAME) << serviceText;

  compileOk(repo_, R"(
#pragma namespace("root\\methods")
class Holder { [key] sint32 Id; Item One; Item Many[]; real64 Ratio; string Words[]; };
)");
  CComPtr<IWbemClassObject> holder = spawn(classObject(repo_, u"root\\methods", u"Holder"));
  ASSERT_EQ(put(holder, u"Id", CComVariant(-4)), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(holder, u"One", CComVariant(static_cast<IUnknown*>(item))), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(holder, u"Many", makeArray(VT_UNKNOWN, {CComVariant(static_cast<IUnknown*>(item)),
                                                         CComVariant(static_cast<IUnknown*>(item))})),
            WBEM_S_NO_ERROR);
  ASSERT_EQ(put(holder, u"Ratio", CComVariant(0.1)), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(holder, u"Words", makeArray(VT_BSTR, {CComVariant(u"日本"), CComVariant(u"a,b")})), WBEM_S_NO_ERROR);
  ASSERT_EQ(holder->GetObjectText(0, &mof), WBEM_S_NO_ERROR);
  const std::string holderText = "#pragma namespace(\"root\\\\methods\")\n" + toUtf8(bstrView(mof));
  SysFreeString(mof);
  MofResult result = compileOk(repo_, holderText);
  ASSERT_EQ(result.instances.size(), 1u) << holderText;
  EXPECT_EQ(holder->CompareTo(0, result.instances[0].object), WBEM_S_SAME) << holderText;
}

}  // namespace
}  // namespace om::wmi::test
