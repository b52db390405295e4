#include "CimXmlWriter.h"

#include <charconv>
#include <cmath>
#include <cstdint>

#include <om/codepage.h>

#include "CimType.h"
#include "Text.h"

namespace om::wmi::cimxml {

namespace {

bool isSlash(char16_t c) { return c == u'\\' || c == u'/'; }

// Appends the escaped form of one ASCII byte (or a byte of a UTF-8
// sequence, which needs none).
void escapeByte(std::string& out, char c, bool inAttribute) {
  switch (c) {
    case '<': out += "&lt;"; return;
    case '>': out += "&gt;"; return;
    case '&': out += "&amp;"; return;
    case '"': out += inAttribute ? "&quot;" : "\""; return;
    // Line ends and, in attributes, tabs would be normalised by the reader.
    case '\r': out += "&#13;"; return;
    case '\n': out += inAttribute ? "&#10;" : "\n"; return;
    case '\t': out += inAttribute ? "&#9;" : "\t"; return;
    default: break;
  }
  if (static_cast<unsigned char>(c) < 0x20) {
    out += "&#";
    out += std::to_string(static_cast<int>(c));
    out += ';';
  } else {
    out += c;
  }
}

// The name of a CIM type in TYPE and PARAMTYPE: the MOF keyword, but
// "reference" for references and "string" for embedded objects.
void appendTypeName(std::string& out, CIMTYPE base) {
  if (base == CIM_REFERENCE) {
    out += "reference";
  } else if (base == CIM_OBJECT) {
    out += "string";
  } else {
    for (char16_t c : cimTypeKeyword(base)) out += static_cast<char>(c);
  }
}

// What a KEYVALUE's VALUETYPE says of a key of `type`.
std::string_view valueTypeOf(CIMTYPE type) {
  switch (type) {
    case CIM_BOOLEAN: return "boolean";
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_CHAR16:
    case CIM_REFERENCE: return "string";
    default: return "numeric";
  }
}

std::string_view valueTypeOf(KeyBinding::Kind kind) {
  switch (kind) {
    case KeyBinding::Kind::kBoolean: return "boolean";
    case KeyBinding::Kind::kInteger: return "numeric";
    case KeyBinding::Kind::kString: break;
  }
  return "string";
}

// The CIM type of a qualifier value (VT_BOOL, VT_I4, VT_R8, VT_BSTR or an
// array of one); CIM_EMPTY for anything else.
CIMTYPE qualifierType(VARTYPE vt) {
  const CIMTYPE array = (vt & VT_ARRAY) != 0 ? CIM_FLAG_ARRAY : 0;
  switch (vt & VT_TYPEMASK) {
    case VT_BOOL: return CIM_BOOLEAN | array;
    case VT_I4: return CIM_SINT32 | array;
    case VT_R8: return CIM_REAL64 | array;
    case VT_BSTR: return CIM_STRING | array;
    default: return CIM_EMPTY;
  }
}

bool isNull(const VARIANT& value) { return value.vt == VT_NULL || value.vt == VT_EMPTY; }

}  // namespace

CComVariant storedForm(const ParamValue& param, CIMTYPE* writtenType) {
  CComVariant stored;
  stored.vt = VT_NULL;
  const VARIANT& value = param.value;
  *writtenType = param.type;
  if (isNull(value)) return stored;
  if (baseType(param.type) == CIM_EMPTY) {
    *writtenType =
        (value.vt & VT_TYPEMASK) == VT_BSTR ? (CIM_STRING | (param.type & CIM_FLAG_ARRAY)) : cimTypeOfVariant(value.vt);
  }
  if (value.vt == variantTypeOf(*writtenType)) {
    stored = value;
  } else if (FAILED(coerceValue(value, *writtenType, u"", &stored))) {
    stored.Clear();
    stored.vt = VT_NULL;
  }
  return stored;
}

// ---- markup ----

void XmlWriter::start(std::string_view tag) {
  out_ += '<';
  out_ += tag;
}

void XmlWriter::attribute(std::string_view name, std::u16string_view value) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
  text(value, true);
  out_ += '"';
}

void XmlWriter::asciiAttribute(std::string_view name, std::string_view value) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
  out_ += value;
  out_ += '"';
}

size_t XmlWriter::endStart() {
  out_ += '>';
  return out_.size();
}

