#include "CimXmlReader.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CimObject.h"
#include "CimType.h"
#include "ClassDeclarations.h"
#include "Literals.h"
#include "Text.h"

namespace om::wmi::cimxml {

namespace {

using pugi::xml_node;

constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_doctype | pugi::parse_ws_pcdata_single;

bool isXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isXmlSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isXmlSpace(text.back())) text.remove_suffix(1);
  return text;
}

// The character data of an element (its text and CDATA children).
std::string textOf(xml_node node) {
  std::string text;
  for (xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) text += child.value();
  }
  return text;
}

// A value quoted in an error message, cut short.
std::string quoted(std::string_view text) {
  constexpr size_t kShown = 40;
  std::string out = "'";
  out += text.substr(0, kShown);
  if (text.size() > kShown) out += "...";
  return out + "'";
}

std::string quoted(std::u16string_view text) { return quoted(toUtf8(text)); }

// Elements nested deeper than `limit` below and including `root`, counted
// without recursion.
bool withinDepth(xml_node root, int limit) {
  xml_node node = root;
  int depth = 1;
  for (;;) {
    if (node.type() == pugi::node_element && depth > limit) return false;
    if (xml_node child = node.first_child()) {
      node = child;
      ++depth;
      continue;
    }
    while (node != root && !node.next_sibling()) {
      node = node.parent();
      --depth;
    }
    if (node == root) return true;
    node = node.next_sibling();
  }
}

// The CIM type of a TYPE or PARAMTYPE name; CIM_ILLEGAL when it is none.
CIMTYPE wireType(std::string_view name) {
  if (name == "reference") return CIM_REFERENCE;
  const CIMTYPE type = cimTypeFromKeyword(toU16(name));
  return type == CIM_OBJECT || type == CIM_REFERENCE ? static_cast<CIMTYPE>(CIM_ILLEGAL) : type;
}

std::string typeName(CIMTYPE type) {
  std::string name = toUtf8(cimTypeKeyword(baseType(type)));
  return isArrayType(type) ? name + "[]" : name;
}

bool isEmbedded(xml_node node) { return *node.attribute("EmbeddedObject").value() != '\0'; }

bool isOneOf(xml_node node, std::initializer_list<std::string_view> names) {
  return std::any_of(names.begin(), names.end(), [&](std::string_view name) { return isElement(node, name); });
}

bool isValueElement(xml_node node) {
  return isOneOf(node, {"VALUE", "VALUE.ARRAY", "VALUE.REFERENCE", "VALUE.REFARRAY"});
}

// The type an untyped parameter value's element shows.
CIMTYPE contentType(xml_node content, bool embedded) {
  if (isElement(content, "VALUE")) return embedded ? CIM_OBJECT : CIM_EMPTY;
  if (isElement(content, "VALUE.ARRAY")) return (embedded ? CIM_OBJECT : CIM_STRING) | CIM_FLAG_ARRAY;
  if (isOneOf(content, {"VALUE.REFERENCE", "INSTANCENAME"})) return CIM_REFERENCE;
  if (isElement(content, "VALUE.REFARRAY")) return CIM_REFERENCE | CIM_FLAG_ARRAY;
  if (isOneOf(content, {"INSTANCE", "CLASS", "VALUE.NAMEDINSTANCE"})) return CIM_OBJECT;
  if (isElement(content, "CLASSNAME")) return CIM_STRING;
  return CIM_EMPTY;
}

// The ID qualifier of a parameter; parameters without one go last.
long parameterId(const PropertyDef& parameter) {
  const Qualifier* id = parameter.qualifiers.find(u"ID");
  return id != nullptr && id->value.vt == VT_I4 ? id->value.lVal : 0x7fffffff;
}

}  // namespace

