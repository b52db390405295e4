#include "wbem/WbemClient.h"

#include <cstdio>

#include <om/WbemGuids.h>
#include <oleauto.h>
#include <windows.h>

#include "wbem/wbemroot.h"

const char* const WbemClient::m_tstrWbemTimeFormat = "%Y%m%d%H%M%S.000000+540";
const char* const WbemClient::m_tstrStrTimeFormat = "%04d%02d%02d%02d%02d%02d";

CComBSTR om::bstrOf(const tstring& text) {
  CComBSTR result;
  result.Attach(text.toBSTR());
  return result;
}

using om::bstrOf;

namespace {

// The class object of `className`; the HRESULT of GetObject.
HRESULT fetchClass(IWbemServices* services, const tstring& className, CComPtr<IWbemClassObject>& cls) {
  if (services == nullptr) return WBEM_E_INVALID_PARAMETER;
  return services->GetObject(bstrOf(className), 0, nullptr, &cls, nullptr);
}

template <class Text>
bool createArray(const std::vector<Text>& items, CComVariant& value) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(items.size()));
  if (array == nullptr) return false;
  for (size_t i = 0; i < items.size(); ++i) {
    LONG index = static_cast<LONG>(i);
    const CComBSTR item = bstrOf(tstring(items[i]));
    if (FAILED(SafeArrayPutElement(array, &index, item.m_str))) {
      SafeArrayDestroy(array);
      return false;
    }
  }
  value.Clear();
  value.vt = VT_ARRAY | VT_BSTR;
  value.parray = array;
  return true;
}

template <class Text>
bool readArray(const VARIANT& value, std::vector<Text>& items) {
  items.clear();
  if (value.vt == VT_NULL || value.vt == VT_EMPTY) return true;
  if (value.vt != (VT_ARRAY | VT_BSTR) || value.parray == nullptr) return false;
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(value.parray, 1, &lower);
  SafeArrayGetUBound(value.parray, 1, &upper);
  for (LONG i = lower; i <= upper; ++i) {
    BSTR item = nullptr;
    if (FAILED(SafeArrayGetElement(value.parray, &i, &item))) return false;
    items.push_back(tstring().fromBSTR(item));
    SysFreeString(item);
  }
  return true;
}

// Escapes each double quote of `key` with a backslash.
tstring escapeQuotes(const char* key) {
  tstring escaped;
  for (const char* p = key; *p != '\0'; ++p) {
    if (*p == '"') escaped += '\\';
    escaped += *p;
  }
  return escaped;
}

}  // namespace

// ---- WbemClient ---------------------------------------------------------------------

void WbemClient::attach(IWbemServices* services) {
  m_pServices = services;
  m_pClass.Release();
}

void WbemClient::dettach() { attach(nullptr); }

bool WbemClient::keepResult(bool ok) {
  m_dwErrorCode = ok ? 0 : GetLastError();
  return ok;
}

IWbemClassObject* WbemClient::getClass() {
  if (m_pClass == nullptr) {
    const HRESULT hr = fetchClass(m_pServices, getClassName(), m_pClass);
    if (FAILED(hr)) SetLastError(static_cast<DWORD>(hr));
  }
  return m_pClass;
}

IWbemClassObject* WbemClient::spawnClass(IWbemClassObject* cls) {
  IWbemClassObject* instance = nullptr;
  if (cls == nullptr) {
    SetLastError(static_cast<DWORD>(WBEM_E_INVALID_PARAMETER));
    return nullptr;
  }
  const HRESULT hr = cls->SpawnInstance(0, &instance);
  if (FAILED(hr)) SetLastError(static_cast<DWORD>(hr));
  return instance;
}

bool WbemClient::createStringSafeArray(const std::vector<tstring>& items, CComVariant& value) {
  return createArray(items, value);
}

bool WbemClient::createStringSafeArray(const std::vector<std::string>& items, CComVariant& value) {
  return createArray(items, value);
}

bool WbemClient::getStringArray(const VARIANT& value, std::vector<tstring>& items) { return readArray(value, items); }

bool WbemClient::getStringArray(const VARIANT& value, std::vector<std::string>& items) {
  return readArray(value, items);
}

CComVariant WbemClient::ComVarTime(const CTime& time) { return CComVariant(time.Format(m_tstrWbemTimeFormat).GetString()); }

CTime WbemClient::CTimeFromComVar(const VARIANT& value) {
  const std::string text = textOf(value);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (std::sscanf(text.c_str(), m_tstrStrTimeFormat, &year, &month, &day, &hour, &minute, &second) != 6) {
    return CTime();
  }
  return CTime(year, month, day, hour, minute, second);
}

