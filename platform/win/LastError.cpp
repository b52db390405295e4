#include <windows.h>

namespace {
// One slot per thread; WSAGetLastError and WSASetLastError share it.
thread_local DWORD t_lastError = ERROR_SUCCESS;
}  // namespace

DWORD GetLastError() { return t_lastError; }

void SetLastError(DWORD error) { t_lastError = error; }
