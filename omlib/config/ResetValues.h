// ResetValues: the factory value of every setting of DefaultValues that does
// not depend on the installation (file and folder locations have none).
// Integer constants carry the prefix m_cn, booleans m_cb, texts m_tcsz; a few
// names keep their authors' slips (m_cnDefaultkeepFilterTime, the int
// m_cbMaxPathNumber, the twins m_cnPollingTimmer and m_cbEnableTrapReceverCheck).
#ifndef OMLIB_CONFIG_RESETVALUES_H_
#define OMLIB_CONFIG_RESETVALUES_H_

#include <omtools/tstring.h>

class DefaultValues;

class ResetValues {
 public:
  static constexpr int m_cnDefaultPollingInterval = 600;
  static constexpr int m_cnDefaultDeleteInterval = 604800;
  static constexpr int m_cnDefaultDiscoveringInterval = 0;
  static constexpr int m_cnDefaultDiscoveredNodeType = 3;
  static constexpr bool m_cbDefaultLookupHostName = true;
  static constexpr bool m_cbDefaultDiscoverOnTrap = true;
  static constexpr bool m_cbDefaultPollingPort = true;
  static constexpr int m_cnDefaultkeepFilterTime = 600;
  static constexpr int m_cnServerPort = 777;
  static constexpr int m_cnProviderPort = 2777;
  static constexpr int m_cnLogSaveLevel = 2;
  static constexpr int m_cnLogMaxNumber = 100000;
  static constexpr int m_cnTaskMaxSample = 20000;
  static constexpr bool m_cbUsingBroadcast = true;
  static constexpr bool m_cbTelnetCheck = false;
  static constexpr bool m_cbHttpCheck = false;
  static constexpr int m_cnRetryCountDiscover = 2;
  static constexpr int m_cnTimeoutDiscover = 1;
  static constexpr int m_cnRetryCountPolling = 2;
  static constexpr int m_cnRetryCountPollingForPing6 = 2;
  static constexpr int m_cnTimeoutPolling = 2;
  static constexpr int m_cnTimeoutPollingForPing6 = 2;
  static constexpr int m_cnRetryCountSNMP = 1;
  static constexpr int m_cnTimeoutSNMP = 1;
  static constexpr int m_cnPingInterval = 50;
  static constexpr int m_cnRetryCountDiscoverForPing = 2;
  static constexpr int m_cnRetryCountPollingForPing = 2;
  static constexpr int m_cnTimeoutDiscoverForPing = 1;
  static constexpr int m_cnTimeoutPollingForPing = 2;
  static constexpr bool m_cbCheckVlanNetAddress = true;
  static constexpr int m_cbMaxPathNumber = 100;
  static constexpr int m_cnPollingTimer = 1;
  static constexpr int m_cnPollingTimmer = 1;
  static constexpr bool m_cbAutoDiscoverManager = true;
  static constexpr bool m_cbPollingManager = true;
  static constexpr bool m_cbTrapManager = true;
  static constexpr bool m_cbUsingHostList = false;
  static constexpr bool m_cbResetAtStarting = false;
  static constexpr bool m_cbUsingOrvaTree = false;
  static constexpr bool m_cbUseSysName = false;
  static constexpr bool m_cbUseIfDescr = false;
  static constexpr bool m_cbTracer = false;
  static constexpr int m_cnTrapDataMax = 50;
  static constexpr int m_cnTrapAttackInterval = 60;
  static constexpr int m_cnTrapAttackNumber = 200;
  static constexpr int m_cnDBFileSizeLimit = 0;
  static constexpr bool m_cbIsFQDN = false;
  static constexpr int m_cnPathTestQueries = 100;
  static constexpr int m_cnPathTestTimeout = 1;
  static constexpr int m_cnPathTestDataSize = 32;
  static constexpr int m_cnPathTestMaxHop = 30;
  static constexpr int m_cnPathTestInterval = 10;
  static constexpr int m_cnSNMPPort = 0;
  static constexpr int m_cnSNMPTrapPort = 0;
  static constexpr bool m_cbPingSuccessLog = true;
  static constexpr int m_cnMaxNodeNumber = 1000;
  static constexpr bool m_cbDispMacNode = true;
  static constexpr bool m_cbEnableTrapFilter = true;
  static constexpr int m_cnCountOverflowPolicy = 1;
  static constexpr bool m_cbEnableTrapReceiverCheck = true;
  static constexpr int m_cbEnableTrapReceverCheck = 1;
  static constexpr bool m_cbEnableUsingHostListPing = true;
  static constexpr bool m_cbFstVlanEgress = true;
  static constexpr int m_cnPollingManagerBlockadeTime = 10;
  static constexpr int m_cnDefaultAutoDiscoverSNMPProto = -1;
  static constexpr bool m_cbEventLoggingCritical = true;
  static constexpr int m_cnPingTimeThreshold = 0;
  static constexpr const char* m_tcszDefaultReadCommunity = "public";
  static constexpr const char* m_tcszDefaultWriteCommunity = "private";
  static constexpr const char* m_tcszDefaultCommunity = "public";
  static constexpr const char* m_tcszIfTypes = "6,7,23";
  static constexpr const char* m_tcszNodeStatusList = "0,1,2,1,1,1,2,1,2";
  static constexpr const char* m_tcszTrayIconString = "OrvaManager is cool!";

  ResetValues& operator=(const ResetValues&) { return *this; }

  // Writes every factory value through the setters of `values`; with
  // `missingOnly`, only the values that are absent or empty. Returns false
  // when a write failed (the other values are still written).
  static bool writeFactoryValues(DefaultValues& values, bool missingOnly = false);

  // The factory value of the setting `name` as its text form, or null when
  // the setting has none.
  static const tstring* factoryText(const char* name);
};

#endif  // OMLIB_CONFIG_RESETVALUES_H_
