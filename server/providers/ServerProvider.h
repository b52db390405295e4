// ServerProvider: the base of the server's providers, and the helpers they
// share for reading the requests of the object manager and answering them.
#ifndef OM_SERVER_PROVIDERS_SERVERPROVIDER_H_
#define OM_SERVER_PROVIDERS_SERVERPROVIDER_H_

#include <memory>
#include <string>
#include <vector>

#include <atlbase.h>
#include <oleauto.h>
#include <omtools/tstring.h>
#include <wbemcli.h>
#include <wmi/ProviderBase.h>

#include "model/SerializableNetObj.h"
#include "server/NetworkServer.h"

class WbemClient;
namespace om::wmi {
class WqlFilter;
}

// Base of the server's providers: what they serve and the server's
// connection to its own namespace (one reference held).
class ServerProvider : public om::wmi::ProviderBase {
 public:
  ServerProvider(IWbemServices* services, std::shared_ptr<NetworkServer> server)
      : services_(services), server_(std::move(server)) {}

 protected:
  // Runs one method of a method class: its preparation (getOutParamInst for
  // the families in the older style, execInit for the others), then `work`
  // (which reads the in-parameters, does the server's part and indicates),
  // then setStatus.
  template <class Method, class Work>
  HRESULT serve(IWbemContext* ctx, IWbemClassObject* inParams, IWbemObjectSink* sink, Work work) {
    Method method(services_, inParams, sink);
    HRESULT hr;
    if constexpr (requires { method.getOutParamInst(ctx); }) {
      hr = method.getOutParamInst(ctx);
    } else {
      hr = method.execInit(ctx);
    }
    if (SUCCEEDED(hr)) hr = work(method);
    return method.setStatus(hr);
  }
  // A method whose one in-parameter goes to `action`, whose result is
  // indicated.
  template <class Method, class Param, class Action>
  HRESULT serveOne(IWbemContext* ctx, IWbemClassObject* inParams, IWbemObjectSink* sink, Action action) {
    return serve<Method>(ctx, inParams, sink, [&action](Method& method) {
      Param value;
      const HRESULT hr = method.getInParams(value);
      return FAILED(hr) ? hr : method.indicate(action(value));
    });
  }

  CComPtr<IWbemServices> services_;
  std::shared_ptr<NetworkServer> server_;
};

// Hands wrappers to a sink as instances of one class, in batches; or, with
// no sink, only counts those a filter selects.
class InstanceBatch {
 public:
  InstanceBatch(IWbemServices* services, const tstring& className, IWbemObjectSink* sink);
  InstanceBatch(const InstanceBatch&) = delete;
  InstanceBatch& operator=(const InstanceBatch&) = delete;

  // The class (null when it could not be read: status() tells why).
  IWbemClassObject* getClass() const { return class_; }
  HRESULT status() const { return status_; }
  // Fills a new instance from `wrapper` and queues it, unless `filter`
  // refuses it; the HRESULT of a failed step.
  HRESULT add(WbemClient& wrapper, const om::wmi::WqlFilter* filter = nullptr);
  // How many instances were taken.
  size_t count() const { return count_; }
  // Hands what is queued to the sink.
  HRESULT flush();
  // Flushes and ends the call with `hr` (or the flush's failure).
  HRESULT finish(HRESULT hr);

 private:
  HRESULT status_;
  CComPtr<IWbemClassObject> class_;
  CComPtr<IWbemObjectSink> sink_;
  std::vector<CComPtr<IWbemClassObject>> pending_;
  size_t count_ = 0;
};

// Network objects in their persistent forms, and pointers to those, as the
// methods that deliver network objects take them.
struct SerializableNetObjs {
  explicit SerializableNetObjs(const std::vector<NetworkObjectBase>& objects);
  std::vector<SerializableNetObj> stored;
  std::vector<SerializableNetObj*> pointers;
};

// The key of an instance path in code page 932: the first key value of
// Class.Key="value", Class="value" or Class.Key=value (backslash escapes
// undone); false when the path has none.
bool keyOfPath(const BSTR path, std::string& key);

// The 32-bit integer of an instance path's key; false when it has none.
bool integerKeyOfPath(const BSTR path, int& key);

// A context value of a call: `fallback` (or empty) when absent or of
// another type.
bool contextBool(IWbemContext* ctx, LPCWSTR name, bool fallback);
int contextInt(IWbemContext* ctx, LPCWSTR name, int fallback);
std::string contextString(IWbemContext* ctx, LPCWSTR name);

// Reads the context value "QueryString" of a call as a condition on the
// instances of `cls` (see om::wmi::WqlFilter); WBEM_E_INVALID_QUERY when it
// does not parse.
HRESULT queryFilter(IWbemContext* ctx, IWbemClassObject* cls, om::wmi::WqlFilter& filter);
HRESULT queryFilter(const std::string& queryString, IWbemClassObject* cls, om::wmi::WqlFilter& filter);

// Ends a call that no method class serves: the final status to the sink;
// returns `hr`.
HRESULT finish(IWbemObjectSink* sink, HRESULT hr);

// Hands `wrapper` to the sink as one instance of its class; the HRESULT.
HRESULT indicateInstance(IWbemServices* services, WbemClient& wrapper, IWbemObjectSink* sink);

#endif  // OM_SERVER_PROVIDERS_SERVERPROVIDER_H_