bool WbemClient::runReturnValueMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink) {
  bool value = false;
  return runMethod(access, method, sink, "ReturnValue", value) && (sink != nullptr || value);
}

bool WbemClient::readObjects(WbemAccess& access, const tstring& name, WbemClient& reader,
                             const std::function<void()>& taken) {
  for (;;) {
    CComPtr<IWbemClassObject> element;
    if (!access.getOutput(name, &element)) return false;
    if (element == nullptr) return true;
    reader.getFromInstance(element);
    taken();
  }
}

bool WbemClient::readEnumeration(WbemAccess& access, WbemClient& reader, const std::function<void()>& taken) {
  for (;;) {
    CComPtr<IWbemClassObject> object;
    ULONG returned = 0;
    if (!access.getOutput(1, &object.p, returned)) return GetLastError() == static_cast<DWORD>(WBEM_S_FALSE);
    reader.getFromInstance(object);
    taken();
  }
}

bool WbemClient::runZeroReturnMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink) {
  int value = -1;
  return runMethod(access, method, sink, "ReturnValue", value) && (sink != nullptr || value == 0);
}

int WbemClient::runCountMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink) {
  int count = 0;
  if (!runMethod(access, method, sink, "ReturnValue", count)) return -1;
  return sink != nullptr ? 0 : count;
}

bool WbemClient::putInstance() {
  WbemAccess access(this);
  return keepResult(access.put());
}

bool WbemClient::getByKey(int key) {
  WbemAccess access(this);
  access.setKeyPrefix(getClassName());
  return keepResult(access.get(key));
}

bool WbemClient::removeByKey(int key) {
  WbemAccess access(this);
  access.setKeyPrefix(getClassName());
  return keepResult(access.remove(key));
}

bool WbemClient::callForBool(const char* method, std::initializer_list<std::pair<const char*, tstring>> params,
                             IWbemObjectSink* sink) {
  WbemAccess access(this);
  for (const auto& [name, value] : params) access.putParam(name, value.c_str());
  return runReturnValueMethod(access, method, sink);
}

HRESULT WbemClient::putProperty(IWbemClassObject* instance, LPCWSTR name, const CComVariant& value) {
  CComVariant copy(value);
  return instance->Put(name, 0, &copy, 0);
}

HRESULT WbemClient::putProperty(IWbemClassObject* instance, LPCWSTR name, const std::string& text) {
  return putProperty(instance, name, CComVariant(text.c_str()));
}

HRESULT WbemClient::putProperty(IWbemClassObject* instance, LPCWSTR name, const std::vector<std::string>& texts) {
  CComVariant array;
  if (!createStringSafeArray(texts, array)) return WBEM_E_OUT_OF_MEMORY;
  return putProperty(instance, name, array);
}

namespace {

CComVariant propertyOf(IWbemClassObject* instance, LPCWSTR name) {
  CComVariant value;
  if (FAILED(instance->Get(name, 0, &value, nullptr, nullptr))) value.Clear();
  return value;
}

}  // namespace

bool WbemClient::getProperty(IWbemClassObject* instance, LPCWSTR name, int& value) {
  const CComVariant v = propertyOf(instance, name);
  if (v.vt != VT_I4) return false;
  value = v.lVal;
  return true;
}

bool WbemClient::getProperty(IWbemClassObject* instance, LPCWSTR name, bool& value) {
  const CComVariant v = propertyOf(instance, name);
  if (v.vt != VT_BOOL) return false;
  value = v.boolVal != VARIANT_FALSE;
  return true;
}

std::string WbemClient::getStringProperty(IWbemClassObject* instance, LPCWSTR name) {
  return textOf(propertyOf(instance, name));
}

std::vector<std::string> WbemClient::getStringsProperty(IWbemClassObject* instance, LPCWSTR name) {
  std::vector<std::string> items;
  if (!getStringArray(propertyOf(instance, name), items)) items.clear();
  return items;
}

std::string WbemClient::textOf(const VARIANT& value) {
  if (value.vt != VT_BSTR) return std::string();
  return tstring().fromBSTR(value.bstrVal);
}

// ---- WbemAccess ---------------------------------------------------------------------

WbemAccess::WbemAccess(WbemClient* owner)
    : m_pOwner(owner),
      m_pServices(owner->getServices()),
      m_pClass(owner->getClass()),
      m_tstrClassName(owner->getClassName()) {}

