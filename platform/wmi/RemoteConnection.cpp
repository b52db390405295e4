#include "RemoteConnection.h"

#include <curl/curl.h>

#include <charconv>
#include <chrono>
#include <utility>

#include "CimObject.h"
#include "ClassRepository.h"
#include "ObjectPath.h"
#include "RemoteProtocol.h"

namespace om::wmi {
namespace {

using cimxml::ParamValue;

// How long the server holds an event pull open when it has no event.
constexpr unsigned kPullWaitSeconds = 2;
// Failed pulls repeated before an event call ends with the failure.
constexpr int kPullRetries = 3;

ParamValue param(std::u16string name, CIMTYPE type, CComVariant value) {
  return ParamValue{std::move(name), type, std::move(value)};
}

ParamValue textParam(std::u16string name, std::u16string_view text) {
  return param(std::move(name), CIM_STRING, CComVariant(std::u16string(text).c_str()));
}

ParamValue flagParam(std::u16string name, bool value) { return param(std::move(name), CIM_BOOLEAN, CComVariant(value)); }

ParamValue objectParam(std::u16string name, IWbemClassObject* object) {
  CComVariant value;
  value.vt = VT_UNKNOWN;
  value.punkVal = object;
  object->AddRef();
  return param(std::move(name), CIM_OBJECT, std::move(value));
}

// GetClass of a whole class: inherited members, qualifiers and origins too.
std::vector<ParamValue> getClassParams(std::u16string_view className) {
  return {textParam(u"ClassName", className), flagParam(u"LocalOnly", false), flagParam(u"IncludeQualifiers", true),
          flagParam(u"IncludeClassOrigin", true)};
}

// "root/Velmoran/OrvaManager", and ":path" after it for a method's target,
// escaped for the CIMObject header.
std::string cimObjectHeader(const cimxml::Request& request) {
  std::u16string object = request.nameSpace;
  for (char16_t& c : object) {
    if (c == u'\\') c = u'/';
  }
  if (!request.intrinsic) object += u":" + request.objectPath;
  const std::string utf8 = toUtf8(object);
  char* escaped = curl_easy_escape(nullptr, utf8.data(), static_cast<int>(utf8.size()));
  std::string header = "CIMObject: " + std::string(escaped != nullptr ? escaped : "");
  curl_free(escaped);
  return header;
}

// The instances an event pull returned, in order.
std::vector<CComPtr<IWbemClassObject>> eventsOf(const cimxml::Response& response, unsigned long long* sequence) {
  std::vector<CComPtr<IWbemClassObject>> events;
  for (const ParamValue& out : response.outParams) {
    if (equalsNoCase(out.name, u"Sequence") && out.value.vt == VT_BSTR) {
      const std::string text = toUtf8(bstrView(out.value.bstrVal));
      std::from_chars(text.data(), text.data() + text.size(), *sequence);
    }
    if (!equalsNoCase(out.name, u"Events") || out.value.vt != (VT_ARRAY | VT_UNKNOWN)) continue;
    SAFEARRAY* array = out.value.parray;
    for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) {
      IUnknown* item = static_cast<IUnknown**>(array->pvData)[i];
      CComQIPtr<IWbemClassObject> event(item);
      if (event != nullptr) events.push_back(event);
    }
  }
  return events;
}

}  // namespace

RemoteConnection::~RemoteConnection() {
  {
    std::lock_guard<std::mutex> lock(eventsMutex_);
    closing_ = true;
  }
  eventsChanged_.notify_all();
  for (std::thread& puller : pullers_) puller.join();
}

cimxml::Request RemoteConnection::newRequest(const Call& call, bool intrinsic, std::u16string method) {
  cimxml::Request request;
  request.id = toU16(std::to_string(nextId_++));
  request.nameSpace = call.nameSpace;
  request.intrinsic = intrinsic;
  request.method = std::move(method);
  return request;
}

