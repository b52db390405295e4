// CTaskObject: one polling task, a named and scheduled SNMP poll of one
// device for a list of MIB variables, repeated a requested number of times
// at a fixed interval, with optional RMON-style threshold alarms. It holds
// the task's definition and its progress, and is kept in task files and
// passed between processes through its archive form (class "CTaskObject").
#ifndef OMLIB_MONITOR_TASKOBJECT_H_
#define OMLIB_MONITOR_TASKOBJECT_H_

#include <string>
#include <vector>

#include <afx.h>

#include "model/SnmpVersion.h"
#include "model/RecordFields.h"

// Archive form (SerializeEx), integers 32-bit little-endian, texts as archived
// CStrings, lists as a 32-bit count and the texts:
//   name, displayName, userText, DNSName, ipAddress, readCommunityName,
//   writeCommunityName; mibVariables; taskType, taskStatus, rmonFlag;
//   startTime (64-bit seconds); samplesRequested, pollingInterval, alarmType;
//   risingThreshold low and high halves; fallingThreshold low half followed by
//   the rising threshold's high half (the store writes that half in the
//   falling threshold's place, so a falling threshold beyond 32 bits does not
//   survive a round trip); sampleType; lastSampleValues; pollingCount,
//   wrapFlag; snmpVersion.
// Loading reads the same words into the fields (the falling threshold's two
// halves into its own halves). No value read is checked, and a load that
// fails part-way leaves the fields read so far changed.
class CTaskObject : public CObject {
  DECLARE_SERIAL(CTaskObject)

 public:
  // Every enumeration is 32-bit and passes any stored number through.
  enum TaskType : int { TASKTYPE_POLLING = 1 };
  enum TaskStatus : int {
    TASKSTATUS_WAITING = 1,
    TASKSTATUS_RUNNING = 2,
    TASKSTATUS_STOPPED = 3,
    TASKSTATUS_FINISHED = 4,
  };
  enum RmonFlag : int { RMONFLAG_NOT_USED = 0, RMONFLAG_USED = 1 };
  // Which threshold crossings raise an alarm (numbered as the RMON alarm group).
  enum AlarmType : int {
    ALARMTYPE_RISING = 1,
    ALARMTYPE_FALLING = 2,
    ALARMTYPE_RISING_OR_FALLING = 3,
  };
  // How a sample is compared with the thresholds (RMON numbering).
  enum SampleType : int { SAMPLETYPE_ABSOLUTE = 1, SAMPLETYPE_DELTA = 2 };

  // The archive layout that Serialize writes and reads.
  static constexpr int kCurrentVersion = 2;

  CTaskObject() = default;
  CTaskObject(const CTaskObject& other);
  const CTaskObject& operator=(const CTaskObject& other);

  const std::string& getName() const { return name_; }
  void setName(const std::string& name) { name_ = name; }
  const std::string& getDisplayName() const { return displayName_; }
  void setDisplayName(const std::string& displayName) { displayName_ = displayName; }
  const std::string& getUserText() const { return userText_; }
  void setUserText(const std::string& userText) { userText_ = userText; }
  const std::string& getDNSName() const { return DNSName_; }
  void setDNSName(const std::string& DNSName) { DNSName_ = DNSName; }
  const std::string& getIpAddress() const { return ipAddress_; }
  void setIpAddress(const std::string& ipAddress) { ipAddress_ = ipAddress; }
  const std::string& getReadCommunityName() const { return readCommunityName_; }
  void setReadCommunityName(const std::string& name) { readCommunityName_ = name; }
  const std::string& getWriteCommunityName() const { return writeCommunityName_; }
  void setWriteCommunityName(const std::string& name) { writeCommunityName_ = name; }

  const std::vector<std::string>& getMibVariables() const { return mibVariables_; }
  void setMibVariables(const std::vector<std::string>& variables) { mibVariables_ = variables; }
  const std::vector<std::string>& getLastSampleValues() const { return lastSampleValues_; }
  void setLastSampleValues(const std::vector<std::string>& values) { lastSampleValues_ = values; }

  TaskType getTaskType() const { return taskType_; }
  void setTaskType(TaskType taskType) { taskType_ = taskType; }
  TaskStatus getTaskStatus() const { return taskStatus_; }
  void setTaskStatus(TaskStatus taskStatus) { taskStatus_ = taskStatus; }
  RmonFlag getRmonFlag() const { return rmonFlag_; }
  void setRmonFlag(RmonFlag rmonFlag) { rmonFlag_ = rmonFlag; }
  bool isUsingRmon() const { return rmonFlag_ != 0; }
  AlarmType getAlarmType() const { return alarmType_; }
  void setAlarmType(AlarmType alarmType) { alarmType_ = alarmType; }
  SampleType getSampleType() const { return sampleType_; }
  void setSampleType(SampleType sampleType) { sampleType_ = sampleType; }
  SNMP_VERSION getSnmpVersion() const { return snmpVersion_; }
  void setSnmpVersion(SNMP_VERSION snmpVersion) { snmpVersion_ = snmpVersion; }

