// An independent CIM-XML client, wbemcli, against omserver over HTTPS: it
// enumerates instances, gets one by its path and calls methods with
// parameters, and reads what omconsole and the library read.
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "ServerTestSupport.h"

namespace {

using servertest::ConsoleRun;
using servertest::Daemon;
using servertest::TempDir;

class InteropTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    home_ = new TempDir;
    daemon_ = new Daemon(OMSERVER, home_->path());
  }
  static void TearDownTestSuite() {
    delete daemon_;
    delete home_;
  }
  void SetUp() override {
    if (access(kWbemcli, X_OK) != 0) GTEST_SKIP() << kWbemcli << " is not installed (Debian sblim-wbemcli)";
    ASSERT_TRUE(daemon_->ready()) << daemon_->errors();
  }

  // wbemcli OPERATION on `object` of the product's namespace, with root's
  // login, trusting the daemon's certificate.
  static ConsoleRun wbemcli(const std::string& operation, const std::string& object,
                            const std::vector<std::string>& more = {}) {
    std::vector<std::string> args = {operation, "-nl", "-cacert", daemon_->certificate(),
                                     "https://root:" + std::string(servertest::kPassword) + "@" + daemon_->server() +
                                         "/root/Velmoran/OrvaManager:" + object};
    args.insert(args.end(), more.begin(), more.end());
    return servertest::console(kWbemcli, home_->path(), args);
  }
  static ConsoleRun omconsole(const std::vector<std::string>& args) {
    return servertest::console(OMCONSOLE, home_->path(), args);
  }

  // The values of the `-name="..."` or `-name=N` lines of wbemcli's -nl
  // output.
  static std::vector<std::string> values(const std::string& out, const std::string& name) {
    std::vector<std::string> found;
    std::istringstream lines(out);
    const std::string prefix = "-" + name + "=";
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind(prefix, 0) != 0) continue;
      std::string value = line.substr(prefix.size());
      if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
      found.push_back(value);
    }
    return found;
  }

  static constexpr const char* kWbemcli = "/usr/bin/wbemcli";
  static inline TempDir* home_ = nullptr;
  static inline Daemon* daemon_ = nullptr;
};

TEST_F(InteropTest, EnumeratesWhatTheConsoleReads) {
  const ConsoleRun objects = wbemcli("ei", "NetworkObject");
  ASSERT_EQ(objects.status, 0) << objects.err;
  const std::vector<std::string> names = values(objects.out, "ObjectName");
  ASSERT_FALSE(names.empty()) << objects.out;
  const ConsoleRun tree = omconsole({"tree"});
  ASSERT_EQ(tree.status, 0) << tree.err;
  for (const std::string& name : names) EXPECT_NE(tree.out.find(name), std::string::npos) << name << "\n" << tree.out;

  const ConsoleRun network = wbemcli("ei", "OrvaManagerNetwork");
  ASSERT_EQ(network.status, 0) << network.err;
  EXPECT_EQ(values(network.out, "NetworkName"), (std::vector<std::string>{"ネットワーク"})) << network.out;
  const ConsoleRun subnets = omconsole({"subnet", "list", "--json"});
  ASSERT_EQ(subnets.status, 0) << subnets.err;
  const std::vector<std::string> count = values(network.out, "NumberOfSubnets");
  ASSERT_EQ(count.size(), 1u) << network.out;
  size_t listed = 0;
  for (size_t at = subnets.out.find("\"name\""); at != std::string::npos; at = subnets.out.find("\"name\"", at + 1)) {
    ++listed;
  }
  EXPECT_EQ(std::to_string(listed), count[0]) << subnets.out;
}

TEST_F(InteropTest, GetsAnInstanceByItsPath) {
  const ConsoleRun all = wbemcli("ei", "NetworkObject");
  ASSERT_EQ(all.status, 0) << all.err;
  const std::string name = values(all.out, "ObjectName").at(0);
  const ConsoleRun one = wbemcli("gi", "NetworkObject.ObjectName=\"" + name + "\"");
  ASSERT_EQ(one.status, 0) << one.err;
  EXPECT_EQ(values(one.out, "ObjectName"), (std::vector<std::string>{name}));
  // The same properties as in the enumeration, for that instance.
  const size_t start = all.out.find("-ObjectName=\"" + name + "\"");
  const size_t end = all.out.find("\n" + daemon_->server(), start);
  const std::string enumerated = all.out.substr(start, end == std::string::npos ? end : end - start + 1);
  EXPECT_NE(one.out.find(enumerated), std::string::npos) << one.out << "\n---\n" << enumerated;

  const ConsoleRun missing = wbemcli("gi", "NetworkObject.ObjectName=\"ghost\"");
  EXPECT_NE(missing.status, 0);
  EXPECT_NE((missing.out + missing.err).find("CIM_ERR_NOT_FOUND"), std::string::npos) << missing.out << missing.err;
}

TEST_F(InteropTest, CallsMethodsWithParameters) {
  const ConsoleRun all = wbemcli("ei", "NetworkObject");
  const std::string name = values(all.out, "ObjectName").at(0);
  const ConsoleRun exists = wbemcli("cm", "NetworkObject", {"isExist.ObjectName=" + name});
  ASSERT_EQ(exists.status, 0) << exists.err;
  EXPECT_NE(exists.out.find("isExist: TRUE"), std::string::npos) << exists.out;
  const ConsoleRun ghost = wbemcli("cm", "NetworkObject", {"isExist.ObjectName=ghost"});
  EXPECT_NE(ghost.out.find("isExist: FALSE"), std::string::npos) << ghost.out;

  // An out parameter (an array) of a method that returns nothing: the
  // paths under which the console's tree shows the object.
  const ConsoleRun paths = wbemcli("cm", "NetworkObject", {"GetPathNames.ObjectName=" + name});
  ASSERT_EQ(paths.status, 0) << paths.err;
  EXPECT_NE(paths.out.find("PathNames (string): "), std::string::npos) << paths.out;
  EXPECT_NE(paths.out.find(name), std::string::npos) << paths.out;
}

}  // namespace
