#include "monitor/TaskDataRecord.h"

#include "monitor/ArchiveText.h"

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
  if (ar.IsStoring()) {
    ar << sampleIndex_ << pollStartTime_;
    om::storeText(ar, sysUpTime_);
    om::storeText(ar, mibValues_);
  } else {
    ar >> sampleIndex_ >> pollStartTime_;
    sysUpTime_ = om::loadText(ar);
    mibValues_ = om::loadText(ar);
  }
}

om::RecordFields CTaskDataRecord::describeFields() const {
  return {
      {"sampleIndex", std::to_string(sampleIndex_)},
      {"pollStartTime", std::to_string(pollStartTime_.GetTime())},
      {"sysUpTime", sysUpTime_},
      {"mibValues", mibValues_},
  };
}
