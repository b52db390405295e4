// The CIM-XML codec: round trips of requests, responses and classes, the
// wire form byte for byte, the forms other tools send, hostile input, and
// the status mapping.
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CimXml.h"
#include "ExtendedStatus.h"
#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

using namespace om::wmi::cimxml;

constexpr char16_t kTestNs[] = u"root\\CimXmlTest";
constexpr char16_t kProductNs[] = u"root\\Velmoran\\OrvaManager";

// Classes with every CIM type, qualifiers with flavors, defaults, methods
// with every kind of parameter, keys of every kind, an override and a
// singleton.
constexpr char kTestMof[] = R"(
#pragma namespace("\\\\.\\root\\CimXmlTest")
class Part {
  [key] string Name;
  sint32 Count;
  Part Inner;
};
[Description("Every CIM type"), Version("1.0"): ToInstance DisableOverride, Tags{"a", "b"}, Weight(2.5), Answer(42)]
class AllTypes {
  [key] string Name;
  sint8 S8; uint8 U8; sint16 S16; uint16 U16; sint32 S32; uint32 U32; sint64 S64; uint64 U64;
  real32 R32; real64 R64; boolean Flag; string Text; char16 Letter; datetime When;
  Part ref Link; object Anything; Part Piece;
  sint8 S8s[]; uint8 U8s[]; sint16 S16s[]; uint16 U16s[]; sint32 S32s[]; uint32 U32s[]; sint64 S64s[];
  uint64 U64s[]; real32 R32s[]; real64 R64s[]; boolean Flags[]; string Texts[]; char16 Letters[];
  datetime Whens[]; Part Pieces[];
  [MaxLen(40): Restricted, Description("has a default")] string Defaulted = "x";
  sint32 Numbers[] = {1, 2, 3};
  [static, Description("takes every kind of parameter")]
  sint32 Run([in] string Label, [in, out] sint32 Count, [in] uint8 Bytes[], [in] Part ref Target,
             [in, EmbeddedInstance("Part")] string Template, [out] Part Result, [out] Part Results[],
             [in] object Extra);
  void Stop();
};
class Keys {
  [key] sint32 Id;
  [key] boolean On;
  [key] Part ref Owner;
  [key] string Label;
};
class Derived : AllTypes {
  [Description("overridden")] string Text = "derived";
  uint32 Extra;
  boolean Check([in] string What);
};
[singleton] class Settings { sint32 Level; };
)";

CComVariant textValue(std::u16string_view text) {
  CComVariant v;
  v.vt = VT_BSTR;
  v.bstrVal = allocBstr(text);
  return v;
}

CComVariant textArray(const std::vector<std::u16string>& items) {
  CComVariant v;
  v.vt = VT_ARRAY | VT_BSTR;
  v.parray = stringArray(items);
  return v;
}

std::string objectText(IUnknown* object) {
  CComQIPtr<IWbemClassObject> wbem(object);
  const CimObject* cim = CimObject::from(wbem);
  return cim == nullptr ? "<null>" : toUtf8(cim->objectText());
}

::testing::AssertionResult sameValue(const VARIANT& a, const VARIANT& b) {
  if (a.vt != b.vt) return ::testing::AssertionFailure() << "VARIANT types " << a.vt << " and " << b.vt;
  if (a.vt == VT_UNKNOWN) {
    CComQIPtr<IWbemClassObject> x(a.punkVal);
    CComQIPtr<IWbemClassObject> y(b.punkVal);
    if (x == nullptr && y == nullptr) return ::testing::AssertionSuccess();
    if (x != nullptr && y != nullptr && x->CompareTo(0, y) == WBEM_S_SAME) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << objectText(a.punkVal) << " and " << objectText(b.punkVal);
  }
  if ((a.vt & VT_ARRAY) != 0) {
    const std::vector<CComVariant> x = elements(a);
    const std::vector<CComVariant> y = elements(b);
    if (x.size() != y.size()) return ::testing::AssertionFailure() << x.size() << " and " << y.size() << " elements";
    for (size_t i = 0; i < x.size(); ++i) {
      ::testing::AssertionResult same = sameValue(x[i], y[i]);
      if (!same) return same << " (element " << i << ")";
    }
    return ::testing::AssertionSuccess();
  }
  if (CComVariant(a) == b) return ::testing::AssertionSuccess();
  CComVariant x(a);
  CComVariant y(b);
  x.ChangeType(VT_BSTR);
  y.ChangeType(VT_BSTR);
  return ::testing::AssertionFailure() << toUtf8(text(x)) << " and " << toUtf8(text(y));
}

void expectSameParams(const std::vector<ParamValue>& a, const std::vector<ParamValue>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(toUtf8(a[i].name), toUtf8(b[i].name));
    EXPECT_EQ(a[i].type, b[i].type) << toUtf8(a[i].name);
    EXPECT_TRUE(sameValue(a[i].value, b[i].value)) << toUtf8(a[i].name);
  }
}

void expectSameQualifiers(const QualifierList& a, const QualifierList& b, const std::string& where) {
  ASSERT_EQ(a.items().size(), b.items().size()) << where;
  for (size_t i = 0; i < a.items().size(); ++i) {
    const Qualifier& x = a.items()[i];
    const Qualifier& y = b.items()[i];
    EXPECT_EQ(toUtf8(x.name), toUtf8(y.name)) << where;
    EXPECT_EQ(x.flavor, y.flavor) << where << " " << toUtf8(x.name);
    EXPECT_TRUE(sameValue(x.value, y.value)) << where << " " << toUtf8(x.name);
  }
}

// Every part of two definitions: qualifiers with flavors, properties with
// types, classes, defaults and origins, methods with their signatures.
void expectSameClass(const CimClass& a, const CimClass& b) {
  const std::string where = toUtf8(a.name());
  EXPECT_EQ(where, toUtf8(b.name()));
  EXPECT_EQ(toUtf8(a.superclassName()), toUtf8(b.superclassName())) << where;
  expectSameQualifiers(a.qualifiers(), b.qualifiers(), where);
  ASSERT_EQ(a.properties().size(), b.properties().size()) << where;
  for (size_t i = 0; i < a.properties().size(); ++i) {
    const PropertyDef& x = a.properties()[i];
    const PropertyDef& y = b.properties()[i];
    const std::string property = where + "." + toUtf8(x.name);
    EXPECT_EQ(toUtf8(x.name), toUtf8(y.name)) << where;
    EXPECT_EQ(x.type, y.type) << property;
    EXPECT_EQ(toUtf8(x.refClass), toUtf8(y.refClass)) << property;
    EXPECT_EQ(toUtf8(x.origin), toUtf8(y.origin)) << property;
    EXPECT_EQ(x.isKey(), y.isKey()) << property;
    EXPECT_TRUE(sameValue(x.defaultValue, y.defaultValue)) << property;
    expectSameQualifiers(x.qualifiers, y.qualifiers, property);
  }
  ASSERT_EQ(a.methods().size(), b.methods().size()) << where;
  for (size_t i = 0; i < a.methods().size(); ++i) {
    const MethodDef& x = a.methods()[i];
    const MethodDef& y = b.methods()[i];
    const std::string method = where + "." + toUtf8(x.name) + "()";
    EXPECT_EQ(toUtf8(x.name), toUtf8(y.name)) << where;
    EXPECT_EQ(x.returnType, y.returnType) << method;
    EXPECT_EQ(toUtf8(x.origin), toUtf8(y.origin)) << method;
    expectSameQualifiers(x.qualifiers, y.qualifiers, method);
    for (const auto& [p, q] : {std::pair(x.in, y.in), std::pair(x.out, y.out)}) {
      ASSERT_EQ(p == nullptr, q == nullptr) << method;
      if (p != nullptr) expectSameClass(*p, *q);
    }
  }
}

