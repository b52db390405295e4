// Which log records an action filter selects, and which records may set off
// actions at all.
#ifndef OM_SERVER_ACTIONS_FILTERMATCH_H_
#define OM_SERVER_ACTIONS_FILTERMATCH_H_

#include "monitor/ActionFilter.h"
#include "monitor/log.h"

namespace om::server {

// True when every field the filter has in force matches the record: the
// record's time lies in [start time, end time] (each bound inclusive, either
// may be absent), and the log type, subtype, address, sysObjectID and
// internal name equal the filter's (texts byte for byte). A filter with
// nothing in force selects every record. The identifier (the filter's own
// number) and the action id (what to run) are not conditions.
bool filterMatches(const ActionFilter& filter, const CLogObject& record);

// Whether a record may set off actions: one that names an action already
// (actionId not 0) reports on an action and sets off none, so that what the
// action runner writes never brings it back.
inline bool setsOffActions(const CLogObject& record) { return record.getActionId() == 0; }

}  // namespace om::server

#endif  // OM_SERVER_ACTIONS_FILTERMATCH_H_
