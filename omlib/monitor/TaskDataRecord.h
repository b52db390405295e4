// CTaskDataRecord: one sample taken by a polling task (CTaskObject): its
// number within the task, when its poll started, the agent's sysUpTime at
// that poll and the values read for the task's MIB variables. Kept in the
// task record store through its archive form (class "CTaskDataRecord").
#ifndef OMLIB_MONITOR_TASKDATARECORD_H_
#define OMLIB_MONITOR_TASKDATARECORD_H_

#include <string>

#include <afx.h>

#include "model/RecordFields.h"

// Archive form: sampleIndex (32-bit), pollStartTime (64-bit seconds),
// sysUpTime, mibValues (archived CStrings).
class CTaskDataRecord : public CObject {
  DECLARE_SERIAL(CTaskDataRecord)

 public:
  CTaskDataRecord() = default;
  CTaskDataRecord(const CTaskDataRecord& other);
  const CTaskDataRecord& operator=(const CTaskDataRecord& other);

  DWORD getSampleIndex() const { return sampleIndex_; }
  void setSampleIndex(DWORD sampleIndex) { sampleIndex_ = sampleIndex; }
  const CTime& getPollStartTime() const { return pollStartTime_; }
  void setPollStartTime(const CTime& pollStartTime) { pollStartTime_ = pollStartTime; }
  // The agent's sysUpTime in its display form.
  const std::string& getSysUpTime() const { return sysUpTime_; }
  void setSysUpTime(const std::string& sysUpTime) { sysUpTime_ = sysUpTime; }
  // The sampled values of all the task's variables in one text, joined as the
  // poller that fills the record chooses.
  const std::string& getMibValues() const { return mibValues_; }
  void setMibValues(const std::string& mibValues) { mibValues_ = mibValues; }

  void Serialize(CArchive& ar) override;

  // Every field by name, in the order above, for dumps.
  om::RecordFields describeFields() const;

 protected:
  void copyIn(const CTaskDataRecord& other);

 private:
  DWORD sampleIndex_ = 0;
  CTime pollStartTime_;
  std::string sysUpTime_;
  std::string mibValues_;
};

#endif  // OMLIB_MONITOR_TASKDATARECORD_H_
