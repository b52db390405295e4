// The stores kept on disk, in the server's data store: each record in its
// archive form, each change one committed transaction. Each works on a
// DataStore it does not own, which must outlive it, and is safe to use from
// several threads and processes.
#ifndef OM_SERVER_STORE_DURABLESTORES_H_
#define OM_SERVER_STORE_DURABLESTORES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "server/store/ActionStore.h"
#include "server/store/DataStore.h"
#include "server/store/LogStore.h"
#include "server/store/SubnetStore.h"
#include "server/store/TaskRecordStore.h"
#include "server/store/TaskStore.h"
#include "server/store/TreeStore.h"

namespace om::server {

// How many of the records that pile up are kept: beyond a count, or once
// older than an age, the oldest go first. 0: no limit.
struct Retention {
  size_t maxLogs = 0;
  int64_t maxLogAgeSeconds = 0;
  size_t maxSamplesPerTask = 0;
  int64_t maxSampleAgeSeconds = 0;
};

// The tree kept in `data`, by name.
std::map<std::string, TreeEntry> keptTree(const DataStore& data);

class DurableTreeStore : public TreeStore {
 public:
  explicit DurableTreeStore(DataStore& data) : data_(data) {}
  std::map<std::string, TreeEntry> load() const override;
  bool write(const std::map<std::string, const TreeEntry*>& changed, const std::vector<std::string>& erased) override;

 private:
  DataStore& data_;
};

class DurableSubnetStore : public SubnetStore {
 public:
  explicit DurableSubnetStore(DataStore& data) : data_(data) {}
  std::vector<SubnetBase> list() const override;
  bool find(const std::string& name, SubnetBase& out) const override;
  void put(const SubnetBase& subnet) override;
  bool remove(const std::string& name) override;
  bool rename(const std::string& oldName, const std::string& newName) override;

 private:
  DataStore& data_;
};

class DurableTaskStore : public TaskStore {
 public:
  explicit DurableTaskStore(DataStore& data) : data_(data) {}
  std::vector<CTaskObject> list() const override;
  bool find(const std::string& name, CTaskObject& out) const override;
  bool add(const CTaskObject& task) override;
  bool update(const std::string& name, const std::function<void(CTaskObject&)>& change) override;
  bool remove(const std::string& name) override;

 private:
  DataStore& data_;
};

class DurableTaskRecordStore : public TaskRecordStore {
 public:
  DurableTaskRecordStore(DataStore& data, const Retention& retention) : data_(data), retention_(retention) {}
  void put(const std::string& task, const CTaskDataRecord& record) override;
  std::vector<CTaskDataRecord> list(const std::string& task) const override;
  bool find(const std::string& task, const CTime& pollStartTime, CTaskDataRecord& out) const override;
  bool remove(const std::string& task, const CTime& pollStartTime) override;
  void removeTask(const std::string& task) override;

 private:
  DataStore& data_;
  const Retention retention_;
};

class DurableLogStore : public LogStore {
 public:
  DurableLogStore(DataStore& data, const Retention& retention) : data_(data), retention_(retention) {}
  // 0, and not added, when the record could not be kept.
  DWORD put(CLogObject& record, bool* added) override;
  bool find(DWORD identifier, CLogObject& out) const override;
  bool remove(DWORD identifier) override;
  void scan(const std::function<bool(const CLogObject&)>& visit) const override;
  std::size_t size() const override;

 private:
  DataStore& data_;
  const Retention retention_;
};

class DurableActionStore : public ActionStore {
 public:
  explicit DurableActionStore(DataStore& data) : data_(data) {}
  std::vector<CActionCommand> listCommands() const override;
  bool findCommand(int identifier, CActionCommand& out) const override;
  void putCommand(const CActionCommand& command) override;
  bool removeCommand(int identifier) override;

  std::vector<ActionFilter> listFilters() const override;
  bool findFilter(ULONG identifier, ActionFilter& out) const override;
  void putFilter(const ActionFilter& filter) override;
  bool removeFilter(ULONG identifier) override;

 private:
  DataStore& data_;
};

}  // namespace om::server

#endif  // OM_SERVER_STORE_DURABLESTORES_H_
