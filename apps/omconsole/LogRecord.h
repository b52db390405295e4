// A log record as the console prints it: identifier, local time, type and
// level texts, target name, message.
#ifndef OM_APPS_OMCONSOLE_LOGRECORD_H_
#define OM_APPS_OMCONSOLE_LOGRECORD_H_

#include "Records.h"
#include "monitor/log.h"

namespace omconsole {

Record logRecord(const CLogObject& log);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_LOGRECORD_H_
