// The Winsock event calls over EventKernel.
#include "EventKernel.h"
#include "Internal.h"

WSAEVENT WSACreateEvent() {
  if (!om::winsock::requireStarted()) return WSA_INVALID_EVENT;
  int error = 0;
  void* event = om::kernel::createSocketEvent(error);
  if (event == nullptr) WSASetLastError(error);
  return event;
}

BOOL WSACloseEvent(WSAEVENT event) {
  if (om::kernel::closeSocketEvent(event)) return TRUE;
  WSASetLastError(WSA_INVALID_HANDLE);
  return FALSE;
}

BOOL WSASetEvent(WSAEVENT event) {
  if (om::kernel::signalSocketEvent(event, true)) return TRUE;
  WSASetLastError(WSA_INVALID_HANDLE);
  return FALSE;
}

BOOL WSAResetEvent(WSAEVENT event) {
  if (om::kernel::signalSocketEvent(event, false)) return TRUE;
  WSASetLastError(WSA_INVALID_HANDLE);
  return FALSE;
}

int WSAEventSelect(SOCKET s, WSAEVENT event, LONG mask) {
  if (!om::winsock::requireStarted()) return SOCKET_ERROR;
  if (s == INVALID_SOCKET || s > static_cast<SOCKET>(INT32_MAX)) return om::winsock::fail(WSAENOTSOCK);
  const int rc = om::kernel::selectNetworkEvents(static_cast<int>(s), event, mask);
  return rc == 0 ? 0 : om::winsock::fail(rc);
}

DWORD WSAWaitForMultipleEvents(DWORD count, const WSAEVENT* events, BOOL waitAll, DWORD milliseconds, BOOL) {
  int index = 0;
  const int rc = om::kernel::waitSocketEvents(events, static_cast<int>(count), waitAll != FALSE, milliseconds, index);
  if (rc != 0) {
    WSASetLastError(rc);
    return WSA_WAIT_FAILED;
  }
  return index < 0 ? WSA_WAIT_TIMEOUT : WSA_WAIT_EVENT_0 + static_cast<DWORD>(index);
}

int WSAEnumNetworkEvents(SOCKET s, WSAEVENT event, LPWSANETWORKEVENTS networkEvents) {
  if (!om::winsock::requireStarted()) return SOCKET_ERROR;
  if (networkEvents == nullptr) return om::winsock::fail(WSAEFAULT);
  if (s == INVALID_SOCKET || s > static_cast<SOCKET>(INT32_MAX)) return om::winsock::fail(WSAENOTSOCK);
  int32_t events = 0;
  const int rc = om::kernel::enumNetworkEvents(static_cast<int>(s), event, events, networkEvents->iErrorCode);
  if (rc != 0) return om::winsock::fail(rc);
  networkEvents->lNetworkEvents = events;
  return 0;
}
