// MibStore: the MIB tree the server serves, its nodes by name. Nodes name
// their parents, siblings and children; the store keeps them as loaded.
#ifndef OM_SERVER_STORE_MIBSTORE_H_
#define OM_SERVER_STORE_MIBSTORE_H_

#include <string>
#include <vector>

#include "monitor/mibnode.h"

class MibStore {
 public:
  virtual ~MibStore() = default;

  // Replaces the whole tree.
  virtual void load(const std::vector<CMibNode>& nodes) = 0;
  // Adds a node, or replaces the node of the same name.
  virtual void put(const CMibNode& node) = 0;
  virtual bool remove(const std::string& name) = 0;
  virtual bool find(const std::string& name, CMibNode& out) const = 0;
  // Every node, in the order loaded.
  virtual std::vector<CMibNode> list() const = 0;
};

#endif  // OM_SERVER_STORE_MIBSTORE_H_
