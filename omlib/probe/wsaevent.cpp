// WsaEvent: a Windows Sockets event object.
#include "probe/wsaevent.h"

WsaEvent::WsaEvent() : m_event(WSACreateEvent()) {}

void WsaEvent::close() {
  if (m_event == nullptr) return;
  WSACloseEvent(m_event);
  m_event = nullptr;
}

bool WsaEvent::create() {
  m_event = WSACreateEvent();
  return valid();
}

WSAEVENT WsaEvent::detach() {
  WSAEVENT event = m_event;
  m_event = nullptr;
  return event;
}

bool WsaEvent::select(SOCKET s, long networkEvents) {
  return valid() && WSAEventSelect(s, m_event, static_cast<LONG>(networkEvents)) != SOCKET_ERROR;
}

bool WsaEvent::set() { return valid() && WSASetEvent(m_event) != FALSE; }

bool WsaEvent::reset() { return valid() && WSAResetEvent(m_event) != FALSE; }

WsaEvent::Events WsaEvent::padding(int32_t status) {
  Events events;
  for (int32_t i = 1; i <= 9; ++i) events.emplace_back(i, status);
  return events;
}

WsaEvent::Events WsaEvent::wait(SOCKET s, DWORD milliseconds, bool alertable) {
  if (!valid()) return padding(-1);
  const DWORD rc = WSAWaitForMultipleEvents(1, &m_event, FALSE, milliseconds, alertable ? TRUE : FALSE);
  if (rc == WSA_WAIT_FAILED) return padding(WSAGetLastError());
  if (rc == WSA_WAIT_IO_COMPLETION || rc == WSA_WAIT_TIMEOUT) return padding(static_cast<int32_t>(rc));
  WSANETWORKEVENTS happened;
  if (WSAEnumNetworkEvents(s, m_event, &happened) == SOCKET_ERROR) return padding(WSAGetLastError());
  Events events;
  for (int i = 0; i < FD_MAX_EVENTS; ++i) {
    if ((happened.lNetworkEvents & (1 << i)) != 0) events.emplace_back(1 << i, happened.iErrorCode[i]);
  }
  return events;
}
