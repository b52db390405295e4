#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <omtools/Registry.h>

#include "config/DefaultValues.h"
#include "config/ResetValues.h"

namespace {

const char* kKey = "SOFTWARE\\Velmoran\\OrvaManager";

constexpr DefaultValues::Kind T = DefaultValues::kText;
constexpr DefaultValues::Kind I = DefaultValues::kInt;
constexpr DefaultValues::Kind B = DefaultValues::kBool;

// Every registry value name with its kind, in table order, as the product
// has always stored them.
const std::vector<std::pair<std::string, DefaultValues::Kind>> kSettings = {
    {"DataFile", T}, {"DefaultCommunity", T}, {"DefaultDeleteInterval", I}, {"DefaultDiscoveredNodeType", I},
    {"DefaultDiscoveringInterval", I}, {"DefaultDiscoverOnTrap", B}, {"DefaultLookupHostName", B},
    {"DefaultPollingInterval", I}, {"DefaultReadCommunity", T}, {"DefaultWriteCommunity", T}, {"ObjectsFile", T},
    {"DBFile", T}, {"TaskObjectFile", T}, {"DefaultPollingPort", B}, {"CommandFile", T}, {"ActionFilterFile", T},
    {"DefaultKeepFilterTime", I}, {"Target", T}, {"ServerPort", I}, {"ProviderPort", I}, {"LogSaveLevel", I},
    {"LogMaxNumber", I}, {"TaskMaxSample", I}, {"UsingBroadcast", B}, {"oid-icon", T}, {"UsingHostList", B},
    {"TelnetCheck", B}, {"HttpCheck", B}, {"RetryCountDiscover", I}, {"TimeoutDiscover", I},
    {"RetryCountPolling", I}, {"TimeoutPolling", I}, {"LogoImage", T}, {"ClosingImg", T}, {"TimeoutSNMP", I},
    {"RetryCountSNMP", I}, {"HelpFile", T}, {"PingInterval", I}, {"RetryCountDiscoverForPing", I},
    {"RetryCountPollingForPing", I}, {"TimeoutDiscoverForPing", I}, {"TimeoutPollingForPing", I},
    {"ResetAtStarting", B}, {"CheckVlanNetAddress", B}, {"UsingOrvaTree", B}, {"MaxPathNumber", I},
    {"ReportsDirectory", T}, {"PollingTimer", I}, {"MapsFolder", T}, {"IconsFolder", T}, {"OidToIconFile", T},
    {"RemainPollerCount", I}, {"PollingManager", B}, {"AutoDiscoverManager", B}, {"TrapManager", B},
    {"IfTypes", T}, {"UseSysName", B}, {"UseIfDescr", B}, {"Tracer", B}, {"TrapDataMax", I},
    {"TrapAttackInterval", I}, {"TrapAttackNumber", I}, {"DBFileSizeLimit", I}, {"IsFQDN", B},
    {"EnableUsingHostListPing", B}, {"EnableTrapFilter", B}, {"CountOverflowPolicy", I},
    {"PollingManagerBlockadeTime", I}, {"DefaultAutoDiscoverSNMPProto", I}, {"EnableTrapReceiverCheck", B},
    {"TrayIconString", T}, {"FstVlanEgress", B}, {"NodeStatusList", T}, {"RetryCountPollingForPing6", I},
    {"TimeoutPollingForPing6", I}, {"DispMacNode", B}, {"SubtypeInformationFile", T}, {"PathTestQueries", I},
    {"PathTestTimeout", I}, {"PathTestDataSize", I}, {"PathTestMaxHop", I}, {"PathTestInterval", I},
    {"SNMPPort", I}, {"SNMPTrapPort", I}, {"PingSuccessLog", B}, {"MaxNodeNumber", I}, {"SeedIpFile", T},
    {"EventLogging Critical", B}, {"PingTimeThreshold", I},
};

// The factory text of every setting that has one. Among them, on purpose:
// the auto-discovery SNMP protocol -1 and both SNMP ports 0.
const std::map<std::string, std::string> kFactory = {
    {"DefaultPollingInterval", "600"}, {"DefaultDeleteInterval", "604800"}, {"DefaultDiscoveringInterval", "0"},
    {"DefaultDiscoveredNodeType", "3"}, {"DefaultLookupHostName", "true"}, {"DefaultDiscoverOnTrap", "true"},
    {"DefaultPollingPort", "true"}, {"DefaultKeepFilterTime", "600"}, {"ServerPort", "777"},
    {"ProviderPort", "2777"}, {"LogSaveLevel", "2"}, {"LogMaxNumber", "100000"}, {"TaskMaxSample", "20000"},
    {"UsingBroadcast", "true"}, {"TelnetCheck", "false"}, {"HttpCheck", "false"}, {"RetryCountDiscover", "2"},
    {"TimeoutDiscover", "1"}, {"RetryCountPolling", "2"}, {"RetryCountPollingForPing6", "2"},
    {"TimeoutPolling", "2"}, {"TimeoutPollingForPing6", "2"}, {"RetryCountSNMP", "1"}, {"TimeoutSNMP", "1"},
    {"PingInterval", "50"}, {"RetryCountDiscoverForPing", "2"}, {"RetryCountPollingForPing", "2"},
    {"TimeoutDiscoverForPing", "1"}, {"TimeoutPollingForPing", "2"}, {"CheckVlanNetAddress", "true"},
    {"MaxPathNumber", "100"}, {"PollingTimer", "1"}, {"AutoDiscoverManager", "true"}, {"PollingManager", "true"},
    {"TrapManager", "true"}, {"UsingHostList", "false"}, {"ResetAtStarting", "false"}, {"UsingOrvaTree", "false"},
    {"UseSysName", "false"}, {"UseIfDescr", "false"}, {"Tracer", "false"}, {"TrapDataMax", "50"},
    {"TrapAttackInterval", "60"}, {"TrapAttackNumber", "200"}, {"DBFileSizeLimit", "0"}, {"IsFQDN", "false"},
    {"PathTestQueries", "100"}, {"PathTestTimeout", "1"}, {"PathTestDataSize", "32"}, {"PathTestMaxHop", "30"},
    {"PathTestInterval", "10"}, {"SNMPPort", "0"}, {"SNMPTrapPort", "0"}, {"PingSuccessLog", "true"},
    {"MaxNodeNumber", "1000"}, {"DispMacNode", "true"}, {"EnableTrapFilter", "true"},
    {"CountOverflowPolicy", "1"}, {"EnableTrapReceiverCheck", "true"}, {"EnableUsingHostListPing", "true"},
    {"FstVlanEgress", "true"}, {"PollingManagerBlockadeTime", "10"}, {"DefaultAutoDiscoverSNMPProto", "-1"},
    {"EventLogging Critical", "true"}, {"PingTimeThreshold", "0"}, {"DefaultReadCommunity", "public"},
    {"DefaultWriteCommunity", "private"}, {"DefaultCommunity", "public"}, {"IfTypes", "6,7,23"},
    {"NodeStatusList", "0,1,2,1,1,1,2,1,2"}, {"TrayIconString", "OrvaManager is cool!"},
};

// A private instance over the store of the current test (the singleton keeps
// the store it was created with).
class Values : public DefaultValues {
 public:
  using DefaultValues::getString;
};

// Runs omconsole with `args`; returns its exit status and standard output.
// Runs omconsole with `args`; its standard output in `out` and, with `err`,
// its standard error in `err` instead of the output.
int console(const std::string& args, std::string* out = nullptr, bool err = false) {
  FILE* p = popen((std::string(OMCONSOLE) + " " + args + (err ? " 2>&1 >/dev/null" : " 2>/dev/null")).c_str(), "r");
  std::string text;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, p)) > 0;) text.append(buffer, n);
  const int status = pclose(p);
  if (out != nullptr) *out = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class DefaultValuesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/omlib-config-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    home_ = dir;
    setenv("OMLIB_HOME", home_.c_str(), 1);
    setenv("OMLIB_USER_HOME", home_.c_str(), 1);
  }
  void TearDown() override { std::filesystem::remove_all(home_); }

  std::string home_;
};

