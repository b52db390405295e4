#include "MofWriter.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "CimObject.h"
#include "CimType.h"
#include "ClassDeclarations.h"
#include "Text.h"

namespace om::wmi {

namespace {

std::u16string ascii(std::string_view text) { return std::u16string(text.begin(), text.end()); }

template <class T>
std::u16string number(T value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return ascii(std::string_view(buffer, static_cast<size_t>(result.ptr - buffer)));
}

std::u16string tabs(int count) { return std::u16string(static_cast<size_t>(std::max(count, 0)), u'\t'); }

bool isSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }

std::u16string quoted(std::u16string_view text) {
  std::u16string out = u"\"";
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    // A valid surrogate pair is one character; a lone surrogate is escaped
    // so that the text survives conversion to UTF-8.
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      out += c;
      out += text[++i];
      continue;
    }
    switch (c) {
      case u'"': out += u"\\\""; break;
      case u'\\': out += u"\\\\"; break;
      case u'\n': out += u"\\n"; break;
      case u'\r': out += u"\\r"; break;
      case u'\t': out += u"\\t"; break;
      case u'\b': out += u"\\b"; break;
      case u'\f': out += u"\\f"; break;
      default:
        if (c < 0x20 || isSurrogate(c)) {
          char escape[8];
          std::snprintf(escape, sizeof(escape), "\\x%04X", static_cast<unsigned>(c));
          out += ascii(escape);
        } else {
          out += c;
        }
    }
  }
  return out + u"\"";
}

// "instance of Class { ... }" (no ';'), with the values `valueAt` gives,
// its properties indented by `indent` tabs.
std::u16string instanceBlock(const CimClass& cls, const std::function<CComVariant(size_t)>& valueAt, int indent);

std::u16string scalarText(const VARIANT& value, CIMTYPE type, int indent) {
  if (value.vt == VT_NULL || value.vt == VT_EMPTY) return u"NULL";
  switch (type) {
    case CIM_SINT8:
    case CIM_SINT16:
    case CIM_CHAR16: return number(static_cast<int>(value.iVal));
    case CIM_UINT8: return number(static_cast<unsigned>(value.bVal));
    case CIM_UINT16:
    case CIM_SINT32: return number(static_cast<long>(value.lVal));
    case CIM_UINT32: return number(static_cast<uint32_t>(value.lVal));
    case CIM_SINT64:
    case CIM_UINT64: return std::u16string(bstrView(value.bstrVal));
    case CIM_REAL32: return number(value.fltVal);
    case CIM_REAL64: return number(value.dblVal);
    case CIM_BOOLEAN: return value.boolVal != VARIANT_FALSE ? u"TRUE" : u"FALSE";
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_REFERENCE: return quoted(bstrView(value.bstrVal));
    case CIM_OBJECT: {
      CComQIPtr<IWbemClassObject> embedded(value.punkVal);
      const CimObject* object = CimObject::from(embedded);
      if (object == nullptr || !object->isInstance()) return u"NULL";
      return instanceBlock(*object->definition(), [&](size_t i) { return object->value(static_cast<int>(i)); },
                           indent + 1);
    }
    default: return u"NULL";
  }
}

std::u16string flavorText(long flavor) {
  if ((flavor & ~WBEM_FLAVOR_MASK_ORIGIN) == kDefaultFlavor) return {};
  std::u16string out = u": ";
  if ((flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) != 0) out += u"ToInstance ";
  out += (flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS) != 0 ? u"ToSubclass" : u"Restricted";
  if ((flavor & WBEM_FLAVOR_NOT_OVERRIDABLE) != 0) out += u" DisableOverride";
  if ((flavor & WBEM_FLAVOR_AMENDED) != 0) out += u" Amended";
  return out;
}

std::u16string qualifierValueText(const VARIANT& value) {
  const VARTYPE base = value.vt & VT_TYPEMASK;
  const CIMTYPE type = base == VT_BOOL ? CIM_BOOLEAN : base == VT_I4 ? CIM_SINT32 : base == VT_R8 ? CIM_REAL64 : CIM_STRING;
  return valueText(value, (value.vt & VT_ARRAY) != 0 ? (type | CIM_FLAG_ARRAY) : type, 1);
}

// "[key, Description(\"x\"): ToSubclass] " for the qualifiers not in `skip`
// and not propagated; `extra` comes first (in, out).
std::u16string qualifiersText(const QualifierList& list, std::initializer_list<std::u16string_view> skip,
                              std::u16string extra = {}) {
  std::u16string items = std::move(extra);
  for (const Qualifier& q : list.items()) {
    if ((q.flavor & WBEM_FLAVOR_MASK_ORIGIN) == WBEM_FLAVOR_ORIGIN_PROPAGATED) continue;
    if (std::any_of(skip.begin(), skip.end(), [&](std::u16string_view s) { return equalsNoCase(s, q.name); })) {
      continue;
    }
    if (!items.empty()) items += u", ";
    items += q.name;
    const bool isTrue = q.value.vt == VT_BOOL && q.value.boolVal != VARIANT_FALSE;
    if (!isTrue) {
      const std::u16string text = qualifierValueText(q.value);
      items += (q.value.vt & VT_ARRAY) != 0 ? text : u"(" + text + u")";
    }
    items += flavorText(q.flavor);
  }
  return items.empty() ? std::u16string() : u"[" + items + u"] ";
}