bool loadDocument(std::string_view xml, pugi::xml_document* doc, std::string* why) {
  if (xml.find('\0') != std::string_view::npos) {
    *why = "the text holds a NUL character";
    return false;
  }
  const pugi::xml_parse_result result = doc->load_buffer(xml.data(), xml.size(), kParseOptions, pugi::encoding_utf8);
  if (!result) {
    *why = std::string("not well-formed XML (") + result.description() + " at offset " + std::to_string(result.offset) +
           ")";
    return false;
  }
  int roots = 0;
  for (xml_node node = doc->first_child(); node; node = node.next_sibling()) {
    if (node.type() == pugi::node_doctype) {
      *why = "a DOCTYPE declaration is not accepted";
      return false;
    }
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
      *why = "text outside the root element";
      return false;
    }
    if (node.type() == pugi::node_element) ++roots;
  }
  if (roots != 1) {
    *why = "not one root element";
    return false;
  }
  if (!withinDepth(doc->document_element(), kMaxDepth)) {
    *why = "elements nested more than " + std::to_string(kMaxDepth) + " deep";
    return false;
  }
  return true;
}

xml_node firstElement(xml_node node) {
  xml_node child = node.first_child();
  while (child && child.type() != pugi::node_element) child = child.next_sibling();
  return child;
}

xml_node nextElement(xml_node node) {
  xml_node next = node.next_sibling();
  while (next && next.type() != pugi::node_element) next = next.next_sibling();
  return next;
}

bool isElement(xml_node node, std::string_view name) { return node && node.name() == name; }

std::u16string attributeText(xml_node node, const char* name) { return toU16(node.attribute(name).value()); }

XmlReader::XmlReader(const ClassResolver& resolve, DecodeError* error, int embedding)
    : resolve_(resolve), error_(error), embedding_(embedding) {}

bool XmlReader::fail(int code, std::string message) {
  error_->badRequest = false;
  error_->code = code;
  error_->message = std::move(message);
  return false;
}

ClassPtr XmlReader::resolve(std::u16string_view className) const { return resolve_ ? resolve_(className) : nullptr; }

// ---- objects ----

bool XmlReader::object(xml_node node, IWbemClassObject** out) {
  if (isElement(node, "INSTANCE")) return instance(node, out);
  if (isElement(node, "CLASS")) return classDef(node, out);
  return fail(CIM_ERR_INVALID_PARAMETER, std::string("expected INSTANCE or CLASS, found ") + quoted(node.name()));
}

bool XmlReader::instance(xml_node node, IWbemClassObject** out) {
  if (!isElement(node, "INSTANCE")) return fail(CIM_ERR_INVALID_PARAMETER, "expected INSTANCE");
  const std::u16string className = attributeText(node, "CLASSNAME");
  const ClassPtr cls = resolve(className);
  if (cls == nullptr) return fail(CIM_ERR_INVALID_CLASS, "unknown class " + quoted(className));
  CComPtr<IWbemClassObject> object = CimObject::newInstance(cls);
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    if (isElement(child, "QUALIFIER")) continue;
    if (!isOneOf(child, {"PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE"})) {
      return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(child.name()) + " in INSTANCE");
    }
    if (!instanceProperty(child, *cls, object)) return false;
  }
  *out = object.Detach();
  return true;
}

// One property of an instance, read as the type its class gives it.
bool XmlReader::instanceProperty(xml_node node, const CimClass& cls, IWbemClassObject* instance) {
  const std::u16string name = attributeText(node, "NAME");
  if (name.starts_with(u"__")) return true;  // system properties come from the class
  const int index = cls.findProperty(name);
  if (index < 0) {
    return fail(CIM_ERR_INVALID_PARAMETER, "class " + quoted(cls.name()) + " has no property " + quoted(name));
  }
  const PropertyDef& property = cls.properties()[static_cast<size_t>(index)];
  CIMTYPE sent = CIM_EMPTY;
  if (!declaredType(node, &sent)) return false;
  // Older senders type embedded objects as plain strings.
  if (baseType(property.type) == CIM_OBJECT && baseType(sent) == CIM_STRING) {
    sent = CIM_OBJECT | (sent & CIM_FLAG_ARRAY);
  }
  if (baseType(sent) != CIM_EMPTY && sent != property.type) {
    return fail(CIM_ERR_TYPE_MISMATCH,
                "property " + quoted(name) + " is " + typeName(property.type) + ", not " + typeName(sent));
  }
  xml_node valueElement;
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    if (isElement(child, "QUALIFIER")) continue;
    if (valueElement || !isValueElement(child)) {
      return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(child.name()) + " in property " + quoted(name));
    }
    valueElement = child;
  }
  CComVariant raw;
  if (!rawValue(valueElement, property.type, &raw)) return false;
  if (FAILED(CimObject::from(instance)->setValue(index, raw))) {
    return fail(CIM_ERR_INVALID_PARAMETER, "invalid " + typeName(property.type) + " value of property " + quoted(name));
  }
  return true;
}

