// What an IWbemServices call comes down to once its arguments are checked:
// an operation that takes a Call and ends it through the call's sink. The
// object manager in this process is one implementation; a connection to
// another server's manager (over CIM-XML) is the other. Services turns the
// IWbemServices interface into these operations for either.
#ifndef OM_PLATFORM_WMI_SERVICEOPERATIONS_H_
#define OM_PLATFORM_WMI_SERVICEOPERATIONS_H_

#include <string>
#include <string_view>

#include <wbemcli.h>

#include "Call.h"

namespace om::wmi {

class ServiceOperations {
 public:
  virtual ~ServiceOperations() = default;

  // The namespace `path` names (absolute, without a server) as the server
  // spells it, in `stored`; WBEM_E_INVALID_NAMESPACE when there is none.
  virtual HRESULT findNamespace(std::u16string_view path, std::u16string* stored) = 0;

  virtual void getObject(const Call& call, const std::u16string& path) = 0;
  virtual void putInstance(const Call& call, IWbemClassObject* instance) = 0;
  virtual void deleteInstance(const Call& call, const std::u16string& path) = 0;
  virtual void createInstanceEnum(const Call& call, const std::u16string& className) = 0;
  virtual void execQuery(const Call& call, const std::u16string& language, const std::u16string& query) = 0;
  virtual void execMethod(const Call& call, const std::u16string& path, const std::u16string& method,
                          IWbemClassObject* in) = 0;
  // Subscribes the call's sink; the call stays open until cancelled.
  virtual void execNotificationQuery(const Call& call, const std::u16string& language,
                                     const std::u16string& query) = 0;
  virtual void putClass(const Call& call, IWbemClassObject* object) = 0;
  virtual void deleteClass(const Call& call, const std::u16string& className) = 0;
  virtual void createClassEnum(const Call& call, const std::u16string& superclass) = 0;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_SERVICEOPERATIONS_H_