std::u16string typeText(CIMTYPE type, const std::u16string& refClass, const QualifierList& qualifiers) {
  const CIMTYPE base = baseType(type);
  if (base == CIM_REFERENCE) return (refClass.empty() ? u"object" : refClass) + u" ref";
  if (base == CIM_OBJECT && !refClass.empty() && qualifiers.find(u"EmbeddedInstance") == nullptr) return refClass;
  return std::u16string(cimTypeKeyword(base));
}

std::u16string propertyText(const PropertyDef& p) {
  std::u16string out = u"\t";
  out += qualifiersText(p.qualifiers, {u"CIMTYPE"}) + typeText(p.type, p.refClass, p.qualifiers) + u" " + p.name +
         (isArrayType(p.type) ? u"[]" : u"");
  if (p.defaultValue.vt != VT_NULL && p.defaultValue.vt != VT_EMPTY) out += u" = " + valueText(p.defaultValue, p.type, 1);
  return out + u";\n";
}

// The parameters of a method, [in] and [out] merged by name, in ID order.
std::u16string parametersText(const MethodDef& m) {
  std::u16string out;
  for (const MethodParameter& param : methodParameters(m)) {
    const std::u16string direction = param.in && param.out ? u"in, out" : param.in ? u"in" : u"out";
    if (!out.empty()) out += u", ";
    out += qualifiersText(param.def->qualifiers, {u"CIMTYPE", u"ID", u"in", u"out"}, direction) +
           typeText(param.def->type, param.def->refClass, param.def->qualifiers) + u" " + param.def->name +
           (isArrayType(param.def->type) ? u"[]" : u"");
  }
  return out;
}

std::u16string methodText(const MethodDef& m) {
  const PropertyDef* ret = m.out ? m.out->property(u"ReturnValue") : nullptr;
  const std::u16string returns = ret != nullptr ? typeText(ret->type, ret->refClass, ret->qualifiers) : u"void";
  std::u16string text = u"\t";
  text += qualifiersText(m.qualifiers, {}) + returns + u" " + m.name + u"(" + parametersText(m) + u");\n";
  return text;
}

// True when an inherited property is restated by the class: local
// qualifiers or another default.
bool overrides(const CimClass& cls, const PropertyDef& p) {
  const PropertyDef* inherited = cls.superclass() ? cls.superclass()->property(p.name) : nullptr;
  if (inherited == nullptr) return true;
  if (!(inherited->defaultValue == p.defaultValue)) return true;
  return std::any_of(p.qualifiers.items().begin(), p.qualifiers.items().end(), [](const Qualifier& q) {
    return (q.flavor & WBEM_FLAVOR_MASK_ORIGIN) != WBEM_FLAVOR_ORIGIN_PROPAGATED && !equalsNoCase(q.name, u"CIMTYPE");
  });
}

std::u16string instanceBlock(const CimClass& cls, const std::function<CComVariant(size_t)>& valueAt, int indent) {
  std::u16string out = u"instance of " + cls.name() + u"\n" + tabs(indent - 1) + u"{\n";
  for (size_t i = 0; i < cls.properties().size(); ++i) {
    const CComVariant value = valueAt(i);
    if (value.vt == VT_NULL || value.vt == VT_EMPTY) continue;
    const PropertyDef& p = cls.properties()[i];
    out += tabs(indent) + p.name + u" = " + valueText(value, p.type, indent) + u";\n";
  }
  return out + tabs(indent - 1) + u"}";
}

}  // namespace

std::u16string valueText(const VARIANT& value, CIMTYPE type, int indent) {
  if (!isArrayType(type) || value.vt == VT_NULL || value.vt == VT_EMPTY) return scalarText(value, type, indent);
  const VARTYPE vt = value.vt & VT_TYPEMASK;
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(value.parray, 1, &lower);
  SafeArrayGetUBound(value.parray, 1, &upper);
  std::u16string out = u"{";
  for (LONG i = lower; i <= upper; ++i) {
    CComVariant element;
    if (FAILED(arrayElement(value.parray, vt, i, &element))) break;
    if (i != lower) out += u", ";
    out += scalarText(element, baseType(type), indent);
  }
  return out + u"}";
}

std::u16string classText(const CimClass& cls) {
  std::u16string out = qualifiersText(cls.qualifiers(), {});
  if (!out.empty()) out.back() = u'\n';
  out += u"class " + cls.name();
  if (cls.superclass() != nullptr) out += u" : " + cls.superclassName();
  out += u"\n{\n";
  for (const PropertyDef& p : cls.properties()) {
    if (equalsNoCase(p.origin, cls.name()) || overrides(cls, p)) out += propertyText(p);
  }
  for (const MethodDef& m : cls.methods()) {
    if (equalsNoCase(m.origin, cls.name())) out += methodText(m);
  }
  return out + u"};\n";
}

std::u16string instanceText(const CimClass& cls, const std::vector<CComVariant>& values) {
  return instanceBlock(cls, [&](size_t i) { return i < values.size() ? values[i] : CComVariant(); }, 1) + u";\n";
}

}  // namespace om::wmi
