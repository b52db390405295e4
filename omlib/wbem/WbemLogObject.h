// The event log as the WMI class "LogObject" and the event class
// "LogObjectEvent": the wrapper (WbemLogObject), the event (WbemLogObjectEvent),
// a query over the log (EnumLogObject), the console's calls
// (WbemLogObjectClient) and the server side (WbemLogObjectProvider and
// NumberOfMethod for "NumberOf").
//
// A record is keyed by its identifier: get() and remove() address the
// instance LogObject="<identifier>". "Time" is a datetime with the fixed
// offset +540, read back by its first fourteen digits. What "QueryString"
// selects is the server's business; the server of this product reads it as
// a WQL condition on the properties of "LogObject".
#ifndef OMLIB_WBEM_WBEMLOGOBJECT_H_
#define OMLIB_WBEM_WBEMLOGOBJECT_H_

#include <vector>

#include <afx.h>

#include "monitor/log.h"
#include "wbem/WbemClient.h"
#include "wbem/WbemProvider.h"
#include "wbem/WbemRecordEnumeration.h"

// A log record that reads and writes itself as an instance. Copies share the
// services pointer without a reference of their own.
class WbemLogObject : public WbemClient, public CLogObject {
 public:
  explicit WbemLogObject(IWbemServices* services) : WbemClient(services) {}
  WbemLogObject(const CLogObject& record, IWbemServices const* services);

  CLogObject& getObject() { return *this; }
  const CLogObject& getObject() const { return *this; }
  void setObject(const CLogObject& record) { CLogObject::operator=(record); }

  tstring getClassName() const override { return "LogObject"; }
  // Writes this record as an instance.
  bool put();
  // Reads / deletes the instance of this record's identifier.
  bool get();
  bool remove();
  // The 12 properties in the class's order.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;

  // Appends every record of the server.
  static bool enumLogObject(IWbemServices* services, std::vector<CLogObject>& records);

 private:
  friend class WbemLogObjectEvent;
};

// One "LogObjectEvent": the new record it announces, held as a wrapper. It is
// only ever built into an instance and read from one.
class WbemLogObjectEvent : public WbemClient {
 public:
  explicit WbemLogObjectEvent(IWbemServices* services) : WbemClient(services), m_object(services) {}

  void setObject(const WbemLogObject& object) { m_object.setObject(object.getObject()); }
  WbemLogObject& getObject() { return m_object; }

  tstring getClassName() const override { return "LogObjectEvent"; }
  // "LogObject": the held record as an embedded "LogObject" instance.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;

 private:
  bool put() { return true; }
  bool get() { return true; }

  WbemLogObject m_object;
};

// The records a WQL query over "LogObject" selects, one per next().
class EnumLogObject {
 public:
  EnumLogObject(IWbemServices* services, const char* query);

  // The next record; false when none is left (or the query failed).
  bool next(WbemLogObject& record);
  // True while records may be left.
  bool operator()() const { return m_cursor.isOpen(); }
  // The HRESULT of the query when it could not be started, else 0.
  unsigned long getErrorCode() const { return m_dwErrorCode; }

 private:
  WbemQueryCursor m_cursor;
  DWORD m_dwErrorCode = 0;
};

// The console's calls.
class WbemLogObjectClient : public WbemRecordEnumeration<WbemLogObject, CLogObject> {
 public:
  using WbemRecordEnumeration::WbemRecordEnumeration;

  // Starts the WQL query `query` with the context value "QueryString"; read
  // the records with getNextRecord.
  bool beginRecordEnumeration(const CString& query, const CString& queryString);
  // The number of records `queryString` selects. With a sink: 0 once the
  // call has started (the number goes to the sink). -1 when the call fails.
  int numberOfLogObject(const tstring& queryString, IWbemObjectSink* sink = nullptr);
};

// A log record on the provider side.
class WbemLogObjectProvider : public WbemProviderOf<WbemLogObject> {
 public:
  using WbemProviderOf::WbemProviderOf;
  explicit WbemLogObjectProvider(IWbemServices* services) : WbemProviderOf(services, nullptr, nullptr) {}
};

// "NumberOf".
class NumberOfMethod : public WbemLogObjectProvider {
 public:
  OM_WBEM_METHOD(NumberOfMethod, WbemLogObjectProvider, "NumberOf")
  HRESULT getInParams(tstring& queryString) { return getParamString("QueryString", queryString); }
  // Delivers `count` as the sint32 "ReturnValue".
  HRESULT indicate(int count) { return indicateOutput("ReturnValue", CComVariant(count)); }
};

#endif  // OMLIB_WBEM_WBEMLOGOBJECT_H_
