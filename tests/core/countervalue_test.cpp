#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "core/CounterValue.h"

namespace {

// Exposes the protected parsing for the tests.
class CounterProbe : public CCounterValue {
 public:
  using CCounterValue::CCounterValue;
  uint64_t upTime(const tstring& text) const { return parseUpTime(text); }
};

// Restores the process-wide default policy when a test ends.
class DefaultPolicyGuard {
 public:
  DefaultPolicyGuard() : saved_(CCounterValue::getDefaultPolicy()) {}
  ~DefaultPolicyGuard() { CCounterValue::setDefaultPolicy(saved_); }

 private:
  CCounterValue::CountPolicy saved_;
};

constexpr uint64_t kNear32 = 4294967290ull;
constexpr uint64_t kNear64 = 18446744073709551610ull;

TEST(CounterValue, WrapPoliciesWith32And64BitCounters) {
  CCounterValue overflow(kNear32, false, "0:00:01.00", CCounterValue::CountAsOverflow);
  EXPECT_EQ(overflow.getDeltaString(5ull, "0:00:02.00"), "11");
  EXPECT_EQ(overflow.getDelta(), std::make_pair(true, uint64_t{11}));

  CCounterValue invalid(kNear32, false, "0:00:01.00", CCounterValue::CountAsInvalid);
  EXPECT_EQ(invalid.getDeltaString(5ull, "0:00:02.00"), "");
  EXPECT_EQ(invalid.getValue(), 5u);
  EXPECT_FALSE(invalid.getDelta().first);
  EXPECT_EQ(invalid.getDeltaString(8ull, "0:00:03.00"), "3");  // valid again with the new reading

  CCounterValue upTime(kNear32, false, "1 day 0:00:00.00", CCounterValue::CountAsOverflowWithUpTime);
  EXPECT_EQ(upTime.getDeltaString(5ull, "0:00:01.00"), "");  // the agent restarted
  EXPECT_EQ(upTime.getUpTime(), 100u);
  CCounterValue upTime2(kNear32, false, "1 day 0:00:00.00", CCounterValue::CountAsOverflowWithUpTime);
  EXPECT_EQ(upTime2.getDeltaString(5ull, "1 day 0:00:10.00"), "11");
  CCounterValue upTime3(kNear32, false, "0:00:10.00", CCounterValue::CountAsOverflowWithUpTime);
  EXPECT_EQ(upTime3.getDeltaString(5ull, "0:00:10.00"), "11");  // equal uptime still counts

  CCounterValue wide(kNear64, true, "0:00:01.00", CCounterValue::CountAsOverflow);
  EXPECT_EQ(wide.getDeltaString(5ull, "0:00:02.00"), "11");
  CCounterValue narrowBig(kNear64, false, "0:00:01.00", CCounterValue::CountAsOverflow);
  narrowBig.setTo64(true);
  EXPECT_EQ(narrowBig.getDeltaString(5ull, ""), "11");
  CCounterValue custom(250ull, false, "", CCounterValue::CountAsOverflow);
  custom.setMax(255);
  EXPECT_EQ(custom.getDeltaString(4ull, ""), "10");
  // A 32-bit wrap with the 64-bit maximum gives the 64-bit distance.
  CCounterValue mismatch(kNear32, true, "", CCounterValue::CountAsOverflow);
  EXPECT_EQ(mismatch.getDeltaString(5ull, ""), "18446744069414584331");
}

TEST(CounterValue, FollowDefaultAndTheDefaultPolicy) {
  DefaultPolicyGuard guard;
  EXPECT_TRUE(CCounterValue::setDefaultPolicy(CCounterValue::CountAsInvalid));
  CCounterValue follower(kNear32, false, "", CCounterValue::FollowDefault);
  EXPECT_FALSE(follower.isAdjusting());
  EXPECT_EQ(follower.getDeltaString(5ull, ""), "");

  EXPECT_TRUE(CCounterValue::setDefaultPolicy(CCounterValue::CountAsOverflow));
  EXPECT_TRUE(follower.isAdjusting());
  CCounterValue again(kNear32, false, "", CCounterValue::FollowDefault);
  EXPECT_EQ(again.getDeltaString(5ull, ""), "11");
  EXPECT_FALSE(CCounterValue::setDefaultPolicy(CCounterValue::FollowDefault));
  EXPECT_FALSE(CCounterValue::setDefaultPolicy(static_cast<CCounterValue::CountPolicy>(4)));
  EXPECT_EQ(CCounterValue::getDefaultPolicy(), CCounterValue::CountAsOverflow);
  EXPECT_TRUE(CCounterValue::setDefaultPolicy(CCounterValue::CountAsOverflowWithUpTime));
  EXPECT_TRUE(follower.isAdjusting());

  EXPECT_FALSE(CCounterValue(false, CCounterValue::CountAsInvalid).isAdjusting());
  EXPECT_TRUE(CCounterValue(false, CCounterValue::CountAsOverflow).isAdjusting());
  EXPECT_TRUE(CCounterValue(false, CCounterValue::CountAsOverflowWithUpTime).isAdjusting());
}

TEST(CounterValue, RatesTextReadingsAndResets) {
  CCounterValue rate(uint64_t{0}, false, "0:00:00.00", CCounterValue::CountAsInvalid);
  EXPECT_EQ(rate.getPersecString(1000ull, 10, "0:00:10.00"), "100");
  EXPECT_EQ(rate.getPersecString(2005ull, 10, "0:00:20.00"), "100");  // rounds down
  EXPECT_EQ(rate.getPersecString(3005ull, 1, "0:00:21.00"), "1000");
  EXPECT_EQ(rate.getPersecString(tstring("4105"), -5, "0:00:23.00"), "1100");

  CCounterValue fresh;
  EXPECT_EQ(fresh.getDeltaString(tstring("100"), ""), "");  // nothing to compare with yet
  EXPECT_EQ(fresh.getDeltaString(tstring("150"), ""), "50");
  EXPECT_EQ(fresh.getDeltaString(tstring(""), "0:00:01.00"), "");  // resets
  EXPECT_EQ(fresh.getValue(), 0u);
  EXPECT_EQ(fresh.getUpTime(), 0u);
  EXPECT_EQ(fresh.getDeltaString(tstring("10"), ""), "");
  EXPECT_EQ(fresh.getDeltaString(tstring("  25xyz"), ""), "15");

  // A reset keeps the width: this object still wraps at 2^64.
  CCounterValue wide(kNear64, true, "", CCounterValue::CountAsOverflow);
  wide.getDeltaString(tstring(""), "");
  wide.getDeltaString(tstring("18446744073709551615"), "");
  EXPECT_EQ(wide.getDeltaString(tstring("1"), ""), "2");
  // A width that is not all ones is taken for 32 bits by a reset.
  CCounterValue narrowed(uint64_t{0}, true, "", CCounterValue::CountAsOverflow);
  narrowed.setMax(100);
  narrowed.getDeltaString(tstring(""), "");
  narrowed.getDeltaString(tstring("4294967290"), "");
  EXPECT_EQ(narrowed.getDeltaString(tstring("5"), ""), "11");

  EXPECT_EQ(CCounterValue(tstring(""), false, "").getDeltaString(7ull, ""), "");
  CCounterValue fromNull(static_cast<const char*>(nullptr), false, "1:00:00.00");
  EXPECT_EQ(fromNull.getValue(), 0u);
  EXPECT_EQ(fromNull.getDeltaString(7ull, ""), "");
  CCounterValue fromText("42", false, "0:00:01.00");
  EXPECT_EQ(fromText.getValue(), 42u);
  EXPECT_EQ(fromText.getUpTime(), 100u);
  EXPECT_EQ(fromText.getDeltaString(50ull, ""), "8");
  EXPECT_EQ(CCounterValue(tstring("-5"), false, "").getValue(), static_cast<uint64_t>(-5));

  CCounterValue device;
  device.setAsDelta(500ull, "0:00:05.00");
  EXPECT_EQ(device.getDelta(), std::make_pair(true, uint64_t{500}));
  EXPECT_EQ(device.getValue(), 500u);
  EXPECT_TRUE(device.isOver(499));
  device.setAsDelta(tstring("700"), "");
  EXPECT_EQ(device.getDelta().second, 700u);
  device.setAsDelta(tstring(""), "");
  EXPECT_FALSE(device.getDelta().first);
  EXPECT_EQ(device.getValue(), 0u);
}

TEST(CounterValue, ComparisonsNeedAValidDelta) {
  CCounterValue c(100ull, false, "");
  for (uint64_t x : {0ull, 100ull, ~0ull}) {
    EXPECT_FALSE(c.isOver(x));
    EXPECT_FALSE(c.isOverEqual(x));
    EXPECT_FALSE(c.isUnder(x));
    EXPECT_FALSE(c.isUnderEqual(x));
  }
  c.getDeltaString(110ull, "");
  EXPECT_TRUE(c.isOver(9));
  EXPECT_FALSE(c.isOver(10));
  EXPECT_TRUE(c.isOverEqual(10));
  EXPECT_FALSE(c.isOverEqual(11));
  EXPECT_TRUE(c.isUnder(11));
  EXPECT_FALSE(c.isUnder(10));
  EXPECT_TRUE(c.isUnderEqual(10));
  EXPECT_FALSE(c.isUnderEqual(9));
}

TEST(CounterValue, UpTimeTexts) {
  const CounterProbe p;
  EXPECT_EQ(p.upTime("3:04:05.67"), 1104567u);
  EXPECT_EQ(p.upTime("3:04:05"), 0u);
  EXPECT_EQ(p.upTime(""), 0u);
  EXPECT_EQ(p.upTime("12 days 3:04:05.67"), 12u * 8640000u + 1104567u);
  EXPECT_EQ(p.upTime("1 day 0:00:00.00"), 8640000u);
  EXPECT_EQ(p.upTime("1 day, 2:00:00.00"), 8640000u);  // ", 2" reads as 0 hours
  EXPECT_EQ(p.upTime("0:00:00.5"), 5u);
  // Each product is taken in 32 bits: 500 days wrap, the sum does not.
  EXPECT_EQ(p.upTime("500 days 0:00:00.00"), (500ull * 8640000ull) % 4294967296ull);
  EXPECT_EQ(p.upTime("497 days 1193:00:00.00"), 497ull * 8640000ull + 1193ull * 360000ull);
  EXPECT_EQ(p.upTime("x:y:z.w"), 0u);
}

TEST(CounterValue, StaticDifferenceOfTexts) {
  EXPECT_EQ(CCounterValue::calcDelta("10", "15", 0), "-5");
  EXPECT_EQ(CCounterValue::calcDelta("15", "10", 2), "2");
  EXPECT_EQ(CCounterValue::calcDelta("-7", "2", 2), "-4");  // towards zero
  EXPECT_EQ(CCounterValue::calcDelta("18446744073709551615", "1", 1), "18446744073709551614");
  EXPECT_EQ(CCounterValue::calcDelta("1", "18446744073709551615", 1), "");
  EXPECT_EQ(CCounterValue::calcDelta("9223372036854775808", "0", 2), "4611686018427387904");
  // With a "-", the same numbers are signed.
  EXPECT_EQ(CCounterValue::calcDelta("-1", "18446744073709551615", 1), "0");
  EXPECT_EQ(CCounterValue::calcDelta("9223372036854775807", "-1", 1), "-9223372036854775808");
  EXPECT_EQ(CCounterValue::calcDelta("", "", 1), "0");
}

TEST(CounterValue, DumpPrintsFiveLines) {
  DefaultPolicyGuard guard;
  CCounterValue::setDefaultPolicy(CCounterValue::CountAsInvalid);
  CCounterValue c(kNear32, false, "0:00:01.00", CCounterValue::CountAsOverflow);
  c.getDeltaString(5ull, "0:00:02.00");
  testing::internal::CaptureStdout();
  c.dump();
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "m_nValue, m_bValid = < 5, true >\n"
            "m_nMax =               4294967295\n"
            "m_nUpTime =            200\n"
            "m_delta   = < true, 11 >\n"
            "policy (default)  = CountAsOverflow (CountAsInvalid)\n");

  CCounterValue::setDefaultPolicy(CCounterValue::CountAsOverflowWithUpTime);
  testing::internal::CaptureStdout();
  CCounterValue(true).dump();
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "m_nValue, m_bValid = < 0, false >\n"
            "m_nMax =               18446744073709551615\n"
            "m_nUpTime =            0\n"
            "m_delta   = < false, 0 >\n"
            "policy (default)  = FollowDefault (CountAsOverflowWithUpTime)\n");
}

}  // namespace
