// decodeRequest and decodeResponse: the message envelope, the calls and
// their parameters, the return values of each kind.
#include <charconv>
#include <string>
#include <utility>

#include <pugixml.hpp>

#include "CimXml.h"
#include "CimXmlReader.h"
#include "Text.h"

namespace om::wmi::cimxml {

namespace {

using pugi::xml_node;

bool badRequest(DecodeError* error, std::string message) {
  error->badRequest = true;
  error->code = 0;
  error->message = std::move(message);
  return false;
}

// Parses the document and checks its envelope: CIM, MESSAGE with an ID,
// and one `simple` (SIMPLEREQ or SIMPLERSP) holding one element, `body`.
bool openMessage(std::string_view xml, std::string_view simple, pugi::xml_document* doc, std::u16string* id,
                 xml_node* body, DecodeError* error) {
  std::string why;
  if (!loadDocument(xml, doc, &why)) return badRequest(error, why);
  const xml_node cim = doc->document_element();
  if (!isElement(cim, "CIM")) return badRequest(error, "the root element is not CIM");
  const xml_node message = firstElement(cim);
  if (!isElement(message, "MESSAGE") || nextElement(message) || !message.attribute("ID")) {
    return badRequest(error, "CIM does not hold one MESSAGE with an ID");
  }
  *id = attributeText(message, "ID");
  const xml_node content = firstElement(message);
  if (!isElement(content, simple) || nextElement(content)) {
    return badRequest(error, "MESSAGE does not hold one " + std::string(simple));
  }
  *body = firstElement(content);
  if (!*body || nextElement(*body)) return badRequest(error, std::string(simple) + " does not hold one element");
  return true;
}

bool methodName(xml_node node, std::u16string* name, DecodeError* error) {
  *name = attributeText(node, "NAME");
  return !name->empty() || badRequest(error, std::string(node.name()) + " without NAME");
}

// ---- requests ----

bool intrinsicCall(XmlReader& reader, xml_node call, Request* request, DecodeError* error) {
  request->intrinsic = true;
  if (!methodName(call, &request->method, error)) return false;
  xml_node child = firstElement(call);
  if (!isElement(child, "LOCALNAMESPACEPATH") || !reader.localNamespace(child, &request->nameSpace)) {
    return badRequest(error, "IMETHODCALL without a valid LOCALNAMESPACEPATH");
  }
  for (child = nextElement(child); child; child = nextElement(child)) {
    if (!isElement(child, "IPARAMVALUE")) return badRequest(error, "unexpected element in IMETHODCALL");
    ParamValue param;
    if (!reader.paramValue(child, nullptr, &param)) return false;
    if (param.name.empty()) return reader.fail(CIM_ERR_INVALID_PARAMETER, "IPARAMVALUE without NAME");
    request->params.push_back(std::move(param));
  }
  return true;
}

// LOCALINSTANCEPATH or LOCALCLASSPATH: the namespace, and the object as a
// relative path; `className` is its class.
bool methodTarget(XmlReader& reader, xml_node target, Request* request, std::u16string* className, DecodeError* error) {
  const bool isInstance = isElement(target, "LOCALINSTANCEPATH");
  if (!isInstance && !isElement(target, "LOCALCLASSPATH")) {
    return badRequest(error, "METHODCALL without LOCALINSTANCEPATH or LOCALCLASSPATH");
  }
  const xml_node nameSpace = firstElement(target);
  const xml_node name = nameSpace ? nextElement(nameSpace) : xml_node();
  if (!name || nextElement(name) || !reader.localNamespace(nameSpace, &request->nameSpace)) {
    return badRequest(error, "an incomplete path in METHODCALL");
  }
  if (!isInstance) {
    if (!reader.className(name, &request->objectPath)) return false;
    *className = request->objectPath;
    return true;
  }
  *className = attributeText(name, "CLASSNAME");
  return reader.instanceName(name, &request->objectPath);
}

bool extrinsicCall(XmlReader& reader, xml_node call, Request* request, DecodeError* error) {
  request->intrinsic = false;
  if (!methodName(call, &request->method, error)) return false;
  xml_node child = firstElement(call);
  std::u16string className;
  if (!methodTarget(reader, child, request, &className, error)) return false;
  // Untyped parameters take the types of the method's declaration.
  const ClassPtr cls = reader.resolver() ? reader.resolver()(className) : nullptr;
  const MethodDef* method = cls != nullptr ? cls->findMethod(request->method) : nullptr;
  const ClassPtr in = method != nullptr ? method->in : nullptr;
  for (child = nextElement(child); child; child = nextElement(child)) {
    if (!isElement(child, "PARAMVALUE")) return badRequest(error, "unexpected element in METHODCALL");
    const PropertyDef* declared = in != nullptr ? in->property(attributeText(child, "NAME")) : nullptr;
    ParamValue param;
    if (!reader.paramValue(child, declared, &param)) return false;
    if (param.name.empty()) return reader.fail(CIM_ERR_INVALID_PARAMETER, "PARAMVALUE without NAME");
    request->params.push_back(std::move(param));
  }
  return true;
}

// ---- responses ----

// What the IRETURNVALUE of a known intrinsic method holds.
bool kindOfMethod(std::u16string_view method, ReturnKind* kind) {
  static constexpr struct {
    const char16_t* method;
    ReturnKind kind;
  } kKinds[] = {
      {u"GetClass", ReturnKind::kClass},
      {u"GetInstance", ReturnKind::kInstance},
      {u"EnumerateInstances", ReturnKind::kNamedInstances},
      {u"ExecQuery", ReturnKind::kObjectsWithPath},
      {u"Associators", ReturnKind::kObjectsWithPath},
      {u"References", ReturnKind::kObjectsWithPath},
      {u"EnumerateClasses", ReturnKind::kClasses},
      {u"EnumerateInstanceNames", ReturnKind::kInstanceNames},
      {u"CreateInstance", ReturnKind::kInstanceNames},
      {u"EnumerateClassNames", ReturnKind::kClassNames},
      {u"GetProperty", ReturnKind::kValue},
      {u"GetQualifier", ReturnKind::kValue},
      {u"ModifyInstance", ReturnKind::kNone},
      {u"DeleteInstance", ReturnKind::kNone},
      {u"CreateClass", ReturnKind::kNone},
      {u"ModifyClass", ReturnKind::kNone},
      {u"DeleteClass", ReturnKind::kNone},
      {u"SetProperty", ReturnKind::kNone},
  };
  for (const auto& entry : kKinds) {
    if (equalsNoCase(method, entry.method)) {
      *kind = entry.kind;
      return true;
    }
  }
  return false;
}

// The kind an unknown method's IRETURNVALUE shows by its elements: objects
// with names or paths (an object without one may come first), or else
// what the first element is.
ReturnKind kindOfContent(xml_node first) {
  for (xml_node item = first; item; item = nextElement(item)) {
    if (isElement(item, "VALUE.NAMEDINSTANCE")) return ReturnKind::kNamedInstances;
    if (isElement(item, "VALUE.OBJECTWITHPATH")) return ReturnKind::kObjectsWithPath;
  }
  if (isElement(first, "VALUE.OBJECT")) return ReturnKind::kObjectsWithPath;
  if (isElement(first, "CLASS")) return ReturnKind::kClasses;
  if (isElement(first, "INSTANCE")) return ReturnKind::kInstance;
  if (isElement(first, "INSTANCENAME")) return ReturnKind::kInstanceNames;
  if (isElement(first, "CLASSNAME")) return ReturnKind::kClassNames;
  return first ? ReturnKind::kValue : ReturnKind::kNone;
}

// The object of a VALUE.OBJECT, or of a VALUE.OBJECTWITHPATH after its path.
bool objectOf(XmlReader& reader, xml_node node, IWbemClassObject** out) {
  xml_node object = firstElement(node);
  if (isElement(node, "VALUE.OBJECTWITHPATH")) {
    if (!isElement(object, "INSTANCEPATH") && !isElement(object, "CLASSPATH")) {
      return reader.fail(CIM_ERR_INVALID_PARAMETER, "VALUE.OBJECTWITHPATH without a path");
    }
    object = nextElement(object);
  }
  if (!object || nextElement(object)) return reader.fail(CIM_ERR_INVALID_PARAMETER, "expected one object");
  return reader.object(object, out);
}

bool returnItem(XmlReader& reader, xml_node item, Response* response) {
  const ReturnKind kind = response->kind;
  // Enumerations and queries take objects with or without their names or paths.
  const bool objectList = kind == ReturnKind::kNamedInstances || kind == ReturnKind::kObjectsWithPath;
  CComPtr<IWbemClassObject> object;
  std::u16string name;
  bool read = false;
  if ((kind == ReturnKind::kClass || kind == ReturnKind::kClasses) && isElement(item, "CLASS")) {
    read = reader.classDef(item, &object);
  } else if (kind == ReturnKind::kInstance && isElement(item, "INSTANCE")) {
    read = reader.instance(item, &object);
  } else if (objectList && isElement(item, "VALUE.NAMEDINSTANCE")) {
    read = reader.namedInstance(item, &object);
  } else if (objectList && (isElement(item, "VALUE.OBJECT") || isElement(item, "VALUE.OBJECTWITHPATH"))) {
    read = objectOf(reader, item, &object);
  } else if (kind == ReturnKind::kInstanceNames && isElement(item, "INSTANCENAME")) {
    read = reader.instanceName(item, &name);
  } else if (kind == ReturnKind::kClassNames && isElement(item, "CLASSNAME")) {
    read = reader.className(item, &name);
  } else {
    return reader.fail(CIM_ERR_INVALID_PARAMETER,
                       "unexpected element " + std::string(item.name()) + " in IRETURNVALUE");
  }
  if (!read) return false;
  if (object != nullptr) response->objects.push_back(std::move(object));
  if (!name.empty()) response->names.push_back(std::move(name));
  return true;
}

// GetClass and GetInstance return exactly one object.
bool hasOneObjectIfSingle(XmlReader& reader, const Response& response) {
  const bool single = response.kind == ReturnKind::kClass || response.kind == ReturnKind::kInstance;
  return !single || response.objects.size() == 1 || reader.fail(CIM_ERR_INVALID_PARAMETER, "expected one object");
}

bool returnValue(XmlReader& reader, xml_node node, Response* response) {
  const xml_node first = firstElement(node);
  if (response->kind == ReturnKind::kValue) {
    if (!reader.paramValue(node, nullptr, &response->value)) return false;
    response->value.name.clear();
    return true;
  }
  for (xml_node item = first; item; item = nextElement(item)) {
    if (!returnItem(reader, item, response)) return false;
  }
  return hasOneObjectIfSingle(reader, *response);
}

// ERROR: its code and description; the instances this side cannot read are
// left out, so that the error itself still arrives.
bool readError(const XmlReader& reader, xml_node node, Error* out, DecodeError* error) {
  const std::string_view code = node.attribute("CODE").value();
  const auto parsed = std::from_chars(code.data(), code.data() + code.size(), out->code);
  if (code.empty() || parsed.ec != std::errc() || parsed.ptr != code.data() + code.size()) {
    return badRequest(error, "ERROR without a numeric CODE");
  }
  out->description = attributeText(node, "DESCRIPTION");
  for (xml_node child = firstElement(node); child; child = nextElement(child)) {
    DecodeError ignored;
    XmlReader instanceReader(reader.resolver(), &ignored);
    CComPtr<IWbemClassObject> instance;
    if (instanceReader.instance(child, &instance)) out->instances.push_back(std::move(instance));
  }
  return true;
}

bool intrinsicResponse(XmlReader& reader, xml_node node, Response* response, DecodeError* error) {
  response->intrinsic = true;
  if (!methodName(node, &response->method, error)) return false;
  const xml_node child = firstElement(node);
  if (isElement(child, "ERROR")) return readError(reader, child, &response->error.emplace(), error);
  const bool known = kindOfMethod(response->method, &response->kind);
  if (!child) return hasOneObjectIfSingle(reader, *response);
  if (!isElement(child, "IRETURNVALUE")) return badRequest(error, "unexpected element in IMETHODRESPONSE");
  if (!known) response->kind = kindOfContent(firstElement(child));
  return returnValue(reader, child, response);
}

bool extrinsicResponse(XmlReader& reader, xml_node node, Response* response, DecodeError* error) {
  response->intrinsic = false;
  if (!methodName(node, &response->method, error)) return false;
  xml_node child = firstElement(node);
  if (isElement(child, "ERROR")) return readError(reader, child, &response->error.emplace(), error);
  if (isElement(child, "RETURNVALUE")) {
    if (!reader.paramValue(child, nullptr, &response->value)) return false;
    child = nextElement(child);
  }
  for (; child; child = nextElement(child)) {
    if (!isElement(child, "PARAMVALUE")) return badRequest(error, "unexpected element in METHODRESPONSE");
    ParamValue param;
    if (!reader.paramValue(child, nullptr, &param)) return false;
    response->outParams.push_back(std::move(param));
  }
  return true;
}

}  // namespace

const ParamValue* Request::param(std::u16string_view name) const {
  for (const ParamValue& p : params) {
    if (equalsNoCase(p.name, name)) return &p;
  }
  return nullptr;
}

bool decodeRequest(std::string_view xml, const ClassResolver& resolve, Request* request, DecodeError* error) {
  *request = Request();
  *error = DecodeError();
  pugi::xml_document doc;
  xml_node call;
  if (!openMessage(xml, "SIMPLEREQ", &doc, &request->id, &call, error)) return false;
  XmlReader reader(resolve, error);
  if (isElement(call, "IMETHODCALL")) return intrinsicCall(reader, call, request, error);
  if (isElement(call, "METHODCALL")) return extrinsicCall(reader, call, request, error);
  return badRequest(error, "SIMPLEREQ holds neither IMETHODCALL nor METHODCALL");
}

bool decodeResponse(std::string_view xml, const ClassResolver& resolve, Response* response, DecodeError* error) {
  *response = Response();
  *error = DecodeError();
  pugi::xml_document doc;
  xml_node body;
  if (!openMessage(xml, "SIMPLERSP", &doc, &response->id, &body, error)) return false;
  XmlReader reader(resolve, error);
  if (isElement(body, "IMETHODRESPONSE")) return intrinsicResponse(reader, body, response, error);
  if (isElement(body, "METHODRESPONSE")) return extrinsicResponse(reader, body, response, error);
  return badRequest(error, "SIMPLERSP holds neither IMETHODRESPONSE nor METHODRESPONSE");
}

}  // namespace om::wmi::cimxml
