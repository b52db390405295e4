// Instances: every CIM type written and read back in its Windows VARIANT
// form, refusals, nulls, embedded objects, independence of copies, system
// properties, names and enumeration.
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include <om/ComObject.h>

#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

constexpr const char* kTypesMof = R"(
#pragma namespace("\\\\.\\root\\wmitest")
class Part { [key] string Id; sint32 Size = 7; };
class Special : Part { string Extra; };
class Other { [key] string Id; };
[Description("every type")]
class AllTypes
{
  [key] string Name;
  sint8 S8; uint8 U8; sint16 S16; uint16 U16; sint32 S32; uint32 U32; sint64 S64; uint64 U64;
  real32 R32; real64 R64; boolean B; string S; datetime D; char16 C; Part ref R; object O; Part P;
  sint8 S8a[]; uint8 U8a[]; sint16 S16a[]; uint16 U16a[]; sint32 S32a[]; uint32 U32a[];
  sint64 S64a[]; uint64 U64a[]; real32 R32a[]; real64 R64a[]; boolean Ba[]; string Sa[];
  datetime Da[]; char16 Ca[]; Part ref Ra[];
  [EmbeddedInstance("Part")] object Parts[];
};
class Multi { [key] string b; [key] uint32 a; string c; };
[singleton] class Single { string Value; };
)";

class CimObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    startObjects_ = om::comObjectCount();
    compileOk(repo_, kTypesMof);
  }
  void TearDown() override { EXPECT_EQ(om::comObjectCount(), startObjects_) << "COM objects leaked"; }

  CComPtr<IWbemClassObject> instanceOf(const char16_t* name) {
    CComPtr<IWbemClassObject> cls = classObject(repo_, u"root\\wmitest", name);
    return spawn(cls);
  }

  // Puts `in` into `property` and returns what Get gives back.
  CComVariant roundTrip(IWbemClassObject* object, const char16_t* property, CComVariant in) {
    EXPECT_EQ(put(object, property, in), WBEM_S_NO_ERROR) << toUtf8(property);
    return get(object, property);
  }

  ClassRepository repo_;
  long startObjects_ = 0;
};

