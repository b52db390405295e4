#include <om/RegistryStore.h>

#include <errno.h>
#include <lmdb.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <unordered_map>

#include <om/codepage.h>

namespace om {
namespace {

// Virtual size of each environment's map; the file itself grows as needed.
constexpr size_t kMapSize = size_t{1} << 30;
constexpr char kLinkTag = '\x01';
constexpr char kValueTag = '\x02';

// ---- Location ---------------------------------------------------------------

std::string envVar(const char* name) {
  const char* v = std::getenv(name);
  return v == nullptr ? std::string() : std::string(v);
}

std::string homeDirectory() {
  std::string home = envVar("HOME");
  if (home.empty()) {
    if (const passwd* pw = getpwuid(getuid())) home = pw->pw_dir;
  }
  return home;
}

// $name, or $HOME/fallback when it is unset or empty.
std::string xdgDirectory(const char* name, const char* fallback) {
  std::string dir = envVar(name);
  return dir.empty() ? homeDirectory() + "/" + fallback : dir;
}

// True when `dir` is writable, or does not exist and its parent is.
bool canCreateOrWrite(const std::string& dir) {
  if (access(dir.c_str(), W_OK) == 0) return true;
  if (errno != ENOENT) return false;
  const std::string parent = dir.substr(0, dir.find_last_of('/'));
  return access(parent.empty() ? "/" : parent.c_str(), W_OK) == 0;
}

// ---- Environments -----------------------------------------------------------

DWORD mdbError(int rc, bool writing) {
  switch (rc) {
    case MDB_NOTFOUND: return ERROR_FILE_NOT_FOUND;
    case MDB_BAD_VALSIZE: return ERROR_INVALID_PARAMETER;
    case EACCES:
    case EPERM:
    case EROFS: return ERROR_ACCESS_DENIED;
    case MDB_CORRUPTED:
    case MDB_INVALID:
    case MDB_VERSION_MISMATCH:
    case MDB_PAGE_NOTFOUND: return ERROR_BADDB;
    default: return writing ? ERROR_CANTWRITE : ERROR_CANTREAD;
  }
}

// Creates `dir` and its missing parents.
int makeDirectories(const std::string& dir) {
  for (size_t slash = dir.find('/', 1);; slash = dir.find('/', slash + 1)) {
    const std::string part = dir.substr(0, slash);
    if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return errno;
    if (slash == std::string::npos) return 0;
  }
}

struct Store {
  MDB_env* env;
  MDB_dbi dbi;
  size_t maxKeySize;
};

// The environments this process opened, by directory. LMDB allows one
// environment per file per process, so they stay open for the life of the
// process, and spellings of one directory ("a/b", "/x/a//b/") share one
// (symbolic links are not followed). A child made by fork() must not use its
// parent's environments: it forgets them (they stay reachable in
// `inherited_`) and opens its own.
class StoreCache {
 public:
  static StoreCache& instance() {
    static StoreCache* cache = new StoreCache;  // never destroyed: threads may outlive exit()
    return *cache;
  }

  // The store in `dir`. Without `create`, a store that does not exist gives
  // null and ERROR_SUCCESS.
  DWORD open(const std::string& dir, bool create, const Store** store) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (const auto it = bySpelling_.find(dir); it != bySpelling_.end()) {
      *store = it->second;
      return ERROR_SUCCESS;
    }
    const std::string normal = normalised(dir);
    auto it = stores_.find(normal);
    if (it == stores_.end()) {
      if (!create && access((normal + "/data.mdb").c_str(), F_OK) != 0) {
        *store = nullptr;
        return errno == ENOENT ? ERROR_SUCCESS : mdbError(errno, false);
      }
      if (create) {
        if (int err = makeDirectories(normal)) return mdbError(err, true);
      }
      Store opened{};
      if (int rc = openEnvironment(normal, &opened)) return mdbError(rc, create);
      it = stores_.emplace(normal, opened).first;
    }
    *store = bySpelling_[dir] = &it->second;
    return ERROR_SUCCESS;
  }

 private:
  static std::string normalised(const std::string& dir) {
    std::error_code ec;
    std::string out = std::filesystem::absolute(dir, ec).lexically_normal().string();
    if (ec) return dir;
    if (out.size() > 1 && out.back() == '/') out.pop_back();
    return out;
  }

