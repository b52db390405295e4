#include "CimXmlEndpoint.h"

#include <oleauto.h>

#include <algorithm>
#include <charconv>
#include <new>

#include "CimObject.h"
#include "CimType.h"
#include "ObjectManagerCore.h"
#include "RemoteProtocol.h"
#include "Services.h"
#include "Text.h"

namespace om::wmi {
namespace {

using cimxml::ParamValue;
using cimxml::Request;
using cimxml::Response;
using cimxml::ReturnKind;

// The longest a client may hold an event pull open.
constexpr unsigned kMaxPullWaitSeconds = 30;

std::u16string textOf(const ParamValue* param) {
  if (param == nullptr || param->value.vt != VT_BSTR) return {};
  return std::u16string(bstrView(param->value.bstrVal));
}

// A boolean parameter, sent typed or as the text TRUE/FALSE.
bool flagOf(const Request& request, std::u16string_view name, bool fallback) {
  const ParamValue* param = request.param(name);
  if (param == nullptr) return fallback;
  if (param->value.vt == VT_BOOL) return param->value.boolVal != VARIANT_FALSE;
  const std::u16string text = textOf(param);
  if (equalsNoCase(text, u"TRUE")) return true;
  if (equalsNoCase(text, u"FALSE")) return false;
  return fallback;
}

IWbemClassObject* objectOf(const Request& request, std::u16string_view name) {
  const ParamValue* param = request.param(name);
  if (param == nullptr || param->value.vt != VT_UNKNOWN || param->value.punkVal == nullptr) return nullptr;
  return static_cast<IWbemClassObject*>(param->value.punkVal);
}

unsigned long long numberOf(const ParamValue* param) {
  unsigned long long number = 0;
  if (param == nullptr) return number;
  if (param->value.vt == VT_I4) return static_cast<unsigned long long>(std::max<LONG>(param->value.lVal, 0));
  const std::string text = toUtf8(textOf(param));
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// The failure as a CIM ERROR, with the call's error object when it has one.
void fail(Response* response, HRESULT hr, std::u16string description = {}) {
  cimxml::Error error;
  error.code = cimxml::cimStatusOf(hr);
  CComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, &info) == S_OK && info != nullptr) {
    CComQIPtr<IWbemClassObject> status(info);
    CComBSTR text;
    if (description.empty() && SUCCEEDED(info->GetDescription(&text))) description = bstrView(text);
    if (status != nullptr) error.instances.push_back(status);
  }
  error.description = std::move(description);
  response->error = std::move(error);
}

// Every object of an enumeration; its failure, if it failed.
HRESULT drain(IEnumWbemClassObject* enumerator, std::vector<CComPtr<IWbemClassObject>>* objects) {
  for (;;) {
    IWbemClassObject* batch[256];
    ULONG count = 0;
    const HRESULT hr = enumerator->Next(WBEM_INFINITE, 256, batch, &count);
    for (ULONG i = 0; i < count; ++i) {
      objects->emplace_back();
      objects->back().Attach(batch[i]);
    }
    if (FAILED(hr)) return hr;
    if (hr == WBEM_S_FALSE || count == 0) return WBEM_S_NO_ERROR;
  }
}

// Runs an enumerating call and puts its objects in the response.
void enumerate(HRESULT started, IEnumWbemClassObject* enumerator, ReturnKind kind, Response* response) {
  HRESULT hr = started;
  if (SUCCEEDED(hr)) hr = drain(enumerator, &response->objects);
  if (FAILED(hr)) return fail(response, hr);
  response->kind = kind;
}

void getObject(IWbemServices* services, IWbemContext* context, const std::u16string& path, ReturnKind kind,
               Response* response) {
  CComPtr<IWbemClassObject> object;
  const HRESULT hr = services->GetObject(CComBSTR(path.c_str()), 0, context, &object, nullptr);
  if (FAILED(hr)) return fail(response, hr);
  response->kind = kind;
  response->objects.push_back(object);
}

void putInstance(IWbemServices* services, IWbemClassObject* instance, long flags, IWbemContext* context,
                 Response* response) {
  if (instance == nullptr) return fail(response, WBEM_E_INVALID_PARAMETER, u"no instance");
  const HRESULT hr = services->PutInstance(instance, flags, context, nullptr);
  if (FAILED(hr)) return fail(response, hr);
  if ((flags & WBEM_FLAG_CREATE_ONLY) == 0) return;
  response->kind = ReturnKind::kInstanceNames;
  response->names.push_back(CimObject::from(instance)->relPath());
}

// The names of the objects the response holds: relative paths of instances,
// or names of classes.
void keepNames(ReturnKind kind, Response* response) {
  for (const CComPtr<IWbemClassObject>& object : response->objects) {
    const CimObject* cim = CimObject::from(object);
    response->names.push_back(kind == ReturnKind::kClassNames ? cim->className() : cim->relPath());
  }
  response->objects.clear();
  response->kind = kind;
}

void serveIntrinsic(IWbemServices* services, IWbemContext* context, const Request& request, Response* response) {
  const std::u16string& method = request.method;
  const std::u16string className = textOf(request.param(u"ClassName"));
  const long depth = flagOf(request, u"DeepInheritance", true) ? WBEM_FLAG_DEEP : WBEM_FLAG_SHALLOW;
  CComPtr<IEnumWbemClassObject> found;
  if (method == u"GetClass") return getObject(services, context, className, ReturnKind::kClass, response);
  if (method == u"GetInstance") {
    return getObject(services, context, textOf(request.param(u"InstanceName")), ReturnKind::kInstance, response);
  }
  if (method == u"EnumerateInstances" || method == u"EnumerateInstanceNames") {
    const HRESULT hr = services->CreateInstanceEnum(CComBSTR(className.c_str()), depth, context, &found);
    enumerate(hr, found, ReturnKind::kNamedInstances, response);
    if (!response->error && method == u"EnumerateInstanceNames") keepNames(ReturnKind::kInstanceNames, response);
    return;
  }
  if (method == u"ExecQuery") {
    const HRESULT hr = services->ExecQuery(CComBSTR(textOf(request.param(u"QueryLanguage")).c_str()),
                                           CComBSTR(textOf(request.param(u"Query")).c_str()), 0, context, &found);
    return enumerate(hr, found, ReturnKind::kObjectsWithPath, response);
  }
  if (method == u"CreateInstance") {
    return putInstance(services, objectOf(request, u"NewInstance"), WBEM_FLAG_CREATE_ONLY, context, response);
  }
  if (method == u"ModifyInstance") {
    return putInstance(services, objectOf(request, u"ModifiedInstance"), WBEM_FLAG_UPDATE_ONLY, context, response);
  }
  if (method == u"DeleteInstance") {
    const std::u16string path = textOf(request.param(u"InstanceName"));
    const HRESULT hr = services->DeleteInstance(CComBSTR(path.c_str()), 0, context, nullptr);
    if (FAILED(hr)) fail(response, hr);
    return;
  }
  if (method == u"EnumerateClasses" || method == u"EnumerateClassNames") {
    const HRESULT hr = services->CreateClassEnum(CComBSTR(className.c_str()), depth, context, &found);
    enumerate(hr, found, ReturnKind::kClasses, response);
    if (!response->error && method == u"EnumerateClassNames") keepNames(ReturnKind::kClassNames, response);
    return;
  }
  fail(response, WBEM_E_NOT_SUPPORTED, u"unsupported method " + method);
}

// Fills the in-parameters object of a method from the request's parameters.
// Untyped values (sent as text) convert to the parameter's type.
HRESULT fillInParams(const Request& request, IWbemClassObject* in) {
  CimObject* object = CimObject::from(in);
  const ClassPtr definition = object->definition();
  for (const ParamValue& param : request.params) {
    const int index = definition->findProperty(param.name);
    if (index < 0) return WBEM_E_INVALID_PARAMETER;
    CComVariant value = param.value;
    const CIMTYPE type = definition->properties()[static_cast<size_t>(index)].type;
    if (param.type == CIM_EMPTY && type == CIM_BOOLEAN && value.vt == VT_BSTR) {
      value = CComVariant(equalsNoCase(bstrView(param.value.bstrVal), u"TRUE"));
    }
    const HRESULT hr = object->setValue(index, value);
    if (FAILED(hr)) return hr;
  }
  return WBEM_S_NO_ERROR;
}

ParamValue outValue(std::u16string name, CIMTYPE type, CComVariant value) {
  return ParamValue{std::move(name), type, std::move(value)};
}

// The out-parameters object as RETURNVALUE and PARAMVALUEs.
void takeOutParams(IWbemClassObject* out, Response* response) {
  const CimObject* object = CimObject::from(out);
  const std::vector<PropertyDef>& properties = object->definition()->properties();
  for (size_t i = 0; i < properties.size(); ++i) {
    ParamValue value;
    value.name = properties[i].name;
    value.type = properties[i].type;
    value.value = object->value(static_cast<int>(i));
    if (equalsNoCase(value.name, u"ReturnValue")) {
      response->value = std::move(value);
    } else {
      response->outParams.push_back(std::move(value));
    }
  }
  // A method that returns nothing answers 0: other CIM clients read a
  // RETURNVALUE with a value before the out parameters.
  if (response->value.type == CIM_EMPTY) response->value = outValue(u"ReturnValue", CIM_UINT32, CComVariant(0L));
}

void serveMethod(IWbemServices* services, IWbemContext* context, const Request& request, Response* response) {
  ObjectPath path;
  if (FAILED(parseObjectPath(request.objectPath, &path))) {
    return fail(response, WBEM_E_INVALID_OBJECT_PATH, request.objectPath);
  }
  CComPtr<IWbemClassObject> cls;
  HRESULT hr = services->GetObject(CComBSTR(path.className.c_str()), 0, nullptr, &cls, nullptr);
  if (FAILED(hr)) return fail(response, hr);
  CComPtr<IWbemClassObject> signature;
  hr = cls->GetMethod(request.method.c_str(), 0, &signature, nullptr);
  if (FAILED(hr)) return fail(response, WBEM_E_INVALID_METHOD, request.method);
  CComPtr<IWbemClassObject> in;
  if (signature != nullptr) hr = signature->SpawnInstance(0, &in);
  if (SUCCEEDED(hr) && in != nullptr) hr = fillInParams(request, in);
  if (SUCCEEDED(hr) && in == nullptr && !request.params.empty()) hr = WBEM_E_INVALID_PARAMETER;
  if (FAILED(hr)) return fail(response, hr, u"bad parameters of " + request.method);
  CComPtr<IWbemClassObject> out;
  hr = services->ExecMethod(CComBSTR(request.objectPath.c_str()), CComBSTR(request.method.c_str()), 0, context, in,
                            &out, nullptr);
  if (FAILED(hr)) return fail(response, hr);
  if (out != nullptr) takeOutParams(out, response);
}

// A SAFEARRAY of the objects, as an object array's stored form.
CComVariant objectArray(const std::vector<CComPtr<IWbemClassObject>>& objects) {
  CComVariant value;
  SAFEARRAY* array = SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(objects.size()));
  for (LONG i = 0; i < static_cast<LONG>(objects.size()); ++i) SafeArrayPutElement(array, &i, objects[i]);
  value.vt = VT_ARRAY | VT_UNKNOWN;
  value.parray = array;
  return value;
}

