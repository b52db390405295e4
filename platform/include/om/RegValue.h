// RegValue: one typed registry value, as the registry store keeps it.
//
// `data` holds the value's bytes in the store's form:
//   REG_SZ, REG_EXPAND_SZ  code page 932 text, without a terminating NUL;
//   REG_MULTI_SZ           code page 932 strings, each followed by a NUL, then
//                          one more NUL (the layout Windows uses);
//   REG_DWORD, REG_QWORD   4 or 8 bytes, little-endian;
//   any other type         the bytes as written.
// Values imported from elsewhere may break these rules (a REG_DWORD of 3
// bytes, say); the accessors below then fail instead of guessing.
#ifndef OM_PLATFORM_OM_REGVALUE_H_
#define OM_PLATFORM_OM_REGVALUE_H_

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace om {

struct RegValue {
  DWORD type = REG_NONE;
  std::string data;

  static RegValue text(std::string_view text, DWORD type = REG_SZ);
  static RegValue dword(DWORD value);
  static RegValue qword(ULONGLONG value);
  // Empty items are left out: an empty string ends the list.
  static RegValue multiString(const std::vector<std::string>& items);

  // The number of a REG_DWORD (REG_QWORD) value of exactly 4 (8) bytes.
  bool getDword(DWORD* value) const;
  bool getQword(ULONGLONG* value) const;
  // The strings of a REG_MULTI_SZ value, up to its first empty string.
  std::vector<std::string> multiStrings() const;

  // The value as text: REG_SZ and REG_EXPAND_SZ as stored (not expanded),
  // REG_DWORD and REG_QWORD as unsigned decimal, REG_MULTI_SZ as its strings
  // each followed by a line feed except the last, any other type as its raw
  // bytes. False for a malformed REG_DWORD or REG_QWORD.
  bool toText(std::string* text) const;

  bool operator==(const RegValue& other) const = default;
};

// A value together with its name (the empty name is the key's default value).
struct RegNamedValue {
  std::string name;
  RegValue value;
};

// "REG_SZ", "REG_DWORD", ... for the known types; "REG_0x<hex>" otherwise.
std::string regTypeName(DWORD type);

}  // namespace om

#endif  // OM_PLATFORM_OM_REGVALUE_H_
