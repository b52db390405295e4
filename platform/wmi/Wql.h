// WQL, the query language of the object manager: the parsed form of a
// `SELECT * | prop, ... FROM class [WITHIN seconds] [WHERE condition]` query.
// Data queries (ExecQuery) and event queries (ExecNotificationQuery) share
// the grammar; WITHIN is meaningful for event queries only.
#ifndef OM_PLATFORM_WMI_WQL_H_
#define OM_PLATFORM_WMI_WQL_H_

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace om::wmi {

// A constant of a WHERE clause. Integers cover the range of sint64 and
// uint64 together; a number with a fraction or an exponent is a real.
struct WqlLiteral {
  enum class Kind { Null, Boolean, Integer, Real, String };

  Kind kind = Kind::Null;
  bool boolean = false;
  __int128 integer = 0;
  double real = 0;
  std::u16string text;  // a string's characters, escapes resolved
};

enum class WqlOperator { Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual, Like, Isa, IsNull, IsNotNull };

// One node of a WHERE condition. AND and OR chains are flattened into one
// node with all their operands, so the tree is only as deep as the query's
// parentheses and NOTs.
struct WqlCondition {
  enum class Kind { And, Or, Not, Compare };

  Kind kind = Kind::Compare;
  std::vector<std::unique_ptr<WqlCondition>> operands;  // And, Or: two or more; Not: one
  // Compare: `property operator value`. The property is a path through
  // embedded objects ("TargetInstance.Name" has two names). A constant
  // written on the left is moved to the right with the operator mirrored.
  std::vector<std::u16string> property;
  WqlOperator op = WqlOperator::Equal;
  WqlLiteral value;
};

struct WqlQuery {
  std::vector<std::u16string> properties;  // empty for SELECT *
  std::u16string className;
  std::optional<double> withinSeconds;
  std::unique_ptr<WqlCondition> where;  // null when there is no WHERE clause
};

// Where and why a query text was refused.
struct WqlError {
  std::size_t position = 0;  // offset in UTF-16 units
  std::string message;
};

// Parses a WQL query. Keywords are case-insensitive; strings take single or
// double quotes with backslash escapes. False, with `error` filled when given,
// for any syntax error (the caller reports WBEM_E_INVALID_QUERY).
bool parseWql(std::u16string_view text, WqlQuery* query, WqlError* error = nullptr);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_WQL_H_