  StoreCache() {
    pthread_atfork([] { instance().mutex_.lock(); }, [] { instance().mutex_.unlock(); },
                   [] {
                     StoreCache& c = instance();
                     for (auto& [dir, store] : c.stores_) c.inherited_.push_back(store.env);
                     c.stores_.clear();
                     c.bySpelling_.clear();
                     c.mutex_.unlock();
                   });
  }

  static int openEnvironment(const std::string& dir, Store* store) {
    int rc = mdb_env_create(&store->env);
    if (rc != 0) return rc;
    // NOMETASYNC: a system crash may lose the last transaction but never
    // breaks the store; a process crash loses nothing that was committed.
    if ((rc = mdb_env_set_mapsize(store->env, kMapSize)) == 0 &&
        (rc = mdb_env_open(store->env, dir.c_str(), MDB_NOMETASYNC, 0664)) == 0) {
      int dead = 0;
      mdb_reader_check(store->env, &dead);  // free slots of readers that died
      MDB_txn* txn = nullptr;
      if ((rc = mdb_txn_begin(store->env, nullptr, MDB_RDONLY, &txn)) == 0) {
        rc = mdb_dbi_open(txn, nullptr, 0, &store->dbi);
        rc = rc == 0 ? mdb_txn_commit(txn) : (mdb_txn_abort(txn), rc);
      }
    }
    if (rc != 0) {
      mdb_env_close(store->env);
      return rc;
    }
    store->maxKeySize = static_cast<size_t>(mdb_env_get_maxkeysize(store->env));
    return 0;
  }

  std::mutex mutex_;
  std::unordered_map<std::string, Store> stores_;  // by normalised absolute path
  std::unordered_map<std::string, const Store*> bySpelling_;
  std::vector<MDB_env*> inherited_;
};

// ---- Record keys ------------------------------------------------------------

// Appends `name` with its single-byte capitals in lower case (the trail
// byte of a double-byte character is left alone).
void appendFolded(std::string& out, std::string_view name) {
  const size_t start = out.size();
  out.append(name);
  char* folded = out.data() + start;
  for (size_t i = 0; i < name.size();) {
    const size_t n = cp932CharLength(name, i);
    if (n == 1 && name[i] >= 'A' && name[i] <= 'Z') folded[i] = static_cast<char>(name[i] + ('a' - 'A'));
    i += n;
  }
}

// enc(P) of the first `depth` components of `key`, with room for `more`
// bytes after it.
std::string encodePath(const RegKeyPath& key, size_t depth, size_t more = 0) {
  size_t size = more;
  for (size_t i = 0; i < depth; ++i) size += key.components()[i].size() + 1;
  std::string out;
  out.reserve(size);
  for (size_t i = 0; i < depth; ++i) {
    appendFolded(out, key.components()[i]);
    out += '\0';
  }
  return out;
}

std::string encodePath(const RegKeyPath& key) { return encodePath(key, key.components().size()); }

// The child link of the component at `index` in its parent.
std::string linkKey(const RegKeyPath& key, size_t index) {
  std::string out = encodePath(key, index, 1 + key.components()[index].size());
  out += kLinkTag;
  appendFolded(out, key.components()[index]);
  return out;
}

std::string valueKey(const RegKeyPath& key, std::string_view name) {
  std::string out = encodePath(key, key.components().size(), 1 + name.size());
  out += kValueTag;
  appendFolded(out, name);
  return out;
}

std::string encodeValue(std::string_view name, const RegValue& value) {
  std::string out = RegValue::dword(value.type).data;
  out += name;
  out += '\0';
  out += value.data;
  return out;
}

// Splits a value record into its name and value; false when it is damaged.
bool splitValue(std::string_view record, std::string_view* name, RegValue* value) {
  const size_t nul = record.find('\0', 4);
  if (record.size() < 4 || nul == std::string_view::npos) return false;
  RegValue type{REG_DWORD, std::string(record.substr(0, 4))};
  type.getDword(&value->type);
  *name = record.substr(4, nul - 4);
  value->data.assign(record.substr(nul + 1));
  return true;
}

bool decodeValue(std::string_view record, RegNamedValue* out) {
  std::string_view name;
  if (!splitValue(record, &name, &out->value)) return false;
  out->name.assign(name);
  return true;
}

MDB_val toVal(std::string_view s) { return MDB_val{s.size(), const_cast<char*>(s.data())}; }
std::string_view fromVal(const MDB_val& v) { return std::string_view(static_cast<const char*>(v.mv_data), v.mv_size); }

}  // namespace

