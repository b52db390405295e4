#include "ClassRepository.h"

#include <unistd.h>

#include <mutex>
#include <utility>

#include "CimObject.h"
#include "SystemClasses.h"

namespace om::wmi {

namespace {

bool isSlash(char16_t c) { return c == u'\\' || c == u'/'; }

// True when every part of the path is a name: letters, digits, '_' and
// characters beyond ASCII (not lone surrogates).
bool isNamespacePath(std::u16string_view path) {
  size_t partLength = 0;
  for (char16_t c : path) {
    if (c == u'\\') {
      if (partLength == 0) return false;
      partLength = 0;
      continue;
    }
    const bool ok = (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'_' ||
                    (c >= 0x80 && (c < 0xD800 || c > 0xDFFF));
    if (!ok) return false;
    ++partLength;
  }
  return partLength != 0;
}

// `cls` built again on `superclass`: the class's own qualifiers, properties
// and methods, and its overrides of inherited ones.
HRESULT rebase(const CimClass& cls, ClassPtr superclass, CimClass* out) {
  CimClass rebased(cls.name(), std::move(superclass));
  for (const Qualifier& q : cls.qualifiers().items()) {
    if ((q.flavor & WBEM_FLAVOR_MASK_ORIGIN) != WBEM_FLAVOR_ORIGIN_PROPAGATED) {
      rebased.qualifiers().set(q.name, q.value, q.flavor);
    }
  }
  for (const PropertyDef& p : cls.properties()) {
    PropertyDef own = p;
    if (!equalsNoCase(p.origin, cls.name())) {
      if (rebased.property(p.name) == nullptr) continue;  // no longer inherited
      QualifierList local;
      for (const Qualifier& q : p.qualifiers.items()) {
        if ((q.flavor & WBEM_FLAVOR_MASK_ORIGIN) != WBEM_FLAVOR_ORIGIN_PROPAGATED) local.set(q.name, q.value, q.flavor);
      }
      own.qualifiers = std::move(local);
    }
    const HRESULT hr = rebased.addProperty(std::move(own));
    if (FAILED(hr)) return hr;
  }
  for (const MethodDef& m : cls.methods()) {
    if (!equalsNoCase(m.origin, cls.name())) continue;
    const HRESULT hr = rebased.addMethod(m);
    if (FAILED(hr)) return hr;
  }
  rebased.setLocation(cls.server(), cls.nameSpace());
  *out = std::move(rebased);
  return S_OK;
}

// True when both definitions declare the same thing (their MOF text agrees).
bool sameDefinition(const ClassPtr& a, const CimClass& b) {
  CComPtr<IWbemClassObject> left = CimObject::newClass(a);
  CComPtr<IWbemClassObject> right = CimObject::newClass(std::make_shared<const CimClass>(b));
  return CimObject::from(left)->objectText() == CimObject::from(right)->objectText();
}

}  // namespace

ClassRepository::ClassRepository() { createOne(u"root"); }

std::u16string ClassRepository::normalizeNamespace(std::u16string_view path) {
  if (path.size() >= 2 && isSlash(path[0]) && isSlash(path[1])) {
    path.remove_prefix(2);
    size_t end = 0;
    while (end < path.size() && !isSlash(path[end])) ++end;
    path.remove_prefix(end);
  }
  std::u16string out;
  for (char16_t c : path) {
    if (isSlash(c)) {
      if (!out.empty() && out.back() != u'\\') out += u'\\';
    } else {
      out += c;
    }
  }
  while (!out.empty() && out.back() == u'\\') out.pop_back();
  return out;
}

const std::u16string& ClassRepository::serverName() {
  static const std::u16string name = [] {
    char host[256] = {};
    if (gethostname(host, sizeof(host) - 1) != 0 || host[0] == '\0') return std::u16string(u"LOCALHOST");
    std::u16string upper;
    for (const char* p = host; *p != '\0' && *p != '.'; ++p) {
      const char c = *p;
      upper += static_cast<char16_t>((c >= 'a' && c <= 'z') ? c - 'a' + 'A' : static_cast<unsigned char>(c));
    }
    return upper;
  }();
  return name;
}

ClassRepository::Namespace* ClassRepository::find(std::u16string_view path) {
  const auto it = namespaces_.find(normalizeNamespace(path));
  return it == namespaces_.end() ? nullptr : &it->second;
}

const ClassRepository::Namespace* ClassRepository::find(std::u16string_view path) const {
  const auto it = namespaces_.find(normalizeNamespace(path));
  return it == namespaces_.end() ? nullptr : &it->second;
}

bool ClassRepository::isSystemName(std::u16string_view name) { return name.size() >= 2 && name.substr(0, 2) == u"__"; }

HRESULT ClassRepository::createOne(const std::u16string& path) {
  Namespace& ns = namespaces_[path];
  ns.path = path;
  for (const CimClass& cls : buildSystemClasses()) {
    ClassPtr superclass;
    if (cls.superclass() != nullptr) superclass = ns.classes.at(cls.superclassName());
    CimClass placed(u"", nullptr);
    const HRESULT hr = rebase(cls, superclass, &placed);
    if (FAILED(hr)) return hr;
    placed.setLocation(serverName(), path);
    ns.classes[placed.name()] = std::make_shared<const CimClass>(std::move(placed));
    ns.order.push_back(cls.name());
  }
  return S_OK;
}

HRESULT ClassRepository::createNamespace(std::u16string_view path) {
  const std::u16string normalized = normalizeNamespace(path);
  const std::u16string_view first = std::u16string_view(normalized).substr(0, normalized.find(u'\\'));
  if (!equalsNoCase(first, u"root") || !isNamespacePath(normalized)) return WBEM_E_INVALID_NAMESPACE;
  std::unique_lock lock(mutex_);
  if (namespaces_.count(normalized) != 0) return S_FALSE;
  // Create each missing level, keeping the spelling of those that exist.
  std::u16string current;
  size_t start = 0;
  while (start <= normalized.size()) {
    size_t end = normalized.find(u'\\', start);
    if (end == std::u16string::npos) end = normalized.size();
    const std::u16string part = normalized.substr(start, end - start);
    const std::u16string next = current.empty() ? part : current + u"\\" + part;
    const auto it = namespaces_.find(next);
    if (it != namespaces_.end()) {
      current = it->second.path;
    } else {
      current = next;
      const HRESULT hr = createOne(current);
      if (FAILED(hr)) return hr;
    }
    start = end + 1;
  }
  return S_OK;
}

bool ClassRepository::namespaceExists(std::u16string_view path) const {
  std::shared_lock lock(mutex_);
  return find(path) != nullptr;
}

std::u16string ClassRepository::namespaceName(std::u16string_view path) const {
  std::shared_lock lock(mutex_);
  const Namespace* ns = find(path);
  return ns == nullptr ? std::u16string() : ns->path;
}

std::vector<std::u16string> ClassRepository::childNamespaces(std::u16string_view path) const {
  std::shared_lock lock(mutex_);
  std::vector<std::u16string> children;
  const Namespace* parent = find(path);
  if (parent == nullptr) return children;
  const std::u16string prefix = parent->path + u"\\";
  for (const auto& [key, ns] : namespaces_) {
    if (ns.path.size() <= prefix.size() || !equalsNoCase(std::u16string_view(ns.path).substr(0, prefix.size()), prefix)) {
      continue;
    }
    const std::u16string rest = ns.path.substr(prefix.size());
    if (rest.find(u'\\') == std::u16string::npos) children.push_back(rest);
  }
  return children;
}

HRESULT ClassRepository::deleteNamespace(std::u16string_view path) {
  std::unique_lock lock(mutex_);
  const Namespace* ns = find(path);
  if (ns == nullptr) return WBEM_E_INVALID_NAMESPACE;
  if (equalsNoCase(ns->path, u"root")) return WBEM_E_ACCESS_DENIED;
  const std::u16string prefix = ns->path + u"\\";
  const std::u16string self = ns->path;
  for (auto it = namespaces_.begin(); it != namespaces_.end();) {
    const std::u16string& p = it->second.path;
    const bool below = p.size() > prefix.size() && equalsNoCase(std::u16string_view(p).substr(0, prefix.size()), prefix);
    it = (equalsNoCase(p, self) || below) ? namespaces_.erase(it) : std::next(it);
  }
  return S_OK;
}

HRESULT ClassRepository::putClass(std::u16string_view nameSpace, const CimClass& cls, long flags, ClassPtr* stored) {
  if (cls.name().empty()) return WBEM_E_INVALID_CLASS;
  if (isSystemName(cls.name())) return WBEM_E_ACCESS_DENIED;
  std::unique_lock lock(mutex_);
  Namespace* ns = find(nameSpace);
  if (ns == nullptr) return WBEM_E_INVALID_NAMESPACE;
  ClassPtr superclass;
  if (cls.superclass() != nullptr) {
    const auto it = ns->classes.find(cls.superclassName());
    if (it == ns->classes.end()) return WBEM_E_INVALID_SUPERCLASS;
    superclass = it->second;
    if (superclass->isA(cls.name())) return WBEM_E_CIRCULAR_REFERENCE;
  }
  const auto existing = ns->classes.find(cls.name());
  if (existing != ns->classes.end()) {
    if ((flags & WBEM_FLAG_CREATE_ONLY) != 0) return WBEM_E_ALREADY_EXISTS;
  } else if ((flags & WBEM_FLAG_UPDATE_ONLY) != 0) {
    return WBEM_E_NOT_FOUND;
  }
  CimClass placed(u"", nullptr);
  HRESULT hr = rebase(cls, superclass, &placed);
  if (FAILED(hr)) return hr;
  placed.setLocation(serverName(), ns->path);
  if (existing != ns->classes.end()) {
    if (sameDefinition(existing->second, placed)) {
      if (stored != nullptr) *stored = existing->second;
      return S_OK;
    }
    for (const auto& [name, other] : ns->classes) {
      if (other->superclass() != nullptr && equalsNoCase(other->superclassName(), cls.name())) {
        return WBEM_E_CLASS_HAS_CHILDREN;
      }
    }
  }
  ClassPtr result = std::make_shared<const CimClass>(std::move(placed));
  if (existing == ns->classes.end()) {
    ns->classes.emplace(result->name(), result);
    ns->order.push_back(result->name());
  } else {
    existing->second = result;
  }
  if (stored != nullptr) *stored = std::move(result);
  return S_OK;
}

ClassPtr ClassRepository::findClass(std::u16string_view nameSpace, std::u16string_view className) const {
  std::shared_lock lock(mutex_);
  const Namespace* ns = find(nameSpace);
  if (ns == nullptr) return nullptr;
  const auto it = ns->classes.find(className);
  return it == ns->classes.end() ? nullptr : it->second;
}

std::vector<ClassPtr> ClassRepository::superclassChain(std::u16string_view nameSpace,
                                                       std::u16string_view className) const {
  std::vector<ClassPtr> chain;
  for (ClassPtr c = findClass(nameSpace, className); c != nullptr; c = c->superclass()) chain.push_back(c);
  return chain;
}

std::vector<ClassPtr> ClassRepository::subclasses(std::u16string_view nameSpace, std::u16string_view className,
                                                  bool deep) const {
  std::shared_lock lock(mutex_);
  std::vector<ClassPtr> found;
  const Namespace* ns = find(nameSpace);
  if (ns == nullptr) return found;
  for (const std::u16string& name : ns->order) {
    const ClassPtr& c = ns->classes.at(name);
    const bool match = className.empty()
                           ? (deep || c->superclass() == nullptr)
                           : (deep ? c->inheritsFrom(className) : equalsNoCase(c->superclassName(), className));
    if (match) found.push_back(c);
  }
  return found;
}

HRESULT ClassRepository::deleteClass(std::u16string_view nameSpace, std::u16string_view className) {
  if (isSystemName(className)) return WBEM_E_ACCESS_DENIED;
  std::unique_lock lock(mutex_);
  Namespace* ns = find(nameSpace);
  if (ns == nullptr) return WBEM_E_INVALID_NAMESPACE;
  if (ns->classes.find(className) == ns->classes.end()) return WBEM_E_NOT_FOUND;
  for (auto it = ns->order.begin(); it != ns->order.end();) {
    const ClassPtr& c = ns->classes.at(*it);
    if (c->isA(className)) {
      ns->classes.erase(*it);
      it = ns->order.erase(it);
    } else {
      ++it;
    }
  }
  return S_OK;
}

}  // namespace om::wmi