bool XmlReader::classDef(xml_node node, IWbemClassObject** out) {
  const std::u16string name = attributeText(node, "NAME");
  if (name.empty()) return fail(CIM_ERR_INVALID_PARAMETER, "CLASS without NAME");
  const std::u16string superclass = attributeText(node, "SUPERCLASS");
  auto cls = std::make_shared<CimClass>(name, superclass.empty() ? nullptr : resolve(superclass));
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    if (isElement(child, "QUALIFIER")) {
      if (!qualifier(child, &cls->qualifiers())) return false;
    } else if (isOneOf(child, {"PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE"})) {
      PropertyDef property;
      if (!propertyDef(child, &property)) return false;
      const std::u16string propertyName = property.name;
      if (FAILED(cls->addProperty(std::move(property)))) {
        return fail(CIM_ERR_INVALID_PARAMETER, "property " + quoted(propertyName) + " cannot be declared here");
      }
    } else if (isElement(child, "METHOD")) {
      MethodDef method;
      if (!methodDef(child, &method)) return false;
      const std::u16string methodName = method.name;
      if (FAILED(cls->addMethod(std::move(method)))) {
        return fail(CIM_ERR_INVALID_PARAMETER, "method " + quoted(methodName) + " declared twice");
      }
    } else {
      return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(child.name()) + " in CLASS");
    }
  }
  *out = CimObject::newClass(std::move(cls)).Detach();
  return true;
}

bool XmlReader::namedInstance(xml_node node, IWbemClassObject** out) {
  const xml_node name = firstElement(node);
  const xml_node instanceElement = name ? nextElement(name) : xml_node();
  std::u16string path;
  if (!isElement(node, "VALUE.NAMEDINSTANCE") || !instanceElement || nextElement(instanceElement)) {
    return fail(CIM_ERR_INVALID_PARAMETER, "VALUE.NAMEDINSTANCE needs INSTANCENAME and INSTANCE");
  }
  return instanceName(name, &path) && instance(instanceElement, out);
}

// ---- class declarations ----

// The type a PROPERTY*, PARAMETER* element declares (CIM_EMPTY when it has
// no TYPE); false for a TYPE that names no type.
bool XmlReader::declaredType(xml_node node, CIMTYPE* type) {
  const std::string_view tag = node.name();
  const bool array = tag.ends_with(".ARRAY") || tag.ends_with(".REFARRAY");
  CIMTYPE base = CIM_EMPTY;
  if (tag.ends_with(".REFERENCE") || tag.ends_with(".REFARRAY")) {
    base = CIM_REFERENCE;
  } else if (const char* name = node.attribute("TYPE").value(); *name != '\0') {
    base = wireType(name);
    if (base == CIM_ILLEGAL) return fail(CIM_ERR_INVALID_PARAMETER, "unknown TYPE " + quoted(name));
    if (base == CIM_STRING && isEmbedded(node)) base = CIM_OBJECT;
  }
  *type = array ? (base | CIM_FLAG_ARRAY) : base;
  return true;
}

// Completes a declaration's type from its qualifiers, as the MOF compiler
// does (embedded objects and their classes; CIMTYPE, which carries what
// the XML types cannot say), and states it in the CIMTYPE qualifier.
bool XmlReader::completeType(const std::u16string& name, CIMTYPE* type, std::u16string* refClass,
                             QualifierList* qualifiers) {
  CIMTYPE base = baseType(*type);
  if (FAILED(applyEmbeddingQualifiers(*qualifiers, &base, refClass))) {
    return fail(CIM_ERR_INVALID_PARAMETER, "EmbeddedInstance on " + quoted(name) + ", which is no string");
  }
  const std::u16string cimType = qualifiers->text(u"CIMTYPE");
  const size_t colon = cimType.find(u':');
  const CIMTYPE stated = cimTypeFromKeyword(std::u16string_view(cimType).substr(0, colon));
  if (base == CIM_STRING && stated == CIM_OBJECT) base = CIM_OBJECT;
  if (refClass->empty() && stated == base && colon != std::u16string::npos) *refClass = cimType.substr(colon + 1);
  *type = base | (*type & CIM_FLAG_ARRAY);
  const Qualifier* existing = qualifiers->find(u"CIMTYPE");
  const long flavor = existing != nullptr ? existing->flavor : kDefaultFlavor;
  qualifiers->set(u"CIMTYPE", CComVariant(cimTypeQualifierText(*type, *refClass).c_str()), flavor);
  return true;
}

