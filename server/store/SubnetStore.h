// SubnetStore: where the server keeps its subnets' records (network id, mask,
// communities, counters, discovery settings), by name. The subnets' places in
// the network tree are the tree's.
#ifndef OM_SERVER_STORE_SUBNETSTORE_H_
#define OM_SERVER_STORE_SUBNETSTORE_H_

#include <string>
#include <vector>

#include "model/subnet.h"

class SubnetStore {
 public:
  virtual ~SubnetStore() = default;

  // Every subnet, by name.
  virtual std::vector<SubnetBase> list() const = 0;
  virtual bool find(const std::string& name, SubnetBase& out) const = 0;
  // Adds the subnet, or replaces the one of the same name.
  virtual void put(const SubnetBase& subnet) = 0;
  virtual bool remove(const std::string& name) = 0;
  // False when `oldName` is unknown or `newName` is taken.
  virtual bool rename(const std::string& oldName, const std::string& newName) = 0;
};

#endif  // OM_SERVER_STORE_SUBNETSTORE_H_
