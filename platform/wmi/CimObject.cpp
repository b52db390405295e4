#include "CimObject.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "CimType.h"
#include "MofWriter.h"
#include "ObjectQualifierSet.h"
#include "Text.h"

namespace om::wmi {

namespace {

// System properties in the order WMI lists them.
constexpr const char16_t* kSystemProperties[] = {
    u"__GENUS", u"__CLASS", u"__SUPERCLASS", u"__DYNASTY", u"__RELPATH",
    u"__PROPERTY_COUNT", u"__DERIVATION", u"__SERVER", u"__NAMESPACE", u"__PATH",
};

bool isSystemName(std::u16string_view name) { return name.size() >= 2 && name.substr(0, 2) == u"__"; }

bool isIdentifier(std::u16string_view name) {
  if (name.empty() || (name[0] >= u'0' && name[0] <= u'9')) return false;
  return std::all_of(name.begin(), name.end(), [](char16_t c) {
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'_' || c >= 0x80;
  });
}

void setText(VARIANT* v, std::u16string_view text) {
  v->vt = VT_BSTR;
  v->bstrVal = allocBstr(text);
}

void setTextOrNull(VARIANT* v, std::u16string_view text) {
  if (text.empty()) {
    v->vt = VT_NULL;
  } else {
    setText(v, text);
  }
}

// The key value of a stored property value, for a path.
bool keyBinding(const PropertyDef& property, const VARIANT& value, KeyBinding* key) {
  key->name = property.name;
  const auto integer = [&](auto number) {
    const std::string digits = std::to_string(number);
    key->kind = KeyBinding::Kind::kInteger;
    key->value = std::u16string(digits.begin(), digits.end());
    return true;
  };
  switch (property.type) {
    case CIM_SINT8:
    case CIM_SINT16: return integer(value.iVal);
    case CIM_UINT8: return integer(value.bVal);
    case CIM_UINT16:
    case CIM_SINT32: return integer(value.lVal);
    case CIM_UINT32: return integer(static_cast<uint32_t>(value.lVal));
    case CIM_CHAR16:
      key->kind = KeyBinding::Kind::kString;
      key->value = std::u16string(1, static_cast<char16_t>(value.iVal));
      return true;
    case CIM_BOOLEAN:
      key->kind = KeyBinding::Kind::kBoolean;
      key->value = value.boolVal != VARIANT_FALSE ? u"TRUE" : u"FALSE";
      return true;
    case CIM_SINT64:
    case CIM_UINT64:
      key->kind = KeyBinding::Kind::kInteger;
      key->value = std::u16string(bstrView(value.bstrVal));
      return true;
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_REFERENCE:
      key->kind = KeyBinding::Kind::kString;
      key->value = std::u16string(bstrView(value.bstrVal));
      return true;
    default: return false;
  }
}

HRESULT cloneOut(const ClassPtr& signature, IWbemClassObject** out) {
  if (out == nullptr) return S_OK;
  *out = signature ? CimObject::newClass(signature).Detach() : nullptr;
  return S_OK;
}

bool valuesEqual(const VARIANT& a, const VARIANT& b, long flags);

bool objectsEqual(IUnknown* a, IUnknown* b, long flags) {
  if (a == nullptr || b == nullptr) return a == b;
  CComQIPtr<IWbemClassObject> left(a);
  CComQIPtr<IWbemClassObject> right(b);
  return left != nullptr && right != nullptr && left->CompareTo(flags, right) == WBEM_S_SAME;
}

bool valuesEqual(const VARIANT& a, const VARIANT& b, long flags) {
  if (a.vt != b.vt) return false;
  if (a.vt == VT_BSTR && (flags & WBEM_FLAG_IGNORE_CASE) != 0) return equalsNoCase(bstrView(a.bstrVal), bstrView(b.bstrVal));
  if (a.vt == VT_UNKNOWN) return objectsEqual(a.punkVal, b.punkVal, flags);
  if ((a.vt & VT_ARRAY) == 0) return CComVariant(a) == b;
  LONG la = 0, ua = -1, lb = 0, ub = -1;
  SafeArrayGetLBound(a.parray, 1, &la);
  SafeArrayGetUBound(a.parray, 1, &ua);
  SafeArrayGetLBound(b.parray, 1, &lb);
  SafeArrayGetUBound(b.parray, 1, &ub);
  if (ua - la != ub - lb) return false;
  const VARTYPE vt = a.vt & VT_TYPEMASK;
  for (LONG i = 0; i <= ua - la; ++i) {
    CComVariant x;
    CComVariant y;
    if (FAILED(arrayElement(a.parray, vt, la + i, &x)) || FAILED(arrayElement(b.parray, vt, lb + i, &y))) return false;
    if (!valuesEqual(x, y, flags)) return false;
  }
  return true;
}

}  // namespace

CimObject::CimObject(ClassPtr definition, bool isClass) : isClass_(isClass), definition_(std::move(definition)) {}

CComPtr<IWbemClassObject> CimObject::newClass(ClassPtr definition) {
  CComPtr<IWbemClassObject> object;
  object.Attach(new CimObject(std::move(definition), true));
  return object;
}

CComPtr<IWbemClassObject> CimObject::newInstance(ClassPtr definition) {
  auto* instance = new CimObject(definition, false);
  instance->values_.resize(definition->properties().size());
  for (size_t i = 0; i < instance->values_.size(); ++i) {
    copyValue(definition->properties()[i].defaultValue, &instance->values_[i]);
  }
  CComPtr<IWbemClassObject> object;
  object.Attach(instance);
  return object;
}

CimObject* CimObject::from(IWbemClassObject* object) { return dynamic_cast<CimObject*>(object); }

ClassPtr CimObject::definition() const {
  std::lock_guard lock(mutex_);
  return definition_;
}

std::u16string CimObject::className() const { return definition()->name(); }

CComVariant CimObject::value(int index) const {
  std::lock_guard lock(mutex_);
  const auto i = static_cast<size_t>(index);
  if (index < 0 || i >= definition_->properties().size()) return CComVariant();
  return isClass_ ? definition_->properties()[i].defaultValue : values_[i];
}

HRESULT CimObject::setValue(int index, const VARIANT& value) {
  // The value is converted without the lock held: it may be this very object
  // (an object put into itself is stored as a copy of what it was).
  const ClassPtr def = definition();
  const auto i = static_cast<size_t>(index);
  if (index < 0 || i >= def->properties().size()) return WBEM_E_NOT_FOUND;
  const PropertyDef& property = def->properties()[i];
  CComVariant stored;
  const HRESULT hr = coerceValue(value, property.type, property.refClass, &stored);
  if (FAILED(hr)) return hr;
  if (!isClass_) {
    std::lock_guard lock(mutex_);
    values_[i] = std::move(stored);
    return S_OK;
  }
  return editClass([&](CimClass& cls) {
    cls.mutableProperty(property.name)->defaultValue = stored;
    return S_OK;
  });
}

bool CimObject::keyPath(ObjectPath* path) const {
  std::lock_guard lock(mutex_);
  ObjectPath result;
  result.className = definition_->name();
  result.server = definition_->server();
  result.nameSpace = definition_->nameSpace();
  if (isClass_) {
    *path = std::move(result);
    return true;
  }
  const std::vector<int> keys = definition_->keyIndexes();
  if (keys.empty()) {
    if (!definition_->isSingleton()) return false;
    result.singleton = true;
  }
  for (int index : keys) {
    const auto i = static_cast<size_t>(index);
    KeyBinding key;
    if (values_[i].vt == VT_NULL || !keyBinding(definition_->properties()[i], values_[i], &key)) return false;
    result.keys.push_back(std::move(key));
  }
  std::sort(result.keys.begin(), result.keys.end(),
            [](const KeyBinding& a, const KeyBinding& b) { return compareNoCase(a.name, b.name) < 0; });
  *path = std::move(result);
  return true;
}

std::u16string CimObject::relPath() const {
  ObjectPath path;
  return keyPath(&path) && !path.className.empty() ? path.relPath() : std::u16string();
}

std::u16string CimObject::fullPath() const {
  ObjectPath path;
  if (!keyPath(&path) || path.className.empty() || path.nameSpace.empty()) return {};
  return path.toString();
}

std::u16string CimObject::objectText() const {
  std::lock_guard lock(mutex_);
  return isClass_ ? classText(*definition_) : instanceText(*definition_, values_);
}

bool CimObject::systemProperty(std::u16string_view name, VARIANT* value, CIMTYPE* type) const {
  const auto is = [&](const char16_t* n) { return equalsNoCase(name, n); };
  ClassPtr def = definition();
  const std::u16string& className = def->name();
  *type = CIM_STRING;
  if (is(u"__GENUS")) {
    *type = CIM_SINT32;
    value->vt = VT_I4;
    value->lVal = isClass_ ? WBEM_GENUS_CLASS : WBEM_GENUS_INSTANCE;
  } else if (is(u"__CLASS")) {
    setTextOrNull(value, className);
  } else if (is(u"__SUPERCLASS")) {
    setTextOrNull(value, def->superclassName());
  } else if (is(u"__DYNASTY")) {
    setTextOrNull(value, className.empty() ? std::u16string() : def->dynasty());
  } else if (is(u"__RELPATH")) {
    setTextOrNull(value, relPath());
  } else if (is(u"__PROPERTY_COUNT")) {
    *type = CIM_SINT32;
    value->vt = VT_I4;
    value->lVal = static_cast<LONG>(def->properties().size());
  } else if (is(u"__DERIVATION")) {
    *type = CIM_STRING | CIM_FLAG_ARRAY;
    value->vt = VT_ARRAY | VT_BSTR;
    value->parray = stringArray(def->derivation());
  } else if (is(u"__SERVER")) {
    setTextOrNull(value, def->server());
  } else if (is(u"__NAMESPACE")) {
    setTextOrNull(value, def->nameSpace());
  } else if (is(u"__PATH")) {
    setTextOrNull(value, fullPath());
  } else {
    return false;
  }
  return true;
}

HRESULT CimObject::editClass(const std::function<HRESULT(CimClass&)>& edit) {
  if (!isClass_) return WBEM_E_ILLEGAL_OPERATION;
  std::lock_guard lock(mutex_);
  auto copy = std::make_shared<CimClass>(*definition_);
  const HRESULT hr = edit(*copy);
  if (FAILED(hr)) return hr;
  definition_ = std::move(copy);
  return hr;
}

HRESULT CimObject::Get(LPCWSTR wszName, long, VARIANT* pVal, CIMTYPE* pType, long* plFlavor) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string_view name(wszName);
  VARIANT value;
  VariantInit(&value);
  CIMTYPE type = CIM_EMPTY;
  long flavor = WBEM_FLAVOR_ORIGIN_SYSTEM;
  if (isSystemName(name)) {
    if (!systemProperty(name, &value, &type)) return WBEM_E_NOT_FOUND;
  } else {
    std::lock_guard lock(mutex_);
    const int index = definition_->findProperty(name);
    if (index < 0) return WBEM_E_NOT_FOUND;
    const PropertyDef& property = definition_->properties()[static_cast<size_t>(index)];
    type = property.type;
    flavor = equalsNoCase(property.origin, definition_->name()) ? WBEM_FLAVOR_ORIGIN_LOCAL : WBEM_FLAVOR_ORIGIN_PROPAGATED;
    if (pVal != nullptr) {
      // Embedded objects come out as copies: changing one leaves this object as it is.
      const VARIANT& stored = isClass_ ? property.defaultValue : values_[static_cast<size_t>(index)];
      const HRESULT hr = copyValue(stored, &value);
      if (FAILED(hr)) return hr;
    }
  }
  if (pVal != nullptr) {
    *pVal = value;  // the caller's VARIANT is overwritten, not freed, as on Windows
  } else {
    VariantClear(&value);
  }
  if (pType != nullptr) *pType = type;
  if (plFlavor != nullptr) *plFlavor = flavor;
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::Put(LPCWSTR wszName, long, VARIANT* pVal, CIMTYPE Type) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string_view name(wszName);
  VARIANT null;
  VariantInit(&null);
  null.vt = VT_NULL;
  const VARIANT& value = pVal != nullptr ? *pVal : null;
  if (isSystemName(name)) {
    if (!isClass_ || !equalsNoCase(name, u"__CLASS")) return WBEM_E_READ_ONLY;
    if (value.vt != VT_BSTR || !isIdentifier(bstrView(value.bstrVal)) || isSystemName(bstrView(value.bstrVal))) {
      return WBEM_E_INVALID_PARAMETER;
    }
    return editClass([&](CimClass& cls) {
      cls.rename(std::u16string(bstrView(value.bstrVal)));
      return S_OK;
    });
  }
  std::unique_lock lock(mutex_);
  const int index = definition_->findProperty(name);
  if (index >= 0) {
    const CIMTYPE existing = definition_->properties()[static_cast<size_t>(index)].type;
    if (Type != 0 && Type != existing) return WBEM_E_TYPE_MISMATCH;
    lock.unlock();
    return setValue(index, value);
  }
  if (!isClass_) return WBEM_E_NOT_FOUND;
  lock.unlock();
  // A new property of a class: its type is given, or that of the value.
  const CIMTYPE type = Type != 0 ? Type : cimTypeOfVariant(value.vt);
  if (!isIdentifier(name)) return WBEM_E_INVALID_PARAMETER;
  if (!isValidBaseType(baseType(type))) return WBEM_E_INVALID_PROPERTY_TYPE;
  PropertyDef property;
  property.name = std::u16string(name);
  property.type = type;
  property.qualifiers.set(u"CIMTYPE", CComVariant(cimTypeQualifierText(type, u"").c_str()));
  const HRESULT hr = coerceValue(value, type, u"", &property.defaultValue);
  if (FAILED(hr)) return hr;
  return editClass([&](CimClass& cls) { return cls.addProperty(std::move(property)); });
}

