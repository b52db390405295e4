// The registry store: the keys and values of the hives HKEY_LOCAL_MACHINE and
// HKEY_CURRENT_USER, kept in LMDB, one environment per hive.
//
// Location (resolved again each time a transaction begins, so that a change
// of the environment variables takes effect at once):
//   HKEY_LOCAL_MACHINE  $OMLIB_HOME/registry/machine; OMLIB_HOME defaults to
//                       /var/lib/omlib when that can be created or written,
//                       else to $XDG_DATA_HOME/omlib (~/.local/share/omlib).
//   HKEY_CURRENT_USER   $OMLIB_USER_HOME/registry/user when OMLIB_USER_HOME is
//                       set, else $XDG_CONFIG_HOME/omlib/registry/user
//                       (~/.config/omlib/registry/user).
// The directory is created by the first write; reading a store that does not
// exist sees an empty hive. Each directory is opened once per process.
//
// Names: key paths are components separated by backslashes (a backslash that
// is the trail byte of a code page 932 character separates nothing; empty
// components are skipped). Key and value names compare without regard to the
// case of ASCII letters, and keep the case they were created with. Key names
// may not contain control characters (bytes below 0x20), value names no NUL.
// The empty value name is the key's default value. The hive's root key always
// exists.
//
// Record layout (one LMDB database per environment). A key path P is encoded
// as enc(P): each component, its ASCII letters folded to lower case, followed
// by a 0 byte (the root is the empty string). Then:
//   enc(P) 0x01 fold(child)  ->  child's name with its case      (child link)
//   enc(P) 0x02 fold(name)   ->  type (4 bytes, little-endian),
//                                name with its case, 0, data     (value)
// Because a component never contains 0 and never starts with 0x01 or 0x02,
// "subkeys of P" is the prefix enc(P) 0x01, "values of P" the prefix
// enc(P) 0x02, and the whole subtree of P (its values, its links and every
// record of its descendants) the prefix enc(P); P itself exists when its
// parent holds its child link. LMDB keys are at most 511 bytes, which bounds
// the length of a path plus one name.
//
// Concurrency: every read runs in its own read transaction and sees what any
// process committed last; each write is one write transaction, serialised
// across processes by LMDB's lock, and atomic: a writer killed in the middle
// leaves the store as it was before its transaction.
#ifndef OM_PLATFORM_OM_REGISTRYSTORE_H_
#define OM_PLATFORM_OM_REGISTRYSTORE_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <om/RegValue.h>
#include <windows.h>

struct MDB_txn;

namespace om {

enum class RegHive { kLocalMachine, kCurrentUser };

// The hive of a predefined handle; nothing for any other handle.
std::optional<RegHive> regHiveFromHandle(HKEY hive);
HKEY regHiveHandle(RegHive hive);
// "HKEY_LOCAL_MACHINE" or "HKEY_CURRENT_USER".
const char* regHiveName(RegHive hive);
// The hive named by `name`: HKEY_LOCAL_MACHINE, HKLM, HKEY_CURRENT_USER or
// HKCU, in any case.
std::optional<RegHive> parseRegHiveName(std::string_view name);
// The store directory of `hive`, from the environment as it is now.
std::string regStoreDirectory(RegHive hive);
// The machine's home of omlib's files: $OMLIB_HOME, else /var/lib/omlib when
// that can be created or written, else $XDG_DATA_HOME/omlib. The registry,
// the server's socket (run/) and its certificate (tls/) live under it.
std::string machineHome();
// A short English description of a Win32 error code that the store reports.
std::string regErrorText(DWORD error);

// A key's path inside its hive, split into components (code page 932 text).
class RegKeyPath {
 public:
  RegKeyPath() = default;  // the hive's root key
  explicit RegKeyPath(std::string_view path);

  const std::vector<std::string>& components() const { return components_; }
  bool isRoot() const { return components_.empty(); }
  // False when a component holds a control character.
  bool valid() const;
  // The path below this one by `relative` (itself a backslash path).
  RegKeyPath child(std::string_view relative) const;
  RegKeyPath parent() const;
  // The components joined with backslashes.
  std::string str() const;