bool XmlReader::propertyDef(xml_node node, PropertyDef* out) {
  out->name = attributeText(node, "NAME");
  if (out->name.empty()) return fail(CIM_ERR_INVALID_PARAMETER, "a property without NAME");
  if (!declaredType(node, &out->type)) return false;
  if (baseType(out->type) == CIM_EMPTY) {
    return fail(CIM_ERR_INVALID_PARAMETER, "property " + quoted(out->name) + " without TYPE");
  }
  out->refClass = attributeText(node, "REFERENCECLASS");
  xml_node valueElement;
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    if (isElement(child, "QUALIFIER")) {
      if (!qualifier(child, &out->qualifiers)) return false;
    } else if (!valueElement && isValueElement(child)) {
      valueElement = child;
    } else {
      return fail(CIM_ERR_INVALID_PARAMETER,
                  "unexpected " + quoted(child.name()) + " in property " + quoted(out->name));
    }
  }
  if (!completeType(out->name, &out->type, &out->refClass, &out->qualifiers)) return false;
  return value(valueElement, out->type, out->refClass, &out->defaultValue);
}

bool XmlReader::parameterDef(xml_node node, PropertyDef* out) {
  out->name = attributeText(node, "NAME");
  if (out->name.empty()) return fail(CIM_ERR_INVALID_PARAMETER, "a parameter without NAME");
  if (!declaredType(node, &out->type)) return false;
  if (baseType(out->type) == CIM_EMPTY) {
    return fail(CIM_ERR_INVALID_PARAMETER, "parameter " + quoted(out->name) + " without TYPE");
  }
  out->refClass = attributeText(node, "REFERENCECLASS");
  out->defaultValue.vt = VT_NULL;
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    if (!isElement(child, "QUALIFIER")) {
      return fail(CIM_ERR_INVALID_PARAMETER,
                  "unexpected " + quoted(child.name()) + " in parameter " + quoted(out->name));
    }
    if (!qualifier(child, &out->qualifiers)) return false;
  }
  // IN(false) on an [out] parameter says what the absence of [in] says.
  const Qualifier* in = out->qualifiers.find(u"in");
  if (in != nullptr && in->value.vt == VT_BOOL && in->value.boolVal == VARIANT_FALSE && out->qualifiers.isSet(u"out")) {
    out->qualifiers.remove(u"in");
  }
  return completeType(out->name, &out->type, &out->refClass, &out->qualifiers);
}

// A method and its signature classes, built from its parameters in the
// order of their IDs.
bool XmlReader::methodDef(xml_node node, MethodDef* out) {
  out->name = attributeText(node, "NAME");
  if (out->name.empty()) return fail(CIM_ERR_INVALID_PARAMETER, "a method without NAME");
  CIMTYPE returnType = CIM_EMPTY;
  if (!declaredType(node, &returnType)) return false;
  std::vector<PropertyDef> parameters;
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    if (isElement(child, "QUALIFIER")) {
      if (!qualifier(child, &out->qualifiers)) return false;
    } else if (isOneOf(child, {"PARAMETER", "PARAMETER.ARRAY", "PARAMETER.REFERENCE", "PARAMETER.REFARRAY"})) {
      parameters.emplace_back();
      if (!parameterDef(child, &parameters.back())) return false;
    } else {
      return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(child.name()) + " in method " + quoted(out->name));
    }
  }
  std::stable_sort(parameters.begin(), parameters.end(),
                   [](const PropertyDef& a, const PropertyDef& b) { return parameterId(a) < parameterId(b); });
  size_t failed = 0;
  const std::vector<PropertyDef> declared = parameters;
  if (FAILED(buildMethodSignature(returnType, u"", std::move(parameters), out, &failed))) {
    return fail(CIM_ERR_INVALID_PARAMETER,
                "parameter " + quoted(declared[failed].name) + " of method " + quoted(out->name) + " is invalid");
  }
  return true;
}

