// A record of each monitoring class with its fields set, shared by the class
// tests and the archive test over all of them.
#ifndef OM_TESTS_MONITOR_RECORDSAMPLES_H_
#define OM_TESTS_MONITOR_RECORDSAMPLES_H_

#include "monitor/ActionFilter.h"
#include "monitor/TaskDataRecord.h"
#include "monitor/TaskObject.h"
#include "monitor/log.h"
#include "monitor/mibnode.h"

namespace recordtest {

CLogObject sampleLog();
ActionFilter sampleFilter();
CMibNode sampleMibNode();
CTaskDataRecord sampleTaskRecord();
CTaskObject sampleTask();

}  // namespace recordtest

#endif  // OM_TESTS_MONITOR_RECORDSAMPLES_H_
