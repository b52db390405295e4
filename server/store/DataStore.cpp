#include "server/store/DataStore.h"

#include <filesystem>
#include <iostream>

namespace om::server {
namespace {

// Address space reserved for the store; the file grows only as it fills.
constexpr size_t kMapSize = size_t{4} << 30;

constexpr const char* kTableNames[DataStore::kTableCount] = {
    "objects", "children", "network", "subnets", "tasks", "task-records", "task-counts", "logs", "commands", "filters",
};

MDB_val value(std::string_view bytes) { return MDB_val{bytes.size(), const_cast<char*>(bytes.data())}; }
std::string_view view(const MDB_val& value) { return {static_cast<const char*>(value.mv_data), value.mv_size}; }

}  // namespace

std::string numberKey(uint32_t value) {
  std::string key(4, '\0');
  for (int i = 3; i >= 0; --i, value >>= 8) key[static_cast<size_t>(i)] = static_cast<char>(value & 0xff);
  return key;
}

std::string numberKey(int64_t value) {
  uint64_t bits = static_cast<uint64_t>(value) ^ (uint64_t{1} << 63);
  std::string key(8, '\0');
  for (int i = 7; i >= 0; --i, bits >>= 8) key[static_cast<size_t>(i)] = static_cast<char>(bits & 0xff);
  return key;
}

uint32_t numberOfKey(std::string_view key) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4 && i < key.size(); ++i) value = value << 8 | static_cast<unsigned char>(key[i]);
  return value;
}

std::unique_ptr<DataStore> DataStore::open(const std::string& dir, std::string& error) {
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (ec) {
    error = "the data folder " + dir + " cannot be made: " + ec.message();
    return nullptr;
  }
  std::unique_ptr<DataStore> store(new DataStore);
  store->directory_ = dir;
  int rc = mdb_env_create(&store->env_);
  if (rc == 0) rc = mdb_env_set_mapsize(store->env_, kMapSize);
  if (rc == 0) rc = mdb_env_set_maxdbs(store->env_, kTableCount);
  // NOTLS: transactions belong to their objects, not to threads.
  if (rc == 0) rc = mdb_env_open(store->env_, dir.c_str(), MDB_NOTLS | MDB_NOMETASYNC, 0640);
  if (rc == 0) {
    int dead = 0;
    mdb_reader_check(store->env_, &dead);  // slots of readers that were killed
    MDB_txn* txn = nullptr;
    rc = mdb_txn_begin(store->env_, nullptr, 0, &txn);
    for (int t = 0; rc == 0 && t < kTableCount; ++t) rc = mdb_dbi_open(txn, kTableNames[t], MDB_CREATE, &store->tables_[t]);
    if (txn != nullptr) rc = rc == 0 ? mdb_txn_commit(txn) : (mdb_txn_abort(txn), rc);
  }
  if (rc != 0) {
    error = "the data store in " + dir + " cannot be opened: " + mdb_strerror(rc);
    return nullptr;
  }
  return store;
}

DataStore::~DataStore() {
  if (env_ != nullptr) mdb_env_close(env_);
}

DataStore::Transaction DataStore::read() const { return Transaction(const_cast<DataStore&>(*this), false); }

DataStore::Transaction DataStore::write() { return Transaction(*this, true); }

bool DataStore::update(const std::function<bool(Transaction&)>& work) {
  Transaction txn = write();
  return txn.ok() && work(txn) && txn.commit();
}

void DataStore::reportDamaged(Table table, std::string_view key) const {
  std::cerr << "omserver: data store " << directory_ << ": a damaged record in " << kTableNames[table] << " ("
            << key.size() << "-byte key) is left out" << std::endl;
}

void DataStore::fail(const std::string& what, int rc) const {
  std::cerr << "omserver: data store " << directory_ << ": " << what << ": " << mdb_strerror(rc) << std::endl;
}

DataStore::Transaction::Transaction(DataStore& store, bool write) : store_(&store) {
  if (int rc = mdb_txn_begin(store.env_, nullptr, write ? 0 : MDB_RDONLY, &txn_)) {
    txn_ = nullptr;
    store.fail("a transaction cannot begin", rc);
  }
}

DataStore::Transaction::Transaction(Transaction&& other) noexcept : store_(other.store_), txn_(other.txn_) {
  other.txn_ = nullptr;
}

DataStore::Transaction::~Transaction() {
  if (txn_ != nullptr) mdb_txn_abort(txn_);
}

bool DataStore::Transaction::check(int rc) const {
  if (rc != 0 && rc != MDB_NOTFOUND) store_->fail("a change was refused", rc);
  return rc == 0;
}

bool DataStore::Transaction::get(Table table, std::string_view key, std::string& out) const {
  MDB_val k = value(key);
  MDB_val v;
  if (!ok() || !check(mdb_get(txn_, store_->tables_[table], &k, &v))) return false;
  out.assign(view(v));
  return true;
}

bool DataStore::Transaction::put(Table table, std::string_view key, std::string_view bytes) {
  MDB_val k = value(key);
  MDB_val v = value(bytes);
  return ok() && check(mdb_put(txn_, store_->tables_[table], &k, &v, 0));
}

bool DataStore::Transaction::erase(Table table, std::string_view key) {
  MDB_val k = value(key);
  return ok() && check(mdb_del(txn_, store_->tables_[table], &k, nullptr));
}

void DataStore::Transaction::scan(Table table, std::string_view from, bool backward, const Visit& visit) const {
  MDB_cursor* cursor = nullptr;
  if (!ok() || !check(mdb_cursor_open(txn_, store_->tables_[table], &cursor))) return;
  MDB_val k = value(from);
  MDB_val v;
  int rc;
  if (from.empty()) {
    rc = mdb_cursor_get(cursor, &k, &v, backward ? MDB_LAST : MDB_FIRST);
  } else {
    rc = mdb_cursor_get(cursor, &k, &v, MDB_SET_RANGE);
    // Backwards starts at the last key not after `from`.
    if (backward && rc == 0 && view(k) != from) {
      rc = mdb_cursor_get(cursor, &k, &v, MDB_PREV);
    } else if (backward && rc == MDB_NOTFOUND) {
      rc = mdb_cursor_get(cursor, &k, &v, MDB_LAST);
    }
  }
  while (rc == 0 && visit(view(k), view(v))) rc = mdb_cursor_get(cursor, &k, &v, backward ? MDB_PREV : MDB_NEXT);
  mdb_cursor_close(cursor);
}

size_t DataStore::Transaction::count(Table table) const {
  MDB_stat stat{};
  return ok() && mdb_stat(txn_, store_->tables_[table], &stat) == 0 ? stat.ms_entries : 0;
}

bool DataStore::Transaction::commit() {
  if (!ok()) return false;
  const int rc = mdb_txn_commit(txn_);
  txn_ = nullptr;
  if (rc != 0) store_->fail("a change could not be committed", rc);
  return rc == 0;
}

}  // namespace om::server