std::string machineHome() {
  std::string home = envVar("OMLIB_HOME");
  if (!home.empty()) return home;
  static const char kSystemHome[] = "/var/lib/omlib";
  if (canCreateOrWrite(kSystemHome)) return kSystemHome;
  return xdgDirectory("XDG_DATA_HOME", ".local/share") + "/omlib";
}

// ---- Hives ------------------------------------------------------------------

std::optional<RegHive> regHiveFromHandle(HKEY hive) {
  if (hive == HKEY_LOCAL_MACHINE) return RegHive::kLocalMachine;
  if (hive == HKEY_CURRENT_USER) return RegHive::kCurrentUser;
  return std::nullopt;
}

HKEY regHiveHandle(RegHive hive) {
  return hive == RegHive::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

const char* regHiveName(RegHive hive) {
  return hive == RegHive::kLocalMachine ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER";
}

std::optional<RegHive> parseRegHiveName(std::string_view name) {
  auto is = [&](const char* candidate) {
    return name.size() == std::strlen(candidate) && strncasecmp(name.data(), candidate, name.size()) == 0;
  };
  if (is("HKEY_LOCAL_MACHINE") || is("HKLM")) return RegHive::kLocalMachine;
  if (is("HKEY_CURRENT_USER") || is("HKCU")) return RegHive::kCurrentUser;
  return std::nullopt;
}

std::string regStoreDirectory(RegHive hive) {
  if (hive == RegHive::kLocalMachine) return machineHome() + "/registry/machine";
  const std::string userHome = envVar("OMLIB_USER_HOME");
  if (!userHome.empty()) return userHome + "/registry/user";
  return xdgDirectory("XDG_CONFIG_HOME", ".config") + "/omlib/registry/user";
}

std::string regErrorText(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS: return "no error";
    case ERROR_FILE_NOT_FOUND: return "not found";
    case ERROR_INVALID_HANDLE: return "key is not open";
    case ERROR_KEY_DELETED: return "key was deleted";
    case ERROR_ACCESS_DENIED: return "access denied";
    case ERROR_INVALID_PARAMETER: return "invalid or too long name";
    case ERROR_INVALID_DATA: return "value has another type";
    case ERROR_CANTREAD: return "cannot read the registry store";
    case ERROR_CANTWRITE: return "cannot write the registry store";
    case ERROR_BADDB: return "the registry store is damaged";
  }
  return "error " + std::to_string(error);
}

bool parseRegKeyName(std::string_view fullName, RegHive* hive, RegKeyPath* key) {
  // Hive names are ASCII, so the first backslash byte ends a valid one.
  const size_t cut = fullName.find('\\');
  const auto h = parseRegHiveName(fullName.substr(0, cut));
  if (!h) return false;
  *hive = *h;
  *key = RegKeyPath(cut == std::string_view::npos ? std::string_view() : fullName.substr(cut + 1));
  return true;
}

// ---- RegKeyPath -------------------------------------------------------------

RegKeyPath::RegKeyPath(std::string_view path) {
  std::string current;
  for (size_t i = 0; i < path.size();) {
    const size_t n = cp932CharLength(path, i);
    if (n == 1 && path[i] == '\\') {
      if (!current.empty()) components_.push_back(std::move(current));
      current.clear();
    } else {
      current.append(path.substr(i, n));
    }
    i += n;
  }
  if (!current.empty()) components_.push_back(std::move(current));
}

bool RegKeyPath::valid() const {
  for (const std::string& c : components_) {
    for (char ch : c) {
      if (static_cast<unsigned char>(ch) < 0x20) return false;
    }
  }
  return true;
}

RegKeyPath RegKeyPath::child(std::string_view relative) const {
  RegKeyPath out = *this;
  for (std::string& c : RegKeyPath(relative).components_) out.components_.push_back(std::move(c));
  return out;
}

RegKeyPath RegKeyPath::parent() const {
  RegKeyPath out = *this;
  if (!out.components_.empty()) out.components_.pop_back();
  return out;
}

