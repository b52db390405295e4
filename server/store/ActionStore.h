// ActionStore: where the server keeps its action commands and action
// filters, each kind by identifier.
#ifndef OM_SERVER_STORE_ACTIONSTORE_H_
#define OM_SERVER_STORE_ACTIONSTORE_H_

#include <vector>

#include "monitor/ActionCmd.h"
#include "monitor/ActionFilter.h"

class ActionStore {
 public:
  virtual ~ActionStore() = default;

  // By identifier, ascending.
  virtual std::vector<CActionCommand> listCommands() const = 0;
  virtual bool findCommand(int identifier, CActionCommand& out) const = 0;
  // Adds the command, or replaces the one of the same identifier.
  virtual void putCommand(const CActionCommand& command) = 0;
  virtual bool removeCommand(int identifier) = 0;

  virtual std::vector<ActionFilter> listFilters() const = 0;
  virtual bool findFilter(ULONG identifier, ActionFilter& out) const = 0;
  virtual void putFilter(const ActionFilter& filter) = 0;
  virtual bool removeFilter(ULONG identifier) = 0;
};

#endif  // OM_SERVER_STORE_ACTIONSTORE_H_