WbemAccess::WbemAccess(IWbemServices* services, const tstring& className)
    : m_pServices(services), m_tstrClassName(className) {}

bool WbemAccess::fail(HRESULT hr) {
  SetLastError(static_cast<DWORD>(hr));
  return false;
}

void WbemAccess::putContext(const tstring& name, const CComVariant& value) { m_context.emplace_back(name, value); }

bool WbemAccess::takeContext(CComPtr<IWbemContext>& context) {
  if (m_context.empty()) return true;
  std::vector<std::pair<tstring, CComVariant>> values;
  values.swap(m_context);
  HRESULT hr = context.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER);
  for (auto& [name, value] : values) {
    if (FAILED(hr)) break;
    hr = context->SetValue(bstrOf(name), 0, &value);
  }
  if (FAILED(hr)) {
    context.Release();
    return fail(hr);
  }
  return true;
}

IWbemClassObject* WbemAccess::classObject() {
  if (m_pClass == nullptr) {
    const HRESULT hr = fetchClass(m_pServices, m_tstrClassName, m_pClass);
    if (FAILED(hr)) SetLastError(static_cast<DWORD>(hr));
  }
  return m_pClass;
}

tstring WbemAccess::keyPath(const tstring& key) const {
  return tstring().format("%s=\"%s\"", m_tstrKeyPrefix.c_str(), key.c_str());
}

