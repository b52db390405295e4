// VARIANT life cycle: initialise, clear (freeing what it owns) and deep copy.
#include <cstring>

#include <oleauto.h>

#include "Elements.h"

void VariantInit(VARIANTARG* pvarg) { std::memset(pvarg, 0, sizeof *pvarg); }

HRESULT VariantClear(VARIANTARG* pvarg) {
  if (pvarg == nullptr) return E_INVALIDARG;
  const VARTYPE vt = pvarg->vt;
  if (!om::com::isVariantType(vt)) return DISP_E_BADVARTYPE;
  if ((vt & VT_BYREF) == 0) {
    if ((vt & VT_ARRAY) != 0) {
      const HRESULT hr = SafeArrayDestroy(pvarg->parray);
      if (FAILED(hr)) return hr;
    } else if (vt == VT_BSTR || vt == VT_UNKNOWN) {
      om::com::clearElements(vt, &pvarg->byref, 1);
    }
  }
  VariantInit(pvarg);
  return S_OK;
}

HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc) {
  if (pvargDest == nullptr || pvargSrc == nullptr) return E_INVALIDARG;
  if (pvargDest == pvargSrc) return S_OK;
  const VARTYPE vt = pvargSrc->vt;
  if (!om::com::isVariantType(vt)) return DISP_E_BADVARTYPE;
  VARIANT copy = *pvargSrc;
  HRESULT hr = S_OK;
  if ((vt & VT_BYREF) == 0) {
    if ((vt & VT_ARRAY) != 0) {
      hr = SafeArrayCopy(pvargSrc->parray, &copy.parray);
    } else if (vt == VT_BSTR || vt == VT_UNKNOWN) {
      copy.byref = nullptr;
      hr = om::com::assignElement(vt, &copy.byref, &pvargSrc->byref);
    }
  }
  if (FAILED(hr)) return hr;
  hr = VariantClear(pvargDest);
  if (FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *pvargDest = copy;
  return S_OK;
}
