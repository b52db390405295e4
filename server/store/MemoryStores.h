// The stores held in memory: what the embedded server runs on until the
// durable stores take their place. Each is safe to use from several threads.
#ifndef OM_SERVER_STORE_MEMORYSTORES_H_
#define OM_SERVER_STORE_MEMORYSTORES_H_

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "server/store/ActionStore.h"
#include "server/store/LogStore.h"
#include "server/store/MibStore.h"
#include "server/store/SubnetStore.h"
#include "server/store/TaskRecordStore.h"
#include "server/store/TaskStore.h"

namespace om::server {

// Values by key behind one lock.
template <class Key, class Value>
class LockedMap {
 public:
  std::vector<Value> values() const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Value> out;
    out.reserve(map_.size());
    for (const auto& item : map_) out.push_back(item.second);
    return out;
  }
  bool find(const Key& key, Value& out) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = map_.find(key);
    if (it == map_.end()) return false;
    out = it->second;
    return true;
  }
  // Returns whether the key was new.
  bool put(const Key& key, const Value& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    return map_.insert_or_assign(key, value).second;
  }
  bool add(const Key& key, const Value& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    return map_.emplace(key, value).second;
  }
  bool remove(const Key& key) {
    std::lock_guard<std::mutex> lock(mutex_);
    return map_.erase(key) != 0;
  }
  // Runs `work` on the map under the lock.
  template <class Work>
  auto with(Work work) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return work(map_);
  }
  template <class Work>
  auto with(Work work) {
    std::lock_guard<std::mutex> lock(mutex_);
    return work(map_);
  }

 private:
  mutable std::mutex mutex_;
  std::map<Key, Value> map_;
};

class MemorySubnetStore : public SubnetStore {
 public:
  std::vector<SubnetBase> list() const override { return subnets_.values(); }
  bool find(const std::string& name, SubnetBase& out) const override { return subnets_.find(name, out); }
  void put(const SubnetBase& subnet) override { subnets_.put(subnet.getName(), subnet); }
  bool remove(const std::string& name) override { return subnets_.remove(name); }
  bool rename(const std::string& oldName, const std::string& newName) override;

 private:
  LockedMap<std::string, SubnetBase> subnets_;
};

class MemoryTaskStore : public TaskStore {
 public:
  std::vector<CTaskObject> list() const override { return tasks_.values(); }
  bool find(const std::string& name, CTaskObject& out) const override { return tasks_.find(name, out); }
  bool add(const CTaskObject& task) override { return tasks_.add(task.getName(), task); }
  bool update(const std::string& name, const std::function<void(CTaskObject&)>& change) override;
  bool remove(const std::string& name) override { return tasks_.remove(name); }

 private:
  LockedMap<std::string, CTaskObject> tasks_;
};

class MemoryTaskRecordStore : public TaskRecordStore {
 public:
  void put(const std::string& task, const CTaskDataRecord& record) override;
  std::vector<CTaskDataRecord> list(const std::string& task) const override;
  bool find(const std::string& task, const CTime& pollStartTime, CTaskDataRecord& out) const override;
  bool remove(const std::string& task, const CTime& pollStartTime) override;
  void removeTask(const std::string& task) override;

 private:
  using Key = std::pair<std::string, CTime>;
  LockedMap<Key, CTaskDataRecord> records_;
};

class MemoryLogStore : public LogStore {
 public:
  DWORD put(CLogObject& record, bool* added) override;
  bool find(DWORD identifier, CLogObject& out) const override { return records_.find(identifier, out); }
  bool remove(DWORD identifier) override { return records_.remove(identifier); }
  void scan(const std::function<bool(const CLogObject&)>& visit) const override;
  std::size_t size() const override;

 private:
  LockedMap<DWORD, CLogObject> records_;
};

class MemoryMibStore : public MibStore {
 public:
  void load(const std::vector<CMibNode>& nodes) override;
  void put(const CMibNode& node) override;
  bool remove(const std::string& name) override;
  bool find(const std::string& name, CMibNode& out) const override;
  std::vector<CMibNode> list() const override;

 private:
  void index();

  mutable std::mutex mutex_;
  std::vector<CMibNode> nodes_;
  std::map<std::string, size_t> byName_;
};

class MemoryActionStore : public ActionStore {
 public:
  std::vector<CActionCommand> listCommands() const override { return commands_.values(); }
  bool findCommand(int identifier, CActionCommand& out) const override { return commands_.find(identifier, out); }
  void putCommand(const CActionCommand& command) override { commands_.put(command.getId(), command); }
  bool removeCommand(int identifier) override { return commands_.remove(identifier); }

  std::vector<ActionFilter> listFilters() const override { return filters_.values(); }
  bool findFilter(ULONG identifier, ActionFilter& out) const override { return filters_.find(identifier, out); }
  void putFilter(const ActionFilter& filter) override { filters_.put(filter.getId(), filter); }
  bool removeFilter(ULONG identifier) override { return filters_.remove(identifier); }

 private:
  LockedMap<int, CActionCommand> commands_;
  LockedMap<ULONG, ActionFilter> filters_;
};

}  // namespace om::server

#endif  // OM_SERVER_STORE_MEMORYSTORES_H_
