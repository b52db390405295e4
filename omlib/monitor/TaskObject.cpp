#include "monitor/TaskObject.h"

#include <cstdlib>

#include "model/ArchiveFields.h"

IMPLEMENT_SERIAL(CTaskObject, CObject, 1)

namespace {

ULONGLONG parseSigned64(const std::string& text) {
  return static_cast<ULONGLONG>(std::strtoll(text.c_str(), nullptr, 10));
}

DWORD lowHalf(ULONGLONG value) { return static_cast<DWORD>(value); }
DWORD highHalf(ULONGLONG value) { return static_cast<DWORD>(value >> 32); }
ULONGLONG joinHalves(DWORD low, DWORD high) { return (static_cast<ULONGLONG>(high) << 32) | low; }

// Reads a 32-bit word and hands it back to the archive, so that the next read
// sees it again. False when fewer than four bytes are left.
bool peekLong(CArchive& ar, LONG& value) {
  const UINT got = ar.Read(&value, sizeof value);
  ar.Flush();
  ar.GetFile()->Seek(-static_cast<LONGLONG>(got), CFile::current);
  return got == sizeof value;
}

LONG loadLong(CArchive& ar) {
  LONG value = 0;
  ar >> value;
  return value;
}

}  // namespace

CTaskObject::CTaskObject(const CTaskObject& other) : CObject() { copyIn(other); }

const CTaskObject& CTaskObject::operator=(const CTaskObject& other) {
  if (this != &other) copyIn(other);
  return *this;
}

void CTaskObject::copyIn(const CTaskObject& other) {
  name_ = other.name_;
  displayName_ = other.displayName_;
  userText_ = other.userText_;
  DNSName_ = other.DNSName_;
  ipAddress_ = other.ipAddress_;
  readCommunityName_ = other.readCommunityName_;
  writeCommunityName_ = other.writeCommunityName_;
  mibVariables_ = other.mibVariables_;
  taskType_ = other.taskType_;
  taskStatus_ = other.taskStatus_;
  rmonFlag_ = other.rmonFlag_;
  startTime_ = other.startTime_;
  samplesRequested_ = other.samplesRequested_;
  pollingInterval_ = other.pollingInterval_;
  alarmType_ = other.alarmType_;
  risingThreshold_ = other.risingThreshold_;
  fallingThreshold_ = other.fallingThreshold_;
  sampleType_ = other.sampleType_;
  lastSampleValues_ = other.lastSampleValues_;
  pollingCount_ = other.pollingCount_;
  wrapFlag_ = other.wrapFlag_;
  snmpVersion_ = other.snmpVersion_;
}

std::string CTaskObject::getRisingThreshold() const { return std::to_string(risingThreshold_); }

void CTaskObject::setRisingThreshold(const std::string& text) { risingThreshold_ = parseSigned64(text); }

std::string CTaskObject::getFallingThreshold() const {
  return std::to_string(static_cast<LONGLONG>(fallingThreshold_));
}

void CTaskObject::setFallingThreshold(const std::string& text) { fallingThreshold_ = parseSigned64(text); }

LONGLONG CTaskObject::getRemainder(bool inTime) const {
  if (samplesRequested_ < 0 || wrapFlag_ != 0) return -1;
  LONGLONG remaining = static_cast<LONGLONG>(samplesRequested_) - pollingCount_;
  if (remaining < 1) remaining = 0;
  if (!inTime) return remaining;
  const LONGLONG intervals = remaining == samplesRequested_ ? remaining - 1 : remaining;
  return intervals * pollingInterval_;
}

CTimeSpan CTaskObject::getTerm() const {
  const LONGLONG seconds = (static_cast<LONGLONG>(samplesRequested_) - 1) * pollingInterval_;
  return CTimeSpan(seconds > 0 ? seconds : 0);
}

void CTaskObject::Serialize(CArchive& ar) { SerializeEx(ar, kCurrentVersion); }

void CTaskObject::SerializeEx(CArchive& ar, int version) {
  if (ar.IsStoring()) {
    store(ar);
  } else {
    load(ar, version);
  }
}

