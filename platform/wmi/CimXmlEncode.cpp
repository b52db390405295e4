// encodeRequest and encodeResponse: the message envelope, the calls and
// their parameters, the return values of each kind.
#include <string>

#include "CimObject.h"
#include "CimType.h"
#include "CimXml.h"
#include "CimXmlWriter.h"
#include "ObjectPath.h"
#include "Text.h"

namespace om::wmi::cimxml {

namespace {

// Room for the envelope and a call's few parameters.
constexpr size_t kMessageReserve = 1024;
// A guess at the text of one property of an instance, to reserve the output
// of an enumeration at once.
constexpr size_t kPropertyReserve = 80;

// An IPARAMVALUE's content, chosen by the parameter's type: an instance
// name, a class name, an object, or a value.
void intrinsicParam(XmlWriter& w, const ParamValue& param) {
  CIMTYPE type = CIM_EMPTY;
  const CComVariant stored = storedForm(param, &type);
  if (stored.vt == VT_NULL) return;
  if (param.type == CIM_REFERENCE) {
    w.pathName(bstrView(stored.bstrVal));
  } else if (param.type == CIM_STRING) {
    w.className(bstrView(stored.bstrVal));
  } else if (param.type == CIM_OBJECT) {
    CComQIPtr<IWbemClassObject> object(stored.punkVal);
    const CimObject* cim = CimObject::from(object);
    if (cim != nullptr && cim->isInstance() && equalsNoCase(param.name, u"ModifiedInstance")) {
      w.namedInstance(*cim, "");
    } else {
      w.object(object);
    }
  } else {
    w.value(stored, type);
  }
}

void intrinsicCall(XmlWriter& w, const Request& request) {
  w.start("IMETHODCALL");
  w.attribute("NAME", request.method);
  w.endStart();
  w.localNamespacePath(request.nameSpace);
  for (const ParamValue& param : request.params) {
    w.start("IPARAMVALUE");
    w.attribute("NAME", param.name);
    const size_t content = w.endStart();
    intrinsicParam(w, param);
    w.finish("IPARAMVALUE", content);
  }
  w.raw("</IMETHODCALL>");
}

// LOCALINSTANCEPATH or LOCALCLASSPATH of the object an extrinsic method is
// called on.
void methodTarget(XmlWriter& w, const Request& request) {
  ObjectPath path;
  const bool isInstance = SUCCEEDED(parseObjectPath(request.objectPath, &path)) && path.isInstancePath();
  w.raw(isInstance ? "<LOCALINSTANCEPATH>" : "<LOCALCLASSPATH>");
  w.localNamespacePath(request.nameSpace);
  if (isInstance) {
    w.instanceName(path);
  } else {
    w.className(path.className.empty() ? request.objectPath : path.className);
  }
  w.raw(isInstance ? "</LOCALINSTANCEPATH>" : "</LOCALCLASSPATH>");
}

void extrinsicCall(XmlWriter& w, const Request& request) {
  w.start("METHODCALL");
  w.attribute("NAME", request.method);
  w.endStart();
  methodTarget(w, request);
  for (const ParamValue& param : request.params) w.paramValue("PARAMVALUE", param, true);
  w.raw("</METHODCALL>");
}

void returnValue(XmlWriter& w, const Response& response) {
  if (response.kind == ReturnKind::kNone) return;
  w.start("IRETURNVALUE");
  const size_t content = w.endStart();
  for (const CComPtr<IWbemClassObject>& object : response.objects) {
    const CimObject* cim = CimObject::from(object);
    if (cim == nullptr) continue;
    switch (response.kind) {
      case ReturnKind::kNamedInstances: w.namedInstance(*cim, "VALUE.OBJECT"); break;
      case ReturnKind::kObjectsWithPath: w.objectWithPath(*cim); break;
      case ReturnKind::kClass:
      case ReturnKind::kInstance:
      case ReturnKind::kClasses: w.object(object); break;
      default: break;
    }
  }
  for (const std::u16string& name : response.names) {
    if (response.kind == ReturnKind::kInstanceNames) w.pathName(name);
    if (response.kind == ReturnKind::kClassNames) w.className(name);
  }
  if (response.kind == ReturnKind::kValue) {
    CIMTYPE type = CIM_EMPTY;
    const CComVariant stored = storedForm(response.value, &type);
    w.value(stored, type);
  }
  w.finish("IRETURNVALUE", content);
}

void intrinsicResponse(XmlWriter& w, const Response& response) {
  w.start("IMETHODRESPONSE");
  w.attribute("NAME", response.method);
  const size_t content = w.endStart();
  if (response.error) {
    w.error(*response.error);
  } else {
    returnValue(w, response);
  }
  w.finish("IMETHODRESPONSE", content);
}

void extrinsicResponse(XmlWriter& w, const Response& response) {
  w.start("METHODRESPONSE");
  w.attribute("NAME", response.method);
  const size_t content = w.endStart();
  if (response.error) {
    w.error(*response.error);
  } else {
    const ParamValue& ret = response.value;
    const bool isVoid = ret.type == CIM_EMPTY && (ret.value.vt == VT_EMPTY || ret.value.vt == VT_NULL);
    if (!isVoid) w.paramValue("RETURNVALUE", ret, false);
    for (const ParamValue& param : response.outParams) w.paramValue("PARAMVALUE", param, true);
  }
  w.finish("METHODRESPONSE", content);
}

size_t responseReserve(const Response& response) {
  size_t size = kMessageReserve + response.names.size() * 128;
  const CimObject* first = response.objects.empty() ? nullptr : CimObject::from(response.objects.front());
  if (first != nullptr) {
    size += response.objects.size() * (256 + kPropertyReserve * first->definition()->properties().size());
  }
  return size;
}

}  // namespace

std::string encodeRequest(const Request& request) {
  std::string out;
  out.reserve(kMessageReserve);
  XmlWriter w(&out);
  w.beginMessage(request.id);
  w.raw("<SIMPLEREQ>");
  if (request.intrinsic) {
    intrinsicCall(w, request);
  } else {
    extrinsicCall(w, request);
  }
  w.raw("</SIMPLEREQ>");
  w.endMessage();
  return out;
}

std::string encodeResponse(const Response& response) {
  std::string out;
  out.reserve(responseReserve(response));
  XmlWriter w(&out);
  w.beginMessage(response.id);
  w.raw("<SIMPLERSP>");
  if (response.intrinsic) {
    intrinsicResponse(w, response);
  } else {
    extrinsicResponse(w, response);
  }
  w.raw("</SIMPLERSP>");
  w.endMessage();
  return out;
}

}  // namespace om::wmi::cimxml