  const CTime& getStartTime() const { return startTime_; }
  void setStartTime(const CTime& startTime) { startTime_ = startTime; }
  // Negative: sample without end.
  int getSamplesRequested() const { return samplesRequested_; }
  void setSamplesRequested(int samples) { samplesRequested_ = samples; }
  // Seconds between samples.
  int getPollingInterval() const { return pollingInterval_; }
  void setPollingInterval(int seconds) { pollingInterval_ = seconds; }

  // The rising threshold prints as an unsigned number, the falling one as a
  // signed number. Both text setters parse a signed 64-bit decimal number
  // (leading blanks, an optional sign, then digits up to the first other
  // character; out-of-range numbers stop at the signed limits) and keep its
  // bits; use the Int forms for unsigned values above the signed range.
  std::string getRisingThreshold() const;
  void setRisingThreshold(const std::string& text);
  ULONGLONG getRisingThresholdInt() const { return risingThreshold_; }
  void setRisingThresholdInt(ULONGLONG value) { risingThreshold_ = value; }
  std::string getFallingThreshold() const;
  void setFallingThreshold(const std::string& text);
  ULONGLONG getFallingThresholdInt() const { return fallingThreshold_; }
  void setFallingThresholdInt(ULONGLONG value) { fallingThreshold_ = value; }

  DWORD getPollingCount() const { return pollingCount_; }
  void setPollingCount(int count) { pollingCount_ = static_cast<DWORD>(count); }
  void incPollingCount() { incPollingCount(1); }
  void incPollingCount(int n) { pollingCount_ += static_cast<DWORD>(n); }
  // Nonzero once the stored samples wrapped.
  int getWrapFlag() const { return wrapFlag_; }
  void setWrapFlag(int wrapFlag) { wrapFlag_ = wrapFlag; }

  // The work left: -1 for an endless task or once the samples wrapped;
  // otherwise the samples still to take (never below 0) or, with inTime, the
  // seconds they take. The first sample is taken at the start, so a task that
  // has not polled yet needs one interval less than its sample count. A task
  // asking for no samples therefore reports minus one interval in time.
  LONGLONG getRemainder(bool inTime) const;
  // (samplesRequested - 1) intervals, or 0 when that is not positive.
  CTimeSpan getTerm() const;

  // SerializeEx with kCurrentVersion.
  void Serialize(CArchive& ar) override;
  // Stores every field, or loads them. When loading, snmpVersion depends on
  // the version of the data: below 1 it is not in the archive and keeps its
  // value; at 1 it may or may not be there, so the next word is looked at
  // without being consumed and read only when it is 0, 1 or -1 (at the end of
  // the archive nothing is read); from 2 on it is always read.
  void SerializeEx(CArchive& ar, int version);

  // Every field by name, in the order above, for dumps.
  om::RecordFields describeFields() const;

 protected:
  void copyIn(const CTaskObject& other);

 private:
  // The leading texts and the MIB variables, in either direction.
  void transferTexts(CArchive& ar);
  void store(CArchive& ar);
  void load(CArchive& ar, int version);
  void loadSnmpVersion(CArchive& ar, int version);

  std::string name_;
  std::string displayName_;
  std::string userText_;
  std::string DNSName_;
  std::string ipAddress_;
  std::string readCommunityName_;
  std::string writeCommunityName_;
  std::vector<std::string> mibVariables_;
  TaskType taskType_ = TASKTYPE_POLLING;
  TaskStatus taskStatus_ = TASKSTATUS_WAITING;
  RmonFlag rmonFlag_ = RMONFLAG_NOT_USED;
  CTime startTime_;
  int samplesRequested_ = 50;
  int pollingInterval_ = 10;
  AlarmType alarmType_ = ALARMTYPE_RISING_OR_FALLING;
  ULONGLONG risingThreshold_ = 0;
  ULONGLONG fallingThreshold_ = 0;
  SampleType sampleType_ = SAMPLETYPE_DELTA;
  std::vector<std::string> lastSampleValues_;
  DWORD pollingCount_ = 0;
  int wrapFlag_ = 0;
  SNMP_VERSION snmpVersion_ = SNMP_VERSION_NOT_SET;
};

#endif  // OMLIB_MONITOR_TASKOBJECT_H_
