// The caps on calls in progress: in total, per client, what a refusal and a
// finished call give back, and waiting for the last call.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "CallLimiter.h"

namespace omserver {
namespace {

TEST(CallLimiter, TheTotalCapRefusesTheNextCallUntilOneEnds) {
  CallLimiter limiter(2, 10);
  std::optional<CallLimiter::Slot> a = limiter.admit("a");
  std::optional<CallLimiter::Slot> b = limiter.admit("b");
  ASSERT_TRUE(a && b);
  EXPECT_FALSE(limiter.admit("c"));
  EXPECT_EQ(limiter.inProgress(), 2u);
  a.reset();
  EXPECT_EQ(limiter.inProgress(), 1u);
  EXPECT_TRUE(limiter.admit("c"));
}

TEST(CallLimiter, EachClientHasItsOwnCap) {
  CallLimiter limiter(10, 2);
  std::vector<CallLimiter::Slot> slots;
  slots.push_back(*limiter.admit("alice"));
  slots.push_back(*limiter.admit("alice"));
  EXPECT_FALSE(limiter.admit("alice"));
  std::optional<CallLimiter::Slot> bob = limiter.admit("bob");
  EXPECT_TRUE(bob);
  slots.pop_back();
  EXPECT_TRUE(limiter.admit("alice"));
}

TEST(CallLimiter, RefusalsCountForNothing) {
  CallLimiter limiter(1, 1);
  {
    std::optional<CallLimiter::Slot> held = limiter.admit("a");
    for (int i = 0; i < 5; ++i) {
      EXPECT_FALSE(limiter.admit("a"));
      EXPECT_FALSE(limiter.admit("b"));
    }
  }
  EXPECT_EQ(limiter.inProgress(), 0u);
  EXPECT_TRUE(limiter.admit("b"));
  EXPECT_TRUE(limiter.admit("a"));
}

TEST(CallLimiter, AMovedSlotGivesItsPlaceBackOnce) {
  CallLimiter limiter(2, 2);
  std::optional<CallLimiter::Slot> first = limiter.admit("a");
  std::optional<CallLimiter::Slot> other = limiter.admit("a");
  {
    CallLimiter::Slot moved(std::move(*first));
    first.reset();  // the moved-from slot gives nothing back
    EXPECT_EQ(limiter.inProgress(), 2u);
  }
  EXPECT_EQ(limiter.inProgress(), 1u);
  other.reset();
  EXPECT_EQ(limiter.inProgress(), 0u);
}

TEST(CallLimiter, WaitingForIdleEndsWithTheLastCall) {
  CallLimiter limiter(4, 4);
  EXPECT_TRUE(limiter.waitIdle(std::chrono::steady_clock::now()));
  std::optional<CallLimiter::Slot> a = limiter.admit("a");
  std::optional<CallLimiter::Slot> b = limiter.admit("b");
  EXPECT_FALSE(limiter.waitIdle(std::chrono::steady_clock::now()));
  std::thread finisher([&] {
    a.reset();
    b.reset();
  });
  limiter.waitIdle();
  EXPECT_EQ(limiter.inProgress(), 0u);
  finisher.join();
}

}  // namespace
}  // namespace omserver
