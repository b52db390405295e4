// XmlWriter: appends the elements of CIM-XML (values, instances, classes,
// instance names, references, parameter values) to one output string, the
// way encodeRequest and encodeResponse put them together. Text and
// attribute values are escaped as they are written; wide text becomes
// UTF-8.
#ifndef OM_PLATFORM_WMI_CIMXMLWRITER_H_
#define OM_PLATFORM_WMI_CIMXMLWRITER_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CimClass.h"
#include "CimObject.h"
#include "CimXml.h"
#include "ClassDeclarations.h"
#include "ObjectPath.h"

namespace om::wmi::cimxml {

class XmlWriter {
 public:
  // Appends to `*out`, which must outlive the writer.
  explicit XmlWriter(std::string* out) : out_(*out) {}

  // The XML declaration, CIM and MESSAGE start tags; and their end tags.
  void beginMessage(std::u16string_view id);
  void endMessage();
  // LOCALNAMESPACEPATH with one NAMESPACE per part of "root\a\b".
  void localNamespacePath(std::u16string_view nameSpace);

  // INSTANCE or CLASS; nothing for an object this object manager did not
  // make.
  void object(IWbemClassObject* object);
  void instance(const CimObject& instance);
  void classDef(const CimClass& cls);
  // VALUE.NAMEDINSTANCE; an instance without a path (a null key, or a class
  // without keys) is written alone, inside `fallback` when one is given
  // ("VALUE.OBJECT").
  void namedInstance(const CimObject& instance, std::string_view fallback);
  // VALUE.OBJECTWITHPATH with the object's full path; VALUE.OBJECT for an
  // object without one.
  void objectWithPath(const CimObject& object);
  // INSTANCENAME of a parsed path; its keys are string, numeric or boolean.
  void instanceName(const ObjectPath& path);
  // CLASSNAME for a class path, INSTANCENAME for an instance path (WMI text).
  void pathName(std::u16string_view pathText);
  // VALUE.REFERENCE of a WMI path text, with the namespace and host it names.
  void reference(std::u16string_view pathText);
  // The element of a stored value of `type` (CimType.h): VALUE, VALUE.ARRAY,
  // VALUE.REFERENCE or VALUE.REFARRAY; nothing for a null value.
  void value(const VARIANT& value, CIMTYPE type);
  // PARAMVALUE (`named`: with NAME) or RETURNVALUE: PARAMTYPE and the value
  // of `param`; no PARAMTYPE for CIM_EMPTY.
  void paramValue(std::string_view tag, const ParamValue& param, bool named);
  void error(const Error& error);
  // CLASSNAME NAME="name".
  void className(std::u16string_view name);

  // Markup: "<tag", an attribute, ">", and the end of an element whose
  // content started at `contentStart` (written as "<tag .../>" when empty).
  void start(std::string_view tag);
  void attribute(std::string_view name, std::u16string_view value);
  void asciiAttribute(std::string_view name, std::string_view value);
  size_t endStart();
  void finish(std::string_view tag, size_t contentStart);
  void raw(std::string_view markup) { out_ += markup; }
  // Escaped text: wide text, or UTF-8 text.
  void text(std::u16string_view text, bool inAttribute = false);
  void utf8Text(std::string_view text);

 private:
  void property(const PropertyDef& property, const VARIANT& value, const CimClass* owner);
  void typeAttributes(std::string_view name, CIMTYPE type);
  void method(const MethodDef& method, const CimClass& owner);
  void parameter(const MethodParameter& parameter);
  void qualifiers(const QualifierList& list);
  void origin(const std::u16string& origin, const CimClass& owner);
  void scalar(const VARIANT& value, CIMTYPE base);
  void embedded(IUnknown* object);
  template <class T>
  void number(T value);
  void real(double value, bool single);
  void arrayValue(const VARIANT& value, CIMTYPE type);
  // The stored values of the instance's keys; false when it has no path.
  static bool keyValues(const CimObject& instance, const CimClass& cls, std::vector<CComVariant>* values);
  void instanceNameOf(const CimClass& cls, const std::vector<CComVariant>& keys);
  void namespacePath(std::u16string_view host, std::u16string_view nameSpace);
  void keyBinding(const KeyBinding& key);
  // CLASSNAME or INSTANCENAME of the path, without its namespace.
  void name(const ObjectPath& path);

  std::string& out_;
};

// The stored form of a parameter's value for writing, and the type it is
// written as (CIM_EMPTY text as a string; a value whose VARIANT type is not
// the stored form of its CIM type converted into it). VT_NULL when it
// cannot be converted.
CComVariant storedForm(const ParamValue& param, CIMTYPE* writtenType);

}  // namespace om::wmi::cimxml

#endif  // OM_PLATFORM_WMI_CIMXMLWRITER_H_