Response intrinsicResponse(std::u16string id, std::u16string method, ReturnKind kind,
                           std::vector<CComPtr<IWbemClassObject>> objects = {}) {
  Response response;
  response.id = std::move(id);
  response.method = std::move(method);
  response.kind = kind;
  response.objects = std::move(objects);
  return response;
}

Response classResponse(const ClassPtr& cls) {
  return intrinsicResponse(u"c", u"GetClass", ReturnKind::kClass, {CimObject::newClass(cls)});
}

// A message around `body` as other tools write it.
std::string message(std::string_view simple, std::string_view body) {
  std::string text = R"(<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)";
  text += R"(<MESSAGE ID="7" PROTOCOLVERSION="1.0"><)" + std::string(simple) + ">";
  return text + std::string(body) + "</" + std::string(simple) + "></MESSAGE></CIM>";
}

std::string testNamespacePath() {
  return R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="CimXmlTest"/></LOCALNAMESPACEPATH>)";
}

class CimXmlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    compileOk(repo_, kTestMof);
    MofCompiler compiler(repo_);
    MofResult result;
    ASSERT_EQ(compiler.compileFile(OM_MOF_DIR "/OrvaManager.mof", &result), S_OK) << result.message;
    productClasses_ = result.classes;
  }

  ClassResolver resolverOf(std::u16string nameSpace) {
    return [this, nameSpace](std::u16string_view name) { return repo_.findClass(nameSpace, name); };
  }

  CComPtr<IWbemClassObject> make(const char16_t* className, std::u16string_view ns = kTestNs) {
    ClassPtr cls = repo_.findClass(ns, className);
    EXPECT_NE(cls, nullptr) << toUtf8(className);
    return CimObject::newInstance(cls);
  }

  CComPtr<IWbemClassObject> part(std::u16string_view name, IWbemClassObject* inner = nullptr) {
    CComPtr<IWbemClassObject> p = make(u"Part");
    EXPECT_EQ(put(p, u"Name", textValue(name)), S_OK);
    EXPECT_EQ(put(p, u"Count", CComVariant(3)), S_OK);
    if (inner != nullptr) {
      EXPECT_EQ(put(p, u"Inner", CComVariant(inner)), S_OK);
    }
    return p;
  }

  // An AllTypes instance with boundary values of every type.
  CComPtr<IWbemClassObject> allTypes() {
    CComPtr<IWbemClassObject> o = make(u"AllTypes");
    const std::vector<std::pair<const char16_t*, CComVariant>> values = {
        {u"Name", textValue(u"all")},
        {u"S8", CComVariant(-128)},
        {u"U8", CComVariant(255)},
        {u"S16", CComVariant(-32768)},
        {u"U16", CComVariant(65535)},
        {u"S32", CComVariant(std::numeric_limits<int>::min())},
        {u"U32", CComVariant(4294967295u)},
        {u"S64", textValue(u"-9223372036854775808")},
        {u"U64", textValue(u"18446744073709551615")},
        {u"R32", CComVariant(std::numeric_limits<float>::denorm_min())},
        {u"R64", CComVariant(0.1)},
        {u"Flag", CComVariant(true)},
        {u"Text", textValue(u"a <b> & \"c\" 'd' \r\n\t ]]> \u65e5\u672c\u8a9e \U0001F600 \x01")},
        {u"Letter", textValue(u"\uFF71")},
        {u"When", textValue(u"20240229123456.123456+540")},
        {u"Link", textValue(u"Part.Name=\"p \\\"1\\\"\"")},
        {u"Anything", CComVariant(part(u"any"))},
        {u"Piece", CComVariant(part(u"outer", part(u"inner")))},
        {u"S8s", makeArray(VT_I4, {CComVariant(-128), CComVariant(0), CComVariant(127)})},
        {u"U8s", makeArray(VT_I4, {CComVariant(0), CComVariant(255)})},
        {u"U32s", makeArray(VT_I4, {CComVariant(-1), CComVariant(0)})},
        {u"S64s", textArray({u"-1", u"9223372036854775807"})},
        {u"R32s", makeArray(VT_R4, {CComVariant(3.4028235e38f), CComVariant(-0.0f)})},
        {u"R64s", makeArray(VT_R8, {CComVariant(std::numeric_limits<double>::infinity()), CComVariant(-1e-300)})},
        {u"Flags", makeArray(VT_BOOL, {CComVariant(false), CComVariant(true)})},
        {u"Texts", textArray({u"", u" ", u"x\ny"})},
        {u"Letters", textArray({u"a", u"<"})},
        {u"Whens", textArray({u"00000001000000.000000:000"})},
        {u"Pieces", makeArray(VT_UNKNOWN, {CComVariant(part(u"p1")), CComVariant(), CComVariant(part(u"p3"))})},
        {u"Numbers", CComVariant()},
    };
    for (const auto& [name, value] : values) EXPECT_EQ(put(o, name, value), S_OK) << toUtf8(name);
    return o;
  }

  Request roundTrip(const Request& request, const ClassResolver& resolve) {
    Request decoded;
    DecodeError error;
    EXPECT_TRUE(decodeRequest(encodeRequest(request), resolve, &decoded, &error)) << error.message;
    return decoded;
  }

  Response roundTrip(const Response& response, const ClassResolver& resolve) {
    Response decoded;
    DecodeError error;
    EXPECT_TRUE(decodeResponse(encodeResponse(response), resolve, &decoded, &error)) << error.message;
    return decoded;
  }

  DecodeError requestError(const std::string& xml, const ClassResolver& resolve) {
    Request decoded;
    DecodeError error;
    EXPECT_FALSE(decodeRequest(xml, resolve, &decoded, &error));
    return error;
  }

  ClassRepository repo_;
  std::vector<std::u16string> productClasses_;
  ClassResolver test_ = resolverOf(kTestNs);
  ClassResolver product_ = resolverOf(kProductNs);
};

// ---- round trips ----

