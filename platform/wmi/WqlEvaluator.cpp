#include "WqlEvaluator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include <atlcomcli.h>

#include "CimObject.h"
#include "CimType.h"
#include "Text.h"
#include "WqlLike.h"

namespace om::wmi {
namespace {

// A number as WQL compares it: an exact integer when it has no fraction,
// else a real.
struct Number {
  bool isInteger = true;
  __int128 integer = 0;
  double real = 0;

  double asReal() const { return isInteger ? static_cast<double>(integer) : real; }
};

int sign(double a, double b) { return a < b ? -1 : (a > b ? 1 : 0); }

// <0, 0, >0; nullopt when either is NaN.
std::optional<int> compareNumbers(const Number& a, const Number& b) {
  if (a.isInteger && b.isInteger) return a.integer < b.integer ? -1 : (a.integer > b.integer ? 1 : 0);
  if (std::isnan(a.asReal()) || std::isnan(b.asReal())) return std::nullopt;
  return sign(a.asReal(), b.asReal());
}

// Decimal integers, optionally signed, up to 38 digits; else a real as
// strtod reads it, whole text only. Leading and trailing blanks are ignored.
std::optional<Number> parseNumber(std::u16string_view text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  if (text.empty() || text.size() > 64) return std::nullopt;
  std::string narrow;
  for (char16_t c : text) {
    if (c > 0x7F) return std::nullopt;
    narrow.push_back(static_cast<char>(c));
  }
  const std::size_t first = narrow[0] == '-' || narrow[0] == '+' ? 1 : 0;
  if (narrow.size() > first && narrow.size() - first <= 38 &&
      narrow.find_first_not_of("0123456789", first) == std::string::npos) {
    Number n;
    for (std::size_t i = first; i < narrow.size(); ++i) n.integer = n.integer * 10 + (narrow[i] - '0');
    if (narrow[0] == '-') n.integer = -n.integer;
    return n;
  }
  char* end = nullptr;
  const double value = std::strtod(narrow.c_str(), &end);
  if (end != narrow.c_str() + narrow.size()) return std::nullopt;
  Number n;
  n.isInteger = false;
  n.real = value;
  return n;
}

std::optional<Number> literalNumber(const WqlLiteral& literal) {
  Number n;
  switch (literal.kind) {
    case WqlLiteral::Kind::Integer: n.integer = literal.integer; return n;
    case WqlLiteral::Kind::Boolean: n.integer = literal.boolean ? 1 : 0; return n;
    case WqlLiteral::Kind::Real:
      n.isInteger = false;
      n.real = literal.real;
      return n;
    case WqlLiteral::Kind::String: return parseNumber(literal.text);
    case WqlLiteral::Kind::Null: break;
  }
  return std::nullopt;
}

std::u16string asciiText(const std::string& text) { return std::u16string(text.begin(), text.end()); }

std::u16string integerText(__int128 value) {
  if (value == 0) return u"0";
  const bool negative = value < 0;
  unsigned __int128 magnitude = negative ? -static_cast<unsigned __int128>(value) : static_cast<unsigned __int128>(value);
  std::u16string digits;
  for (; magnitude != 0; magnitude /= 10) digits.insert(digits.begin(), static_cast<char16_t>(u'0' + magnitude % 10));
  if (negative) digits.insert(digits.begin(), u'-');
  return digits;
}

std::u16string literalText(const WqlLiteral& literal) {
  switch (literal.kind) {
    case WqlLiteral::Kind::String: return literal.text;
    case WqlLiteral::Kind::Integer: return integerText(literal.integer);
    case WqlLiteral::Kind::Real: return asciiText(std::to_string(literal.real));
    case WqlLiteral::Kind::Boolean: return literal.boolean ? u"TRUE" : u"FALSE";
    case WqlLiteral::Kind::Null: break;
  }
  return std::u16string();
}

std::optional<bool> literalBoolean(const WqlLiteral& literal) {
  switch (literal.kind) {
    case WqlLiteral::Kind::Boolean: return literal.boolean;
    case WqlLiteral::Kind::Integer: return literal.integer != 0;
    case WqlLiteral::Kind::Real: return literal.real != 0;
    case WqlLiteral::Kind::String:
      if (equalsNoCase(literal.text, u"TRUE")) return true;
      if (equalsNoCase(literal.text, u"FALSE")) return false;
      break;
    case WqlLiteral::Kind::Null: break;
  }
  return std::nullopt;
}

// The number a non-string VARIANT holds.
std::optional<Number> variantNumber(const VARIANT& v) {
  Number n;
  switch (v.vt) {
    case VT_I1: n.integer = v.cVal; return n;
    case VT_UI1: n.integer = v.bVal; return n;
    case VT_I2: n.integer = v.iVal; return n;
    case VT_UI2: n.integer = v.uiVal; return n;
    case VT_I4: n.integer = v.lVal; return n;
    case VT_UI4: n.integer = v.ulVal; return n;
    case VT_INT: n.integer = v.intVal; return n;
    case VT_UINT: n.integer = v.uintVal; return n;
    case VT_I8: n.integer = v.llVal; return n;
    case VT_UI8: n.integer = v.ullVal; return n;
    case VT_BOOL: n.integer = v.boolVal != VARIANT_FALSE ? 1 : 0; return n;
    case VT_R4:
      n.isInteger = false;
      n.real = v.fltVal;
      return n;
    case VT_R8:
      n.isInteger = false;
      n.real = v.dblVal;
      return n;
    case VT_BSTR: return parseNumber(std::u16string_view(v.bstrVal, SysStringLen(v.bstrVal)));
    default: break;
  }
  return std::nullopt;
}

bool isNull(const VARIANT& v) { return v.vt == VT_NULL || v.vt == VT_EMPTY; }

bool holds(int order, WqlOperator op) {
  switch (op) {
    case WqlOperator::Equal: return order == 0;
    case WqlOperator::NotEqual: return order != 0;
    case WqlOperator::Less: return order < 0;
    case WqlOperator::Greater: return order > 0;
    case WqlOperator::LessEqual: return order <= 0;
    case WqlOperator::GreaterEqual: return order >= 0;
    default: break;
  }
  return false;
}

// How a property's value compares, from its CIM type or, when the object
// gives none, from the VARIANT it holds.
enum class Domain { Text, Number, Boolean, Object, None };

Domain domainOf(const VARIANT& v, CIMTYPE type) {
  if ((v.vt & VT_ARRAY) != 0 || (type & CIM_FLAG_ARRAY) != 0) return Domain::None;
  if (isIntegerType(type)) return Domain::Number;
  switch (type) {
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_REFERENCE: return Domain::Text;
    case CIM_REAL32:
    case CIM_REAL64:
    case CIM_CHAR16: return Domain::Number;
    case CIM_BOOLEAN: return Domain::Boolean;
    case CIM_OBJECT: return Domain::Object;
    default: break;
  }
  switch (v.vt) {
    case VT_BSTR: return Domain::Text;
    case VT_BOOL: return Domain::Boolean;
    case VT_UNKNOWN: return Domain::Object;
    default: return variantNumber(v) ? Domain::Number : Domain::None;
  }
}

bool isa(const VARIANT& v, const std::u16string& className) {
  if (v.vt != VT_UNKNOWN || v.punkVal == nullptr) return false;
  CComPtr<IWbemClassObject> object;
  if (FAILED(v.punkVal->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&object)))) return false;
  CComVariant actual;
  if (SUCCEEDED(object->Get(u"__CLASS", 0, &actual, nullptr, nullptr)) && actual.vt == VT_BSTR &&
      equalsNoCase(std::u16string_view(actual.bstrVal, SysStringLen(actual.bstrVal)), className)) {
    return true;
  }
  return object->InheritsFrom(className.c_str()) == WBEM_S_NO_ERROR;
}

