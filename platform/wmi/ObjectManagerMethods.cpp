// The object manager's methods, event subscriptions and class operations:
// ExecMethod, ExecNotificationQuery, PutClass, DeleteClass and
// CreateClassEnum.
#include <string>

#include "CimObject.h"
#include "CimType.h"
#include "ObjectManagerCore.h"
#include "Text.h"

namespace om::wmi {
namespace {

bool isNullValue(const VARIANT& value) { return value.vt == VT_NULL || value.vt == VT_EMPTY; }

// Checks the in-parameters against the method's in-signature: every value
// given must be a parameter of the method (WBEM_E_INVALID_METHOD_PARAMETERS)
// of its declared type and, for objects, class (WBEM_E_INVALID_PARAMETER).
HRESULT checkInParameters(const MethodDef& method, IWbemClassObject* in, std::u16string* problem) {
  if (in == nullptr) return WBEM_S_NO_ERROR;
  const CimObject* object = CimObject::from(in);
  if (object == nullptr || !object->isInstance()) {
    *problem = u"The in-parameters must be an instance made by this object manager.";
    return WBEM_E_INVALID_PARAMETER;
  }
  const ClassPtr given = object->definition();
  // An instance of the method's own signature was checked when each value was
  // put.
  if (given == method.in) return WBEM_S_NO_ERROR;
  const std::vector<PropertyDef>& properties = given->properties();
  for (std::size_t i = 0; i < properties.size(); ++i) {
    const CComVariant value = object->value(static_cast<int>(i));
    if (isNullValue(value)) continue;
    const PropertyDef* parameter = method.in != nullptr ? method.in->property(properties[i].name) : nullptr;
    if (parameter == nullptr) {
      *problem = properties[i].name + u" is not an in-parameter of " + method.name + u".";
      return WBEM_E_INVALID_METHOD_PARAMETERS;
    }
    CComVariant converted;
    if (parameter->type != properties[i].type ||
        FAILED(coerceValue(value, parameter->type, parameter->refClass, &converted))) {
      *problem = u"The in-parameter " + parameter->name + u" of " + method.name + u" must be of type " +
                 cimTypeQualifierText(parameter->type, parameter->refClass) + u".";
      return WBEM_E_INVALID_PARAMETER;
    }
  }
  return WBEM_S_NO_ERROR;
}

CComBSTR bstrOf(std::u16string_view text) {
  CComBSTR out;
  out.Attach(allocBstr(text));
  return out;
}

}  // namespace

void ManagerCore::execMethod(const Call& call, const std::u16string& path, const std::u16string& methodName,
                             IWbemClassObject* in) {
  ObjectPath parsed;
  std::u16string ns;
  const ClassPtr cls = resolvePath(call, path, WBEM_E_INVALID_CLASS, &parsed, &ns);
  if (cls == nullptr) return;
  const MethodDef* method = cls->findMethod(methodName);
  if (method == nullptr) {
    call.fail(WBEM_E_INVALID_METHOD, u"The class " + cls->name() + u" has no method " + methodName + u".");
    return;
  }
  std::u16string problem;
  const HRESULT checked = checkInParameters(*method, in, &problem);
  if (FAILED(checked)) {
    call.fail(checked, problem);
    return;
  }
  const Source source = sourceFor(ns, *cls);
  if (source.kind != Source::Kind::kProvider) {
    call.fail(WBEM_E_METHOD_NOT_IMPLEMENTED, u"No provider implements " + cls->name() + u"." + method->name + u".");
    return;
  }
  // The provider gets its own copy of the in-parameters.
  CComPtr<IWbemClassObject> copy;
  if (in != nullptr && FAILED(in->Clone(&copy))) {
    call.fail(WBEM_E_OUT_OF_MEMORY, u"The in-parameters cannot be copied.");
    return;
  }
  call.info->providerName = source.providerClass;
  const HRESULT hr = source.provider->ExecMethodAsync(bstrOf(path), bstrOf(method->name), call.flags, call.context,
                                                      copy, call.sink);
  if (FAILED(hr)) call.sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
}

void ManagerCore::execNotificationQuery(const Call& call, const std::u16string& language,
                                        const std::u16string& text) {
  ClassPtr cls;
  std::shared_ptr<const WqlQuery> query = parseQueryFor(call, repository_, language, text, &cls);
  if (query == nullptr) return;
  if (!cls->isA(u"__Event")) {
    call.fail(WBEM_E_NOT_EVENT_CLASS, u"The class " + cls->name() + u" is not an event class.");
    return;
  }
  events_.subscribe(call.nameSpace, std::move(query), call.sink);
}

void ManagerCore::putClass(const Call& call, IWbemClassObject* object) {
  const CimObject* definition = CimObject::from(object);
  if (definition == nullptr || !definition->isClass()) {
    call.fail(WBEM_E_INVALID_PARAMETER, u"PutClass needs a class object made by this object manager.");
    return;
  }
  const ClassPtr cls = definition->definition();
  const HRESULT hr =
      repository_.putClass(call.nameSpace, *cls, call.flags & (WBEM_FLAG_CREATE_ONLY | WBEM_FLAG_UPDATE_ONLY));
  if (FAILED(hr)) {
    call.fail(hr, u"The class " + cls->name() + u" cannot be stored.");
    return;
  }
  call.succeed(cls->name());
}

void ManagerCore::forgetInstances(std::u16string_view nameSpace, std::u16string_view className) {
  for (const ClassPtr& sub : repository_.subclasses(nameSpace, className, true)) {
    store_.removeClass(nameSpace, sub->name());
  }
  store_.removeClass(nameSpace, className);
}

void ManagerCore::deleteClass(const Call& call, const std::u16string& className) {
  if (repository_.findClass(call.nameSpace, className) == nullptr) {
    call.fail(WBEM_E_NOT_FOUND, u"The class " + className + u" does not exist.");
    return;
  }
  forgetInstances(call.nameSpace, className);
  const HRESULT hr = repository_.deleteClass(call.nameSpace, className);
  if (FAILED(hr)) {
    call.fail(hr, u"The class " + className + u" cannot be deleted.");
    return;
  }
  call.succeed();
}

void ManagerCore::createClassEnum(const Call& call, const std::u16string& superclass) {
  if (!superclass.empty() && repository_.findClass(call.nameSpace, superclass) == nullptr) {
    call.fail(WBEM_E_INVALID_CLASS, u"The class " + superclass + u" does not exist.");
    return;
  }
  for (const ClassPtr& cls : repository_.subclasses(call.nameSpace, superclass, (call.flags & WBEM_FLAG_SHALLOW) == 0)) {
    IWbemClassObject* object = CimObject::newClass(cls).Detach();
    const HRESULT hr = call.sink->Indicate(1, &object);
    object->Release();
    if (FAILED(hr)) return;
  }
  call.succeed();
}

}  // namespace om::wmi
