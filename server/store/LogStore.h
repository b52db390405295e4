// LogStore: where the server keeps its event log, ordered and keyed by record
// identifier.
#ifndef OM_SERVER_STORE_LOGSTORE_H_
#define OM_SERVER_STORE_LOGSTORE_H_

#include <cstddef>
#include <functional>

#include "monitor/log.h"

class LogStore {
 public:
  virtual ~LogStore() = default;

  // Stores a record. Identifier 0 gives it the next identifier (one above
  // the highest so far); a known identifier replaces that record. Returns
  // the record's identifier and whether it is new.
  virtual DWORD put(CLogObject& record, bool* added) = 0;
  virtual bool find(DWORD identifier, CLogObject& out) const = 0;
  virtual bool remove(DWORD identifier) = 0;
  // Hands every record to `visit`, oldest identifier first, until it
  // returns false: the records as they stood when the scan began.
  virtual void scan(const std::function<bool(const CLogObject&)>& visit) const = 0;
  virtual std::size_t size() const = 0;
};

#endif  // OM_SERVER_STORE_LOGSTORE_H_
