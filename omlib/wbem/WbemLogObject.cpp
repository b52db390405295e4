#include "wbem/WbemLogObject.h"

#include "wbem/WbemProperties.h"

namespace {

using Log = CLogObject;

// The 12 properties of "LogObject", in the class's order.
constexpr om::WbemProperty<Log> kProperties[] = {
    om::property<&Log::getIdentifier, &Log::setIdentifier>(u"Identifier"),
    om::property<&Log::getLevel, &Log::setLevel>(u"LogLevel"),
    om::property<&Log::getTime, &Log::setTime>(u"Time"),
    om::property<&Log::getType, &Log::setType>(u"LogType"),
    om::property<&Log::getSubType, &Log::setSubType>(u"LogSubType"),
    om::property<&Log::getTargetType, &Log::setTargetType>(u"TargetType"),
    om::property<&Log::getInternalName, &Log::setInternalName>(u"InternalName"),
    om::property<&Log::getDisplayName, &Log::setDisplayName>(u"DisplayName"),
    om::property<&Log::getAddress, &Log::setAddress>(u"Address"),
    om::property<&Log::getSysObjectId, &Log::setSysObjectId>(u"SysObjectID"),
    om::property<&Log::getMessage, &Log::setMessage>(u"Message"),
    om::property<&Log::getActionId, &Log::setActionId>(u"ActionID"),
};

}  // namespace

// ---- WbemLogObject --------------------------------------------------------------------

WbemLogObject::WbemLogObject(const CLogObject& record, IWbemServices const* services)
    : WbemClient(const_cast<IWbemServices*>(services)), CLogObject(record) {}

bool WbemLogObject::put() { return putInstance(); }

bool WbemLogObject::get() { return getByKey(static_cast<int>(getIdentifier())); }

bool WbemLogObject::remove() { return removeByKey(static_cast<int>(getIdentifier())); }

bool WbemLogObject::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getObject());
}

bool WbemLogObject::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getObject());
}

bool WbemLogObject::enumLogObject(IWbemServices* services, std::vector<CLogObject>& records) {
  return enumerateAll<WbemLogObject>(services, records);
}

// ---- WbemLogObjectEvent ---------------------------------------------------------------

bool WbemLogObjectEvent::putToInstance(IWbemClassObject* instance) {
  if (instance == nullptr) return false;
  CComPtr<IWbemClassObject> record;
  record.Attach(m_object.spawnClass(m_object.getClass()));
  if (record == nullptr) return false;
  m_object.putToInstance(record);
  CComVariant value(static_cast<IUnknown*>(record));
  return SUCCEEDED(instance->Put(u"LogObject", 0, &value, 0));
}

bool WbemLogObjectEvent::getFromInstance(IWbemClassObject* instance) {
  if (instance == nullptr) return false;
  CComVariant value;
  CComPtr<IWbemClassObject> record;
  if (FAILED(instance->Get(u"LogObject", 0, &value, nullptr, nullptr)) || value.vt != VT_UNKNOWN ||
      value.punkVal == nullptr ||
      FAILED(value.punkVal->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&record)))) {
    return false;
  }
  return m_object.getFromInstance(record);
}

// ---- EnumLogObject --------------------------------------------------------------------

EnumLogObject::EnumLogObject(IWbemServices* services, const char* query) {
  if (!m_cursor.start(services, "LogObject", query, {})) m_dwErrorCode = GetLastError();
}

bool EnumLogObject::next(WbemLogObject& record) { return m_cursor.next(record); }

// ---- WbemLogObjectClient --------------------------------------------------------------

bool WbemLogObjectClient::beginRecordEnumeration(const CString& query, const CString& queryString) {
  return startRecords(query, {{"QueryString", CComVariant(queryString.GetString())}});
}

int WbemLogObjectClient::numberOfLogObject(const tstring& queryString, IWbemObjectSink* sink) {
  WbemAccess access(this);
  access.putParam("QueryString", queryString.c_str());
  return runCountMethod(access, "NumberOf", sink);
}
