#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>

#include <om/RegistryStore.h>
#include <om/codepage.h>
#include <omtools/Registry.h>

#include "RegistryTestSupport.h"
#include "registry_helper.h"

namespace {

using om::RegKeyPath;
using om::RegTransaction;
using om::RegValue;
using regtest::Child;

const char kHelper[] = OM_REGISTRY_HELPER;
const tstring kProductKey = "SOFTWARE\\Velmoran\\OrvaManager";

class Registry : public regtest::RegistryTest {};

// Sets (or, with null, unsets) an environment variable for its lifetime.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    const char* old = std::getenv(name);
    if (old != nullptr) old_ = old;
    value == nullptr ? unsetenv(name) : setenv(name, value, 1);
  }
  ~ScopedEnv() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST_F(Registry, MissingKeyIsNotOpenAndEveryCallFailsCleanly) {
  SetLastError(0);
  CRegistry reg(HKEY_LOCAL_MACHINE, kProductKey);
  EXPECT_FALSE(reg.isOpen());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(reg.getHive(), HKEY_LOCAL_MACHINE);
  EXPECT_EQ(reg.getPath(), kProductKey);

  tstring text = "untouched";
  DWORD number = 7;
  std::vector<tstring> names{"x"};
  EXPECT_FALSE(reg.getValue("DataFile", text));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_FALSE(reg.getDWORDValue("DataFile", number));
  EXPECT_FALSE(reg.setValue("DataFile", "x"));
  EXPECT_FALSE(reg.setDWORDValue("DataFile", 1));
  EXPECT_FALSE(reg.deleteValue("DataFile"));
  EXPECT_FALSE(reg.enumSubkeys(names));
  EXPECT_FALSE(reg.enumValues(names));
  EXPECT_FALSE(reg.createSubkey("Sub"));
  EXPECT_FALSE(reg.deleteSubkey("Sub"));
  EXPECT_EQ(text, "untouched");
  EXPECT_EQ(number, 7u);
  EXPECT_EQ(names, std::vector<tstring>{"x"});
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, kProductKey));
  EXPECT_FALSE(CRegistry::deleteKey(HKEY_LOCAL_MACHINE, kProductKey));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  // Reading never creates the store.
  EXPECT_FALSE(std::filesystem::exists(home_ / "machine"));

  // The hive's root always exists; other hives are unknown here.
  EXPECT_TRUE(CRegistry(HKEY_CURRENT_USER, "").isOpen());
  EXPECT_FALSE(CRegistry(HKEY_USERS, "").isOpen());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_FALSE(CRegistry::createKey(HKEY_CLASSES_ROOT, "x"));
  EXPECT_FALSE(std::filesystem::exists(home_ / "user"));
}

