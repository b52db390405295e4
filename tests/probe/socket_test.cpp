// The Winsock socket calls and module loading that the probes stand on:
// Windows option numbers and values, Winsock errors, FIONREAD and FIONBIO,
// datagram truncation, select, and LoadLibraryA.
#include <gtest/gtest.h>

#include <ws2tcpip.h>
#include <libloaderapi.h>

#include <cstring>

#include "WinsockSession.h"

namespace {

SOCKADDR_IN loopback(USHORT port) {
  SOCKADDR_IN address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// A UDP socket bound to 127.0.0.1 and its address.
SOCKET boundUdp(SOCKADDR_IN& address) {
  const SOCKET s = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  address = loopback(0);
  EXPECT_EQ(bind(s, reinterpret_cast<SOCKADDR*>(&address), sizeof address), 0);
  int length = sizeof address;
  EXPECT_EQ(getsockname(s, reinterpret_cast<SOCKADDR*>(&address), &length), 0);
  return s;
}

TEST(WinsockSockets, NeedStartup) {
  EXPECT_EQ(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP), INVALID_SOCKET);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
  EXPECT_EQ(WSACreateEvent(), WSA_INVALID_EVENT);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
  WinsockSession session;
  EXPECT_EQ(closesocket(INVALID_SOCKET), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
  EXPECT_EQ(WSASocketA(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 7, 0), INVALID_SOCKET);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
  EXPECT_EQ(socket(99, SOCK_DGRAM, 0), INVALID_SOCKET);
  EXPECT_EQ(WSAGetLastError(), WSAEAFNOSUPPORT);
}

TEST(WinsockSockets, OptionsUseTheWindowsNumbersAndValues) {
  WinsockSession session;
  const SOCKET s = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  ASSERT_NE(s, INVALID_SOCKET);
  const DWORD timeout = 1500;
  ASSERT_EQ(setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout), 0);
  DWORD read = 0;
  int length = sizeof read;
  ASSERT_EQ(getsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<char*>(&read), &length), 0);
  EXPECT_EQ(read, 1500u);
  EXPECT_EQ(length, 4);
  const int ttl = 7;
  ASSERT_EQ(setsockopt(s, IPPROTO_IP, IP_TTL, reinterpret_cast<const char*>(&ttl), sizeof ttl), 0);
  int readTtl = 0;
  length = sizeof readTtl;
  ASSERT_EQ(getsockopt(s, IPPROTO_IP, IP_TTL, reinterpret_cast<char*>(&readTtl), &length), 0);
  EXPECT_EQ(readTtl, 7);
  EXPECT_EQ(setsockopt(s, SOL_SOCKET, 0x7777, reinterpret_cast<const char*>(&ttl), sizeof ttl), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOPROTOOPT);
  EXPECT_EQ(setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, nullptr, 0), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
  closesocket(s);
}

