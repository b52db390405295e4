#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include <windows.h>

namespace {

TEST(Mutex, WaitTimesOutWhileAnotherThreadOwnsIt) {
  HANDLE m = CreateMutex(nullptr, TRUE, nullptr);
  ASSERT_NE(m, nullptr);
  DWORD result = 0;
  std::thread other([&] { result = WaitForSingleObject(m, 50); });
  other.join();
  EXPECT_EQ(result, static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(ReleaseMutex(m));
  std::thread again([&] {
    result = WaitForSingleObject(m, 1000);
    ReleaseMutex(m);
  });
  again.join();
  EXPECT_EQ(result, static_cast<DWORD>(WAIT_OBJECT_0));
  EXPECT_TRUE(CloseHandle(m));
}

TEST(Mutex, RecursiveOwnershipAndReleaseByNonOwner) {
  HANDLE m = CreateMutex(nullptr, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(m, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  EXPECT_EQ(WaitForSingleObject(m, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  BOOL released = TRUE;
  std::thread other([&] { released = ReleaseMutex(m); });
  other.join();
  EXPECT_FALSE(released);
  EXPECT_TRUE(ReleaseMutex(m));
  // Still owned once: another thread cannot take it yet.
  DWORD result = 0;
  std::thread waiter([&] { result = WaitForSingleObject(m, 20); });
  waiter.join();
  EXPECT_EQ(result, static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(ReleaseMutex(m));
  EXPECT_FALSE(ReleaseMutex(m));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_OWNER));
  CloseHandle(m);
}

TEST(Mutex, OwnerThreadEndingAbandonsIt) {
  HANDLE m = CreateMutex(nullptr, FALSE, nullptr);
  std::thread owner([&] { WaitForSingleObject(m, INFINITE); });
  owner.join();
  EXPECT_EQ(WaitForSingleObject(m, 1000), static_cast<DWORD>(WAIT_ABANDONED));
  EXPECT_TRUE(ReleaseMutex(m));
  EXPECT_EQ(WaitForSingleObject(m, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  ReleaseMutex(m);
  CloseHandle(m);
}

TEST(Mutex, GuardsACounterAcrossThreads) {
  HANDLE m = CreateMutex(nullptr, FALSE, nullptr);
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(WaitForSingleObject(m, INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
        const long seen = counter;
        counter = seen + 1;
        ReleaseMutex(m);
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, 16000);
  CloseHandle(m);
}

TEST(Mutex, NamedMutexIsSharedWithinTheProcess) {
  HANDLE a = CreateMutex(nullptr, TRUE, "omlib-test-named");
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
  HANDLE b = CreateMutex(nullptr, TRUE, "omlib-test-named");
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  DWORD result = 0;
  std::thread other([&] { result = WaitForSingleObject(b, 20); });
  other.join();
  EXPECT_EQ(result, static_cast<DWORD>(WAIT_TIMEOUT));
  ReleaseMutex(a);
  CloseHandle(a);
  CloseHandle(b);
}

TEST(Mutex, ClosingTheHandleWhileOwnedLeavesReleaseSafe) {
  HANDLE a = CreateMutex(nullptr, TRUE, "omlib-test-close");
  HANDLE b = CreateMutex(nullptr, FALSE, "omlib-test-close");
  CloseHandle(a);  // the name lives on through b; this thread still owns it
  EXPECT_TRUE(ReleaseMutex(b));
  EXPECT_EQ(WaitForSingleObject(b, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  CloseHandle(b);  // owned and closed: the state lives until the thread releases or ends
}

TEST(Event, AutoAndManualReset) {
  HANDLE autoEvent = CreateEvent(nullptr, FALSE, FALSE, nullptr);
  HANDLE manual = CreateEvent(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(autoEvent, 10), static_cast<DWORD>(WAIT_TIMEOUT));
  std::thread setter([&] {
    Sleep(20);
    SetEvent(autoEvent);
    SetEvent(manual);
  });
  EXPECT_EQ(WaitForSingleObject(autoEvent, 5000), static_cast<DWORD>(WAIT_OBJECT_0));
  setter.join();
  EXPECT_EQ(WaitForSingleObject(autoEvent, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_EQ(WaitForSingleObject(manual, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  EXPECT_EQ(WaitForSingleObject(manual, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  ResetEvent(manual);
  EXPECT_EQ(WaitForSingleObject(manual, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  CloseHandle(autoEvent);
  CloseHandle(manual);
}

TEST(Handles, InvalidHandlesFail) {
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
  HANDLE event = CreateEvent(nullptr, FALSE, FALSE, nullptr);
  EXPECT_FALSE(ReleaseMutex(event));  // not a mutex
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  CloseHandle(event);
}

}  // namespace