bool compareValue(const VARIANT& v, CIMTYPE type, const WqlCondition& c) {
  if (c.op == WqlOperator::IsNull) return isNull(v);
  if (c.op == WqlOperator::IsNotNull) return !isNull(v);
  if (isNull(v)) return false;
  const Domain domain = domainOf(v, type);
  if (c.op == WqlOperator::Isa) return domain == Domain::Object && isa(v, c.value.text);
  switch (domain) {
    case Domain::Text: {
      if (v.vt != VT_BSTR) return false;
      const std::u16string_view text(v.bstrVal, SysStringLen(v.bstrVal));
      if (c.op == WqlOperator::Like) return wqlLike(text, c.value.text);
      return holds(compareNoCase(text, literalText(c.value)), c.op);
    }
    case Domain::Number: {
      std::optional<Number> value = variantNumber(v);
      // uint32 travels in VT_I4 with its bit pattern, as WMI gives it.
      if (value && type == CIM_UINT32 && v.vt == VT_I4) value->integer = static_cast<std::uint32_t>(v.lVal);
      const std::optional<Number> constant = literalNumber(c.value);
      if (!value || !constant || c.op == WqlOperator::Like) return false;
      const std::optional<int> order = compareNumbers(*value, *constant);
      return order && holds(*order, c.op);
    }
    case Domain::Boolean: {
      const std::optional<bool> constant = literalBoolean(c.value);
      if (v.vt != VT_BOOL || !constant || c.op == WqlOperator::Like) return false;
      const bool value = v.boolVal != VARIANT_FALSE;
      return holds(static_cast<int>(value) - static_cast<int>(*constant), c.op);
    }
    case Domain::Object:
    case Domain::None: break;
  }
  return false;
}

