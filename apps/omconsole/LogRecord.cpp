#include "LogRecord.h"

namespace omconsole {

Record logRecord(const CLogObject& log) {
  const CString& target = log.getDisplayName().IsEmpty() ? log.getInternalName() : log.getDisplayName();
  return {Field::number("identifier", log.getIdentifier()),
          Field::text("time", localTimeText(log.getTime().GetTime())),
          Field::text("type", log.getTypeString().GetString()),
          Field::text("level", log.getLevelString().GetString()),
          Field::text("target", target.GetString()),
          Field::text("message", log.getMessage().GetString())};
}

}  // namespace omconsole
