// WsaEvent: one Windows Sockets event object, tied to a socket, waited on,
// and read as a list of (network event, error code) pairs.
#ifndef OMLIB_PROBE_WSAEVENT_H_
#define OMLIB_PROBE_WSAEVENT_H_

#include <cstdint>
#include <utility>
#include <vector>

#include <winsock2.h>

// Owns its event handle. Windows Sockets must be started before an event is
// created. A wait always answers with one shape: after success the pairs
// (1 << index, error code) of the events that occurred, in rising order;
// after a failure or a time-out exactly nine pairs (1, c) ... (9, c) carrying
// the status c (-1 without an event, 258 for a time-out, 192 for an I/O
// completion, else the Winsock error).
class WsaEvent {
 public:
  typedef std::vector<std::pair<int32_t, int32_t>> Events;

  // A new event (null when WSACreateEvent fails).
  WsaEvent();
  // Takes `event` over.
  explicit WsaEvent(WSAEVENT event) : m_event(event) {}
  WsaEvent(const WsaEvent&) = delete;
  WsaEvent& operator=(const WsaEvent&) = delete;
  virtual ~WsaEvent() { close(); }

  void close();
  // A new event into this object; a handle held before is not closed.
  bool create();
  // Stores `event` without closing the one held.
  void attach(WSAEVENT event) { m_event = event; }
  // Gives the handle up to the caller.
  WSAEVENT detach();

  bool valid() const { return m_event != nullptr; }
  explicit operator bool() const { return valid(); }
  operator WSAEVENT&() { return m_event; }

  // WSAEventSelect of `s` for the FD_* events of `networkEvents`.
  bool select(SOCKET s, long networkEvents);
  bool set();
  bool reset();
  // Waits up to `milliseconds` (WSA_INFINITE for no limit) and reads the
  // network events of `s`, which also resets the event.
  Events wait(SOCKET s, DWORD milliseconds, bool alertable);

 protected:
  // The nine pairs (1, status) ... (9, status).
  static Events padding(int32_t status);

 private:
  WSAEVENT m_event;  // owned; null when none
};

#endif  // OMLIB_PROBE_WSAEVENT_H_
