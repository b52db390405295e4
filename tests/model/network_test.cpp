#include <gtest/gtest.h>

#include "model/OrvaManagerNetwork.h"

namespace {

TEST(COrvaManagerNetwork, DefaultIsEmptyZeroAndStopped) {
  const COrvaManagerNetwork n;
  EXPECT_EQ(n.getName(), "");
  EXPECT_EQ(n.getNumberOfSubnets(), 0);
  EXPECT_EQ(n.getNumberOfDiscoveredNodes(), 0);
  EXPECT_EQ(n.getNumberOfObservingNodes(), 0);
  EXPECT_EQ(n.getNodeStatus(), 0);
  EXPECT_FALSE(n.isPollingManager());
  EXPECT_FALSE(n.isAutoDiscoverManager());
}

TEST(COrvaManagerNetwork, CopiesTakeAllSevenValuesUnchecked) {
  COrvaManagerNetwork n;
  n.setName("\x83\x6C\x83\x62\x83\x67");  // "ネット" in code page 932
  n.setNumberOfSubnets(3);
  n.setNumberOfDiscoveredNodes(-1);
  n.setNumberOfObservingNodes(250);
  n.setNodeStatus(99);  // no range check here
  n.setPollingManager(true);
  n.setAutoDiscoverManager(true);

  const auto expectSame = [](const COrvaManagerNetwork& c) {
    EXPECT_EQ(c.getName(), "\x83\x6C\x83\x62\x83\x67");
    EXPECT_EQ(c.getNumberOfSubnets(), 3);
    EXPECT_EQ(c.getNumberOfDiscoveredNodes(), -1);
    EXPECT_EQ(c.getNumberOfObservingNodes(), 250);
    EXPECT_EQ(c.getNodeStatus(), 99);
    EXPECT_TRUE(c.isPollingManager());
    EXPECT_TRUE(c.isAutoDiscoverManager());
  };
  expectSame(COrvaManagerNetwork(n));
  COrvaManagerNetwork viaCopyIn;
  viaCopyIn.copyIn(n);
  expectSame(viaCopyIn);

  // The flags go back independently.
  viaCopyIn.setPollingManager(false);
  EXPECT_FALSE(viaCopyIn.isPollingManager());
  EXPECT_TRUE(viaCopyIn.isAutoDiscoverManager());
  EXPECT_TRUE(n.isPollingManager());
}

}  // namespace
