// Integer literals as MOF and CIM-XML write them: an optional sign, then
// decimal digits or "0x" and hexadecimal digits.
#ifndef OM_PLATFORM_WMI_LITERALS_H_
#define OM_PLATFORM_WMI_LITERALS_H_

#include <string_view>

#include <oleauto.h>

namespace om::wmi {

// The value of `text` in `out`: VT_UI8 when not negative, else VT_I8.
// WBEM_E_TYPE_MISMATCH for anything else (other characters, no digits, a
// value beyond 64 bits), which leaves `out` untouched.
HRESULT integerLiteral(std::u16string_view text, VARIANT* out);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_LITERALS_H_
