#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "core/sequencer.h"

namespace {

TEST(SequencerDeathTest, TheFirstNumberOfAProcessIsOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(sequencer::getInstance()->number() == 1 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(Sequencer, UniqueAcrossThreadsAndWrapsAfter65535) {
  sequencer* s = sequencer::getInstance();
  EXPECT_EQ(s, sequencer::getInstance());
  constexpr int kThreads = 8;
  constexpr int kEach = 8000;  // 64000 numbers: fewer than one full cycle
  std::vector<std::vector<unsigned short>> seen(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i) seen[t].push_back(s->number());
    });
  }
  for (std::thread& t : threads) t.join();
  std::set<unsigned short> all;
  for (const auto& numbers : seen) all.insert(numbers.begin(), numbers.end());
  EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kEach));

  // The remaining steps up to 65535 are counted, so a wrong wrap point fails
  // rather than loops.
  unsigned short last = s->number();
  for (int step = last; step < 65535; ++step) last = s->number();
  EXPECT_EQ(last, 65535);
  EXPECT_EQ(s->number(), 0);
  EXPECT_EQ(s->number(), 1);
}

TEST(MutexLocker, HoldsForTheScopeAndWaitsOnDemand) {
  HANDLE mutex = CreateMutex(nullptr, FALSE, nullptr);
  auto takenElsewhere = [&] {
    DWORD result = 0;
    std::thread other([&] {
      result = WaitForSingleObject(mutex, 0);
      if (result == WAIT_OBJECT_0) ReleaseMutex(mutex);
    });
    other.join();
    return result == WAIT_OBJECT_0;
  };
  {
    mutexLocker lock(mutex, true);
    EXPECT_FALSE(takenElsewhere());
  }
  EXPECT_TRUE(takenElsewhere());
  {
    mutexLocker lock(mutex, false);
    EXPECT_TRUE(takenElsewhere());
    EXPECT_TRUE(lock.wait(0));
    EXPECT_FALSE(takenElsewhere());
  }
  EXPECT_TRUE(takenElsewhere());

  // wait() fails while another thread owns the mutex.
  HANDLE started = CreateEvent(nullptr, TRUE, FALSE, nullptr);
  HANDLE finish = CreateEvent(nullptr, TRUE, FALSE, nullptr);
  std::thread owner([&] {
    WaitForSingleObject(mutex, INFINITE);
    SetEvent(started);
    WaitForSingleObject(finish, INFINITE);
    ReleaseMutex(mutex);
  });
  WaitForSingleObject(started, INFINITE);
  {
    mutexLocker lock(mutex, false);
    EXPECT_FALSE(lock.wait(10));
    SetEvent(finish);
    EXPECT_TRUE(lock.wait(INFINITE));
    mutexLocker copy(lock);  // the copy refers to the same mutex and releases it too
    EXPECT_FALSE(takenElsewhere());
    EXPECT_TRUE(copy.wait(0));  // recursive: owned twice now
  }
  owner.join();
  EXPECT_TRUE(takenElsewhere());
  CloseHandle(started);
  CloseHandle(finish);
  CloseHandle(mutex);
}

}  // namespace
