// WbemRecordEnumeration: the record enumeration of the log and task record
// clients. A client starts a WQL query with its context values, then reads
// the results one at a time into itself.
#ifndef OMLIB_WBEM_WBEMRECORDENUMERATION_H_
#define OMLIB_WBEM_WBEMRECORDENUMERATION_H_

#include <utility>
#include <vector>

#include "wbem/WbemClient.h"

template <class Wrapper, class Record>
class WbemRecordEnumeration : public Wrapper {
 public:
  using Wrapper::Wrapper;

  // The next record, read into this object (and copied to `out`, or
  // appended to `out`); false when none is left or the query failed.
  bool getNextRecord() { return m_records.next(*this); }
  bool getNextRecord(Record& out) {
    if (!getNextRecord()) return false;
    out = this->getObject();
    return true;
  }
  bool getNextRecord(std::vector<Record>& out) {
    if (!getNextRecord()) return false;
    out.push_back(this->getObject());
    return true;
  }
  void endRecordEnumeration() {}

 protected:
  // Starts `query` over this wrapper's class with the context values given;
  // a query that cannot be started leaves the enumeration empty.
  bool startRecords(const CString& query, const std::vector<std::pair<tstring, CComVariant>>& context) {
    return this->keepResult(m_records.start(this->getServices(), this->getClassName(), query.GetString(), context));
  }

 private:
  WbemQueryCursor m_records;
};

#endif  // OMLIB_WBEM_WBEMRECORDENUMERATION_H_