std::string RegKeyPath::str() const {
  std::string out;
  for (const std::string& c : components_) {
    if (!out.empty()) out += '\\';
    out += c;
  }
  return out;
}

// ---- RegTransaction ---------------------------------------------------------

RegTransaction::RegTransaction(RegHive hive, Mode mode) : RegTransaction(regStoreDirectory(hive), mode) {}

RegTransaction::RegTransaction(const std::string& directory, Mode mode)
    : directory_(directory), write_(mode == kWrite) {
  status_ = begin(false);
}

DWORD RegTransaction::begin(bool create) {
  const Store* store = nullptr;
  if (DWORD err = StoreCache::instance().open(directory_, create, &store)) return err;
  if (store == nullptr) return ERROR_SUCCESS;
  if (int rc = mdb_txn_begin(store->env, nullptr, write_ ? 0 : MDB_RDONLY, &txn_)) {
    txn_ = nullptr;
    return mdbError(rc, write_);
  }
  dbi_ = store->dbi;
  maxKeySize_ = store->maxKeySize;
  return ERROR_SUCCESS;
}

RegTransaction::~RegTransaction() {
  if (txn_ != nullptr) mdb_txn_abort(txn_);
}

DWORD RegTransaction::commit() {
  if (status_ != ERROR_SUCCESS) return status_;
  if (txn_ == nullptr) return ERROR_SUCCESS;
  MDB_txn* txn = txn_;
  txn_ = nullptr;
  if (!write_) {
    mdb_txn_abort(txn);
    return ERROR_SUCCESS;
  }
  const int rc = mdb_txn_commit(txn);
  return rc == 0 ? ERROR_SUCCESS : mdbError(rc, true);
}

DWORD RegTransaction::get(const std::string& recordKey, std::string_view* data) const {
  if (status_ != ERROR_SUCCESS) return status_;
  // A key too long to be stored cannot exist.
  if (txn_ == nullptr || recordKey.size() > maxKeySize_) return ERROR_FILE_NOT_FOUND;
  MDB_val k = toVal(recordKey), v;
  if (int rc = mdb_get(txn_, dbi_, &k, &v)) return mdbError(rc, write_);
  if (data != nullptr) *data = fromVal(v);
  return ERROR_SUCCESS;
}

DWORD RegTransaction::writable() {
  if (status_ != ERROR_SUCCESS) return status_;
  if (!write_) return ERROR_ACCESS_DENIED;
  // The store is created by the first change, not by a transaction that
  // changes nothing.
  if (txn_ == nullptr) status_ = begin(true);
  return status_;
}

DWORD RegTransaction::put(const std::string& recordKey, const std::string& data) {
  MDB_val k = toVal(recordKey), v = toVal(data);
  const int rc = mdb_put(txn_, dbi_, &k, &v, 0);
  return rc == 0 ? ERROR_SUCCESS : mdbError(rc, true);
}

DWORD RegTransaction::del(const std::string& recordKey) {
  MDB_val k = toVal(recordKey);
  const int rc = mdb_del(txn_, dbi_, &k, nullptr);
  return rc == 0 ? ERROR_SUCCESS : mdbError(rc, true);
}

template <class Visit>
DWORD RegTransaction::scan(const std::string& prefix, Visit visit) const {
  if (status_ != ERROR_SUCCESS) return status_;
  if (txn_ == nullptr || prefix.size() > maxKeySize_) return ERROR_SUCCESS;
  MDB_cursor* cursor = nullptr;
  if (int rc = mdb_cursor_open(txn_, dbi_, &cursor)) return mdbError(rc, write_);
  MDB_val k = toVal(prefix), v;
  int rc = mdb_cursor_get(cursor, &k, &v, MDB_SET_RANGE);
  for (; rc == 0 && fromVal(k).starts_with(prefix); rc = mdb_cursor_get(cursor, &k, &v, MDB_NEXT)) {
    if (!visit(fromVal(k), fromVal(v))) {
      rc = MDB_CORRUPTED;
      break;
    }
  }
  mdb_cursor_close(cursor);
  return (rc == 0 || rc == MDB_NOTFOUND) ? ERROR_SUCCESS : mdbError(rc, write_);
}

