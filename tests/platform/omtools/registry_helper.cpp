// registry_helper: another process for the registry tests. It works on
// HKEY_LOCAL_MACHINE at the location its environment names.
//   get KEY NAME              prints the value; status 1 when it is missing
//   set KEY NAME VALUE        creates the key and writes a REG_SZ value
//   write KEY PREFIX COUNT    writes values PREFIX0.. one transaction each
//   batches KEY               until killed: transaction n writes kBatchValues
//                             values and then sets "last" to n, counting on
//                             from the "last" already there
#include <cstdio>
#include <cstdlib>
#include <string>

#include <om/RegistryStore.h>
#include <omtools/Registry.h>

#include "registry_helper.h"

namespace {

int get(const tstring& key, const tstring& name) {
  CRegistry reg(HKEY_LOCAL_MACHINE, key);
  tstring value;
  if (!reg.getValue(name, value)) return 1;
  std::fwrite(value.data(), 1, value.size(), stdout);
  return 0;
}

int set(const tstring& key, const tstring& name, const tstring& value) {
  if (!CRegistry::createKey(HKEY_LOCAL_MACHINE, key)) return 1;
  return CRegistry(HKEY_LOCAL_MACHINE, key).setValue(name, value) ? 0 : 1;
}

int write(const tstring& key, const std::string& prefix, int count) {
  if (!CRegistry::createKey(HKEY_LOCAL_MACHINE, key)) return 1;
  CRegistry reg(HKEY_LOCAL_MACHINE, key);
  for (int i = 0; i < count; ++i) {
    const std::string name = prefix + std::to_string(i);
    if (!reg.setValue(name, regtest::helperValue(name, 40))) return 1;
  }
  return 0;
}

int batches(const tstring& key) {
  const om::RegKeyPath path(key);
  DWORD last = 0;
  CRegistry(HKEY_LOCAL_MACHINE, key).getDWORDValue("last", last);
  for (unsigned n = last + 1;; ++n) {
    om::RegTransaction txn(om::RegHive::kLocalMachine, om::RegTransaction::kWrite);
    DWORD err = txn.createKey(path);
    for (int j = 0; err == ERROR_SUCCESS && j < regtest::kBatchValues; ++j) {
      const std::string name = regtest::batchValueName(n, j);
      err = txn.setValue(path, name, om::RegValue::text(regtest::helperValue(name, regtest::kBatchValueSize)));
    }
    if (err == ERROR_SUCCESS) err = txn.setValue(path, "last", om::RegValue::dword(n));
    if (err == ERROR_SUCCESS) err = txn.commit();
    if (err != ERROR_SUCCESS) return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "get" && argc == 4) return get(argv[2], argv[3]);
  if (command == "set" && argc == 5) return set(argv[2], argv[3], argv[4]);
  if (command == "write" && argc == 5) return write(argv[2], argv[3], std::atoi(argv[4]));
  if (command == "batches" && argc == 3) return batches(argv[2]);
  std::fprintf(stderr, "usage: registry_helper get|set|write|batches ...\n");
  return 2;
}