void XmlWriter::finish(std::string_view tag, size_t contentStart) {
  if (out_.size() == contentStart) {
    out_.back() = '/';
    out_ += '>';
    return;
  }
  out_ += "</";
  out_ += tag;
  out_ += '>';
}

void XmlWriter::text(std::u16string_view text, bool inAttribute) {
  size_t i = 0;
  while (i < text.size()) {
    if (text[i] < 0x80) {
      escapeByte(out_, static_cast<char>(text[i++]), inAttribute);
      continue;
    }
    // Runs of other characters go through the one UTF-16 -> UTF-8 converter.
    size_t end = i + 1;
    while (end < text.size() && text[end] >= 0x80) ++end;
    out_ += om::utf16ToUtf8(text.substr(i, end - i));
    i = end;
  }
}

void XmlWriter::utf8Text(std::string_view text) {
  for (char c : text) escapeByte(out_, c, false);
}

// ---- messages ----

void XmlWriter::beginMessage(std::u16string_view id) {
  out_ += R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)";
  start("MESSAGE");
  attribute("ID", id);
  asciiAttribute("PROTOCOLVERSION", "1.0");
  endStart();
}

void XmlWriter::endMessage() { out_ += "</MESSAGE></CIM>"; }

void XmlWriter::localNamespacePath(std::u16string_view nameSpace) {
  out_ += "<LOCALNAMESPACEPATH>";
  size_t begin = 0;
  for (size_t i = 0; i <= nameSpace.size(); ++i) {
    if (i < nameSpace.size() && !isSlash(nameSpace[i])) continue;
    if (i > begin) {
      start("NAMESPACE");
      attribute("NAME", nameSpace.substr(begin, i - begin));
      out_ += "/>";
    }
    begin = i + 1;
  }
  out_ += "</LOCALNAMESPACEPATH>";
}

void XmlWriter::error(const Error& error) {
  start("ERROR");
  asciiAttribute("CODE", std::to_string(error.code));
  if (!error.description.empty()) attribute("DESCRIPTION", error.description);
  const size_t content = endStart();
  for (const CComPtr<IWbemClassObject>& instance : error.instances) object(instance);
  finish("ERROR", content);
}

void XmlWriter::paramValue(std::string_view tag, const ParamValue& param, bool named) {
  CIMTYPE type = CIM_EMPTY;
  const CComVariant stored = storedForm(param, &type);
  start(tag);
  if (named) attribute("NAME", param.name);
  if (baseType(param.type) != CIM_EMPTY) typeAttributes("PARAMTYPE", param.type);
  const size_t content = endStart();
  value(stored, type);
  finish(tag, content);
}

void XmlWriter::className(std::u16string_view name) {
  start("CLASSNAME");
  attribute("NAME", name);
  out_ += "/>";
}

// ---- objects ----

void XmlWriter::object(IWbemClassObject* object) {
  const CimObject* cim = CimObject::from(object);
  if (cim == nullptr) return;
  if (cim->isInstance()) {
    instance(*cim);
  } else {
    classDef(*cim->definition());
  }
}

void XmlWriter::instance(const CimObject& instance) {
  const ClassPtr cls = instance.definition();
  start("INSTANCE");
  attribute("CLASSNAME", cls->name());
  const size_t content = endStart();
  const std::vector<PropertyDef>& properties = cls->properties();
  for (size_t i = 0; i < properties.size(); ++i) {
    if (properties[i].name.starts_with(u"__")) continue;
    property(properties[i], instance.value(static_cast<int>(i)), nullptr);
  }
  finish("INSTANCE", content);
}

void XmlWriter::classDef(const CimClass& cls) {
  start("CLASS");
  attribute("NAME", cls.name());
  if (cls.superclass() != nullptr) attribute("SUPERCLASS", cls.superclassName());
  const size_t content = endStart();
  qualifiers(cls.qualifiers());
  for (const PropertyDef& p : cls.properties()) property(p, p.defaultValue, &cls);
  for (const MethodDef& m : cls.methods()) method(m, cls);
  finish("CLASS", content);
}

