#include "TestProviders.h"

#include "ManagerTestSupport.h"

namespace wmitest {
namespace {

std::u16string lower(std::u16string text) {
  for (char16_t& c : text) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
  }
  return text;
}

// The quoted key value of a one-key path such as Device.Name="x".
std::u16string keyOf(BSTR path) {
  const std::u16string text(path, SysStringLen(path));
  const std::size_t open = text.find(u'"');
  const std::size_t close = text.rfind(u'"');
  if (open == std::u16string::npos || close <= open) return std::u16string();
  std::u16string key;
  for (std::size_t i = open + 1; i < close; ++i) {
    if (text[i] == u'\\' && i + 1 < close) ++i;
    key.push_back(text[i]);
  }
  return key;
}

HRESULT finish(IWbemObjectSink* sink, HRESULT hr, const char16_t* text = nullptr, IWbemClassObject* status = nullptr) {
  CComBSTR message(text);
  sink->SetStatus(WBEM_STATUS_COMPLETE, hr, message, status);
  return hr;
}

HRESULT indicate(IWbemObjectSink* sink, IWbemClassObject* object) { return sink->Indicate(1, &object); }

// A new instance of a class, read through `services`.
HRESULT spawnFrom(IWbemServices* services, IWbemContext* ctx, const char16_t* className, IWbemClassObject** out) {
  CComPtr<IWbemClassObject> cls;
  const HRESULT hr = services->GetObject(bstr(className), 0, ctx, &cls, nullptr);
  if (FAILED(hr)) return hr;
  return cls->SpawnInstance(0, out);
}

}  // namespace

// ---- DeviceProvider ---------------------------------------------------------------------

void DeviceProvider::noteContext(IWbemContext* ctx) {
  if (ctx == nullptr) return;
  CComVariant tag;
  if (SUCCEEDED(ctx->GetValue(u"Tag", 0, &tag))) {
    std::lock_guard<std::mutex> lock(mutex_);
    lastTag_ = textOf(tag);
  }
}

