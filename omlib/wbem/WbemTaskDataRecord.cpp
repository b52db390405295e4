#include "wbem/WbemTaskDataRecord.h"

#include "wbem/WbemProperties.h"

namespace {

using Record = CTaskDataRecord;

// The 3 properties of "TaskDataRecord", in the class's order.
constexpr om::WbemProperty<Record> kProperties[] = {
    om::property<&Record::getPollStartTime, &Record::setPollStartTime>(u"PollStartTime"),
    om::property<&Record::getSysUpTime, &Record::setSysUpTime>(u"SysUpTime"),
    om::property<&Record::getMibValues, &Record::setMibValues>(u"MibValues"),
};

}  // namespace

// ---- WbemTaskDataRecord ---------------------------------------------------------------

WbemTaskDataRecord::WbemTaskDataRecord(const CTaskDataRecord& record, IWbemServices const* services)
    : CTaskDataRecord(record), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemTaskDataRecord::put(const CString& taskName) {
  WbemAccess access(this);
  access.putContext("TaskName", CComVariant(taskName.GetString()));
  return keepResult(access.put());
}

bool WbemTaskDataRecord::put() { return putInstance(); }

bool WbemTaskDataRecord::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getObject());
}

bool WbemTaskDataRecord::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getObject(), om::WrongTypeText::kKeep);
}

// ---- WbemTaskRecordClient -------------------------------------------------------------

bool WbemTaskRecordClient::beginRecordEnumeration(const CString& query, const CString& taskName,
                                                  const CString& queryString) {
  return startRecords(query, {{"TaskName", CComVariant(taskName.GetString())},
                              {"QueryString", CComVariant(queryString.GetString())}});
}

int WbemTaskRecordClient::numberOf(const CString& taskName, const CString& queryString, IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("TaskName", taskName.GetString());
  access.putParam("QueryString", queryString.GetString());
  return runCountMethod(access, "NumberOf", sink);
}

// ---- Provider -------------------------------------------------------------------------

HRESULT CGetTaskRecordCount::getInParams(CString& taskName, CString& queryString) {
  const HRESULT hr = getInParamTaskName(taskName);
  return FAILED(hr) ? hr : getInParamQueryString(queryString);
}
