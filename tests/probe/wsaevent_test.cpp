// WsaEvent and the Winsock event calls under it, on real loopback sockets.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "WinsockSession.h"
#include "probe/wsaevent.h"

namespace {

using Events = WsaEvent::Events;

Events padding(int32_t status) {
  Events events;
  for (int32_t i = 1; i <= 9; ++i) events.emplace_back(i, status);
  return events;
}

SOCKADDR_IN loopback(USHORT port) {
  SOCKADDR_IN address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// A listening TCP socket on 127.0.0.1 and its port.
SOCKET listening(USHORT& port) {
  const SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  SOCKADDR_IN address = loopback(0);
  EXPECT_EQ(bind(s, reinterpret_cast<SOCKADDR*>(&address), sizeof address), 0);
  EXPECT_EQ(listen(s, 4), 0);
  int length = sizeof address;
  EXPECT_EQ(getsockname(s, reinterpret_cast<SOCKADDR*>(&address), &length), 0);
  port = ntohs(address.sin_port);
  return s;
}

// Two connected TCP sockets.
struct Pair {
  SOCKET client = INVALID_SOCKET;
  SOCKET server = INVALID_SOCKET;
  Pair() {
    USHORT port = 0;
    const SOCKET l = listening(port);
    client = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    SOCKADDR_IN address = loopback(port);
    EXPECT_EQ(connect(client, reinterpret_cast<SOCKADDR*>(&address), sizeof address), 0);
    server = accept(l, nullptr, nullptr);
    EXPECT_NE(server, INVALID_SOCKET);
    closesocket(l);
  }
  ~Pair() {
    if (client != INVALID_SOCKET) closesocket(client);
    closesocket(server);
  }
};

TEST(WsaEvent, ReadThenCloseGivesReadAndClose) {
  WinsockSession session;
  Pair pair;
  WsaEvent event;
  ASSERT_TRUE(event.valid());
  ASSERT_TRUE(event.select(pair.server, FD_READ | FD_CLOSE));
  ASSERT_EQ(send(pair.client, "x", 1, 0), 1);
  closesocket(pair.client);
  pair.client = INVALID_SOCKET;
  EXPECT_EQ(event.wait(pair.server, 5000, false), (Events{{FD_READ, 0}, {FD_CLOSE, 0}}));
  // Both are reported once: nothing more until a receive.
  EXPECT_EQ(event.wait(pair.server, 30, false), padding(WSA_WAIT_TIMEOUT));
  char byte = 0;
  EXPECT_EQ(recv(pair.server, &byte, 1, 0), 1);
  EXPECT_EQ(byte, 'x');
  // At the end of the stream a receive finds no data: no new FD_READ.
  EXPECT_EQ(event.wait(pair.server, 30, false), padding(WSA_WAIT_TIMEOUT));
  EXPECT_EQ(recv(pair.server, &byte, 1, 0), 0);
}

TEST(WsaEvent, TimeOutAndMissingEventGiveThePaddingForm) {
  {
    WinsockSession session;
    Pair pair;
    WsaEvent event;
    ASSERT_TRUE(event.select(pair.server, FD_READ));
    EXPECT_EQ(event.wait(pair.server, 50, false), padding(258));
    // An alertable wait is an ordinary one here.
    EXPECT_EQ(event.wait(pair.server, 10, true), padding(258));
  }
  // Without Windows Sockets no event can be made: every call reports that.
  WsaEvent none;
  EXPECT_FALSE(none.valid());
  EXPECT_FALSE(static_cast<bool>(none));
  EXPECT_EQ(none.wait(INVALID_SOCKET, 10, false), padding(-1));
  EXPECT_FALSE(none.select(0, FD_READ));
  EXPECT_FALSE(none.set());
  EXPECT_FALSE(none.reset());
}

TEST(WsaEvent, FailuresGiveThePaddingFormOfTheError) {
  WinsockSession session;
  WsaEvent event;
  // Waiting succeeds (the event is set by hand), reading the events of
  // something that is not a socket fails.
  ASSERT_TRUE(event.set());
  EXPECT_EQ(event.wait(static_cast<SOCKET>(0x7ffffff0), 10, false), padding(WSAENOTSOCK));
  // A handle that is not an event.
  int bogus = 0;
  WsaEvent wrong(static_cast<WSAEVENT>(&bogus));
  EXPECT_EQ(wrong.wait(0, 10, false), padding(WSA_INVALID_HANDLE));
  EXPECT_EQ(wrong.detach(), static_cast<WSAEVENT>(&bogus));
}

TEST(WsaEvent, AcceptConnectWriteAndRefusedConnection) {
  WinsockSession session;
  USHORT port = 0;
  const SOCKET l = listening(port);
  WsaEvent accepting;
  ASSERT_TRUE(accepting.select(l, FD_ACCEPT));
  const SOCKET client = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  WsaEvent connecting;
  ASSERT_TRUE(connecting.select(client, FD_CONNECT | FD_WRITE | FD_READ));
  SOCKADDR_IN address = loopback(port);
  const int rc = connect(client, reinterpret_cast<SOCKADDR*>(&address), sizeof address);
  EXPECT_TRUE(rc == 0 || WSAGetLastError() == WSAEWOULDBLOCK);
  EXPECT_EQ(accepting.wait(l, 5000, false), (Events{{FD_ACCEPT, 0}}));
  EXPECT_EQ(connecting.wait(client, 5000, false), (Events{{FD_WRITE, 0}, {FD_CONNECT, 0}}));
  const SOCKET server = accept(l, nullptr, nullptr);
  ASSERT_NE(server, INVALID_SOCKET);
  // The accepted socket inherits the listener's selection (FD_ACCEPT only).
  EXPECT_EQ(accepting.wait(l, 30, false), padding(258));
  closesocket(server);
  closesocket(client);
  // A connection to a port nobody listens on: FD_CONNECT with the error.
  closesocket(l);
  const SOCKET refused = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  WsaEvent failing;
  ASSERT_TRUE(failing.select(refused, FD_CONNECT | FD_WRITE));
  connect(refused, reinterpret_cast<SOCKADDR*>(&address), sizeof address);
  EXPECT_EQ(failing.wait(refused, 5000, false), (Events{{FD_CONNECT, WSAECONNREFUSED}}));
  closesocket(refused);
}

TEST(WsaEvent, ResetConnectionClosesWithItsError) {
  WinsockSession session;
  Pair pair;
  WsaEvent event;
  ASSERT_TRUE(event.select(pair.server, FD_CLOSE));
  const LINGER abort{1, 0};
  ASSERT_EQ(setsockopt(pair.client, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abort), sizeof abort), 0);
  closesocket(pair.client);
  pair.client = INVALID_SOCKET;
  EXPECT_EQ(event.wait(pair.server, 5000, false), (Events{{FD_CLOSE, WSAECONNRESET}}));
}

TEST(WsaEvent, ReadIsReportedAgainAfterAReceiveThatLeavesData) {
  WinsockSession session;
  Pair pair;
  WsaEvent event;
  ASSERT_TRUE(event.select(pair.server, FD_READ));
  ASSERT_EQ(send(pair.client, "abc", 3, 0), 3);
  EXPECT_EQ(event.wait(pair.server, 5000, false), (Events{{FD_READ, 0}}));
  EXPECT_EQ(event.wait(pair.server, 30, false), padding(258));
  char byte;
  ASSERT_EQ(recv(pair.server, &byte, 1, 0), 1);
  EXPECT_EQ(event.wait(pair.server, 5000, false), (Events{{FD_READ, 0}}));
  // The socket was made non-blocking by the selection.
  char rest[8];
  EXPECT_EQ(recv(pair.server, rest, sizeof rest, 0), 2);
  EXPECT_EQ(recv(pair.server, rest, sizeof rest, 0), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
}

TEST(WsaEvent, SetFromAnotherThreadEndsTheWaitWithNoNetworkEvent) {
  WinsockSession session;
  Pair pair;
  WsaEvent event;
  ASSERT_TRUE(event.select(pair.server, FD_READ));
  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    event.set();
  });
  EXPECT_EQ(event.wait(pair.server, 10000, false), Events{});
  setter.join();
  // WSAEnumNetworkEvents reset it.
  EXPECT_EQ(WaitForSingleObject(static_cast<WSAEVENT&>(event), 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(event.set());
  EXPECT_EQ(WaitForSingleObject(static_cast<WSAEVENT&>(event), 0), static_cast<DWORD>(WAIT_OBJECT_0));
  EXPECT_TRUE(event.reset());
  EXPECT_EQ(WSAWaitForMultipleEvents(1, &static_cast<WSAEVENT&>(event), FALSE, 0, FALSE),
            static_cast<DWORD>(WSA_WAIT_TIMEOUT));
}

TEST(WsaEventCalls, WaitForSeveralEvents) {
  WinsockSession session;
  WSAEVENT events[3] = {WSACreateEvent(), WSACreateEvent(), WSACreateEvent()};
  EXPECT_EQ(WSAWaitForMultipleEvents(3, events, FALSE, 0, FALSE), static_cast<DWORD>(WSA_WAIT_TIMEOUT));
  WSASetEvent(events[2]);
  WSASetEvent(events[1]);
  EXPECT_EQ(WSAWaitForMultipleEvents(3, events, FALSE, 0, FALSE), static_cast<DWORD>(WSA_WAIT_EVENT_0 + 1));
  EXPECT_EQ(WSAWaitForMultipleEvents(3, events, TRUE, 0, FALSE), static_cast<DWORD>(WSA_WAIT_TIMEOUT));
  WSASetEvent(events[0]);
  EXPECT_EQ(WSAWaitForMultipleEvents(3, events, TRUE, 0, FALSE), static_cast<DWORD>(WSA_WAIT_EVENT_0));
  EXPECT_EQ(WSAWaitForMultipleEvents(0, events, FALSE, 0, FALSE), static_cast<DWORD>(WSA_WAIT_FAILED));
  EXPECT_EQ(WSAGetLastError(), WSA_INVALID_PARAMETER);
  // Events are kernel handles too.
  EXPECT_TRUE(WSACloseEvent(events[0]));
  EXPECT_TRUE(CloseHandle(events[1]));
  EXPECT_EQ(WSAWaitForMultipleEvents(1, &events[1], FALSE, 0, FALSE), static_cast<DWORD>(WSA_WAIT_FAILED));
  EXPECT_EQ(WSAGetLastError(), WSA_INVALID_HANDLE);
  EXPECT_FALSE(WSASetEvent(events[0]));
  EXPECT_TRUE(WSACloseEvent(events[2]));
}

}  // namespace
