// XmlReader: reads the elements of CIM-XML (values, instances, classes,
// instance names, references, parameter values) from a parsed document into
// the object manager's forms, and loadDocument, which parses a document
// within the codec's limits. decodeRequest and decodeResponse read the
// messages with them.
#ifndef OM_PLATFORM_WMI_CIMXMLREADER_H_
#define OM_PLATFORM_WMI_CIMXMLREADER_H_

#include <string>
#include <string_view>

#include <pugixml.hpp>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CimClass.h"
#include "CimXml.h"
#include "ObjectPath.h"

namespace om::wmi::cimxml {

// Parses `xml` (UTF-8) into `doc`: well-formed XML without a DOCTYPE or a
// NUL character, one root element and no text around it, elements nested
// at most kMaxDepth deep. False with the reason in `why` otherwise.
bool loadDocument(std::string_view xml, pugi::xml_document* doc, std::string* why);

// The first child element of `node` and the element after `node` (text and
// comments are skipped); null when there is none.
pugi::xml_node firstElement(pugi::xml_node node);
pugi::xml_node nextElement(pugi::xml_node node);
bool isElement(pugi::xml_node node, std::string_view name);
// An attribute's value as wide text; empty when absent.
std::u16string attributeText(pugi::xml_node node, const char* name);

class XmlReader {
 public:
  // `resolve` and `error` must outlive the reader. `embedding` is how deeply
  // the document read is embedded in another (0 for a message).
  XmlReader(const ClassResolver& resolve, DecodeError* error, int embedding = 0);

  // Records a CIM error (not a bad request) and returns false.
  bool fail(int code, std::string message);

  // INSTANCE or CLASS: a new object (one reference, for the caller).
  bool object(pugi::xml_node node, IWbemClassObject** out);
  bool instance(pugi::xml_node node, IWbemClassObject** out);
  bool classDef(pugi::xml_node node, IWbemClassObject** out);
  // The INSTANCE of a VALUE.NAMEDINSTANCE (its name is checked, not kept).
  bool namedInstance(pugi::xml_node node, IWbemClassObject** out);
  // INSTANCENAME as a WMI relative path, in canonical form when the class
  // is known.
  bool instanceName(pugi::xml_node node, std::u16string* relPath);
  // CLASSNAME's NAME.
  bool className(pugi::xml_node node, std::u16string* name);
  // VALUE.REFERENCE as WMI path text (with its namespace and host, if any).
  bool reference(pugi::xml_node node, std::u16string* path);
  // LOCALNAMESPACEPATH as "root\a\b".
  bool localNamespace(pugi::xml_node node, std::u16string* nameSpace);
  // The stored form (CimType.h) of `type` for a value element (VALUE,
  // VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; null: a null value).
  bool value(pugi::xml_node element, CIMTYPE type, std::u16string_view refClass, VARIANT* out);
  // PARAMVALUE or RETURNVALUE. Its type is PARAMTYPE's, else `declared`'s
  // (the method's parameter, when known), else what the content shows (an
  // untyped VALUE is CIM_EMPTY text).
  bool paramValue(pugi::xml_node node, const PropertyDef* declared, ParamValue* out);

  const ClassResolver& resolver() const { return resolve_; }

 private:
  ClassPtr resolve(std::u16string_view className) const;
  bool instanceProperty(pugi::xml_node node, const CimClass& cls, IWbemClassObject* instance);
  bool propertyDef(pugi::xml_node node, PropertyDef* out);
  bool methodDef(pugi::xml_node node, MethodDef* out);
  bool parameterDef(pugi::xml_node node, PropertyDef* out);
  bool qualifier(pugi::xml_node node, QualifierList* list);
  bool qualifierValue(pugi::xml_node element, CIMTYPE type, VARIANT* out);
  bool completeType(const std::u16string& name, CIMTYPE* type, std::u16string* refClass, QualifierList* qualifiers);
  bool declaredType(pugi::xml_node node, CIMTYPE* type);
  bool rawValue(pugi::xml_node element, CIMTYPE type, VARIANT* raw);
  bool rawArray(pugi::xml_node element, CIMTYPE type, VARIANT* raw);
  bool scalar(const std::string& text, CIMTYPE base, VARIANT* raw);
  bool embeddedObject(const std::string& text, VARIANT* raw);
  bool keyBinding(pugi::xml_node node, KeyBinding* key);
  bool paramType(pugi::xml_node node, pugi::xml_node content, const PropertyDef* declared, CIMTYPE* type,
                 std::u16string* refClass);
  bool paramContent(pugi::xml_node content, CIMTYPE type, const std::u16string& refClass, VARIANT* out);

  const ClassResolver& resolve_;
  DecodeError* error_;
  int embedding_;
};

}  // namespace om::wmi::cimxml

#endif  // OM_PLATFORM_WMI_CIMXMLREADER_H_