// An empty response to the request: its message id and method.
Response replyTo(const Request& request) {
  Response response;
  response.id = request.id;
  response.intrinsic = request.intrinsic;
  response.method = request.method;
  return response;
}

}  // namespace

void CimXmlEndpoint::serveEventQueue(IWbemServices* services, const Request& request, const std::string& user,
                                     Response* response) {
  const std::u16string id = textOf(request.param(u"SubscriptionId"));
  HRESULT hr = WBEM_E_INVALID_METHOD;
  if (request.method == u"Subscribe") {
    std::u16string subscription;
    hr = events_.subscribe(services, textOf(request.param(u"QueryLanguage")), textOf(request.param(u"Query")), user,
                           &subscription);
    if (SUCCEEDED(hr)) {
      response->outParams.push_back(outValue(u"SubscriptionId", CIM_STRING, CComVariant(subscription.c_str())));
    }
  } else if (request.method == u"Pull") {
    const auto wait = std::chrono::seconds(std::min<unsigned long long>(numberOf(request.param(u"WaitSeconds")),
                                                                        kMaxPullWaitSeconds));
    std::vector<CComPtr<IWbemClassObject>> events;
    std::uint64_t last = 0;
    hr = events_.pull(id, user, numberOf(request.param(u"Acknowledged")), wait, &events, &last);
    if (SUCCEEDED(hr)) {
      response->outParams.push_back(outValue(u"Events", CIM_OBJECT | CIM_FLAG_ARRAY, objectArray(events)));
      response->outParams.push_back(
          outValue(u"Sequence", CIM_UINT64, CComVariant(toU16(std::to_string(last)).c_str())));
    }
  } else if (request.method == u"Unsubscribe") {
    hr = events_.unsubscribe(id, user);
  }
  if (FAILED(hr)) return fail(response, hr, u"event queue: " + request.method);
  response->value = outValue(u"ReturnValue", CIM_UINT32, CComVariant(0L));
}

