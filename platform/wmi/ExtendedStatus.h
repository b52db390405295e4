// The error object of a failed call: an __ExtendedStatus instance (WMI's
// Description, Operation, ParameterInfo, ProviderName and StatusCode), and
// its wrapping as the thread's error object, so that GetErrorInfo gives an
// IErrorInfo whose QueryInterface yields the IWbemClassObject.
#ifndef OM_PLATFORM_WMI_EXTENDEDSTATUS_H_
#define OM_PLATFORM_WMI_EXTENDEDSTATUS_H_

#include <string>
#include <string_view>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "ClassRepository.h"

namespace om::wmi {

// What a call was, for its error object.
struct CallInfo {
  std::u16string operation;      // "GetObject", "ExecMethod", ...
  std::u16string parameterInfo;  // the path, class, query or method it named
  std::u16string providerName;   // who failed: a provider's class, or the manager
};

// The name the manager gives itself as ProviderName.
inline constexpr std::u16string_view kManagerName = u"ObjectManager";

// An __ExtendedStatus instance of `nameSpace` (null when the namespace has
// no such class) describing the failure.
CComPtr<IWbemClassObject> makeExtendedStatus(const ClassRepository& repository, std::u16string_view nameSpace,
                                             const CallInfo& info, HRESULT status, std::u16string_view description);

// Makes `status` (null: none) the calling thread's error object.
void setErrorObject(IWbemClassObject* status);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_EXTENDEDSTATUS_H_