HRESULT CimObject::Delete(LPCWSTR wszName) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string_view name(wszName);
  if (isSystemName(name)) return WBEM_E_SYSTEM_PROPERTY;
  if (isClass_) return editClass([&](CimClass& cls) { return cls.removeProperty(name); });
  // On an instance, a deleted value goes back to the class's default.
  std::lock_guard lock(mutex_);
  const int index = definition_->findProperty(name);
  if (index < 0) return WBEM_E_NOT_FOUND;
  const auto i = static_cast<size_t>(index);
  return copyValue(definition_->properties()[i].defaultValue, &values_[i]);
}

std::vector<std::u16string> CimObject::propertyNames(long flags, std::u16string_view qualifier,
                                                     const VARIANT* qualifierValue) const {
  const long origin = flags & WBEM_MASK_CONDITION_ORIGIN;
  const long condition = flags & WBEM_MASK_PRIMARY_CONDITION;
  std::vector<std::u16string> names;
  const bool wantSystem = origin == 0 || origin == WBEM_FLAG_SYSTEM_ONLY;
  const bool wantOthers = origin != WBEM_FLAG_SYSTEM_ONLY;
  // System properties carry no qualifiers: only an unconditional listing
  // (or one that asks for a qualifier's absence) includes them.
  if (wantSystem && (flags & (WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY)) == 0 &&
      (condition == WBEM_FLAG_ALWAYS || condition == WBEM_FLAG_ONLY_IF_FALSE)) {
    for (const char16_t* name : kSystemProperties) names.emplace_back(name);
  }
  if (!wantOthers) return names;
  std::lock_guard lock(mutex_);
  for (const PropertyDef& p : definition_->properties()) {
    const bool local = equalsNoCase(p.origin, definition_->name());
    if (origin == WBEM_FLAG_LOCAL_ONLY && !local) continue;
    if (origin == WBEM_FLAG_PROPAGATED_ONLY && local) continue;
    if ((flags & WBEM_FLAG_KEYS_ONLY) != 0 && !p.isKey()) continue;
    if ((flags & WBEM_FLAG_REFS_ONLY) != 0 && baseType(p.type) != CIM_REFERENCE) continue;
    const Qualifier* q = qualifier.empty() ? nullptr : p.qualifiers.find(qualifier);
    if (!isClass_ && q != nullptr && (q->flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) == 0) q = nullptr;
    const bool set = q != nullptr && !(q->value.vt == VT_BOOL && q->value.boolVal == VARIANT_FALSE);
    if (condition == WBEM_FLAG_ONLY_IF_TRUE && !set) continue;
    if (condition == WBEM_FLAG_ONLY_IF_FALSE && set) continue;
    if (condition == WBEM_FLAG_ONLY_IF_IDENTICAL && (q == nullptr || !valuesEqual(q->value, *qualifierValue, 0))) {
      continue;
    }
    names.push_back(p.name);
  }
  return names;
}

