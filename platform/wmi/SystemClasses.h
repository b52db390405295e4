// The system classes every namespace holds: __SystemClass, __NAMESPACE,
// __PARAMETERS, __NotifyStatus, __ExtendedStatus, __Event and
// __ExtrinsicEvent.
#ifndef OM_PLATFORM_WMI_SYSTEMCLASSES_H_
#define OM_PLATFORM_WMI_SYSTEMCLASSES_H_

#include <vector>

#include "CimClass.h"

namespace om::wmi {

// Fresh definitions of the system classes, superclasses before the classes
// derived from them, not yet placed in a namespace.
std::vector<CimClass> buildSystemClasses();

// A property definition with its CIMTYPE qualifier, as classes carry them.
PropertyDef makeProperty(std::u16string name, CIMTYPE type, std::u16string refClass = {});

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_SYSTEMCLASSES_H_
