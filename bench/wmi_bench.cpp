// The object manager against direct C++ calls that do the same work, in one
// run: a method round trip (a string array in, 100 embedded objects out) and
// the enumeration of 100,000 instances, from the store and from a provider.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <atlbase.h>
#include <objbase.h>
#include <wbemcli.h>

#include <om/WbemGuids.h>

#include "RatioReporter.h"
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

namespace {

constexpr int kObjects = 100;        // embedded objects per method call
constexpr int kInstances = 100000;   // instances per enumeration

constexpr char kMof[] = R"(
#pragma namespace("\\\\.\\root\\Velmoran\\Bench")
class Node { [key] string Name; sint32 Index; string Address; };
class Builder { [static] sint32 Build([in] string Names[], [out] Node Objects[]); };
class Record { [key] sint32 Id; string Text; };
class Reading { [key] sint32 Id; string Text; };
)";

CComBSTR bstr(const char16_t* text) { return CComBSTR(text); }

void put(IWbemClassObject* object, const char16_t* name, CComVariant value) { object->Put(name, 0, &value, 0); }

// The class objects the work needs, read once.
struct Classes {
  CComPtr<IWbemClassObject> node;
  CComPtr<IWbemClassObject> buildIn;
  CComPtr<IWbemClassObject> buildOut;
  CComPtr<IWbemClassObject> record;
  CComPtr<IWbemClassObject> reading;
};

// What Builder.Build does: one Node per name, embedded in Objects.
HRESULT build(const Classes& classes, IWbemClassObject* in, IWbemClassObject** out) {
  CComVariant names;
  HRESULT hr = in->Get(u"Names", 0, &names, nullptr, nullptr);
  if (FAILED(hr) || names.vt != (VT_ARRAY | VT_BSTR)) return WBEM_E_INVALID_PARAMETER;
  LONG count = 0;
  SafeArrayGetUBound(names.parray, 1, &count);
  ++count;
  SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(count));
  for (LONG i = 0; i < count; ++i) {
    CComBSTR name;
    SafeArrayGetElement(names.parray, &i, &name);
    CComPtr<IWbemClassObject> node;
    classes.node->SpawnInstance(0, &node);
    put(node, u"Name", CComVariant(name.m_str));
    put(node, u"Index", CComVariant(static_cast<long>(i)));
    put(node, u"Address", CComVariant(u"192.168.0.1"));
    SafeArrayPutElement(objects, &i, static_cast<IUnknown*>(node.p));
  }
  hr = classes.buildOut->SpawnInstance(0, out);
  if (FAILED(hr)) return hr;
  CComVariant value;
  value.vt = VT_ARRAY | VT_UNKNOWN;
  value.parray = objects;
  (*out)->Put(u"Objects", 0, &value, 0);
  put(*out, u"ReturnValue", CComVariant(static_cast<long>(count)));
  return WBEM_S_NO_ERROR;
}

// A new instance of `cls` with Id and Text.
CComPtr<IWbemClassObject> filled(IWbemClassObject* cls, long id) {
  CComPtr<IWbemClassObject> instance;
  cls->SpawnInstance(0, &instance);
  put(instance, u"Id", CComVariant(id));
  put(instance, u"Text", CComVariant(u"reading of the polling task"));
  return instance;
}

// Serves Builder.Build, and Reading instances made on each enumeration.
class BenchProvider final : public om::wmi::ProviderBase {
 public:
  explicit BenchProvider(const Classes& classes) : classes_(classes) {}

  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, long, IWbemContext*, IWbemClassObject* in,
                                            IWbemObjectSink* sink) override {
    CComPtr<IWbemClassObject> out;
    HRESULT hr = build(classes_, in, &out);
    if (SUCCEEDED(hr)) {
      IWbemClassObject* result = out;
      hr = sink->Indicate(1, &result);
    }
    sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr);
    return hr;
  }

  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink* sink) override {
    for (long id = 0; id < kInstances; ++id) {
      IWbemClassObject* reading = filled(classes_.reading, id).Detach();
      sink->Indicate(1, &reading);
      reading->Release();
    }
    sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
    return WBEM_S_NO_ERROR;
  }

 private:
  const Classes& classes_;
};

// The manager hosted with the bench classes, a connection, and the stored
// records.
struct Host {
  Host() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    om::wmi::ObjectManager& manager = om::wmi::ObjectManager::instance();
    manager.loadMofText(kMof);
    CComPtr<IWbemLocator> locator;
    locator.CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER);
    locator->ConnectServer(bstr(u"\\\\.\\root\\Velmoran\\Bench"), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                           &services);
    CComPtr<IWbemClassObject> builder;
    services->GetObject(bstr(u"Builder"), 0, nullptr, &builder, nullptr);
    builder->GetMethod(u"Build", 0, &classes.buildIn, &classes.buildOut);
    services->GetObject(bstr(u"Node"), 0, nullptr, &classes.node, nullptr);
    services->GetObject(bstr(u"Record"), 0, nullptr, &classes.record, nullptr);
    services->GetObject(bstr(u"Reading"), 0, nullptr, &classes.reading, nullptr);
    CComPtr<IWbemServices> provider;
    provider.Attach(new BenchProvider(classes));
    manager.registerProvider(u"root\\Velmoran\\Bench", u"Builder", provider);
    manager.registerProvider(u"root\\Velmoran\\Bench", u"Reading", provider);
    for (long id = 0; id < kInstances; ++id) {
      CComPtr<IWbemClassObject> record = filled(classes.record, id);
      services->PutInstance(record, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr);
      records.push_back(record);
    }
  }

  // The in-parameters of one call: kObjects names.
  CComPtr<IWbemClassObject> inParameters() const {
    CComPtr<IWbemClassObject> in;
    classes.buildIn->SpawnInstance(0, &in);
    SAFEARRAY* names = SafeArrayCreateVector(VT_BSTR, 0, kObjects);
    for (LONG i = 0; i < kObjects; ++i) {
      const std::u16string name = u"node-" + std::u16string(1, static_cast<char16_t>(u'a' + i % 26));
      CComBSTR text(name.c_str());
      SafeArrayPutElement(names, &i, text.m_str);
    }
    CComVariant value;
    value.vt = VT_ARRAY | VT_BSTR;
    value.parray = names;
    in->Put(u"Names", 0, &value, 0);
    return in;
  }

  Classes classes;
  CComPtr<IWbemServices> services;
  std::vector<CComPtr<IWbemClassObject>> records;
};

