// ActionFilter: the selection of log entries to which an action command
// applies. A flag word says which of its fields are in force. Filters are
// serialisable MFC objects, registered as "ActionFilter", schema 1.
#ifndef OMLIB_MONITOR_ACTIONFILTER_H_
#define OMLIB_MONITOR_ACTIONFILTER_H_

#include <afx.h>

#include <omtools/tstring.h>

#include "core/logdef.h"
#include "model/RecordFields.h"

// Setting a field does not set its flag; the flags are managed on their own.
//
// Archive form (Serialize), the fields in declared order: availables (DWORD),
// id (DWORD), startTime, endTime (8-byte CTime each), logType, logSubType
// (ints), address, sysObjectId (strings), actionId (int), internalName
// (string). An archive of another schema is refused (badSchema).
class ActionFilter : public CObject {
  DECLARE_SERIAL(ActionFilter)
 public:
  // Bits of the flag word: which fields are in force.
  enum : ULONG {
    FLAG_IDENTIFIER = 0x001,
    FLAG_START_TIME = 0x002,
    FLAG_END_TIME = 0x004,
    FLAG_LOG_TYPE = 0x008,
    FLAG_LOG_SUBTYPE = 0x010,
    FLAG_ADDRESS = 0x020,
    FLAG_SYS_OBJECT_ID = 0x040,
    FLAG_ACTION_ID = 0x080,
    FLAG_INTERNAL_NAME = 0x100,
  };

  // Every field zero or empty, no flag set.
  ActionFilter() = default;
  ActionFilter(const ActionFilter& other);
  ~ActionFilter() override = default;

  ActionFilter& operator=(const ActionFilter& other);

  void Serialize(CArchive& ar) override;

  // Back to the default state.
  void clear() { f_ = Fields(); }

  // This identifier minus the other's (32-bit difference).
  int compare(const ActionFilter& other) const;
  // Orders by the flag words (this minus other), then, with equal flags, by
  // the fields in force only: start time, end time, log type, log subtype,
  // internal name, address, sysObjectId, action id. The identifier takes no
  // part, so filters that agree on what is in force compare equal.
  int compareEntity(const ActionFilter& other) const;

  ULONG getAvailables() const { return f_.availables; }
  void setAvailables(ULONG availables) { f_.availables = availables; }
  // Set or clear flag bits.
  void addAvailables(ULONG bits) { f_.availables |= bits; }
  void addFlags(ULONG bits) { addAvailables(bits); }
  void extractFlags(ULONG bits) { f_.availables &= ~bits; }

  bool isIdentifier() const { return has(FLAG_IDENTIFIER); }
  bool isStartTime() const { return has(FLAG_START_TIME); }
  bool isEndTime() const { return has(FLAG_END_TIME); }
  bool isLogType() const { return has(FLAG_LOG_TYPE); }
  bool isLogSubType() const { return has(FLAG_LOG_SUBTYPE); }
  bool isAddress() const { return has(FLAG_ADDRESS); }
  bool isSysObjectId() const { return has(FLAG_SYS_OBJECT_ID); }
  bool isActionId() const { return has(FLAG_ACTION_ID); }
  bool isInternalName() const { return has(FLAG_INTERNAL_NAME); }

  ULONG getId() const { return f_.id; }
  void setId(ULONG id) { f_.id = id; }
  CTime getStartTime() const { return f_.startTime; }
  void setStartTime(const CTime& time) { f_.startTime = time; }
  CTime getEndTime() const { return f_.endTime; }
  void setEndTime(const CTime& time) { f_.endTime = time; }
  log_def::tagLOGTYPE getLogType() const { return f_.logType; }
  void setLogType(log_def::tagLOGTYPE type) { f_.logType = type; }
  log_def::tagLOGSUBTYPE getLogSubType() const { return f_.logSubType; }
  void setLogSubType(log_def::tagLOGSUBTYPE subType) { f_.logSubType = subType; }
  const CString& getAddress() const { return f_.address; }
  void setAddress(const CString& address) { f_.address = address; }
  const CString& getSysObjectId() const { return f_.sysObjectId; }
  void setSysObjectId(const CString& sysObjectId) { f_.sysObjectId = sysObjectId; }
  int getActionId() const { return f_.actionId; }
  void setActionId(int actionId) { f_.actionId = actionId; }
  const CString& getInternalName() const { return f_.internalName; }
  void setInternalName(const CString& name) { f_.internalName = name; }

  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

 protected:
  void copyIn(const ActionFilter& other) { f_ = other.f_; }

 private:
  bool has(ULONG flag) const { return (f_.availables & flag) != 0; }

  // The fields, in declared order; copied as a whole.
  struct Fields {
    ULONG availables = 0;
    ULONG id = 0;
    CTime startTime;
    CTime endTime;
    log_def::tagLOGTYPE logType = static_cast<log_def::tagLOGTYPE>(0);
    log_def::tagLOGSUBTYPE logSubType = static_cast<log_def::tagLOGSUBTYPE>(0);
    CString address;
    CString sysObjectId;
    int actionId = 0;
    CString internalName;
  };

  Fields f_;
};

#endif  // OMLIB_MONITOR_ACTIONFILTER_H_
