// One-dimensional SAFEARRAYs. The descriptor is allocated with a small header
// that keeps the element type (as Windows keeps it just before the
// descriptor); element storage is a separate block.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <oleauto.h>

#include "Elements.h"

namespace {

struct ArrayBlock {
  ULONG reserved;
  ULONG vt;  // directly before the descriptor
  SAFEARRAY array;
};

ArrayBlock* blockOf(SAFEARRAY* psa) {
  return reinterpret_cast<ArrayBlock*>(reinterpret_cast<char*>(psa) - offsetof(ArrayBlock, array));
}

VARTYPE typeOf(SAFEARRAY* psa) { return static_cast<VARTYPE>(blockOf(psa)->vt); }

USHORT featuresOf(VARTYPE vt) {
  switch (vt) {
    case VT_BSTR:
      return FADF_HAVEVARTYPE | FADF_BSTR;
    case VT_UNKNOWN:
      return FADF_HAVEVARTYPE | FADF_UNKNOWN;
    case VT_VARIANT:
      return FADF_HAVEVARTYPE | FADF_VARIANT;
    default:
      return FADF_HAVEVARTYPE;
  }
}

// Element storage for `count` elements of `size` bytes, zeroed; null for none.
bool allocateData(size_t count, size_t size, void** data) {
  *data = nullptr;
  if (count == 0) return true;
  if (count > std::numeric_limits<size_t>::max() / size) return false;
  *data = std::calloc(count, size);
  return *data != nullptr;
}

// The element at index rgIndices[0], or DISP_E_BADINDEX.
HRESULT elementAt(SAFEARRAY* psa, const LONG* rgIndices, void** element) {
  if (psa == nullptr || rgIndices == nullptr) return E_INVALIDARG;
  const int64_t offset = static_cast<int64_t>(rgIndices[0]) - psa->rgsabound[0].lLbound;
  if (offset < 0 || offset >= static_cast<int64_t>(psa->rgsabound[0].cElements)) return DISP_E_BADINDEX;
  *element = static_cast<unsigned char*>(psa->pvData) + static_cast<size_t>(offset) * psa->cbElements;
  return S_OK;
}

HRESULT checkDimension(SAFEARRAY* psa, UINT nDim) {
  if (psa == nullptr) return E_INVALIDARG;
  return nDim == 1 ? S_OK : DISP_E_BADINDEX;
}

}  // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
  const size_t size = om::com::elementSize(vt);
  if (cDims != 1 || rgsabound == nullptr || size == 0) return nullptr;
  auto* block = static_cast<ArrayBlock*>(std::calloc(1, sizeof(ArrayBlock)));
  if (block == nullptr) return nullptr;
  SAFEARRAY* psa = &block->array;
  if (!allocateData(rgsabound[0].cElements, size, &psa->pvData)) {
    std::free(block);
    return nullptr;
  }
  block->vt = vt;
  psa->cDims = 1;
  psa->fFeatures = featuresOf(vt);
  psa->cbElements = static_cast<ULONG>(size);
  psa->cLocks = 0;
  psa->rgsabound[0] = rgsabound[0];
  return psa;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
  SAFEARRAYBOUND bound = {cElements, lLbound};
  return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
  if (psa == nullptr) return S_OK;
  if (psa->cLocks > 0) return DISP_E_ARRAYISLOCKED;
  om::com::clearElements(typeOf(psa), psa->pvData, psa->rgsabound[0].cElements);
  std::free(psa->pvData);
  std::free(blockOf(psa));
  return S_OK;
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
  void* element = nullptr;
  HRESULT hr = elementAt(psa, rgIndices, &element);
  if (FAILED(hr)) return hr;
  const VARTYPE vt = typeOf(psa);
  // A BSTR or an interface pointer is passed as itself, other types by address.
  const bool byValue = vt == VT_BSTR || vt == VT_UNKNOWN;
  if (pv == nullptr && !byValue) return E_INVALIDARG;
  SafeArrayLock(psa);
  hr = om::com::assignElement(vt, element, byValue ? static_cast<const void*>(&pv) : pv);
  SafeArrayUnlock(psa);
  return hr;
}

HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
  void* element = nullptr;
  HRESULT hr = elementAt(psa, rgIndices, &element);
  if (FAILED(hr)) return hr;
  if (pv == nullptr) return E_INVALIDARG;
  const VARTYPE vt = typeOf(psa);
  std::memset(pv, 0, psa->cbElements);  // an empty slot: nothing to free
  SafeArrayLock(psa);
  hr = om::com::assignElement(vt, pv, element);
  SafeArrayUnlock(psa);
  return hr;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
  const HRESULT hr = checkDimension(psa, nDim);
  if (FAILED(hr)) return hr;
  if (plLbound == nullptr) return E_INVALIDARG;
  *plLbound = psa->rgsabound[0].lLbound;
  return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
  const HRESULT hr = checkDimension(psa, nDim);
  if (FAILED(hr)) return hr;
  if (plUbound == nullptr) return E_INVALIDARG;
  const int64_t upper = static_cast<int64_t>(psa->rgsabound[0].lLbound) + psa->rgsabound[0].cElements - 1;
  *plUbound = static_cast<LONG>(upper);
  return S_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* psa) { return psa == nullptr ? 0 : psa->cDims; }

UINT SafeArrayGetElemsize(SAFEARRAY* psa) { return psa == nullptr ? 0 : psa->cbElements; }

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
  if (psa == nullptr || pvt == nullptr) return E_INVALIDARG;
  *pvt = typeOf(psa);
  return S_OK;
}

HRESULT SafeArrayRedim(SAFEARRAY* psa, SAFEARRAYBOUND* psaboundNew) {
  if (psa == nullptr || psaboundNew == nullptr) return E_INVALIDARG;
  if (psa->cLocks > 0) return DISP_E_ARRAYISLOCKED;
  const size_t oldCount = psa->rgsabound[0].cElements;
  const size_t newCount = psaboundNew->cElements;
  const size_t size = psa->cbElements;
  auto* data = static_cast<unsigned char*>(psa->pvData);
  if (newCount < oldCount) {
    om::com::clearElements(typeOf(psa), data + newCount * size, oldCount - newCount);
  }
  if (newCount == 0) {
    std::free(data);
    data = nullptr;
  } else if (newCount != oldCount) {
    if (newCount > std::numeric_limits<size_t>::max() / size) return E_OUTOFMEMORY;
    auto* resized = static_cast<unsigned char*>(std::realloc(data, newCount * size));
    if (resized == nullptr) {
      if (newCount > oldCount) return E_OUTOFMEMORY;
      resized = data;  // a shrink that could not move keeps the larger block
    }
    data = resized;
    if (newCount > oldCount) std::memset(data + oldCount * size, 0, (newCount - oldCount) * size);
  }
  psa->pvData = data;
  psa->rgsabound[0] = *psaboundNew;
  return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* psa) {
  if (psa == nullptr) return E_INVALIDARG;
  if (psa->cLocks >= 0xFFFF) return E_UNEXPECTED;
  ++psa->cLocks;
  return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* psa) {
  if (psa == nullptr) return E_INVALIDARG;
  if (psa->cLocks == 0) return E_UNEXPECTED;
  --psa->cLocks;
  return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
  if (psa == nullptr || ppvData == nullptr) return E_INVALIDARG;
  const HRESULT hr = SafeArrayLock(psa);
  if (FAILED(hr)) return hr;
  *ppvData = psa->pvData;
  return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) { return SafeArrayUnlock(psa); }

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
  if (ppsaOut == nullptr) return E_INVALIDARG;
  *ppsaOut = nullptr;
  if (psa == nullptr) return S_OK;
  const VARTYPE vt = typeOf(psa);
  SAFEARRAY* copy = SafeArrayCreate(vt, 1, psa->rgsabound);
  if (copy == nullptr) return E_OUTOFMEMORY;
  const auto* from = static_cast<const unsigned char*>(psa->pvData);
  auto* to = static_cast<unsigned char*>(copy->pvData);
  for (size_t i = 0; i < psa->rgsabound[0].cElements; ++i) {
    const size_t at = i * psa->cbElements;
    const HRESULT hr = om::com::assignElement(vt, to + at, from + at);
    if (FAILED(hr)) {
      SafeArrayDestroy(copy);
      return hr;
    }
  }
  *ppsaOut = copy;
  return S_OK;
}
