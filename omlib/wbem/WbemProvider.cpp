#include "wbem/WbemProvider.h"

#include <cstdio>

#include "wbem/WbemClient.h"

namespace {

const char16_t* const kSuccessNames[] = {
    u"WBEM_S_ALREADY_EXISTS", u"WBEM_S_RESET_TO_DEFAULT", u"WBEM_S_DIFFERENT",        u"WBEM_S_TIMEDOUT",
    u"WBEM_S_NO_MORE_DATA",   u"WBEM_OPERATION_CANCELLED", u"WBEM_S_PENDING",          u"WBEM_S_DUPLICATE_OBJECTS",
};

// 0x80041001 onwards, in the order of the codes.
const char16_t* const kErrorNames[] = {
    u"WBEM_E_FAILED",
    u"WBEM_E_NOT_FOUND",
    u"WBEM_E_ACCESS_DENIED",
    u"WBEM_E_PROVIDER_FAILURE",
    u"WBEM_E_TYPE_MISMATCH",
    u"WBEM_E_OUT_OF_MEMORY",
    u"WBEM_E_INVALID_CONTEXT",
    u"WBEM_E_INVALID_PARAMETER",
    u"WBEM_E_NOT_AVAILABLE",
    u"WBEM_E_CRITICAL_ERROR",
    u"WBEM_E_INVALID_STREAM",
    u"WBEM_E_NOT_SUPPORTED",
    u"WBEM_E_INVALID_SUPERCLASS",
    u"WBEM_E_INVALID_NAMESPACE",
    u"WBEM_E_INVALID_OBJECT",
    u"WBEM_E_INVALID_CLASS",
    u"WBEM_E_PROVIDER_NOT_FOUND",
    u"WBEM_E_INVALID_PROVIDER_REGISTRATION",
    u"WBEM_E_PROVIDER_LOAD_FAILURE",
    u"WBEM_E_INITIALIZATION_FAILURE",
    u"WBEM_E_TRANSPORT_FAILURE",
    u"WBEM_E_INVALID_OPERATION",
    u"WBEM_E_INVALID_QUERY",
    u"WBEM_E_INVALID_QUERY_TYPE",
    u"WBEM_E_ALREADY_EXISTS",
    u"WBEM_E_OVERRIDE_NOT_ALLOWED",
    u"WBEM_E_PROPAGATED_QUALIFIER",
    u"WBEM_E_PROPAGATED_PROPERTY",
    u"WBEM_E_UNEXPECTED",
    u"WBEM_E_ILLEGAL_OPERATION",
    u"WBEM_E_CANNOT_BE_KEY",
    u"WBEM_E_INCOMPLETE_CLASS",
    u"WBEM_E_INVALID_SYNTAX",
    u"WBEM_E_NONDECORATED_OBJECT",
    u"WBEM_E_READ_ONLY",
    u"WBEM_E_PROVIDER_NOT_CAPABLE",
    u"WBEM_E_CLASS_HAS_CHILDREN",
    u"WBEM_E_CLASS_HAS_INSTANCES",
    u"WBEM_E_QUERY_NOT_IMPLEMENTED",
    u"WBEM_E_ILLEGAL_NULL",
    u"WBEM_E_INVALID_QUALIFIER_TYPE",
    u"WBEM_E_INVALID_PROPERTY_TYPE",
    u"WBEM_E_VALUE_OUT_OF_RANGE",
    u"WBEM_E_CANNOT_BE_SINGLETON",
    u"WBEM_E_INVALID_CIM_TYPE",
    u"WBEM_E_INVALID_METHOD",
    u"WBEM_E_INVALID_METHOD_PARAMETERS",
    u"WBEM_E_SYSTEM_PROPERTY",
    u"WBEM_E_INVALID_PROPERTY",
    u"WBEM_E_CALL_CANCELLED",
    u"WBEM_E_SHUTTING_DOWN",
    u"WBEM_E_PROPAGATED_METHOD",
    u"WBEM_E_UNSUPPORTED_PARAMETER",
    u"WBEM_E_MISSING_PARAMETER_ID",
    u"WBEM_E_INVALID_PARAMETER_ID",
    u"WBEM_E_NONCONSECUTIVE_PARAMETER_IDS",
    u"WBEM_E_PARAMETER_ID_ON_RETVAL",
    u"WBEM_E_INVALID_OBJECT_PATH",
};

constexpr DWORD kFirstSuccess = 0x40001;
constexpr DWORD kFirstError = 0x80041001;

// Looks `code` up in a table of consecutive codes starting at `first`.
template <size_t N>
const char16_t* lookUp(DWORD code, DWORD first, const char16_t* const (&names)[N]) {
  return code >= first && code - first < N ? names[code - first] : nullptr;
}

}  // namespace

