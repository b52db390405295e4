// The class repository: the tree of namespaces and the class definitions
// of each. Names of namespaces and classes are case-insensitive and keep the
// spelling they were created with. Every namespace holds its own copies of
// the system classes (__SystemClass, __Namespace, __Event, ...).
//
// Safe to use from several threads: readers share a lock, changes take it
// alone. Definitions handed out are immutable and stay valid after the
// class is deleted or replaced.
#ifndef OM_PLATFORM_WMI_CLASSREPOSITORY_H_
#define OM_PLATFORM_WMI_CLASSREPOSITORY_H_

#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include <wbemcli.h>

#include "CimClass.h"
#include "Text.h"

namespace om::wmi {

class ClassRepository {
 public:
  // A repository holding the namespace "root" with the system classes.
  ClassRepository();
  ClassRepository(const ClassRepository&) = delete;
  ClassRepository& operator=(const ClassRepository&) = delete;

  // "root\a\b" from "\\.\root/a\b\", "//./ROOT/a/b" or "root\a\b": the
  // server part and surrounding backslashes removed, '/' turned into '\'.
  static std::u16string normalizeNamespace(std::u16string_view path);
  // The name of this machine as __SERVER gives it.
  static const std::u16string& serverName();

  // Creates the namespace and any missing parent ("root" must start it).
  // S_FALSE when it existed; WBEM_E_INVALID_NAMESPACE for an empty path, one
  // outside "root" or with an empty part.
  HRESULT createNamespace(std::u16string_view path);
  bool namespaceExists(std::u16string_view path) const;
  // The spelling the namespace was created with; empty when it does not
  // exist.
  std::u16string namespaceName(std::u16string_view path) const;
  // Names (last part only) of the namespaces directly below `path`.
  std::vector<std::u16string> childNamespaces(std::u16string_view path) const;
  // Deletes the namespace with its children and classes. "root" cannot be
  // deleted (WBEM_E_ACCESS_DENIED); WBEM_E_INVALID_NAMESPACE when absent.
  HRESULT deleteNamespace(std::u16string_view path);

  // Stores `cls` in the namespace, with the superclass it names taken from
  // that namespace (WBEM_E_INVALID_SUPERCLASS when absent there; the class's
  // superclass pointer is rebound to the stored one) and its location set.
  // Flags: WBEM_FLAG_CREATE_ONLY fails with WBEM_E_ALREADY_EXISTS when the
  // class exists; WBEM_FLAG_UPDATE_ONLY with WBEM_E_NOT_FOUND when it does
  // not; otherwise an existing class is replaced, unless it has subclasses
  // (WBEM_E_CLASS_HAS_CHILDREN) or is a system class
  // (WBEM_E_ACCESS_DENIED). WBEM_E_INVALID_NAMESPACE when the namespace does
  // not exist; WBEM_E_INVALID_CLASS for a class without a name.
  HRESULT putClass(std::u16string_view nameSpace, const CimClass& cls, long flags = 0,
                   ClassPtr* stored = nullptr);
  // The class, or null.
  ClassPtr findClass(std::u16string_view nameSpace, std::u16string_view className) const;
  // The class and its ancestors, the class first; empty when absent.
  std::vector<ClassPtr> superclassChain(std::u16string_view nameSpace, std::u16string_view className) const;
  // The classes derived from `className` (directly, or at any depth when
  // `deep`), in the order they were stored; an empty name lists the root
  // classes (or, deep, every class).
  std::vector<ClassPtr> subclasses(std::u16string_view nameSpace, std::u16string_view className,
                                   bool deep) const;
  // Deletes the class and every class derived from it. WBEM_E_NOT_FOUND
  // when absent; WBEM_E_ACCESS_DENIED for a system class.
  HRESULT deleteClass(std::u16string_view nameSpace, std::u16string_view className);

 private:
  struct Namespace {
    std::u16string path;  // as created
    std::map<std::u16string, ClassPtr, NoCaseLess> classes;
    std::vector<std::u16string> order;  // class names in the order stored
  };

  Namespace* find(std::u16string_view path);
  const Namespace* find(std::u16string_view path) const;
  HRESULT createOne(const std::u16string& path);
  static bool isSystemName(std::u16string_view name);

  mutable std::shared_mutex mutex_;
  std::map<std::u16string, Namespace, NoCaseLess> namespaces_;  // keyed by normalized path
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CLASSREPOSITORY_H_
