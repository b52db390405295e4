// DataStore: the server's data directory, one LMDB environment with a table
// per kind of record. Every change is made inside a write transaction that
// is committed (and so survives the process being killed) before the
// change is acknowledged; readers see one consistent snapshot. The durable
// stores are built on it; providers never see it. Thread-safe.
#ifndef OM_SERVER_STORE_DATASTORE_H_
#define OM_SERVER_STORE_DATASTORE_H_

#include <lmdb.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace om::server {

class DataStore {
 public:
  enum Table : int {
    kObjects,      // network object name -> its archive form
    kChildren,     // network object name -> the names listed under it
    kNetwork,      // "network" -> the network's archive form
    kSubnets,      // subnet name -> its archive form
    kTasks,        // task name -> its archive form
    kTaskRecords,  // task name, poll start time -> the sample's archive form
    kTaskCounts,   // task name -> how many samples it has
    kLogs,         // log identifier -> the record's archive form
    kCommands,     // action command identifier -> its archive form
    kFilters,      // action filter identifier -> its archive form
    kTableCount
  };

  // A transaction over the tables. A reading one sees the store as it was
  // when it began; a writing one changes nothing until it is committed, and
  // is abandoned when it goes out of scope uncommitted.
  class Transaction {
   public:
    ~Transaction();
    Transaction(Transaction&& other) noexcept;
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // False when the transaction could not begin (the store's error says why).
    bool ok() const { return txn_ != nullptr; }
    bool get(Table table, std::string_view key, std::string& value) const;
    // The writing ones: false when the change was refused.
    bool put(Table table, std::string_view key, std::string_view value);
    bool erase(Table table, std::string_view key);
    // Hands the records from `from` on (in key order, or from the last key at
    // or before `from` backwards; an empty `from` starts at the first or the
    // last) to `visit` until it returns false.
    using Visit = std::function<bool(std::string_view key, std::string_view value)>;
    void scan(Table table, std::string_view from, bool backward, const Visit& visit) const;
    size_t count(Table table) const;
    // Makes the changes durable; false (nothing changed) when that failed.
    bool commit();

   private:
    friend class DataStore;
    Transaction(DataStore& store, bool write);
    bool check(int rc) const;

    DataStore* store_;
    MDB_txn* txn_ = nullptr;
  };

  // Opens the store in `dir`, creating the folder and the store when they
  // are missing; null with the reason in `error` when it cannot.
  static std::unique_ptr<DataStore> open(const std::string& dir, std::string& error);
  ~DataStore();
  DataStore(const DataStore&) = delete;
  DataStore& operator=(const DataStore&) = delete;

  Transaction read() const;
  Transaction write();
  // Runs `work` in a write transaction and commits it when `work` returns
  // true. False when `work` refused or the transaction failed; then nothing
  // was changed.
  bool update(const std::function<bool(Transaction&)>& work);

  const std::string& directory() const { return directory_; }
  // Reports a record of `table` that cannot be read, which is then left out.
  void reportDamaged(Table table, std::string_view key) const;

 private:
  DataStore() = default;
  // Writes what failed to the standard error: the server goes on, with its
  // memory up to date.
  void fail(const std::string& what, int rc) const;

  std::string directory_;
  MDB_env* env_ = nullptr;
  std::array<MDB_dbi, kTableCount> tables_{};
};

// Keys that sort as their numbers do: big-endian, signed ones shifted so
// that negative numbers come first.
std::string numberKey(uint32_t value);
std::string numberKey(int64_t value);
uint32_t numberOfKey(std::string_view key);

}  // namespace om::server

#endif  // OM_SERVER_STORE_DATASTORE_H_
