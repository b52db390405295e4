#include "server/store/NetworkTree.h"

#include <algorithm>

#include <om/codepage.h>

#include "model/NetworkPath.h"

namespace {

void unlink(std::vector<std::string>& list, const std::string& name) {
  list.erase(std::remove(list.begin(), list.end(), name), list.end());
}

bool listed(const std::vector<std::string>& list, const std::string& name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

// ASCII letters lowered; the bytes of double-byte characters kept as they are.
std::string foldCase(const std::string& text) {
  std::string folded = text;
  for (size_t i = 0; i < folded.size();) {
    const size_t length = om::cp932CharLength(folded, i);
    if (length == 1 && folded[i] >= 'A' && folded[i] <= 'Z') folded[i] = static_cast<char>(folded[i] - 'A' + 'a');
    i += length;
  }
  return folded;
}

NetworkObjectBase rootObject(const std::string& name) {
  NetworkObjectBase root;
  root.setName(name);
  root.setDisplayName(name);
  root.setObjectType(kObjectTypeRoot);
  return root;
}

}  // namespace

NetworkTree::NetworkTree() {
  for (const std::string& name : {CNetworkPath::getPhysicalRootName(), CNetworkPath::getLogicalRootName()}) {
    entries_[name].object = rootObject(name);
  }
}

bool NetworkTree::attach(TreeStore* store) {
  store_ = store;
  touched_.clear();
  if (store_ == nullptr) return true;
  std::map<std::string, Entry> kept = store_->load();
  if (kept.empty()) {
    for (const auto& [name, entry] : entries_) touch(name);
    save();
    return true;
  }
  for (const std::string& root : {CNetworkPath::getPhysicalRootName(), CNetworkPath::getLogicalRootName()}) {
    if (kept.count(root) == 0) return false;  // not a tree this server wrote
  }
  entries_ = std::move(kept);
  return true;
}

void NetworkTree::save() {
  if (store_ != nullptr && !touched_.empty()) {
    std::map<std::string, const Entry*> changed;
    std::vector<std::string> erased;
    for (const std::string& name : touched_) {
      const auto found = entries_.find(name);
      if (found == entries_.end()) {
        erased.push_back(name);
      } else {
        changed.emplace(name, &found->second);
      }
    }
    store_->write(changed, erased);
  }
  touched_.clear();
}

std::string NetworkTree::physicalRootPath() {
  return CNetworkPath(std::vector<std::string>{CNetworkPath::getPhysicalRootName()}).getPath();
}

std::string NetworkTree::subnetPath(const std::string& subnet) {
  return CNetworkPath(std::vector<std::string>{CNetworkPath::getPhysicalRootName(), subnet}).getPath();
}

bool NetworkTree::isRoot(const std::string& name) const {
  return name == CNetworkPath::getPhysicalRootName() || name == CNetworkPath::getLogicalRootName();
}

const NetworkTree::Entry* NetworkTree::resolve(const std::string& path) const {
  const std::vector<std::string> names = CNetworkPath(path).getVector();
  if (names.empty() || !isRoot(names.front())) return nullptr;
  const Entry* entry = &entries_.at(names.front());
  for (size_t i = 1; i < names.size(); ++i) {
    if (!listed(entry->children, names[i])) return nullptr;
    entry = &entries_.at(names[i]);
  }
  return entry;
}

NetworkTree::Entry* NetworkTree::resolve(const std::string& path) {
  return const_cast<Entry*>(static_cast<const NetworkTree*>(this)->resolve(path));
}

bool NetworkTree::isAncestor(const std::string& ancestor, const std::string& name) const {
  if (ancestor == name) return true;
  const auto found = entries_.find(ancestor);
  if (found == entries_.end()) return false;
  for (const std::string& child : found->second.children) {
    if (isAncestor(child, name)) return true;
  }
  return false;
}

bool NetworkTree::add(const std::string& parentPath, const NetworkObjectBase& object) {
  const std::string& name = object.getName();
  Entry* parent = resolve(parentPath);
  if (parent == nullptr || name.empty() || isRoot(name)) return false;
  if (isAncestor(name, parent->object.getName())) return false;
  entries_[name].object = object;
  touch(name);
  if (!listed(parent->children, name)) {
    parent->children.push_back(name);
    touch(parent->object.getName());
  }
  save();
  return true;
}

bool NetworkTree::update(const NetworkObjectBase& object) {
  const auto found = entries_.find(object.getName());
  if (found == entries_.end() || isRoot(object.getName())) return false;
  found->second.object = object;
  touch(object.getName());
  save();
  return true;
}

const NetworkObjectBase* NetworkTree::find(const std::string& name) const {
  const auto found = entries_.find(name);
  return found == entries_.end() ? nullptr : &found->second.object;
}

const NetworkObjectBase* NetworkTree::findByAddress(const std::string& address) const {
  for (const auto& [name, entry] : entries_) {
    if (entry.object.getObjectType() == kObjectTypeNode && listed(entry.object.getIpAddresses(), address)) {
      return &entry.object;
    }
  }
  return nullptr;
}

bool NetworkTree::children(const std::string& path, std::vector<NetworkObjectBase>& out) const {
  const Entry* entry = resolve(path);
  if (entry == nullptr) return false;
  for (const std::string& child : entry->children) out.push_back(entries_.at(child).object);
  return true;
}

bool NetworkTree::hasChildren(const std::string& path) const {
  const Entry* entry = resolve(path);
  return entry != nullptr && !entry->children.empty();
}

void NetworkTree::collectPaths(const std::string& name, const CNetworkPath& path, std::vector<std::string>& out) const {
  for (const std::string& child : entries_.at(path.name()).children) {
    CNetworkPath childPath(path);
    childPath.addChild(child);
    if (child == name) out.push_back(childPath.getPath());
    collectPaths(name, childPath, out);
  }
}

std::vector<std::string> NetworkTree::pathNames(const std::string& name) const {
  std::vector<std::string> paths;
  for (const std::string& root : {CNetworkPath::getPhysicalRootName(), CNetworkPath::getLogicalRootName()}) {
    const CNetworkPath rootPath(std::vector<std::string>{root});
    if (root == name) paths.push_back(rootPath.getPath());
    collectPaths(name, rootPath, paths);
  }
  return paths;
}

bool NetworkTree::isListed(const std::string& name) const {
  for (const auto& [parent, entry] : entries_) {
    if (listed(entry.children, name)) return true;
  }
  return false;
}

bool NetworkTree::remove(const std::string& name) {
  if (entries_.count(name) == 0 || isRoot(name)) return false;
  removeEntry(name);
  save();
  return true;
}

void NetworkTree::removeEntry(const std::string& name) {
  const auto found = entries_.find(name);
  const std::vector<std::string> children = found->second.children;
  entries_.erase(found);
  touch(name);
  unlinkEverywhere(name);
  for (const std::string& child : children) {
    if (entries_.count(child) != 0 && !isListed(child)) removeEntry(child);
  }
}

void NetworkTree::unlinkEverywhere(const std::string& name) {
  for (auto& [parent, entry] : entries_) {
    if (!listed(entry.children, name)) continue;
    unlink(entry.children, name);
    touch(parent);
  }
}

bool NetworkTree::move(const std::string& name, const std::string& srcPath, const std::string& destPath) {
  Entry* src = resolve(srcPath);
  Entry* dest = resolve(destPath);
  if (src == nullptr || dest == nullptr || !listed(src->children, name)) return false;
  if (src == dest) return true;
  if (isAncestor(name, dest->object.getName())) return false;
  unlink(src->children, name);
  if (!listed(dest->children, name)) dest->children.push_back(name);
  touch(src->object.getName());
  touch(dest->object.getName());
  save();
  return true;
}

bool NetworkTree::rename(const std::string& oldName, const std::string& newName) {
  const auto found = entries_.find(oldName);
  if (found == entries_.end() || isRoot(oldName) || newName.empty() || entries_.count(newName) != 0) return false;
  Entry entry = std::move(found->second);
  entries_.erase(found);
  entry.object.setName(newName);
  entries_.emplace(newName, std::move(entry));
  touch(oldName);
  touch(newName);
  for (auto& [parent, other] : entries_) {
    if (!listed(other.children, oldName)) continue;
    std::replace(other.children.begin(), other.children.end(), oldName, newName);
    touch(parent);
  }
  save();
  return true;
}

std::vector<std::string> NetworkTree::search(const std::string& text, bool ignoreCase, bool subnets) const {
  const std::string wanted = ignoreCase ? foldCase(text) : text;
  std::vector<std::string> names;
  for (const auto& [name, entry] : entries_) {
    if (isRoot(name) || (entry.object.getObjectType() == kObjectTypeSubnet) != subnets) continue;
    if ((ignoreCase ? foldCase(name) : name).find(wanted) != std::string::npos) names.push_back(name);
  }
  return names;
}

std::vector<std::string> NetworkTree::names(int objectType) const {
  std::vector<std::string> out;
  for (const auto& [name, entry] : entries_) {
    if (entry.object.getObjectType() == objectType) out.push_back(name);
  }
  return out;
}

int NetworkTree::count(int objectType) const { return static_cast<int>(names(objectType).size()); }
