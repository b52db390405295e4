#include "server/providers/ServerProvider.h"

#include <om/codepage.h>

#include "wbem/WbemClient.h"

bool keyOfPath(const BSTR path, std::string& key) {
  if (path == nullptr) return false;
  const std::u16string text(path);
  size_t i = text.find(u"=\"");
  if (i == std::u16string::npos) return false;
  std::u16string value;
  for (i += 2; i < text.size() && text[i] != u'"'; ++i) {
    if (text[i] == u'\\' && i + 1 < text.size()) ++i;
    value += text[i];
  }
  if (i >= text.size()) return false;
  key = om::utf16ToCp932(value);
  return true;
}

bool contextBool(IWbemContext* ctx, LPCWSTR name, bool fallback) {
  CComVariant value;
  if (ctx == nullptr || FAILED(ctx->GetValue(name, 0, &value)) || value.vt != VT_BOOL) return fallback;
  return value.boolVal != VARIANT_FALSE;
}

std::string contextString(IWbemContext* ctx, LPCWSTR name) {
  CComVariant value;
  if (ctx == nullptr || FAILED(ctx->GetValue(name, 0, &value))) return std::string();
  return WbemClient::textOf(value);
}

HRESULT finish(IWbemObjectSink* sink, HRESULT hr) {
  sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
  return hr;
}

HRESULT indicateInstance(IWbemServices* services, WbemClient& wrapper, IWbemObjectSink* sink) {
  CComPtr<IWbemClassObject> cls;
  HRESULT hr = services->GetObject(om::bstrOf(wrapper.getClassName()), 0, nullptr, &cls, nullptr);
  CComPtr<IWbemClassObject> instance;
  if (SUCCEEDED(hr)) hr = cls->SpawnInstance(0, &instance);
  if (FAILED(hr)) return hr;
  wrapper.putToInstance(instance);
  IWbemClassObject* object = instance;
  return sink->Indicate(1, &object);
}