bool XmlReader::qualifier(xml_node node, QualifierList* list) {
  const std::u16string name = attributeText(node, "NAME");
  const CIMTYPE type = wireType(node.attribute("TYPE").value());
  if (name.empty() || type == CIM_ILLEGAL || type == CIM_REFERENCE) {
    return fail(CIM_ERR_INVALID_PARAMETER, "a QUALIFIER needs NAME and TYPE");
  }
  long flavor = 0;
  if (node.attribute("TOSUBCLASS").as_bool(true)) flavor |= WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
  if (node.attribute("TOINSTANCE").as_bool(false)) flavor |= WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE;
  if (!node.attribute("OVERRIDABLE").as_bool(true)) flavor |= WBEM_FLAVOR_NOT_OVERRIDABLE;
  if (node.attribute("TRANSLATABLE").as_bool(false)) flavor |= WBEM_FLAVOR_AMENDED;
  if (node.attribute("PROPAGATED").as_bool(false)) flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
  const xml_node element = firstElement(node);
  if (element && (nextElement(element) || !isOneOf(element, {"VALUE", "VALUE.ARRAY"}))) {
    return fail(CIM_ERR_INVALID_PARAMETER, "qualifier " + quoted(name) + " holds more than a value");
  }
  CComVariant value;
  if (!qualifierValue(element, isElement(element, "VALUE.ARRAY") ? (type | CIM_FLAG_ARRAY) : type, &value)) {
    return false;
  }
  list->set(name, value, flavor);
  return true;
}

// Qualifier values are booleans, 32-bit integers, reals or strings (or
// arrays of one); a qualifier without a value is null, but true for a
// boolean one.
bool XmlReader::qualifierValue(xml_node element, CIMTYPE type, VARIANT* out) {
  const CIMTYPE base = baseType(type);
  const CIMTYPE array = type & CIM_FLAG_ARRAY;
  if (!element) {
    if (base == CIM_BOOLEAN) return SUCCEEDED(CComVariant(true).Detach(out));
    out->vt = VT_NULL;
    return true;
  }
  CComVariant raw;
  if (!rawValue(element, type, &raw)) return false;
  CIMTYPE stored = CIM_STRING;
  if (base == CIM_BOOLEAN) stored = CIM_BOOLEAN;
  if (base == CIM_REAL32 || base == CIM_REAL64) stored = CIM_REAL64;
  if (isIntegerType(base)) stored = CIM_SINT32;
  if (SUCCEEDED(coerceValue(raw, stored | array, u"", out))) return true;
  // A scalar integer beyond 32 bits is kept as a real, as MOF does.
  if (stored == CIM_SINT32 && array == 0 && SUCCEEDED(coerceValue(raw, CIM_REAL64, u"", out))) return true;
  return fail(CIM_ERR_INVALID_PARAMETER, "invalid qualifier value");
}

// ---- names and paths ----

bool XmlReader::className(xml_node node, std::u16string* name) {
  *name = attributeText(node, "NAME");
  if (!isElement(node, "CLASSNAME") || name->empty()) return fail(CIM_ERR_INVALID_PARAMETER, "expected CLASSNAME");
  return true;
}

bool XmlReader::keyBinding(xml_node node, KeyBinding* key) {
  if (isElement(node, "KEYBINDING")) {
    key->name = attributeText(node, "NAME");
    node = firstElement(node);
  }
  if (isElement(node, "VALUE.REFERENCE")) {
    key->kind = KeyBinding::Kind::kString;
    return reference(node, &key->value);
  }
  if (!isElement(node, "KEYVALUE")) return fail(CIM_ERR_INVALID_PARAMETER, "a key without KEYVALUE");
  const std::string text = textOf(node);
  const std::string_view valueType = node.attribute("VALUETYPE").value();
  if (valueType == "boolean") {
    const std::u16string word = toU16(trimmed(text));
    if (!equalsNoCase(word, u"TRUE") && !equalsNoCase(word, u"FALSE")) {
      return fail(CIM_ERR_INVALID_PARAMETER, quoted(text) + " is no boolean key");
    }
    key->kind = KeyBinding::Kind::kBoolean;
    key->value = equalsNoCase(word, u"TRUE") ? u"TRUE" : u"FALSE";
  } else if (valueType == "numeric") {
    CComVariant number;
    if (FAILED(integerLiteral(toU16(trimmed(text)), &number)) || FAILED(number.ChangeType(VT_BSTR))) {
      return fail(CIM_ERR_INVALID_PARAMETER, quoted(text) + " is no integer key");
    }
    key->kind = KeyBinding::Kind::kInteger;
    key->value = bstrView(number.bstrVal);
  } else {
    key->kind = KeyBinding::Kind::kString;
    key->value = toU16(text);
  }
  return true;
}

