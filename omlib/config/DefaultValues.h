// DefaultValues: the product's persistent settings, kept as text values under
// HKEY_LOCAL_MACHINE "SOFTWARE\Velmoran\OrvaManager".
//
// Nothing is cached: every getter reads the registry and every setter writes
// it at once, so a value written by any process is seen by the next read in
// every other. Integers are stored as "%d" text and read by their leading
// digits, a number beyond the int range held at INT_MIN or INT_MAX; booleans
// as "true"/"false", true only for "true" in any case; texts unchanged. A
// missing value reads as 0, false or empty ("LogSaveLevel": 1).
//
// getDefault() hands out the process-wide instance. Its creation is not
// locked: call it once before other threads start.
#ifndef OMLIB_CONFIG_DEFAULTVALUES_H_
#define OMLIB_CONFIG_DEFAULTVALUES_H_

#include <memory>
#include <vector>

#include <omtools/Registry.h>
#include <omtools/auto_ptrex.h>
#include <omtools/tstring.h>

#include "core/CounterValue.h"
#include "core/logdef.h"

class CSyncObject;

class DefaultValues {
 public:
  // How a setting's text is read: as text, an integer or a boolean.
  enum Kind { kText, kInt, kBool };

  // One setting, for tools that list or edit settings by name.
  struct Setting {
    const char* name;  // the registry value name
    Kind kind;
    // The value as its getter returns it, as text ("%d", "true"/"false").
    tstring (*read)(DefaultValues& values);
    // Writes text already checked for the kind through the setter, read as
    // the getters read it: an integer by its leading digits, a boolean true
    // for "true" in any case.
    bool (*write)(DefaultValues& values, const tstring& text);
  };

  // Copies share the registry accessor and the lock object; they are not
  // meant for the singleton.
  DefaultValues(const DefaultValues& other) = default;
  DefaultValues& operator=(const DefaultValues& other) = default;
  virtual ~DefaultValues() = default;

  static DefaultValues* getDefault();

  // Every setting, in table order.
  static const std::vector<Setting>& settings();
  // The setting named `name` (ignoring case), or null.
  static const Setting* findSetting(const tstring& name);

  // True when the registry key is open.
  bool valid();
  // True when the value `name` exists and is not empty.
  bool isSet(const char* name) const { return !getString(name).empty(); }

