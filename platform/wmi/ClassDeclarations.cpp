#include "ClassDeclarations.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include <atlcomcli.h>

#include "SystemClasses.h"
#include "Text.h"

namespace om::wmi {

HRESULT applyEmbeddingQualifiers(const QualifierList& qualifiers, CIMTYPE* base, std::u16string* refClass) {
  const std::u16string embedded = qualifiers.text(u"EmbeddedInstance");
  if (!embedded.empty()) {
    if (*base != CIM_STRING && *base != CIM_OBJECT) return WBEM_E_INVALID_PROPERTY_TYPE;
    *base = CIM_OBJECT;
    *refClass = embedded;
  } else if (qualifiers.isSet(u"EmbeddedObject") && *base == CIM_STRING) {
    *base = CIM_OBJECT;
  }
  return S_OK;
}

HRESULT buildMethodSignature(CIMTYPE returnType, const std::u16string& returnClass, std::vector<PropertyDef> parameters,
                             MethodDef* method, size_t* failed) {
  auto in = std::make_shared<CimClass>(u"__PARAMETERS");
  auto out = std::make_shared<CimClass>(u"__PARAMETERS");
  method->returnType = returnType;
  if (returnType != CIM_EMPTY) {
    PropertyDef ret = makeProperty(u"ReturnValue", returnType, returnClass);
    ret.qualifiers.setFlag(u"out");
    out->addProperty(std::move(ret));
  }
  for (size_t i = 0; i < parameters.size(); ++i) {
    PropertyDef& param = parameters[i];
    *failed = i;
    param.qualifiers.set(u"ID", CComVariant(static_cast<int>(i)));
    const bool isOut = param.qualifiers.isSet(u"out");
    const bool isIn = param.qualifiers.isSet(u"in") || !isOut;
    if (isOut && equalsNoCase(param.name, u"ReturnValue")) return WBEM_E_PARAMETER_ID_ON_RETVAL;
    HRESULT hr = S_OK;
    if ((isIn && FAILED(hr = in->addProperty(param))) || (isOut && FAILED(hr = out->addProperty(param)))) {
      return hr == WBEM_E_ALREADY_EXISTS ? WBEM_E_INVALID_DUPLICATE_PARAMETER : hr;
    }
  }
  method->in = in->properties().empty() ? nullptr : std::move(in);
  method->out = out->properties().empty() ? nullptr : std::move(out);
  return S_OK;
}

std::vector<MethodParameter> methodParameters(const MethodDef& method) {
  struct Entry {
    MethodParameter parameter;
    long id = 0;
  };
  std::map<std::u16string, Entry, NoCaseLess> byName;
  std::vector<std::u16string> order;
  const auto add = [&](const ClassPtr& signature, bool isIn) {
    if (signature == nullptr) return;
    for (const PropertyDef& p : signature->properties()) {
      if (!isIn && equalsNoCase(p.name, u"ReturnValue")) continue;
      Entry& entry = byName[p.name];
      if (entry.parameter.def == nullptr) {
        entry.parameter.def = &p;
        order.push_back(p.name);
        const Qualifier* id = p.qualifiers.find(u"ID");
        entry.id = id != nullptr && id->value.vt == VT_I4 ? id->value.lVal : static_cast<long>(order.size()) + 10000;
      }
      (isIn ? entry.parameter.in : entry.parameter.out) = true;
    }
  };
  add(method.in, true);
  add(method.out, false);
  std::stable_sort(order.begin(), order.end(),
                   [&](const std::u16string& a, const std::u16string& b) { return byName[a].id < byName[b].id; });
  std::vector<MethodParameter> parameters;
  parameters.reserve(order.size());
  for (const std::u16string& name : order) parameters.push_back(byName[name].parameter);
  return parameters;
}

}  // namespace om::wmi