bool XmlReader::instanceName(xml_node node, std::u16string* relPath) {
  ObjectPath path;
  path.className = attributeText(node, "CLASSNAME");
  if (!isElement(node, "INSTANCENAME") || path.className.empty()) {
    return fail(CIM_ERR_INVALID_PARAMETER, "expected INSTANCENAME with CLASSNAME");
  }
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    KeyBinding key;
    if (!keyBinding(child, &key)) return false;
    path.keys.push_back(std::move(key));
  }
  path.singleton = path.keys.empty();
  if (const ClassPtr cls = resolve(path.className)) {
    ObjectPath canonical = path;
    if (SUCCEEDED(canonicalizeInstancePath(*cls, &canonical))) path = std::move(canonical);
  }
  *relPath = path.relPath();
  ObjectPath check;
  if (FAILED(parseObjectPath(*relPath, &check))) {
    return fail(CIM_ERR_INVALID_PARAMETER, "invalid instance name " + quoted(*relPath));
  }
  return true;
}

bool XmlReader::localNamespace(xml_node node, std::u16string* nameSpace) {
  nameSpace->clear();
  if (!isElement(node, "LOCALNAMESPACEPATH")) return fail(CIM_ERR_INVALID_PARAMETER, "expected LOCALNAMESPACEPATH");
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    const std::u16string part = attributeText(child, "NAME");
    if (!isElement(child, "NAMESPACE") || part.empty()) return fail(CIM_ERR_INVALID_PARAMETER, "invalid NAMESPACE");
    if (!nameSpace->empty()) *nameSpace += u'\\';
    *nameSpace += part;
  }
  if (nameSpace->empty()) return fail(CIM_ERR_INVALID_PARAMETER, "an empty LOCALNAMESPACEPATH");
  return true;
}

// CLASSNAME, INSTANCENAME, or one of them with a local or full namespace
// path, as WMI path text.
bool XmlReader::reference(xml_node node, std::u16string* path) {
  xml_node target = firstElement(node);
  if (!isElement(node, "VALUE.REFERENCE") || !target || nextElement(target)) {
    return fail(CIM_ERR_INVALID_PARAMETER, "expected VALUE.REFERENCE with one path");
  }
  std::u16string location;
  if (isOneOf(target, {"CLASSPATH", "INSTANCEPATH", "LOCALCLASSPATH", "LOCALINSTANCEPATH"})) {
    xml_node nameSpace = firstElement(target);
    xml_node name = nameSpace ? nextElement(nameSpace) : xml_node();
    if (!name || nextElement(name)) return fail(CIM_ERR_INVALID_PARAMETER, "an incomplete path in VALUE.REFERENCE");
    if (isElement(nameSpace, "NAMESPACEPATH")) {
      const xml_node host = firstElement(nameSpace);
      if (!isElement(host, "HOST")) return fail(CIM_ERR_INVALID_PARAMETER, "NAMESPACEPATH without HOST");
      location = u"\\\\" + toU16(textOf(host)) + u"\\";
      nameSpace = nextElement(host);
    }
    std::u16string ns;
    if (!localNamespace(nameSpace, &ns)) return false;
    location += ns + u":";
    target = name;
  }
  std::u16string name;
  if (!(isElement(target, "CLASSNAME") ? className(target, &name) : instanceName(target, &name))) return false;
  *path = location + name;
  ObjectPath check;
  if (FAILED(parseObjectPath(*path, &check))) {
    return fail(CIM_ERR_INVALID_PARAMETER, "invalid reference " + quoted(*path));
  }
  return true;
}

// ---- values ----

