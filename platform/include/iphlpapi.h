// The IP helper interface, with the Windows names: the records and status
// codes of ipexport.h. The ICMP echo functions are declared in icmpapi.h.
#ifndef OM_PLATFORM_IPHLPAPI_H_
#define OM_PLATFORM_IPHLPAPI_H_

#include <ipexport.h>

#endif  // OM_PLATFORM_IPHLPAPI_H_