LPCWSTR WbemStatusName(HRESULT status) {
  const DWORD code = static_cast<DWORD>(status);
  switch (code) {
    case 0:
      return u"WBEM_NO_ERROR/WBEM_S_NO_ERROR/WBEM_S_SAME";
    case 1:
      return u"WBEM_S_FALSE";
    case 0x80042001:
      return u"WBEMESS_E_REGISTRATION_TOO_BROAD";
    case 0x80042002:
      return u"WBEMESS_E_REGISTRATION_TOO_PRECISE";
    default:
      break;
  }
  if (const char16_t* name = lookUp(code, kFirstSuccess, kSuccessNames)) return name;
  if (const char16_t* name = lookUp(code, kFirstError, kErrorNames)) return name;
  static OLECHAR buffer[16];
  char digits[16];
  const int length = std::snprintf(digits, sizeof(digits), "0x%x", static_cast<unsigned>(code));
  for (int i = 0; i <= length; ++i) buffer[i] = static_cast<OLECHAR>(digits[i]);
  return buffer;
}

// ---- WbemProvider ------------------------------------------------------------------

HRESULT WbemProvider::setStatus(HRESULT hr) {
  if (m_pSink != nullptr) m_pSink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
  return hr;
}

HRESULT WbemProvider::getParam(const tstring& name, VARTYPE type, CComVariant& value) {
  if (m_pInParams == nullptr) return WBEM_E_INVALID_PARAMETER;
  const HRESULT hr = m_pInParams->Get(om::bstrOf(name), 0, &value, nullptr, nullptr);
  if (FAILED(hr)) return hr;
  return value.vt == type ? WBEM_S_NO_ERROR : WBEM_E_INVALID_PARAMETER;
}

HRESULT WbemProvider::getParamString(const tstring& name, tstring& value) {
  CComVariant v;
  const HRESULT hr = getParam(name, VT_BSTR, v);
  if (hr == WBEM_S_NO_ERROR) value.fromBSTR(v.bstrVal);
  return hr;
}

HRESULT WbemProvider::getParamBool(const tstring& name, bool& value) {
  CComVariant v;
  const HRESULT hr = getParam(name, VT_BOOL, v);
  if (hr == WBEM_S_NO_ERROR) value = v.boolVal != VARIANT_FALSE;
  return hr;
}

HRESULT WbemProvider::getParamInt(const tstring& name, long& value) {
  CComVariant v;
  const HRESULT hr = getParam(name, VT_I4, v);
  if (hr == WBEM_S_NO_ERROR) value = v.lVal;
  return hr;
}

HRESULT WbemProvider::getParamObject(const tstring& name, IWbemClassObject** object) {
  *object = nullptr;
  CComVariant v;
  HRESULT hr = getParam(name, VT_UNKNOWN, v);
  if (hr == WBEM_S_NO_ERROR && v.punkVal == nullptr) hr = WBEM_E_INVALID_PARAMETER;
  if (hr == WBEM_S_NO_ERROR && FAILED(v.punkVal->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(object)))) {
    hr = WBEM_E_INVALID_PARAMETER;
  }
  return hr;
}

HRESULT WbemProvider::getParamStrings(const tstring& name, std::vector<tstring>& values) {
  CComVariant v;
  HRESULT hr = getParam(name, VT_ARRAY | VT_BSTR, v);
  if (hr == WBEM_E_INVALID_PARAMETER && v.vt == VT_NULL) hr = WBEM_S_NO_ERROR;
  if (hr == WBEM_S_NO_ERROR && !WbemClient::getStringArray(v, values)) hr = WBEM_E_INVALID_PARAMETER;
  return hr;
}