bool WbemAccess::get(const tstring& path) {
  CComPtr<IWbemContext> context;
  if (!takeContext(context)) return false;
  if (m_pServices == nullptr) return fail(WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> object;
  const HRESULT hr = m_pServices->GetObject(bstrOf(path), 0, context, &object, nullptr);
  if (FAILED(hr)) return fail(hr);
  return m_pOwner == nullptr || m_pOwner->getFromInstance(object);
}

bool WbemAccess::get(const char* key) { return get(keyPath(escapeQuotes(key))); }

bool WbemAccess::get(int key) { return get(keyPath(tstring().format("%d", key))); }

bool WbemAccess::put() {
  CComPtr<IWbemContext> context;
  if (!takeContext(context)) return false;
  if (m_pServices == nullptr || m_pOwner == nullptr) return fail(WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> instance;
  instance.Attach(m_pOwner->spawnClass(classObject()));
  if (instance == nullptr) return false;
  if (!m_pOwner->putToInstance(instance)) return false;
  const HRESULT hr = m_pServices->PutInstance(instance, 0, context, nullptr);
  return SUCCEEDED(hr) || fail(hr);
}

bool WbemAccess::remove(const tstring& path) {
  CComPtr<IWbemContext> context;
  if (!takeContext(context)) return false;
  if (m_pServices == nullptr) return fail(WBEM_E_INVALID_PARAMETER);
  const HRESULT hr = m_pServices->DeleteInstance(bstrOf(path), 0, context, nullptr);
  return SUCCEEDED(hr) || fail(hr);
}

bool WbemAccess::remove(const char* key) { return remove(keyPath(escapeQuotes(key))); }

bool WbemAccess::remove(int key) { return remove(keyPath(tstring().format("%d", key))); }

bool WbemAccess::keepEnumerator(HRESULT hr, IEnumWbemClassObject* enumerator) {
  m_pEnum.Release();
  m_pEnum.Attach(enumerator);
  if (FAILED(hr)) return fail(hr);
  WbemRoot::SetInterfaceSucurityIdentity(m_pEnum);
  return true;
}

bool WbemAccess::enumerate() {
  CComPtr<IWbemContext> context;
  if (!takeContext(context)) return false;
  if (m_pServices == nullptr) return fail(WBEM_E_INVALID_PARAMETER);
  IEnumWbemClassObject* enumerator = nullptr;
  const HRESULT hr = m_pServices->CreateInstanceEnum(bstrOf(m_tstrClassName),
                                                     WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, context,
                                                     &enumerator);
  return keepEnumerator(hr, enumerator);
}

bool WbemAccess::query(const tstring& wql) {
  CComPtr<IWbemContext> context;
  if (!takeContext(context)) return false;
  if (m_pServices == nullptr) return fail(WBEM_E_INVALID_PARAMETER);
  IEnumWbemClassObject* enumerator = nullptr;
  const HRESULT hr = m_pServices->ExecQuery(bstrOf("WQL"), bstrOf(wql),
                                            WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, context,
                                            &enumerator);
  return keepEnumerator(hr, enumerator);
}

bool WbemAccess::putParam(const tstring& name, const CComVariant& value) {
  m_params.emplace_back(name, value);
  return true;
}

bool WbemAccess::putParam(const tstring& name, const char* value) { return putParam(name, CComVariant(value)); }

bool WbemAccess::putParam(const tstring& name, const std::vector<tstring>& values) {
  CComVariant array;
  if (!WbemClient::createStringSafeArray(values, array)) return fail(WBEM_E_OUT_OF_MEMORY);
  return putParam(name, array);
}

bool WbemAccess::buildInParams(const tstring& method, CComPtr<IWbemClassObject>& inParams) {
  if (m_params.empty()) return true;
  std::vector<std::pair<tstring, CComVariant>> params;
  params.swap(m_params);
  IWbemClassObject* cls = classObject();
  if (cls == nullptr) return false;
  CComPtr<IWbemClassObject> signature;
  HRESULT hr = cls->GetMethod(bstrOf(method), 0, &signature, nullptr);
  if (SUCCEEDED(hr) && signature == nullptr) hr = WBEM_E_INVALID_METHOD_PARAMETERS;
  if (SUCCEEDED(hr)) hr = signature->SpawnInstance(0, &inParams);
  for (auto& [name, value] : params) {
    if (FAILED(hr)) break;
    hr = inParams->Put(bstrOf(name), 0, &value, 0);
  }
  if (FAILED(hr)) {
    inParams.Release();
    return fail(hr);
  }
  return true;
}

bool WbemAccess::execute(const tstring& method, IWbemObjectSink* sink) {
  CComPtr<IWbemClassObject> inParams;
  if (!buildInParams(method, inParams)) return false;
  CComPtr<IWbemContext> context;
  if (!takeContext(context)) return false;
  if (m_pServices == nullptr) return fail(WBEM_E_INVALID_PARAMETER);
  const CComBSTR path = bstrOf(m_tstrClassName);
  const CComBSTR methodName = bstrOf(method);
  if (sink != nullptr) {
    const HRESULT hr = m_pServices->ExecMethodAsync(path, methodName, 0, context, inParams, sink);
    return SUCCEEDED(hr) || fail(hr);
  }
  clearOutParam();
  const HRESULT hr = m_pServices->ExecMethod(path, methodName, 0, context, inParams, &m_pOutParams, nullptr);
  if (FAILED(hr)) return fail(hr);
  return m_pOutParams != nullptr || fail(WBEM_E_FAILED);
}

bool WbemAccess::getOutput(const tstring& name, CComVariant& value) {
  if (m_pOutParams == nullptr) return fail(WBEM_E_NOT_FOUND);
  value.Clear();
  const HRESULT hr = m_pOutParams->Get(bstrOf(name), 0, &value, nullptr, nullptr);
  return SUCCEEDED(hr) || fail(hr);
}

bool WbemAccess::getOutput(const tstring& name, bool& value) {
  CComVariant v;
  if (!getOutput(name, v)) return false;
  if (v.vt != VT_BOOL) return fail(WBEM_E_TYPE_MISMATCH);
  value = v.boolVal != VARIANT_FALSE;
  return true;
}

bool WbemAccess::getOutput(const tstring& name, int& value) {
  CComVariant v;
  if (!getOutput(name, v)) return false;
  if (v.vt == VT_NULL || v.vt == VT_EMPTY || FAILED(v.ChangeType(VT_I4))) return fail(WBEM_E_TYPE_MISMATCH);
  value = v.lVal;
  return true;
}

template <class Text>
bool WbemAccess::getStrings(const tstring& name, std::vector<Text>& values) {
  CComVariant v;
  if (!getOutput(name, v)) return false;
  return WbemClient::getStringArray(v, values) || fail(WBEM_E_TYPE_MISMATCH);
}

bool WbemAccess::getOutput(const tstring& name, std::vector<tstring>& values) { return getStrings(name, values); }

bool WbemAccess::getOutput(const tstring& name, std::vector<std::string>& values) { return getStrings(name, values); }

bool WbemAccess::getOutput(const tstring& name, IWbemClassObject** object) {
  *object = nullptr;
  // The value is read once; each call then takes its next element.
  if (name != m_tstrEmbeddedName) {
    m_tstrEmbeddedName.clear();
    if (!getOutput(name, m_embedded)) return false;
    m_tstrEmbeddedName = name;
    m_lEmbeddedIndex = 0;
  }
  const CComVariant& v = m_embedded;
  CComPtr<IUnknown> element;
  if (v.vt == VT_UNKNOWN) {
    if (m_lEmbeddedIndex == 0) element = v.punkVal;
  } else if (v.vt == (VT_ARRAY | VT_UNKNOWN) && v.parray != nullptr) {
    LONG lower = 0;
    LONG upper = -1;
    SafeArrayGetLBound(v.parray, 1, &lower);
    SafeArrayGetUBound(v.parray, 1, &upper);
    LONG index = lower + m_lEmbeddedIndex;
    if (index <= upper) {
      const HRESULT hr = SafeArrayGetElement(v.parray, &index, &element.p);
      if (FAILED(hr)) return fail(hr);
    }
  } else if (v.vt != VT_NULL && v.vt != VT_EMPTY) {
    return fail(WBEM_E_TYPE_MISMATCH);
  }
  ++m_lEmbeddedIndex;
  if (element == nullptr) return true;
  const HRESULT hr = element->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(object));
  return SUCCEEDED(hr) || fail(hr);
}

void WbemAccess::clearOutParam() {
  m_pOutParams.Release();
  m_tstrEmbeddedName.clear();
  m_embedded.Clear();
}

bool WbemAccess::getOutput(ULONG count, IWbemClassObject** objects, ULONG& returned) {
  returned = 0;
  if (m_pEnum == nullptr) return fail(WBEM_E_INVALID_OPERATION);
  const HRESULT hr = m_pEnum->Next(m_lTimeout, count, objects, &returned);
  if (FAILED(hr)) return fail(hr);
  if (returned == 0) return fail(hr == WBEM_S_TIMEDOUT ? WBEM_S_TIMEDOUT : WBEM_S_FALSE);
  return true;
}

// ---- WbemQueryCursor -----------------------------------------------------------------

bool WbemQueryCursor::start(IWbemServices* services, const tstring& className, const tstring& query,
                            const std::vector<std::pair<tstring, CComVariant>>& context) {
  m_access = WbemAccess(services, className);
  for (const auto& [name, value] : context) m_access.putContext(name, value);
  m_bOpen = m_access.query(query);
  return m_bOpen;
}

bool WbemQueryCursor::next(WbemClient& reader) {
  if (!m_bOpen) return false;
  CComPtr<IWbemClassObject> object;
  ULONG returned = 0;
  if (!m_access.getOutput(1, &object.p, returned)) {
    close();
    return false;
  }
  return reader.getFromInstance(object);
}

void WbemQueryCursor::close() {
  m_access = WbemAccess(nullptr, tstring());
  m_bOpen = false;
}

// ---- Extended error ----------------------------------------------------------------

namespace {

bool textProperty(IWbemClassObject* object, const OLECHAR* name, tstring& text) {
  CComVariant value;
  if (FAILED(object->Get(name, 0, &value, nullptr, nullptr)) || value.vt != VT_BSTR) return false;
  text.fromBSTR(value.bstrVal);
  return true;
}

bool isStatusObject(IWbemClassObject* object) {
  for (const OLECHAR* base : {u"__NotifyStatus", u"__ExtendedStatus"}) {
    tstring className;
    if (textProperty(object, u"__CLASS", className) && className.compareNoCase(tstring(base)) == 0) return true;
    if (object->InheritsFrom(base) == WBEM_S_NO_ERROR) return true;
  }
  return false;
}

}  // namespace

bool readWbemErrorInfo(WbemErrorInfo& info) {
  CComPtr<IErrorInfo> error;
  if (GetErrorInfo(0, &error) != S_OK || error == nullptr) return false;
  CComPtr<IWbemClassObject> status;
  if (FAILED(error->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&status))) || status == nullptr ||
      !isStatusObject(status)) {
    return false;
  }
  info = WbemErrorInfo();
  textProperty(status, u"Description", info.description);
  textProperty(status, u"Operation", info.operation);
  textProperty(status, u"ParameterInfo", info.parameterInfo);
  textProperty(status, u"ProviderName", info.providerName);
  CComVariant code;
  if (SUCCEEDED(status->Get(u"StatusCode", 0, &code, nullptr, nullptr)) && SUCCEEDED(code.ChangeType(VT_I4))) {
    info.statusCode = code.lVal;
  }
  CComVariant orva;
  if (SUCCEEDED(status->Get(u"OrvaStatusCode", 0, &orva, nullptr, nullptr)) && SUCCEEDED(orva.ChangeType(VT_I4))) {
    info.hasOrvaStatusCode = true;
    info.orvaStatusCode = orva.lVal;
  }
  return true;
}