TEST_F(Registry, KeysAndValuesLifeCycle) {
  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, kProductKey + "\\Sub\\Deeper"));
  EXPECT_TRUE(std::filesystem::exists(home_ / "machine" / "registry" / "machine" / "data.mdb"));
  EXPECT_TRUE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Velmoran"));  // parents were created
  EXPECT_FALSE(CRegistry::keyExists(HKEY_CURRENT_USER, kProductKey));          // hives are apart

  CRegistry reg(HKEY_LOCAL_MACHINE, kProductKey);
  ASSERT_TRUE(reg.isOpen());
  EXPECT_TRUE(reg.setValue("DataFile", "C:\\data\\om.dat"));
  EXPECT_TRUE(reg.setValue("", "default"));
  EXPECT_TRUE(reg.setDWORDValue("ServerPort", 8080));
  EXPECT_TRUE(reg.setDWORDValue("Max", 0xFFFFFFFF));

  tstring text;
  EXPECT_TRUE(reg.getValue("DataFile", text));
  EXPECT_EQ(text, "C:\\data\\om.dat");
  EXPECT_TRUE(reg.getValue("", text));
  EXPECT_EQ(text, "default");
  // A REG_DWORD reads as its unsigned decimal text.
  EXPECT_TRUE(reg.getValue("ServerPort", text));
  EXPECT_EQ(text, "8080");
  EXPECT_TRUE(reg.getValue("Max", text));
  EXPECT_EQ(text, "4294967295");
  DWORD number = 0;
  EXPECT_TRUE(reg.getDWORDValue("ServerPort", number));
  EXPECT_EQ(number, 8080u);
  EXPECT_FALSE(reg.getDWORDValue("DataFile", number));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_DATA));
  EXPECT_EQ(number, 8080u);
  // Replacing a value changes its type too.
  EXPECT_TRUE(reg.setValue("ServerPort", "80"));
  EXPECT_FALSE(reg.getDWORDValue("ServerPort", number));

  text = "kept";
  EXPECT_FALSE(reg.getValue("Missing", text));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(text, "kept");
  EXPECT_TRUE(reg.deleteValue("DataFile"));
  EXPECT_FALSE(reg.getValue("DataFile", text));
  EXPECT_FALSE(reg.deleteValue("DataFile"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));

  // Subkeys relative to an open key; deleting one takes its subtree.
  EXPECT_TRUE(reg.createSubkey("Other\\Leaf"));
  CRegistry deeper(HKEY_LOCAL_MACHINE, kProductKey + "\\Sub\\Deeper");
  ASSERT_TRUE(deeper.isOpen());
  EXPECT_TRUE(deeper.setValue("v", "1"));
  EXPECT_TRUE(reg.deleteSubkey("Sub"));
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, kProductKey + "\\Sub\\Deeper"));
  EXPECT_FALSE(deeper.getValue("v", text));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_KEY_DELETED));
  EXPECT_FALSE(deeper.setValue("v", "2"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_KEY_DELETED));
  EXPECT_FALSE(deeper.createSubkey("Again"));
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, kProductKey + "\\Sub"));
  EXPECT_FALSE(reg.deleteSubkey(""));  // never the key itself
  EXPECT_FALSE(reg.deleteSubkey("Sub"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  // A key re-created under the same name starts empty.
  EXPECT_TRUE(reg.createSubkey("Sub\\Deeper"));
  std::vector<tstring> names;
  EXPECT_TRUE(deeper.enumValues(names));
  EXPECT_TRUE(names.empty());

  EXPECT_FALSE(CRegistry::deleteKey(HKEY_LOCAL_MACHINE, ""));  // the hive itself
  EXPECT_TRUE(CRegistry::deleteKey(HKEY_LOCAL_MACHINE, "software"));
  EXPECT_FALSE(reg.setValue("x", "y"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_KEY_DELETED));
  EXPECT_TRUE(CRegistry(HKEY_LOCAL_MACHINE, "").enumSubkeys(names));
  EXPECT_TRUE(names.empty());
}

TEST_F(Registry, NamesIgnoreCaseButKeepIt) {
  ASSERT_TRUE(CRegistry::createKey(HKEY_CURRENT_USER, "Software\\Velmoran\\Orva Manager"));
  CRegistry reg(HKEY_CURRENT_USER, "SOFTWARE\\velmoran\\ORVA MANAGER");
  ASSERT_TRUE(reg.isOpen());
  EXPECT_TRUE(reg.setValue("LoginUserName", "admin"));
  EXPECT_TRUE(reg.setValue("LOGINUSERNAME", "root"));  // the same value
  tstring text;
  EXPECT_TRUE(reg.getValue("loginusername", text));
  EXPECT_EQ(text, "root");
  // Creating a key again under another case keeps the first spelling.
  EXPECT_TRUE(CRegistry::createKey(HKEY_CURRENT_USER, "software\\VELMORAN"));
  EXPECT_TRUE(reg.setValue("beta", "b"));
  EXPECT_TRUE(reg.setValue("Alpha", "a"));
  EXPECT_TRUE(reg.setValue("GAMMA", "c"));
  EXPECT_TRUE(reg.createSubkey("zeta"));
  EXPECT_TRUE(reg.createSubkey("Eta"));
  EXPECT_TRUE(reg.createSubkey("ETA\\x"));

  std::vector<tstring> names;
  EXPECT_TRUE(reg.enumValues(names));
  EXPECT_EQ(names, (std::vector<tstring>{"Alpha", "beta", "GAMMA", "LoginUserName"}));
  EXPECT_TRUE(reg.enumSubkeys(names));
  EXPECT_EQ(names, (std::vector<tstring>{"Eta", "zeta"}));
  EXPECT_TRUE(CRegistry(HKEY_CURRENT_USER, "").enumSubkeys(names));
  EXPECT_EQ(names, std::vector<tstring>{"Software"});
  EXPECT_TRUE(CRegistry(HKEY_CURRENT_USER, "Software").enumSubkeys(names));
  EXPECT_EQ(names, std::vector<tstring>{"Velmoran"});

  // Only ASCII letters fold: full-width "Ａ" (82 60) and "ａ" (82 81) differ,
  // and so do "ア" (83 41) and "ャ" (83 61), whose trail bytes look like
  // 'A' and 'a'.
  for (const char* name : {"\x82\x60", "\x82\x81", "\x83\x41", "\x83\x61"}) {
    EXPECT_TRUE(reg.createSubkey(tstring("dbcs\\") + name));
    EXPECT_TRUE(reg.setValue(name, name));
  }
  EXPECT_TRUE(CRegistry(HKEY_CURRENT_USER, "Software\\Velmoran\\Orva Manager\\dbcs").enumSubkeys(names));
  EXPECT_EQ(names.size(), 4u);
  EXPECT_TRUE(reg.getValue("\x83\x41", text));
  EXPECT_EQ(text, "\x83\x41");
  EXPECT_TRUE(reg.getValue("\x83\x61", text));
  EXPECT_EQ(text, "\x83\x61");
}

TEST_F(Registry, Cp932NamesWithTrailByte5C) {
  // "表" is 95 5C and "ソ" 83 5C: their second byte is a backslash.
  const tstring hyou = om::utf8ToCp932("表示");
  const tstring so = om::utf8ToCp932("ソフト");
  ASSERT_EQ(hyou.substr(0, 2), "\x95\x5C");
  EXPECT_EQ(RegKeyPath("A\\" + hyou + "\\" + so).components(), (std::vector<std::string>{"A", hyou, so}));
  EXPECT_EQ(RegKeyPath("\\a\\\\b\\").components(), (std::vector<std::string>{"a", "b"}));

  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\" + hyou + "\\" + so));
  std::vector<tstring> names;
  EXPECT_TRUE(CRegistry(HKEY_LOCAL_MACHINE, "SOFTWARE").enumSubkeys(names));
  EXPECT_EQ(names, std::vector<tstring>{hyou});
  CRegistry reg(HKEY_LOCAL_MACHINE, "software\\" + hyou + "\\" + so);
  ASSERT_TRUE(reg.isOpen());
  EXPECT_TRUE(reg.setValue(so + "\\" + hyou, hyou));
  tstring text;
  EXPECT_TRUE(reg.getValue(so + "\\" + hyou, text));
  EXPECT_EQ(text, hyou);
  // A key named by the lead byte alone is another key.
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\\x95"));

  // Names that cannot be stored fail cleanly.
  EXPECT_FALSE(CRegistry::createKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\bad\x01name"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_FALSE(reg.setValue(std::string(600, 'n'), "too long"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_FALSE(reg.getValue(std::string(600, 'n'), text));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_FALSE(reg.setValue(std::string("a\0b", 3), "nul"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(Registry, TypedValuesAndTheirText) {
  const RegKeyPath key("SOFTWARE\\Types");
  {
    RegTransaction txn(om::RegHive::kLocalMachine, RegTransaction::kWrite);
    ASSERT_EQ(txn.status(), static_cast<DWORD>(ERROR_SUCCESS));
    ASSERT_EQ(txn.createKey(key), static_cast<DWORD>(ERROR_SUCCESS));
    txn.setValue(key, "multi", RegValue::multiString({"one", "", "two"}));
    txn.setValue(key, "qword", RegValue::qword(0x123456789ULL));
    txn.setValue(key, "expand", RegValue::text("%TEMP%\\x", REG_EXPAND_SZ));
    txn.setValue(key, "binary", RegValue{REG_BINARY, std::string("\x01\x00\xff", 3)});
    txn.setValue(key, "shortdword", RegValue{REG_DWORD, "\x01\x02"});
    // Nothing is visible before the commit.
    EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Types"));
    ASSERT_EQ(txn.commit(), static_cast<DWORD>(ERROR_SUCCESS));
  }
  CRegistry reg(HKEY_LOCAL_MACHINE, "SOFTWARE\\Types");
  tstring text;
  EXPECT_TRUE(reg.getValue("multi", text));
  EXPECT_EQ(text, "one\ntwo");
  EXPECT_TRUE(reg.getValue("qword", text));
  EXPECT_EQ(text, "4886718345");
  EXPECT_TRUE(reg.getValue("expand", text));
  EXPECT_EQ(text, "%TEMP%\\x");
  EXPECT_TRUE(reg.getValue("binary", text));
  EXPECT_EQ(text, std::string("\x01\x00\xff", 3));
  text = "kept";
  EXPECT_FALSE(reg.getValue("shortdword", text));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_DATA));
  EXPECT_EQ(text, "kept");

  RegTransaction txn(om::RegHive::kLocalMachine, RegTransaction::kRead);
  RegValue multi;
  ASSERT_EQ(txn.getValue(key, "MULTI", &multi), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_EQ(multi.data, std::string("one\0two\0\0", 9));
  EXPECT_EQ(multi.multiStrings(), (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(txn.createKey(RegKeyPath("x")), static_cast<DWORD>(ERROR_ACCESS_DENIED));  // read-only
}

TEST_F(Registry, LocationFollowsTheEnvironment) {
  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\First"));
  setenv("OMLIB_HOME", (home_ / "elsewhere").c_str(), 1);
  EXPECT_EQ(om::regStoreDirectory(om::RegHive::kLocalMachine), (home_ / "elsewhere/registry/machine").string());
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\First"));
  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Second"));
  setenv("OMLIB_HOME", (home_ / "machine").c_str(), 1);
  EXPECT_TRUE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\First"));
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Second"));

  EXPECT_EQ(om::regStoreDirectory(om::RegHive::kCurrentUser), (home_ / "user/registry/user").string());
  {
    ScopedEnv userHome("OMLIB_USER_HOME", nullptr);
    ScopedEnv config("XDG_CONFIG_HOME", "/cfg");
    EXPECT_EQ(om::regStoreDirectory(om::RegHive::kCurrentUser), "/cfg/omlib/registry/user");
    ScopedEnv noConfig("XDG_CONFIG_HOME", nullptr);
    ScopedEnv home("HOME", "/home/someone");
    EXPECT_EQ(om::regStoreDirectory(om::RegHive::kCurrentUser), "/home/someone/.config/omlib/registry/user");
  }
  EXPECT_EQ(om::regStoreDirectory(om::RegHive::kCurrentUser), (home_ / "user/registry/user").string());
}

TEST_F(Registry, ValuesAreSeenAcrossProcesses) {
  ASSERT_TRUE(CRegistry::createKey(HKEY_LOCAL_MACHINE, kProductKey));
  CRegistry reg(HKEY_LOCAL_MACHINE, kProductKey);
  ASSERT_TRUE(reg.setValue("Target", "from parent"));

  Child get({kHelper, "get", kProductKey, "TARGET"});
  EXPECT_EQ(get.wait(), 0);
  EXPECT_EQ(get.output(), "from parent");

  // The accessor opened before reads what the other process committed.
  Child set({kHelper, "set", kProductKey, "target", "from child"});
  EXPECT_EQ(set.wait(), 0);
  tstring text;
  EXPECT_TRUE(reg.getValue("Target", text));
  EXPECT_EQ(text, "from child");

  Child missing({kHelper, "get", kProductKey, "Nothing"});
  EXPECT_EQ(missing.wait(), 1);
}

TEST_F(Registry, FourWriterProcessesLoseNothing) {
  const tstring key = "SOFTWARE\\Concurrent";
  constexpr int kWriters = 4;
  constexpr int kValues = 1000;
  std::vector<std::unique_ptr<Child>> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.push_back(std::make_unique<Child>(
        std::vector<std::string>{kHelper, "write", key, "w" + std::to_string(w) + "-", std::to_string(kValues)}));
  }
  for (auto& w : writers) EXPECT_EQ(w->wait(), 0) << w->errors();

  RegTransaction txn(om::RegHive::kLocalMachine, RegTransaction::kRead);
  std::vector<om::RegNamedValue> values;
  ASSERT_EQ(txn.enumValues(RegKeyPath(key), &values), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_EQ(values.size(), static_cast<size_t>(kWriters * kValues));
  std::map<std::string, int> perWriter;
  for (const om::RegNamedValue& v : values) {
    EXPECT_EQ(v.value, RegValue::text(regtest::helperValue(v.name, 40))) << v.name;
    ++perWriter[v.name.substr(0, v.name.find('-'))];
  }
  for (int w = 0; w < kWriters; ++w) EXPECT_EQ(perWriter["w" + std::to_string(w)], kValues);
}

// Reads the batches the helper committed: every value must belong to a batch
// up to "last", be complete, and every batch must be whole.
DWORD checkBatches(const RegKeyPath& key) {
  RegTransaction txn(om::RegHive::kLocalMachine, RegTransaction::kRead);
  RegValue lastValue;
  DWORD last = 0;
  EXPECT_EQ(txn.getValue(key, "last", &lastValue), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_TRUE(lastValue.getDword(&last));
  std::vector<om::RegNamedValue> values;
  EXPECT_EQ(txn.enumValues(key, &values), static_cast<DWORD>(ERROR_SUCCESS));
  std::map<unsigned, int> perBatch;
  for (const om::RegNamedValue& v : values) {
    if (v.name == "last") continue;
    const unsigned batch = static_cast<unsigned>(std::stoul(v.name.substr(1)));
    EXPECT_LE(batch, last) << v.name;
    EXPECT_EQ(v.value, RegValue::text(regtest::helperValue(v.name, regtest::kBatchValueSize))) << v.name;
    ++perBatch[batch];
  }
  EXPECT_EQ(perBatch.size(), last);
  for (const auto& [batch, count] : perBatch) EXPECT_EQ(count, regtest::kBatchValues) << "batch " << batch;
  return last;
}

TEST_F(Registry, WriterKilledMidLoopLeavesAConsistentStore) {
  const tstring key = "SOFTWARE\\Batches";
  DWORD last = 0;
  for (int round = 0; round < 3; ++round) {
    Child writer({kHelper, "batches", key});
    ASSERT_TRUE(writer.started());
    // Wait until the writer is well into its loop, then kill it wherever it is.
    for (DWORD seen = 0; seen < last + 20;) {
      int status = 0;
      ASSERT_FALSE(writer.ended(&status)) << "writer ended with " << status << ": " << writer.errors();
      CRegistry(HKEY_LOCAL_MACHINE, key).getDWORDValue("last", seen);
      Sleep(1);
    }
    kill(writer.pid(), SIGKILL);
    EXPECT_EQ(writer.wait(), 128 + SIGKILL);
    const DWORD now = checkBatches(RegKeyPath(key));
    EXPECT_GE(now, last + 20);
    last = now;
  }
  // The store takes new writes, from this process and from another.
  CRegistry reg(HKEY_LOCAL_MACHINE, key);
  EXPECT_TRUE(reg.setValue("after", "kill"));
  Child set({kHelper, "set", key, "other", "process"});
  EXPECT_EQ(set.wait(), 0);
  tstring text;
  EXPECT_TRUE(reg.getValue("other", text));
  EXPECT_EQ(text, "process");
}

}  // namespace
