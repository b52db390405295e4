// The WQL parser and the LIKE matcher.
#include <gtest/gtest.h>

#include <string>

#include "Wql.h"
#include "WqlLike.h"

namespace om::wmi {
namespace {

WqlQuery parsed(const std::u16string& text) {
  WqlQuery query;
  WqlError error;
  EXPECT_TRUE(parseWql(text, &query, &error)) << error.message;
  return query;
}

// The offset of the refusal, or -1 when the text parsed.
long refusedAt(const std::u16string& text) {
  WqlQuery query;
  WqlError error;
  if (parseWql(text, &query, &error)) return -1;
  EXPECT_FALSE(error.message.empty());
  return static_cast<long>(error.position);
}

// The condition of "SELECT * FROM C WHERE <condition>".
std::unique_ptr<WqlCondition> where(const std::u16string& condition) {
  return std::move(parsed(u"SELECT * FROM C WHERE " + condition).where);
}

TEST(WqlParser, SelectListsClassesAndKeywordsInAnyCase) {
  WqlQuery all = parsed(u"SELECT * FROM NetworkObject");
  EXPECT_TRUE(all.properties.empty());
  EXPECT_EQ(all.className, u"NetworkObject");
  EXPECT_EQ(all.where, nullptr);
  EXPECT_FALSE(all.withinSeconds.has_value());

  WqlQuery some = parsed(u"  select Name ,__CLASS,\tIfIndex\nfrom\r\n__Namespace  ");
  EXPECT_EQ(some.properties, (std::vector<std::u16string>{u"Name", u"__CLASS", u"IfIndex"}));
  EXPECT_EQ(some.className, u"__Namespace");

  WqlQuery event = parsed(u"SeLeCt * FrOm LogObjectEvent WiThIn 2.5 wHeRe LogType = 1");
  EXPECT_EQ(event.className, u"LogObjectEvent");
  EXPECT_DOUBLE_EQ(*event.withinSeconds, 2.5);
  ASSERT_NE(event.where, nullptr);
  EXPECT_EQ(event.where->property, std::vector<std::u16string>{u"LogType"});
}

TEST(WqlParser, OperatorsPrecedenceAndMirroring) {
  struct Case {
    const char16_t* text;
    WqlOperator op;
  };
  for (const Case& c : {Case{u"a = 1", WqlOperator::Equal}, Case{u"a <> 1", WqlOperator::NotEqual},
                        Case{u"a != 1", WqlOperator::NotEqual}, Case{u"a < 1", WqlOperator::Less},
                        Case{u"a > 1", WqlOperator::Greater}, Case{u"a <= 1", WqlOperator::LessEqual},
                        Case{u"a >= 1", WqlOperator::GreaterEqual}, Case{u"a LIKE 'x%'", WqlOperator::Like},
                        Case{u"a ISA 'Base'", WqlOperator::Isa}, Case{u"a IS NULL", WqlOperator::IsNull},
                        Case{u"a is not null", WqlOperator::IsNotNull}, Case{u"a = NULL", WqlOperator::IsNull},
                        Case{u"a <> NULL", WqlOperator::IsNotNull},
                        // A constant on the left turns the comparison round.
                        Case{u"1 < a", WqlOperator::Greater}, Case{u"1 >= a", WqlOperator::LessEqual},
                        Case{u"'x' = a", WqlOperator::Equal}}) {
    std::unique_ptr<WqlCondition> condition = where(c.text);
    ASSERT_NE(condition, nullptr) << std::string(c.text, c.text + std::char_traits<char16_t>::length(c.text));
    EXPECT_EQ(condition->kind, WqlCondition::Kind::Compare);
    EXPECT_EQ(condition->op, c.op);
    EXPECT_EQ(condition->property, std::vector<std::u16string>{u"a"});
  }

  // NOT binds tighter than AND, AND tighter than OR; chains are flattened.
  std::unique_ptr<WqlCondition> c = where(u"a = 1 OR NOT b = 2 AND c = 3 AND d = 4 OR e = 5");
  ASSERT_EQ(c->kind, WqlCondition::Kind::Or);
  ASSERT_EQ(c->operands.size(), 3u);
  EXPECT_EQ(c->operands[0]->property.front(), u"a");
  const WqlCondition& conjunction = *c->operands[1];
  ASSERT_EQ(conjunction.kind, WqlCondition::Kind::And);
  ASSERT_EQ(conjunction.operands.size(), 3u);
  EXPECT_EQ(conjunction.operands[0]->kind, WqlCondition::Kind::Not);
  EXPECT_EQ(conjunction.operands[0]->operands[0]->property.front(), u"b");
  EXPECT_EQ(c->operands[2]->property.front(), u"e");

  std::unique_ptr<WqlCondition> grouped = where(u"(a = 1 OR b = 2) AND c = 3");
  ASSERT_EQ(grouped->kind, WqlCondition::Kind::And);
  EXPECT_EQ(grouped->operands[0]->kind, WqlCondition::Kind::Or);

  std::unique_ptr<WqlCondition> path = where(u"TargetInstance.Name = 'x'");
  EXPECT_EQ(path->property, (std::vector<std::u16string>{u"TargetInstance", u"Name"}));
}

TEST(WqlParser, ConstantsAndTheirBoundaries) {
  const auto value = [](const std::u16string& text) { return where(u"a = " + text)->value; };
  EXPECT_EQ(value(u"'it'").kind, WqlLiteral::Kind::String);
  EXPECT_EQ(value(u"'a\\'b'").text, u"a'b");
  EXPECT_EQ(value(u"\"say \\\"hi\\\" \\\\ there\"").text, u"say \"hi\" \\ there");
  EXPECT_EQ(value(u"'日本語'").text, u"日本語");
  EXPECT_EQ(value(u"''").text, u"");
  EXPECT_EQ(value(u"TRUE").kind, WqlLiteral::Kind::Boolean);
  EXPECT_TRUE(value(u"true").boolean);
  EXPECT_FALSE(value(u"False").boolean);
  EXPECT_EQ(value(u"-17").integer, -17);
  EXPECT_EQ(value(u"+17").integer, 17);
  EXPECT_EQ(value(u"0x1F").integer, 31);
  EXPECT_EQ(value(u"-0x10").integer, -16);
  EXPECT_EQ(value(u"18446744073709551615").integer, static_cast<__int128>(UINT64_MAX));
  EXPECT_EQ(value(u"-9223372036854775808").integer, -(static_cast<__int128>(1) << 63));
  EXPECT_EQ(value(u"0xFFFFFFFFFFFFFFFF").integer, static_cast<__int128>(UINT64_MAX));
  EXPECT_EQ(value(u"2.5").kind, WqlLiteral::Kind::Real);
  EXPECT_DOUBLE_EQ(value(u"-1e3").real, -1000.0);
  EXPECT_DOUBLE_EQ(value(u".5").real, 0.5);

  // Beyond 64 bits, and malformed numbers, are refused.
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 18446744073709551616"), 26);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = -9223372036854775809"), 26);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 0x10000000000000000"), 26);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 12ab"), 26);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 0x"), 26);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 1e"), 26);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 1e999"), 26);
}

