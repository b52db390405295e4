// The instances of the classes that have no provider, per namespace and
// class. The store keeps its own copies: what is put is cloned, and what is
// read is a clone, so callers never share an object with the store.
#ifndef OM_PLATFORM_WMI_INSTANCESTORE_H_
#define OM_PLATFORM_WMI_INSTANCESTORE_H_

#include <map>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "ObjectPath.h"
#include "Text.h"

namespace om::wmi {

class InstanceStore {
 public:
  // Stores a copy of `instance` under its canonical path. `flags`:
  // WBEM_FLAG_CREATE_ONLY fails with WBEM_E_ALREADY_EXISTS when the instance
  // exists, WBEM_FLAG_UPDATE_ONLY with WBEM_E_NOT_FOUND when it does not;
  // otherwise it is created or replaced.
  HRESULT put(std::u16string_view nameSpace, const ObjectPath& path, IWbemClassObject* instance, long flags);
  // A copy of the instance, or null.
  CComPtr<IWbemClassObject> get(std::u16string_view nameSpace, const ObjectPath& path) const;
  // WBEM_E_NOT_FOUND when absent.
  HRESULT remove(std::u16string_view nameSpace, const ObjectPath& path);
  // Copies of the instances of exactly these classes, class by class, each
  // class's instances in the order of their keys.
  std::vector<CComPtr<IWbemClassObject>> list(std::u16string_view nameSpace,
                                              const std::vector<std::u16string>& classNames) const;
  // Forgets the instances of a class, or of a namespace and the namespaces
  // below it, or all.
  void removeClass(std::u16string_view nameSpace, std::u16string_view className);
  void removeNamespace(std::u16string_view nameSpace);
  void clear();

 private:
  using Instances = std::map<std::u16string, CComPtr<IWbemClassObject>>;  // by instanceIdentity
  using Classes = std::map<std::u16string, Instances, NoCaseLess>;

  mutable std::shared_mutex mutex_;
  std::map<std::u16string, Classes, NoCaseLess> namespaces_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_INSTANCESTORE_H_