TEST_F(DefaultValuesTest, MissingKeyReadsMissingValues) {
  Values v;
  EXPECT_FALSE(v.valid());
  EXPECT_EQ(v.getDataFile(), "");
  EXPECT_EQ(v.getPollingInterval(), 0);
  EXPECT_FALSE(v.getPollingManager());
  EXPECT_EQ(v.getLogSaveLevel(), log_def::LOGLEVEL_USER);
  EXPECT_FALSE(v.setPollingInterval(5));
  EXPECT_EQ(console("config get PollingTimer"), 1);
}

TEST_F(DefaultValuesTest, TextRules) {
  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, kKey));
  Values v;
  ASSERT_TRUE(v.valid());
  CRegistry raw(HKEY_LOCAL_MACHINE, kKey);
  const std::map<std::string, std::pair<int, bool>> cases = {
      // stored text -> (integer read, boolean read)
      {"TRUE", {0, true}},   {"True", {0, true}}, {"true", {0, true}}, {"1", {1, false}},
      {"yes", {0, false}},   {"abc", {0, false}}, {"-5", {-5, false}}, {"42abc", {42, false}},
      {"", {0, false}},      {" 7", {7, false}},
      // Beyond the int range a number is held at the limit, as a 32-bit conversion holds it.
      {"2147483647", {INT_MAX, false}}, {"2147483648", {INT_MAX, false}}, {"99999999999", {INT_MAX, false}},
      {"-2147483649", {INT_MIN, false}},
  };
  for (const auto& [text, expected] : cases) {
    ASSERT_TRUE(raw.setValue("MaxNodeNumber", text));
    ASSERT_TRUE(raw.setValue("DefaultPollingPort", text));
    EXPECT_EQ(v.getMaxNodeNumber(), expected.first) << text;
    EXPECT_EQ(v.getPollingPort(), expected.second) << text;
  }
  // LogSaveLevel: absent or empty is 1, otherwise the number, "abc" giving 0.
  EXPECT_EQ(v.getLogSaveLevel(), 1);
  ASSERT_TRUE(raw.setValue("LogSaveLevel", "0"));
  EXPECT_EQ(v.getLogSaveLevel(), 0);
  ASSERT_TRUE(raw.setValue("LogSaveLevel", "abc"));
  EXPECT_EQ(v.getLogSaveLevel(), 0);
  // Setters write the documented texts and check nothing.
  EXPECT_TRUE(v.setPingTimeThreshold(-5));
  EXPECT_EQ(v.getString("PingTimeThreshold"), "-5");
  EXPECT_EQ(v.getPingTimeThreshold(), -5);
  EXPECT_TRUE(v.setCountPolicy(CCounterValue::CountAsOverflow));
  EXPECT_EQ(v.getCountPolicy(), CCounterValue::CountAsOverflow);
  // The table's writers read text as the getters do.
  for (const char* text : {"TRUE", "True"}) {
    ASSERT_TRUE(DefaultValues::findSetting("UseSysName")->write(v, text));
    EXPECT_EQ(v.getString("UseSysName"), "true") << text;
  }
  ASSERT_TRUE(DefaultValues::findSetting("MaxNodeNumber")->write(v, "99999999999"));
  EXPECT_EQ(v.getMaxNodeNumber(), INT_MAX);
}

