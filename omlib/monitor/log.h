// CLogObject: one entry of the event log: an error, an alarm, a received
// trap or an information message about one target, with its time, its level
// and the action command it triggered. Entries are serialisable MFC objects
// (registered as "CLogObject", schema 1) with a total order.
#ifndef OMLIB_MONITOR_LOG_H_
#define OMLIB_MONITOR_LOG_H_

#include <afx.h>

#include <omtools/tstring.h>

#include "core/logdef.h"
#include "model/RecordFields.h"

// Archive form (Serialize), in this order: identifier (DWORD), level (int),
// time (8-byte CTime), type, subType, targetType (ints), internalName,
// displayName, address, sysObjectId, message (strings), actionId (int).
class CLogObject : public CObject {
  DECLARE_SERIAL(CLogObject)
 public:
  // Every number and the time 0, every text empty.
  CLogObject() = default;
  CLogObject(const CLogObject& other);
  ~CLogObject() override = default;

  const CLogObject& operator=(const CLogObject& other);

  void Serialize(CArchive& ar) override;

  // Orders entries by identifier (a 32-bit difference), level, time, type,
  // subType, targetType, internalName, displayName, address, sysObjectId,
  // actionId and last message: the action id deliberately comes before the
  // message. Negative, zero or positive.
  int compare(const CLogObject& other) const;

  // Display texts from the string table: log types 1 to 4 and levels 1 to 3
  // have their own, anything else reads "other".
  static tstring getLevelString(log_def::tagLOGLEVEL level);
  static tstring getTypeString(log_def::tagLOGTYPE type);
  CString getLevelString() const;
  CString getTypeString() const;

  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

  DWORD getIdentifier() const { return f_.identifier; }
  void setIdentifier(DWORD identifier) { f_.identifier = identifier; }
  log_def::tagLOGLEVEL getLevel() const { return f_.level; }
  void setLevel(log_def::tagLOGLEVEL level) { f_.level = level; }
  CTime getTime() const { return f_.time; }
  void setTime(const CTime& time) { f_.time = time; }
  log_def::tagLOGTYPE getType() const { return f_.type; }
  void setType(log_def::tagLOGTYPE type) { f_.type = type; }
  log_def::tagLOGSUBTYPE getSubType() const { return f_.subType; }
  void setSubType(log_def::tagLOGSUBTYPE subType) { f_.subType = subType; }
  log_def::tagTARGETTYPE getTargetType() const { return f_.targetType; }
  void setTargetType(log_def::tagTARGETTYPE targetType) { f_.targetType = targetType; }
  const CString& getInternalName() const { return f_.internalName; }
  void setInternalName(const CString& name) { f_.internalName = name; }
  const CString& getDisplayName() const { return f_.displayName; }
  void setDisplayName(const CString& name) { f_.displayName = name; }
  const CString& getAddress() const { return f_.address; }
  void setAddress(const CString& address) { f_.address = address; }
  const CString& getSysObjectId() const { return f_.sysObjectId; }
  void setSysObjectId(const CString& sysObjectId) { f_.sysObjectId = sysObjectId; }
  const CString& getMessage() const { return f_.message; }
  void setMessage(const CString& message) { f_.message = message; }
  int getActionId() const { return f_.actionId; }
  void setActionId(int actionId) { f_.actionId = actionId; }

 protected:
  void copyIn(const CLogObject& other) { f_ = other.f_; }

 private:
  // The fields, in declared order; copied as a whole.
  struct Fields {
    DWORD identifier = 0;
    log_def::tagLOGLEVEL level = static_cast<log_def::tagLOGLEVEL>(0);
    CTime time;
    log_def::tagLOGTYPE type = static_cast<log_def::tagLOGTYPE>(0);
    log_def::tagLOGSUBTYPE subType = static_cast<log_def::tagLOGSUBTYPE>(0);
    log_def::tagTARGETTYPE targetType = static_cast<log_def::tagTARGETTYPE>(0);
    CString internalName;
    CString displayName;
    CString address;
    CString sysObjectId;
    CString message;
    int actionId = 0;
  };

  Fields f_;
};

#endif  // OMLIB_MONITOR_LOG_H_
