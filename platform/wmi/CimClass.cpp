#include "CimClass.h"

#include <algorithm>
#include <utility>

#include "CimType.h"
#include "Text.h"

namespace om::wmi {

CimClass::CimClass(std::u16string name, ClassPtr superclass) : name_(std::move(name)), superclass_(std::move(superclass)) {
  if (superclass_ == nullptr) return;
  qualifiers_ = superclass_->qualifiers_.propagated(WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
  // Abstract says something of one class only.
  qualifiers_.remove(u"abstract");
  properties_ = superclass_->properties_;
  for (PropertyDef& p : properties_) {
    p.qualifiers = p.qualifiers.propagated(WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
  }
  indexProperties();
  methods_ = superclass_->methods_;
  for (MethodDef& m : methods_) m.qualifiers = m.qualifiers.propagated(WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
}

void CimClass::rename(std::u16string name) {
  for (PropertyDef& p : properties_) {
    if (equalsNoCase(p.origin, name_)) p.origin = name;
  }
  for (MethodDef& m : methods_) {
    if (equalsNoCase(m.origin, name_)) m.origin = name;
  }
  name_ = std::move(name);
}

std::u16string CimClass::superclassName() const { return superclass_ ? superclass_->name_ : std::u16string(); }

std::u16string CimClass::dynasty() const {
  const CimClass* c = this;
  while (c->superclass_) c = c->superclass_.get();
  return c->name_;
}

std::vector<std::u16string> CimClass::derivation() const {
  std::vector<std::u16string> names;
  for (const CimClass* c = superclass_.get(); c != nullptr; c = c->superclass_.get()) names.push_back(c->name_);
  return names;
}

bool CimClass::inheritsFrom(std::u16string_view ancestor) const {
  for (const CimClass* c = superclass_.get(); c != nullptr; c = c->superclass_.get()) {
    if (equalsNoCase(c->name_, ancestor)) return true;
  }
  return false;
}

bool CimClass::isA(std::u16string_view name) const { return equalsNoCase(name_, name) || inheritsFrom(name); }

void CimClass::setLocation(std::u16string server, std::u16string nameSpace) {
  server_ = std::move(server);
  nameSpace_ = std::move(nameSpace);
}

void CimClass::indexProperties() {
  propertyIndex_.clear();
  for (size_t i = 0; i < properties_.size(); ++i) propertyIndex_.emplace(properties_[i].name, static_cast<int>(i));
}

int CimClass::findProperty(std::u16string_view name) const {
  const auto found = propertyIndex_.find(name);
  return found == propertyIndex_.end() ? -1 : found->second;
}

const PropertyDef* CimClass::property(std::u16string_view name) const {
  const int i = findProperty(name);
  return i < 0 ? nullptr : &properties_[static_cast<size_t>(i)];
}

PropertyDef* CimClass::mutableProperty(std::u16string_view name) {
  const int i = findProperty(name);
  return i < 0 ? nullptr : &properties_[static_cast<size_t>(i)];
}

std::vector<int> CimClass::keyIndexes() const {
  std::vector<int> keys;
  for (size_t i = 0; i < properties_.size(); ++i) {
    if (properties_[i].isKey()) keys.push_back(static_cast<int>(i));
  }
  return keys;
}

HRESULT CimClass::addProperty(PropertyDef property) {
  if (property.name.empty()) return WBEM_E_INVALID_PARAMETER;
  if (!isValidBaseType(baseType(property.type))) return WBEM_E_INVALID_PROPERTY_TYPE;
  if (property.defaultValue.vt == VT_EMPTY) property.defaultValue.vt = VT_NULL;
  PropertyDef* existing = mutableProperty(property.name);
  if (existing == nullptr) {
    property.origin = name_;
    propertyIndex_.emplace(property.name, static_cast<int>(properties_.size()));
    properties_.push_back(std::move(property));
    return S_OK;
  }
  if (equalsNoCase(existing->origin, name_)) return WBEM_E_ALREADY_EXISTS;
  if (existing->type != property.type) return WBEM_E_TYPE_MISMATCH;
  // An override: the inherited qualifiers stay unless restated.
  for (const Qualifier& q : property.qualifiers.items()) existing->qualifiers.set(q.name, q.value, q.flavor);
  if (property.defaultValue.vt != VT_NULL) existing->defaultValue = property.defaultValue;
  return S_OK;
}

HRESULT CimClass::removeProperty(std::u16string_view name) {
  const int i = findProperty(name);
  if (i < 0) return WBEM_E_NOT_FOUND;
  if (!equalsNoCase(properties_[static_cast<size_t>(i)].origin, name_)) return WBEM_E_PROPAGATED_PROPERTY;
  properties_.erase(properties_.begin() + i);
  indexProperties();
  return S_OK;
}

const MethodDef* CimClass::findMethod(std::u16string_view name) const {
  for (const MethodDef& m : methods_) {
    if (equalsNoCase(m.name, name)) return &m;
  }
  return nullptr;
}

MethodDef* CimClass::mutableMethod(std::u16string_view name) {
  return const_cast<MethodDef*>(std::as_const(*this).findMethod(name));
}

HRESULT CimClass::addMethod(MethodDef method) {
  if (method.name.empty()) return WBEM_E_INVALID_PARAMETER;
  MethodDef* existing = mutableMethod(method.name);
  if (existing == nullptr) {
    method.origin = name_;
    methods_.push_back(std::move(method));
    return S_OK;
  }
  if (equalsNoCase(existing->origin, name_)) return WBEM_E_ALREADY_EXISTS;
  method.origin = existing->origin;
  *existing = std::move(method);
  return S_OK;
}

HRESULT CimClass::removeMethod(std::u16string_view name) {
  const auto it = std::find_if(methods_.begin(), methods_.end(),
                               [&](const MethodDef& m) { return equalsNoCase(m.name, name); });
  if (it == methods_.end()) return WBEM_E_NOT_FOUND;
  if (!equalsNoCase(it->origin, name_)) return WBEM_E_PROPAGATED_METHOD;
  methods_.erase(it);
  return S_OK;
}

}  // namespace om::wmi