// A property of an instance (`owner` null: name, type and value) or of a
// class (with its origin and qualifiers, and the default as value).
void XmlWriter::property(const PropertyDef& property, const VARIANT& value, const CimClass* owner) {
  const CIMTYPE base = baseType(property.type);
  const bool array = isArrayType(property.type);
  const std::string_view tag = array ? "PROPERTY.ARRAY" : base == CIM_REFERENCE ? "PROPERTY.REFERENCE" : "PROPERTY";
  start(tag);
  attribute("NAME", property.name);
  if (base != CIM_REFERENCE || array) typeAttributes("TYPE", property.type);
  if (base == CIM_REFERENCE && !property.refClass.empty()) attribute("REFERENCECLASS", property.refClass);
  if (owner != nullptr) origin(property.origin, *owner);
  const size_t content = endStart();
  if (owner != nullptr) qualifiers(property.qualifiers);
  this->value(value, property.type);
  finish(tag, content);
}

// TYPE or PARAMTYPE, with EmbeddedObject for an embedded object.
void XmlWriter::typeAttributes(std::string_view name, CIMTYPE type) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
  appendTypeName(out_, baseType(type));
  out_ += '"';
  if (baseType(type) == CIM_OBJECT) asciiAttribute("EmbeddedObject", "object");
}

void XmlWriter::origin(const std::u16string& origin, const CimClass& owner) {
  attribute("CLASSORIGIN", origin);
  if (!equalsNoCase(origin, owner.name())) asciiAttribute("PROPAGATED", "true");
}

void XmlWriter::method(const MethodDef& method, const CimClass& owner) {
  start("METHOD");
  attribute("NAME", method.name);
  if (method.returnType != CIM_EMPTY) typeAttributes("TYPE", method.returnType);
  origin(method.origin, owner);
  const size_t content = endStart();
  qualifiers(method.qualifiers);
  for (const MethodParameter& p : methodParameters(method)) parameter(p);
  finish("METHOD", content);
}

// The parameter's direction and ID travel in its qualifiers (in, out, ID),
// and an embedded object's class in CIMTYPE or EmbeddedInstance. In is
// true unless said otherwise, so an [out] parameter says IN(false).
void XmlWriter::parameter(const MethodParameter& parameter) {
  const PropertyDef& def = *parameter.def;
  const bool reference = baseType(def.type) == CIM_REFERENCE;
  const bool array = isArrayType(def.type);
  const std::string_view tag =
      reference ? (array ? "PARAMETER.REFARRAY" : "PARAMETER.REFERENCE") : (array ? "PARAMETER.ARRAY" : "PARAMETER");
  start(tag);
  attribute("NAME", def.name);
  if (reference) {
    if (!def.refClass.empty()) attribute("REFERENCECLASS", def.refClass);
  } else {
    out_ += " TYPE=\"";
    appendTypeName(out_, baseType(def.type));
    out_ += '"';
  }
  const size_t content = endStart();
  if (!parameter.in && def.qualifiers.find(u"in") == nullptr) {
    out_ += R"(<QUALIFIER NAME="IN" TYPE="boolean" TOINSTANCE="true"><VALUE>FALSE</VALUE></QUALIFIER>)";
  }
  qualifiers(def.qualifiers);
  finish(tag, content);
}

void XmlWriter::qualifiers(const QualifierList& list) {
  for (const Qualifier& q : list.items()) {
    const CIMTYPE type = qualifierType(q.value.vt);
    start("QUALIFIER");
    attribute("NAME", q.name);
    out_ += " TYPE=\"";
    appendTypeName(out_, type == CIM_EMPTY ? static_cast<CIMTYPE>(CIM_STRING) : baseType(type));
    out_ += '"';
    if ((q.flavor & WBEM_FLAVOR_MASK_ORIGIN) == WBEM_FLAVOR_ORIGIN_PROPAGATED) asciiAttribute("PROPAGATED", "true");
    if ((q.flavor & WBEM_FLAVOR_NOT_OVERRIDABLE) != 0) asciiAttribute("OVERRIDABLE", "false");
    if ((q.flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS) == 0) asciiAttribute("TOSUBCLASS", "false");
    if ((q.flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) != 0) asciiAttribute("TOINSTANCE", "true");
    if ((q.flavor & WBEM_FLAVOR_AMENDED) != 0) asciiAttribute("TRANSLATABLE", "true");
    const size_t content = endStart();
    if (type != CIM_EMPTY) value(q.value, type);
    finish("QUALIFIER", content);
  }
}