RemoteConnection::Outcome RemoteConnection::exchange(const cimxml::Request& request, cimxml::Response* response,
                                                     long timeoutMs) {
  Outcome outcome;
  const std::vector<std::string> headers = {"Content-Type: application/xml; charset=\"utf-8\"",
                                            "CIMOperation: MethodCall", "CIMMethod: " + toUtf8(request.method),
                                            cimObjectHeader(request),
                                            std::string(remote::kErrorInstancesHeader) + ": 1"};
  HttpResult reply;
  std::string error;
  outcome.hr = http_.post(headers, cimxml::encodeRequest(request), timeoutMs, &reply, &error);
  if (FAILED(outcome.hr)) {
    outcome.text = toU16(error);
    return outcome;
  }
  if (reply.status != 200) {
    outcome.hr = hresultOfHttpStatus(reply.status);
    outcome.text = toU16("the server answered HTTP " + std::to_string(reply.status) +
                         (reply.cimError.empty() ? "" : " (" + reply.cimError + ")"));
    return outcome;
  }
  cimxml::DecodeError bad;
  if (!cimxml::decodeResponse(reply.body, resolverFor(request.nameSpace), response, &bad)) {
    outcome.hr = WBEM_E_TRANSPORT_FAILURE;
    outcome.text = toU16("the server's reply cannot be read: " + bad.message);
    return outcome;
  }
  if (!response->error) return outcome;
  outcome.hr = cimxml::hresultOf(response->error->code);
  outcome.text = response->error->description;
  for (const CComPtr<IWbemClassObject>& instance : response->error->instances) {
    CComVariant code;
    if (SUCCEEDED(instance->Get(u"StatusCode", 0, &code, nullptr, nullptr)) && code.vt == VT_I4) {
      outcome.hr = static_cast<HRESULT>(code.lVal);
      outcome.status = instance;
    }
  }
  return outcome;
}

RemoteConnection::Outcome RemoteConnection::send(const Call& call, cimxml::Request* request,
                                                 cimxml::Response* response) {
  Outcome outcome;
  outcome.hr = remote::appendContext(call.context, &request->params);
  if (FAILED(outcome.hr)) return outcome;
  return exchange(*request, response);
}

void RemoteConnection::fail(const Call& call, const Outcome& outcome) {
  if (outcome.status != nullptr) {
    call.sink->SetStatus(WBEM_STATUS_COMPLETE, outcome.hr, nullptr, outcome.status);
  } else {
    call.fail(outcome.hr, outcome.text);
  }
}

void RemoteConnection::deliver(const Call& call, cimxml::Request request) {
  cimxml::Response response;
  const Outcome outcome = send(call, &request, &response);
  if (FAILED(outcome.hr)) return fail(call, outcome);
  std::vector<IWbemClassObject*> objects;
  objects.reserve(response.objects.size());
  for (const CComPtr<IWbemClassObject>& object : response.objects) objects.push_back(object);
  if (!objects.empty()) call.sink->Indicate(static_cast<long>(objects.size()), objects.data());
  call.succeed();
}

// ---- Classes ---------------------------------------------------------------------

cimxml::ClassResolver RemoteConnection::resolverFor(std::u16string nameSpace) {
  return [this, nameSpace = std::move(nameSpace)](std::u16string_view name) { return classOf(nameSpace, name); };
}

RemoteConnection::Outcome RemoteConnection::fetchClass(const std::u16string& nameSpace, std::u16string_view className,
                                                       ClassPtr* definition) {
  const std::u16string key = foldCase(nameSpace) + u":" + foldCase(className);
  {
    std::lock_guard<std::mutex> lock(classesMutex_);
    const auto found = classes_.find(key);
    if (found != classes_.end()) {
      *definition = found->second;
      return Outcome();
    }
  }
  cimxml::Request request;
  request.id = toU16(std::to_string(nextId_++));
  request.nameSpace = nameSpace;
  request.method = u"GetClass";
  request.params = getClassParams(className);
  cimxml::Response response;
  Outcome outcome = exchange(request, &response);
  if (FAILED(outcome.hr)) return outcome;
  const CimObject* object = response.objects.size() == 1 ? CimObject::from(response.objects.front()) : nullptr;
  if (object == nullptr || !object->isClass()) {
    outcome.hr = WBEM_E_TRANSPORT_FAILURE;
    outcome.text = u"the server sent no class for GetClass";
    return outcome;
  }
  auto located = std::make_shared<CimClass>(*object->definition());
  located->setLocation(serverName_, nameSpace);
  *definition = std::move(located);
  std::lock_guard<std::mutex> lock(classesMutex_);
  classes_.emplace(key, *definition);
  return outcome;
}