Response CimXmlEndpoint::serve(Request& request, const std::string& user) {
  Response response = replyTo(request);
  ManagerCore& core = ManagerCore::instance();
  std::u16string nameSpace;
  CComPtr<IWbemContext> context;
  CComPtr<IWbemServices> services;
  HRESULT hr = core.findNamespace(request.nameSpace, &nameSpace);
  if (SUCCEEDED(hr)) hr = remote::takeContext(&request.params, &context);
  if (SUCCEEDED(hr)) {
    services.Attach(new (std::nothrow) Services(core, nameSpace));
    if (services == nullptr) hr = WBEM_E_OUT_OF_MEMORY;
  }
  if (FAILED(hr)) {
    fail(&response, hr, hr == WBEM_E_INVALID_NAMESPACE ? request.nameSpace : u"");
    return response;
  }
  if (request.intrinsic) {
    serveIntrinsic(services, context, request, &response);
  } else if (equalsNoCase(request.objectPath, remote::kEventQueueClass)) {
    serveEventQueue(services, request, user, &response);
  } else {
    serveMethod(services, context, request, &response);
  }
  return response;
}

EndpointReply CimXmlEndpoint::handle(std::string_view cimOperation, std::string_view cimMethod, std::string_view body,
                                     const std::string& user, bool errorInstances) {
  EndpointReply reply;
  const auto refuse = [&reply](const char* cimError, std::string why) {
    reply.status = 400;
    reply.headers.emplace_back("CIMError", cimError);
    reply.headers.emplace_back("Content-Type", "text/plain; charset=utf-8");
    reply.body = std::move(why) + "\n";
    return reply;
  };
  if (!equalsNoCase(toU16(cimOperation), u"MethodCall")) {
    return refuse("unsupported-operation", "CIMOperation must be MethodCall");
  }
  const ManagerCore& core = ManagerCore::instance();
  Request request;
  cimxml::DecodeError bad;
  const auto resolve = [&core, &request](std::u16string_view name) {
    return core.repository().findClass(request.nameSpace, name);
  };
  Response response;
  if (!cimxml::decodeRequest(body, resolve, &request, &bad)) {
    if (bad.badRequest) return refuse("request-not-valid", bad.message);
    response = replyTo(request);
    response.error = cimxml::Error{bad.code, toU16(bad.message), {}};
  } else if (!cimMethod.empty() && toU16(cimMethod) != request.method) {
    return refuse("header-mismatch", "CIMMethod does not name the request's method");
  } else {
    response = serve(request, user);
  }
  if (response.error && !errorInstances) response.error->instances.clear();
  reply.headers.emplace_back("Content-Type", "application/xml; charset=\"utf-8\"");
  reply.headers.emplace_back("CIMOperation", "MethodResponse");
  reply.body = cimxml::encodeResponse(response);
  return reply;
}

}  // namespace om::wmi
