#include <omtools/Registry.h>

using om::RegKeyPath;
using om::RegTransaction;

namespace {

bool fail(DWORD error) {
  SetLastError(error);
  return false;
}

// Runs `op` in one transaction on the store in `directory` and commits it;
// false with the last error set when anything fails.
template <class Op>
bool transact(const std::string& directory, RegTransaction::Mode mode, Op op) {
  RegTransaction txn(directory, mode);
  DWORD err = txn.status();
  if (err == ERROR_SUCCESS) err = op(txn);
  if (err == ERROR_SUCCESS) err = txn.commit();
  return err == ERROR_SUCCESS || fail(err);
}

template <class Op>
bool transactOnHive(HKEY hive, RegTransaction::Mode mode, Op op) {
  const auto h = om::regHiveFromHandle(hive);
  if (!h) return fail(ERROR_INVALID_HANDLE);
  return transact(om::regStoreDirectory(*h), mode, op);
}

}  // namespace

CRegistry::CRegistry(HKEY hive, const tstring& path) : hive_(hive), path_(path), key_(path) {
  const auto h = om::regHiveFromHandle(hive);
  if (!h) {
    SetLastError(ERROR_INVALID_HANDLE);
    return;
  }
  directory_ = om::regStoreDirectory(*h);
  open_ = transact(directory_, RegTransaction::kRead, [&](RegTransaction& txn) {
    return txn.keyExists(key_) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
  });
}

template <class Op>
bool CRegistry::run(RegTransaction::Mode mode, Op op) const {
  if (!open_) return fail(ERROR_INVALID_HANDLE);
  return transact(directory_, mode, [&](RegTransaction& txn) {
    DWORD err = op(txn);
    if (err == ERROR_FILE_NOT_FOUND && !txn.keyExists(key_)) err = ERROR_KEY_DELETED;
    return err;
  });
}

bool CRegistry::getValue(const tstring& name, tstring& value) const {
  std::string text;
  const bool ok = run(RegTransaction::kRead, [&](RegTransaction& txn) {
    om::RegValue v;
    DWORD err = txn.getValue(key_, name, &v);
    if (err == ERROR_SUCCESS && !v.toText(&text)) err = ERROR_INVALID_DATA;
    return err;
  });
  if (ok) value.assign(text);
  return ok;
}

bool CRegistry::getDWORDValue(const tstring& name, DWORD& value) const {
  DWORD number = 0;
  const bool ok = run(RegTransaction::kRead, [&](RegTransaction& txn) {
    om::RegValue v;
    DWORD err = txn.getValue(key_, name, &v);
    if (err == ERROR_SUCCESS && !v.getDword(&number)) err = ERROR_INVALID_DATA;
    return err;
  });
  if (ok) value = number;
  return ok;
}

bool CRegistry::setValue(const tstring& name, const tstring& value) {
  return run(RegTransaction::kWrite,
             [&](RegTransaction& txn) { return txn.setValue(key_, name, om::RegValue::text(value)); });
}

bool CRegistry::setDWORDValue(const tstring& name, DWORD value) {
  return run(RegTransaction::kWrite,
             [&](RegTransaction& txn) { return txn.setValue(key_, name, om::RegValue::dword(value)); });
}

bool CRegistry::deleteValue(const tstring& name) {
  return run(RegTransaction::kWrite, [&](RegTransaction& txn) { return txn.deleteValue(key_, name); });
}

bool CRegistry::enumSubkeys(std::vector<tstring>& names) const {
  std::vector<std::string> found;
  if (!run(RegTransaction::kRead, [&](RegTransaction& txn) { return txn.enumSubkeys(key_, &found); })) {
    return false;
  }
  names.assign(found.begin(), found.end());
  return true;
}

bool CRegistry::enumValues(std::vector<tstring>& names) const {
  std::vector<om::RegNamedValue> found;
  if (!run(RegTransaction::kRead, [&](RegTransaction& txn) { return txn.enumValues(key_, &found); })) {
    return false;
  }
  names.clear();
  for (om::RegNamedValue& v : found) names.emplace_back(std::move(v.name));
  return true;
}

bool CRegistry::createSubkey(const tstring& relPath) {
  return run(RegTransaction::kWrite, [&](RegTransaction& txn) {
    if (!txn.keyExists(key_)) return static_cast<DWORD>(ERROR_FILE_NOT_FOUND);
    return txn.createKey(key_.child(relPath));
  });
}

bool CRegistry::deleteSubkey(const tstring& relPath) {
  const RegKeyPath sub = key_.child(relPath);
  if (open_ && sub.components().size() == key_.components().size()) return fail(ERROR_INVALID_PARAMETER);
  return run(RegTransaction::kWrite, [&](RegTransaction& txn) { return txn.deleteKey(sub); });
}

bool CRegistry::createKey(HKEY hive, const tstring& path) {
  return transactOnHive(hive, RegTransaction::kWrite,
                        [&](RegTransaction& txn) { return txn.createKey(RegKeyPath(path)); });
}

bool CRegistry::deleteKey(HKEY hive, const tstring& path) {
  return transactOnHive(hive, RegTransaction::kWrite,
                        [&](RegTransaction& txn) { return txn.deleteKey(RegKeyPath(path)); });
}

bool CRegistry::keyExists(HKEY hive, const tstring& path) {
  return transactOnHive(hive, RegTransaction::kRead, [&](RegTransaction& txn) {
    return txn.keyExists(RegKeyPath(path)) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
  });
}