ClassPtr RemoteConnection::classOf(const std::u16string& nameSpace, std::u16string_view className) {
  ClassPtr definition;
  fetchClass(nameSpace, className, &definition);
  return definition;
}

HRESULT RemoteConnection::open(std::u16string_view nameSpace, std::u16string* stored, std::u16string* error) {
  const std::u16string normalized = ClassRepository::normalizeNamespace(nameSpace);
  ClassPtr definition;
  const Outcome outcome = fetchClass(normalized, u"__ExtendedStatus", &definition);
  *error = outcome.text;
  if (FAILED(outcome.hr)) return outcome.hr;
  *stored = normalized;
  return WBEM_S_NO_ERROR;
}

HRESULT RemoteConnection::findNamespace(std::u16string_view path, std::u16string* stored) {
  std::u16string error;
  return open(path, stored, &error);
}

// ---- Operations ----------------------------------------------------------------------

void RemoteConnection::getObject(const Call& call, const std::u16string& path) {
  ObjectPath parsed;
  if (FAILED(parseObjectPath(path, &parsed))) return call.fail(WBEM_E_INVALID_OBJECT_PATH, path);
  Call target = call;
  if (!parsed.nameSpace.empty()) target.nameSpace = parsed.nameSpace;
  if (parsed.isClassPath()) {
    cimxml::Request request = newRequest(target, true, u"GetClass");
    request.params = getClassParams(parsed.className);
    return deliver(target, request);
  }
  cimxml::Request request = newRequest(target, true, u"GetInstance");
  request.params = {param(u"InstanceName", CIM_REFERENCE, CComVariant(parsed.relPath().c_str()))};
  deliver(target, request);
}

void RemoteConnection::putInstance(const Call& call, IWbemClassObject* instance) {
  const CimObject* object = CimObject::from(instance);
  if (object == nullptr || !object->isInstance()) return call.fail(WBEM_E_INVALID_PARAMETER, u"");
  const bool createOnly = (call.flags & WBEM_FLAG_CREATE_ONLY) != 0;
  cimxml::Response response;
  Outcome outcome;
  if (!createOnly) {
    cimxml::Request modify = newRequest(call, true, u"ModifyInstance");
    modify.params = {objectParam(u"ModifiedInstance", instance)};
    outcome = send(call, &modify, &response);
    // Create or update: an instance the server does not have is created.
    const bool updateOnly = (call.flags & WBEM_FLAG_UPDATE_ONLY) != 0;
    if (SUCCEEDED(outcome.hr) || outcome.hr != WBEM_E_NOT_FOUND || updateOnly) {
      return SUCCEEDED(outcome.hr) ? call.succeed(object->relPath()) : fail(call, outcome);
    }
  }
  cimxml::Request create = newRequest(call, true, u"CreateInstance");
  create.params = {objectParam(u"NewInstance", instance)};
  response = cimxml::Response();
  outcome = send(call, &create, &response);
  if (FAILED(outcome.hr)) return fail(call, outcome);
  call.succeed(response.names.empty() ? object->relPath() : response.names.front());
}

void RemoteConnection::deleteInstance(const Call& call, const std::u16string& path) {
  cimxml::Request request = newRequest(call, true, u"DeleteInstance");
  request.params = {param(u"InstanceName", CIM_REFERENCE, CComVariant(path.c_str()))};
  deliver(call, request);
}

