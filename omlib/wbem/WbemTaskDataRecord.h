// One sample of a polling task as the WMI class "TaskDataRecord": the
// wrapper (WbemTaskDataRecord), the console's record enumeration and count
// (WbemTaskRecordClient) and the server side (WbemTaskRecordManager and
// CGetTaskRecordCount for "NumberOf"). It follows the task family: a
// property of the wrong type leaves its field as it was, and "PollStartTime"
// is a datetime with the fixed offset +540.
//
// Which records a "TaskName" and "QueryString" pair selects is the server's
// business; the server of this product reads "QueryString" as a WQL
// condition on the properties of "TaskDataRecord".
#ifndef OMLIB_WBEM_WBEMTASKDATARECORD_H_
#define OMLIB_WBEM_WBEMTASKDATARECORD_H_

#include <vector>

#include <afx.h>

#include "monitor/TaskDataRecord.h"
#include "wbem/WbemClient.h"
#include "wbem/WbemManager.h"
#include "wbem/WbemRecordEnumeration.h"

// A task sample that reads and writes itself as an instance. Copies share the
// services pointer without a reference of their own.
class WbemTaskDataRecord : public CTaskDataRecord, public WbemClient {
 public:
  explicit WbemTaskDataRecord(IWbemServices* services) : WbemClient(services) {}
  WbemTaskDataRecord(const CTaskDataRecord& record, IWbemServices const* services);

  CTaskDataRecord& getObject() { return *this; }
  const CTaskDataRecord& getObject() const { return *this; }
  void setObject(const CTaskDataRecord& record) { CTaskDataRecord::operator=(record); }

  tstring getClassName() const override { return "TaskDataRecord"; }
  // Writes this sample as an instance; the context value "TaskName" tells the
  // provider whose sample it is (the form without a name sends none).
  bool put(const CString& taskName);
  bool put();
  bool get() { return true; }
  // The 3 properties in the class's order.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;
};

// The console's side: the samples of a task, enumerated by a WQL query, and
// their number.
class WbemTaskRecordClient : public WbemRecordEnumeration<WbemTaskDataRecord, CTaskDataRecord> {
 public:
  using WbemRecordEnumeration::WbemRecordEnumeration;

  // Starts the WQL query `query` with the context values "TaskName" and
  // "QueryString"; read the samples with getNextRecord.
  bool beginRecordEnumeration(const CString& query, const CString& taskName, const CString& queryString);
  // The number of samples of `taskName` that `queryString` selects. With a
  // sink: 0 once the call has started (the number goes to the sink). -1 when
  // the call fails.
  int numberOf(const CString& taskName, const CString& queryString, IWbemObjectSink* sink = nullptr);
};

// A task sample on the provider side (the WbemManager pattern).
class WbemTaskRecordManager : public WbemManager<WbemTaskDataRecord> {
 public:
  using WbemManager::WbemManager;

  HRESULT getInParamTaskName(CString& taskName) { return getInParamStrValue("TaskName", taskName); }
  HRESULT getInParamQueryString(CString& queryString) { return getInParamStrValue("QueryString", queryString); }
  // Loads an embedded "TaskDataRecord" in-parameter into this object.
  HRESULT getInParamTaskDataRecord() { return getInParamObject("TaskDataRecord"); }
};

// "NumberOf".
class CGetTaskRecordCount : public WbemTaskRecordManager {
 public:
  OM_WBEM_METHOD(CGetTaskRecordCount, WbemTaskRecordManager, "NumberOf")
  // "TaskName", then "QueryString"; stops at the first failure.
  HRESULT getInParams(CString& taskName, CString& queryString);
};

#endif  // OMLIB_WBEM_WBEMTASKDATARECORD_H_
