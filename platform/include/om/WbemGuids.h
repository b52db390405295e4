// Class and interface ids of the WMI locator and context objects, with their
// published values. The WMI stand-in registers the factories for the classes.
#ifndef OM_PLATFORM_OM_WBEMGUIDS_H_
#define OM_PLATFORM_OM_WBEMGUIDS_H_

#include <guiddef.h>

// {4590F811-1D3A-11D0-891F-00AA004B2E24}
DEFINE_GUID(CLSID_WbemLocator, 0x4590F811, 0x1D3A, 0x11D0, 0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24);
// {DC12A687-737F-11CF-884D-00AA004B2E24}
DEFINE_GUID(IID_IWbemLocator, 0xDC12A687, 0x737F, 0x11CF, 0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24);
// {674B6698-EE92-11D0-AD71-00C04FD8FDFF}
DEFINE_GUID(CLSID_WbemContext, 0x674B6698, 0xEE92, 0x11D0, 0xAD, 0x71, 0x00, 0xC0, 0x4F, 0xD8, 0xFD, 0xFF);
// {44ACA674-E8FC-11D0-A07C-00C04FD8FDFF}
DEFINE_GUID(IID_IWbemContext, 0x44ACA674, 0xE8FC, 0x11D0, 0xA0, 0x7C, 0x00, 0xC0, 0x4F, 0xD8, 0xFD, 0xFF);

#endif  // OM_PLATFORM_OM_WBEMGUIDS_H_
