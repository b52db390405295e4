// The WQL evaluator over real class objects: WQL's comparison rules per CIM
// type, nulls, arrays, embedded objects and projection.
#include <gtest/gtest.h>

#include <string>

#include <atlbase.h>

#include "ClassRepository.h"
#include "CimObject.h"
#include "ManagerTestSupport.h"
#include "MofCompiler.h"
#include "Wql.h"
#include "WqlEvaluator.h"

namespace om::wmi {
namespace {

using wmitest::putValue;
using wmitest::stringArray;

constexpr char kMof[] = R"(
class Part {
  [key] string Name;
};
class SpecialPart : Part {
};
class Sample {
  [key] string Name;
  sint32 Small;
  uint32 Unsigned;
  sint64 Wide;
  uint64 Huge;
  real64 Ratio;
  boolean Flag;
  datetime Stamp;
  string Tags[];
  Part Inner;
};
)";

class WqlEvaluatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MofCompiler compiler(repository_, u"root");
    MofResult result;
    ASSERT_EQ(compiler.compile(kMof, &result), S_OK) << result.message;
    sample_.Attach(CimObject::newInstance(repository_.findClass(u"root", u"Sample")).Detach());
    putValue(sample_, u"Name", CComVariant(u"Router-7"));
    putValue(sample_, u"Small", CComVariant(-5));
    putValue(sample_, u"Unsigned", CComVariant(4000000000u));
    putValue(sample_, u"Wide", CComVariant(u"-9000000000000000000"));
    putValue(sample_, u"Huge", CComVariant(u"18446744073709551615"));
    putValue(sample_, u"Ratio", CComVariant(0.25));
    putValue(sample_, u"Flag", CComVariant(true));
    putValue(sample_, u"Stamp", CComVariant(u"20240131123000.000000+540"));
    putValue(sample_, u"Tags", stringArray({u"a", u"b"}));
    CComPtr<IWbemClassObject> inner = CimObject::newInstance(repository_.findClass(u"root", u"SpecialPart"));
    putValue(inner, u"Name", CComVariant(u"core"));
    putValue(sample_, u"Inner", CComVariant(static_cast<IUnknown*>(inner.p)));
  }

  bool matches(const std::u16string& condition) {
    WqlQuery query;
    WqlError error;
    EXPECT_TRUE(parseWql(u"SELECT * FROM Sample WHERE " + condition, &query, &error)) << error.message;
    return wqlMatches(query.where.get(), sample_);
  }

  ClassRepository repository_;
  CComPtr<IWbemClassObject> sample_;
};

TEST_F(WqlEvaluatorTest, StringsCompareWithoutCase) {
  EXPECT_TRUE(matches(u"Name = 'router-7'"));
  EXPECT_TRUE(matches(u"Name <> 'router-8'"));
  EXPECT_TRUE(matches(u"Name > 'router-6' AND Name < 'ROUTER-8'"));
  EXPECT_TRUE(matches(u"Name LIKE 'rout%[0-9]'"));
  EXPECT_FALSE(matches(u"Name LIKE 'rout_'"));
  EXPECT_FALSE(matches(u"Name = 7"));
  EXPECT_TRUE(matches(u"'Router-7' = Name"));
  // Datetimes compare as their text.
  EXPECT_TRUE(matches(u"Stamp > '20240101000000.000000+540'"));
  EXPECT_FALSE(matches(u"Stamp < '20240101000000.000000+540'"));
}

