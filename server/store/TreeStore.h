// TreeStore: where the server keeps its network tree between runs: each
// object with the names listed under it, by name. The tree in memory is the
// one the providers read; it writes each change through to the store.
#ifndef OM_SERVER_STORE_TREESTORE_H_
#define OM_SERVER_STORE_TREESTORE_H_

#include <map>
#include <string>
#include <vector>

#include "model/NetworkObjectBase.h"

// An object of the tree and the names listed under it, in order.
struct TreeEntry {
  NetworkObjectBase object;
  std::vector<std::string> children;
};

class TreeStore {
 public:
  virtual ~TreeStore() = default;

  // Every entry kept, by name.
  virtual std::map<std::string, TreeEntry> load() const = 0;
  // Keeps the entries of `changed` (by name) and forgets those named in
  // `erased`, all or nothing. False when nothing could be written.
  virtual bool write(const std::map<std::string, const TreeEntry*>& changed, const std::vector<std::string>& erased) = 0;
};

#endif  // OM_SERVER_STORE_TREESTORE_H_