HRESULT DeviceProvider::GetObjectAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  noteContext(ctx);
  CComPtr<IWbemClassObject> copy;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = devices_.find(lower(keyOf(path)));
    if (it != devices_.end()) it->second->Clone(&copy);
  }
  if (copy == nullptr) return finish(sink, WBEM_E_NOT_FOUND, u"no such device");
  indicate(sink, copy);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT DeviceProvider::PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                         IWbemObjectSink* sink) {
  noteContext(ctx);
  const std::u16string name = lower(stringProperty(instance, u"Name"));
  CComPtr<IWbemClassObject> copy;
  instance->Clone(&copy);
  std::lock_guard<std::mutex> lock(mutex_);
  const bool exists = devices_.count(name) != 0;
  if (exists && (flags & WBEM_FLAG_CREATE_ONLY) != 0) return finish(sink, WBEM_E_ALREADY_EXISTS);
  devices_[name] = copy;
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT DeviceProvider::DeleteInstanceAsync(const BSTR path, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  noteContext(ctx);
  CComPtr<IWbemClassObject> removed;
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = devices_.find(lower(keyOf(path)));
  if (it == devices_.end()) return finish(sink, WBEM_E_NOT_FOUND);
  removed = it->second;
  devices_.erase(it);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT DeviceProvider::CreateInstanceEnumAsync(const BSTR, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  noteContext(ctx);
  std::vector<CComPtr<IWbemClassObject>> copies;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++enumerations_;
    for (const auto& entry : devices_) {
      CComPtr<IWbemClassObject> copy;
      entry.second->Clone(&copy);
      copies.push_back(copy);
    }
  }
  for (const CComPtr<IWbemClassObject>& copy : copies) indicate(sink, copy);
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT DeviceProvider::ExecMethodAsync(const BSTR, const BSTR method, long, IWbemContext* ctx, IWbemClassObject* in,
                                        IWbemObjectSink* sink) {
  noteContext(ctx);
  const std::u16string name(method, SysStringLen(method));
  if (name == u"Configure") return configure(ctx, in, sink);
  if (name == u"Fail") return fail(ctx, in, sink);
  if (name == u"Slow") {
    std::lock_guard<std::mutex> lock(mutex_);
    slowSink_ = sink;
    return WBEM_S_NO_ERROR;
  }
  return finish(sink, WBEM_E_INVALID_METHOD);
}

HRESULT DeviceProvider::configure(IWbemContext* ctx, IWbemClassObject* in, IWbemObjectSink* sink) {
  if (in == nullptr) return finish(sink, WBEM_E_INVALID_PARAMETER);
  CComVariant label, force, retries, targets, templ;
  in->Get(u"Label", 0, &label, nullptr, nullptr);
  in->Get(u"Force", 0, &force, nullptr, nullptr);
  in->Get(u"Retries", 0, &retries, nullptr, nullptr);
  in->Get(u"Targets", 0, &targets, nullptr, nullptr);
  in->Get(u"Template", 0, &templ, nullptr, nullptr);
  if (label.vt != VT_BSTR || force.vt != VT_BOOL || retries.vt != VT_I4 || targets.vt != (VT_ARRAY | VT_BSTR) ||
      templ.vt != VT_UNKNOWN) {
    return finish(sink, WBEM_E_INVALID_PARAMETER, u"Configure got parameters of the wrong types");
  }
  CComQIPtr<IWbemClassObject> templateObject(templ.punkVal);
  const std::vector<std::u16string> names = stringArrayOf(targets);
  const std::u16string address =
      textOf(label) + (force.boolVal == VARIANT_TRUE ? u"!" : u"") + u":" + stringProperty(templateObject, u"Name");

  CComPtr<IWbemClassObject> deviceClass;
  HRESULT hr = services_->GetObject(bstr(u"Device"), 0, ctx, &deviceClass, nullptr);
  CComPtr<IWbemClassObject> outSignature;
  if (SUCCEEDED(hr)) hr = deviceClass->GetMethod(u"Configure", 0, nullptr, &outSignature);
  CComPtr<IWbemClassObject> out;
  if (SUCCEEDED(hr)) hr = outSignature->SpawnInstance(0, &out);
  if (FAILED(hr)) return finish(sink, hr);

  SAFEARRAY* results = SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(retries.lVal));
  for (LONG i = 0; i < retries.lVal && !names.empty(); ++i) {
    CComPtr<IWbemClassObject> device;
    deviceClass->SpawnInstance(0, &device);
    putValue(device, u"Name", CComVariant(names[static_cast<std::size_t>(i) % names.size()].c_str()));
    putValue(device, u"Kind", CComVariant(retries.lVal));
    putValue(device, u"Address", CComVariant(address.c_str()));
    SafeArrayPutElement(results, &i, static_cast<IUnknown*>(device.p));
  }
  CComVariant resultsValue;
  resultsValue.vt = VT_ARRAY | VT_UNKNOWN;
  resultsValue.parray = results;
  putValue(out, u"Results", resultsValue);
  putValue(out, u"ReturnValue", CComVariant(static_cast<long>(names.size())));
  hr = indicate(sink, out);
  return finish(sink, hr);
}

HRESULT DeviceProvider::fail(IWbemContext* ctx, IWbemClassObject* in, IWbemObjectSink* sink) {
  const std::u16string reason = in != nullptr ? stringProperty(in, u"Reason") : std::u16string();
  if (reason != u"own") return finish(sink, WBEM_E_ACCESS_DENIED, reason.c_str());
  CComPtr<IWbemClassObject> status;
  const HRESULT hr = spawnFrom(services_, ctx, u"__ExtendedStatus", &status);
  if (FAILED(hr)) return finish(sink, hr);
  putValue(status, u"Description", CComVariant(u"the provider's own account"));
  putValue(status, u"ProviderName", CComVariant(u"DeviceProvider"));
  return finish(sink, WBEM_E_ACCESS_DENIED, nullptr, status);
}

std::vector<HRESULT> DeviceProvider::finishSlow(int count) {
  CComPtr<IWbemObjectSink> sink;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    sink.Attach(slowSink_.Detach());
  }
  std::vector<HRESULT> results;
  if (sink == nullptr) return results;
  CComPtr<IWbemClassObject> deviceClass;
  services_->GetObject(bstr(u"Device"), 0, nullptr, &deviceClass, nullptr);
  CComPtr<IWbemClassObject> outSignature;
  deviceClass->GetMethod(u"Slow", 0, nullptr, &outSignature);
  for (int i = 0; i < count; ++i) {
    CComPtr<IWbemClassObject> out;
    outSignature->SpawnInstance(0, &out);
    putValue(out, u"ReturnValue", CComVariant(i));
    results.push_back(indicate(sink, out));
  }
  results.push_back(sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr));
  return results;
}

bool DeviceProvider::hasSlowCall() {
  std::lock_guard<std::mutex> lock(mutex_);
  return slowSink_ != nullptr;
}

std::u16string DeviceProvider::lastTag() {
  std::lock_guard<std::mutex> lock(mutex_);
  return lastTag_;
}

int DeviceProvider::enumerations() {
  std::lock_guard<std::mutex> lock(mutex_);
  return enumerations_;
}

// ---- SensorProvider ---------------------------------------------------------------------

HRESULT SensorProvider::sendAll(IWbemContext* ctx, IWbemObjectSink* sink) {
  CComPtr<IWbemClassObject> sensorClass;
  const HRESULT hr = services_->GetObject(bstr(u"Sensor"), 0, ctx, &sensorClass, nullptr);
  if (FAILED(hr)) return finish(sink, hr);
  for (int id = 1; id <= 10; ++id) {
    CComPtr<IWbemClassObject> sensor;
    sensorClass->SpawnInstance(0, &sensor);
    putValue(sensor, u"Id", CComVariant(id));
    putValue(sensor, u"Level", CComVariant(id));
    putValue(sensor, u"Zone", CComVariant(id % 2 == 1 ? u"A" : u"B"));
    indicate(sink, sensor);
  }
  return finish(sink, WBEM_S_NO_ERROR);
}

HRESULT SensorProvider::CreateInstanceEnumAsync(const BSTR, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++enumerations_;
  }
  return sendAll(ctx, sink);
}

HRESULT SensorProvider::ExecQueryAsync(const BSTR, const BSTR, long, IWbemContext* ctx, IWbemObjectSink* sink) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++queries_;
  }
  return sendAll(ctx, sink);
}

int SensorProvider::queries() {
  std::lock_guard<std::mutex> lock(mutex_);
  return queries_;
}

int SensorProvider::enumerations() {
  std::lock_guard<std::mutex> lock(mutex_);
  return enumerations_;
}

}  // namespace wmitest
