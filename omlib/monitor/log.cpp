#include "monitor/log.h"

#include "model/ArchiveFields.h"
#include "model/CStringUtil.h"
#include "model/FieldWriter.h"
#include "monitor/RecordUtil.h"

IMPLEMENT_SERIAL(CLogObject, CObject, 1)

namespace {

// String-table ids of the display texts.
constexpr UINT kFirstTypeText = 7023;   // types 1 to 4
constexpr UINT kFirstLevelText = 25001; // levels 1 to 3
constexpr UINT kOtherText = 25004;

}  // namespace

CLogObject::CLogObject(const CLogObject& other) : CObject(), f_(other.f_) {}

const CLogObject& CLogObject::operator=(const CLogObject& other) {
  copyIn(other);
  return *this;
}

void CLogObject::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(f_.identifier)(f_.level)(f_.time)(f_.type)(f_.subType)(f_.targetType)
      (f_.internalName)(f_.displayName)(f_.address)(f_.sysObjectId)(f_.message)(f_.actionId);
}

int CLogObject::compare(const CLogObject& other) const {
  const Fields& o = other.f_;
  if (int d = om::difference32(f_.identifier, o.identifier)) return d;
  if (int d = om::difference32(f_.level, o.level)) return d;
  if (int d = om::compareTimes(f_.time, o.time)) return d;
  if (int d = om::difference32(f_.type, o.type)) return d;
  if (int d = om::difference32(f_.subType, o.subType)) return d;
  if (int d = om::difference32(f_.targetType, o.targetType)) return d;
  if (int d = f_.internalName.Compare(o.internalName)) return d;
  if (int d = f_.displayName.Compare(o.displayName)) return d;
  if (int d = f_.address.Compare(o.address)) return d;
  if (int d = f_.sysObjectId.Compare(o.sysObjectId)) return d;
  if (int d = om::difference32(f_.actionId, o.actionId)) return d;
  return f_.message.Compare(o.message);
}

tstring CLogObject::getLevelString(log_def::tagLOGLEVEL level) {
  const bool known = level >= log_def::LOGLEVEL_USER && level <= log_def::LOGLEVEL_DEBUG;
  return om::resourceText(known ? kFirstLevelText + (level - log_def::LOGLEVEL_USER) : kOtherText);
}

tstring CLogObject::getTypeString(log_def::tagLOGTYPE type) {
  const bool known = type >= log_def::LOGTYPE_ERROR && type <= log_def::LOGTYPE_INFORMATION;
  return om::resourceText(known ? kFirstTypeText + (type - log_def::LOGTYPE_ERROR) : kOtherText);
}

CString CLogObject::getLevelString() const { return om::toCString(getLevelString(f_.level)); }

CString CLogObject::getTypeString() const { return om::toCString(getTypeString(f_.type)); }

om::RecordFields CLogObject::describeFields() const {
  return om::FieldWriter()
      .add("identifier", f_.identifier)
      .add("level", static_cast<int>(f_.level))
      .add("time", f_.time)
      .add("type", static_cast<int>(f_.type))
      .add("subType", static_cast<int>(f_.subType))
      .add("targetType", static_cast<int>(f_.targetType))
      .add("internalName", f_.internalName)
      .add("displayName", f_.displayName)
      .add("address", f_.address)
      .add("sysObjectId", f_.sysObjectId)
      .add("message", f_.message)
      .add("actionId", f_.actionId)
      .take();
}
