// TaskRecordStore: where the server keeps the samples of its polling tasks,
// per task name, ordered and keyed by poll start time.
#ifndef OM_SERVER_STORE_TASKRECORDSTORE_H_
#define OM_SERVER_STORE_TASKRECORDSTORE_H_

#include <string>
#include <vector>

#include <afx.h>

#include "monitor/TaskDataRecord.h"

class TaskRecordStore {
 public:
  virtual ~TaskRecordStore() = default;

  // Stores a sample of `task`; one of the same poll start time is replaced.
  virtual void put(const std::string& task, const CTaskDataRecord& record) = 0;
  // The samples of `task`, oldest first.
  virtual std::vector<CTaskDataRecord> list(const std::string& task) const = 0;
  virtual bool find(const std::string& task, const CTime& pollStartTime, CTaskDataRecord& out) const = 0;
  virtual bool remove(const std::string& task, const CTime& pollStartTime) = 0;
  // Forgets every sample of `task`.
  virtual void removeTask(const std::string& task) = 0;
};

#endif  // OM_SERVER_STORE_TASKRECORDSTORE_H_