bool RegTransaction::keyExists(const RegKeyPath& key) const {
  if (key.isRoot()) return status_ == ERROR_SUCCESS;
  return key.valid() && get(linkKey(key, key.components().size() - 1), nullptr) == ERROR_SUCCESS;
}

DWORD RegTransaction::requireKey(const RegKeyPath& key) const {
  if (keyExists(key)) return ERROR_SUCCESS;
  return status_ != ERROR_SUCCESS ? status_ : ERROR_FILE_NOT_FOUND;
}

DWORD RegTransaction::casedPath(const RegKeyPath& key, RegKeyPath* cased) const {
  if (status_ != ERROR_SUCCESS) return status_;
  if (!key.valid()) return ERROR_FILE_NOT_FOUND;
  std::string path;
  for (size_t i = 0; i < key.components().size(); ++i) {
    std::string_view name;
    if (DWORD err = get(linkKey(key, i), &name)) return err;
    path += name;
    path += '\\';
  }
  *cased = RegKeyPath(path);
  return ERROR_SUCCESS;
}

DWORD RegTransaction::getValue(const RegKeyPath& key, std::string_view name, RegValue* value) const {
  std::string_view record, stored;
  if (DWORD err = get(valueKey(key, name), &record)) return err;
  return splitValue(record, &stored, value) ? ERROR_SUCCESS : ERROR_BADDB;
}

DWORD RegTransaction::enumSubkeys(const RegKeyPath& key, std::vector<std::string>* names) const {
  if (DWORD err = requireKey(key)) return err;
  names->clear();
  return scan(encodePath(key) + kLinkTag, [&](std::string_view, std::string_view data) {
    names->emplace_back(data);
    return true;
  });
}

DWORD RegTransaction::enumValues(const RegKeyPath& key, std::vector<RegNamedValue>* values) const {
  if (DWORD err = requireKey(key)) return err;
  values->clear();
  return scan(encodePath(key) + kValueTag, [&](std::string_view, std::string_view data) {
    values->emplace_back();
    return decodeValue(data, &values->back());
  });
}

DWORD RegTransaction::createKey(const RegKeyPath& key) {
  if (DWORD err = writable()) return err;
  if (!key.valid()) return ERROR_INVALID_PARAMETER;
  for (size_t i = 0; i < key.components().size(); ++i) {
    const std::string link = linkKey(key, i);
    MDB_val k = toVal(link), v = toVal(key.components()[i]);
    const int rc = mdb_put(txn_, dbi_, &k, &v, MDB_NOOVERWRITE);
    if (rc != 0 && rc != MDB_KEYEXIST) return mdbError(rc, true);
  }
  return ERROR_SUCCESS;
}

DWORD RegTransaction::deleteKey(const RegKeyPath& key) {
  if (key.isRoot()) return ERROR_ACCESS_DENIED;
  if (DWORD err = requireKey(key)) return err;
  if (DWORD err = writable()) return err;
  std::vector<std::string> doomed{linkKey(key, key.components().size() - 1)};
  DWORD err = scan(encodePath(key), [&](std::string_view k, std::string_view) {
    doomed.emplace_back(k);
    return true;
  });
  for (size_t i = 0; err == ERROR_SUCCESS && i < doomed.size(); ++i) err = del(doomed[i]);
  return err;
}

DWORD RegTransaction::setValue(const RegKeyPath& key, std::string_view name, const RegValue& value) {
  if (!write_) return ERROR_ACCESS_DENIED;
  if (name.find('\0') != std::string_view::npos) return ERROR_INVALID_PARAMETER;
  if (DWORD err = requireKey(key)) return err;
  if (DWORD err = writable()) return err;
  // A value that exists keeps the case of its name.
  const std::string recordKey = valueKey(key, name);
  std::string_view record;
  RegNamedValue old;
  const bool exists = get(recordKey, &record) == ERROR_SUCCESS && decodeValue(record, &old);
  return put(recordKey, encodeValue(exists ? std::string_view(old.name) : name, value));
}

DWORD RegTransaction::deleteValue(const RegKeyPath& key, std::string_view name) {
  if (DWORD err = requireKey(key)) return err;
  const std::string record = valueKey(key, name);
  if (DWORD err = get(record, nullptr)) return err;
  if (DWORD err = writable()) return err;
  return del(record);
}

}  // namespace om
