// ServerProvider: the base of the server's providers, and the helpers they
// share for reading the requests of the object manager.
#ifndef OM_SERVER_PROVIDERS_SERVERPROVIDER_H_
#define OM_SERVER_PROVIDERS_SERVERPROVIDER_H_

#include <memory>
#include <string>

#include <atlbase.h>
#include <oleauto.h>
#include <wbemcli.h>
#include <wmi/ProviderBase.h>

#include "server/NetworkServer.h"

class WbemClient;

// Base of the server's providers: what they serve and the server's
// connection to its own namespace (one reference held).
class ServerProvider : public om::wmi::ProviderBase {
 public:
  ServerProvider(IWbemServices* services, std::shared_ptr<NetworkServer> server)
      : services_(services), server_(std::move(server)) {}

 protected:
  CComPtr<IWbemServices> services_;
  std::shared_ptr<NetworkServer> server_;
};

// The key of an instance path such as Class.Key="value" (backslash escapes
// undone), in code page 932; false when the path has no quoted key.
bool keyOfPath(const BSTR path, std::string& key);

// A boolean or string context value of a call; `fallback` when absent.
bool contextBool(IWbemContext* ctx, LPCWSTR name, bool fallback);
std::string contextString(IWbemContext* ctx, LPCWSTR name);

// Ends a call that no method class serves: the final status to the sink;
// returns `hr`.
HRESULT finish(IWbemObjectSink* sink, HRESULT hr);

// Hands `wrapper` to the sink as an instance of its class; the HRESULT.
HRESULT indicateInstance(IWbemServices* services, WbemClient& wrapper, IWbemObjectSink* sink);

#endif  // OM_SERVER_PROVIDERS_SERVERPROVIDER_H_