void RemoteConnection::createInstanceEnum(const Call& call, const std::u16string& className) {
  cimxml::Request request = newRequest(call, true, u"EnumerateInstances");
  request.params = {textParam(u"ClassName", className),
                    flagParam(u"DeepInheritance", (call.flags & WBEM_FLAG_SHALLOW) == 0),
                    flagParam(u"LocalOnly", false), flagParam(u"IncludeQualifiers", false),
                    flagParam(u"IncludeClassOrigin", false)};
  deliver(call, request);
}

void RemoteConnection::execQuery(const Call& call, const std::u16string& language, const std::u16string& query) {
  cimxml::Request request = newRequest(call, true, u"ExecQuery");
  // Plain text: a string-typed parameter of an intrinsic call would travel
  // as a class name.
  request.params = {param(u"QueryLanguage", CIM_EMPTY, CComVariant(language.c_str())),
                    param(u"Query", CIM_EMPTY, CComVariant(query.c_str()))};
  deliver(call, request);
}

void RemoteConnection::execMethod(const Call& call, const std::u16string& path, const std::u16string& method,
                                  IWbemClassObject* in) {
  ObjectPath parsed;
  if (FAILED(parseObjectPath(path, &parsed))) return call.fail(WBEM_E_INVALID_OBJECT_PATH, path);
  const ClassPtr cls = classOf(call.nameSpace, parsed.className);
  const MethodDef* def = cls != nullptr ? cls->findMethod(method) : nullptr;
  if (def == nullptr) return call.fail(cls == nullptr ? WBEM_E_INVALID_CLASS : WBEM_E_INVALID_METHOD, method);
  cimxml::Request request = newRequest(call, false, method);
  request.objectPath = parsed.relPath();
  const CimObject* inParams = in != nullptr ? CimObject::from(in) : nullptr;
  if (inParams != nullptr) {
    const std::vector<PropertyDef>& props = inParams->definition()->properties();
    for (size_t i = 0; i < props.size(); ++i) {
      request.params.push_back(param(props[i].name, props[i].type, inParams->value(static_cast<int>(i))));
    }
  }
  cimxml::Response response;
  const Outcome outcome = send(call, &request, &response);
  if (FAILED(outcome.hr)) return fail(call, outcome);
  CComPtr<IWbemClassObject> out;
  if (def->out != nullptr) {
    out = CimObject::newInstance(def->out);
    CimObject* outParams = CimObject::from(out);
    const int returnIndex = def->out->findProperty(u"ReturnValue");
    if (returnIndex >= 0 && response.value.value.vt != VT_EMPTY) outParams->setValue(returnIndex, response.value.value);
    for (const ParamValue& value : response.outParams) {
      const int index = def->out->findProperty(value.name);
      if (index >= 0) outParams->setValue(index, value.value);
    }
    IWbemClassObject* result = out;
    call.sink->Indicate(1, &result);
  }
  call.succeed();
}

// ---- Classes ---------------------------------------------------------------------------

void RemoteConnection::putClass(const Call& call, IWbemClassObject*) {
  call.fail(WBEM_E_NOT_SUPPORTED, u"classes are not changed over the network");
}

void RemoteConnection::deleteClass(const Call& call, const std::u16string&) {
  call.fail(WBEM_E_NOT_SUPPORTED, u"classes are not changed over the network");
}

void RemoteConnection::createClassEnum(const Call& call, const std::u16string& superclass) {
  cimxml::Request request = newRequest(call, true, u"EnumerateClasses");
  if (!superclass.empty()) request.params.push_back(textParam(u"ClassName", superclass));
  request.params.push_back(flagParam(u"DeepInheritance", (call.flags & WBEM_FLAG_SHALLOW) == 0));
  request.params.push_back(flagParam(u"LocalOnly", false));
  request.params.push_back(flagParam(u"IncludeQualifiers", true));
  request.params.push_back(flagParam(u"IncludeClassOrigin", true));
  deliver(call, request);
}

// ---- Events -------------------------------------------------------------------------------

