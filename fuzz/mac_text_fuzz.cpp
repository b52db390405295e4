// libFuzzer target for hardware address text: mac_address::unformat on any
// text. An accepted address must print in all three forms and read back from
// each of them unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "core/addr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tstring text(reinterpret_cast<const char*>(data), size);
  mac_address mac;
  const bool parsed = mac.unformat(text);
  if (parsed == mac.empty()) std::abort();  // success exactly when not all zero
  if (!parsed) return 0;
  for (const tstring& form : {mac.format1(), mac.format2(), mac.format3()}) {
    if (!(mac_address(form) == mac)) std::abort();
  }
  return 0;
}
