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

}  // namespace
