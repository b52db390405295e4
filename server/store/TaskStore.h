// TaskStore: where the server keeps its polling tasks, by name.
#ifndef OM_SERVER_STORE_TASKSTORE_H_
#define OM_SERVER_STORE_TASKSTORE_H_

#include <functional>
#include <string>
#include <vector>

#include "monitor/TaskObject.h"

class TaskStore {
 public:
  virtual ~TaskStore() = default;

  // Every task, by name.
  virtual std::vector<CTaskObject> list() const = 0;
  virtual bool find(const std::string& name, CTaskObject& out) const = 0;
  // False when the name is taken.
  virtual bool add(const CTaskObject& task) = 0;
  // Changes the task of that name in place, atomically; false when there is
  // none. `change` must keep the name.
  virtual bool update(const std::string& name, const std::function<void(CTaskObject&)>& change) = 0;
  virtual bool remove(const std::string& name) = 0;
};

#endif  // OM_SERVER_STORE_TASKSTORE_H_