void RemoteConnection::execNotificationQuery(const Call& call, const std::u16string& language,
                                             const std::u16string& query) {
  cimxml::Request request = newRequest(call, false, u"Subscribe");
  request.objectPath = std::u16string(remote::kEventQueueClass);
  request.params = {textParam(u"QueryLanguage", language), textParam(u"Query", query)};
  cimxml::Response response;
  const Outcome outcome = exchange(request, &response);
  if (FAILED(outcome.hr)) return fail(call, outcome);
  std::u16string id;
  for (const ParamValue& out : response.outParams) {
    if (equalsNoCase(out.name, u"SubscriptionId") && out.value.vt == VT_BSTR) id = bstrView(out.value.bstrVal);
  }
  if (id.empty()) return call.fail(WBEM_E_TRANSPORT_FAILURE, u"the server gave no subscription");
  auto subscription = std::make_shared<Subscription>();
  subscription->connection = this;
  subscription->call = call;
  subscription->id = std::move(id);
  std::lock_guard<std::mutex> lock(eventsMutex_);
  if (closing_) return call.fail(WBEM_E_SHUTTING_DOWN, u"");
  pullers_.emplace_back(&RemoteConnection::pullEvents, this, subscription);
  call.sink->onCancel([subscription] {
    std::lock_guard<std::mutex> held(subscription->mutex);
    subscription->cancelled = true;
    if (subscription->connection != nullptr) {
      subscription->connection->unsubscribe(subscription->call, subscription->id);
    }
  });
}

void RemoteConnection::unsubscribe(const Call& call, const std::u16string& id) {
  cimxml::Request request = newRequest(call, false, u"Unsubscribe");
  request.objectPath = std::u16string(remote::kEventQueueClass);
  request.params = {textParam(u"SubscriptionId", id)};
  cimxml::Response ignored;
  exchange(request, &ignored, 5000);
}

void RemoteConnection::pullEvents(const std::shared_ptr<Subscription>& subscription) {
  const Call& call = subscription->call;
  unsigned long long acknowledged = 0;
  int failures = 0;
  Outcome outcome;
  const auto stopping = [&] {
    std::lock_guard<std::mutex> lock(eventsMutex_);
    return closing_ || !call.sink->isOpen();
  };
  while (!stopping()) {
    cimxml::Request request = newRequest(call, false, u"Pull");
    request.objectPath = std::u16string(remote::kEventQueueClass);
    request.params = {textParam(u"SubscriptionId", subscription->id),
                      param(u"Acknowledged", CIM_UINT64, CComVariant(toU16(std::to_string(acknowledged)).c_str())),
                      param(u"WaitSeconds", CIM_UINT32, CComVariant(static_cast<LONG>(kPullWaitSeconds)))};
    cimxml::Response response;
    outcome = exchange(request, &response, (kPullWaitSeconds + 30) * 1000L);
    if (FAILED(outcome.hr)) {
      // Only a lost connection is worth another try; a refusal is final.
      if (outcome.hr != WBEM_E_TRANSPORT_FAILURE || ++failures > kPullRetries) break;
      std::unique_lock<std::mutex> lock(eventsMutex_);
      eventsChanged_.wait_for(lock, std::chrono::seconds(1), [this] { return closing_; });
      continue;
    }
    failures = 0;
    unsigned long long sequence = acknowledged;
    std::vector<CComPtr<IWbemClassObject>> events = eventsOf(response, &sequence);
    for (CComPtr<IWbemClassObject>& event : events) {
      IWbemClassObject* raw = event;
      call.sink->Indicate(1, &raw);
    }
    acknowledged = sequence;
  }
  std::lock_guard<std::mutex> lock(subscription->mutex);
  subscription->connection = nullptr;
  if (!subscription->cancelled) {  // else the cancel ended the server's side
    if (FAILED(outcome.hr)) {
      fail(call, outcome);
    } else {
      call.fail(WBEM_E_SHUTTING_DOWN, u"the connection to the server was closed");
    }
    unsubscribe(call, subscription->id);
  }
  // The call's sink keeps the cancel handler, which keeps the subscription.
  subscription->call = Call();
}

}  // namespace om::wmi