bool XmlReader::value(xml_node element, CIMTYPE type, std::u16string_view refClass, VARIANT* out) {
  CComVariant raw;
  if (!rawValue(element, type, &raw)) return false;
  if (FAILED(coerceValue(raw, type, refClass, out))) {
    return fail(CIM_ERR_INVALID_PARAMETER, "invalid " + typeName(type) + " value");
  }
  return true;
}

// A value in a form coerceValue turns into the stored form of `type`:
// integers as VT_I8/VT_UI8, arrays as VT_VARIANT arrays, objects read.
bool XmlReader::rawValue(xml_node element, CIMTYPE type, VARIANT* raw) {
  if (!element) {
    raw->vt = VT_NULL;
    return true;
  }
  if (isArrayType(type)) return rawArray(element, type, raw);
  if (baseType(type) == CIM_REFERENCE) {
    std::u16string path;
    if (!reference(element, &path)) return false;
    raw->vt = VT_BSTR;
    raw->bstrVal = allocBstr(path);
    return true;
  }
  if (!isElement(element, "VALUE")) {
    return fail(CIM_ERR_INVALID_PARAMETER,
                "expected VALUE for a " + typeName(type) + ", found " + quoted(element.name()));
  }
  return scalar(textOf(element), baseType(type), raw);
}

bool XmlReader::rawArray(xml_node element, CIMTYPE type, VARIANT* raw) {
  const bool references = baseType(type) == CIM_REFERENCE;
  const std::string_view itemTag = references ? "VALUE.REFERENCE" : "VALUE";
  if (!isElement(element, references ? "VALUE.REFARRAY" : "VALUE.ARRAY")) {
    return fail(CIM_ERR_INVALID_PARAMETER,
                "expected an array for a " + typeName(type) + ", found " + quoted(element.name()));
  }
  ULONG count = 0;
  for (xml_node item = firstElement(element); item; item = nextElement(item)) ++count;
  CComVariant array;
  array.parray = SafeArrayCreateVector(VT_VARIANT, 0, count);
  if (array.parray == nullptr) return fail(CIM_ERR_FAILED, "out of memory");
  array.vt = VT_ARRAY | VT_VARIANT;
  LONG index = 0;
  for (xml_node item = firstElement(element); item; item = nextElement(item), ++index) {
    CComVariant itemValue;
    if (isElement(item, "VALUE.NULL")) {
      itemValue.vt = VT_NULL;
    } else if (!isElement(item, itemTag)) {
      return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(item.name()) + " in an array");
    } else if (!rawValue(item, baseType(type), &itemValue)) {
      return false;
    }
    if (FAILED(SafeArrayPutElement(array.parray, &index, &itemValue))) return fail(CIM_ERR_FAILED, "out of memory");
  }
  return SUCCEEDED(array.Detach(raw));
}

bool XmlReader::scalar(const std::string& text, CIMTYPE base, VARIANT* raw) {
  std::string_view number = trimmed(text);
  if (isIntegerType(base)) {
    if (FAILED(integerLiteral(toU16(number), raw))) {
      return fail(CIM_ERR_INVALID_PARAMETER, quoted(text) + " is no " + typeName(base) + " value");
    }
    return true;
  }
  switch (base) {
    case CIM_REAL32:
    case CIM_REAL64: {
      if (number.starts_with('+')) number.remove_prefix(1);
      const char* end = number.data() + number.size();
      std::from_chars_result read{};
      if (base == CIM_REAL32) {
        raw->vt = VT_R4;
        read = std::from_chars(number.data(), end, raw->fltVal);
      } else {
        raw->vt = VT_R8;
        read = std::from_chars(number.data(), end, raw->dblVal);
      }
      if (number.empty() || read.ec != std::errc() || read.ptr != end) {
        raw->vt = VT_EMPTY;
        return fail(CIM_ERR_INVALID_PARAMETER, quoted(text) + " is no " + typeName(base) + " value");
      }
      return true;
    }
    case CIM_BOOLEAN: {
      const std::u16string word = toU16(number);
      if (!equalsNoCase(word, u"TRUE") && !equalsNoCase(word, u"FALSE")) {
        return fail(CIM_ERR_INVALID_PARAMETER, quoted(text) + " is no boolean value");
      }
      return SUCCEEDED(CComVariant(equalsNoCase(word, u"TRUE")).Detach(raw));
    }
    case CIM_OBJECT: return embeddedObject(text, raw);
    default:
      raw->vt = VT_BSTR;
      raw->bstrVal = allocBstr(toU16(text));
      return true;
  }
}

