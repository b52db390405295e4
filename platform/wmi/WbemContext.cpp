#include "WbemContext.h"

#include <new>

#include "Text.h"

namespace om::wmi {

std::vector<WbemContext::Entry>::iterator WbemContext::find(LPCWSTR name) {
  for (auto it = entries_.begin(); it != entries_.end(); ++it) {
    if (equalsNoCase(it->name, name)) return it;
  }
  return entries_.end();
}

HRESULT WbemContext::Clone(IWbemContext** ppNewCopy) {
  if (ppNewCopy == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppNewCopy = nullptr;
  auto* copy = new (std::nothrow) WbemContext;
  if (copy == nullptr) return WBEM_E_OUT_OF_MEMORY;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    copy->entries_ = entries_;
  }
  *ppNewCopy = copy;
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::GetNames(long lFlags, SAFEARRAY** pNames) {
  if (lFlags != 0 || pNames == nullptr) return WBEM_E_INVALID_PARAMETER;
  std::lock_guard<std::mutex> lock(mutex_);
  *pNames = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(entries_.size()));
  if (*pNames == nullptr) return WBEM_E_OUT_OF_MEMORY;
  for (LONG i = 0; i < static_cast<LONG>(entries_.size()); ++i) {
    CComBSTR name(entries_[i].name.c_str());
    SafeArrayPutElement(*pNames, &i, name.m_str);
  }
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::BeginEnumeration(long lFlags) {
  if (lFlags != 0) return WBEM_E_INVALID_PARAMETER;
  std::lock_guard<std::mutex> lock(mutex_);
  enumerating_ = true;
  cursor_ = 0;
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::Next(long lFlags, BSTR* pstrName, VARIANT* pValue) {
  if (lFlags != 0) return WBEM_E_INVALID_PARAMETER;
  std::lock_guard<std::mutex> lock(mutex_);
  if (!enumerating_) return WBEM_E_UNEXPECTED;
  if (cursor_ >= entries_.size()) return WBEM_S_NO_MORE_DATA;
  const Entry& entry = entries_[cursor_];
  if (pValue != nullptr) {
    VariantInit(pValue);
    const HRESULT hr = VariantCopy(pValue, &entry.value);
    if (FAILED(hr)) return hr;
  }
  if (pstrName != nullptr) *pstrName = SysAllocString(entry.name.c_str());
  ++cursor_;
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::EndEnumeration() {
  std::lock_guard<std::mutex> lock(mutex_);
  enumerating_ = false;
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::SetValue(LPCWSTR wszName, long lFlags, VARIANT* pValue) {
  if (wszName == nullptr || *wszName == 0 || lFlags != 0 || pValue == nullptr) return WBEM_E_INVALID_PARAMETER;
  CComVariant copy;
  const HRESULT hr = copy.Copy(pValue);
  if (FAILED(hr)) return WBEM_E_INVALID_PARAMETER;
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = find(wszName);
  if (it == entries_.end()) {
    entries_.push_back(Entry{wszName, CComVariant()});
    it = entries_.end() - 1;
  }
  it->value = std::move(copy);
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::GetValue(LPCWSTR wszName, long lFlags, VARIANT* pValue) {
  if (wszName == nullptr || lFlags != 0 || pValue == nullptr) return WBEM_E_INVALID_PARAMETER;
  VariantInit(pValue);
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = find(wszName);
  if (it == entries_.end()) return WBEM_E_NOT_FOUND;
  return VariantCopy(pValue, &it->value);
}

HRESULT WbemContext::DeleteValue(LPCWSTR wszName, long lFlags) {
  if (wszName == nullptr || lFlags != 0) return WBEM_E_INVALID_PARAMETER;
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = find(wszName);
  if (it == entries_.end()) return WBEM_E_NOT_FOUND;
  // Keep an enumeration in step: values before the cursor move down by one.
  if (static_cast<std::size_t>(it - entries_.begin()) < cursor_) --cursor_;
  entries_.erase(it);
  return WBEM_S_NO_ERROR;
}

HRESULT WbemContext::DeleteAll() {
  std::lock_guard<std::mutex> lock(mutex_);
  entries_.clear();
  cursor_ = 0;
  return WBEM_S_NO_ERROR;
}

}  // namespace om::wmi
