#include "server/actions/FilterMatch.h"

namespace om::server {

bool filterMatches(const ActionFilter& filter, const CLogObject& record) {
  const time_t time = record.getTime().GetTime();
  if (filter.isStartTime() && time < filter.getStartTime().GetTime()) return false;
  if (filter.isEndTime() && time > filter.getEndTime().GetTime()) return false;
  if (filter.isLogType() && record.getType() != filter.getLogType()) return false;
  if (filter.isLogSubType() && record.getSubType() != filter.getLogSubType()) return false;
  if (filter.isAddress() && record.getAddress() != filter.getAddress()) return false;
  if (filter.isSysObjectId() && record.getSysObjectId() != filter.getSysObjectId()) return false;
  if (filter.isInternalName() && record.getInternalName() != filter.getInternalName()) return false;
  return true;
}

}  // namespace om::server