TEST(WqlParser, RefusesWhatIsNotWql) {
  EXPECT_EQ(refusedAt(u""), 0);
  EXPECT_EQ(refusedAt(u"SELECT"), 6);
  EXPECT_EQ(refusedAt(u"SELECT * C"), 9);
  EXPECT_EQ(refusedAt(u"SELECT * FROM"), 13);
  EXPECT_EQ(refusedAt(u"SELECT a, FROM C"), 10);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE"), 21);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a"), 23);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = b"), 26);      // two properties
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 'x"), 26);     // unterminated
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a IS 5"), 27);     // IS takes NULL only
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a IS NOT 'x'"), 31);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a < NULL"), 30);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a LIKE 5"), 29);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE (a = 1"), 28);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 1)"), 27);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a ! 1"), 24);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 1 AND"), 31);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a. = 1"), 25);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C trailing"), 16);
  EXPECT_EQ(refusedAt(u"SELECT * FROM where"), 14);             // a keyword is no class name
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WITHIN 0"), 23);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WITHIN"), 22);
  EXPECT_EQ(refusedAt(u"SELECT * FROM C WHERE a = 1 ; DROP"), 28);
}

TEST(WqlParser, NestingIsBounded) {
  const auto nested = [](int depth) {
    return u"SELECT * FROM C WHERE " + std::u16string(depth, u'(') + u"a = 1" + std::u16string(depth, u')');
  };
  EXPECT_EQ(refusedAt(nested(199)), -1);
  EXPECT_GE(refusedAt(nested(200)), 0);
  std::u16string nots = u"SELECT * FROM C WHERE ";
  for (int i = 0; i < 5000; ++i) nots += u"NOT ";
  EXPECT_GE(refusedAt(nots + u"a = 1"), 0);
  // Long flat chains are fine: they do not nest.
  std::u16string chain = u"SELECT * FROM C WHERE a = 0";
  for (int i = 1; i < 5000; ++i) chain += u" OR a = 1";
  WqlQuery query = parsed(chain);
  EXPECT_EQ(query.where->operands.size(), 5000u);
}

TEST(WqlLike, WildcardsSetsAndCase) {
  struct Case {
    const char16_t* text;
    const char16_t* pattern;
    bool matches;
  };
  for (const Case& c : {
           Case{u"", u"", true},           Case{u"", u"%", true},           Case{u"a", u"", false},
           Case{u"abc", u"abc", true},     Case{u"ABC", u"abc", true},      Case{u"abc", u"ab", false},
           Case{u"abc", u"a%", true},      Case{u"abc", u"%c", true},       Case{u"abc", u"%b%", true},
           Case{u"abc", u"%%%", true},     Case{u"abc", u"a_c", true},      Case{u"ac", u"a_c", false},
           Case{u"abc", u"___", true},     Case{u"abc", u"____", false},    Case{u"aXbXc", u"a%b%c", true},
           Case{u"abcbd", u"a%bd", true},  Case{u"abcbdx", u"a%bd", false}, Case{u"b", u"[abc]", true},
           Case{u"d", u"[abc]", false},    Case{u"D", u"[a-f]", true},      Case{u"g", u"[a-f]", false},
           Case{u"g", u"[^a-f]", true},    Case{u"c", u"[^a-f]", false},    Case{u"]", u"[]]", true},
           Case{u"%", u"[%]", true},       Case{u"x", u"[%]", false},       Case{u"_", u"[_]", true},
           Case{u"[a", u"[a", true},       Case{u"-", u"[a-]", true},       Case{u"5%", u"5[%]", true},
           Case{u"Win32_Process", u"%Win32%", true}, Case{u"日本語", u"日_語", true},
       }) {
    EXPECT_EQ(wqlLike(c.text, c.pattern), c.matches)
        << std::string(c.pattern, c.pattern + std::char_traits<char16_t>::length(c.pattern));
  }
  // Backtracking stays linear in practice on a pathological pattern.
  const std::u16string text(3000, u'a');
  EXPECT_FALSE(wqlLike(text, u"%a%a%a%a%a%a%a%a%b"));
}

}  // namespace
}  // namespace om::wmi
