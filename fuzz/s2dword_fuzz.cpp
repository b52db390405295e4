// libFuzzer target for the dotted decimal of CIpAddress: s2dword on any text
// and the constructor from an address and a mask text. A parsed value prints
// with dword2s and parses back to itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "core/IpAddress.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tstring text(reinterpret_cast<const char*>(data), size);
  unsigned long value = 1;
  if (CIpAddress::s2dword(text, value)) {
    if (CIpAddress::s2dword(CIpAddress::dword2s(value)) != value) std::abort();
  } else if (value != 0) {
    std::abort();
  }
  // The first half as the address, the rest as the mask.
  const CIpAddress ip(text.substr(0, size / 2), text.substr(size / 2));
  ip.getNumOfHost();
  ip.isValid();
  ip.isValidNetId();
  ip.getBroadcastAddress(true);
  return 0;
}
