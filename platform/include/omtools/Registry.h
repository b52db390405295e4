// CRegistry: the helper library's accessor of one registry key of
// HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER (the store is described in
// om/RegistryStore.h).
//
// As on Windows, the constructor opens an existing key only: a missing key,
// or a hive other than those two, leaves the accessor not open, and every
// call on it then fails with ERROR_INVALID_HANDLE. The accessor keeps no
// data: each call reads or writes the store at once, so it sees what any
// process committed last. A call on a key that was deleted after it was
// opened fails with ERROR_KEY_DELETED.
//
// Failures return false and set the thread's last error (SetLastError):
// ERROR_FILE_NOT_FOUND for a missing key or value, ERROR_INVALID_DATA for a
// value of the wrong type, ERROR_INVALID_PARAMETER for an invalid name, and
// ERROR_ACCESS_DENIED, ERROR_CANTREAD, ERROR_CANTWRITE or ERROR_BADDB when the
// store cannot be used. Names are code page 932 text; the empty value name is
// the key's default value.
#ifndef OM_PLATFORM_OMTOOLS_REGISTRY_H_
#define OM_PLATFORM_OMTOOLS_REGISTRY_H_

#include <string>
#include <vector>

#include <om/RegistryStore.h>
#include <omtools/tstring.h>
#include <windows.h>

class CRegistry {
 public:
  CRegistry(HKEY hive, const tstring& path);

  bool isOpen() const { return open_; }
  HKEY getHive() const { return hive_; }
  const tstring& getPath() const { return path_; }

  // The value as text: REG_SZ and REG_EXPAND_SZ as stored, REG_DWORD and
  // REG_QWORD as unsigned decimal, REG_MULTI_SZ as its strings separated by
  // line feeds, any other type as its raw bytes. `value` is left untouched on
  // failure.
  bool getValue(const tstring& name, tstring& value) const;
  // A REG_DWORD value (any other type fails with ERROR_INVALID_DATA).
  bool getDWORDValue(const tstring& name, DWORD& value) const;
  // Write a REG_SZ or REG_DWORD value, replacing any value of that name.
  bool setValue(const tstring& name, const tstring& value);
  bool setDWORDValue(const tstring& name, DWORD value);
  bool deleteValue(const tstring& name);

  // Names of the subkeys and of the values, in case-insensitive order.
  bool enumSubkeys(std::vector<tstring>& names) const;
  bool enumValues(std::vector<tstring>& names) const;

  // Create (with missing parents) or delete (with its subtree) the key at
  // `relPath` below this one.
  bool createSubkey(const tstring& relPath);
  bool deleteSubkey(const tstring& relPath);

  static bool createKey(HKEY hive, const tstring& path);
  static bool deleteKey(HKEY hive, const tstring& path);
  static bool keyExists(HKEY hive, const tstring& path);

 private:
  // Runs `op` on a transaction of this key's store and sets the last error
  // from its result; a missing key then means ERROR_KEY_DELETED.
  template <class Op>
  bool run(om::RegTransaction::Mode mode, Op op) const;

  HKEY hive_;
  tstring path_;
  bool open_ = false;
  std::string directory_;  // where the hive's store was when the key was opened
  om::RegKeyPath key_;
};

#endif  // OM_PLATFORM_OMTOOLS_REGISTRY_H_
