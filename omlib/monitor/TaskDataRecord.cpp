#include "monitor/TaskDataRecord.h"

#include "model/ArchiveFields.h"

IMPLEMENT_SERIAL(CTaskDataRecord, CObject, 1)

CTaskDataRecord::CTaskDataRecord(const CTaskDataRecord& other) : CObject() { copyIn(other); }

const CTaskDataRecord& CTaskDataRecord::operator=(const CTaskDataRecord& other) {
  if (this != &other) copyIn(other);
  return *this;
}

void CTaskDataRecord::copyIn(const CTaskDataRecord& other) {
  sampleIndex_ = other.sampleIndex_;
  pollStartTime_ = other.pollStartTime_;
  sysUpTime_ = other.sysUpTime_;
  mibValues_ = other.mibValues_;
}

void CTaskDataRecord::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(sampleIndex_)(pollStartTime_)(sysUpTime_)(mibValues_);
}

om::RecordFields CTaskDataRecord::describeFields() const {
  return {
      {"sampleIndex", std::to_string(sampleIndex_)},
      {"pollStartTime", std::to_string(pollStartTime_.GetTime())},
      {"sysUpTime", sysUpTime_},
      {"mibValues", mibValues_},
  };
}
