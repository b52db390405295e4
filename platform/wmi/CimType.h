// CIM types: their MOF names, the VARIANT type each travels in (as WMI
// gives it to automation callers), and the conversion of a caller's VARIANT
// into the stored form of a property's type.
#ifndef OM_PLATFORM_WMI_CIMTYPE_H_
#define OM_PLATFORM_WMI_CIMTYPE_H_

#include <string>
#include <string_view>

#include <wbemcli.h>

namespace om::wmi {

inline bool isArrayType(CIMTYPE type) { return (type & CIM_FLAG_ARRAY) != 0; }
inline CIMTYPE baseType(CIMTYPE type) { return type & ~CIM_FLAG_ARRAY; }

// True for the scalar types a property may have (CIM_SINT8 ... CIM_OBJECT).
bool isValidBaseType(CIMTYPE type);
// True for the signed and unsigned integer types, 8 to 64 bits.
bool isIntegerType(CIMTYPE type);

// The MOF keyword of a base type: "sint32", "string", "datetime", "object",
// "ref" (CIM_REFERENCE), ...; empty for an unknown type.
std::u16string_view cimTypeKeyword(CIMTYPE type);
// The base type of a MOF keyword (case-insensitive); CIM_ILLEGAL when none.
CIMTYPE cimTypeFromKeyword(std::u16string_view keyword);

// The text of the CIMTYPE qualifier WMI puts on properties and parameters:
// "sint32", "string", "object:NetworkObject", "ref:Subnet", "object" (any
// class); arrays have the text of their element type.
std::u16string cimTypeQualifierText(CIMTYPE type, std::u16string_view className);

// The VARIANT type of a value of `type`: VT_I4 for sint32, uint16 and uint32,
// VT_I2 for sint8, sint16 and char16, VT_UI1 for uint8, VT_BSTR for 64-bit
// integers, strings, datetimes and references, VT_R4/VT_R8, VT_BOOL,
// VT_UNKNOWN for objects; VT_ARRAY | that for arrays.
VARTYPE variantTypeOf(CIMTYPE type);

// The CIM type WMI infers for a new class property from a VARIANT when the
// caller gives none; CIM_ILLEGAL when the VARIANT type has no CIM type.
CIMTYPE cimTypeOfVariant(VARTYPE vt);

// True for a DMTF datetime ("yyyymmddHHMMSS.mmmmmmsUUU", sign + or -, or an
// interval "ddddddddHHMMSS.mmmmmm:000"); digits may be '*' wildcards.
bool isDatetimeText(std::u16string_view text);

// Converts `in` into the stored form of `type` (the VARIANT type
// variantTypeOf gives) and writes it to `out`, which is cleared first.
// VT_EMPTY and VT_NULL give VT_NULL. Numbers, booleans and decimal text
// convert between each other when the value fits the type; uint32 accepts
// negative VT_I4 values as the bit pattern WMI itself returns; strings take
// only VT_BSTR; datetimes a datetime text; references an object path;
// objects an IWbemClassObject of this object manager whose class is
// `objectClass` or derives from it (any class when `objectClass` is empty),
// stored as an independent copy. Arrays take a SAFEARRAY of any convertible
// element type (VT_VARIANT included) and no scalar. Anything else is
// WBEM_E_TYPE_MISMATCH and leaves `out` VT_EMPTY.
HRESULT coerceValue(const VARIANT& in, CIMTYPE type, std::u16string_view objectClass, VARIANT* out);

// Element `index` of a one-dimensional array of `vt` (a scalar type,
// VT_BSTR, VT_UNKNOWN or VT_VARIANT) as a VARIANT, which is cleared first. A
// null interface element comes out as VT_NULL.
HRESULT arrayElement(SAFEARRAY* array, VARTYPE vt, LONG index, VARIANT* element);

// A deep copy of a stored value: embedded objects are cloned, so that the
// copy shares nothing with the original.
HRESULT copyValue(const VARIANT& in, VARIANT* out);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CIMTYPE_H_
