// WSAStartup / WSACleanup and the last error.
#include <atomic>
#include <cstring>
#include <mutex>

#include "Internal.h"

namespace om::winsock {
namespace {

std::mutex g_startMu;
int g_starts = 0;  // guarded by g_startMu
std::atomic<bool> g_started{false};

constexpr WORD kHighestVersion = MAKEWORD(2, 2);

// Orders versions as major.minor (a WORD holds the major in its low byte).
int versionKey(WORD version) { return LOBYTE(version) * 256 + HIBYTE(version); }

}  // namespace

bool started() { return g_started.load(std::memory_order_acquire); }

bool requireStarted() {
  if (started()) return true;
  WSASetLastError(WSANOTINITIALISED);
  return false;
}

int fail(int error) {
  WSASetLastError(error);
  return SOCKET_ERROR;
}

}  // namespace om::winsock

int WSAStartup(WORD versionRequested, LPWSADATA data) {
  if (LOBYTE(versionRequested) == 0) return WSAVERNOTSUPPORTED;
  if (data == nullptr) return WSAEFAULT;
  std::memset(data, 0, sizeof *data);
  const bool higher = om::winsock::versionKey(versionRequested) > om::winsock::versionKey(om::winsock::kHighestVersion);
  data->wVersion = higher ? om::winsock::kHighestVersion : versionRequested;
  data->wHighVersion = om::winsock::kHighestVersion;
  std::strcpy(data->szDescription, "WinSock 2.0");
  std::strcpy(data->szSystemStatus, "Running");
  std::lock_guard<std::mutex> lock(om::winsock::g_startMu);
  ++om::winsock::g_starts;
  om::winsock::g_started.store(true, std::memory_order_release);
  return 0;
}

int WSACleanup() {
  std::lock_guard<std::mutex> lock(om::winsock::g_startMu);
  if (om::winsock::g_starts == 0) return om::winsock::fail(WSANOTINITIALISED);
  if (--om::winsock::g_starts == 0) om::winsock::g_started.store(false, std::memory_order_release);
  return 0;
}

int WSAGetLastError() { return static_cast<int>(GetLastError()); }

void WSASetLastError(int error) { SetLastError(static_cast<DWORD>(error)); }