TEST_F(CimXmlTest, IntrinsicRequestsRoundTrip) {
  CComPtr<IWbemClassObject> all = allTypes();
  CComPtr<IWbemClassObject> keys = make(u"Keys");
  ASSERT_EQ(put(keys, u"Id", CComVariant(-5)), S_OK);
  ASSERT_EQ(put(keys, u"On", CComVariant(false)), S_OK);
  ASSERT_EQ(put(keys, u"Owner", textValue(u"Part.Name=\"o\"")), S_OK);
  ASSERT_EQ(put(keys, u"Label", textValue(u"a,b=\"c\"")), S_OK);
  const std::u16string keysPath = CimObject::from(keys)->relPath();
  const std::vector<Request> requests = {
      {u"1",
       kTestNs,
       true,
       u"GetInstance",
       u"",
       {{u"InstanceName", CIM_REFERENCE, textValue(keysPath)},
        {u"LocalOnly", CIM_EMPTY, textValue(u"FALSE")},
        {u"PropertyList", CIM_STRING | CIM_FLAG_ARRAY, textArray({u"Id", u"Label"})},
        {u"IncludeClassOrigin", CIM_EMPTY, CComVariant()}}},
      {u"2", kTestNs, true, u"CreateInstance", u"", {{u"NewInstance", CIM_OBJECT, CComVariant(all)}}},
      {u"3", kTestNs, true, u"ModifyInstance", u"", {{u"ModifiedInstance", CIM_OBJECT, CComVariant(all)}}},
      {u"4",
       kTestNs,
       true,
       u"ExecQuery",
       u"",
       {{u"QueryLanguage", CIM_EMPTY, textValue(u"WQL")},
        {u"Query", CIM_EMPTY, textValue(u"SELECT * FROM Part WHERE Name < \"x\" AND Count >= 2")}}},
      {u"5", kTestNs, true, u"GetClass", u"", {{u"ClassName", CIM_STRING, textValue(u"AllTypes")}}},
      {u"6", kTestNs, true, u"GetInstance", u"", {{u"InstanceName", CIM_REFERENCE, textValue(u"Settings=@")}}},
      {u"7",
       kTestNs,
       true,
       u"ModifyClass",
       u"",
       {{u"ModifiedClass", CIM_OBJECT, CComVariant(classObject(repo_, kTestNs, u"Derived"))}}},
  };
  for (const Request& request : requests) {
    SCOPED_TRACE(toUtf8(request.method) + " " + toUtf8(request.id));
    const Request decoded = roundTrip(request, test_);
    EXPECT_EQ(toUtf8(decoded.id), toUtf8(request.id));
    EXPECT_EQ(toUtf8(decoded.nameSpace), toUtf8(request.nameSpace));
    EXPECT_TRUE(decoded.intrinsic);
    EXPECT_EQ(toUtf8(decoded.method), toUtf8(request.method));
    std::vector<ParamValue> expected = request.params;
    for (ParamValue& p : expected) {
      if (p.value.vt == VT_EMPTY) p.value.vt = VT_NULL;  // an empty IPARAMVALUE is null
    }
    expectSameParams(decoded.params, expected);
  }
  // The modified instance travels as VALUE.NAMEDINSTANCE, the new one alone.
  EXPECT_NE(encodeRequest(requests[2]).find("<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"AllTypes\">"),
            std::string::npos);
  EXPECT_EQ(encodeRequest(requests[1]).find("VALUE.NAMEDINSTANCE"), std::string::npos);
  EXPECT_NE(roundTrip(requests[0], test_).param(u"instancename"), nullptr);
}

TEST_F(CimXmlTest, ExtrinsicRequestsRoundTripEveryType) {
  const std::vector<ParamValue> params = {
      {u"S8", CIM_SINT8, CComVariant(static_cast<short>(-128))},
      {u"U8", CIM_UINT8, CComVariant(static_cast<BYTE>(255))},
      {u"U16", CIM_UINT16, CComVariant(65535)},
      {u"U32", CIM_UINT32, CComVariant(-1)},
      {u"S64", CIM_SINT64, textValue(u"-9223372036854775808")},
      {u"U64", CIM_UINT64, textValue(u"18446744073709551615")},
      {u"R32", CIM_REAL32, CComVariant(-std::numeric_limits<float>::infinity())},
      {u"R64", CIM_REAL64, CComVariant(5e-324)},
      {u"Flag", CIM_BOOLEAN, CComVariant(false)},
      {u"Letter", CIM_CHAR16, CComVariant(static_cast<short>(0x3042))},
      {u"When", CIM_DATETIME, textValue(u"20000101000000.000000-060")},
      {u"Target", CIM_REFERENCE, textValue(u"\\\\host\\root\\CimXmlTest:Part.Name=\"t\"")},
      {u"Local", CIM_REFERENCE, textValue(u"root\\CimXmlTest:Settings=@")},
      {u"ClassRef", CIM_REFERENCE, textValue(u"Part")},
      {u"Template", CIM_OBJECT, CComVariant(part(u"t", part(u"u")))},
      {u"Class", CIM_OBJECT, CComVariant(classObject(repo_, kTestNs, u"Part"))},
      {u"Bytes", CIM_UINT8 | CIM_FLAG_ARRAY, makeArray(VT_UI1, {CComVariant(static_cast<BYTE>(0))})},
      {u"Empty", CIM_SINT32 | CIM_FLAG_ARRAY, makeArray(VT_I4, {})},
      {u"Refs", CIM_REFERENCE | CIM_FLAG_ARRAY, textArray({u"Part.Name=\"a\"", u"Part.Name=\"b\""})},
      {u"Parts", CIM_OBJECT | CIM_FLAG_ARRAY, makeArray(VT_UNKNOWN, {CComVariant(part(u"x")), CComVariant()})},
      {u"Null", CIM_STRING, CComVariant()},
      {u"Untyped", CIM_EMPTY, textValue(u"free text")},
  };
  std::vector<ParamValue> expected = params;
  expected[20].value.vt = VT_NULL;
  for (const std::u16string& target : {std::u16string(u"AllTypes"), std::u16string(u"Part.Name=\"x\"")}) {
    const Request request{u"9", kTestNs, false, u"Unlisted", target, params};
    const Request decoded = roundTrip(request, test_);
    EXPECT_FALSE(decoded.intrinsic);
    EXPECT_EQ(toUtf8(decoded.objectPath), toUtf8(target));
    EXPECT_EQ(toUtf8(decoded.method), "Unlisted");
    expectSameParams(decoded.params, expected);
  }
}

