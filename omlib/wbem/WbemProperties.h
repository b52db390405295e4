// Property tables of the WMI class wrappers. A family lists its class's
// properties once, in the class's order, each with the field it carries;
// writeProperties copies a record into an instance and readProperties copies
// an instance back into a record with the family's rules:
// - a number (sint32) or a boolean is stored only when the property holds
//   exactly that type; otherwise the field keeps its value;
// - a datetime is read by its first fourteen digits as local time, and
//   anything else gives the null time;
// - a text or a list of texts of another type (missing and null included)
//   empties the field, or, for the families that say so, keeps it.
// Values go through the field's own getter and setter, so a range-checked
// setter applies its clamps on the way in.
#ifndef OMLIB_WBEM_WBEMPROPERTIES_H_
#define OMLIB_WBEM_WBEMPROPERTIES_H_

#include <functional>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include <afx.h>
#include <atlcomcli.h>
#include <wbemcli.h>

#include "wbem/WbemClient.h"

namespace om {

// What reading does with a text or text-list property of another type.
enum class WrongTypeText { kEmpty, kKeep };

// One property: its name and the transfer of its field in both directions.
template <class Record>
struct WbemProperty {
  const char16_t* name;
  HRESULT (*write)(IWbemClassObject* instance, const char16_t* name, const Record& record);
  void (*read)(IWbemClassObject* instance, const char16_t* name, Record& record, WrongTypeText rule);
};

namespace wbem_detail {

// How one kind of field travels. fromVariant returns false to leave the
// field as it is.
template <class T, class = void>
struct Codec;

template <>
struct Codec<std::string> {
  static CComVariant toVariant(const std::string& text) { return CComVariant(text.c_str()); }
  static bool fromVariant(const VARIANT& value, WrongTypeText rule, std::string& text) {
    if (value.vt != VT_BSTR && rule == WrongTypeText::kKeep) return false;
    text = WbemClient::textOf(value);
    return true;
  }
};

template <>
struct Codec<tstring> : Codec<std::string> {};

template <>
struct Codec<CString> {
  static CComVariant toVariant(const CString& text) { return CComVariant(text.GetString()); }
  static bool fromVariant(const VARIANT& value, WrongTypeText rule, CString& text) {
    std::string narrow;
    if (!Codec<std::string>::fromVariant(value, rule, narrow)) return false;
    text = narrow.c_str();
    return true;
  }
};

template <>
struct Codec<bool> {
  static CComVariant toVariant(bool flag) { return CComVariant(flag); }
  static bool fromVariant(const VARIANT& value, WrongTypeText, bool& flag) {
    if (value.vt != VT_BOOL) return false;
    flag = value.boolVal != VARIANT_FALSE;
    return true;
  }
};

// Numbers and enumerations of 32 bits travel as sint32, bits unchanged.
template <class T>
struct Codec<T, std::enable_if_t<(std::is_integral_v<T> || std::is_enum_v<T>) && !std::is_same_v<T, bool>>> {
  static_assert(sizeof(T) == 4, "sint32 properties carry 32-bit fields");
  static CComVariant toVariant(T number) { return CComVariant(static_cast<int>(number)); }
  static bool fromVariant(const VARIANT& value, WrongTypeText, T& number) {
    if (value.vt != VT_I4) return false;
    number = static_cast<T>(value.lVal);
    return true;
  }
};

template <>
struct Codec<std::vector<std::string>> {
  static CComVariant toVariant(const std::vector<std::string>& texts) {
    CComVariant array;
    if (!WbemClient::createStringSafeArray(texts, array)) array.Clear();
    return array;
  }
  static bool fromVariant(const VARIANT& value, WrongTypeText rule, std::vector<std::string>& texts) {
    if (value.vt != (VT_ARRAY | VT_BSTR) && rule == WrongTypeText::kKeep) return false;
    if (!WbemClient::getStringArray(value, texts)) texts.clear();
    return true;
  }
};

template <>
struct Codec<CTime> {
  static CComVariant toVariant(const CTime& time) { return WbemClient::ComVarTime(time); }
  static bool fromVariant(const VARIANT& value, WrongTypeText, CTime& time) {
    time = WbemClient::CTimeFromComVar(value);
    return true;
  }
};

template <class F>
struct Accessor;
template <class R, class C>
struct Accessor<R (C::*)() const> {
  using Record = C;
  using Value = std::decay_t<R>;
};
template <class R, class C, class P>
struct Accessor<R (C::*)(P)> {
  using Value = std::decay_t<P>;
};
template <class R, class C, class P>
struct Accessor<R (*)(C&, P)> {
  using Value = std::decay_t<P>;
};

template <auto Get, class Record>
HRESULT writeField(IWbemClassObject* instance, const char16_t* name, const Record& record) {
  using Value = typename Accessor<decltype(Get)>::Value;
  CComVariant value = Codec<Value>::toVariant(std::invoke(Get, record));
  return instance->Put(name, 0, &value, 0);
}

template <auto Set, class Record>
void readField(IWbemClassObject* instance, const char16_t* name, Record& record, WrongTypeText rule) {
  using Value = typename Accessor<decltype(Set)>::Value;
  CComVariant value;
  if (FAILED(instance->Get(name, 0, &value, nullptr, nullptr))) value.Clear();
  Value field{};
  if (Codec<Value>::fromVariant(value, rule, field)) std::invoke(Set, record, field);
}

}  // namespace wbem_detail

// The property `name` carried by the field behind the getter `Get` and the
// setter `Set` (a member function, or a function taking the record first).
template <auto Get, auto Set>
constexpr WbemProperty<typename wbem_detail::Accessor<decltype(Get)>::Record> property(const char16_t* name) {
  using Record = typename wbem_detail::Accessor<decltype(Get)>::Record;
  return {name, &wbem_detail::writeField<Get, Record>, &wbem_detail::readField<Set, Record>};
}

// Writes every property of `table` from `record`, in order; the result of a
// single write is not examined. False for a null instance.
template <class Record, size_t N>
bool writeProperties(IWbemClassObject* instance, const WbemProperty<Record> (&table)[N], const Record& record) {
  if (instance == nullptr) return false;
  for (const WbemProperty<Record>& property : table) property.write(instance, property.name, record);
  return true;
}

// Reads every property of `table` into `record`, in order. False for a null
// instance.
template <class Record, size_t N>
bool readProperties(IWbemClassObject* instance, const WbemProperty<Record> (&table)[N], Record& record,
                    WrongTypeText rule = WrongTypeText::kEmpty) {
  if (instance == nullptr) return false;
  for (const WbemProperty<Record>& property : table) property.read(instance, property.name, record, rule);
  return true;
}

}  // namespace om

#endif  // OMLIB_WBEM_WBEMPROPERTIES_H_
