// The WMI interfaces as Windows code includes them (wbemidl.h brings in the
// client interfaces of wbemcli.h).
#ifndef OM_PLATFORM_WBEMIDL_H_
#define OM_PLATFORM_WBEMIDL_H_

#include <wbemcli.h>

#endif  // OM_PLATFORM_WBEMIDL_H_
