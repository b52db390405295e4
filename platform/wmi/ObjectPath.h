// WMI object paths, parsed and built:
//
//   \\server\root\ns:Class.Key="v",Id=12     full path
//   Class.Key="v"                            relative path, named keys
//   Class="v"   Class=12                     the class's single key, unnamed
//   Class=@                                  a singleton
//   Class                                    a class
//
// Quoted values escape '"' and '\' with a backslash; integer keys may be
// written bare (optionally negative) and TRUE/FALSE keys bare. The namespace
// part may use '/' for '\' and the server "." for this machine.
#ifndef OM_PLATFORM_WMI_OBJECTPATH_H_
#define OM_PLATFORM_WMI_OBJECTPATH_H_

#include <string>
#include <string_view>
#include <vector>

#include <wbemcli.h>

namespace om::wmi {

class CimClass;

struct KeyBinding {
  enum class Kind { kString, kInteger, kBoolean };

  std::u16string name;  // empty for the unnamed single key (Class="v")
  Kind kind = Kind::kString;
  // The value: the unescaped text of a string; decimal digits of an integer
  // (with '-' when negative); "TRUE" or "FALSE" for a boolean.
  std::u16string value;

  bool operator==(const KeyBinding&) const = default;
};

struct ObjectPath {
  std::u16string server;     // empty when the path names none
  std::u16string nameSpace;  // "root\Velmoran\OrvaManager"; empty when none
  std::u16string className;
  std::vector<KeyBinding> keys;
  bool singleton = false;    // Class=@

  bool isClassPath() const { return keys.empty() && !singleton; }
  bool isInstancePath() const { return !isClassPath(); }

  // "Class.K=\"v\",N=5", "Class=\"v\"", "Class=@" or "Class".
  std::u16string relPath() const;
  // relPath() preceded by "\\server\namespace:" when both are known, by
  // "namespace:" when only the namespace is.
  std::u16string toString() const;

  bool operator==(const ObjectPath&) const = default;
};

// Parses `text` into `path`. WBEM_E_INVALID_OBJECT_PATH for anything that is
// not a path of the forms above: an empty class name, a key without a value,
// an unterminated or badly escaped string, text after the last key, keys
// named twice, a server without a namespace, ...
HRESULT parseObjectPath(std::u16string_view text, ObjectPath* path);

// Writes `text` as a quoted path value: '"' and '\' are escaped.
std::u16string quoteKeyValue(std::u16string_view text);

// Checks an instance path against the class of its instances and puts it in
// canonical form: the unnamed key gets its name, key names take the class's
// spelling, a quoted number given for an integer key becomes an integer
// ("%s=\"%d\"" names integer keys this way), integers lose leading zeros and
// '+', and the keys are sorted by name. WBEM_E_INVALID_OBJECT_PATH when the
// keys do not match the class's keys (missing, unknown, not a key, a value
// that does not fit the key's type), or when '@' names a class that is not a
// singleton.
HRESULT canonicalizeInstancePath(const CimClass& cls, ObjectPath* path);

// A text that identifies a canonical instance path within its namespace:
// class, key names and string values compared without regard to case.
std::u16string instanceIdentity(const ObjectPath& path);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_OBJECTPATH_H_