HRESULT WbemProvider::initMethod(IWbemServices* services, IWbemContext* ctx, const tstring& className) {
  HRESULT hr = WBEM_S_NO_ERROR;
  if (m_pClassDef == nullptr) {
    if (services == nullptr) return WBEM_E_INVALID_PARAMETER;
    hr = services->GetObject(om::bstrOf(className), 0, ctx, &m_pClassDef, nullptr);
    if (FAILED(hr)) {
      m_pClassDef.Release();
      return hr;
    }
  }
  if (m_pOutClass == nullptr) {
    hr = m_pClassDef->GetMethod(om::bstrOf(m_tstrMethodName), 0, nullptr, &m_pOutClass);
    if (SUCCEEDED(hr) && m_pOutClass == nullptr) hr = WBEM_E_INVALID_METHOD;
    if (FAILED(hr)) m_pOutClass.Release();
  }
  return hr;
}

HRESULT WbemProvider::spawnOutput() {
  if (m_pOutClass == nullptr) return WBEM_E_INVALID_OPERATION;
  m_pOutInstance.Release();
  return m_pOutClass->SpawnInstance(0, &m_pOutInstance);
}

HRESULT WbemProvider::putOutput(const tstring& name, const CComVariant& value) {
  if (m_pOutInstance == nullptr) return WBEM_E_INVALID_OPERATION;
  CComVariant copy(value);
  return m_pOutInstance->Put(om::bstrOf(name), 0, &copy, 0);
}

HRESULT WbemProvider::deliverOutput() {
  if (m_pOutInstance == nullptr) return WBEM_E_INVALID_OPERATION;
  if (m_pSink == nullptr) return WBEM_E_INVALID_PARAMETER;
  IWbemClassObject* instance = m_pOutInstance;
  return m_pSink->Indicate(1, &instance);
}

HRESULT WbemProvider::indicateOutput(const tstring& name, const CComVariant& value) {
  HRESULT hr = spawnOutput();
  if (SUCCEEDED(hr)) hr = putOutput(name, value);
  return FAILED(hr) ? hr : deliverOutput();
}

HRESULT WbemProvider::embeddedArray(IWbemClassObject* cls, WbemClient& wrapper, size_t count,
                                    const std::function<bool(size_t)>& load, CComVariant& array) {
  if (cls == nullptr) return WBEM_E_INVALID_OPERATION;
  SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(count));
  if (objects == nullptr) return WBEM_E_OUT_OF_MEMORY;
  array.Clear();
  array.vt = VT_ARRAY | VT_UNKNOWN;
  array.parray = objects;  // freed with `array`
  LONG stored = 0;
  for (size_t i = 0; i < count; ++i) {
    if (!load(i)) continue;
    CComPtr<IWbemClassObject> instance;
    HRESULT hr = cls->SpawnInstance(0, &instance);
    if (FAILED(hr)) return hr;
    wrapper.putToInstance(instance);
    hr = SafeArrayPutElement(objects, &stored, static_cast<IUnknown*>(instance));
    if (FAILED(hr)) return hr;
    ++stored;
  }
  SAFEARRAYBOUND bound{static_cast<ULONG>(stored), 0};
  return SafeArrayRedim(objects, &bound);
}

HRESULT WbemProvider::indicateOutput(const tstring& name, const std::vector<tstring>& values) {
  CComVariant array;
  if (!WbemClient::createStringSafeArray(values, array)) return WBEM_E_OUT_OF_MEMORY;
  return indicateOutput(name, array);
}

void WbemProvider::clear() {
  m_pOutClass.Release();
  m_pOutInstance.Release();
}

// ---- SysStrDeleter -----------------------------------------------------------------

void SysStrDeleter::set(BSTR text) {
  if (text != m_bstr) SysFreeString(m_bstr);
  m_bstr = text;
}