 private:
  std::vector<std::string> components_;
};

// Splits a full key name as Windows writes it, "HKEY_LOCAL_MACHINE\SOFTWARE\X"
// (or "HKLM\SOFTWARE\X", or a hive alone), into its hive and path; false for
// an unknown hive.
bool parseRegKeyName(std::string_view fullName, RegHive* hive, RegKeyPath* key);

// One LMDB transaction on the store of one hive: a read transaction sees one
// consistent state of the store; a write transaction changes nothing until
// commit() and is aborted by the destructor otherwise. Every operation
// returns a Win32 error code: ERROR_SUCCESS, ERROR_FILE_NOT_FOUND (missing key
// or value), ERROR_INVALID_PARAMETER (bad or over-long name),
// ERROR_ACCESS_DENIED, ERROR_CANTREAD, ERROR_CANTWRITE, ERROR_BADDB.
// A transaction belongs to the thread that began it; one thread holds at most
// one read transaction at a time.
class RegTransaction {
 public:
  enum Mode { kRead, kWrite };

  RegTransaction(RegHive hive, Mode mode);
  // The store in `directory` (as regStoreDirectory gives it).
  RegTransaction(const std::string& directory, Mode mode);
  ~RegTransaction();
  RegTransaction(const RegTransaction&) = delete;
  RegTransaction& operator=(const RegTransaction&) = delete;

  // ERROR_SUCCESS when the transaction began; otherwise every operation
  // returns this code.
  DWORD status() const { return status_; }

  bool keyExists(const RegKeyPath& key) const;
  // The path of an existing key with the case each component was created
  // with.
  DWORD casedPath(const RegKeyPath& key, RegKeyPath* cased) const;
  DWORD getValue(const RegKeyPath& key, std::string_view name, RegValue* value) const;
  // Names of the subkeys, and the values, in case-insensitive name order.
  DWORD enumSubkeys(const RegKeyPath& key, std::vector<std::string>* names) const;
  DWORD enumValues(const RegKeyPath& key, std::vector<RegNamedValue>* values) const;

  // Write transactions only (ERROR_ACCESS_DENIED in a read transaction).
  // The store's directory is created by the first change.
  // createKey creates missing parents too and succeeds for an existing key;
  // deleteKey removes the key with its subtree (the root cannot be deleted);
  // setValue and deleteValue need the key to exist.
  DWORD createKey(const RegKeyPath& key);
  DWORD deleteKey(const RegKeyPath& key);
  DWORD setValue(const RegKeyPath& key, std::string_view name, const RegValue& value);
  DWORD deleteValue(const RegKeyPath& key, std::string_view name);
  // Ends the transaction; the changes of a write transaction become visible
  // to every process at once.
  DWORD commit();

 private:
  // Begins the LMDB transaction; a store that does not exist is created
  // when `create`, else left alone (txn_ stays null).
  DWORD begin(bool create);
  // ERROR_SUCCESS when `key` exists, else why not.
  DWORD requireKey(const RegKeyPath& key) const;
  // `data` shows the stored bytes until the transaction ends or writes.
  DWORD get(const std::string& recordKey, std::string_view* data) const;
  DWORD put(const std::string& recordKey, const std::string& data);
  DWORD del(const std::string& recordKey);
  // Calls `visit(recordKey, data)` for every record starting with `prefix`;
  // a visit that returns false (a record it cannot read) ends the scan with
  // ERROR_BADDB.
  template <class Visit>
  DWORD scan(const std::string& prefix, Visit visit) const;
  // ERROR_SUCCESS when this transaction may change the store, which it
  // then creates if needed.
  DWORD writable();

  std::string directory_;
  DWORD status_;
  MDB_txn* txn_ = nullptr;  // null while the store does not exist
  unsigned dbi_ = 0;
  size_t maxKeySize_ = 0;
  bool write_;
};

}  // namespace om

#endif  // OM_PLATFORM_OM_REGISTRYSTORE_H_