TEST_F(CimXmlTest, IntrinsicResponsesRoundTripEachKind) {
  CComPtr<IWbemClassObject> all = allTypes();
  CComPtr<IWbemClassObject> settings = make(u"Settings");
  CComPtr<IWbemClassObject> keyless = make(u"Part");  // null key: no path
  const std::vector<CComPtr<IWbemClassObject>> instances = {all, part(u"p1"), settings};
  const std::vector<CComPtr<IWbemClassObject>> classes = {classObject(repo_, kTestNs, u"Derived"),
                                                          classObject(repo_, kTestNs, u"Part")};
  struct Case {
    const char16_t* method;
    ReturnKind kind;
    std::vector<CComPtr<IWbemClassObject>> objects;
    std::vector<std::u16string> names;
  };
  const std::vector<Case> cases = {
      {u"GetClass", ReturnKind::kClass, {classes[0]}, {}},
      {u"GetInstance", ReturnKind::kInstance, {all}, {}},
      {u"EnumerateInstances", ReturnKind::kNamedInstances, {all, part(u"p1"), settings, keyless}, {}},
      {u"EnumerateInstances", ReturnKind::kNamedInstances, {}, {}},
      {u"ExecQuery", ReturnKind::kObjectsWithPath, {all, settings, keyless, classes[1]}, {}},
      {u"EnumerateClasses", ReturnKind::kClasses, classes, {}},
      {u"EnumerateInstanceNames", ReturnKind::kInstanceNames, {}, {u"Part.Name=\"a\"", u"Settings=@"}},
      {u"CreateInstance",
       ReturnKind::kInstanceNames,
       {},
       {u"Keys.Id=1,Label=\"x\",On=TRUE,Owner=\"Part.Name=\\\"o\\\"\""}},
      {u"EnumerateClassNames", ReturnKind::kClassNames, {}, {u"AllTypes", u"Part"}},
      {u"DeleteInstance", ReturnKind::kNone, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(toUtf8(c.method));
    Response response;
    response.id = u"r1";
    response.method = c.method;
    response.kind = c.kind;
    response.objects = c.objects;
    response.names = c.names;
    const Response decoded = roundTrip(response, test_);
    EXPECT_EQ(toUtf8(decoded.id), "r1");
    EXPECT_TRUE(decoded.intrinsic);
    EXPECT_FALSE(decoded.error.has_value());
    EXPECT_EQ(decoded.kind, c.kind);
    ASSERT_EQ(decoded.objects.size(), c.objects.size());
    for (size_t i = 0; i < c.objects.size(); ++i) {
      EXPECT_TRUE(sameValue(CComVariant(decoded.objects[i]), CComVariant(c.objects[i])));
    }
    ASSERT_EQ(decoded.names.size(), c.names.size());
    for (size_t i = 0; i < c.names.size(); ++i) EXPECT_EQ(toUtf8(decoded.names[i]), toUtf8(c.names[i]));
  }
  // Objects with a path carry their full path; those without one travel alone.
  const Response query = intrinsicResponse(u"q", u"ExecQuery", ReturnKind::kObjectsWithPath, {part(u"p9"), keyless});
  const std::string text = encodeResponse(query);
  EXPECT_NE(text.find("<VALUE.OBJECTWITHPATH><INSTANCEPATH><NAMESPACEPATH><HOST>"), std::string::npos);
  EXPECT_NE(text.find("<NAMESPACE NAME=\"CimXmlTest\"/></LOCALNAMESPACEPATH></NAMESPACEPATH><INSTANCENAME "
                      "CLASSNAME=\"Part\"><KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">p9</KEYVALUE>"),
            std::string::npos);
  EXPECT_NE(text.find("<VALUE.OBJECT><INSTANCE CLASSNAME=\"Part\">"), std::string::npos);

  Response value = intrinsicResponse(u"v", u"GetProperty", ReturnKind::kValue);
  value.value = {u"", CIM_SINT32 | CIM_FLAG_ARRAY, makeArray(VT_I4, {CComVariant(1), CComVariant(-2)})};
  const Response decodedValue = roundTrip(value, test_);
  EXPECT_EQ(decodedValue.kind, ReturnKind::kValue);
  EXPECT_EQ(decodedValue.value.type, CIM_STRING | CIM_FLAG_ARRAY);  // a value's type does not travel
  EXPECT_TRUE(sameValue(decodedValue.value.value, textArray({u"1", u"-2"})));
}

TEST_F(CimXmlTest, MethodResponsesAndErrorsRoundTrip) {
  Response response;
  response.id = u"m";
  response.intrinsic = false;
  response.method = u"Run";
  response.value = {u"", CIM_SINT32, CComVariant(-7)};
  response.outParams = {
      {u"Count", CIM_SINT32, CComVariant(8)},
      {u"Result", CIM_OBJECT, CComVariant(part(u"r", part(u"s", part(u"t"))))},
      {u"Results", CIM_OBJECT | CIM_FLAG_ARRAY, makeArray(VT_UNKNOWN, {CComVariant(part(u"a"))})},
      {u"Missing", CIM_OBJECT, CComVariant()},
  };
  Response decoded = roundTrip(response, test_);
  EXPECT_FALSE(decoded.intrinsic);
  EXPECT_EQ(toUtf8(decoded.method), "Run");
  EXPECT_EQ(decoded.value.type, CIM_SINT32);
  EXPECT_TRUE(sameValue(decoded.value.value, CComVariant(-7)));
  std::vector<ParamValue> expected = response.outParams;
  expected[3].value.vt = VT_NULL;
  expectSameParams(decoded.outParams, expected);

  response.value = ParamValue();  // a void method: no RETURNVALUE
  decoded = roundTrip(response, test_);
  EXPECT_EQ(encodeResponse(response).find("RETURNVALUE"), std::string::npos);
  EXPECT_EQ(decoded.value.type, CIM_EMPTY);
  EXPECT_EQ(decoded.value.value.vt, VT_EMPTY);

  // An error keeps its code, description and the __ExtendedStatus instance
  // with the exact HRESULT; both kinds of response carry one.
  const CComPtr<IWbemClassObject> status =
      makeExtendedStatus(repo_, kTestNs, {u"ExecMethod", u"AllTypes.Run", u"TestProvider"}, WBEM_E_PROVIDER_FAILURE,
                         u"The provider <failed> & \"stopped\"");
  ASSERT_NE(status, nullptr);
  for (const bool intrinsic : {true, false}) {
    Response failed;
    failed.intrinsic = intrinsic;
    failed.method = u"Run";
    failed.error = Error{cimStatusOf(WBEM_E_PROVIDER_FAILURE), u"The provider <failed>", {status}};
    const Response back = roundTrip(failed, test_);
    ASSERT_TRUE(back.error.has_value());
    EXPECT_EQ(back.error->code, CIM_ERR_FAILED);
    EXPECT_EQ(toUtf8(back.error->description), "The provider <failed>");
    ASSERT_EQ(back.error->instances.size(), 1u);
    EXPECT_EQ(back.error->instances[0]->CompareTo(0, status), WBEM_S_SAME);
    EXPECT_EQ(static_cast<HRESULT>(get(back.error->instances[0], u"StatusCode").lVal), WBEM_E_PROVIDER_FAILURE);
    // A client that cannot build the instance still gets the error.
    const Response bare = roundTrip(failed, nullptr);
    ASSERT_TRUE(bare.error.has_value());
    EXPECT_EQ(bare.error->code, CIM_ERR_FAILED);
    EXPECT_TRUE(bare.error->instances.empty());
  }
}

TEST_F(CimXmlTest, EveryProductClassRoundTripsThroughClassXml) {
  ASSERT_GE(productClasses_.size(), 10u);
  for (const std::u16string& stored : productClasses_) {
    const std::u16string name = stored.substr(stored.rfind(u':') + 1);
    SCOPED_TRACE(toUtf8(name));
    const ClassPtr original = repo_.findClass(kProductNs, name);
    ASSERT_NE(original, nullptr);
    const Response response = classResponse(original);
    const Response decoded = roundTrip(response, product_);
    ASSERT_EQ(decoded.objects.size(), 1u);
    const ClassPtr back = CimObject::from(decoded.objects[0])->definition();
    expectSameClass(*original, *back);
    EXPECT_EQ(back->superclass(), original->superclass());  // shared with the resolver's
  }
}

TEST_F(CimXmlTest, TestClassesRoundTripWithQualifiersDefaultsAndMethods) {
  for (const char16_t* name : {u"AllTypes", u"Derived", u"Keys", u"Part", u"Settings", u"__ExtendedStatus"}) {
    SCOPED_TRACE(toUtf8(name));
    const ClassPtr original = repo_.findClass(kTestNs, name);
    const Response response = classResponse(original);
    const Response decoded = roundTrip(response, test_);
    ASSERT_EQ(decoded.objects.size(), 1u);
    expectSameClass(*original, *CimObject::from(decoded.objects[0])->definition());
    EXPECT_EQ(decoded.objects[0]->CompareTo(0, response.objects[0]), WBEM_S_SAME);
  }
  // Other tools take a parameter without IN for an [in] one.
  const std::string allTypes = encodeResponse(classResponse(repo_.findClass(kTestNs, u"AllTypes")));
  EXPECT_NE(allTypes.find(R"(<PARAMETER NAME="Result" TYPE="string"><QUALIFIER NAME="IN" TYPE="boolean" )"
                          R"(TOINSTANCE="true"><VALUE>FALSE</VALUE></QUALIFIER><QUALIFIER NAME="out" )"),
            std::string::npos);
  EXPECT_NE(allTypes.find(R"(<PARAMETER NAME="Count" TYPE="sint32"><QUALIFIER NAME="in" )"), std::string::npos);

  // Without its superclass, a class comes back as a root class that holds
  // every property and method itself.
  const ClassPtr derived = repo_.findClass(kTestNs, u"Derived");
  const Response response = classResponse(derived);
  const ClassResolver withoutBase = [&](std::u16string_view n) {
    return equalsNoCase(n, u"AllTypes") ? nullptr : test_(n);
  };
  const Response decoded = roundTrip(response, withoutBase);
  ASSERT_EQ(decoded.objects.size(), 1u);
  const ClassPtr root = CimObject::from(decoded.objects[0])->definition();
  EXPECT_EQ(root->superclass(), nullptr);
  EXPECT_EQ(root->properties().size(), derived->properties().size());
  EXPECT_EQ(root->methods().size(), derived->methods().size());
  EXPECT_EQ(text(root->property(u"Text")->defaultValue), u"derived");
}

// ---- the wire form ----

TEST_F(CimXmlTest, GoldenGetInstanceRequest) {
  const Request request{
      u"1001",
      kProductNs,
      true,
      u"GetInstance",
      u"",
      {{u"InstanceName", CIM_REFERENCE, textValue(u"NetworkObject.ObjectName=\"Sw \\\"1\\\" <core> & \\\\lab\"")},
       {u"LocalOnly", CIM_EMPTY, textValue(u"FALSE")},
       {u"IncludeQualifiers", CIM_BOOLEAN, CComVariant(false)},
       {u"PropertyList", CIM_STRING | CIM_FLAG_ARRAY, textArray({u"ObjectName", u"Description"})}}};
  const std::string expected =
      R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
      R"(<MESSAGE ID="1001" PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="GetInstance">)"
      R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="Velmoran"/><NAMESPACE NAME="OrvaManager"/>)"
      R"(</LOCALNAMESPACEPATH><IPARAMVALUE NAME="InstanceName"><INSTANCENAME CLASSNAME="NetworkObject">)"
      R"(<KEYBINDING NAME="ObjectName"><KEYVALUE VALUETYPE="string">Sw "1" &lt;core&gt; &amp; \lab</KEYVALUE>)"
      R"(</KEYBINDING></INSTANCENAME></IPARAMVALUE><IPARAMVALUE NAME="LocalOnly"><VALUE>FALSE</VALUE></IPARAMVALUE>)"
      R"(<IPARAMVALUE NAME="IncludeQualifiers"><VALUE>FALSE</VALUE></IPARAMVALUE>)"
      R"(<IPARAMVALUE NAME="PropertyList"><VALUE.ARRAY><VALUE>ObjectName</VALUE><VALUE>Description</VALUE>)"
      R"(</VALUE.ARRAY></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>)";
  EXPECT_EQ(encodeRequest(request), expected);
}

TEST_F(CimXmlTest, GoldenEnumerateInstancesResponse) {
  CComPtr<IWbemClassObject> command = make(u"ActionCommand", kProductNs);
  ASSERT_EQ(put(command, u"Identifier", CComVariant(7)), S_OK);
  ASSERT_EQ(put(command, u"IsServerSide", CComVariant(true)), S_OK);
  ASSERT_EQ(put(command, u"Command", textValue(u"/usr/bin/notify-send")), S_OK);
  ASSERT_EQ(put(command, u"Description", textValue(u"Tab\tthere & \"q\"")), S_OK);
  const Response response = intrinsicResponse(u"1002", u"EnumerateInstances", ReturnKind::kNamedInstances, {command});
  const std::string expected =
      R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
      R"(<MESSAGE ID="1002" PROTOCOLVERSION="1.0"><SIMPLERSP><IMETHODRESPONSE NAME="EnumerateInstances">)"
      R"(<IRETURNVALUE><VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="ActionCommand"><KEYBINDING NAME="Identifier">)"
      R"(<KEYVALUE VALUETYPE="numeric">7</KEYVALUE></KEYBINDING></INSTANCENAME><INSTANCE CLASSNAME="ActionCommand">)"
      R"(<PROPERTY NAME="Identifier" TYPE="sint32"><VALUE>7</VALUE></PROPERTY>)"
      R"(<PROPERTY NAME="IsServerSide" TYPE="boolean"><VALUE>TRUE</VALUE></PROPERTY>)"
      R"(<PROPERTY NAME="Command" TYPE="string"><VALUE>/usr/bin/notify-send</VALUE></PROPERTY>)"
      R"(<PROPERTY NAME="Parameter" TYPE="string"/>)"
      "<PROPERTY NAME=\"Description\" TYPE=\"string\"><VALUE>Tab\tthere &amp; \"q\"</VALUE></PROPERTY>"
      R"(</INSTANCE></VALUE.NAMEDINSTANCE></IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)";
  EXPECT_EQ(encodeResponse(response), expected);
}

TEST_F(CimXmlTest, GoldenMethodResponseWithEmbeddedInstanceAndError) {
  CComPtr<IWbemClassObject> result = part(u"r");
  Response response = intrinsicResponse(u"1003", u"Run", ReturnKind::kNone);
  response.intrinsic = false;
  response.value = {u"", CIM_SINT32, CComVariant(0)};
  response.outParams = {{u"Result", CIM_OBJECT, CComVariant(result)}};
  const std::string expected =
      R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
      R"(<MESSAGE ID="1003" PROTOCOLVERSION="1.0"><SIMPLERSP><METHODRESPONSE NAME="Run">)"
      R"(<RETURNVALUE PARAMTYPE="sint32"><VALUE>0</VALUE></RETURNVALUE>)"
      R"(<PARAMVALUE NAME="Result" PARAMTYPE="string" EmbeddedObject="object"><VALUE>)"
      R"(&lt;INSTANCE CLASSNAME="Part"&gt;&lt;PROPERTY NAME="Name" TYPE="string"&gt;&lt;VALUE&gt;r&lt;/VALUE&gt;)"
      R"(&lt;/PROPERTY&gt;&lt;PROPERTY NAME="Count" TYPE="sint32"&gt;&lt;VALUE&gt;3&lt;/VALUE&gt;&lt;/PROPERTY&gt;)"
      R"(&lt;PROPERTY NAME="Inner" TYPE="string" EmbeddedObject="object"/&gt;&lt;/INSTANCE&gt;</VALUE>)"
      R"(</PARAMVALUE></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)";
  EXPECT_EQ(encodeResponse(response), expected);

  Response error = intrinsicResponse(u"1004", u"GetInstance", ReturnKind::kNone);
  error.error = Error{CIM_ERR_NOT_FOUND, u"No \"x\"\n<here>", {}};
  EXPECT_EQ(encodeResponse(error),
            R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
            R"(<MESSAGE ID="1004" PROTOCOLVERSION="1.0"><SIMPLERSP><IMETHODRESPONSE NAME="GetInstance">)"
            R"(<ERROR CODE="6" DESCRIPTION="No &quot;x&quot;&#10;&lt;here&gt;"/>)"
            R"(</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)");
}

TEST_F(CimXmlTest, TextAndNumbersKeepEveryCharacterAndBit) {
  // Attributes and text with characters an XML reader would otherwise
  // normalise, and reals at their limits.
  const std::u16string awkward = u"\r\n\t \"'<>&]]> \u00e9\u30a2 \U0001F600";
  Request request{awkward, u"root\\CimXmlTest", false, awkward.substr(5, 1) + u"Run", u"Part.Name=\"" + awkward + u"\"",
                  {}};
  request.params = {{awkward, CIM_STRING, textValue(awkward)},
                    {u"NaN", CIM_REAL64, CComVariant(std::numeric_limits<double>::quiet_NaN())},
                    {u"Inf", CIM_REAL32, CComVariant(std::numeric_limits<float>::infinity())},
                    {u"Max", CIM_REAL64, CComVariant(std::numeric_limits<double>::max())},
                    {u"Tiny", CIM_REAL32, CComVariant(1.17549435e-38f)},
                    {u"Third", CIM_REAL32, CComVariant(1.0f / 3.0f)}};
  const Request decoded = roundTrip(request, test_);
  EXPECT_EQ(decoded.id, awkward);
  EXPECT_EQ(decoded.objectPath, request.objectPath);
  ASSERT_EQ(decoded.params.size(), 6u);
  EXPECT_EQ(decoded.params[0].name, awkward);
  EXPECT_EQ(text(decoded.params[0].value), awkward);
  EXPECT_TRUE(std::isnan(decoded.params[1].value.dblVal));
  EXPECT_EQ(decoded.params[2].value.fltVal, std::numeric_limits<float>::infinity());
  EXPECT_EQ(decoded.params[3].value.dblVal, std::numeric_limits<double>::max());
  EXPECT_EQ(decoded.params[4].value.fltVal, 1.17549435e-38f);
  EXPECT_EQ(decoded.params[5].value.fltVal, 1.0f / 3.0f);
}

// ---- what other tools send ----

TEST_F(CimXmlTest, ReadsUntypedParametersKeysWhitespaceAndSingleQuotes) {
  const std::string xml = R"(<?xml version='1.0' encoding='utf-8'?>
<CIM CIMVERSION='2.0' DTDVERSION='2.0'>
  <MESSAGE ID='42' PROTOCOLVERSION='1.0'>
    <SIMPLEREQ>
      <METHODCALL NAME='run'>
        <LOCALCLASSPATH>
          <LOCALNAMESPACEPATH>
            <NAMESPACE NAME='root'/>
            <NAMESPACE NAME='CimXmlTest'/>
          </LOCALNAMESPACEPATH>
          <CLASSNAME NAME='AllTypes'/>
        </LOCALCLASSPATH>
        <PARAMVALUE NAME='Label'><VALUE>  spaced  </VALUE></PARAMVALUE>
        <PARAMVALUE NAME='Count'>
          <VALUE> 5 </VALUE>
        </PARAMVALUE>
        <PARAMVALUE NAME='Bytes'>
          <VALUE.ARRAY>
            <VALUE>1</VALUE>
            <VALUE>0xFF</VALUE>
          </VALUE.ARRAY>
        </PARAMVALUE>
        <PARAMVALUE NAME='Target'><VALUE.REFERENCE><INSTANCENAME CLASSNAME='Part'>
          <KEYBINDING NAME='Name'><KEYVALUE>p1</KEYVALUE></KEYBINDING>
        </INSTANCENAME></VALUE.REFERENCE></PARAMVALUE>
        <PARAMVALUE NAME='Template' PARAMTYPE='string' EmbeddedObject='instance'>
          <VALUE>&lt;INSTANCE CLASSNAME='Part'&gt;
            &lt;PROPERTY NAME='Name' TYPE='string'&gt;&lt;VALUE&gt;t&lt;/VALUE&gt;&lt;/PROPERTY&gt;
          &lt;/INSTANCE&gt;</VALUE>
        </PARAMVALUE>
        <PARAMVALUE NAME='Extra'>
          <INSTANCE CLASSNAME='Part'>
            <PROPERTY NAME='Name' TYPE='string'><VALUE><![CDATA[a<b]]></VALUE></PROPERTY>
          </INSTANCE>
        </PARAMVALUE>
        <PARAMVALUE NAME='Unknown'><VALUE>text</VALUE></PARAMVALUE>
      </METHODCALL>
    </SIMPLEREQ>
  </MESSAGE>
</CIM>
)";
  Request request;
  DecodeError error;
  ASSERT_TRUE(decodeRequest(xml, test_, &request, &error)) << error.message;
  EXPECT_EQ(toUtf8(request.id), "42");
  EXPECT_EQ(toUtf8(request.nameSpace), "root\\CimXmlTest");
  EXPECT_EQ(toUtf8(request.objectPath), "AllTypes");
  ASSERT_EQ(request.params.size(), 7u);
  // Untyped values take the types of the method's parameters.
  expectSameParams({request.params[0], request.params[1], request.params[2], request.params[3]},
                   {{u"Label", CIM_STRING, textValue(u"  spaced  ")},
                    {u"Count", CIM_SINT32, CComVariant(5)},
                    {u"Bytes", CIM_UINT8 | CIM_FLAG_ARRAY,
                     makeArray(VT_UI1, {CComVariant(static_cast<BYTE>(1)), CComVariant(static_cast<BYTE>(255))})},
                    {u"Target", CIM_REFERENCE, textValue(u"Part.Name=\"p1\"")}});
  EXPECT_EQ(request.params[4].type, CIM_OBJECT);
  EXPECT_EQ(text(get(CComQIPtr<IWbemClassObject>(request.params[4].value.punkVal), u"Name")), u"t");
  EXPECT_EQ(request.params[5].type, CIM_OBJECT);
  EXPECT_EQ(text(get(CComQIPtr<IWbemClassObject>(request.params[5].value.punkVal), u"Name")), u"a<b");
  expectSameParams({request.params[6]}, {{u"Unknown", CIM_EMPTY, textValue(u"text")}});

  // A KEYVALUE without VALUETYPE for an integer key, names in another case,
  // a reference key: the path comes out canonical.
  const std::string getInstance = message("SIMPLEREQ", R"(<IMETHODCALL NAME="GetInstance">)" + testNamespacePath() + R"(
      <IPARAMVALUE NAME="InstanceName"><INSTANCENAME CLASSNAME="keys">
        <KEYBINDING NAME="LABEL"><KEYVALUE VALUETYPE="string">L</KEYVALUE></KEYBINDING>
        <KEYBINDING NAME="id"><KEYVALUE>0012</KEYVALUE></KEYBINDING>
        <KEYBINDING NAME="On"><KEYVALUE VALUETYPE="boolean">true</KEYVALUE></KEYBINDING>
        <KEYBINDING NAME="Owner"><VALUE.REFERENCE><INSTANCENAME CLASSNAME="Part"><KEYBINDING NAME="Name">
          <KEYVALUE>o</KEYVALUE></KEYBINDING></INSTANCENAME></VALUE.REFERENCE></KEYBINDING>
      </INSTANCENAME></IPARAMVALUE>
      <IPARAMVALUE NAME="LocalOnly"><VALUE>false</VALUE></IPARAMVALUE>
    </IMETHODCALL>)");
  ASSERT_TRUE(decodeRequest(getInstance, test_, &request, &error)) << error.message;
  expectSameParams(request.params, {{u"InstanceName", CIM_REFERENCE,
                                     textValue(u"Keys.Id=12,Label=\"L\",On=TRUE,Owner=\"Part.Name=\\\"o\\\"\"")},
                                    {u"LocalOnly", CIM_EMPTY, textValue(u"false")}});
}

