// Time, process and version queries.
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

#include <windows.h>

ULONGLONG GetTickCount64() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<ULONGLONG>(ts.tv_sec) * 1000u + static_cast<ULONGLONG>(ts.tv_nsec) / 1000000u;
}

DWORD GetTickCount() { return static_cast<DWORD>(GetTickCount64()); }

void Sleep(DWORD milliseconds) {
  timespec ts{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
  while (nanosleep(&ts, &ts) != 0) {
  }
}

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

DWORD GetCurrentThreadId() { return static_cast<DWORD>(syscall(SYS_gettid)); }

BOOL GetVersionExA(LPOSVERSIONINFOA info) {
  if (info == nullptr || info->dwOSVersionInfoSize < sizeof(OSVERSIONINFOA)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  info->dwMajorVersion = 10;
  info->dwMinorVersion = 0;
  info->dwBuildNumber = 0;
  info->dwPlatformId = VER_PLATFORM_WIN32_NT;
  std::memset(info->szCSDVersion, 0, sizeof(info->szCSDVersion));
  return TRUE;
}