// Follows the property path through embedded objects; false when a step is
// missing or not an object.
bool valueAt(IWbemClassObject* object, const std::vector<std::u16string>& path, CComVariant* value, CIMTYPE* type) {
  CComPtr<IWbemClassObject> current(object);
  for (std::size_t i = 0; i < path.size(); ++i) {
    value->Clear();
    *type = CIM_EMPTY;
    if (FAILED(current->Get(path[i].c_str(), 0, value, type, nullptr))) return false;
    if (i + 1 == path.size()) break;
    if (value->vt != VT_UNKNOWN || value->punkVal == nullptr) return false;
    CComPtr<IWbemClassObject> next;
    if (FAILED(value->punkVal->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&next)))) return false;
    current = next;
  }
  return true;
}

}  // namespace

bool wqlMatches(const WqlCondition* condition, IWbemClassObject* object) {
  if (condition == nullptr) return true;
  switch (condition->kind) {
    case WqlCondition::Kind::And:
      for (const auto& operand : condition->operands) {
        if (!wqlMatches(operand.get(), object)) return false;
      }
      return true;
    case WqlCondition::Kind::Or:
      for (const auto& operand : condition->operands) {
        if (wqlMatches(operand.get(), object)) return true;
      }
      return false;
    case WqlCondition::Kind::Not: return !wqlMatches(condition->operands.front().get(), object);
    case WqlCondition::Kind::Compare: break;
  }
  CComVariant value;
  CIMTYPE type = CIM_EMPTY;
  if (!valueAt(object, condition->property, &value, &type)) {
    return condition->op == WqlOperator::IsNull;
  }
  return compareValue(value, type, *condition);
}

CComPtr<IWbemClassObject> wqlProject(const WqlQuery& query, IWbemClassObject* object) {
  CComPtr<IWbemClassObject> copy;
  if (object == nullptr || FAILED(object->Clone(&copy))) return nullptr;
  CimObject* target = CimObject::from(copy);
  if (query.properties.empty() || target == nullptr) return copy;
  const std::vector<PropertyDef>& properties = target->definition()->properties();
  CComVariant null;
  null.vt = VT_NULL;
  for (std::size_t i = 0; i < properties.size(); ++i) {
    const bool selected = std::any_of(query.properties.begin(), query.properties.end(),
                                      [&](const std::u16string& name) { return equalsNoCase(name, properties[i].name); });
    if (!selected && !properties[i].isKey()) target->setValue(static_cast<int>(i), null);
  }
  return copy;
}

}  // namespace om::wmi
