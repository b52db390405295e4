// Conversions between code page 932 (the library's narrow text), UTF-16 (BSTR
// and other wide text) and UTF-8 (terminal, files and JSON of the programs).
// All of them go through glibc iconv. Characters that cannot be converted
// become a replacement: U+30FB from 932, U+FFFD from UTF-8 and '?' into 932.
#ifndef OM_PLATFORM_OM_CODEPAGE_H_
#define OM_PLATFORM_OM_CODEPAGE_H_

#include <string>
#include <string_view>

namespace om {

std::u16string cp932ToUtf16(std::string_view text);
std::string utf16ToCp932(std::u16string_view text);
std::string cp932ToUtf8(std::string_view text);
std::string utf8ToCp932(std::string_view text);
std::u16string utf8ToUtf16(std::string_view text);
std::string utf16ToUtf8(std::u16string_view text);

// The name of a file as the kernel knows it (UTF-8) for a file name as the
// library holds it (code page 932). Every file opened by the platform layer
// goes through this.
inline std::string fileSystemPath(std::string_view cp932Path) { return cp932ToUtf8(cp932Path); }

// True when `c` starts a double-byte character of code page 932.
inline bool isCp932LeadByte(unsigned char c) {
  return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
}

// Length in bytes of the character of code page 932 text that starts at `i`:
// 2 for a lead byte followed by a trail byte, otherwise 1.
inline size_t cp932CharLength(std::string_view text, size_t i) {
  return (isCp932LeadByte(static_cast<unsigned char>(text[i])) && i + 1 < text.size()) ? 2 : 1;
}

}  // namespace om

#endif  // OM_PLATFORM_OM_CODEPAGE_H_
