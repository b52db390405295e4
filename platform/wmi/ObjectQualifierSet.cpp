#include "ObjectQualifierSet.h"

#include <utility>

#include "Text.h"

namespace om::wmi {

namespace {

// Qualifier values are booleans, 32-bit integers, reals, strings or arrays
// of one of them.
bool isQualifierType(VARTYPE vt) {
  const VARTYPE base = vt & ~VT_ARRAY;
  return (vt & VT_BYREF) == 0 && (base == VT_BOOL || base == VT_I4 || base == VT_R8 || base == VT_BSTR);
}

}  // namespace

ObjectQualifierSet::ObjectQualifierSet(CimObject* owner, Target target, std::u16string name)
    : ownerRef_(owner), owner_(owner), target_(target), name_(std::move(name)) {}

HRESULT ObjectQualifierSet::read(QualifierList* out) const { return owner_->readQualifiers(target_, name_, out); }

HRESULT ObjectQualifierSet::Get(LPCWSTR wszName, long, VARIANT* pVal, long* plFlavor) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  QualifierList list;
  const HRESULT hr = read(&list);
  if (FAILED(hr)) return hr;
  const Qualifier* q = list.find(wszName);
  if (q == nullptr) return WBEM_E_NOT_FOUND;
  if (pVal != nullptr) {
    VariantInit(pVal);
    if (FAILED(VariantCopy(pVal, &q->value))) return WBEM_E_OUT_OF_MEMORY;
  }
  if (plFlavor != nullptr) *plFlavor = q->flavor;
  return WBEM_S_NO_ERROR;
}

HRESULT ObjectQualifierSet::Put(LPCWSTR wszName, VARIANT* pVal, long lFlavor) {
  if (wszName == nullptr || pVal == nullptr || *wszName == u'\0') return WBEM_E_INVALID_PARAMETER;
  if (!isQualifierType(pVal->vt)) return WBEM_E_INVALID_QUALIFIER_TYPE;
  if ((lFlavor & ~(WBEM_FLAVOR_MASK_PROPAGATION | WBEM_FLAVOR_NOT_OVERRIDABLE | WBEM_FLAVOR_AMENDED)) != 0) {
    return WBEM_E_INVALID_FLAVOR;
  }
  const std::u16string name(wszName);
  const CComVariant value(*pVal);
  return owner_->editQualifiers(target_, name_, [&](QualifierList& list) {
    list.set(name, value, lFlavor);
    return WBEM_S_NO_ERROR;
  });
}

HRESULT ObjectQualifierSet::Delete(LPCWSTR wszName) {
  if (wszName == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string name(wszName);
  return owner_->editQualifiers(target_, name_, [&](QualifierList& list) {
    return list.remove(name) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND;
  });
}

std::vector<std::u16string> ObjectQualifierSet::names(long flags) const {
  std::vector<std::u16string> out;
  QualifierList list;
  if (FAILED(read(&list))) return out;
  for (const Qualifier& q : list.items()) {
    const bool propagated = (q.flavor & WBEM_FLAVOR_MASK_ORIGIN) == WBEM_FLAVOR_ORIGIN_PROPAGATED;
    if ((flags == WBEM_FLAG_LOCAL_ONLY && propagated) || (flags == WBEM_FLAG_PROPAGATED_ONLY && !propagated)) continue;
    out.push_back(q.name);
  }
  return out;
}

HRESULT ObjectQualifierSet::GetNames(long lFlags, SAFEARRAY** pNames) {
  if (pNames == nullptr) return WBEM_E_INVALID_PARAMETER;
  if (lFlags != 0 && lFlags != WBEM_FLAG_LOCAL_ONLY && lFlags != WBEM_FLAG_PROPAGATED_ONLY) {
    return WBEM_E_INVALID_PARAMETER;
  }
  SAFEARRAY* array = stringArray(names(lFlags));
  if (array == nullptr) return WBEM_E_OUT_OF_MEMORY;
  *pNames = array;
  return WBEM_S_NO_ERROR;
}

HRESULT ObjectQualifierSet::BeginEnumeration(long lFlags) {
  if (lFlags != 0 && lFlags != WBEM_FLAG_LOCAL_ONLY && lFlags != WBEM_FLAG_PROPAGATED_ONLY) {
    return WBEM_E_INVALID_PARAMETER;
  }
  enumNames_ = names(lFlags);
  enumNext_ = 0;
  enumerating_ = true;
  return WBEM_S_NO_ERROR;
}

HRESULT ObjectQualifierSet::Next(long, BSTR* pstrName, VARIANT* pVal, long* plFlavor) {
  if (!enumerating_) return WBEM_E_UNEXPECTED;
  if (enumNext_ >= enumNames_.size()) return WBEM_S_NO_MORE_DATA;
  const std::u16string& name = enumNames_[enumNext_++];
  const HRESULT hr = Get(name.c_str(), 0, pVal, plFlavor);
  if (FAILED(hr)) return hr;
  if (pstrName != nullptr) *pstrName = allocBstr(name);
  return WBEM_S_NO_ERROR;
}

HRESULT ObjectQualifierSet::EndEnumeration() {
  enumerating_ = false;
  enumNames_.clear();
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
