// The managed network as the WMI class "OrvaManagerNetwork": the wrapper
// (WbemOMNetwork), the console's calls (WbemOMNetworkClient) and the server
// side (WbemOMNetworkProvider and one class per method; SearchMethod serves
// both searches).
#ifndef OMLIB_WBEM_WBEMOMNETWORK_H_
#define OMLIB_WBEM_WBEMOMNETWORK_H_

#include <string>
#include <vector>

#include "model/OrvaManagerNetwork.h"
#include "wbem/WbemClient.h"
#include "wbem/WbemProvider.h"

// The network record that reads and writes itself as the class's one
// instance. Copies share the services pointer without a reference.
class WbemOMNetwork : public COrvaManagerNetwork, public WbemClient {
 public:
  explicit WbemOMNetwork(IWbemServices* services) : WbemClient(services) {}
  WbemOMNetwork(const COrvaManagerNetwork& network, IWbemServices const* services);

  // The name of the one instance, "ネットワーク" in code page 932.
  static tstring networkName();

  COrvaManagerNetwork& getOrvaManagerNetwork() { return *this; }
  void setOrvaManagerNetwork(const COrvaManagerNetwork& network) { copyIn(network); }
  // Reads the instance and, on success, copies it into `out`.
  bool getObject(COrvaManagerNetwork& out);
  unsigned long getErrorInfo() const { return getErrorCode(); }

  tstring getClassName() const override { return "OrvaManagerNetwork"; }
  // Writes this object as the instance, under networkName() whatever its
  // own name (which stays as it is) / reads the instance into it.
  bool put();
  bool get();
  // The 7 properties in the class's order; numbers and booleans of another
  // type leave the field as it was, a name of another type reads as empty.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;
};

// Each call puts its in-parameters and runs the method; without a sink it
// reads "ReturnValue" or "Results", with one it returns true once started.
class WbemOMNetworkClient : public WbemOMNetwork {
 public:
  using WbemOMNetwork::WbemOMNetwork;

  // True starts the manager, false stops it.
  bool pollingManager(bool start, IWbemObjectSink* sink = nullptr);
  bool autoDiscoverManager(bool start, IWbemObjectSink* sink = nullptr);
  // The names of the matching network objects / subnets.
  bool searchNetworkObject(const tstring& searchString, bool ignoreCase, std::vector<std::string>& results,
                           IWbemObjectSink* sink = nullptr);
  bool srarchSubnet(const tstring& searchString, bool ignoreCase, std::vector<std::string>& results,
                    IWbemObjectSink* sink = nullptr);
  // Reads the instance; false when it cannot be read.
  bool isPollingManagerRunning();
  bool isAutoDiscoverManagerRunning();

 private:
  bool managerCall(const char* method, bool start, IWbemObjectSink* sink);
  bool searchCall(const char* method, const tstring& searchString, bool ignoreCase, std::vector<std::string>& results,
                  IWbemObjectSink* sink);
};

// The network on the provider side; caches the class definition and the
// out-signature of its method on the first execInit.
class WbemOMNetworkProvider : public WbemProviderOf<WbemOMNetwork> {
 public:
  using WbemProviderOf::WbemProviderOf;
  WbemOMNetworkProvider(IWbemServices* services, IWbemObjectSink* sink) : WbemProviderOf(services, nullptr, sink) {}
};

class PollingManagerMethod : public WbemOMNetworkProvider {
 public:
  OM_WBEM_METHOD(PollingManagerMethod, WbemOMNetworkProvider, "PollingManager")
  // "StartOrStop": true starts the manager.
  HRESULT getInParams(bool& start) { return getParamBool("StartOrStop", start); }
};

class AutoDiscoverManagerMethod : public WbemOMNetworkProvider {
 public:
  OM_WBEM_METHOD(AutoDiscoverManagerMethod, WbemOMNetworkProvider, "AutoDiscoverManager")
  HRESULT getInParams(bool& start) { return getParamBool("StartOrStop", start); }
};

// "SearchNetworkObject" or "SearchSubnet", as set by setMethodName.
class SearchMethod : public WbemOMNetworkProvider {
 public:
  using WbemOMNetworkProvider::WbemOMNetworkProvider;
  void setMethodName(const tstring& method) { setMethod(method); }

  // "SearchString", then "IgnoreCase"; stops at the first failure.
  HRESULT getInParams(tstring& searchString, bool& ignoreCase);
  HRESULT getInParam_SearchString(tstring& value) { return getParamString("SearchString", value); }
  HRESULT getInParam_IgnoreCase(bool& value) { return getParamBool("IgnoreCase", value); }
  // Delivers "Results".
  HRESULT indicate(std::vector<tstring>& results) { return indicateOutput("Results", results); }
};

#endif  // OMLIB_WBEM_WBEMOMNETWORK_H_
