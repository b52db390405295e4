// ATL's base header. The parts used here are the COM client classes of
// atlcomcli.h.
#ifndef OM_PLATFORM_ATLBASE_H_
#define OM_PLATFORM_ATLBASE_H_

#include <cassert>

#include <atlcomcli.h>

#define ATLASSERT(expr) assert(expr)

#endif  // OM_PLATFORM_ATLBASE_H_
