// CCounterValue: deltas and per-second rates of an SNMP counter (Counter32
// or Counter64) from successive readings given as text.
#ifndef OMLIB_CORE_COUNTERVALUE_H_
#define OMLIB_CORE_COUNTERVALUE_H_

#include <cstdint>
#include <utility>

#include <omtools/tstring.h>

// Remembers the last reading and the agent's sysUpTime at that reading
// (hundredths of a second). When a new reading is below the old one, the
// policy decides whether the counter wrapped or the reading is invalid.
//
// Counter texts are signed 64-bit decimals read from their leading digits;
// digits beyond the signed range wrap modulo 2^64, so Counter64 texts above
// it keep their value. sysUpTime texts look like "12 days 3:04:05.67"; in
// their sum each product is taken in 32 bits, as the agents' displays do.
class CCounterValue {
 public:
  enum CountPolicy {
    FollowDefault = 0,              // the process-wide default policy
    CountAsInvalid = 1,             // no delta
    CountAsOverflow = 2,            // wrapped: max - old + new + 1
    CountAsOverflowWithUpTime = 3,  // wrapped unless sysUpTime went back
  };

  explicit CCounterValue(bool is64 = false, CountPolicy policy = FollowDefault);
  CCounterValue(uint64_t value, bool is64, const tstring& upTime, CountPolicy policy = FollowDefault);
  // Valid only when the text is not empty.
  CCounterValue(const tstring& value, bool is64, const tstring& upTime, CountPolicy policy = FollowDefault);
  // A null or empty string gives value 0, not valid.
  CCounterValue(const char* value, bool is64, const tstring& upTime, CountPolicy policy = FollowDefault);
  CCounterValue(const CCounterValue& other) = default;
  CCounterValue& operator=(const CCounterValue& other) = default;
  virtual ~CCounterValue() = default;

  const uint64_t& getValue() const { return m_nValue; }
  const uint64_t& getUpTime() const { return m_nUpTime; }
  const std::pair<bool, uint64_t>& getDelta() const { return m_delta; }

  void setTo64(bool is64);
  void setMax(uint64_t max) { m_nMax = max; }

  // Accepts CountAsInvalid, CountAsOverflow and CountAsOverflowWithUpTime;
  // false (and no change) for anything else.
  static bool setDefaultPolicy(CountPolicy policy);
  static CountPolicy getDefaultPolicy() { return s_defaultPolicy; }

  // The effective policy counts a wrap.
  bool isAdjusting() const;

  // Comparisons of the delta with `x`; false when the delta is invalid.
  bool isOver(uint64_t x) const;
  bool isOverEqual(uint64_t x) const;
  bool isUnder(uint64_t x) const;
  bool isUnderEqual(uint64_t x) const;

  // Feeds a reading and returns the delta, divided by `divisor` when it is 2
  // or more, as unsigned decimal; empty text when there is none. The object
  // then holds the reading. An empty text reading resets the object instead.
  tstring getDeltaString(uint64_t value, const tstring& upTime, int divisor = 1);
  tstring getDeltaString(const tstring& value, const tstring& upTime, int divisor = 1);
  // The same per second of the polling interval `seconds`.
  tstring getPersecString(uint64_t value, int seconds, const tstring& upTime);
  tstring getPersecString(const tstring& value, int seconds, const tstring& upTime);

  // Takes `value` as the reading and as a valid delta, for devices that
  // report a rate already. An empty text resets the object.
  void setAsDelta(uint64_t value, const tstring& upTime);
  void setAsDelta(const tstring& value, const tstring& upTime);

  // (a - b) / divisor of two counter texts (a divisor below 1 counts as 1):
  // unsigned, or empty text when a < b, when neither text has a "-" and one
  // value is beyond the signed range; otherwise signed, possibly negative.
  static tstring calcDelta(const tstring& a, const tstring& b, int divisor);

  // Prints the state as five lines on standard output.
  void dump() const;

 protected:
  // On entry `value` is the new reading, on return the delta; false (and the
  // delta invalid) when there is none.
  bool calcDelta(uint64_t& value, uint64_t upTime);
  uint64_t parseUpTime(const tstring& upTime) const;

 private:
  // Empties the reading and the delta, keeping the policy and the width.
  void reset();

  uint64_t m_nValue;
  uint64_t m_nMax;
  uint64_t m_nUpTime;
  bool m_bValid;
  std::pair<bool, uint64_t> m_delta;
  CountPolicy m_policy;

  static CountPolicy s_defaultPolicy;
};

#endif  // OMLIB_CORE_COUNTERVALUE_H_
