// Text helpers of the object manager: names compare without regard to case
// (ASCII letters, as CIM names do), and UTF-8 <-> UTF-16 at the edges.
#ifndef OM_PLATFORM_WMI_TEXT_H_
#define OM_PLATFORM_WMI_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <oleauto.h>

namespace om::wmi {

inline char16_t foldChar(char16_t c) { return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c - u'A' + u'a') : c; }
// The text with ASCII letters in lower case.
std::u16string foldCase(std::u16string_view text);
bool equalsNoCase(std::u16string_view a, std::u16string_view b);
// <0, 0, >0 as a compares to b without regard to case.
int compareNoCase(std::u16string_view a, std::u16string_view b);

// For ordered and hashed containers keyed by names.
struct NoCaseLess {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const { return compareNoCase(a, b) < 0; }
};
struct NoCaseHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view name) const;
};
struct NoCaseEqual {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const { return equalsNoCase(a, b); }
};

std::u16string toU16(std::string_view utf8);
std::string toUtf8(std::u16string_view text);

// The characters of a BSTR (all of them, embedded NULs included).
inline std::u16string_view bstrView(BSTR s) { return {s == nullptr ? u"" : s, SysStringLen(s)}; }
// The text up to its NUL; empty for null.
inline std::u16string_view wideView(const char16_t* s) {
  return s == nullptr ? std::u16string_view() : std::u16string_view(s);
}
// A new BSTR with the text; the caller frees it.
BSTR allocBstr(std::u16string_view text);
// A new SAFEARRAY of BSTR (lower bound 0) with the texts; null when out of
// memory. The caller destroys it.
SAFEARRAY* stringArray(const std::vector<std::u16string>& items);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_TEXT_H_