void CTaskObject::transferTexts(CArchive& ar) {
  om::ArchiveFields fields(ar);
  for (std::string* text : {&name_, &displayName_, &userText_, &DNSName_, &ipAddress_, &readCommunityName_,
                            &writeCommunityName_}) {
    fields(*text);
  }
  fields.strings(mibVariables_);
}

void CTaskObject::store(CArchive& ar) {
  transferTexts(ar);
  ar << static_cast<LONG>(taskType_) << static_cast<LONG>(taskStatus_) << static_cast<LONG>(rmonFlag_);
  ar << startTime_;
  ar << samplesRequested_ << pollingInterval_ << static_cast<LONG>(alarmType_);
  ar << lowHalf(risingThreshold_) << highHalf(risingThreshold_);
  // The rising threshold's upper half in the falling threshold's place: the
  // layout that existing task files have.
  ar << lowHalf(fallingThreshold_) << highHalf(risingThreshold_);
  ar << static_cast<LONG>(sampleType_);
  om::ArchiveFields(ar).strings(lastSampleValues_);
  ar << pollingCount_ << wrapFlag_;
  ar << static_cast<LONG>(snmpVersion_);
}

void CTaskObject::load(CArchive& ar, int version) {
  transferTexts(ar);
  taskType_ = static_cast<TaskType>(loadLong(ar));
  taskStatus_ = static_cast<TaskStatus>(loadLong(ar));
  rmonFlag_ = static_cast<RmonFlag>(loadLong(ar));
  ar >> startTime_;
  samplesRequested_ = loadLong(ar);
  pollingInterval_ = loadLong(ar);
  alarmType_ = static_cast<AlarmType>(loadLong(ar));
  DWORD low = 0;
  DWORD high = 0;
  ar >> low >> high;
  risingThreshold_ = joinHalves(low, high);
  ar >> low >> high;
  fallingThreshold_ = joinHalves(low, high);
  sampleType_ = static_cast<SampleType>(loadLong(ar));
  om::ArchiveFields(ar).strings(lastSampleValues_);
  ar >> pollingCount_;
  wrapFlag_ = loadLong(ar);
  loadSnmpVersion(ar, version);
}

void CTaskObject::loadSnmpVersion(CArchive& ar, int version) {
  if (version < 1) return;
  if (version == 1) {
    LONG next = 0;
    if (!peekLong(ar, next)) return;
    if (next != SNMP_VERSION_1 && next != SNMP_VERSION_2C && next != SNMP_VERSION_NOT_SET) return;
  }
  snmpVersion_ = static_cast<SNMP_VERSION>(loadLong(ar));
}

om::RecordFields CTaskObject::describeFields() const {
  om::RecordFields fields = {
      {"name", name_},
      {"displayName", displayName_},
      {"userText", userText_},
      {"DNSName", DNSName_},
      {"ipAddress", ipAddress_},
      {"readCommunityName", readCommunityName_},
      {"writeCommunityName", writeCommunityName_},
  };
  om::appendListField(fields, "mibVariables", mibVariables_);
  const om::RecordFields numbers = {
      {"taskType", std::to_string(taskType_)},
      {"taskStatus", std::to_string(taskStatus_)},
      {"rmonFlag", std::to_string(rmonFlag_)},
      {"startTime", std::to_string(startTime_.GetTime())},
      {"samplesRequested", std::to_string(samplesRequested_)},
      {"pollingInterval", std::to_string(pollingInterval_)},
      {"alarmType", std::to_string(alarmType_)},
      {"risingThreshold", getRisingThreshold()},
      {"fallingThreshold", getFallingThreshold()},
      {"sampleType", std::to_string(sampleType_)},
  };
  fields.insert(fields.end(), numbers.begin(), numbers.end());
  om::appendListField(fields, "lastSampleValues", lastSampleValues_);
  fields.emplace_back("pollingCount", std::to_string(pollingCount_));
  fields.emplace_back("wrapFlag", std::to_string(wrapFlag_));
  fields.emplace_back("snmpVersion", std::to_string(snmpVersion_));
  return fields;
}
