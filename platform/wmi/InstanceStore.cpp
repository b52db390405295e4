#include "InstanceStore.h"

#include <mutex>

namespace om::wmi {
namespace {

CComPtr<IWbemClassObject> copyOf(IWbemClassObject* object) {
  CComPtr<IWbemClassObject> copy;
  if (object == nullptr || FAILED(object->Clone(&copy))) return nullptr;
  return copy;
}

}  // namespace

// Objects the store lets go of are released after its lock is: the variables
// holding them are declared before the lock.

HRESULT InstanceStore::put(std::u16string_view nameSpace, const ObjectPath& path, IWbemClassObject* instance,
                           long flags) {
  CComPtr<IWbemClassObject> copy = copyOf(instance);
  if (copy == nullptr) return WBEM_E_OUT_OF_MEMORY;
  const std::u16string identity = instanceIdentity(path);
  CComPtr<IWbemClassObject> replaced;  // released after the lock
  std::unique_lock<std::shared_mutex> lock(mutex_);
  Instances& instances = namespaces_[std::u16string(nameSpace)][path.className];
  const auto it = instances.find(identity);
  if (it == instances.end()) {
    if ((flags & WBEM_FLAG_UPDATE_ONLY) != 0) return WBEM_E_NOT_FOUND;
    instances.emplace(identity, copy);
    return WBEM_S_NO_ERROR;
  }
  if ((flags & WBEM_FLAG_CREATE_ONLY) != 0) return WBEM_E_ALREADY_EXISTS;
  replaced.Attach(it->second.Detach());
  it->second.Attach(copy.Detach());
  return WBEM_S_NO_ERROR;
}

CComPtr<IWbemClassObject> InstanceStore::get(std::u16string_view nameSpace, const ObjectPath& path) const {
  CComPtr<IWbemClassObject> stored;
  {
    std::shared_lock<std::shared_mutex> lock(mutex_);
    const auto ns = namespaces_.find(nameSpace);
    if (ns == namespaces_.end()) return nullptr;
    const auto cls = ns->second.find(path.className);
    if (cls == ns->second.end()) return nullptr;
    const auto it = cls->second.find(instanceIdentity(path));
    if (it == cls->second.end()) return nullptr;
    stored = it->second;
  }
  // Stored objects are never changed, so they can be copied outside the lock.
  return copyOf(stored);
}

HRESULT InstanceStore::remove(std::u16string_view nameSpace, const ObjectPath& path) {
  CComPtr<IWbemClassObject> removed;
  std::unique_lock<std::shared_mutex> lock(mutex_);
  const auto ns = namespaces_.find(nameSpace);
  if (ns == namespaces_.end()) return WBEM_E_NOT_FOUND;
  const auto cls = ns->second.find(path.className);
  if (cls == ns->second.end()) return WBEM_E_NOT_FOUND;
  const auto it = cls->second.find(instanceIdentity(path));
  if (it == cls->second.end()) return WBEM_E_NOT_FOUND;
  removed.Attach(it->second.Detach());
  cls->second.erase(it);
  return WBEM_S_NO_ERROR;
}

std::vector<CComPtr<IWbemClassObject>> InstanceStore::list(std::u16string_view nameSpace,
                                                           const std::vector<std::u16string>& classNames) const {
  std::vector<CComPtr<IWbemClassObject>> stored;
  {
    std::shared_lock<std::shared_mutex> lock(mutex_);
    const auto ns = namespaces_.find(nameSpace);
    if (ns == namespaces_.end()) return stored;
    for (const std::u16string& name : classNames) {
      const auto cls = ns->second.find(name);
      if (cls == ns->second.end()) continue;
      for (const auto& entry : cls->second) stored.push_back(entry.second);
    }
  }
  std::vector<CComPtr<IWbemClassObject>> copies;
  copies.reserve(stored.size());
  for (const CComPtr<IWbemClassObject>& object : stored) {
    CComPtr<IWbemClassObject> copy = copyOf(object);
    if (copy != nullptr) copies.push_back(copy);
  }
  return copies;
}

void InstanceStore::removeClass(std::u16string_view nameSpace, std::u16string_view className) {
  Instances removed;
  std::unique_lock<std::shared_mutex> lock(mutex_);
  const auto ns = namespaces_.find(nameSpace);
  if (ns == namespaces_.end()) return;
  const auto cls = ns->second.find(className);
  if (cls == ns->second.end()) return;
  removed.swap(cls->second);
  ns->second.erase(cls);
}

void InstanceStore::removeNamespace(std::u16string_view nameSpace) {
  std::vector<Classes> removed;
  std::unique_lock<std::shared_mutex> lock(mutex_);
  const std::u16string prefix = std::u16string(nameSpace) + u"\\";
  for (auto it = namespaces_.begin(); it != namespaces_.end();) {
    const bool below = it->first.size() > prefix.size() && equalsNoCase(it->first.substr(0, prefix.size()), prefix);
    if (equalsNoCase(it->first, nameSpace) || below) {
      removed.emplace_back();
      removed.back().swap(it->second);
      it = namespaces_.erase(it);
    } else {
      ++it;
    }
  }
}

void InstanceStore::clear() {
  std::map<std::u16string, Classes, NoCaseLess> removed;
  std::unique_lock<std::shared_mutex> lock(mutex_);
  removed.swap(namespaces_);
}

}  // namespace om::wmi