  tstring getDataFile();
  bool setDataFile(const tstring& value);
  tstring getCommunity();
  bool setCommunity(const tstring& value);
  int getDeleteInterval();
  bool setDeleteInterval(int value);
  int getDiscoveredNodeType();
  bool setDiscoveredNodeType(int value);
  int getDiscoveringInterval();
  bool setDiscoveringInterval(int value);
  bool getDiscoverOnTrap();
  bool setDiscoverOnTrap(bool value);
  bool getLookupHostName();
  bool setLookupHostName(bool value);
  int getPollingInterval();
  bool setPollingInterval(int value);
  tstring getReadCommunity();
  bool setReadCommunity(const tstring& value);
  tstring getWriteCommunity();
  bool setWriteCommunity(const tstring& value);
  tstring getObjectsFile();
  bool setObjectsFile(const tstring& value);
  tstring getDBFile();
  bool setDBFile(const tstring& value);
  tstring getTaskObjectFile();
  bool setTaskObjectFile(const tstring& value);
  bool getPollingPort();
  bool setPollingPort(bool value);
  tstring getCommandFile();
  bool setCommandFile(const tstring& value);
  tstring getActionFilterFile();
  bool setActionFilterFile(const tstring& value);
  int getKeepFilterTime();
  bool setKeepFilterTime(int value);
  tstring getTarget();
  bool setTarget(const tstring& value);
  int getServerPort();
  bool setServerPort(int value);
  int getProviderPort();
  bool setProviderPort(int value);
  log_def::tagLOGLEVEL getLogSaveLevel();
  bool setLogSaveLevel(log_def::tagLOGLEVEL value);
  int getLogMaxNumber();
  bool setLogMaxNumber(int value);
  int getTaskMaxSample();
  bool setTaskMaxSample(int value);
  bool getUsingBroadcast();
  bool setUsingBroadcast(bool value);
  tstring getOidIcon();
  bool setOidIcon(const tstring& value);
  bool getUsingHostList();
  bool setUsingHostList(bool value);
  bool getTelnetCheck();
  bool setTelnetCheck(bool value);
  bool getHttpCheck();
  bool setHttpCheck(bool value);
  int getRetryCountDiscover();
  bool setRetryCountDiscover(int value);
  int getTimeoutDiscover();
  bool setTimeoutDiscover(int value);
  int getRetryCountPolling();
  bool setRetryCountPolling(int value);
  int getTimeoutPolling();
  bool setTimeoutPolling(int value);
  tstring getLogoImage();
  bool setLogoImage(const tstring& value);
  tstring getClosingImage();
  bool setClosingImage(const tstring& value);
  int getTimeoutSNMP();
  bool setTimeoutSNMP(int value);
  int getRetryCountSNMP();
  bool setRetryCountSNMP(int value);
  tstring getHelpFile();
  bool setHelpFile(const tstring& value);
  int getPingInterval();
  bool setPingInterval(int value);
  int getRetryCountDiscoverForPing();
  bool setRetryCountDiscoverForPing(int value);
  int getRetryCountPollingForPing();
  bool setRetryCountPollingForPing(int value);
  int getTimeoutDiscoverForPing();
  bool setTimeoutDiscoverForPing(int value);
  int getTimeoutPollingForPing();
  bool setTimeoutPollingForPing(int value);
  bool getResetAtStarting();
  bool setResetAtStarting(bool value);
  bool getCheckVlanNetAddress();
  bool setCheckVlanNetAddress(bool value);
  bool getUsingOrvaTree();
  bool setUsingOrvaTree(bool value);
  int getMaxPathNumber();
  bool setMaxPathNumber(int value);
  const tstring getReportsDirectory() const;
  bool setReportsDirectory(const tstring& value);
  int getPollingTimer();
  bool setPollingTimer(int value);
  tstring getMapsFolder();
  bool setMapsFolder(const tstring& value);
  tstring getIconsFolder();
  bool setIconsFolder(const tstring& value);
  tstring getOidToIconFile();
  bool setOidToIconFile(const tstring& value);
  int getRemainPollerCount();
  bool setRemainPollerCount(int value);
  bool getPollingManager();
  bool setPollingManager(bool value);
  bool getAutoDiscoverManager();
  bool setAutoDiscoverManager(bool value);
  bool getTrapManager();
  bool setTrapManager(bool value);
  tstring getIfTypes();
  bool setIfTypes(const tstring& value);
  bool getUseSysName();
  bool setUseSysName(bool value);
  bool getUseIfDescr();
  bool setUseIfDescr(bool value);
  bool getTracer();
  bool setTracer(bool value);
  int getTrapDataMax();
  bool setTrapDataMax(int value);
  int getTrapAttackInterval();
  bool setTrapAttackInterval(int value);
  int getTrapAttackNumber();
  bool setTrapAttackNumber(int value);
  int getDBFileSizeLimit();
  bool setDBFileSizeLimit(int value);
  bool getIsFqdn();
  bool setIsFqdn(bool value);
  bool getEnableUsingHostListPing();
  bool setEnableUsingHostListPing(bool value);
  bool getEnableTrapFilter();
  bool setEnableTrapFilter(bool value);
  CCounterValue::CountPolicy getCountPolicy();
  bool setCountPolicy(CCounterValue::CountPolicy value);
  int getBlockadeTime();
  bool setBlockadeTime(int value);
  int getAutoDiscoverSNMPProto();
  bool setAutoDiscoverSNMPProto(int value);
  bool getEnableTrapReceiverCheck();
  bool setEnableTrapReceiverCheck(bool value);
  tstring getTrayIconString();
  bool setTrayIconString(const tstring& value);
  bool getFstVlanEgress();
  bool setFstVlanEgress(bool value);
  tstring getNodeStatusList();
  bool setNodeStatusList(const tstring& value);
  int getRetryCountPollingForPing6();
  bool setRetryCountPollingForPing6(int value);
  int getTimeoutPollingForPing6();
  bool setTimeoutPollingForPing6(int value);
  bool getDispMacNode();
  bool setDispMacNode(bool value);
  tstring getSubtypeInformationFile();
  bool setSubtypeInformationFile(const tstring& value);
  int getPathTestQueries();
  bool setPathTestQueries(int value);
  int getPathTestTimeout();
  bool setPathTestTimeout(int value);
  int getPathTestDataSize();
  bool setPathTestDataSize(int value);
  int getPathTestMaxHop();
  bool setPathTestMaxHop(int value);
  int getPathTestInterval();
  bool setPathTestInterval(int value);
  int getSNMPPort();
  bool setSNMPPort(int value);
  int getSNMPTrapPort();
  bool setSNMPTrapPort(int value);
  bool getPingSuccessLog();
  bool setPingSuccessLog(bool value);
  int getMaxNodeNumber();
  bool setMaxNodeNumber(int value);
  tstring getSeedIpFile();
  bool setSeedIpFile(const tstring& value);
  bool isEventLoggingCritical();
  bool setIsEventLoggingCritical(bool value);
  int getPingTimeThreshold();
  bool setPingTimeThreshold(int value);

 protected:
  DefaultValues();

  tstring getString(const char* name) const;
  bool setString(const tstring& name, const tstring& value);

 private:
  int getInt(const char* name) const;
  bool getBool(const char* name) const;
  bool setInt(const char* name, int value);
  bool setBool(const char* name, bool value);