TEST_F(CimXmlTest, ReadsResponsesAsOtherServersWriteThem) {
  const std::string part = R"(<INSTANCE CLASSNAME='Part'>
      <PROPERTY NAME='Name' TYPE='string'><VALUE>p1</VALUE></PROPERTY>
      <PROPERTY NAME='Count' TYPE='sint32'></PROPERTY>
    </INSTANCE>)";
  // An enumeration of an unlisted method, objects with and without names.
  Response response;
  DecodeError error;
  ASSERT_TRUE(decodeResponse(message("SIMPLERSP", R"(<IMETHODRESPONSE NAME='EnumerateParts'>
        <IRETURNVALUE>
          <VALUE.OBJECT>)" + part + R"(</VALUE.OBJECT>
          <VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME='Part'><KEYVALUE>p1</KEYVALUE></INSTANCENAME>)" +
                                                       part + R"(</VALUE.NAMEDINSTANCE>
        </IRETURNVALUE>
      </IMETHODRESPONSE>)"),
                             test_, &response, &error))
      << error.message;
  EXPECT_EQ(response.kind, ReturnKind::kNamedInstances);
  ASSERT_EQ(response.objects.size(), 2u);
  EXPECT_EQ(text(get(response.objects[1], u"Name")), u"p1");
  EXPECT_EQ(get(response.objects[1], u"Count").vt, VT_NULL);

  // An untyped return value and out parameter stay text.
  ASSERT_TRUE(decodeResponse(message("SIMPLERSP", R"(<METHODRESPONSE NAME='Run'>
        <RETURNVALUE><VALUE>0</VALUE></RETURNVALUE>
        <PARAMVALUE NAME='Count'><VALUE>9</VALUE></PARAMVALUE>
      </METHODRESPONSE>)"),
                             test_, &response, &error))
      << error.message;
  expectSameParams({response.value}, {{u"", CIM_EMPTY, textValue(u"0")}});
  expectSameParams(response.outParams, {{u"Count", CIM_EMPTY, textValue(u"9")}});

  // GetInstance and GetClass return one object; nothing is an error.
  for (const char* body : {"<IMETHODRESPONSE NAME='GetInstance'/>",
                           "<IMETHODRESPONSE NAME='GetClass'><IRETURNVALUE/></IMETHODRESPONSE>"}) {
    EXPECT_FALSE(decodeResponse(message("SIMPLERSP", body), test_, &response, &error)) << body;
    EXPECT_EQ(error.code, CIM_ERR_INVALID_PARAMETER) << body;
  }
}

