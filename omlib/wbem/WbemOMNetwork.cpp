#include "wbem/WbemOMNetwork.h"

#include "wbem/WbemProperties.h"

// ---- WbemOMNetwork -----------------------------------------------------------------

WbemOMNetwork::WbemOMNetwork(const COrvaManagerNetwork& network, IWbemServices const* services)
    : COrvaManagerNetwork(network), WbemClient(const_cast<IWbemServices*>(services)) {}

// "ネットワーク" in code page 932; the source stays plain ASCII so that no
// compiler can re-encode it.
tstring WbemOMNetwork::networkName() { return "\x83\x6C\x83\x62\x83\x67\x83\x8F\x81\x5B\x83\x4E"; }

bool WbemOMNetwork::getObject(COrvaManagerNetwork& out) {
  if (!get()) return false;
  out.copyIn(*this);
  return true;
}

bool WbemOMNetwork::put() {
  // The one instance is named networkName(), whatever this object's name.
  WbemOMNetwork instance(*this);
  instance.setName(networkName());
  const bool ok = instance.putInstance();
  setErrorCode(instance.getErrorCode());
  return ok;
}

bool WbemOMNetwork::get() {
  WbemAccess access(this);
  access.setKeyPrefix(getClassName() + ".NetworkName");
  return keepResult(access.get(networkName().c_str()));
}

namespace {

using Network = COrvaManagerNetwork;

// The 7 properties of "OrvaManagerNetwork", in the class's order.
constexpr om::WbemProperty<Network> kProperties[] = {
    om::property<&Network::getName, &Network::setName>(u"NetworkName"),
    om::property<&Network::getNumberOfSubnets, &Network::setNumberOfSubnets>(u"NumberOfSubnets"),
    om::property<&Network::getNumberOfDiscoveredNodes, &Network::setNumberOfDiscoveredNodes>(
        u"NumberOfDiscoveredNodes"),
    om::property<&Network::getNumberOfObservingNodes, &Network::setNumberOfObservingNodes>(
        u"NumberOfObservingNodes"),
    om::property<&Network::getNodeStatus, &Network::setNodeStatus>(u"NodeStatus"),
    om::property<&Network::isPollingManager, &Network::setPollingManager>(u"StartOrStopPollingManager"),
    om::property<&Network::isAutoDiscoverManager, &Network::setAutoDiscoverManager>(
        u"StartOrStopAutoDiscoverManager"),
};

}  // namespace

bool WbemOMNetwork::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getOrvaManagerNetwork());
}

bool WbemOMNetwork::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getOrvaManagerNetwork());
}

// ---- WbemOMNetworkClient -----------------------------------------------------------

bool WbemOMNetworkClient::managerCall(const char* method, bool start, IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("StartOrStop", CComVariant(start));
  return runReturnValueMethod(access, method, sink);
}

bool WbemOMNetworkClient::pollingManager(bool start, IWbemObjectSink* sink) {
  return managerCall("PollingManager", start, sink);
}

bool WbemOMNetworkClient::autoDiscoverManager(bool start, IWbemObjectSink* sink) {
  return managerCall("AutoDiscoverManager", start, sink);
}

bool WbemOMNetworkClient::searchCall(const char* method, const tstring& searchString, bool ignoreCase,
                                     std::vector<std::string>& results, IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("SearchString", searchString.c_str());
  access.putParam("IgnoreCase", CComVariant(ignoreCase));
  return runMethod(access, method, sink, "Results", results);
}

bool WbemOMNetworkClient::searchNetworkObject(const tstring& searchString, bool ignoreCase,
                                              std::vector<std::string>& results, IWbemObjectSink* sink) {
  return searchCall("SearchNetworkObject", searchString, ignoreCase, results, sink);
}

bool WbemOMNetworkClient::srarchSubnet(const tstring& searchString, bool ignoreCase, std::vector<std::string>& results,
                                       IWbemObjectSink* sink) {
  return searchCall("SearchSubnet", searchString, ignoreCase, results, sink);
}

bool WbemOMNetworkClient::isPollingManagerRunning() { return get() && isPollingManager(); }

bool WbemOMNetworkClient::isAutoDiscoverManagerRunning() { return get() && isAutoDiscoverManager(); }

// ---- WbemOMNetworkProvider ---------------------------------------------------------

HRESULT SearchMethod::getInParams(tstring& searchString, bool& ignoreCase) {
  const HRESULT hr = getInParam_SearchString(searchString);
  return FAILED(hr) ? hr : getInParam_IgnoreCase(ignoreCase);
}