TEST(DefaultValuesTable, NamesEverySettingInOrderWithItsKind) {
  std::vector<std::pair<std::string, DefaultValues::Kind>> listed;
  for (const DefaultValues::Setting& s : DefaultValues::settings()) listed.emplace_back(s.name, s.kind);
  EXPECT_EQ(listed, kSettings);
}

// Every setting written here is read by another process, and what another
// process writes is read here at once: nothing is cached.
TEST_F(DefaultValuesTest, EverySettingCrossesProcesses) {
  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, kKey));
  Values v;
  std::map<std::string, std::string> written;
  int n = 0;
  for (const DefaultValues::Setting& s : DefaultValues::settings()) {
    ++n;
    const std::string text = s.kind == DefaultValues::kText ? "v" + std::to_string(n)
                             : s.kind == DefaultValues::kInt ? std::to_string(1000 + n)
                                                             : (n % 2 ? "true" : "false");
    ASSERT_TRUE(s.write(v, text)) << s.name;
    written[s.name] = text;
  }
  for (const auto& [name, text] : written) {
    std::string out;
    ASSERT_EQ(console("config get \"" + name + "\"", &out), 0) << name;
    EXPECT_EQ(out, text + "\n") << name;
  }
  ASSERT_EQ(console("config set TimeoutPolling 77"), 0);
  EXPECT_EQ(v.getTimeoutPolling(), 77);
  ASSERT_EQ(console("config set UseSysName false"), 0);
  EXPECT_FALSE(v.getUseSysName());
  ASSERT_EQ(console("config set \"EventLogging Critical\" true"), 0);
  EXPECT_TRUE(v.isEventLoggingCritical());
}

