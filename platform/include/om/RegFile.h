// RegFile: the .reg text format of the Windows registry editor, read into a
// list of operations and applied to the registry store, or written from it.
//
// Two forms are known:
//   version 5   "Windows Registry Editor Version 5.00", UTF-16LE text with a
//               byte order mark; text values (including the bytes of hex(1),
//               hex(2) and hex(7) data) are UTF-16 in the file.
//   REGEDIT4    "REGEDIT4", code page 932 text, as the store keeps it.
// Lines end with CR LF (a bare LF is accepted on reading). After the header:
//   [HKEY_LOCAL_MACHINE\Path]   creates the key (HKLM, HKEY_CURRENT_USER and
//                               HKCU are accepted too)
//   [-HKEY_LOCAL_MACHINE\Path]  deletes the key and its subtree
//   "name"="text"               REG_SZ; \\ and \" are the only escapes
//   @=...                       the key's default value
//   "name"=dword:0000000a       REG_DWORD, exactly 8 hex digits
//   "name"=hex:01,02            REG_BINARY; hex(N): is a value of type N
//                               (hex(2) REG_EXPAND_SZ, hex(7) REG_MULTI_SZ,
//                               hex(b) REG_QWORD). A line ending with a
//                               backslash continues on the next one.
//   "name"=-                    deletes the value
//   ; comment, and blank lines.
// Value lines belong to the key line above them.
#ifndef OM_PLATFORM_OM_REGFILE_H_
#define OM_PLATFORM_OM_REGFILE_H_

#include <string>
#include <string_view>
#include <vector>

#include <om/RegValue.h>
#include <om/RegistryStore.h>
#include <windows.h>

namespace om {

enum class RegFormat { kVersion5, kRegedit4 };

// One change that a .reg file asks for.
struct RegOperation {
  enum Kind { kCreateKey, kDeleteKey, kSetValue, kDeleteValue };

  Kind kind = kCreateKey;
  RegHive hive = RegHive::kLocalMachine;
  RegKeyPath key;
  std::string name;  // the value of kSetValue and kDeleteValue
  RegValue value;    // kSetValue
  int line = 0;      // where the file asks for it
};

class RegFile {
 public:
  // Reads a whole .reg file (its raw bytes). False when it is not one or a
  // line is malformed; error() then names the line ("line 12: ...") and no
  // operation is kept. Touches nothing but this object.
  bool parse(std::string_view bytes);

  // Applies the parsed operations: all operations on one hive in one
  // transaction, committed only when every operation of every hive succeeded,
  // so that a failure changes nothing. Deleting a key or value that does not
  // exist is no failure. False with error() set otherwise.
  bool apply();

  RegFormat format() const { return format_; }
  const std::vector<RegOperation>& operations() const { return operations_; }
  const std::string& error() const { return error_; }

  // Writes the existing key `key` of `hive` with its subtree, keys in
  // depth-first case-insensitive order, as the raw bytes of a .reg file.
  // Returns a Win32 error code (ERROR_FILE_NOT_FOUND for a missing key).
  static DWORD exportKey(RegHive hive, const RegKeyPath& key, RegFormat format, std::string* bytes);

 private:
  RegFormat format_ = RegFormat::kVersion5;
  std::vector<RegOperation> operations_;
  std::string error_;
};

}  // namespace om

#endif  // OM_PLATFORM_OM_REGFILE_H_