TEST_F(WqlEvaluatorTest, NumbersCompareByValueAcrossWidths) {
  EXPECT_TRUE(matches(u"Small = -5"));
  EXPECT_TRUE(matches(u"Small = '-5'"));       // a string constant read as a number
  EXPECT_TRUE(matches(u"Small < -4.5"));
  EXPECT_TRUE(matches(u"Small >= -5 AND Small <= -5"));
  EXPECT_FALSE(matches(u"Small = 'five'"));    // not a number: never equal ...
  EXPECT_FALSE(matches(u"Small <> 'five'"));   // ... nor unequal
  EXPECT_TRUE(matches(u"Unsigned = 4000000000"));  // uint32 beyond sint32
  EXPECT_TRUE(matches(u"Unsigned > 0xEE6B27FF"));
  EXPECT_TRUE(matches(u"Wide < -8999999999999999999"));
  EXPECT_TRUE(matches(u"Huge = 18446744073709551615"));
  EXPECT_TRUE(matches(u"Huge > 18446744073709551614"));
  EXPECT_FALSE(matches(u"Huge < 0"));
  EXPECT_TRUE(matches(u"Ratio = 0.25"));
  EXPECT_TRUE(matches(u"Ratio < 1"));
  EXPECT_TRUE(matches(u"Ratio > '0.1'"));
  EXPECT_FALSE(matches(u"Small LIKE '-5'"));
}

TEST_F(WqlEvaluatorTest, BooleansNullsArraysAndObjects) {
  EXPECT_TRUE(matches(u"Flag = TRUE"));
  EXPECT_TRUE(matches(u"Flag <> FALSE"));
  EXPECT_TRUE(matches(u"Flag = 1"));
  EXPECT_TRUE(matches(u"Flag = 'true'"));
  EXPECT_FALSE(matches(u"Flag = 'maybe'"));

  putValue(sample_, u"Small", CComVariant());
  EXPECT_TRUE(matches(u"Small IS NULL"));
  EXPECT_TRUE(matches(u"Small = NULL"));
  EXPECT_FALSE(matches(u"Small IS NOT NULL"));
  EXPECT_FALSE(matches(u"Small = 0"));
  EXPECT_FALSE(matches(u"Small <> 0"));
  EXPECT_TRUE(matches(u"NOT Small = 0"));
  EXPECT_TRUE(matches(u"Name IS NOT NULL"));

  // Arrays are not compared; embedded objects only by class and path.
  EXPECT_FALSE(matches(u"Tags = 'a'"));
  EXPECT_TRUE(matches(u"Tags IS NOT NULL"));
  EXPECT_TRUE(matches(u"Inner ISA 'Part'"));
  EXPECT_TRUE(matches(u"Inner ISA 'specialpart'"));
  EXPECT_FALSE(matches(u"Inner ISA 'Sample'"));
  EXPECT_FALSE(matches(u"Name ISA 'Part'"));
  EXPECT_TRUE(matches(u"Inner.Name = 'CORE'"));
  EXPECT_FALSE(matches(u"Inner = 'core'"));
  EXPECT_FALSE(matches(u"Name.Inner = 'x'"));   // a path through a non-object
  EXPECT_TRUE(matches(u"Nothing IS NULL"));      // missing counts as null
  EXPECT_FALSE(matches(u"Nothing = 1"));

  EXPECT_TRUE(matches(u"(Flag = FALSE OR Inner ISA 'Part') AND NOT (Ratio > 1 OR Name IS NULL)"));
}

TEST_F(WqlEvaluatorTest, ProjectionNullsWhatIsNotSelected) {
  WqlQuery query;
  ASSERT_TRUE(parseWql(u"SELECT Ratio, flag FROM Sample", &query));
  CComPtr<IWbemClassObject> projected = wqlProject(query, sample_);
  ASSERT_NE(projected, nullptr);
  EXPECT_NE(projected.p, sample_.p);
  EXPECT_EQ(wmitest::stringProperty(projected, u"Name"), u"Router-7");  // the key stays
  EXPECT_TRUE(wmitest::boolProperty(projected, u"Flag"));
  EXPECT_EQ(wmitest::typeOf(projected, u"Ratio"), VT_R8);
  EXPECT_EQ(wmitest::typeOf(projected, u"Small"), VT_NULL);
  EXPECT_EQ(wmitest::typeOf(projected, u"Tags"), VT_NULL);
  EXPECT_EQ(wmitest::typeOf(projected, u"Inner"), VT_NULL);
  // The original is untouched.
  EXPECT_EQ(wmitest::intProperty(sample_, u"Small"), -5);
}

}  // namespace
}  // namespace om::wmi
