#include "server/store/MemoryStores.h"

namespace om::server {

bool MemorySubnetStore::rename(const std::string& oldName, const std::string& newName) {
  return subnets_.with([&](std::map<std::string, SubnetBase>& map) {
    const auto it = map.find(oldName);
    if (it == map.end() || newName.empty() || map.count(newName) != 0) return false;
    SubnetBase subnet = it->second;
    subnet.setName(newName);
    map.erase(it);
    map.emplace(newName, subnet);
    return true;
  });
}

bool MemoryTaskStore::update(const std::string& name, const std::function<void(CTaskObject&)>& change) {
  return tasks_.with([&](std::map<std::string, CTaskObject>& map) {
    const auto it = map.find(name);
    if (it == map.end()) return false;
    change(it->second);
    it->second.setName(name);
    return true;
  });
}

void MemoryTaskRecordStore::put(const std::string& task, const CTaskDataRecord& record) {
  records_.put({task, record.getPollStartTime()}, record);
}

std::vector<CTaskDataRecord> MemoryTaskRecordStore::list(const std::string& task) const {
  return records_.with([&](const std::map<Key, CTaskDataRecord>& map) {
    std::vector<CTaskDataRecord> out;
    for (auto it = map.lower_bound({task, CTime(INT64_MIN)}); it != map.end() && it->first.first == task; ++it) {
      out.push_back(it->second);
    }
    return out;
  });
}

bool MemoryTaskRecordStore::find(const std::string& task, const CTime& pollStartTime, CTaskDataRecord& out) const {
  return records_.find({task, pollStartTime}, out);
}

bool MemoryTaskRecordStore::remove(const std::string& task, const CTime& pollStartTime) {
  return records_.remove({task, pollStartTime});
}

void MemoryTaskRecordStore::removeTask(const std::string& task) {
  records_.with([&](std::map<Key, CTaskDataRecord>& map) {
    map.erase(map.lower_bound({task, CTime(INT64_MIN)}), map.lower_bound({task + '\0', CTime(INT64_MIN)}));
  });
}

DWORD MemoryLogStore::put(CLogObject& record, bool* added) {
  return records_.with([&](std::map<DWORD, CLogObject>& map) {
    if (record.getIdentifier() == 0) record.setIdentifier(map.empty() ? 1 : map.rbegin()->first + 1);
    const bool isNew = map.insert_or_assign(record.getIdentifier(), record).second;
    if (added != nullptr) *added = isNew;
    return record.getIdentifier();
  });
}

void MemoryLogStore::scan(const std::function<bool(const CLogObject&)>& visit) const {
  // A copy, so that writers are not held up while the records are visited.
  for (const CLogObject& record : records_.values()) {
    if (!visit(record)) break;
  }
}

std::size_t MemoryLogStore::size() const {
  return records_.with([](const std::map<DWORD, CLogObject>& map) { return map.size(); });
}

void MemoryMibStore::index() {
  byName_.clear();
  for (size_t i = 0; i < nodes_.size(); ++i) byName_.emplace(nodes_[i].getNodeName(), i);
}

void MemoryMibStore::load(const std::vector<CMibNode>& nodes) {
  std::lock_guard<std::mutex> lock(mutex_);
  nodes_ = nodes;
  index();
}

void MemoryMibStore::put(const CMibNode& node) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = byName_.find(node.getNodeName());
  if (it != byName_.end()) {
    nodes_[it->second] = node;
  } else {
    byName_.emplace(node.getNodeName(), nodes_.size());
    nodes_.push_back(node);
  }
}

bool MemoryMibStore::remove(const std::string& name) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = byName_.find(name);
  if (it == byName_.end()) return false;
  nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(it->second));
  index();
  return true;
}

bool MemoryMibStore::find(const std::string& name, CMibNode& out) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = byName_.find(name);
  if (it == byName_.end()) return false;
  out = nodes_[it->second];
  return true;
}

std::vector<CMibNode> MemoryMibStore::list() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return nodes_;
}

}  // namespace om::server
