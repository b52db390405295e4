// The polling manager over a tree of its own, its echo replaced by a table
// the test controls: statuses follow the answers, each change is logged once
// with the node's address and sysObjectID, nodes sharing an address are
// asked once, a sweep that cannot send leaves nodes unknown, and the manager
// polls by itself only while it is switched on; a node that goes down sets
// off the action of a filter on "down".
#include <gtest/gtest.h>

#include <stdlib.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "server/NetworkServer.h"
#include "server/actions/ActionRunner.h"
#include "server/polling/PollingManager.h"

namespace {

NetworkObjectBase node(const std::string& name, const std::string& address) {
  NetworkObjectBase object;
  object.setName(name);
  object.setObjectType(kObjectTypeNode);
  if (!address.empty()) object.addIpAddress(address);
  object.setSysObjectID("1.3.6.1.4.1.8072.3.2.10");
  return object;
}

class PollingManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const NetworkObjectBase& object :
         {node("a", "10.0.0.1"), node("b", "10.0.0.2"), node("a-too", "10.0.0.1"), node("v6", "")}) {
      ASSERT_TRUE(server_.tree.add(NetworkTree::physicalRootPath(), object));
    }
    server_.polling->sweep = [this](const std::vector<std::string>& addresses,
                                    const om::server::PollingManager::Report& report) {
      std::lock_guard<std::mutex> lock(mutex_);
      asked_.push_back(addresses);
      if (!canSend_) return EchoResult::kNotSent;
      for (const std::string& address : addresses) report(address, answering_.count(address) != 0);
      ++sweeps_;
      swept_.notify_all();
      return EchoResult::kAnswered;
    };
    server_.polling->pollOther = [](const NetworkObjectBase&) { return NetworkServer::kNodeDown; };
  }

  int status(const std::string& name) {
    NetworkObjectBase out;
    return server_.copyObject(name, NetworkServer::Lookup::kName, out) ? out.getNodeStatus() : -1;
  }
  // The messages logged since the last call.
  std::vector<std::string> newLogs() {
    std::vector<std::string> out;
    server_.logs->scan([&](const CLogObject& record) {
      if (record.getIdentifier() > seen_) {
        out.push_back(std::string(record.getMessage()));
        seen_ = record.getIdentifier();
      }
      return true;
    });
    return out;
  }

  NetworkServer server_;
  std::mutex mutex_;
  std::condition_variable swept_;
  std::set<std::string> answering_ = {"10.0.0.1"};
  bool canSend_ = true;
  int sweeps_ = 0;
  std::vector<std::vector<std::string>> asked_;
  DWORD seen_ = 0;
};

TEST_F(PollingManagerTest, StatusesFollowTheAnswersAndEachChangeIsLoggedOnce) {
  EXPECT_EQ(server_.polling->pollOnce(), 4u);
  EXPECT_EQ(asked_, (std::vector<std::vector<std::string>>{{"10.0.0.1", "10.0.0.2"}}));
  EXPECT_EQ(status("a"), NetworkServer::kNodeUp);
  EXPECT_EQ(status("a-too"), NetworkServer::kNodeUp);
  EXPECT_EQ(status("b"), NetworkServer::kNodeDown);
  EXPECT_EQ(status("v6"), NetworkServer::kNodeDown);
  std::vector<std::string> logs = newLogs();
  std::sort(logs.begin(), logs.end());
  EXPECT_EQ(logs, (std::vector<std::string>{"a is up: it answers ICMP echo.", "a-too is up: it answers ICMP echo.",
                                            "b is down: no answer to ICMP echo.",
                                            "v6 is down: no answer to ICMP echo."}));

  server_.polling->pollOnce();
  EXPECT_TRUE(newLogs().empty()) << "nothing changed";

  answering_ = {"10.0.0.2"};
  server_.polling->pollOnce();
  logs = newLogs();
  std::sort(logs.begin(), logs.end());
  EXPECT_EQ(logs, (std::vector<std::string>{"a is down: no answer to ICMP echo.",
                                            "a-too is down: no answer to ICMP echo.", "b is up: it answers ICMP echo."}));
  CLogObject last;
  ASSERT_TRUE(server_.logs->find(seen_, last));
  EXPECT_EQ(std::string(last.getSysObjectId()), "1.3.6.1.4.1.8072.3.2.10");
  EXPECT_FALSE(std::string(last.getAddress()).empty());

  canSend_ = false;
  server_.polling->pollOnce();
  EXPECT_EQ(status("b"), NetworkServer::kNodeUnknown);
  logs = newLogs();
  EXPECT_EQ(std::count(logs.begin(), logs.end(), "b cannot be polled: no echo request could be sent to it."), 1);
}

TEST_F(PollingManagerTest, TheManagerPollsByItselfOnlyWhileSwitchedOn) {
  NetworkObjectBase fast = node("a", "10.0.0.1");
  fast.setPollingInterval(1);
  ASSERT_TRUE(server_.tree.update(fast));
  server_.polling->start();
  server_.locked([&] {
    server_.setManagers(true, false);
    return true;
  });
  std::unique_lock<std::mutex> lock(mutex_);
  // Node a is due every second, the others every minute: a second round asks a alone.
  ASSERT_TRUE(swept_.wait_for(lock, std::chrono::seconds(60), [this] { return sweeps_ >= 2; }));
  EXPECT_EQ(asked_[0], (std::vector<std::string>{"10.0.0.1", "10.0.0.2"}));
  EXPECT_EQ(asked_[1], (std::vector<std::string>{"10.0.0.1"}));
  lock.unlock();
  server_.locked([&] {
    server_.setManagers(false, false);
    return true;
  });
  EXPECT_EQ(status("a"), NetworkServer::kNodeUp);
}

TEST_F(PollingManagerTest, ANodeGoingDownRunsTheActionOfAFilterOnDown) {
  char dir[] = "/tmp/om-poll-action-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  CActionCommand touch;
  touch.setId(1);
  touch.setServerSide(true);
  touch.setCommand("/usr/bin/touch");
  touch.setParam(std::string(dir) + "/%name%-went-down");
  server_.actions->putCommand(touch);
  ActionFilter onDown;
  onDown.setId(1);
  onDown.setLogSubType(log_def::LOGSUBTYPE_DOWN);
  onDown.setActionId(1);
  onDown.addFlags(ActionFilter::FLAG_LOG_SUBTYPE | ActionFilter::FLAG_ACTION_ID);
  server_.actions->putFilter(onDown);
  server_.start(false);
  server_.polling->pollOnce();
  server_.actionRunner->drain();
  EXPECT_TRUE(std::filesystem::exists(std::string(dir) + "/b-went-down"));
  EXPECT_TRUE(std::filesystem::exists(std::string(dir) + "/v6-went-down"));
  EXPECT_FALSE(std::filesystem::exists(std::string(dir) + "/a-went-down")) << "a is up";
  std::filesystem::remove_all(dir);
}

}  // namespace
