// log_def: the enumerations of the event log, shared by the configuration
// (the level that is kept), the subtype table and the log records.
//
// Display texts come from the string table: a log type from 7023 + type - 1,
// a level from 25000 + level, a subtype from 7027 + subtype and a target kind
// from 7106 + kind.
//
// Each enumeration is a 32-bit int underneath, so that any number read from
// an archive or an instance is carried through unchanged.
#ifndef OMLIB_CORE_LOGDEF_H_
#define OMLIB_CORE_LOGDEF_H_

namespace log_def {

// What kind of entry a log is.
enum tagLOGTYPE : int {
  LOGTYPE_ERROR = 1,
  LOGTYPE_ALARM = 2,
  LOGTYPE_TRAP = 3,
  LOGTYPE_INFORMATION = 4,
};

// How important an entry is; "LogSaveLevel" selects the levels that are kept.
enum tagLOGLEVEL : int {
  LOGLEVEL_USER = 1,
  LOGLEVEL_PROGRESS = 2,
  LOGLEVEL_DEBUG = 3,
};

// What happened: states, standard traps and changes, in string-table order.
enum tagLOGSUBTYPE : int {
  LOGSUBTYPE_UNDEFINED = 0,
  LOGSUBTYPE_FATAL_ERROR,
  LOGSUBTYPE_GENERAL_ERROR,
  LOGSUBTYPE_WARNING,
  LOGSUBTYPE_RISING_THRESHOLD,
  LOGSUBTYPE_FALLING_THRESHOLD,
  LOGSUBTYPE_COLD_START,
  LOGSUBTYPE_WARM_START,
  LOGSUBTYPE_LINK_DOWN,
  LOGSUBTYPE_LINK_UP,
  LOGSUBTYPE_AUTHENTICATION_FAILURE,
  LOGSUBTYPE_EGP_NEIGHBOR_LOSS,
  LOGSUBTYPE_NEW_ROOT,
  LOGSUBTYPE_TOPOLOGY_CHANGE,
  LOGSUBTYPE_RPTR_HEALTH,
  LOGSUBTYPE_RPTR_GROUP_CHANGE,
  LOGSUBTYPE_RPTR_RESET_EVENT,
  LOGSUBTYPE_OTHER_TRAP,
  LOGSUBTYPE_DELETE,
  LOGSUBTYPE_ADD,
  LOGSUBTYPE_UP,
  LOGSUBTYPE_DOWN,
  LOGSUBTYPE_PORT_BLOCKING,
  LOGSUBTYPE_PORT_PARTITION,
  LOGSUBTYPE_CHANGE,
  LOGSUBTYPE_START,
  LOGSUBTYPE_END,
  LOGSUBTYPE_DETECT,
  LOGSUBTYPE_ACQUIRING,
  LOGSUBTYPE_MOVE,
  LOGSUBTYPE_RESPONSE,
  LOGSUBTYPE_NO_RESPONSE,
  LOGSUBTYPE_INVALID,
};

// What kind of object an entry is about, in string-table order.
enum tagTARGETTYPE : int {
  TARGETTYPE_NETWORK = 0,
  TARGETTYPE_SUBNET,
  TARGETTYPE_VLAN,
  TARGETTYPE_DEVICE,
  TARGETTYPE_STACK,
  TARGETTYPE_PORT,
  TARGETTYPE_ALL_TASKS,
  TARGETTYPE_TASK_STATE,
  TARGETTYPE_TASK_TYPE,
  TARGETTYPE_TASK,
};

}  // namespace log_def

#endif  // OMLIB_CORE_LOGDEF_H_
