// Automation functions: BSTR allocation, VARIANT and SAFEARRAY handling, and
// the per-thread error object.
//
// The BSTR functions live in om_win, so that the helper library's tstring can
// convert to and from BSTRs without the COM run time; the others live in
// om_com.
#ifndef OM_PLATFORM_OLEAUTO_H_
#define OM_PLATFORM_OLEAUTO_H_

#include <oaidl.h>
#include <objbase.h>

// ---- BSTR ------------------------------------------------------------------------

// A new BSTR holding `psz` up to its NUL; null for a null `psz`.
BSTR SysAllocString(const OLECHAR* psz);
// A new BSTR of `ui` characters copied from `strIn` (NULs included), or
// zero-filled when `strIn` is null. Null when out of memory.
BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
// A new BSTR of `len` bytes copied from `psz` (or zero-filled), followed by a
// NUL character.
BSTR SysAllocStringByteLen(LPCSTR psz, UINT len);
// Replace *pbstr with a new BSTR of `psz` (or of `len` characters of it);
// `psz` may point into *pbstr. FALSE, and *pbstr unchanged, when out of memory.
INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz);
INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len);
// Null is allowed.
void SysFreeString(BSTR bstrString);
// Length in characters (SysStringLen) or bytes (SysStringByteLen) as stored in
// the prefix, embedded NULs included; 0 for null.
UINT SysStringLen(BSTR pbstr);
UINT SysStringByteLen(BSTR bstr);

// ---- VARIANT ------------------------------------------------------------------------

// Supported types: VT_EMPTY, VT_NULL, VT_I1, VT_I2, VT_I4, VT_I8, VT_UI1,
// VT_UI2, VT_UI4, VT_UI8, VT_INT, VT_UINT, VT_R4, VT_R8, VT_CY, VT_DATE,
// VT_ERROR, VT_BOOL, VT_BSTR, VT_UNKNOWN, VT_ARRAY of any of the element types
// of SafeArrayCreate, and VT_BYREF of any of them (not owned). Others are
// DISP_E_BADVARTYPE.

void VariantInit(VARIANTARG* pvarg);
// Frees what the variant owns (BSTR, interface reference, array) and leaves it
// VT_EMPTY. DISP_E_ARRAYISLOCKED, with the variant unchanged, for a locked array.
HRESULT VariantClear(VARIANTARG* pvarg);
// Deep copy: a new BSTR, one more interface reference, a copied array.
// pvargDest is cleared first; on failure it is left as it was.
HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc);

#define VARIANT_NOVALUEPROP 0x01
#define VARIANT_ALPHABOOL 0x02
#define VARIANT_NOUSEROVERRIDE 0x04
#define VARIANT_LOCALBOOL 0x10

// Converts between VT_EMPTY, the integer types, VT_R4, VT_R8, VT_BOOL and
// VT_BSTR (decimal text; "True"/"False" read case-insensitively, and written
// with VARIANT_ALPHABOOL, else -1/0). Same-type conversion copies, so every
// type converts to itself. VT_NULL converts only to VT_NULL or VT_EMPTY.
// Reals are rounded half to even. DISP_E_OVERFLOW when the value does not
// fit, DISP_E_TYPEMISMATCH otherwise. pvargDest may equal pvarSrc.
HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags,
                          VARTYPE vt);

// ---- SAFEARRAY ------------------------------------------------------------------------

// Arrays have one dimension. Element types: VT_I1, VT_I2, VT_I4, VT_I8,
// VT_UI1, VT_UI2, VT_UI4, VT_UI8, VT_INT, VT_UINT, VT_R4, VT_R8, VT_CY,
// VT_DATE, VT_ERROR, VT_BOOL, VT_BSTR, VT_UNKNOWN and VT_VARIANT.

// Null for an unsupported type, cDims other than 1, or no memory.
SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
// Frees the elements and the array. DISP_E_ARRAYISLOCKED while locked.
HRESULT SafeArrayDestroy(SAFEARRAY* psa);
// Copies *pv into the element: VT_BSTR takes a BSTR (duplicated, length kept),
// VT_UNKNOWN an IUnknown* (AddRef'd), VT_VARIANT a VARIANT* (VariantCopy), the
// others a pointer to the value. The element's previous contents are freed.
// DISP_E_BADINDEX outside the bounds.
HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
// Copies the element out to *pv: a new BSTR, an AddRef'd IUnknown*, a copied
// VARIANT (pv need not be initialised), or the value.
HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
UINT SafeArrayGetDim(SAFEARRAY* psa);
UINT SafeArrayGetElemsize(SAFEARRAY* psa);
HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);
// New bounds: elements past the new end are freed, new ones are zeroed.
// DISP_E_ARRAYISLOCKED while locked.
HRESULT SafeArrayRedim(SAFEARRAY* psa, SAFEARRAYBOUND* psaboundNew);
// Locks are counted; a locked array cannot be destroyed or resized.
// SafeArrayUnlock of an unlocked array is E_UNEXPECTED.
HRESULT SafeArrayLock(SAFEARRAY* psa);
HRESULT SafeArrayUnlock(SAFEARRAY* psa);
// Locks the array and gives its element storage.
HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
HRESULT SafeArrayUnaccessData(SAFEARRAY* psa);
// Deep copy (BSTRs duplicated, interfaces AddRef'd, VARIANTs copied).
HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);

// ---- Error object -------------------------------------------------------------------------

// The error object of the calling thread. SetErrorInfo replaces it (null
// clears it); GetErrorInfo hands it over to the caller and clears the slot,
// returning S_FALSE and null when there is none. An object left in the slot is
// released when the thread ends.
HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);
// A general-purpose error object, filled through ICreateErrorInfo and read
// through IErrorInfo.
HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo);

#endif  // OM_PLATFORM_OLEAUTO_H_
