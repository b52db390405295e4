// The value types that variants and arrays hold, and how one value is copied
// into a slot: the copy rules shared by VARIANT and SAFEARRAY.
#ifndef OM_PLATFORM_COM_ELEMENTS_H_
#define OM_PLATFORM_COM_ELEMENTS_H_

#include <cstddef>

#include <oleauto.h>

namespace om::com {

// True for the fixed-size value types copied bit for bit (VT_I1 ... VT_DATE).
bool isScalar(VARTYPE vt);

// Size of one array element of type `vt`: a scalar, VT_BSTR, VT_UNKNOWN or
// VT_VARIANT; 0 for any other type.
size_t elementSize(VARTYPE vt);

// True when `vt` is a type a VARIANT may hold (see oleauto.h).
bool isVariantType(VARTYPE vt);

// Copies the value at `value` into `slot`, both of element type `vt`: a BSTR
// is duplicated with its length, an interface AddRef'd, a VARIANT deep-copied.
// The slot's previous contents are freed after the copy succeeded; on failure
// the slot is unchanged.
HRESULT assignElement(VARTYPE vt, void* slot, const void* value);

// Frees what `count` elements of type `vt` at `first` own, and zeroes them.
void clearElements(VARTYPE vt, void* first, size_t count);

}  // namespace om::com

#endif  // OM_PLATFORM_COM_ELEMENTS_H_