// The INSTANCE or CLASS whose XML is the text of an embedded object's VALUE.
bool XmlReader::embeddedObject(const std::string& text, VARIANT* raw) {
  if (embedding_ >= kMaxEmbeddingDepth) {
    return fail(CIM_ERR_INVALID_PARAMETER,
                "embedded objects nested more than " + std::to_string(kMaxEmbeddingDepth) + " deep");
  }
  pugi::xml_document doc;
  std::string why;
  if (!loadDocument(text, &doc, &why)) return fail(CIM_ERR_INVALID_PARAMETER, "an embedded object is " + why);
  XmlReader inner(resolve_, error_, embedding_ + 1);
  CComPtr<IWbemClassObject> object;
  if (!inner.object(doc.document_element(), &object)) return false;
  raw->vt = VT_UNKNOWN;
  raw->punkVal = object.Detach();
  return true;
}

// ---- parameters ----

bool XmlReader::paramValue(xml_node node, const PropertyDef* declared, ParamValue* out) {
  out->name = attributeText(node, "NAME");
  const xml_node content = firstElement(node);
  if (content && nextElement(content)) {
    return fail(CIM_ERR_INVALID_PARAMETER, "more than one value in " + quoted(node.name()));
  }
  std::u16string refClass;
  if (!paramType(node, content, declared, &out->type, &refClass)) return false;
  out->value.Clear();
  return paramContent(content, out->type, refClass, &out->value);
}

bool XmlReader::paramType(xml_node node, xml_node content, const PropertyDef* declared, CIMTYPE* type,
                          std::u16string* refClass) {
  const char* name = node.attribute("PARAMTYPE").value();
  if (*name == '\0') {
    *type = declared != nullptr ? declared->type : contentType(content, isEmbedded(node));
    if (declared != nullptr) *refClass = declared->refClass;
    return true;
  }
  CIMTYPE base = wireType(name);
  if (base == CIM_ILLEGAL) return fail(CIM_ERR_INVALID_PARAMETER, "unknown PARAMTYPE " + quoted(name));
  if (base == CIM_STRING && isEmbedded(node)) base = CIM_OBJECT;
  const bool array = isOneOf(content, {"VALUE.ARRAY", "VALUE.REFARRAY"});
  *type = array ? (base | CIM_FLAG_ARRAY) : base;
  if (declared != nullptr && declared->type == *type) *refClass = declared->refClass;
  return true;
}

bool XmlReader::paramContent(xml_node content, CIMTYPE type, const std::u16string& refClass, VARIANT* out) {
  if (!content) {
    out->vt = VT_NULL;
    return true;
  }
  if (baseType(type) == CIM_EMPTY) {
    if (!isElement(content, "VALUE")) return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(content.name()));
    out->vt = VT_BSTR;
    out->bstrVal = allocBstr(toU16(textOf(content)));
    return true;
  }
  if (isValueElement(content)) return value(content, type, refClass, out);
  CComVariant raw;
  if (isOneOf(content, {"INSTANCE", "CLASS", "VALUE.NAMEDINSTANCE"})) {
    CComPtr<IWbemClassObject> object;
    const bool read =
        isElement(content, "VALUE.NAMEDINSTANCE") ? namedInstance(content, &object) : this->object(content, &object);
    if (!read) return false;
    raw.vt = VT_UNKNOWN;
    raw.punkVal = object.Detach();
  } else if (isOneOf(content, {"INSTANCENAME", "CLASSNAME"})) {
    std::u16string text;
    if (!(isElement(content, "CLASSNAME") ? className(content, &text) : instanceName(content, &text))) return false;
    raw.vt = VT_BSTR;
    raw.bstrVal = allocBstr(text);
  } else {
    return fail(CIM_ERR_INVALID_PARAMETER, "unexpected " + quoted(content.name()));
  }
  if (FAILED(coerceValue(raw, type, refClass, out))) {
    return fail(CIM_ERR_TYPE_MISMATCH, quoted(content.name()) + " given for a " + typeName(type));
  }
  return true;
}

}  // namespace om::wmi::cimxml