  static const char* const m_tcszOrvaManagerKey;
  static const char* const m_tcszDataFileKey;
  static const char* const m_tcszDefaultCommunity;
  static const char* const m_tcszDefaultDeleteInterval;
  static const char* const m_tcszDefaultDiscoveredNodeType;
  static const char* const m_tcszDefaultDiscoveringInterval;
  static const char* const m_tcszDefaultDiscoverOnTrap;
  static const char* const m_tcszDefaultLookupHostName;
  static const char* const m_tcszDefaultPollingInterval;
  static const char* const m_tcszDefaultReadCommunity;
  static const char* const m_tcszDefaultWriteCommunity;
  static const char* const m_tcszObjectsFile;
  static const char* const m_tcszDBFile;
  static const char* const m_tcszTaskObjectFile;
  static const char* const m_tcszDefaultPollingPort;
  static const char* const m_tcszCommandFile;
  static const char* const m_tcszActionFilterFile;
  static const char* const m_tcszDefaultKeepFilterTime;
  static const char* const m_tcszTarget;
  static const char* const m_tcszServerPort;
  static const char* const m_tcszProviderPort;
  static const char* const m_tcszLogSaveLevel;
  static const char* const m_tcszLogMaxNumber;
  static const char* const m_tcszTaskMaxSample;
  static const char* const m_tcszUsingBroadcast;
  static const char* const m_tcszOidIcon;
  static const char* const m_tcszUsingHostList;
  static const char* const m_tcszTelnetCheck;
  static const char* const m_tcszHttpCheck;
  static const char* const m_tcszRetryCountDiscover;
  static const char* const m_tcszTimeoutDiscover;
  static const char* const m_tcszRetryCountPolling;
  static const char* const m_tcszTimeoutPolling;
  static const char* const m_tcszLogoImage;
  static const char* const m_tcszClosingImg;
  static const char* const m_tcszTimeoutSNMP;
  static const char* const m_tcszRetryCountSNMP;
  static const char* const m_tcszHelpFile;
  static const char* const m_tcszPingInterval;
  static const char* const m_tcszRetryCountDiscoverForPing;
  static const char* const m_tcszRetryCountPollingForPing;
  static const char* const m_tcszTimeoutDiscoverForPing;
  static const char* const m_tcszTimeoutPollingForPing;
  static const char* const m_tcszResetAtStarting;
  static const char* const m_tcszCheckVlanNetAddress;
  static const char* const m_tcszUsingOrvaTree;
  static const char* const m_tcszMaxPathNumber;
  static const char* const m_tcszReportsDirectory;
  static const char* const m_tcszPollingTimmer;
  static const char* const m_tcszMapsFolder;
  static const char* const m_tcszIconsFolder;
  static const char* const m_tcszOidToIconFile;
  static const char* const m_tcszRemainPollerCount;
  static const char* const m_tcszPollingManager;
  static const char* const m_tcszAutoDiscoverManager;
  static const char* const m_tcszTrapManager;
  static const char* const m_tcszIfTypes;
  static const char* const m_tcszUseSysName;
  static const char* const m_tcszUseIfDescr;
  static const char* const m_tcszTracer;
  static const char* const m_tcszTrapDataMax;
  static const char* const m_tcszTrapAttackInterval;
  static const char* const m_tcszTrapAttackNumber;
  static const char* const m_tcszDBFileSizeLimit;
  static const char* const m_tcszIsFQDN;
  static const char* const m_tcszEnableUsingHostListPing;
  static const char* const m_tcszEnableTrapFilter;
  static const char* const m_tcszCountOverflowPolicy;
  static const char* const m_tcszPollingManagerBlockadeTime;
  static const char* const m_tcszDefaultAotoDiscoverSNMPProto;
  static const char* const m_tcszEnableTrapReceiverCheck;
  static const char* const m_tcszTrayIconString;
  static const char* const m_tcszFstVlanEgress;
  static const char* const m_tcszNodeStatusList;
  static const char* const m_tcszRetryCountPollingForPing6;
  static const char* const m_tcszTimeoutPollingForPing6;
  static const char* const m_tcszDispMacNode;
  static const char* const m_tcszSubtypeInformationFile;
  static const char* const m_tcszPathTestQueries;
  static const char* const m_tcszPathTestTimeout;
  static const char* const m_tcszPathTestDataSize;
  static const char* const m_tcszPathTestMaxHop;
  static const char* const m_tcszPathTestInterval;
  static const char* const m_tcszSNMPPort;
  static const char* const m_tcszSNMPTrapPort;
  static const char* const m_tcszPingSuccessLog;
  static const char* const m_tcszMaxNodeNumber;
  static const char* const m_tcszSeedIpFile;
  static const char* const m_tcszEventLoggingCritical;
  static const char* const m_tcszPingTimeThreshold;

  static std::auto_ptrex<DefaultValues> _instance;

  // Locked around registry reads when present; nothing in the library sets it.
  std::shared_ptr<CSyncObject> m_pLock;
  std::shared_ptr<CRegistry> m_pRegistry;
};

#endif  // OMLIB_CONFIG_DEFAULTVALUES_H_