TEST(WinsockSockets, ReceiveTimeOutsBlockingAndTruncation) {
  WinsockSession session;
  SOCKADDR_IN address;
  const SOCKET s = boundUdp(address);
  const DWORD timeout = 30;
  setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout);
  char buffer[16];
  EXPECT_EQ(recv(s, buffer, sizeof buffer, 0), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAETIMEDOUT);
  ULONG on = 1;
  ASSERT_EQ(ioctlsocket(s, FIONBIO, &on), 0);
  EXPECT_EQ(recv(s, buffer, sizeof buffer, 0), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
  ULONG pending = 99;
  ASSERT_EQ(ioctlsocket(s, FIONREAD, &pending), 0);
  EXPECT_EQ(pending, 0u);
  const char text[] = "0123456789abcdefghij";
  ASSERT_EQ(sendto(s, text, 20, 0, reinterpret_cast<SOCKADDR*>(&address), sizeof address), 20);
  ASSERT_EQ(ioctlsocket(s, FIONREAD, &pending), 0);
  EXPECT_EQ(pending, 20u);
  // Longer than the buffer: the start is kept, the call fails with WSAEMSGSIZE.
  SOCKADDR_IN from{};
  int fromLength = sizeof from;
  EXPECT_EQ(recvfrom(s, buffer, 8, 0, reinterpret_cast<SOCKADDR*>(&from), &fromLength), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEMSGSIZE);
  EXPECT_EQ(std::memcmp(buffer, text, 8), 0);
  EXPECT_EQ(from.sin_port, address.sin_port);
  EXPECT_EQ(ioctlsocket(s, 0x12345, &pending), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
  closesocket(s);
}

TEST(WinsockSockets, Ipv6AddressesHaveTheWindowsFamily) {
  WinsockSession session;
  const SOCKET s = socket(AF_INET6, SOCK_DGRAM, IPPROTO_UDP);
  ASSERT_NE(s, INVALID_SOCKET);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr.s6_bytes[15] = 1;
  ASSERT_EQ(bind(s, reinterpret_cast<SOCKADDR*>(&address), sizeof address), 0);
  sockaddr_in6 name{};
  int length = sizeof name;
  ASSERT_EQ(getsockname(s, reinterpret_cast<SOCKADDR*>(&name), &length), 0);
  EXPECT_EQ(name.sin6_family, 23);
  EXPECT_EQ(length, 28);
  EXPECT_EQ(name.sin6_addr.s6_bytes[15], 1);
  EXPECT_NE(name.sin6_port, 0);
  ASSERT_EQ(sendto(s, "v6", 2, 0, reinterpret_cast<SOCKADDR*>(&name), sizeof name), 2);
  char buffer[4];
  sockaddr_in6 from{};
  int fromLength = sizeof from;
  EXPECT_EQ(recvfrom(s, buffer, sizeof buffer, 0, reinterpret_cast<SOCKADDR*>(&from), &fromLength), 2);
  EXPECT_EQ(from.sin6_family, 23);
  closesocket(s);
}

TEST(WinsockSockets, SelectIgnoresNfdsAndKeepsTheTimeOut) {
  WinsockSession session;
  SOCKADDR_IN address;
  const SOCKET s = boundUdp(address);
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(s, &readable);
  timeval timeout{0, 20000};
  EXPECT_EQ(select(0, &readable, nullptr, nullptr, &timeout), 0);
  EXPECT_EQ(timeout.tv_usec, 20000);
  EXPECT_FALSE(FD_ISSET(s, &readable));
  ASSERT_EQ(sendto(s, "x", 1, 0, reinterpret_cast<SOCKADDR*>(&address), sizeof address), 1);
  FD_SET(s, &readable);
  EXPECT_EQ(select(0, &readable, nullptr, nullptr, &timeout), 1);
  EXPECT_TRUE(FD_ISSET(s, &readable));
  // No socket at all is an error on Windows.
  fd_set none;
  FD_ZERO(&none);
  EXPECT_EQ(select(0, &none, nullptr, nullptr, &timeout), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
  closesocket(s);

  // A refused connection shows among the exceptions, not the writable ones,
  // and SO_ERROR tells why.
  SOCKADDR_IN nobody;
  const SOCKET closedPort = boundUdp(nobody);  // a port with no TCP listener
  closesocket(closedPort);
  const SOCKET c = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  ULONG on = 1;
  ioctlsocket(c, FIONBIO, &on);
  EXPECT_EQ(connect(c, reinterpret_cast<SOCKADDR*>(&nobody), sizeof nobody), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
  fd_set writable;
  fd_set failed;
  FD_ZERO(&writable);
  FD_ZERO(&failed);
  FD_SET(c, &writable);
  FD_SET(c, &failed);
  timeval wait{5, 0};
  EXPECT_EQ(select(0, nullptr, &writable, &failed, &wait), 1);
  EXPECT_FALSE(FD_ISSET(c, &writable));
  EXPECT_TRUE(FD_ISSET(c, &failed));
  int error = 0;
  int length = sizeof error;
  ASSERT_EQ(getsockopt(c, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &length), 0);
  EXPECT_EQ(error, WSAECONNREFUSED);
  closesocket(c);
}

TEST(ModuleLoading, WindowsNamesFindSharedObjects) {
  HMODULE module = LoadLibraryA("IPHlpApi.DLL");
  ASSERT_NE(module, nullptr) << "libiphlpapi.so is on the run path of programs that link the probes";
  EXPECT_NE(GetProcAddress(module, "Icmp6CreateFile"), nullptr);
  EXPECT_NE(GetProcAddress(module, "Icmp6SendEcho2"), nullptr);
  EXPECT_NE(GetProcAddress(module, "IcmpCloseHandle"), nullptr);
  EXPECT_EQ(GetProcAddress(module, "IcmpSendEcho"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
  // Internal functions of the library are not exported.
  EXPECT_EQ(GetProcAddress(module, "_Z12SetLastErrorj"), nullptr);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(LoadLibraryA("NoSuchModule.DLL"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(GetProcAddress(nullptr, "x"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

}  // namespace
