// A run whose packet buffers cannot be had. This program's nothrow array new
// refuses the buffer's size while the test asks it to; nothing is sent, since
// the buffers come before the socket.
#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <vector>

#include "probe/orvaping.h"

namespace {

std::atomic<bool> refuseBuffers{false};

}  // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (refuseBuffers && size == static_cast<std::size_t>(OrvaPing::kBufferSize)) return nullptr;
  try {
    return ::operator new[](size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace {

TEST(OrvaPingRun, BuffersThatCannotBeHadFailTheRunWithError14) {
  for (bool trace : {false, true}) {
    OrvaPing p("127.0.0.1", "");
    if (trace) p.setTraceRouteMode();
    refuseBuffers = true;
    const bool ran = p.GoAhead();
    refuseBuffers = false;
    EXPECT_FALSE(ran);
    EXPECT_EQ(p.getLastError(), 14);
    EXPECT_EQ(p.getLines(),
              std::vector<tstring>{"Orva Manager PING 127.0.0.1: no memory for the packet buffers: 0000000e"});
    ASSERT_EQ(p.getResults().size(), 1u);
    EXPECT_EQ(p.getResults()[0].getErrorCode(), 14);
  }
}

}  // namespace
