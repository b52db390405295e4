#include "Literals.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>

#include <wbemcli.h>

namespace om::wmi {

HRESULT integerLiteral(std::u16string_view text, VARIANT* out) {
  if (std::any_of(text.begin(), text.end(), [](char16_t c) { return c >= 0x80; })) return WBEM_E_TYPE_MISMATCH;
  std::string ascii(text.begin(), text.end());
  const bool negative = !ascii.empty() && ascii[0] == '-';
  if (!ascii.empty() && (ascii[0] == '-' || ascii[0] == '+')) ascii.erase(0, 1);
  int base = 10;
  if (ascii.size() > 2 && ascii[0] == '0' && (ascii[1] == 'x' || ascii[1] == 'X')) {
    ascii.erase(0, 2);
    base = 16;
  }
  uint64_t magnitude = 0;
  const auto [end, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), magnitude, base);
  if (ascii.empty() || ec != std::errc() || end != ascii.data() + ascii.size()) return WBEM_E_TYPE_MISMATCH;
  if (negative && magnitude > 9223372036854775808u) return WBEM_E_TYPE_MISMATCH;
  VariantInit(out);
  if (!negative) {
    out->vt = VT_UI8;
    out->ullVal = magnitude;
  } else {
    out->vt = VT_I8;
    out->llVal = magnitude == 9223372036854775808u ? INT64_MIN : -static_cast<int64_t>(magnitude);
  }
  return S_OK;
}

}  // namespace om::wmi