// ---- names and paths ----

bool XmlWriter::keyValues(const CimObject& instance, const CimClass& cls, std::vector<CComVariant>* values) {
  const std::vector<int> keys = cls.keyIndexes();
  if (keys.empty() && !cls.isSingleton()) return false;
  for (int index : keys) {
    values->push_back(instance.value(index));
    if (isNull(values->back())) return false;
  }
  return true;
}

void XmlWriter::instanceNameOf(const CimClass& cls, const std::vector<CComVariant>& keys) {
  start("INSTANCENAME");
  attribute("CLASSNAME", cls.name());
  const size_t content = endStart();
  const std::vector<int> indexes = cls.keyIndexes();
  for (size_t i = 0; i < indexes.size() && i < keys.size(); ++i) {
    const PropertyDef& p = cls.properties()[static_cast<size_t>(indexes[i])];
    start("KEYBINDING");
    attribute("NAME", p.name);
    endStart();
    if (p.type == CIM_REFERENCE) {
      reference(bstrView(keys[i].bstrVal));
    } else {
      start("KEYVALUE");
      asciiAttribute("VALUETYPE", valueTypeOf(p.type));
      endStart();
      scalar(keys[i], p.type);
      out_ += "</KEYVALUE>";
    }
    out_ += "</KEYBINDING>";
  }
  finish("INSTANCENAME", content);
}

void XmlWriter::namedInstance(const CimObject& instance, std::string_view fallback) {
  const ClassPtr cls = instance.definition();
  std::vector<CComVariant> keys;
  if (keyValues(instance, *cls, &keys)) {
    out_ += "<VALUE.NAMEDINSTANCE>";
    instanceNameOf(*cls, keys);
    this->instance(instance);
    out_ += "</VALUE.NAMEDINSTANCE>";
  } else if (fallback.empty()) {
    this->instance(instance);
  } else {
    start(fallback);
    const size_t content = endStart();
    this->instance(instance);
    finish(fallback, content);
  }
}

void XmlWriter::objectWithPath(const CimObject& object) {
  const ClassPtr cls = object.definition();
  const bool isInstance = object.isInstance();
  std::vector<CComVariant> keys;
  const bool located = !cls->server().empty() && !cls->nameSpace().empty();
  if (!located || (isInstance && !keyValues(object, *cls, &keys))) {
    out_ += "<VALUE.OBJECT>";
    if (isInstance) instance(object);
    if (!isInstance) classDef(*cls);
    out_ += "</VALUE.OBJECT>";
    return;
  }
  out_ += isInstance ? "<VALUE.OBJECTWITHPATH><INSTANCEPATH>" : "<VALUE.OBJECTWITHPATH><CLASSPATH>";
  namespacePath(cls->server(), cls->nameSpace());
  if (isInstance) {
    instanceNameOf(*cls, keys);
    out_ += "</INSTANCEPATH>";
    instance(object);
  } else {
    className(cls->name());
    out_ += "</CLASSPATH>";
    classDef(*cls);
  }
  out_ += "</VALUE.OBJECTWITHPATH>";
}

void XmlWriter::namespacePath(std::u16string_view host, std::u16string_view nameSpace) {
  out_ += "<NAMESPACEPATH><HOST>";
  text(host);
  out_ += "</HOST>";
  localNamespacePath(nameSpace);
  out_ += "</NAMESPACEPATH>";
}

void XmlWriter::keyBinding(const KeyBinding& key) {
  start("KEYBINDING");
  attribute("NAME", key.name);
  out_ += "><KEYVALUE VALUETYPE=\"";
  out_ += valueTypeOf(key.kind);
  out_ += "\">";
  text(key.value);
  out_ += "</KEYVALUE></KEYBINDING>";
}

void XmlWriter::instanceName(const ObjectPath& path) {
  start("INSTANCENAME");
  attribute("CLASSNAME", path.className);
  const size_t content = endStart();
  for (const KeyBinding& key : path.keys) keyBinding(key);
  finish("INSTANCENAME", content);
}

void XmlWriter::name(const ObjectPath& path) {
  if (path.isClassPath()) {
    className(path.className);
  } else {
    instanceName(path);
  }
}

