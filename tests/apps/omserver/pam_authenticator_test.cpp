// Logins through PAM (a private configuration checking a password file),
// what is remembered of them and for how long, and who may call.
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <thread>

#include "PamAuthenticator.h"
#include "ServerTestSupport.h"

namespace omserver {
namespace {

using namespace std::chrono_literals;
using servertest::PamFixture;
using servertest::TempDir;

class PamAuthenticatorTest : public ::testing::Test {
 protected:
  PamAuthenticatorTest() { pam_.setPasswords({{"daemon", "secret"}, {"alice", "wonder"}}); }

  PamAuthenticator::Settings settings(std::chrono::seconds cacheTime = 60s) const {
    return {"daemon", pam_.confDir(), cacheTime};
  }

  TempDir dir_;
  PamFixture pam_{dir_.path()};
};

TEST_F(PamAuthenticatorTest, TheRightPasswordAloneLogsIn) {
  PamAuthenticator access(settings());
  EXPECT_EQ(access.authenticate("daemon", "secret", "127.0.0.1"), "");
  EXPECT_EQ(access.authenticate("alice", "wonder", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("daemon", "Secret", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("daemon", "wonder", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("daemon", "", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("bob", "secret", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("", "secret", "127.0.0.1"), "");
}

TEST_F(PamAuthenticatorTest, UserAndPasswordAreNotConfusedAcrossTheSeparator) {
  PamAuthenticator access(settings());
  ASSERT_EQ(access.authenticate("alice", "wonder", "127.0.0.1"), "");
  pam_.setPasswords({});
  // The same bytes split differently are another login, not the remembered one.
  EXPECT_NE(access.authenticate("alicew", "onder", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("alic", "ewonder", "127.0.0.1"), "");
}

TEST_F(PamAuthenticatorTest, ASuccessIsRememberedForTheCacheTime) {
  PamAuthenticator access(settings());
  ASSERT_EQ(access.authenticate("daemon", "secret", "127.0.0.1"), "");
  pam_.setPasswords({{"daemon", "changed"}});
  EXPECT_EQ(access.authenticate("daemon", "secret", "127.0.0.1"), "");  // not asked again
  EXPECT_EQ(access.authenticate("daemon", "changed", "127.0.0.1"), "");
  EXPECT_NE(access.authenticate("alice", "wonder", "127.0.0.1"), "");  // never remembered
}

TEST_F(PamAuthenticatorTest, ARememberedSuccessExpires) {
  PamAuthenticator access(settings(1s));
  ASSERT_EQ(access.authenticate("daemon", "secret", "127.0.0.1"), "");
  pam_.setPasswords({});
  std::this_thread::sleep_for(1100ms);
  EXPECT_NE(access.authenticate("daemon", "secret", "127.0.0.1"), "");
}

TEST_F(PamAuthenticatorTest, WithoutACacheTimeEveryLoginAsksPam) {
  PamAuthenticator access(settings(0s));
  ASSERT_EQ(access.authenticate("daemon", "secret", "127.0.0.1"), "");
  pam_.setPasswords({});
  EXPECT_NE(access.authenticate("daemon", "secret", "127.0.0.1"), "");
}

TEST_F(PamAuthenticatorTest, AFailureIsNeverRemembered) {
  PamAuthenticator access(settings());
  ASSERT_NE(access.authenticate("daemon", "later", "127.0.0.1"), "");
  pam_.setPasswords({{"daemon", "later"}});
  EXPECT_EQ(access.authenticate("daemon", "later", "127.0.0.1"), "");
}

TEST_F(PamAuthenticatorTest, LoginsFromManyThreadsAtOnceAllGetTheirAnswer) {
  PamAuthenticator access(settings(0s));
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  std::atomic<int> wrong{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      const bool good = i % 2 == 0;
      const std::string result = access.authenticate("daemon", good ? "secret" : "nope", "127.0.0.1");
      if (result.empty() == good) ++(good ? right : wrong);
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(right, 4);
  EXPECT_EQ(wrong, 4);
}

TEST_F(PamAuthenticatorTest, AMissingConfigurationLogsNobodyIn) {
  PamAuthenticator access({"daemon", dir_.path() + "/nowhere", 60s});
  EXPECT_NE(access.authenticate("daemon", "secret", "127.0.0.1"), "");
}

TEST(PamAccess, RootAndMembersOfTheGroupMayCall) {
  PamAuthenticator access({"daemon", "", 60s});
  EXPECT_TRUE(access.isAllowed("root"));
  EXPECT_TRUE(access.isAllowed("daemon"));  // its primary group
  EXPECT_FALSE(access.isAllowed("nobody"));
  EXPECT_FALSE(access.isAllowed("no-such-user-omserver"));
  EXPECT_FALSE(access.isAllowed(""));
  EXPECT_EQ(access.groupId(), std::optional<gid_t>(1));
}

TEST(PamAccess, WithoutSuchAGroupOnlyRootMayCall) {
  PamAuthenticator access({"no-such-group-omserver", "", 60s});
  EXPECT_FALSE(access.groupId());
  EXPECT_TRUE(access.isAllowed("root"));
  EXPECT_FALSE(access.isAllowed("daemon"));
}

TEST(PamAccess, SupplementaryMembersMayCall) {
  // A member listed in the group database whose primary group is another.
  std::string groupName;
  std::string member;
  setgrent();
  for (const group* g = getgrent(); g != nullptr && member.empty(); g = getgrent()) {
    for (char** name = g->gr_mem; *name != nullptr && member.empty(); ++name) {
      const passwd* user = getpwnam(*name);
      if (user != nullptr && user->pw_gid != g->gr_gid && user->pw_uid != 0) {
        groupName = g->gr_name;
        member = *name;
      }
    }
  }
  endgrent();
  if (member.empty()) GTEST_SKIP() << "no supplementary member in this system's group database";
  EXPECT_TRUE(PamAuthenticator({groupName, "", 60s}).isAllowed(member));
  EXPECT_FALSE(PamAuthenticator({"no-such-group-omserver", "", 60s}).isAllowed(member));
}

TEST(PamAccess, LocalPeersMayBeRootTheServersUserOrMembers) {
  PamAuthenticator access({"daemon", "", 60s});
  EXPECT_TRUE(access.isAllowedLocal(0, "root"));
  EXPECT_TRUE(access.isAllowedLocal(geteuid(), servertest::userName(geteuid())));
  EXPECT_TRUE(access.isAllowedLocal(1, "daemon"));
  if (geteuid() != 65534) {
    EXPECT_FALSE(access.isAllowedLocal(65534, "nobody"));
  }
}

}  // namespace
}  // namespace omserver
