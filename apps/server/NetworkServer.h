// NetworkServer: what the server knows and does, shared by its providers:
// the network tree, the state of its two managers, how it probes a node and
// finds a node's ports, and its log. Providers lock `mutex` around each use.
#ifndef OM_APPS_SERVER_NETWORKSERVER_H_
#define OM_APPS_SERVER_NETWORKSERVER_H_

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <atlbase.h>
#include <oleauto.h>
#include <wbemcli.h>
#include <wmi/ProviderBase.h>

#include "NetworkTree.h"

class WbemClient;

struct NetworkServer {
  // Node status values this server gives.
  enum NodeStatus : int { kNodeUnknown = 0, kNodeUp = 1, kNodeDown = 2 };

  std::mutex mutex;
  NetworkTree tree;
  bool pollingManager = false;
  bool autoDiscoverManager = false;
  // Probes a node; its new node status. Unset: every node stays unknown.
  std::function<int(const NetworkObjectBase& node)> poll;
  // The ports a node has; unset: none are found.
  std::function<std::vector<NetworkObjectBase>(const NetworkObjectBase& node)> findPorts;
  // SNMP variables of an object answered from its attributes ("sysName.0",
  // "sysContact.0", "sysObjectID.0", "sysDescr.0"); "noSuchObject" for others.
  static std::string snmpValue(const NetworkObjectBase& object, const std::string& variable);
  // Sets "sysName.0" or "sysContact.0"; false for other variables.
  static bool setSnmpValue(NetworkObjectBase& object, const std::string& variable, const std::string& value);
  // Lines about requests that failed, in order.
  std::vector<std::string> log;
};

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

#endif  // OM_APPS_SERVER_NETWORKSERVER_H_
