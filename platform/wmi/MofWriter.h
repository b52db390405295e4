// MOF text of classes and instances, as GetObjectText gives it: text the MOF
// compiler reads back into the same class or instance.
#ifndef OM_PLATFORM_WMI_MOFWRITER_H_
#define OM_PLATFORM_WMI_MOFWRITER_H_

#include <string>
#include <vector>

#include <atlcomcli.h>

#include "CimClass.h"

namespace om::wmi {

// The class's declaration: its own qualifiers, the properties it declares or
// overrides, and its methods.
std::u16string classText(const CimClass& cls);
// "instance of Class { ... };" with every non-null value of `values` (one
// per property of `cls`, in stored form).
std::u16string instanceText(const CimClass& cls, const std::vector<CComVariant>& values);
// One stored value of `type` as a MOF literal ("text", 12, TRUE, {1, 2},
// nested "instance of"); "NULL" for a null value.
std::u16string valueText(const VARIANT& value, CIMTYPE type, int indent = 1);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_MOFWRITER_H_
