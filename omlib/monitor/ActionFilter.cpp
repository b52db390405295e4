#include "monitor/ActionFilter.h"

#include "model/ArchiveFields.h"
#include "model/FieldWriter.h"
#include "monitor/RecordUtil.h"

IMPLEMENT_SERIAL(ActionFilter, CObject, 1)

ActionFilter::ActionFilter(const ActionFilter& other) : CObject(), f_(other.f_) {}

ActionFilter& ActionFilter::operator=(const ActionFilter& other) {
  copyIn(other);
  return *this;
}

void ActionFilter::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(f_.availables)(f_.id)(f_.startTime)(f_.endTime)(f_.logType)(f_.logSubType)
      (f_.address)(f_.sysObjectId)(f_.actionId)(f_.internalName);
}

int ActionFilter::compare(const ActionFilter& other) const { return om::difference32(f_.id, other.f_.id); }

int ActionFilter::compareEntity(const ActionFilter& other) const {
  const Fields& o = other.f_;
  if (int d = om::difference32(f_.availables, o.availables)) return d;
  if (isStartTime()) {
    if (int d = om::compareTimes(f_.startTime, o.startTime)) return d;
  }
  if (isEndTime()) {
    if (int d = om::compareTimes(f_.endTime, o.endTime)) return d;
  }
  if (isLogType()) {
    if (int d = om::difference32(f_.logType, o.logType)) return d;
  }
  if (isLogSubType()) {
    if (int d = om::difference32(f_.logSubType, o.logSubType)) return d;
  }
  if (isInternalName()) {
    if (int d = f_.internalName.Compare(o.internalName)) return d;
  }
  if (isAddress()) {
    if (int d = f_.address.Compare(o.address)) return d;
  }
  if (isSysObjectId()) {
    if (int d = f_.sysObjectId.Compare(o.sysObjectId)) return d;
  }
  return isActionId() ? om::difference32(f_.actionId, o.actionId) : 0;
}

om::RecordFields ActionFilter::describeFields() const {
  return om::FieldWriter()
      .add("availables", f_.availables)
      .add("id", f_.id)
      .add("startTime", f_.startTime)
      .add("endTime", f_.endTime)
      .add("logType", static_cast<int>(f_.logType))
      .add("logSubType", static_cast<int>(f_.logSubType))
      .add("address", f_.address)
      .add("sysObjectId", f_.sysObjectId)
      .add("actionId", f_.actionId)
      .add("internalName", f_.internalName)
      .take();
}