void XmlWriter::pathName(std::u16string_view pathText) {
  ObjectPath path;
  if (FAILED(parseObjectPath(pathText, &path))) {
    className(pathText);
  } else {
    name(path);
  }
}

void XmlWriter::reference(std::u16string_view pathText) {
  out_ += "<VALUE.REFERENCE>";
  ObjectPath path;
  if (FAILED(parseObjectPath(pathText, &path))) {
    className(pathText);
  } else if (path.nameSpace.empty()) {
    name(path);
  } else {
    const bool local = path.server.empty();
    const std::string_view tag =
        path.isClassPath() ? (local ? "LOCALCLASSPATH" : "CLASSPATH") : (local ? "LOCALINSTANCEPATH" : "INSTANCEPATH");
    start(tag);
    endStart();
    if (local) {
      localNamespacePath(path.nameSpace);
    } else {
      namespacePath(path.server, path.nameSpace);
    }
    name(path);
    out_ += "</";
    out_ += tag;
    out_ += '>';
  }
  out_ += "</VALUE.REFERENCE>";
}

// ---- values ----

void XmlWriter::value(const VARIANT& value, CIMTYPE type) {
  if (isNull(value)) return;
  if (isArrayType(type)) {
    arrayValue(value, type);
  } else if (type == CIM_REFERENCE) {
    reference(bstrView(value.bstrVal));
  } else {
    out_ += "<VALUE>";
    scalar(value, type);
    out_ += "</VALUE>";
  }
}

void XmlWriter::arrayValue(const VARIANT& value, CIMTYPE type) {
  const CIMTYPE base = baseType(type);
  const bool references = base == CIM_REFERENCE;
  out_ += references ? "<VALUE.REFARRAY>" : "<VALUE.ARRAY>";
  const VARTYPE vt = value.vt & VT_TYPEMASK;
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(value.parray, 1, &lower);
  SafeArrayGetUBound(value.parray, 1, &upper);
  for (LONG i = lower; i <= upper; ++i) {
    CComVariant element;
    if (FAILED(arrayElement(value.parray, vt, i, &element)) || isNull(element)) {
      out_ += "<VALUE.NULL/>";
    } else if (references) {
      reference(bstrView(element.bstrVal));
    } else {
      out_ += "<VALUE>";
      scalar(element, base);
      out_ += "</VALUE>";
    }
  }
  out_ += references ? "</VALUE.REFARRAY>" : "</VALUE.ARRAY>";
}

template <class T>
void XmlWriter::number(T value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  out_.append(buffer, result.ptr);
}

void XmlWriter::real(double value, bool single) {
  if (std::isnan(value)) {
    out_ += "NaN";
  } else if (std::isinf(value)) {
    out_ += value < 0 ? "-INF" : "INF";
  } else if (single) {
    number(static_cast<float>(value));
  } else {
    number(value);
  }
}

// The text of a stored scalar of `base` type.
void XmlWriter::scalar(const VARIANT& value, CIMTYPE base) {
  switch (base) {
    case CIM_SINT8:
    case CIM_SINT16: number(static_cast<int>(value.iVal)); return;
    case CIM_UINT8: number(static_cast<unsigned>(value.bVal)); return;
    case CIM_UINT16:
    case CIM_SINT32: number(static_cast<long>(value.lVal)); return;
    case CIM_UINT32: number(static_cast<uint32_t>(value.lVal)); return;
    case CIM_REAL32: real(value.fltVal, true); return;
    case CIM_REAL64: real(value.dblVal, false); return;
    case CIM_BOOLEAN: out_ += value.boolVal != VARIANT_FALSE ? "TRUE" : "FALSE"; return;
    case CIM_CHAR16: {
      const char16_t c = static_cast<char16_t>(value.iVal);
      text(std::u16string_view(&c, 1));
      return;
    }
    case CIM_OBJECT: embedded(value.punkVal); return;
    default: text(bstrView(value.bstrVal)); return;
  }
}

// An embedded object: the escaped text of its INSTANCE or CLASS element.
void XmlWriter::embedded(IUnknown* object) {
  CComQIPtr<IWbemClassObject> embedded(object);
  std::string inner;
  XmlWriter(&inner).object(embedded);
  utf8Text(inner);
}

}  // namespace om::wmi::cimxml
