// Starts Windows Sockets for the lifetime of a test scope.
#ifndef OM_TESTS_PLATFORM_WINSOCK_WINSOCKSESSION_H_
#define OM_TESTS_PLATFORM_WINSOCK_WINSOCKSESSION_H_

#include <gtest/gtest.h>

#include <winsock2.h>

class WinsockSession {
 public:
  WinsockSession() {
    WSADATA data;
    EXPECT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
  }
  ~WinsockSession() { WSACleanup(); }
  WinsockSession(const WinsockSession&) = delete;
  WinsockSession& operator=(const WinsockSession&) = delete;
};

#endif  // OM_TESTS_PLATFORM_WINSOCK_WINSOCKSESSION_H_