HRESULT CimObject::GetNames(LPCWSTR wszQualifierName, long lFlags, VARIANT* pQualifierVal, SAFEARRAY** pNames) {
  if (pNames == nullptr) return WBEM_E_INVALID_PARAMETER;
  const long condition = lFlags & WBEM_MASK_PRIMARY_CONDITION;
  if ((condition != WBEM_FLAG_ALWAYS) != (wszQualifierName != nullptr)) return WBEM_E_INVALID_PARAMETER;
  if (condition == WBEM_FLAG_ONLY_IF_IDENTICAL && pQualifierVal == nullptr) return WBEM_E_INVALID_PARAMETER;
  const long origin = lFlags & WBEM_MASK_CONDITION_ORIGIN;
  if (origin != 0 && origin != WBEM_FLAG_LOCAL_ONLY && origin != WBEM_FLAG_PROPAGATED_ONLY &&
      origin != WBEM_FLAG_SYSTEM_ONLY && origin != WBEM_FLAG_NONSYSTEM_ONLY) {
    return WBEM_E_INVALID_PARAMETER;
  }
  *pNames = stringArray(propertyNames(lFlags, wideView(wszQualifierName), pQualifierVal));
  return *pNames != nullptr ? WBEM_S_NO_ERROR : WBEM_E_OUT_OF_MEMORY;
}

