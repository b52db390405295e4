// omconsole reg: lists, reads, writes, deletes, exports and imports keys and
// values of the registry store. Keys are written as on Windows
// (HKEY_LOCAL_MACHINE\SOFTWARE\..., or HKLM\... and HKCU\...); arguments and
// output are UTF-8, the store holds code page 932.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include <om/RegFile.h>
#include <om/RegistryStore.h>
#include <om/codepage.h>
#include <omtools/Registry.h>
#include <omtools/vstream.h>

#include "Command.h"

namespace omconsole {
namespace {

using om::RegHive;
using om::RegKeyPath;
using om::RegTransaction;

const char kProductKey[] = "SOFTWARE\\Velmoran\\OrvaManager";

// A KEY argument: its hive and path, and the text as given for messages.
struct Key {
  RegHive hive = RegHive::kLocalMachine;
  RegKeyPath path;
  std::string text;

  HKEY handle() const { return om::regHiveHandle(hive); }
  tstring cp932Path() const { return path.str(); }
};

// Reads a KEY argument; false, after saying why, for a bad one.
bool parseKey(const std::string& arg, Key* key) {
  key->text = arg;
  if (!om::parseRegKeyName(om::utf8ToCp932(arg), &key->hive, &key->path)) {
    fail("unknown hive in '" + arg + "' (use HKEY_LOCAL_MACHINE, HKLM, HKEY_CURRENT_USER or HKCU)");
    return false;
  }
  if (!key->path.valid()) {
    fail("'" + arg + "': control character in a key name");
    return false;
  }
  return true;
}

// True when `key` is `scope` or lies below it (names compare ignoring case).
bool isWithin(const RegKeyPath& key, const RegKeyPath& scope) {
  const auto& k = key.components();
  const auto& s = scope.components();
  if (k.size() < s.size()) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    if (tstring(k[i]).compareNoCase(s[i]) != 0) return false;
  }
  return true;
}

// The positional arguments, with the options in `allowed` taken out into
// `options`; "--" ends the options. False for an option not allowed.
bool splitOptions(const Args& args, const std::vector<std::string>& allowed, Args* positional, Args* options) {
  bool optionsEnded = false;
  for (const std::string& a : args) {
    if (optionsEnded || a.size() < 2 || a.compare(0, 2, "--") != 0) {
      positional->push_back(a);
    } else if (a == "--") {
      optionsEnded = true;
    } else if (std::find(allowed.begin(), allowed.end(), a) != allowed.end()) {
      options->push_back(a);
    } else {
      return false;
    }
  }
  return true;
}

// Reports `error` met on `key`, or on its value `valueName` when given.
int failOn(const Key& key, DWORD error, const std::string* valueName = nullptr) {
  if (error != ERROR_FILE_NOT_FOUND) return fail(key.text + ": " + om::regErrorText(error));
  if (valueName == nullptr) return fail(key.text + ": key not found");
  return fail(key.text + ": no value '" + *valueName + "'");
}

// One value's data on one line.
std::string displayData(const om::RegValue& v) {
  DWORD d = 0;
  ULONGLONG q = 0;
  char buffer[64];
  if (v.getDword(&d)) {
    std::snprintf(buffer, sizeof buffer, "0x%08x (%u)", static_cast<unsigned>(d), static_cast<unsigned>(d));
    return buffer;
  }
  if (v.getQword(&q)) {
    std::snprintf(buffer, sizeof buffer, "0x%016llx (%llu)", static_cast<unsigned long long>(q),
                  static_cast<unsigned long long>(q));
    return buffer;
  }
  if (v.type == REG_SZ || v.type == REG_EXPAND_SZ) return om::cp932ToUtf8(v.data);
  if (v.type == REG_MULTI_SZ) {
    std::string joined;
    for (const std::string& item : v.multiStrings()) {
      if (!joined.empty()) joined += "\\0";  // the strings' separator, shown as text
      joined += om::cp932ToUtf8(item);
    }
    return joined;
  }
  std::string hex;
  for (unsigned char b : v.data) {
    std::snprintf(buffer, sizeof buffer, "%s%02x", hex.empty() ? "" : " ", b);
    hex += buffer;
  }
  return hex;
}

int list(const Args& args) {
  Key key;
  if (args.size() != 1) return fail("usage: omconsole reg list KEY", 2);
  if (!parseKey(args[0], &key)) return 1;
  const RegTransaction txn(key.hive, RegTransaction::kRead);
  std::vector<std::string> subkeys;
  std::vector<om::RegNamedValue> values;
  DWORD err = txn.enumSubkeys(key.path, &subkeys);
  if (err == ERROR_SUCCESS) err = txn.enumValues(key.path, &values);
  if (err != ERROR_SUCCESS) return failOn(key, err);
  for (const std::string& s : subkeys) std::cout << om::cp932ToUtf8(s) << "\\\n";
  for (const om::RegNamedValue& v : values) {
    std::cout << (v.name.empty() ? "(Default)" : om::cp932ToUtf8(v.name)) << "\t" << om::regTypeName(v.value.type)
              << "\t" << displayData(v.value) << "\n";
  }
  return 0;
}

int get(const Args& args) {
  Key key;
  if (args.size() != 2) return fail("usage: omconsole reg get KEY NAME", 2);
  if (!parseKey(args[0], &key)) return 1;
  const CRegistry reg(key.handle(), key.cp932Path());
  if (!reg.isOpen()) return failOn(key, GetLastError());
  tstring value;
  if (!reg.getValue(om::utf8ToCp932(args[1]), value)) return failOn(key, GetLastError(), &args[1]);
  std::cout << om::cp932ToUtf8(value) << "\n";
  return 0;
}

int set(const Args& args) {
  Args positional, options;
  if (!splitOptions(args, {"--dword"}, &positional, &options) || positional.size() != 3) {
    return fail("usage: omconsole reg set KEY NAME VALUE [--dword]", 2);
  }
  Key key;
  if (!parseKey(positional[0], &key)) return 1;
  const tstring name = om::utf8ToCp932(positional[1]);
  if (!CRegistry::createKey(key.handle(), key.cp932Path())) return failOn(key, GetLastError());
  CRegistry reg(key.handle(), key.cp932Path());
  bool ok = false;
  if (options.empty()) {
    ok = reg.setValue(name, om::utf8ToCp932(positional[2]));
  } else {
    // Decimal, or hexadecimal with 0x; the whole text must be the number.
    const std::string& text = positional[2];
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 0);
    if (text.empty() || text[0] == '-' || *end != '\0' || errno != 0 || number > 0xFFFFFFFFull) {
      return fail("'" + text + "' is not a DWORD (0 to 4294967295, or 0x0 to 0xffffffff)");
    }
    ok = reg.setDWORDValue(name, static_cast<DWORD>(number));
  }
  return ok ? 0 : failOn(key, GetLastError());
}