// ---- hostile input ----

TEST_F(CimXmlTest, RejectsWhatIsNotCimXmlAsBadRequests) {
  const std::string valid =
      encodeRequest({u"1", kTestNs, true, u"GetClass", u"", {{u"ClassName", CIM_STRING, textValue(u"Part")}}});
  std::vector<std::string> inputs = {
      "",
      "GET / HTTP/1.1\r\n",
      "<?xml version=\"1.0\"?><FOO/>",
      "<CIM><MESSAGE ID=\"1\"><MULTIREQ/></MESSAGE></CIM>",
      "<CIM><MESSAGE><SIMPLEREQ><IMETHODCALL NAME=\"x\"/></SIMPLEREQ></MESSAGE></CIM>",
      "<CIM><MESSAGE ID=\"1\"><SIMPLEREQ><IMETHODCALL NAME=\"GetClass\"/></SIMPLEREQ></MESSAGE></CIM>",
      "<CIM/><CIM/>",
      "text<CIM/>",
      valid.substr(0, 60) + std::string(1, '\0') + valid.substr(60),
  };
  for (size_t cut = 1; cut < valid.size(); cut += 7) inputs.push_back(valid.substr(0, cut));
  std::mt19937 random(1234);
  for (int i = 0; i < 50; ++i) {
    std::string noise(static_cast<size_t>(random() % 200), ' ');
    for (char& c : noise) c = static_cast<char>(random());
    inputs.push_back(noise);
  }
  for (const std::string& input : inputs) {
    SCOPED_TRACE(input.substr(0, 80));
    const DecodeError error = requestError(input, test_);
    EXPECT_TRUE(error.badRequest);
    EXPECT_FALSE(error.message.empty());
    Response response;
    DecodeError responseError;
    EXPECT_FALSE(decodeResponse(input, test_, &response, &responseError));
    EXPECT_TRUE(responseError.badRequest);
  }
}

