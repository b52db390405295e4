#include <atlcomcli.h>

#include <cstring>
#include <utility>
#include <string>
#include <string_view>

#include <om/codepage.h>

#include "Elements.h"

namespace {

void setError(VARIANT* v, HRESULT hr) {
  v->vt = VT_ERROR;
  v->scode = hr;
}

void setText(VARIANT* v, std::u16string_view text) {
  v->vt = VT_BSTR;
  v->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (v->bstrVal == nullptr) setError(v, E_OUTOFMEMORY);
}

std::u16string_view textOf(BSTR text) { return std::u16string_view(text, SysStringLen(text)); }

}  // namespace

CComVariant::CComVariant(const VARIANT& varSrc) {
  VariantInit(this);
  const HRESULT hr = VariantCopy(this, &varSrc);
  if (FAILED(hr)) setError(this, hr);
}

CComVariant::CComVariant(CComVariant&& varSrc) noexcept : tagVARIANT(varSrc) { VariantInit(&varSrc); }

CComVariant::CComVariant(LPCOLESTR lpszSrc) {
  VariantInit(this);
  if (lpszSrc == nullptr) {
    vt = VT_BSTR;  // a null BSTR: the empty string
  } else {
    setText(this, lpszSrc);
  }
}

CComVariant::CComVariant(LPCSTR lpszSrc) {
  VariantInit(this);
  if (lpszSrc == nullptr) {
    vt = VT_BSTR;
  } else {
    setText(this, om::cp932ToUtf16(lpszSrc));
  }
}

CComVariant::CComVariant(bool bSrc) noexcept {
  VariantInit(this);
  vt = VT_BOOL;
  boolVal = bSrc ? VARIANT_TRUE : VARIANT_FALSE;
}

CComVariant::CComVariant(int nSrc, VARTYPE vtSrc) noexcept {
  VariantInit(this);
  if (vtSrc != VT_I4 && vtSrc != VT_INT) {
    setError(this, E_INVALIDARG);
    return;
  }
  vt = vtSrc;
  lVal = nSrc;
}

CComVariant::CComVariant(long nSrc, VARTYPE vtSrc) noexcept {
  VariantInit(this);
  if (vtSrc != VT_I4 && vtSrc != VT_ERROR) {
    setError(this, E_INVALIDARG);
    return;
  }
  if (vtSrc == VT_I4 && !std::in_range<LONG>(nSrc)) {
    vt = VT_I8;  // only a 64-bit long holds this: keep it whole
    llVal = nSrc;
    return;
  }
  vt = vtSrc;
  lVal = static_cast<LONG>(nSrc);
}

CComVariant::CComVariant(long long nSrc) noexcept {
  VariantInit(this);
  vt = VT_I8;
  llVal = nSrc;
}

CComVariant::CComVariant(BYTE nSrc) noexcept {
  VariantInit(this);
  vt = VT_UI1;
  bVal = nSrc;
}

CComVariant::CComVariant(char cSrc) noexcept {
  VariantInit(this);
  vt = VT_I1;
  cVal = cSrc;
}

CComVariant::CComVariant(short nSrc) noexcept {
  VariantInit(this);
  vt = VT_I2;
  iVal = nSrc;
}

CComVariant::CComVariant(unsigned short nSrc) noexcept {
  VariantInit(this);
  vt = VT_UI2;
  uiVal = nSrc;
}

CComVariant::CComVariant(unsigned int nSrc, VARTYPE vtSrc) noexcept {
  VariantInit(this);
  if (vtSrc != VT_UI4 && vtSrc != VT_UINT) {
    setError(this, E_INVALIDARG);
    return;
  }
  vt = vtSrc;
  ulVal = nSrc;
}

CComVariant::CComVariant(unsigned long nSrc) noexcept {
  VariantInit(this);
  if (!std::in_range<ULONG>(nSrc)) {
    vt = VT_UI8;  // only a 64-bit unsigned long holds this: keep it whole
    ullVal = nSrc;
    return;
  }
  vt = VT_UI4;
  ulVal = static_cast<ULONG>(nSrc);
}

CComVariant::CComVariant(unsigned long long nSrc) noexcept {
  VariantInit(this);
  vt = VT_UI8;
  ullVal = nSrc;
}

CComVariant::CComVariant(float fltSrc) noexcept {
  VariantInit(this);
  vt = VT_R4;
  fltVal = fltSrc;
}

CComVariant::CComVariant(double dblSrc, VARTYPE vtSrc) noexcept {
  VariantInit(this);
  if (vtSrc != VT_R8 && vtSrc != VT_DATE) {
    setError(this, E_INVALIDARG);
    return;
  }
  vt = vtSrc;
  dblVal = dblSrc;
}

CComVariant::CComVariant(IUnknown* pSrc) noexcept {
  VariantInit(this);
  vt = VT_UNKNOWN;
  punkVal = pSrc;
  if (punkVal != nullptr) punkVal->AddRef();
}

CComVariant::CComVariant(const SAFEARRAY* pSrc) {
  VariantInit(this);
  SAFEARRAY* source = const_cast<SAFEARRAY*>(pSrc);
  VARTYPE elementType;
  HRESULT hr = pSrc == nullptr ? E_INVALIDARG : SafeArrayGetVartype(source, &elementType);
  if (SUCCEEDED(hr)) hr = SafeArrayCopy(source, &parray);
  if (FAILED(hr)) {
    setError(this, hr);
    return;
  }
  vt = VT_ARRAY | elementType;
}

CComVariant& CComVariant::operator=(const CComVariant& varSrc) {
  return *this = static_cast<const VARIANT&>(varSrc);
}

CComVariant& CComVariant::operator=(const VARIANT& varSrc) {
  if (this != &varSrc) *this = CComVariant(varSrc);
  return *this;
}

CComVariant& CComVariant::operator=(CComVariant&& varSrc) noexcept {
  if (this != &varSrc) {
    Clear();
    static_cast<VARIANT&>(*this) = varSrc;
    VariantInit(&varSrc);
  }
  return *this;
}

bool CComVariant::operator==(const VARIANT& other) const noexcept {
  if (vt != other.vt) return false;
  if ((vt & (VT_ARRAY | VT_BYREF)) != 0) return byref == other.byref;
  switch (vt) {
    case VT_EMPTY:
    case VT_NULL:
      return true;
    case VT_BSTR:
      return textOf(bstrVal) == textOf(other.bstrVal);
    case VT_UNKNOWN:
      return punkVal == other.punkVal;
    case VT_R4:
      return fltVal == other.fltVal;
    case VT_R8:
    case VT_DATE:
      return dblVal == other.dblVal;
    default:
      return om::com::isScalar(vt) && std::memcmp(&llVal, &other.llVal, om::com::elementSize(vt)) == 0;
  }
}

HRESULT CComVariant::Attach(VARIANT* pSrc) {
  if (pSrc == nullptr) return E_INVALIDARG;
  const HRESULT hr = Clear();
  if (FAILED(hr)) return hr;
  static_cast<VARIANT&>(*this) = *pSrc;
  pSrc->vt = VT_EMPTY;
  return S_OK;
}

HRESULT CComVariant::Detach(VARIANT* pDest) {
  if (pDest == nullptr) return E_POINTER;
  const HRESULT hr = VariantClear(pDest);
  if (FAILED(hr)) return hr;
  *pDest = *this;
  vt = VT_EMPTY;
  return S_OK;
}

HRESULT CComVariant::ChangeType(VARTYPE vtNew, const VARIANT* pSrc) {
  return VariantChangeType(this, pSrc == nullptr ? this : pSrc, 0, vtNew);
}
