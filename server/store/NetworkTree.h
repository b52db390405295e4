// NetworkTree: the server's map of the managed network, held in memory. Every
// object is known once by its name and may be listed under several parents:
// the physical root holds subnets, subnets hold nodes, nodes hold ports; the
// logical root holds groups that list the same objects again. Paths are
// CNetworkPath texts ("\物理\subnet\node"). Not thread-safe: the server
// serialises access.
#ifndef OM_SERVER_NETWORKTREE_H_
#define OM_SERVER_NETWORKTREE_H_

#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/NetworkObjectBase.h"
#include "model/NetworkPath.h"
#include "server/store/TreeStore.h"

// The object types this server gives its objects.
enum ServerObjectType : int {
  kObjectTypeRoot = 0,
  kObjectTypeSubnet = 1,
  kObjectTypeNode = 2,
  kObjectTypeGroup = 3,
  kObjectTypePort = NetworkObjectBase::OBJECT_TYPE_PORT,
};

class NetworkTree {
 public:
  // A tree holding the physical and the logical root.
  NetworkTree();

  // Keeps the tree in `store` (not owned; it must outlive the tree or be
  // detached with null): a store that holds a tree replaces this one, an
  // empty one receives it. From then on every change is written through.
  // False when the store could not be read or written.
  bool attach(TreeStore* store);

  // The path of the physical root, and of a subnet under it.
  static std::string physicalRootPath();
  static std::string subnetPath(const std::string& subnet);

  // Lists `object` under the object at `parentPath`. A new name adds the
  // object; a known one replaces its attributes and adds one more parent.
  // False when the parent does not exist, the name is empty or a root's, or
  // the object would become its own ancestor.
  bool add(const std::string& parentPath, const NetworkObjectBase& object);
  // Replaces the attributes of the known object of that name.
  bool update(const NetworkObjectBase& object);
  // The object of that name, or null; valid until the tree changes.
  const NetworkObjectBase* find(const std::string& name) const;
  // A node that has `address` among its IPv4 addresses, or null.
  const NetworkObjectBase* findByAddress(const std::string& address) const;

  // The objects listed under `path`, in the order added; false when no
  // object lies at that path.
  bool children(const std::string& path, std::vector<NetworkObjectBase>& out) const;
  bool hasChildren(const std::string& path) const;
  // Every path at which the object is listed, depth first from the roots.
  std::vector<std::string> pathNames(const std::string& name) const;

  // Removes the object from every parent, with those of its descendants
  // that are then listed nowhere.
  bool remove(const std::string& name);
  // Moves the object from the parent at `srcPath` to the one at `destPath`.
  bool move(const std::string& name, const std::string& srcPath, const std::string& destPath);
  // False when `oldName` is unknown or a root's, or `newName` is taken.
  bool rename(const std::string& oldName, const std::string& newName);

  // Names that contain `text` (ASCII letters folded with `ignoreCase`), of
  // subnets or of the other objects but the roots; sorted.
  std::vector<std::string> search(const std::string& text, bool ignoreCase, bool subnets) const;
  // How many objects have that type, and their names, sorted.
  int count(int objectType) const;
  std::vector<std::string> names(int objectType) const;

 private:
  using Entry = TreeEntry;

  // The entry at `path`, or null.
  const Entry* resolve(const std::string& path) const;
  Entry* resolve(const std::string& path);
  bool isRoot(const std::string& name) const;
  bool isAncestor(const std::string& ancestor, const std::string& name) const;
  bool isListed(const std::string& name) const;
  void collectPaths(const std::string& name, const CNetworkPath& path, std::vector<std::string>& out) const;
  void removeEntry(const std::string& name);
  // Removes `name` from every list that holds it.
  void unlinkEverywhere(const std::string& name);
  // Marks an entry changed, or gone, for the next save().
  void touch(const std::string& name) { touched_.insert(name); }
  // Writes the entries changed since the last save to the store.
  void save();

  std::map<std::string, Entry> entries_;
  TreeStore* store_ = nullptr;
  std::set<std::string> touched_;
};

#endif  // OM_SERVER_NETWORKTREE_H_
