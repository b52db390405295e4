// libFuzzer target for counter texts: sysUpTime parsing, counter readings and
// the static difference of two texts. The input is split at its first NUL:
// the first part is a reading or sysUpTime, the second another.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/CounterValue.h"

namespace {

class CounterProbe : public CCounterValue {
 public:
  using CCounterValue::CCounterValue;
  uint64_t upTime(const tstring& text) const { return parseUpTime(text); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t nul = input.find('\0');
  const tstring first = input.substr(0, nul);
  const tstring second = nul == std::string::npos ? tstring() : tstring(input.substr(nul + 1));

  CounterProbe probe(false, CCounterValue::CountAsOverflowWithUpTime);
  const uint64_t up = probe.upTime(first);
  // Every term is a 32-bit value: the sum of five of them stays below 5 * 2^32.
  if (up >= 5 * 4294967296ull) std::abort();
  probe.getDeltaString(first, second, static_cast<int>(size % 7));
  probe.getDeltaString(second, first, 3);
  const tstring delta = CCounterValue::calcDelta(first, second, static_cast<int>(size % 5) - 1);
  if (delta.empty() && (first.find('-') != tstring::npos || second.find('-') != tstring::npos)) std::abort();
  return 0;
}