Host& host() {
  static Host* h = new Host;
  return *h;
}

// The number of embedded objects in the out-parameters.
long objectCount(IWbemClassObject* out) {
  CComVariant objects;
  if (out == nullptr || FAILED(out->Get(u"Objects", 0, &objects, nullptr, nullptr))) return 0;
  LONG upper = -1;
  SafeArrayGetUBound(objects.parray, 1, &upper);
  return upper + 1;
}

void BM_ExecMethodThroughManager(benchmark::State& state) {
  Host& h = host();
  const CComBSTR path = bstr(u"Builder");
  const CComBSTR method = bstr(u"Build");
  for (auto _ : state) {
    CComPtr<IWbemClassObject> out;
    if (h.services->ExecMethod(path, method, 0, nullptr, h.inParameters(), &out, nullptr) != WBEM_S_NO_ERROR ||
        objectCount(out) != kObjects) {
      state.SkipWithError("ExecMethod failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_ExecMethodDirect(benchmark::State& state) {
  Host& h = host();
  for (auto _ : state) {
    CComPtr<IWbemClassObject> out;
    if (build(h.classes, h.inParameters(), &out) != WBEM_S_NO_ERROR || objectCount(out) != kObjects) {
      state.SkipWithError("build failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// Reads every instance of the class through a forward-only enumerator.
long enumerate(IWbemServices* services, const char16_t* className) {
  CComPtr<IEnumWbemClassObject> objects;
  if (services->CreateInstanceEnum(bstr(className), WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                   &objects) != WBEM_S_NO_ERROR) {
    return -1;
  }
  long total = 0;
  IWbemClassObject* batch[500];
  for (;;) {
    ULONG returned = 0;
    const HRESULT hr = objects->Next(WBEM_INFINITE, 500, batch, &returned);
    for (ULONG i = 0; i < returned; ++i) batch[i]->Release();
    total += static_cast<long>(returned);
    if (hr != WBEM_S_NO_ERROR) return hr == WBEM_S_FALSE ? total : -1;
  }
}

void BM_EnumerateStore(benchmark::State& state) {
  Host& h = host();
  for (auto _ : state) {
    if (enumerate(h.services, u"Record") != kInstances) {
      state.SkipWithError("enumeration failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kInstances);
}

// The store's share of the work done directly: a copy of each instance.
void BM_CloneDirect(benchmark::State& state) {
  Host& h = host();
  for (auto _ : state) {
    for (const CComPtr<IWbemClassObject>& record : h.records) {
      CComPtr<IWbemClassObject> copy;
      record->Clone(&copy);
      benchmark::DoNotOptimize(copy.p);
    }
  }
  state.SetItemsProcessed(state.iterations() * kInstances);
}

void BM_EnumerateProvider(benchmark::State& state) {
  Host& h = host();
  for (auto _ : state) {
    if (enumerate(h.services, u"Reading") != kInstances) {
      state.SkipWithError("enumeration failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kInstances);
}

// The provider's share of the work done directly: each instance made.
void BM_SpawnDirect(benchmark::State& state) {
  Host& h = host();
  for (auto _ : state) {
    for (long id = 0; id < kInstances; ++id) benchmark::DoNotOptimize(filled(h.classes.reading, id).p);
  }
  state.SetItemsProcessed(state.iterations() * kInstances);
}

BENCHMARK(BM_ExecMethodThroughManager)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ExecMethodDirect)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EnumerateStore)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CloneDirect)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EnumerateProvider)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SpawnDirect)->Unit(benchmark::kMillisecond);

void printRatio(const om::RatioReporter& reporter, const char* label, const char* manager, const char* direct) {
  const double viaManager = reporter.itemsPerSecond(manager);
  const double directly = reporter.itemsPerSecond(direct);
  if (viaManager <= 0 || directly <= 0) return;
  std::printf("%-32s %12.0f/s through the manager, %12.0f/s directly: manager time / direct time = %.2f\n", label,
              viaManager, directly, directly / viaManager);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printRatio(reporter, "ExecMethod round trips", "BM_ExecMethodThroughManager", "BM_ExecMethodDirect");
  printRatio(reporter, "instances from the store", "BM_EnumerateStore", "BM_CloneDirect");
  printRatio(reporter, "instances from a provider", "BM_EnumerateProvider", "BM_SpawnDirect");
  om::wmi::ObjectManager::instance().shutdown();
  return 0;
}