HRESULT CimObject::BeginEnumeration(long lEnumFlags) {
  const long known = WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY | WBEM_MASK_CONDITION_ORIGIN;
  if ((lEnumFlags & ~known) != 0) return WBEM_E_INVALID_PARAMETER;
  std::vector<std::u16string> names = propertyNames(lEnumFlags, u"", nullptr);
  std::lock_guard lock(mutex_);
  enumNames_ = std::move(names);
  enumNext_ = 0;
  enumerating_ = true;
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::Next(long, BSTR* strName, VARIANT* pVal, CIMTYPE* pType, long* plFlavor) {
  std::u16string name;
  {
    std::lock_guard lock(mutex_);
    if (!enumerating_) return WBEM_E_UNEXPECTED;
    if (enumNext_ >= enumNames_.size()) return WBEM_S_NO_MORE_DATA;
    name = enumNames_[enumNext_++];
  }
  const HRESULT hr = Get(name.c_str(), 0, pVal, pType, plFlavor);
  if (FAILED(hr)) return hr;
  if (strName != nullptr) *strName = allocBstr(name);
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::EndEnumeration() {
  std::lock_guard lock(mutex_);
  enumerating_ = false;
  enumNames_.clear();
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::readQualifiers(QualifierTarget target, std::u16string_view name, QualifierList* out) const {
  std::lock_guard lock(mutex_);
  const QualifierList* list = nullptr;
  if (target == QualifierTarget::kClass) {
    list = &definition_->qualifiers();
  } else if (target == QualifierTarget::kProperty) {
    if (isSystemName(name)) return WBEM_E_SYSTEM_PROPERTY;
    const PropertyDef* p = definition_->property(name);
    if (p == nullptr) return WBEM_E_NOT_FOUND;
    list = &p->qualifiers;
  } else {
    const MethodDef* m = definition_->findMethod(name);
    if (m == nullptr) return WBEM_E_NOT_FOUND;
    list = &m->qualifiers;
  }
  *out = isClass_ ? *list : list->propagated(WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE);
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::editQualifiers(QualifierTarget target, std::u16string_view name,
                                  const std::function<HRESULT(QualifierList&)>& edit) {
  if (!isClass_) return WBEM_E_READ_ONLY;
  return editClass([&](CimClass& cls) -> HRESULT {
    if (target == QualifierTarget::kClass) return edit(cls.qualifiers());
    if (target == QualifierTarget::kMethod) {
      MethodDef* m = cls.mutableMethod(name);
      return m == nullptr ? WBEM_E_NOT_FOUND : edit(m->qualifiers);
    }
    PropertyDef* p = cls.mutableProperty(name);
    if (p == nullptr) return WBEM_E_NOT_FOUND;
    const HRESULT hr = edit(p->qualifiers);
    if (FAILED(hr)) return hr;
    // The CIMTYPE qualifier names the class of a reference or embedded object.
    const std::u16string cimType = p->qualifiers.text(u"CIMTYPE");
    const size_t colon = cimType.find(u':');
    if (colon != std::u16string::npos) {
      if (cimTypeFromKeyword(cimType.substr(0, colon)) != baseType(p->type)) return WBEM_E_INVALID_QUALIFIER;
      p->refClass = cimType.substr(colon + 1);
    }
    return hr;
  });
}

HRESULT CimObject::newQualifierSet(QualifierTarget target, std::u16string_view name, IWbemQualifierSet** out) {
  if (out == nullptr) return WBEM_E_INVALID_PARAMETER;
  QualifierList probe;
  const HRESULT hr = readQualifiers(target, name, &probe);
  if (FAILED(hr)) return hr;
  *out = new ObjectQualifierSet(this, target, std::u16string(name));
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::GetQualifierSet(IWbemQualifierSet** ppQualSet) {
  return newQualifierSet(QualifierTarget::kClass, u"", ppQualSet);
}

HRESULT CimObject::GetPropertyQualifierSet(LPCWSTR wszProperty, IWbemQualifierSet** ppQualSet) {
  if (wszProperty == nullptr) return WBEM_E_INVALID_PARAMETER;
  return newQualifierSet(QualifierTarget::kProperty, wszProperty, ppQualSet);
}

HRESULT CimObject::GetMethodQualifierSet(LPCWSTR wszMethod, IWbemQualifierSet** ppQualSet) {
  if (wszMethod == nullptr) return WBEM_E_INVALID_PARAMETER;
  return newQualifierSet(QualifierTarget::kMethod, wszMethod, ppQualSet);
}

HRESULT CimObject::Clone(IWbemClassObject** ppCopy) {
  if (ppCopy == nullptr) return WBEM_E_INVALID_PARAMETER;
  std::lock_guard lock(mutex_);
  auto* copy = new CimObject(definition_, isClass_);
  copy->values_.resize(values_.size());
  for (size_t i = 0; i < values_.size(); ++i) {
    const HRESULT hr = copyValue(values_[i], &copy->values_[i]);
    if (FAILED(hr)) {
      copy->Release();
      return hr;
    }
  }
  *ppCopy = copy;
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::GetObjectText(long, BSTR* pstrObjectText) {
  if (pstrObjectText == nullptr) return WBEM_E_INVALID_PARAMETER;
  *pstrObjectText = allocBstr(objectText());
  return *pstrObjectText != nullptr ? WBEM_S_NO_ERROR : WBEM_E_OUT_OF_MEMORY;
}

HRESULT CimObject::SpawnDerivedClass(long, IWbemClassObject** ppNewClass) {
  if (ppNewClass == nullptr) return WBEM_E_INVALID_PARAMETER;
  if (!isClass_) return WBEM_E_ILLEGAL_OPERATION;
  ClassPtr def = definition();
  if (def->name().empty()) return WBEM_E_INCOMPLETE_CLASS;
  *ppNewClass = newClass(std::make_shared<const CimClass>(u"", def)).Detach();
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::SpawnInstance(long, IWbemClassObject** ppNewInstance) {
  if (ppNewInstance == nullptr) return WBEM_E_INVALID_PARAMETER;
  ClassPtr def = definition();
  if (def->name().empty()) return WBEM_E_INCOMPLETE_CLASS;
  *ppNewInstance = newInstance(def).Detach();
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::CompareTo(long lFlags, IWbemClassObject* pCompareTo) {
  CimObject* other = from(pCompareTo);
  if (other == nullptr) return WBEM_E_INVALID_PARAMETER;
  if (other == this) return WBEM_S_SAME;
  if (isClass_ != other->isClass_) return WBEM_S_DIFFERENT;
  if (isClass_) return objectText() == other->objectText() ? WBEM_S_SAME : WBEM_S_DIFFERENT;
  const ClassPtr mine = definition();
  const ClassPtr theirs = other->definition();
  if ((lFlags & WBEM_FLAG_IGNORE_CLASS) == 0 && !equalsNoCase(mine->name(), theirs->name())) return WBEM_S_DIFFERENT;
  if (mine->properties().size() != theirs->properties().size()) return WBEM_S_DIFFERENT;
  for (size_t i = 0; i < mine->properties().size(); ++i) {
    const int j = theirs->findProperty(mine->properties()[i].name);
    if (j < 0 || !valuesEqual(value(static_cast<int>(i)), other->value(j), lFlags)) return WBEM_S_DIFFERENT;
  }
  return WBEM_S_SAME;
}

HRESULT CimObject::GetPropertyOrigin(LPCWSTR wszName, BSTR* pstrClassName) {
  if (wszName == nullptr || pstrClassName == nullptr) return WBEM_E_INVALID_PARAMETER;
  if (isSystemName(wszName)) return WBEM_E_SYSTEM_PROPERTY;
  ClassPtr def = definition();
  const PropertyDef* p = def->property(wszName);
  if (p == nullptr) return WBEM_E_NOT_FOUND;
  *pstrClassName = allocBstr(p->origin);
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::InheritsFrom(LPCWSTR strAncestor) {
  if (strAncestor == nullptr) return WBEM_E_INVALID_PARAMETER;
  ClassPtr def = definition();
  // An instance belongs to its own class as well as to the class's ancestors.
  const bool inherits = isClass_ ? def->inheritsFrom(strAncestor) : def->isA(strAncestor);
  return inherits ? WBEM_S_NO_ERROR : WBEM_S_FALSE;
}

HRESULT CimObject::GetMethod(LPCWSTR wszName, long, IWbemClassObject** ppInSignature,
                             IWbemClassObject** ppOutSignature) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  ClassPtr def = definition();
  const MethodDef* m = def->findMethod(wszName);
  if (m == nullptr) return WBEM_E_NOT_FOUND;
  cloneOut(m->in, ppInSignature);
  cloneOut(m->out, ppOutSignature);
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::PutMethod(LPCWSTR wszName, long, IWbemClassObject* pInSignature, IWbemClassObject* pOutSignature) {
  if (wszName == nullptr || !isIdentifier(wszName)) return WBEM_E_INVALID_PARAMETER;
  CimObject* in = from(pInSignature);
  CimObject* out = from(pOutSignature);
  if ((pInSignature != nullptr && (in == nullptr || !in->isClass_)) ||
      (pOutSignature != nullptr && (out == nullptr || !out->isClass_))) {
    return WBEM_E_INVALID_PARAMETER;
  }
  MethodDef method;
  method.name = wszName;
  if (in != nullptr) method.in = in->definition();
  if (out != nullptr) {
    method.out = out->definition();
    const PropertyDef* ret = method.out->property(u"ReturnValue");
    if (ret != nullptr) method.returnType = ret->type;
  }
  return editClass([&](CimClass& cls) -> HRESULT {
    MethodDef* existing = cls.mutableMethod(method.name);
    if (existing != nullptr && equalsNoCase(existing->origin, cls.name())) {
      method.qualifiers = existing->qualifiers;
      method.origin = existing->origin;
      *existing = std::move(method);
      return WBEM_S_NO_ERROR;
    }
    return cls.addMethod(std::move(method));
  });
}

HRESULT CimObject::DeleteMethod(LPCWSTR wszName) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  return editClass([&](CimClass& cls) { return cls.removeMethod(wszName); });
}

HRESULT CimObject::BeginMethodEnumeration(long lEnumFlags) {
  if (lEnumFlags != 0 && lEnumFlags != WBEM_FLAG_LOCAL_ONLY && lEnumFlags != WBEM_FLAG_PROPAGATED_ONLY) {
    return WBEM_E_INVALID_PARAMETER;
  }
  std::lock_guard lock(mutex_);
  methodNames_.clear();
  for (const MethodDef& m : definition_->methods()) {
    const bool local = equalsNoCase(m.origin, definition_->name());
    if ((lEnumFlags == WBEM_FLAG_LOCAL_ONLY && !local) || (lEnumFlags == WBEM_FLAG_PROPAGATED_ONLY && local)) continue;
    methodNames_.push_back(m.name);
  }
  methodNext_ = 0;
  enumeratingMethods_ = true;
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::NextMethod(long, BSTR* pstrName, IWbemClassObject** ppInSignature,
                              IWbemClassObject** ppOutSignature) {
  std::u16string name;
  {
    std::lock_guard lock(mutex_);
    if (!enumeratingMethods_) return WBEM_E_UNEXPECTED;
    if (methodNext_ >= methodNames_.size()) return WBEM_S_NO_MORE_DATA;
    name = methodNames_[methodNext_++];
  }
  const HRESULT hr = GetMethod(name.c_str(), 0, ppInSignature, ppOutSignature);
  if (FAILED(hr)) return hr;
  if (pstrName != nullptr) *pstrName = allocBstr(name);
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::EndMethodEnumeration() {
  std::lock_guard lock(mutex_);
  enumeratingMethods_ = false;
  methodNames_.clear();
  return WBEM_S_NO_ERROR;
}

HRESULT CimObject::GetMethodOrigin(LPCWSTR wszMethodName, BSTR* pstrClassName) {
  if (wszMethodName == nullptr || pstrClassName == nullptr) return WBEM_E_INVALID_PARAMETER;
  ClassPtr def = definition();
  const MethodDef* m = def->findMethod(wszMethodName);
  if (m == nullptr) return WBEM_E_NOT_FOUND;
  *pstrClassName = allocBstr(m->origin);
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