TEST_F(CimXmlTest, RejectsDoctypesAndDeepNesting) {
  // Ten levels of entities, each ten of the one before: 10^10 characters.
  std::string bomb = R"(<?xml version="1.0"?><!DOCTYPE CIM [<!ENTITY a "aaaaaaaaaa">)";
  for (char c = 'b'; c <= 'j'; ++c) {
    bomb += std::string("<!ENTITY ") + c + " \"";
    for (int i = 0; i < 10; ++i) bomb += std::string("&") + static_cast<char>(c - 1) + ";";
    bomb += "\">";
  }
  bomb += "]><CIM>&j;</CIM>";
  DecodeError error = requestError(bomb, test_);
  EXPECT_TRUE(error.badRequest);
  EXPECT_NE(error.message.find("DOCTYPE"), std::string::npos) << error.message;
  error = requestError(R"(<!DOCTYPE CIM SYSTEM "file:///etc/passwd"><CIM/>)", test_);
  EXPECT_NE(error.message.find("DOCTYPE"), std::string::npos) << error.message;

  // Nesting: kMaxDepth elements are read, one more is refused, and 100,000
  // are refused without exhausting the stack.
  const auto nested = [](int depth) {
    std::string open;
    std::string close;
    for (int i = 2; i < depth; ++i) {
      open += "<VALUE>";
      close += "</VALUE>";
    }
    return "<CIM>" + open + "<CLASSNAME/>" + close + "</CIM>";
  };
  error = requestError(nested(kMaxDepth), test_);
  EXPECT_TRUE(error.badRequest);
  EXPECT_EQ(error.message.find("deep"), std::string::npos) << error.message;
  for (const int depth : {kMaxDepth + 1, 100000}) {
    error = requestError(nested(depth), test_);
    EXPECT_TRUE(error.badRequest);
    EXPECT_NE(error.message.find("nested more than 64 deep"), std::string::npos) << error.message;
  }
}

TEST_F(CimXmlTest, LimitsHowDeeplyObjectsAreEmbedded) {
  // A chain of Parts, each embedded in the one before: kMaxEmbeddingDepth
  // levels below the message are read, one more is refused.
  const auto chain = [&](int levels) {
    CComPtr<IWbemClassObject> inner = part(u"leaf");
    for (int i = 0; i < levels; ++i) inner = part(u"level", inner);
    return encodeRequest(
        {u"1", kTestNs, true, u"CreateInstance", u"", {{u"NewInstance", CIM_OBJECT, CComVariant(inner)}}});
  };
  Request request;
  DecodeError error;
  EXPECT_TRUE(decodeRequest(chain(kMaxEmbeddingDepth), test_, &request, &error)) << error.message;
  EXPECT_FALSE(decodeRequest(chain(kMaxEmbeddingDepth + 1), test_, &request, &error));
  EXPECT_FALSE(error.badRequest);
  EXPECT_EQ(error.code, CIM_ERR_INVALID_PARAMETER);
  EXPECT_NE(error.message.find("nested more than 8 deep"), std::string::npos) << error.message;
}

TEST_F(CimXmlTest, RejectsWrongValuesAndUnknownClassesWithCimErrors) {
  const auto call = [&](const std::string& params) {
    return message("SIMPLEREQ", R"(<METHODCALL NAME="Run"><LOCALCLASSPATH>)" + testNamespacePath() +
                                    R"(<CLASSNAME NAME="AllTypes"/></LOCALCLASSPATH>)" + params + "</METHODCALL>");
  };
  const auto create = [&](const std::string& instance) {
    return message("SIMPLEREQ", R"(<IMETHODCALL NAME="CreateInstance">)" + testNamespacePath() +
                                    R"(<IPARAMVALUE NAME="NewInstance">)" + instance + "</IPARAMVALUE></IMETHODCALL>");
  };
  const auto property = [](std::string_view name, std::string_view type, std::string_view value) {
    return "<INSTANCE CLASSNAME=\"AllTypes\"><PROPERTY NAME=\"" + std::string(name) + "\" TYPE=\"" + std::string(type) +
           "\"><VALUE>" + std::string(value) + "</VALUE></PROPERTY></INSTANCE>";
  };
  const struct {
    std::string xml;
    int code;
  } cases[] = {
      {call(R"(<PARAMVALUE NAME="Count" PARAMTYPE="sint32"><VALUE>abc</VALUE></PARAMVALUE>)"),
       CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="Count"><VALUE>1.5</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="uint8"><VALUE>300</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="uint32"><VALUE>-1</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="sint64"><VALUE>9223372036854775808</VALUE></PARAMVALUE>)"),
       CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="boolean"><VALUE>maybe</VALUE></PARAMVALUE>)"),
       CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="char16"><VALUE>ab</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="datetime"><VALUE>yesterday</VALUE></PARAMVALUE>)"),
       CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="real32"><VALUE>1e39</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="number"><VALUE>1</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="X" PARAMTYPE="uint8"><VALUE.ARRAY><VALUE>1</VALUE><VALUE.NULL/></VALUE.ARRAY>)"
            R"(</PARAMVALUE>)"),
       CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="Template"><VALUE>&lt;INSTANCE CLASSNAME="Keys"/&gt;</VALUE></PARAMVALUE>)"),
       CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="Template"><VALUE>&lt;INSTANCE</VALUE></PARAMVALUE>)"), CIM_ERR_INVALID_PARAMETER},
      {call(R"(<PARAMVALUE NAME="Target"><INSTANCE CLASSNAME="Part"/></PARAMVALUE>)"), CIM_ERR_TYPE_MISMATCH},
      {create(property("U8", "uint8", "300")), CIM_ERR_INVALID_PARAMETER},
      {create(property("S32", "sint32", "abc")), CIM_ERR_INVALID_PARAMETER},
      {create(property("S32", "string", "1")), CIM_ERR_TYPE_MISMATCH},
      {create(property("Nothing", "string", "1")), CIM_ERR_INVALID_PARAMETER},
      {create(R"(<INSTANCE CLASSNAME="Nope"/>)"), CIM_ERR_INVALID_CLASS},
      {create(R"(<INSTANCE CLASSNAME="AllTypes"><PROPERTY NAME="Piece" TYPE="string" EmbeddedObject="object"><VALUE>)"
              R"(&lt;INSTANCE CLASSNAME="Nope"/&gt;</VALUE></PROPERTY></INSTANCE>)"),
       CIM_ERR_INVALID_CLASS},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.xml.substr(c.xml.find("<SIMPLEREQ>")));
    const DecodeError error = requestError(c.xml, test_);
    EXPECT_FALSE(error.badRequest) << error.message;
    EXPECT_EQ(error.code, c.code) << error.message;
    EXPECT_FALSE(error.message.empty());
  }
}

