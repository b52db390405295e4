// What the .reg reader and writer share: the headers and the UTF-16LE form
// of file text and of text values in version 5 files.
#ifndef OM_PLATFORM_OMTOOLS_REGFILETEXT_H_
#define OM_PLATFORM_OMTOOLS_REGFILETEXT_H_

#include <string>
#include <string_view>

#include <om/RegFile.h>

namespace om {

inline constexpr std::string_view kRegBom = "\xFF\xFE";

inline std::string_view regHeader(RegFormat format) {
  return format == RegFormat::kVersion5 ? "Windows Registry Editor Version 5.00" : "REGEDIT4";
}

// The UTF-16LE bytes of code page 932 text.
std::string cp932ToUtf16Le(std::string_view text);
// Code page 932 text from UTF-16LE bytes; false for an odd byte count.
bool utf16LeToCp932(std::string_view bytes, std::string* text);

// True for the types whose data the file holds as text (UTF-16 in version 5):
// REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ.
inline bool isTextType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

}  // namespace om

#endif  // OM_PLATFORM_OMTOOLS_REGFILETEXT_H_