TEST_F(CimObjectTest, ScalarsComeBackInTheirWindowsVariantTypes) {
  CComPtr<IWbemClassObject> obj = instanceOf(u"AllTypes");
  CIMTYPE type = 0;

  CComVariant v = roundTrip(obj, u"S8", CComVariant(-128));
  EXPECT_EQ(v.vt, VT_I2);
  EXPECT_EQ(v.iVal, -128);
  v = roundTrip(obj, u"U8", CComVariant(255));
  EXPECT_EQ(v.vt, VT_UI1);
  EXPECT_EQ(v.bVal, 255);
  v = roundTrip(obj, u"S16", CComVariant(-32768));
  EXPECT_EQ(v.vt, VT_I2);
  EXPECT_EQ(v.iVal, -32768);
  v = roundTrip(obj, u"U16", CComVariant(65535));
  EXPECT_EQ(v.vt, VT_I4);
  EXPECT_EQ(v.lVal, 65535);
  v = roundTrip(obj, u"S32", CComVariant(std::numeric_limits<int>::min()));
  EXPECT_EQ(v.vt, VT_I4);
  EXPECT_EQ(v.lVal, std::numeric_limits<int>::min());
  // uint32 travels as VT_I4: large values come back as their bit pattern,
  // and that form is accepted back.
  v = roundTrip(obj, u"U32", CComVariant(4000000000u));
  EXPECT_EQ(v.vt, VT_I4);
  EXPECT_EQ(static_cast<uint32_t>(v.lVal), 4000000000u);
  v = roundTrip(obj, u"U32", CComVariant(-1));
  EXPECT_EQ(static_cast<uint32_t>(v.lVal), 0xFFFFFFFFu);
  v = roundTrip(obj, u"S64", CComVariant(std::numeric_limits<long long>::min()));
  EXPECT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(text(v), u"-9223372036854775808");
  v = roundTrip(obj, u"S64", CComVariant(u"123"));
  EXPECT_EQ(text(v), u"123");
  v = roundTrip(obj, u"U64", CComVariant(std::numeric_limits<unsigned long long>::max()));
  EXPECT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(text(v), u"18446744073709551615");
  v = roundTrip(obj, u"R32", CComVariant(1.5f));
  EXPECT_EQ(v.vt, VT_R4);
  EXPECT_EQ(v.fltVal, 1.5f);
  v = roundTrip(obj, u"R64", CComVariant(-2.25));
  EXPECT_EQ(v.vt, VT_R8);
  EXPECT_EQ(v.dblVal, -2.25);
  v = roundTrip(obj, u"B", CComVariant(true));
  EXPECT_EQ(v.vt, VT_BOOL);
  EXPECT_EQ(v.boolVal, VARIANT_TRUE);
  v = roundTrip(obj, u"B", CComVariant(0));  // a number converts to a boolean
  EXPECT_EQ(v.vt, VT_BOOL);
  EXPECT_EQ(v.boolVal, VARIANT_FALSE);
  v = roundTrip(obj, u"S", CComVariant(u"ネットワーク \"q\""));
  EXPECT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(text(v), u"ネットワーク \"q\"");
  v = roundTrip(obj, u"D", CComVariant(u"20040305070809.000000+540"));
  EXPECT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(text(v), u"20040305070809.000000+540");
  v = roundTrip(obj, u"C", CComVariant(u"A"));
  EXPECT_EQ(v.vt, VT_I2);
  EXPECT_EQ(v.iVal, 65);
  v = roundTrip(obj, u"R", CComVariant(u"Part.Id=\"x\""));
  EXPECT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(text(v), u"Part.Id=\"x\"");
  v = roundTrip(obj, u"S32", CComVariant(u"42"));  // decimal text converts
  EXPECT_EQ(v.vt, VT_I4);
  EXPECT_EQ(v.lVal, 42);

  // Names are case-insensitive; the CIM type comes with the value.
  EXPECT_EQ(obj->Get(u"s32", 0, &v, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_SINT32);
  EXPECT_EQ(obj->Get(u"U64", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_UINT64);
  EXPECT_EQ(obj->Get(u"Parts", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_OBJECT | CIM_FLAG_ARRAY);
  EXPECT_EQ(obj->Get(u"R", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(type, CIM_REFERENCE);
}

TEST_F(CimObjectTest, ValuesThatCannotCarryTheTypeAreRefusedAndLeaveTheValue) {
  CComPtr<IWbemClassObject> obj = instanceOf(u"AllTypes");
  struct Refusal {
    const char16_t* property;
    CComVariant value;
  };
  const Refusal refusals[] = {
      {u"S8", CComVariant(128)},
      {u"U8", CComVariant(256)},
      {u"U8", CComVariant(-1)},
      {u"S16", CComVariant(40000)},
      {u"U16", CComVariant(65536)},
      {u"U16", CComVariant(-1)},
      {u"S32", CComVariant(2147483648LL)},
      {u"S32", CComVariant(u"abc")},
      {u"U32", CComVariant(4294967296LL)},
      {u"U32", CComVariant(-1LL)},  // only a 32-bit negative is a bit pattern
      {u"S64", CComVariant(u"12x")},
      {u"U64", CComVariant(-1)},
      {u"S", CComVariant(12)},
      {u"S", CComVariant(true)},
      {u"D", CComVariant(u"2004-03-05")},
      {u"D", CComVariant(u"20040305070809.000000X540")},
      {u"C", CComVariant(u"AB")},
      {u"R", CComVariant(u"not a path!")},
      {u"B", CComVariant(u"maybe")},
      {u"O", CComVariant(u"text")},
      {u"S32", makeArray(VT_I4, {CComVariant(1)})},
      {u"S32a", CComVariant(1)},
      {u"Sa", makeArray(VT_I4, {CComVariant(1)})},
      {u"S8a", makeArray(VT_I4, {CComVariant(1), CComVariant(300)})},
  };
  ASSERT_EQ(put(obj, u"S32", CComVariant(5)), WBEM_S_NO_ERROR);
  for (const Refusal& r : refusals) {
    CComVariant before = get(obj, r.property);
    EXPECT_EQ(put(obj, r.property, r.value), WBEM_E_TYPE_MISMATCH) << toUtf8(r.property);
    CComVariant after = get(obj, r.property);
    EXPECT_TRUE(before == after) << toUtf8(r.property);
  }
  EXPECT_EQ(get(obj, u"S32").lVal, 5);

  // A type given with Put must be the property's.
  CComVariant five(5);
  EXPECT_EQ(obj->Put(u"S32", 0, &five, CIM_STRING), WBEM_E_TYPE_MISMATCH);
  EXPECT_EQ(obj->Put(u"S32", 0, &five, CIM_SINT32), WBEM_S_NO_ERROR);
  // Unknown names.
  EXPECT_EQ(obj->Put(u"NoSuch", 0, &five, 0), WBEM_E_NOT_FOUND);
  CComVariant out;
  EXPECT_EQ(obj->Get(u"NoSuch", 0, &out, nullptr, nullptr), WBEM_E_NOT_FOUND);
  EXPECT_EQ(out.vt, VT_EMPTY);
  EXPECT_EQ(obj->Get(u"__NoSuch", 0, &out, nullptr, nullptr), WBEM_E_NOT_FOUND);
  EXPECT_EQ(obj->Get(nullptr, 0, &out, nullptr, nullptr), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(obj->Put(u"__CLASS", 0, &five, 0), WBEM_E_READ_ONLY);
}

TEST_F(CimObjectTest, NullClearsAndDeleteRestoresTheDefault) {
  CComPtr<IWbemClassObject> obj = instanceOf(u"Part");
  EXPECT_EQ(get(obj, u"Size").lVal, 7);  // the class's default
  EXPECT_EQ(get(obj, u"Id").vt, VT_NULL);
  ASSERT_EQ(put(obj, u"Size", CComVariant(9)), WBEM_S_NO_ERROR);
  CComVariant null;
  null.vt = VT_NULL;
  ASSERT_EQ(obj->Put(u"Size", 0, &null, 0), WBEM_S_NO_ERROR);
  EXPECT_EQ(get(obj, u"Size").vt, VT_NULL);
  ASSERT_EQ(put(obj, u"Size", CComVariant(9)), WBEM_S_NO_ERROR);
  ASSERT_EQ(obj->Put(u"Size", 0, nullptr, 0), WBEM_S_NO_ERROR);  // no value: null too
  EXPECT_EQ(get(obj, u"Size").vt, VT_NULL);
  ASSERT_EQ(obj->Delete(u"size"), WBEM_S_NO_ERROR);
  EXPECT_EQ(get(obj, u"Size").lVal, 7);
  EXPECT_EQ(obj->Delete(u"NoSuch"), WBEM_E_NOT_FOUND);
  EXPECT_EQ(obj->Delete(u"__CLASS"), WBEM_E_SYSTEM_PROPERTY);
}

TEST_F(CimObjectTest, ArraysOfEveryTypeComeBackAsSafeArraysOfTheirVariantType) {
  CComPtr<IWbemClassObject> obj = instanceOf(u"AllTypes");
  struct Case {
    const char16_t* property;
    CComVariant in;
    VARTYPE expected;
  };
  const Case cases[] = {
      {u"S8a", makeArray(VT_I4, {CComVariant(-1), CComVariant(2)}), VT_ARRAY | VT_I2},
      {u"U8a", makeArray(VT_I4, {CComVariant(0), CComVariant(255)}), VT_ARRAY | VT_UI1},
      {u"S16a", makeArray(VT_I2, {CComVariant(short{-3})}), VT_ARRAY | VT_I2},
      {u"U16a", makeArray(VT_I4, {CComVariant(65535)}), VT_ARRAY | VT_I4},
      {u"S32a", makeArray(VT_BSTR, {CComVariant(u"1"), CComVariant(u"-2")}), VT_ARRAY | VT_I4},
      {u"U32a", makeArray(VT_UI4, {CComVariant(4000000000u)}), VT_ARRAY | VT_I4},
      {u"S64a", makeArray(VT_I8, {CComVariant(-5LL)}), VT_ARRAY | VT_BSTR},
      {u"U64a", makeArray(VT_BSTR, {CComVariant(u"18446744073709551615")}), VT_ARRAY | VT_BSTR},
      {u"R32a", makeArray(VT_R8, {CComVariant(0.5)}), VT_ARRAY | VT_R4},
      {u"R64a", makeArray(VT_R8, {CComVariant(0.25), CComVariant(1e300)}), VT_ARRAY | VT_R8},
      {u"Ba", makeArray(VT_BOOL, {CComVariant(true), CComVariant(false)}), VT_ARRAY | VT_BOOL},
      {u"Sa", makeArray(VT_BSTR, {CComVariant(u"a"), CComVariant(u""), CComVariant(u"c")}), VT_ARRAY | VT_BSTR},
      {u"Da", makeArray(VT_BSTR, {CComVariant(u"20240101000000.000000+000")}), VT_ARRAY | VT_BSTR},
      {u"Ca", makeArray(VT_BSTR, {CComVariant(u"x")}), VT_ARRAY | VT_I2},
      {u"Ra", makeArray(VT_BSTR, {CComVariant(u"Part=\"p\"")}), VT_ARRAY | VT_BSTR},
      {u"Sa", makeArray(VT_VARIANT, {CComVariant(u"v1"), CComVariant(u"v2")}), VT_ARRAY | VT_BSTR},
      {u"Sa", makeArray(VT_BSTR, {}), VT_ARRAY | VT_BSTR},
  };
  for (const Case& c : cases) {
    const CComVariant v = roundTrip(obj, c.property, c.in);
    EXPECT_EQ(v.vt, c.expected) << toUtf8(c.property);
  }
  // Element values, and the lower bound is always 0.
  CComVariant s32 = roundTrip(obj, u"S32a", makeArray(VT_I4, {CComVariant(10), CComVariant(20)}, 5));
  LONG lower = -1;
  SafeArrayGetLBound(s32.parray, 1, &lower);
  EXPECT_EQ(lower, 0);
  std::vector<CComVariant> items = elements(s32);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].lVal, 10);
  EXPECT_EQ(items[1].lVal, 20);
  items = elements(get(obj, u"U32a"));
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(static_cast<uint32_t>(items[0].lVal), 4000000000u);
  items = elements(get(obj, u"S64a"));
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(text(items[0]), u"-5");
  items = elements(get(obj, u"Ba"));
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].boolVal, VARIANT_TRUE);
  EXPECT_EQ(items[1].boolVal, VARIANT_FALSE);
  EXPECT_TRUE(elements(get(obj, u"Sa")).empty());
}

TEST_F(CimObjectTest, EmbeddedObjectsAreIndependentCopiesAndNeverLeak) {
  CComPtr<IWbemClassObject> part = instanceOf(u"Part");
  ASSERT_EQ(put(part, u"Id", CComVariant(u"p1")), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> special = instanceOf(u"Special");
  ASSERT_EQ(put(special, u"Id", CComVariant(u"s1")), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> other = instanceOf(u"Other");

  CComPtr<IWbemClassObject> holder = instanceOf(u"AllTypes");
  ASSERT_EQ(put(holder, u"P", CComVariant(static_cast<IUnknown*>(part))), WBEM_S_NO_ERROR);
  // A derived class fits a typed property; an unrelated one does not.
  EXPECT_EQ(put(holder, u"P", CComVariant(static_cast<IUnknown*>(special))), WBEM_S_NO_ERROR);
  EXPECT_EQ(put(holder, u"P", CComVariant(static_cast<IUnknown*>(other))), WBEM_E_TYPE_MISMATCH);
  EXPECT_EQ(put(holder, u"O", CComVariant(static_cast<IUnknown*>(other))), WBEM_S_NO_ERROR);

  // The stored object is a copy: changing the original afterwards, or the
  // object Get gave, leaves the holder's value alone.
  ASSERT_EQ(put(special, u"Id", CComVariant(u"changed")), WBEM_S_NO_ERROR);
  CComVariant got = get(holder, u"P");
  ASSERT_EQ(got.vt, VT_UNKNOWN);
  CComQIPtr<IWbemClassObject> embedded(got.punkVal);
  ASSERT_NE(embedded, nullptr);
  EXPECT_NE(static_cast<IWbemClassObject*>(embedded), static_cast<IWbemClassObject*>(special));
  EXPECT_EQ(text(get(embedded, u"Id")), u"s1");
  EXPECT_EQ(text(get(embedded, u"__CLASS")), u"Special");
  ASSERT_EQ(put(embedded, u"Id", CComVariant(u"edited")), WBEM_S_NO_ERROR);
  CComVariant again = get(holder, u"P");
  CComQIPtr<IWbemClassObject> embedded2(again.punkVal);
  EXPECT_EQ(text(get(embedded2, u"Id")), u"s1");

  // Arrays of embedded objects, typed by EmbeddedInstance.
  ASSERT_EQ(put(holder, u"Parts",
                makeArray(VT_UNKNOWN, {CComVariant(static_cast<IUnknown*>(part)),
                                       CComVariant(static_cast<IUnknown*>(special))})),
            WBEM_S_NO_ERROR);
  EXPECT_EQ(put(holder, u"Parts", makeArray(VT_UNKNOWN, {CComVariant(static_cast<IUnknown*>(other))})),
            WBEM_E_TYPE_MISMATCH);
  CComVariant parts = get(holder, u"Parts");
  ASSERT_EQ(parts.vt, VT_ARRAY | VT_UNKNOWN);
  std::vector<CComVariant> items = elements(parts);
  ASSERT_EQ(items.size(), 2u);
  CComQIPtr<IWbemClassObject> first(items[0].punkVal);
  CComQIPtr<IWbemClassObject> second(items[1].punkVal);
  EXPECT_EQ(text(get(first, u"Id")), u"p1");
  EXPECT_EQ(text(get(second, u"Id")), u"changed");
  EXPECT_EQ(text(get(second, u"__CLASS")), u"Special");

  // Null clears an embedded object; the fixture checks that every object
  // made here is gone once the pointers are released.
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(holder->Put(u"P", 0, &null, 0), WBEM_S_NO_ERROR);
  EXPECT_EQ(get(holder, u"P").vt, VT_NULL);
}

TEST_F(CimObjectTest, CloneAndSpawnInstanceGiveIndependentObjects) {
  CComPtr<IWbemClassObject> cls = classObject(repo_, u"root\\wmitest", u"AllTypes");
  CComPtr<IWbemClassObject> a = spawn(cls);
  CComPtr<IWbemClassObject> b = spawn(cls);
  ASSERT_EQ(put(a, u"Name", CComVariant(u"a")), WBEM_S_NO_ERROR);
  EXPECT_EQ(get(b, u"Name").vt, VT_NULL);

  CComPtr<IWbemClassObject> part = spawn(classObject(repo_, u"root\\wmitest", u"Part"));
  ASSERT_EQ(put(part, u"Id", CComVariant(u"inner")), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(a, u"P", CComVariant(static_cast<IUnknown*>(part))), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(a, u"Sa", makeArray(VT_BSTR, {CComVariant(u"x")})), WBEM_S_NO_ERROR);

  CComPtr<IWbemClassObject> copy;
  ASSERT_EQ(a->Clone(&copy), WBEM_S_NO_ERROR);
  EXPECT_EQ(a->CompareTo(0, copy), WBEM_S_SAME);
  ASSERT_EQ(put(copy, u"Name", CComVariant(u"copy")), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(copy, u"Sa", makeArray(VT_BSTR, {CComVariant(u"y")})), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(get(a, u"Name")), u"a");
  EXPECT_EQ(text(elements(get(a, u"Sa"))[0]), u"x");
  EXPECT_EQ(a->CompareTo(0, copy), WBEM_S_DIFFERENT);

  // The clone's embedded object is its own.
  CComPtr<IWbemClassObject> copyOfA;
  ASSERT_EQ(a->Clone(&copyOfA), WBEM_S_NO_ERROR);
  CComVariant mine = get(a, u"P");
  CComVariant theirs = get(copyOfA, u"P");
  EXPECT_NE(mine.punkVal, theirs.punkVal);
  EXPECT_EQ(a->CompareTo(0, copyOfA), WBEM_S_SAME);

  // CompareTo with and without case.
  ASSERT_EQ(put(copyOfA, u"Name", CComVariant(u"A")), WBEM_S_NO_ERROR);
  EXPECT_EQ(a->CompareTo(0, copyOfA), WBEM_S_DIFFERENT);
  EXPECT_EQ(a->CompareTo(WBEM_FLAG_IGNORE_CASE, copyOfA), WBEM_S_SAME);
}

TEST_F(CimObjectTest, SystemPropertiesDescribeTheInstance) {
  CComPtr<IWbemClassObject> obj = instanceOf(u"AllTypes");
  EXPECT_EQ(get(obj, u"__RELPATH").vt, VT_NULL);  // the key is null
  EXPECT_EQ(get(obj, u"__PATH").vt, VT_NULL);
  ASSERT_EQ(put(obj, u"Name", CComVariant(u"a\"b\\c")), WBEM_S_NO_ERROR);

  CIMTYPE type = 0;
  CComVariant genus = get(obj, u"__GENUS", &type);
  EXPECT_EQ(genus.vt, VT_I4);
  EXPECT_EQ(genus.lVal, WBEM_GENUS_INSTANCE);
  EXPECT_EQ(type, CIM_SINT32);
  EXPECT_EQ(text(get(obj, u"__CLASS")), u"AllTypes");
  EXPECT_EQ(text(get(obj, u"__RELPATH")), u"AllTypes.Name=\"a\\\"b\\\\c\"");
  EXPECT_EQ(text(get(obj, u"__NAMESPACE")), u"root\\wmitest");
  EXPECT_EQ(text(get(obj, u"__SERVER")), ClassRepository::serverName());
  EXPECT_EQ(text(get(obj, u"__PATH")),
            u"\\\\" + ClassRepository::serverName() + u"\\root\\wmitest:AllTypes.Name=\"a\\\"b\\\\c\"");
  EXPECT_EQ(get(obj, u"__SUPERCLASS").vt, VT_NULL);
  EXPECT_EQ(text(get(obj, u"__DYNASTY")), u"AllTypes");
  EXPECT_EQ(get(obj, u"__PROPERTY_COUNT").lVal, 34);
  CComVariant derivation = get(obj, u"__DERIVATION", &type);
  EXPECT_EQ(derivation.vt, VT_ARRAY | VT_BSTR);
  EXPECT_EQ(type, CIM_STRING | CIM_FLAG_ARRAY);
  EXPECT_TRUE(elements(derivation).empty());

  CComPtr<IWbemClassObject> special = instanceOf(u"Special");
  ASSERT_EQ(put(special, u"Id", CComVariant(u"s")), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(get(special, u"__SUPERCLASS")), u"Part");
  EXPECT_EQ(text(get(special, u"__DYNASTY")), u"Part");
  EXPECT_EQ(text(get(special, u"__RELPATH")), u"Special.Id=\"s\"");
  std::vector<CComVariant> chain = elements(get(special, u"__DERIVATION"));
  ASSERT_EQ(chain.size(), 1u);
  EXPECT_EQ(text(chain[0]), u"Part");

  // Keys in alphabetical order, integers bare; singletons with '@'.
  CComPtr<IWbemClassObject> multi = instanceOf(u"Multi");
  ASSERT_EQ(put(multi, u"b", CComVariant(u"x")), WBEM_S_NO_ERROR);
  ASSERT_EQ(put(multi, u"a", CComVariant(4000000000u)), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(get(multi, u"__RELPATH")), u"Multi.a=4000000000,b=\"x\"");
  EXPECT_EQ(text(get(instanceOf(u"Single"), u"__RELPATH")), u"Single=@");

  // InheritsFrom: an instance belongs to its class and its ancestors.
  EXPECT_EQ(special->InheritsFrom(u"part"), WBEM_S_NO_ERROR);
  EXPECT_EQ(special->InheritsFrom(u"Special"), WBEM_S_NO_ERROR);
  EXPECT_EQ(special->InheritsFrom(u"Other"), WBEM_S_FALSE);
}

TEST_F(CimObjectTest, NamesAndEnumerationFollowTheFlags) {
  CComPtr<IWbemClassObject> special = instanceOf(u"Special");
  const std::vector<std::u16string> system = {u"__GENUS",          u"__CLASS",       u"__SUPERCLASS", u"__DYNASTY",
                                              u"__RELPATH",        u"__PROPERTY_COUNT", u"__DERIVATION",
                                              u"__SERVER",         u"__NAMESPACE",   u"__PATH"};
  std::vector<std::u16string> all = system;
  all.insert(all.end(), {u"Id", u"Size", u"Extra"});
  EXPECT_EQ(names(special, WBEM_FLAG_ALWAYS), all);
  EXPECT_EQ(names(special, WBEM_FLAG_SYSTEM_ONLY), system);
  EXPECT_EQ(names(special, WBEM_FLAG_NONSYSTEM_ONLY), (std::vector<std::u16string>{u"Id", u"Size", u"Extra"}));
  EXPECT_EQ(names(special, WBEM_FLAG_KEYS_ONLY), std::vector<std::u16string>{u"Id"});
  EXPECT_EQ(names(special, WBEM_FLAG_LOCAL_ONLY), std::vector<std::u16string>{u"Extra"});
  EXPECT_EQ(names(special, WBEM_FLAG_PROPAGATED_ONLY), (std::vector<std::u16string>{u"Id", u"Size"}));
  EXPECT_EQ(names(special, WBEM_FLAG_ONLY_IF_TRUE | WBEM_FLAG_NONSYSTEM_ONLY, u"key"), std::vector<std::u16string>{u"Id"});
  EXPECT_EQ(names(special, WBEM_FLAG_ONLY_IF_FALSE | WBEM_FLAG_NONSYSTEM_ONLY, u"key"),
            (std::vector<std::u16string>{u"Size", u"Extra"}));
  CComVariant sint32(u"sint32");
  EXPECT_EQ(names(special, WBEM_FLAG_ONLY_IF_IDENTICAL, u"CIMTYPE", &sint32), std::vector<std::u16string>{u"Size"});
  SAFEARRAY* array = nullptr;
  EXPECT_EQ(special->GetNames(u"key", WBEM_FLAG_ALWAYS, nullptr, &array), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(special->GetNames(nullptr, WBEM_FLAG_ONLY_IF_TRUE, nullptr, &array), WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> all16 = instanceOf(u"AllTypes");
  EXPECT_EQ(names(all16, WBEM_FLAG_REFS_ONLY | WBEM_FLAG_NONSYSTEM_ONLY), (std::vector<std::u16string>{u"R", u"Ra"}));

  // Enumeration gives names, values and types in order, then
  // WBEM_S_NO_MORE_DATA.
  ASSERT_EQ(put(special, u"Extra", CComVariant(u"e")), WBEM_S_NO_ERROR);
  EXPECT_EQ(special->Next(0, nullptr, nullptr, nullptr, nullptr), WBEM_E_UNEXPECTED);
  ASSERT_EQ(special->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY), WBEM_S_NO_ERROR);
  std::vector<std::u16string> seen;
  std::vector<CIMTYPE> types;
  BSTR name = nullptr;
  CComVariant value;
  CIMTYPE type = 0;
  while (special->Next(0, &name, &value, &type, nullptr) == WBEM_S_NO_ERROR) {
    seen.emplace_back(bstrView(name));
    types.push_back(type);
    if (seen.back() == u"Extra") {
      EXPECT_EQ(text(value), u"e");
    }
    SysFreeString(name);
    value.Clear();
  }
  EXPECT_EQ(seen, (std::vector<std::u16string>{u"Id", u"Size", u"Extra"}));
  EXPECT_EQ(types, (std::vector<CIMTYPE>{CIM_STRING, CIM_SINT32, CIM_STRING}));
  EXPECT_EQ(special->Next(0, nullptr, nullptr, nullptr, nullptr), WBEM_S_NO_MORE_DATA);
  EXPECT_EQ(special->EndEnumeration(), WBEM_S_NO_ERROR);
  EXPECT_EQ(special->Next(0, nullptr, nullptr, nullptr, nullptr), WBEM_E_UNEXPECTED);
  ASSERT_EQ(special->BeginEnumeration(WBEM_FLAG_KEYS_ONLY), WBEM_S_NO_ERROR);
  ASSERT_EQ(special->Next(0, &name, nullptr, nullptr, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(bstrView(name), u"Id");
  SysFreeString(name);
  EXPECT_EQ(special->Next(0, nullptr, nullptr, nullptr, nullptr), WBEM_S_NO_MORE_DATA);
  EXPECT_EQ(special->BeginEnumeration(0x1000), WBEM_E_INVALID_PARAMETER);
}

TEST_F(CimObjectTest, QualifiersAreReadableAndInstancesCannotChangeThem) {
  CComPtr<IWbemClassObject> obj = instanceOf(u"AllTypes");
  CComPtr<IWbemQualifierSet> set;
  ASSERT_EQ(obj->GetPropertyQualifierSet(u"name", &set), WBEM_S_NO_ERROR);
  CComVariant v;
  long flavor = 0;
  ASSERT_EQ(set->Get(u"KEY", 0, &v, &flavor), WBEM_S_NO_ERROR);
  EXPECT_EQ(v.vt, VT_BOOL);
  EXPECT_EQ(v.boolVal, VARIANT_TRUE);
  EXPECT_EQ(flavor & WBEM_FLAVOR_MASK_ORIGIN, WBEM_FLAVOR_ORIGIN_PROPAGATED);
  v.Clear();
  ASSERT_EQ(set->Get(u"CIMTYPE", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(v), u"string");
  CComVariant one(1);
  EXPECT_EQ(set->Put(u"Extra", &one, 0), WBEM_E_READ_ONLY);
  EXPECT_EQ(set->Get(u"NoSuch", 0, &v, nullptr), WBEM_E_NOT_FOUND);

  CComPtr<IWbemQualifierSet> parts;
  ASSERT_EQ(obj->GetPropertyQualifierSet(u"Parts", &parts), WBEM_S_NO_ERROR);
  v.Clear();
  ASSERT_EQ(parts->Get(u"EmbeddedInstance", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(v), u"Part");
  v.Clear();
  ASSERT_EQ(parts->Get(u"CIMTYPE", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(v), u"object:Part");
  CComPtr<IWbemQualifierSet> ref;
  ASSERT_EQ(obj->GetPropertyQualifierSet(u"R", &ref), WBEM_S_NO_ERROR);
  v.Clear();
  ASSERT_EQ(ref->Get(u"CIMTYPE", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(v), u"ref:Part");

  CComPtr<IWbemQualifierSet> classSet;
  ASSERT_EQ(obj->GetQualifierSet(&classSet), WBEM_S_NO_ERROR);
  v.Clear();
  ASSERT_EQ(classSet->Get(u"Description", 0, &v, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(text(v), u"every type");
  SAFEARRAY* qualifierNames = nullptr;
  ASSERT_EQ(classSet->GetNames(0, &qualifierNames), WBEM_S_NO_ERROR);
  CComVariant holder;
  holder.vt = VT_ARRAY | VT_BSTR;
  holder.parray = qualifierNames;
  ASSERT_EQ(elements(holder).size(), 1u);

  IWbemQualifierSet* none = nullptr;
  EXPECT_EQ(obj->GetPropertyQualifierSet(u"__CLASS", &none), WBEM_E_SYSTEM_PROPERTY);
  EXPECT_EQ(obj->GetPropertyQualifierSet(u"NoSuch", &none), WBEM_E_NOT_FOUND);
  EXPECT_EQ(none, nullptr);
}

}  // namespace
}  // namespace om::wmi::test
