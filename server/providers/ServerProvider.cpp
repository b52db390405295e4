#include "server/providers/ServerProvider.h"

#include <exception>

#include <om/codepage.h>
#include <wmi/WqlFilter.h>

#include "wbem/WbemClient.h"

namespace {

// Instances handed to a sink in one Indicate at most.
constexpr size_t kBatch = 256;

}  // namespace

InstanceBatch::InstanceBatch(IWbemServices* services, const tstring& className, IWbemObjectSink* sink)
    : sink_(sink) {
  status_ = services == nullptr ? WBEM_E_INVALID_PARAMETER
                                : services->GetObject(om::bstrOf(className), 0, nullptr, &class_, nullptr);
}

HRESULT InstanceBatch::add(WbemClient& wrapper, const om::wmi::WqlFilter* filter) {
  if (FAILED(status_)) return status_;
  CComPtr<IWbemClassObject> instance;
  HRESULT hr = class_->SpawnInstance(0, &instance);
  if (FAILED(hr)) return hr;
  wrapper.putToInstance(instance);
  if (filter != nullptr && !filter->matches(instance)) return WBEM_S_NO_ERROR;
  ++count_;
  if (sink_ == nullptr) return WBEM_S_NO_ERROR;
  pending_.push_back(instance);
  return pending_.size() >= kBatch ? flush() : WBEM_S_NO_ERROR;
}

HRESULT InstanceBatch::flush() {
  if (pending_.empty() || sink_ == nullptr) return WBEM_S_NO_ERROR;
  std::vector<IWbemClassObject*> objects(pending_.begin(), pending_.end());
  const HRESULT hr = sink_->Indicate(static_cast<long>(objects.size()), objects.data());
  pending_.clear();
  return hr;
}

HRESULT InstanceBatch::finish(HRESULT hr) {
  const HRESULT flushed = flush();
  return ::finish(sink_, FAILED(hr) ? hr : flushed);
}

SerializableNetObjs::SerializableNetObjs(const std::vector<NetworkObjectBase>& objects)
    : stored(objects.begin(), objects.end()) {
  for (SerializableNetObj& each : stored) pointers.push_back(&each);
}

bool keyOfPath(const BSTR path, std::string& key) {
  if (path == nullptr) return false;
  const std::u16string text(path);
  size_t i = text.find(u'=');
  if (i == std::u16string::npos || ++i >= text.size()) return false;
  std::u16string value;
  if (text[i] != u'"') {
    value = text.substr(i, text.find(u',', i) - i);
  } else {
    for (++i; i < text.size() && text[i] != u'"'; ++i) {
      if (text[i] == u'\\' && i + 1 < text.size()) ++i;
      value += text[i];
    }
    if (i >= text.size()) return false;
  }
  key = om::utf16ToCp932(value);
  return true;
}

bool integerKeyOfPath(const BSTR path, int& key) {
  std::string text;
  if (!keyOfPath(path, text) || text.empty()) return false;
  size_t used = 0;
  try {
    key = static_cast<int>(std::stoll(text, &used));
  } catch (const std::exception&) {
    return false;
  }
  return used == text.size();
}

namespace {

CComVariant contextValue(IWbemContext* ctx, LPCWSTR name) {
  CComVariant value;
  if (ctx == nullptr || FAILED(ctx->GetValue(name, 0, &value))) value.Clear();
  return value;
}

}  // namespace

bool contextBool(IWbemContext* ctx, LPCWSTR name, bool fallback) {
  const CComVariant value = contextValue(ctx, name);
  return value.vt == VT_BOOL ? value.boolVal != VARIANT_FALSE : fallback;
}

int contextInt(IWbemContext* ctx, LPCWSTR name, int fallback) {
  const CComVariant value = contextValue(ctx, name);
  return value.vt == VT_I4 ? value.lVal : fallback;
}

std::string contextString(IWbemContext* ctx, LPCWSTR name) { return WbemClient::textOf(contextValue(ctx, name)); }

HRESULT queryFilter(const std::string& queryString, IWbemClassObject* cls, om::wmi::WqlFilter& filter) {
  std::string error;
  return filter.parse(cls, om::cp932ToUtf16(queryString), &error) ? WBEM_S_NO_ERROR : WBEM_E_INVALID_QUERY;
}

HRESULT queryFilter(IWbemContext* ctx, IWbemClassObject* cls, om::wmi::WqlFilter& filter) {
  return queryFilter(contextString(ctx, u"QueryString"), cls, filter);
}

HRESULT finish(IWbemObjectSink* sink, HRESULT hr) {
  sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
  return hr;
}

HRESULT indicateInstance(IWbemServices* services, WbemClient& wrapper, IWbemObjectSink* sink) {
  InstanceBatch batch(services, wrapper.getClassName(), sink);
  const HRESULT hr = batch.add(wrapper);
  return FAILED(hr) ? hr : batch.flush();
}
