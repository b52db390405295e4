#include "RemoteProtocol.h"

#include <new>
#include <string>

#include "Text.h"
#include "WbemContext.h"

namespace om::wmi::remote {
namespace {

// "<type>:<text>" of a context value; false for a type that does not travel.
bool contextText(const VARIANT& value, std::u16string* text) {
  switch (value.vt) {
    case VT_I4:
      *text = u"i4:" + toU16(std::to_string(value.lVal));
      return true;
    case VT_BOOL:
      *text = value.boolVal != VARIANT_FALSE ? u"bool:TRUE" : u"bool:FALSE";
      return true;
    case VT_BSTR:
      *text = u"str:" + std::u16string(bstrView(value.bstrVal));
      return true;
    default:
      return false;
  }
}

bool contextValue(std::u16string_view text, CComVariant* value) {
  if (text.starts_with(u"str:")) {
    *value = CComVariant(std::u16string(text.substr(4)).c_str());
    return true;
  }
  if (text == u"bool:TRUE" || text == u"bool:FALSE") {
    *value = CComVariant(text == u"bool:TRUE");
    return true;
  }
  if (!text.starts_with(u"i4:")) return false;
  const std::string digits = toUtf8(text.substr(3));
  size_t used = 0;
  try {
    const long number = std::stol(digits, &used);
    if (used != digits.size() || number < INT32_MIN || number > INT32_MAX) return false;
    *value = CComVariant(static_cast<LONG>(number));
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

HRESULT appendContext(IWbemContext* context, std::vector<cimxml::ParamValue>* params) {
  if (context == nullptr) return WBEM_S_NO_ERROR;
  HRESULT hr = context->BeginEnumeration(0);
  while (SUCCEEDED(hr)) {
    CComBSTR name;
    CComVariant value;
    hr = context->Next(0, &name, &value);
    if (hr != WBEM_S_NO_ERROR) break;
    cimxml::ParamValue param;
    param.name = std::u16string(kContextPrefix) + std::u16string(bstrView(name));
    param.type = CIM_STRING;
    std::u16string text;
    if (!contextText(value, &text)) {
      hr = WBEM_E_INVALID_CONTEXT;
      break;
    }
    param.value = CComVariant(text.c_str());
    params->push_back(std::move(param));
  }
  context->EndEnumeration();
  return hr == WBEM_S_NO_MORE_DATA ? WBEM_S_NO_ERROR : hr;
}

HRESULT takeContext(std::vector<cimxml::ParamValue>* params, IWbemContext** context) {
  *context = nullptr;
  CComPtr<IWbemContext> values;
  std::vector<cimxml::ParamValue> rest;
  for (cimxml::ParamValue& param : *params) {
    if (!param.name.starts_with(kContextPrefix)) {
      rest.push_back(std::move(param));
      continue;
    }
    CComVariant value;
    if (param.value.vt != VT_BSTR || !contextValue(bstrView(param.value.bstrVal), &value)) {
      return WBEM_E_INVALID_CONTEXT;
    }
    if (values == nullptr) values.Attach(new (std::nothrow) WbemContext());
    if (values == nullptr) return WBEM_E_OUT_OF_MEMORY;
    const std::u16string name = param.name.substr(kContextPrefix.size());
    const HRESULT hr = values->SetValue(name.c_str(), 0, &value);
    if (FAILED(hr)) return hr;
  }
  params->swap(rest);
  *context = values.Detach();
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi::remote
