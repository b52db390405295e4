#include "config/ResetValues.h"

#include <map>
#include <string>

#include "config/DefaultValues.h"

namespace {

tstring intText(int value) { return tstring().format("%d", value); }
tstring boolText(bool value) { return tstring(value ? "true" : "false"); }

// Registry value name -> factory value, as the setters would write it.
const std::map<std::string, tstring>& factoryTable() {
  static const std::map<std::string, tstring> table = {
      {"DefaultPollingInterval", intText(ResetValues::m_cnDefaultPollingInterval)},
      {"DefaultDeleteInterval", intText(ResetValues::m_cnDefaultDeleteInterval)},
      {"DefaultDiscoveringInterval", intText(ResetValues::m_cnDefaultDiscoveringInterval)},
      {"DefaultDiscoveredNodeType", intText(ResetValues::m_cnDefaultDiscoveredNodeType)},
      {"DefaultLookupHostName", boolText(ResetValues::m_cbDefaultLookupHostName)},
      {"DefaultDiscoverOnTrap", boolText(ResetValues::m_cbDefaultDiscoverOnTrap)},
      {"DefaultPollingPort", boolText(ResetValues::m_cbDefaultPollingPort)},
      {"DefaultKeepFilterTime", intText(ResetValues::m_cnDefaultkeepFilterTime)},
      {"ServerPort", intText(ResetValues::m_cnServerPort)},
      {"ProviderPort", intText(ResetValues::m_cnProviderPort)},
      {"LogSaveLevel", intText(ResetValues::m_cnLogSaveLevel)},
      {"LogMaxNumber", intText(ResetValues::m_cnLogMaxNumber)},
      {"TaskMaxSample", intText(ResetValues::m_cnTaskMaxSample)},
      {"UsingBroadcast", boolText(ResetValues::m_cbUsingBroadcast)},
      {"TelnetCheck", boolText(ResetValues::m_cbTelnetCheck)},
      {"HttpCheck", boolText(ResetValues::m_cbHttpCheck)},
      {"RetryCountDiscover", intText(ResetValues::m_cnRetryCountDiscover)},
      {"TimeoutDiscover", intText(ResetValues::m_cnTimeoutDiscover)},
      {"RetryCountPolling", intText(ResetValues::m_cnRetryCountPolling)},
      {"RetryCountPollingForPing6", intText(ResetValues::m_cnRetryCountPollingForPing6)},
      {"TimeoutPolling", intText(ResetValues::m_cnTimeoutPolling)},
      {"TimeoutPollingForPing6", intText(ResetValues::m_cnTimeoutPollingForPing6)},
      {"RetryCountSNMP", intText(ResetValues::m_cnRetryCountSNMP)},
      {"TimeoutSNMP", intText(ResetValues::m_cnTimeoutSNMP)},
      {"PingInterval", intText(ResetValues::m_cnPingInterval)},
      {"RetryCountDiscoverForPing", intText(ResetValues::m_cnRetryCountDiscoverForPing)},
      {"RetryCountPollingForPing", intText(ResetValues::m_cnRetryCountPollingForPing)},
      {"TimeoutDiscoverForPing", intText(ResetValues::m_cnTimeoutDiscoverForPing)},
      {"TimeoutPollingForPing", intText(ResetValues::m_cnTimeoutPollingForPing)},
      {"CheckVlanNetAddress", boolText(ResetValues::m_cbCheckVlanNetAddress)},
      {"MaxPathNumber", intText(ResetValues::m_cbMaxPathNumber)},
      {"PollingTimer", intText(ResetValues::m_cnPollingTimer)},
      {"AutoDiscoverManager", boolText(ResetValues::m_cbAutoDiscoverManager)},
      {"PollingManager", boolText(ResetValues::m_cbPollingManager)},
      {"TrapManager", boolText(ResetValues::m_cbTrapManager)},
      {"UsingHostList", boolText(ResetValues::m_cbUsingHostList)},
      {"ResetAtStarting", boolText(ResetValues::m_cbResetAtStarting)},
      {"UsingOrvaTree", boolText(ResetValues::m_cbUsingOrvaTree)},
      {"UseSysName", boolText(ResetValues::m_cbUseSysName)},
      {"UseIfDescr", boolText(ResetValues::m_cbUseIfDescr)},
      {"Tracer", boolText(ResetValues::m_cbTracer)},
      {"TrapDataMax", intText(ResetValues::m_cnTrapDataMax)},
      {"TrapAttackInterval", intText(ResetValues::m_cnTrapAttackInterval)},
      {"TrapAttackNumber", intText(ResetValues::m_cnTrapAttackNumber)},
      {"DBFileSizeLimit", intText(ResetValues::m_cnDBFileSizeLimit)},
      {"IsFQDN", boolText(ResetValues::m_cbIsFQDN)},
      {"PathTestQueries", intText(ResetValues::m_cnPathTestQueries)},
      {"PathTestTimeout", intText(ResetValues::m_cnPathTestTimeout)},
      {"PathTestDataSize", intText(ResetValues::m_cnPathTestDataSize)},
      {"PathTestMaxHop", intText(ResetValues::m_cnPathTestMaxHop)},
      {"PathTestInterval", intText(ResetValues::m_cnPathTestInterval)},
      {"SNMPPort", intText(ResetValues::m_cnSNMPPort)},
      {"SNMPTrapPort", intText(ResetValues::m_cnSNMPTrapPort)},
      {"PingSuccessLog", boolText(ResetValues::m_cbPingSuccessLog)},
      {"MaxNodeNumber", intText(ResetValues::m_cnMaxNodeNumber)},
      {"DispMacNode", boolText(ResetValues::m_cbDispMacNode)},
      {"EnableTrapFilter", boolText(ResetValues::m_cbEnableTrapFilter)},
      {"CountOverflowPolicy", intText(ResetValues::m_cnCountOverflowPolicy)},
      {"EnableTrapReceiverCheck", boolText(ResetValues::m_cbEnableTrapReceiverCheck)},
      {"EnableUsingHostListPing", boolText(ResetValues::m_cbEnableUsingHostListPing)},
      {"FstVlanEgress", boolText(ResetValues::m_cbFstVlanEgress)},
      {"PollingManagerBlockadeTime", intText(ResetValues::m_cnPollingManagerBlockadeTime)},
      {"DefaultAutoDiscoverSNMPProto", intText(ResetValues::m_cnDefaultAutoDiscoverSNMPProto)},
      {"EventLogging Critical", boolText(ResetValues::m_cbEventLoggingCritical)},
      {"PingTimeThreshold", intText(ResetValues::m_cnPingTimeThreshold)},
      {"DefaultReadCommunity", tstring(ResetValues::m_tcszDefaultReadCommunity)},
      {"DefaultWriteCommunity", tstring(ResetValues::m_tcszDefaultWriteCommunity)},
      {"DefaultCommunity", tstring(ResetValues::m_tcszDefaultCommunity)},
      {"IfTypes", tstring(ResetValues::m_tcszIfTypes)},
      {"NodeStatusList", tstring(ResetValues::m_tcszNodeStatusList)},
      {"TrayIconString", tstring(ResetValues::m_tcszTrayIconString)},
  };
  return table;
}

}  // namespace

const tstring* ResetValues::factoryText(const char* name) {
  const auto& table = factoryTable();
  const auto it = table.find(name);
  return it == table.end() ? nullptr : &it->second;
}

bool ResetValues::writeFactoryValues(DefaultValues& values, bool missingOnly) {
  bool ok = true;
  for (const DefaultValues::Setting& setting : DefaultValues::settings()) {
    const tstring* text = factoryText(setting.name);
    if (text == nullptr || (missingOnly && values.isSet(setting.name))) continue;
    ok = setting.write(values, *text) && ok;
  }
  return ok;
}
