#include <gtest/gtest.h>

#include <vector>

#include "core/nicard.h"

#include <winsock2.h>

namespace {

TEST(NICard, ListsTheLocalAddressesWithACursor) {
  CNICard card;
  // The card starts and stops the socket library itself.
  char text[] = "1.2.3.4";
  sockaddr_in in{};
  INT length = sizeof in;
  EXPECT_EQ(WSAStringToAddressA(text, AF_INET, nullptr, reinterpret_cast<sockaddr*>(&in), &length), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);

  const int count = card.enumerate();
  EXPECT_EQ(card.empty(), count == 0);
  std::vector<tstring> listed;
  for (int i = 0; i < count; ++i) {
    listed.push_back(card[i]);
    EXPECT_NE(inet_addr(card[i].c_str()), INADDR_NONE) << card[i];
  }
  EXPECT_EQ(card[-1], "");
  EXPECT_EQ(card[count], "");

  CNICard copy = card;
  std::vector<tstring> walked;
  while (card.hasMoreAddresses()) walked.push_back(card.nextAddress());
  EXPECT_EQ(walked, listed);
  EXPECT_EQ(card.nextAddress(), "");
  EXPECT_FALSE(card.hasMoreAddresses());
  // The copy kept its own cursor.
  EXPECT_EQ(copy.hasMoreAddresses(), count > 0);
  if (count > 0) {
    EXPECT_EQ(copy.nextAddress(), listed[0]);
  }
}

}  // namespace
