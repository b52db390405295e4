#include "core/CounterValue.h"

#include <cinttypes>
#include <cstdio>

namespace {

constexpr uint64_t kMax32 = 4294967295u;
constexpr uint64_t kMax64 = UINT64_MAX;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// Leading blanks, an optional sign, then decimal digits up to the first
// non-digit, accumulated modulo 2^bits of U (a negative value as its two's
// complement).
template <class U>
U leadingDecimal(const tstring& text, size_t begin, size_t end) {
  size_t i = begin;
  while (i < end && isBlank(text[i])) ++i;
  bool negative = false;
  if (i < end && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  U value = 0;
  for (; i < end && text[i] >= '0' && text[i] <= '9'; ++i) value = static_cast<U>(value * 10u + static_cast<U>(text[i] - '0'));
  return negative ? static_cast<U>(0u - value) : value;
}

int64_t parseInt64(const tstring& text) { return static_cast<int64_t>(leadingDecimal<uint64_t>(text, 0, text.size())); }

const char* policyName(CCounterValue::CountPolicy policy) {
  static const char* const kNames[] = {"FollowDefault", "CountAsInvalid", "CountAsOverflow",
                                       "CountAsOverflowWithUpTime"};
  return policy >= 0 && policy <= 3 ? kNames[policy] : "";
}

const char* boolName(bool value) { return value ? "true" : "false"; }

}  // namespace

CCounterValue::CountPolicy CCounterValue::s_defaultPolicy = CCounterValue::CountAsInvalid;

CCounterValue::CCounterValue(bool is64, CountPolicy policy)
    : m_nValue(0), m_nMax(is64 ? kMax64 : kMax32), m_nUpTime(0), m_bValid(false), m_delta(false, 0),
      m_policy(policy) {}

CCounterValue::CCounterValue(uint64_t value, bool is64, const tstring& upTime, CountPolicy policy)
    : CCounterValue(is64, policy) {
  m_nValue = value;
  m_nUpTime = parseUpTime(upTime);
  m_bValid = true;
}

CCounterValue::CCounterValue(const tstring& value, bool is64, const tstring& upTime, CountPolicy policy)
    : CCounterValue(static_cast<uint64_t>(parseInt64(value)), is64, upTime, policy) {
  m_bValid = !value.empty();
}

CCounterValue::CCounterValue(const char* value, bool is64, const tstring& upTime, CountPolicy policy)
    : CCounterValue(tstring(value != nullptr ? value : ""), is64, upTime, policy) {}

void CCounterValue::setTo64(bool is64) { m_nMax = is64 ? kMax64 : kMax32; }

bool CCounterValue::setDefaultPolicy(CountPolicy policy) {
  if (policy != CountAsInvalid && policy != CountAsOverflow && policy != CountAsOverflowWithUpTime) return false;
  s_defaultPolicy = policy;
  return true;
}

bool CCounterValue::isAdjusting() const {
  const CountPolicy policy = m_policy == FollowDefault ? s_defaultPolicy : m_policy;
  return policy == CountAsOverflow || policy == CountAsOverflowWithUpTime;
}

bool CCounterValue::isOver(uint64_t x) const { return m_delta.first && m_delta.second > x; }
bool CCounterValue::isOverEqual(uint64_t x) const { return m_delta.first && m_delta.second >= x; }
bool CCounterValue::isUnder(uint64_t x) const { return m_delta.first && m_delta.second < x; }
bool CCounterValue::isUnderEqual(uint64_t x) const { return m_delta.first && m_delta.second <= x; }

tstring CCounterValue::getDeltaString(uint64_t value, const tstring& upTime, int divisor) {
  const uint64_t newUpTime = parseUpTime(upTime);
  uint64_t delta = value;
  tstring answer;
  if (calcDelta(delta, newUpTime)) {
    if (divisor >= 2) delta /= static_cast<uint64_t>(divisor);
    m_delta.second = delta;
    answer.format("%" PRIu64, delta);
  }
  m_nValue = value;
  m_nUpTime = newUpTime;
  m_bValid = true;
  return answer;
}

tstring CCounterValue::getDeltaString(const tstring& value, const tstring& upTime, int divisor) {
  if (value.empty()) {
    reset();
    return tstring();
  }
  return getDeltaString(static_cast<uint64_t>(parseInt64(value)), upTime, divisor);
}

tstring CCounterValue::getPersecString(uint64_t value, int seconds, const tstring& upTime) {
  return getDeltaString(value, upTime, seconds);
}

tstring CCounterValue::getPersecString(const tstring& value, int seconds, const tstring& upTime) {
  return getDeltaString(value, upTime, seconds);
}

void CCounterValue::setAsDelta(uint64_t value, const tstring& upTime) {
  m_nValue = value;
  m_nUpTime = parseUpTime(upTime);
  m_bValid = true;
  m_delta = {true, value};
}

void CCounterValue::setAsDelta(const tstring& value, const tstring& upTime) {
  if (value.empty()) {
    reset();
    return;
  }
  setAsDelta(static_cast<uint64_t>(parseInt64(value)), upTime);
}

tstring CCounterValue::calcDelta(const tstring& a, const tstring& b, int divisor) {
  if (divisor < 1) divisor = 1;
  const int64_t va = parseInt64(a);
  const int64_t vb = parseInt64(b);
  const bool noSign = a.find('-') == tstring::npos && b.find('-') == tstring::npos;
  tstring answer;
  if (noSign && (va < 0 || vb < 0)) {
    const uint64_t ua = static_cast<uint64_t>(va);
    const uint64_t ub = static_cast<uint64_t>(vb);
    if (ua >= ub) answer.format("%" PRIu64, (ua - ub) / static_cast<uint64_t>(divisor));
  } else {
    const int64_t difference = static_cast<int64_t>(static_cast<uint64_t>(va) - static_cast<uint64_t>(vb));
    answer.format("%" PRId64, difference / divisor);
  }
  return answer;
}

void CCounterValue::dump() const {
  std::printf("m_nValue, m_bValid = < %" PRIu64 ", %s >\n", m_nValue, boolName(m_bValid));
  std::printf("m_nMax =               %" PRIu64 "\n", m_nMax);
  std::printf("m_nUpTime =            %" PRIu64 "\n", m_nUpTime);
  std::printf("m_delta   = < %s, %" PRIu64 " >\n", boolName(m_delta.first), m_delta.second);
  std::printf("policy (default)  = %s (%s)\n", policyName(m_policy), policyName(s_defaultPolicy));
}

bool CCounterValue::calcDelta(uint64_t& value, uint64_t upTime) {
  if (!m_bValid) {
    m_delta = {false, 0};
    return false;
  }
  if (value >= m_nValue) {
    value -= m_nValue;
    m_delta = {true, value};
    return true;
  }
  const CountPolicy policy = m_policy == FollowDefault ? s_defaultPolicy : m_policy;
  if (policy == CountAsOverflow || (policy == CountAsOverflowWithUpTime && upTime >= m_nUpTime)) {
    value = m_nMax - m_nValue + value + 1;
    m_delta = {true, value};
    return true;
  }
  m_delta = {false, 0};
  return false;
}

uint64_t CCounterValue::parseUpTime(const tstring& upTime) const {
  if (upTime.empty()) return 0;
  const tstring text = upTime + ".";
  // Days, hours, minutes, seconds, hundredths and their weights.
  static const uint32_t kWeights[5] = {8640000, 360000, 6000, 100, 1};
  uint32_t parts[5] = {};
  size_t pos = 0;
  size_t found = text.find("days", pos);
  size_t separatorLength = 4;
  if (found == tstring::npos) {
    found = text.find("day", pos);
    separatorLength = 3;
  }
  if (found != tstring::npos) {
    parts[0] = leadingDecimal<uint32_t>(text, pos, found);
    pos = found + separatorLength;
  }
  static const char kSeparators[4] = {':', ':', '.', '.'};
  for (int i = 0; i < 4; ++i) {
    found = text.find(kSeparators[i], pos);
    if (found == tstring::npos) return 0;
    parts[i + 1] = leadingDecimal<uint32_t>(text, pos, found);
    pos = found + 1;
  }
  uint64_t sum = 0;
  for (int i = 0; i < 5; ++i) sum += static_cast<uint32_t>(parts[i] * kWeights[i]);
  return sum;
}

void CCounterValue::reset() {
  setTo64(m_nMax == kMax64);
  m_nValue = 0;
  m_nUpTime = 0;
  m_bValid = false;
  m_delta = {false, 0};
}
