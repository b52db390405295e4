// ihadll: the IP helper library loaded at run time.
#include "probe/ihadll.h"

#include <cstdlib>

#include "core/sequencer.h"

namespace {

const char kLibraryName[] = "IPHlpApi.DLL";
const char kLibraryVariable[] = "OMLIB_IPHLPAPI";

// A function of the module by name, in its own type (by way of the generic
// function pointer type, which any function pointer converts to and from).
template <class Function>
Function lookUp(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

}  // namespace

ihadll& ihadll::getInstance() {
  static ihadll instance;
  return instance;
}

ihadll::ihadll()
    : m_module(nullptr),
      m_create(nullptr),
      m_send(nullptr),
      m_close(nullptr),
      m_lastError(nullptr),
      m_mutex(CreateMutexA(nullptr, FALSE, nullptr)) {
  mutexLocker lock(m_mutex, true);
  const char* file = std::getenv(kLibraryVariable);
  HMODULE module = LoadLibraryA(file != nullptr ? file : kLibraryName);
  if (module == nullptr) return;
  m_create = lookUp<decltype(m_create)>(module, "Icmp6CreateFile");
  m_send = lookUp<decltype(m_send)>(module, "Icmp6SendEcho2");
  m_close = lookUp<decltype(m_close)>(module, "IcmpCloseHandle");
  m_lastError = lookUp<decltype(m_lastError)>(module, "OmIphlpapiGetLastError");
  if (m_create == nullptr || m_send == nullptr || m_close == nullptr) {
    FreeLibrary(module);
    return;
  }
  m_module = module;
}

ihadll::~ihadll() {
  if (m_module != nullptr) FreeLibrary(m_module);
  CloseHandle(m_mutex);
}

void ihadll::takeLastError() {
  if (m_lastError != nullptr) SetLastError(m_lastError());
}

HANDLE ihadll::Icmp6CreateFile() {
  mutexLocker lock(m_mutex, true);
  if (!loaded()) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  HANDLE handle = m_create();
  if (handle == INVALID_HANDLE_VALUE) takeLastError();
  return handle;
}

DWORD ihadll::Icmp6SendEcho2(HANDLE icmpHandle, HANDLE event, PIO_APC_ROUTINE apcRoutine, PVOID apcContext,
                             struct sockaddr_in6* source, struct sockaddr_in6* destination, LPVOID requestData,
                             WORD requestSize, PIP_OPTION_INFORMATION options, LPVOID replyBuffer, DWORD replySize,
                             DWORD timeout) {
  mutexLocker lock(m_mutex, true);
  if (!loaded()) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
  }
  const DWORD replies = m_send(icmpHandle, event, apcRoutine, apcContext, source, destination, requestData,
                               requestSize, options, replyBuffer, replySize, timeout);
  if (replies == 0) takeLastError();
  return replies;
}

BOOL ihadll::IcmpCloseHandle(HANDLE icmpHandle) {
  mutexLocker lock(m_mutex, true);
  if (!loaded()) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return FALSE;
  }
  const BOOL closed = m_close(icmpHandle);
  if (!closed) takeLastError();
  return closed;
}