int remove(const Args& args) {
  Key key;
  if (args.empty() || args.size() > 2) return fail("usage: omconsole reg delete KEY [NAME]", 2);
  if (!parseKey(args[0], &key)) return 1;
  if (args.size() == 1) {
    if (key.path.isRoot()) return fail(key.text + ": a hive cannot be deleted");
    return CRegistry::deleteKey(key.handle(), key.cp932Path()) ? 0 : failOn(key, GetLastError());
  }
  CRegistry reg(key.handle(), key.cp932Path());
  if (!reg.isOpen()) return failOn(key, GetLastError());
  return reg.deleteValue(om::utf8ToCp932(args[1])) ? 0 : failOn(key, GetLastError(), &args[1]);
}

int exportKey(const Args& args) {
  Args positional, options;
  if (!splitOptions(args, {"--regedit4"}, &positional, &options) || positional.size() != 2) {
    return fail("usage: omconsole reg export KEY FILE [--regedit4]", 2);
  }
  return exportRegKey(positional[0], positional[1], !options.empty());
}

int importFile(const Args& args) {
  if (args.size() != 1) return fail("usage: omconsole reg import FILE", 2);
  return importRegFile(args[0], "");
}

}  // namespace

int exportRegKey(const std::string& keyName, const std::string& file, bool regedit4) {
  Key key;
  if (!parseKey(keyName, &key)) return 1;
  const om::RegFormat format = regedit4 ? om::RegFormat::kRegedit4 : om::RegFormat::kVersion5;
  std::string bytes;
  if (DWORD err = om::RegFile::exportKey(key.hive, key.path, format, &bytes)) return failOn(key, err);
  vofstream out(om::utf8ToCp932(file).c_str());
  if (!out.is_open() || !out.write(bytes.data(), bytes.size()) || !out.close()) return fail("cannot write " + file);
  return 0;
}

int importRegFile(const std::string& file, const std::string& within) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return fail("cannot read " + file);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  om::RegFile reg;
  if (!reg.parse(bytes.str())) return fail(file + ": " + om::cp932ToUtf8(reg.error()));
  if (!within.empty()) {
    Key scope;
    if (!parseKey(within, &scope)) return 1;
    for (const om::RegOperation& op : reg.operations()) {
      if (op.hive != scope.hive || !isWithin(op.key, scope.path)) {
        return fail(file + ": line " + std::to_string(op.line) + ": outside " + within);
      }
    }
  }
  if (!reg.apply()) return fail(file + ": " + om::cp932ToUtf8(reg.error()));
  return 0;
}

int runReg(const Args& args) {
  static const struct {
    const char* name;
    int (*run)(const Args&);
  } kSubcommands[] = {{"list", list},         {"get", get},          {"set", set},
                      {"delete", remove},     {"export", exportKey}, {"import", importFile}};
  if (!args.empty()) {
    for (const auto& s : kSubcommands) {
      if (args[0] == s.name) return s.run(Args(args.begin() + 1, args.end()));
    }
  }
  return fail("usage: omconsole reg list|get|set|delete|export|import ... (omconsole help)", 2);
}

void regStatus() {
  const std::string where = om::regStoreDirectory(RegHive::kLocalMachine);
  const std::string name = std::string("HKEY_LOCAL_MACHINE\\") + kProductKey;
  const RegTransaction txn(RegHive::kLocalMachine, RegTransaction::kRead);
  std::vector<std::string> subkeys;
  std::vector<om::RegNamedValue> values;
  DWORD err = txn.enumSubkeys(RegKeyPath(kProductKey), &subkeys);
  if (err == ERROR_SUCCESS) err = txn.enumValues(RegKeyPath(kProductKey), &values);
  if (err == ERROR_SUCCESS) {
    auto count = [](size_t n, const char* what) { return std::to_string(n) + " " + what + (n == 1 ? "" : "s"); };
    std::cout << "registry: " << name << " holds " << count(values.size(), "value") << " and "
              << count(subkeys.size(), "subkey") << " (store: " << where << ")\n";
  } else if (err == ERROR_FILE_NOT_FOUND) {
    std::cout << "registry: " << name << " does not exist yet; create it with 'omconsole reg set " << name
              << " NAME VALUE', 'omconsole reg import FILE' or 'omconsole config reset' (store: " << where << ")\n";
  } else {
    std::cout << "registry: cannot read the store in " << where << ": " << om::regErrorText(err) << "\n";
  }
}

}  // namespace omconsole