// ---- status codes ----

TEST(CimXmlStatusTest, MapsEachCodeBothWays) {
  const std::pair<int, HRESULT> pairs[] = {
      {CIM_ERR_FAILED, WBEM_E_FAILED},
      {CIM_ERR_ACCESS_DENIED, WBEM_E_ACCESS_DENIED},
      {CIM_ERR_INVALID_NAMESPACE, WBEM_E_INVALID_NAMESPACE},
      {CIM_ERR_INVALID_PARAMETER, WBEM_E_INVALID_PARAMETER},
      {CIM_ERR_INVALID_CLASS, WBEM_E_INVALID_CLASS},
      {CIM_ERR_NOT_FOUND, WBEM_E_NOT_FOUND},
      {CIM_ERR_NOT_SUPPORTED, WBEM_E_NOT_SUPPORTED},
      {CIM_ERR_CLASS_HAS_CHILDREN, WBEM_E_CLASS_HAS_CHILDREN},
      {CIM_ERR_CLASS_HAS_INSTANCES, WBEM_E_CLASS_HAS_INSTANCES},
      {CIM_ERR_INVALID_SUPERCLASS, WBEM_E_INVALID_SUPERCLASS},
      {CIM_ERR_ALREADY_EXISTS, WBEM_E_ALREADY_EXISTS},
      {CIM_ERR_NO_SUCH_PROPERTY, WBEM_E_INVALID_PROPERTY},
      {CIM_ERR_TYPE_MISMATCH, WBEM_E_TYPE_MISMATCH},
      {CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, WBEM_E_INVALID_QUERY_TYPE},
      {CIM_ERR_INVALID_QUERY, WBEM_E_INVALID_QUERY},
      {CIM_ERR_METHOD_NOT_AVAILABLE, WBEM_E_METHOD_NOT_IMPLEMENTED},
      {CIM_ERR_METHOD_NOT_FOUND, WBEM_E_INVALID_METHOD},
  };
  for (int code = 1; code <= 17; ++code) {
    EXPECT_EQ(pairs[code - 1].first, code);
    EXPECT_EQ(hresultOf(code), pairs[code - 1].second) << code;
    EXPECT_EQ(cimStatusOf(pairs[code - 1].second), code) << code;
  }
  EXPECT_EQ(hresultOf(0), WBEM_S_NO_ERROR);
  EXPECT_EQ(cimStatusOf(S_OK), 0);
  EXPECT_EQ(cimStatusOf(WBEM_S_FALSE), 0);
  EXPECT_EQ(hresultOf(18), WBEM_E_FAILED);
  EXPECT_EQ(hresultOf(-1), WBEM_E_FAILED);
  EXPECT_EQ(cimStatusOf(WBEM_E_CRITICAL_ERROR), CIM_ERR_FAILED);
  EXPECT_EQ(cimStatusOf(E_OUTOFMEMORY), CIM_ERR_FAILED);
  EXPECT_EQ(cimStatusOf(WBEM_E_INVALID_OBJECT_PATH), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(cimStatusOf(WBEM_E_INVALID_METHOD_PARAMETERS), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(cimStatusOf(WBEM_E_PROVIDER_NOT_CAPABLE), CIM_ERR_NOT_SUPPORTED);
}

}  // namespace
}  // namespace om::wmi::test
