// libFuzzer target for IPv4 address text: inet_addr and ip_address on any
// text. An accepted address prints as dotted decimal that reads back to the
// same value; ip_address accepts only texts of 7 to 15 characters.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <winsock2.h>

#include "core/addr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const ULONG raw = inet_addr(text.c_str());
  const ip_address ip{tstring(text)};
  if (text.size() < 7 || text.size() > 15) {
    if (!ip.empty()) std::abort();
  } else if (ip.getRaw() != raw) {
    std::abort();
  }
  if (raw != INADDR_NONE) {
    in_addr a{};
    a.s_addr = raw;
    if (inet_addr(inet_ntoa(a)) != raw) std::abort();
  }
  return 0;
}