TEST_F(DefaultValuesTest, ConsoleSetChecksTypesAndWritesNothingOnError) {
  ASSERT_EQ(console("config reset"), 0);
  Values v;
  EXPECT_EQ(console("config set MaxNodeNumber abc"), 1);
  EXPECT_EQ(console("config set MaxNodeNumber 99999999999"), 1);
  EXPECT_EQ(console("config set UseSysName yes"), 1);
  EXPECT_EQ(console("config set NoSuchSetting 1"), 1);
  EXPECT_EQ(console("config set MaxNodeNumber"), 2);
  EXPECT_EQ(v.getMaxNodeNumber(), 1000);
  EXPECT_FALSE(v.getUseSysName());
  EXPECT_EQ(console("config set MaxNodeNumber -3"), 0);
  EXPECT_EQ(v.getMaxNodeNumber(), -3);
  // A long rejected value is quoted cut, whole characters only.
  std::string message;
  EXPECT_EQ(console("config set MaxNodeNumber " + std::string(5000, '9'), &message, true), 1);
  EXPECT_EQ(message, "omconsole: MaxNodeNumber is an integer setting: '" + std::string(40, '9') +
                         "...' (5000 bytes) is not an integer\n");
  EXPECT_EQ(console("config set UseSysName " + std::string(39, 'y') + "\u00e9\u00e9", &message, true), 1);
  EXPECT_EQ(message, "omconsole: UseSysName is a boolean setting: use true or false, not '" + std::string(39, 'y') +
                         "...' (43 bytes)\n");
}

TEST_F(DefaultValuesTest, ResetWritesFactoryValues) {
  ASSERT_EQ(console("config reset"), 0);
  Values v;
  ASSERT_TRUE(v.valid());
  // Each setting with a factory value holds exactly its text; the others
  // (installation paths) stay unwritten.
  for (const auto& [name, kind] : kSettings) {
    const auto factory = kFactory.find(name);
    const std::string expected = factory == kFactory.end() ? "" : factory->second;
    EXPECT_EQ(v.getString(name.c_str()), expected) << name;
    EXPECT_EQ(ResetValues::factoryText(name.c_str()) != nullptr, factory != kFactory.end()) << name;
  }
  // The misspelt twin constants hold what their partners hold.
  EXPECT_EQ(ResetValues::m_cnPollingTimmer, ResetValues::m_cnPollingTimer);
  EXPECT_EQ(ResetValues::m_cbEnableTrapReceverCheck, int{ResetValues::m_cbEnableTrapReceiverCheck});

  // --missing-only keeps what is there and fills what is not.
  ASSERT_TRUE(v.setPollingInterval(5));
  CRegistry(HKEY_LOCAL_MACHINE, kKey).deleteValue("TrapDataMax");
  ASSERT_EQ(console("config reset --missing-only"), 0);
  EXPECT_EQ(v.getPollingInterval(), 5);
  EXPECT_EQ(v.getTrapDataMax(), 50);
  ASSERT_EQ(console("config reset"), 0);
  EXPECT_EQ(v.getPollingInterval(), 600);
}

TEST_F(DefaultValuesTest, ShowListsEverySettingWithItsFactoryValue) {
  ASSERT_EQ(console("config reset"), 0);
  std::string json;
  ASSERT_EQ(console("config show --json", &json), 0);
  EXPECT_NE(json.find("{\"name\": \"DefaultPollingInterval\", \"type\": \"int\", \"value\": \"600\", "
                      "\"set\": true, \"factory\": \"600\"}"),
            std::string::npos);
  EXPECT_NE(json.find("{\"name\": \"DataFile\", \"type\": \"text\", \"value\": \"\", \"set\": false, "
                      "\"factory\": null}"),
            std::string::npos);
  size_t entries = 0;
  for (size_t at = json.find("{\"name\""); at != std::string::npos; at = json.find("{\"name\"", at + 1)) ++entries;
  EXPECT_EQ(entries, 89u);
}

TEST_F(DefaultValuesTest, ExportAndImportTheSettingsKeyOnly) {
  ASSERT_EQ(console("config reset"), 0);
  const std::string file = home_ + "/settings.reg";
  ASSERT_EQ(console("config export " + file), 0);
  ASSERT_EQ(console("config set PollingTimer 9"), 0);
  ASSERT_EQ(console("config import " + file), 0);
  Values v;
  EXPECT_EQ(v.getPollingTimer(), 1);

  // A file that reaches outside the settings key is refused whole.
  const std::string other = home_ + "/other.reg";
  FILE* f = fopen(other.c_str(), "w");
  fputs("REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n\"PollingTimer\"=\"5\"\r\n\r\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Elsewhere]\r\n\"x\"=\"1\"\r\n", f);
  fclose(f);
  EXPECT_EQ(console("config import " + other), 1);
  EXPECT_EQ(v.getPollingTimer(), 1);
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Elsewhere"));
}

TEST(DefaultValuesSingleton, OneInstance) {
  EXPECT_EQ(DefaultValues::getDefault(), DefaultValues::getDefault());
  EXPECT_NE(DefaultValues::findSetting("logsavelevel"), nullptr);
  EXPECT_EQ(DefaultValues::findSetting("nope"), nullptr);
}

}  // namespace
