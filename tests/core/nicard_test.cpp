#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/nicard.h"

#include <winsock2.h>

#include "WinsockSession.h"

namespace {

// The addresses of the local host name, looked up directly.
std::vector<tstring> localAddresses() {
  WinsockSession session;
  std::vector<tstring> addresses;
  char name[512];
  if (gethostname(name, sizeof name) != 0) return addresses;
  const hostent* host = gethostbyname(name);
  for (char** a = host != nullptr ? host->h_addr_list : nullptr; a != nullptr && *a != nullptr; ++a) {
    in_addr address;
    std::memcpy(&address, *a, sizeof address);
    addresses.push_back(inet_ntoa(address));
  }
  return addresses;
}

TEST(NICard, ListsTheLocalAddressesWithACursor) {
  const std::vector<tstring> expected = localAddresses();
  CNICard card;
  // The card starts and stops the socket library itself.
  char text[] = "1.2.3.4";
  sockaddr_in in{};
  INT length = sizeof in;
  EXPECT_EQ(WSAStringToAddressA(text, AF_INET, nullptr, reinterpret_cast<sockaddr*>(&in), &length), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);

  ASSERT_EQ(card.enumerate(), static_cast<int>(expected.size()));
  EXPECT_EQ(card.empty(), expected.empty());
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(card[static_cast<int>(i)], expected[i]);
  EXPECT_EQ(card[-1], "");
  EXPECT_EQ(card[card.enumerate()], "");

  CNICard copy = card;
  std::vector<tstring> walked;
  while (card.hasMoreAddresses()) walked.push_back(card.nextAddress());
  EXPECT_EQ(walked, expected);
  EXPECT_EQ(card.nextAddress(), "");
  EXPECT_FALSE(card.hasMoreAddresses());
  EXPECT_EQ(card.nextAddress(), "");
  // The copy kept its own cursor.
  EXPECT_EQ(copy.hasMoreAddresses(), !expected.empty());
  if (!expected.empty()) {
    EXPECT_EQ(copy.nextAddress(), expected[0]);
  }
}

}  // namespace
