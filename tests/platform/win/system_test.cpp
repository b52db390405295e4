#include <gtest/gtest.h>

#include <unistd.h>

#include <thread>

#include <windows.h>

namespace {

TEST(LastError, IsPerThread) {
  SetLastError(42);
  DWORD seen = 1;
  std::thread other([&] {
    seen = GetLastError();
    SetLastError(7);
  });
  other.join();
  EXPECT_EQ(seen, 0u);
  EXPECT_EQ(GetLastError(), 42u);
}

TEST(System, TickCountAdvancesWithSleep) {
  const DWORD before = GetTickCount();
  Sleep(30);
  const DWORD elapsed = GetTickCount() - before;
  EXPECT_GE(elapsed, 30u);
  EXPECT_EQ(static_cast<DWORD>(GetTickCount64()) - GetTickCount() <= 1u, true);
}

TEST(System, VersionReportsNt10) {
  OSVERSIONINFOA info{};
  EXPECT_FALSE(GetVersionExA(&info));  // size not filled in
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  info.dwOSVersionInfoSize = sizeof info;
  ASSERT_TRUE(GetVersionExA(&info));
  EXPECT_EQ(info.dwPlatformId, 2u);
  EXPECT_EQ(info.dwMajorVersion, 10u);
}

TEST(System, WindowsWidths) {
  static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(ULONG) == 4 && sizeof(BOOL) == 4);
  static_assert(sizeof(WORD) == 2 && sizeof(WCHAR) == 2 && sizeof(LONGLONG) == 8);
  EXPECT_EQ(MAKEWORD(2, 2), 0x0202);
  EXPECT_EQ(HIWORD(0x12345678), 0x1234);
  EXPECT_TRUE(FAILED(E_FAIL));
  EXPECT_TRUE(SUCCEEDED(S_FALSE));
  EXPECT_EQ(GetCurrentProcessId(), static_cast<DWORD>(getpid()));
}

}  // namespace
