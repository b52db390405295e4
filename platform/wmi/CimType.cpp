#include "CimType.h"

#include <cstdint>
#include <string>

#include <atlcomcli.h>

#include "CimObject.h"
#include "ObjectPath.h"
#include "Text.h"

namespace om::wmi {

namespace {

struct TypeInfo {
  CIMTYPE type;
  const char16_t* keyword;
  VARTYPE vt;
};

constexpr TypeInfo kTypes[] = {
    {CIM_SINT8, u"sint8", VT_I2},         {CIM_UINT8, u"uint8", VT_UI1},
    {CIM_SINT16, u"sint16", VT_I2},       {CIM_UINT16, u"uint16", VT_I4},
    {CIM_SINT32, u"sint32", VT_I4},       {CIM_UINT32, u"uint32", VT_I4},
    {CIM_SINT64, u"sint64", VT_BSTR},     {CIM_UINT64, u"uint64", VT_BSTR},
    {CIM_REAL32, u"real32", VT_R4},       {CIM_REAL64, u"real64", VT_R8},
    {CIM_BOOLEAN, u"boolean", VT_BOOL},   {CIM_STRING, u"string", VT_BSTR},
    {CIM_DATETIME, u"datetime", VT_BSTR}, {CIM_REFERENCE, u"ref", VT_BSTR},
    {CIM_CHAR16, u"char16", VT_I2},       {CIM_OBJECT, u"object", VT_UNKNOWN},
};

const TypeInfo* infoOf(CIMTYPE type) {
  for (const TypeInfo& info : kTypes) {
    if (info.type == type) return &info;
  }
  return nullptr;
}

// Converts a number, boolean or decimal text to `vt`, refusing what does not
// fit. Interfaces and arrays never convert.
HRESULT changeType(const VARIANT& in, VARTYPE vt, VARIANT* out) {
  if (in.vt == VT_UNKNOWN || in.vt == VT_DISPATCH || (in.vt & (VT_ARRAY | VT_BYREF)) != 0) {
    return WBEM_E_TYPE_MISMATCH;
  }
  return SUCCEEDED(VariantChangeType(out, &in, 0, vt)) ? S_OK : WBEM_E_TYPE_MISMATCH;
}

bool isSignedIntegerVariant(VARTYPE vt) { return vt == VT_I1 || vt == VT_I2 || vt == VT_I4 || vt == VT_INT; }

HRESULT toDecimalText(const VARIANT& in, VARTYPE via, VARIANT* out) {
  CComVariant number;
  if (FAILED(changeType(in, via, &number))) return WBEM_E_TYPE_MISMATCH;
  const std::string text = via == VT_I8 ? std::to_string(number.llVal) : std::to_string(number.ullVal);
  out->vt = VT_BSTR;
  out->bstrVal = allocBstr(std::u16string(text.begin(), text.end()));
  return out->bstrVal != nullptr ? S_OK : WBEM_E_OUT_OF_MEMORY;
}

HRESULT coerceObject(IUnknown* unknown, std::u16string_view objectClass, VARIANT* out) {
  if (unknown == nullptr) {
    out->vt = VT_NULL;
    return S_OK;
  }
  CComPtr<IWbemClassObject> object;
  if (FAILED(unknown->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&object)))) {
    return WBEM_E_TYPE_MISMATCH;
  }
  CimObject* cim = CimObject::from(object);
  if (cim == nullptr) return WBEM_E_TYPE_MISMATCH;
  if (!objectClass.empty() && !cim->definition()->isA(objectClass)) return WBEM_E_TYPE_MISMATCH;
  IWbemClassObject* copy = nullptr;
  const HRESULT hr = cim->Clone(&copy);
  if (FAILED(hr)) return hr;
  out->vt = VT_UNKNOWN;
  out->punkVal = copy;
  return S_OK;
}

HRESULT coerceScalar(const VARIANT& in, CIMTYPE type, std::u16string_view objectClass, VARIANT* out) {
  if (in.vt == VT_EMPTY || in.vt == VT_NULL) {
    out->vt = VT_NULL;
    return S_OK;
  }
  switch (type) {
    case CIM_STRING:
    case CIM_DATETIME:
    case CIM_REFERENCE: {
      if (in.vt != VT_BSTR) return WBEM_E_TYPE_MISMATCH;
      const std::u16string_view text = bstrView(in.bstrVal);
      if (type == CIM_DATETIME && !isDatetimeText(text)) return WBEM_E_TYPE_MISMATCH;
      ObjectPath path;
      if (type == CIM_REFERENCE && FAILED(parseObjectPath(text, &path))) return WBEM_E_TYPE_MISMATCH;
      return SUCCEEDED(VariantCopy(out, &in)) ? S_OK : WBEM_E_OUT_OF_MEMORY;
    }
    case CIM_OBJECT:
      if (in.vt != VT_UNKNOWN && in.vt != VT_DISPATCH) return WBEM_E_TYPE_MISMATCH;
      return coerceObject(in.punkVal, objectClass, out);
    case CIM_CHAR16: {
      if (in.vt == VT_BSTR && SysStringLen(in.bstrVal) == 1) {
        out->vt = VT_I2;
        out->iVal = static_cast<SHORT>(in.bstrVal[0]);
        return S_OK;
      }
      CComVariant c;
      if (FAILED(changeType(in, VT_UI2, &c))) return WBEM_E_TYPE_MISMATCH;
      out->vt = VT_I2;
      out->iVal = static_cast<SHORT>(c.uiVal);
      return S_OK;
    }
    case CIM_SINT8: {
      CComVariant c;
      if (FAILED(changeType(in, VT_I1, &c))) return WBEM_E_TYPE_MISMATCH;
      out->vt = VT_I2;
      out->iVal = static_cast<signed char>(c.cVal);
      return S_OK;
    }
    case CIM_UINT16: {
      CComVariant c;
      if (FAILED(changeType(in, VT_UI2, &c))) return WBEM_E_TYPE_MISMATCH;
      out->vt = VT_I4;
      out->lVal = c.uiVal;
      return S_OK;
    }
    case CIM_UINT32: {
      // WMI hands uint32 values out as VT_I4, so a negative VT_I4 is the bit
      // pattern of a large value and must be accepted back.
      if (isSignedIntegerVariant(in.vt)) {
        CComVariant c;
        if (FAILED(changeType(in, VT_I4, &c))) return WBEM_E_TYPE_MISMATCH;
        out->vt = VT_I4;
        out->lVal = c.lVal;
        return S_OK;
      }
      CComVariant c;
      if (FAILED(changeType(in, VT_UI4, &c))) return WBEM_E_TYPE_MISMATCH;
      out->vt = VT_I4;
      out->lVal = static_cast<LONG>(c.ulVal);
      return S_OK;
    }
    case CIM_SINT64: return toDecimalText(in, VT_I8, out);
    case CIM_UINT64: return toDecimalText(in, VT_UI8, out);
    case CIM_UINT8:
    case CIM_SINT16:
    case CIM_SINT32:
    case CIM_REAL32:
    case CIM_REAL64:
    case CIM_BOOLEAN: return changeType(in, variantTypeOf(type), out);
    default: return WBEM_E_TYPE_MISMATCH;
  }
}

// The address SafeArrayPutElement takes for a stored value.
void* elementSource(VARIANT& value) {
  if (value.vt == VT_BSTR) return value.bstrVal;
  if (value.vt == VT_UNKNOWN) return value.punkVal;
  return &value.llVal;
}

HRESULT coerceArray(const VARIANT& in, CIMTYPE type, std::u16string_view objectClass, VARIANT* out) {
  if ((in.vt & VT_ARRAY) == 0 || (in.vt & VT_BYREF) != 0 || in.parray == nullptr) return WBEM_E_TYPE_MISMATCH;
  SAFEARRAY* source = in.parray;
  if (SafeArrayGetDim(source) != 1) return WBEM_E_TYPE_MISMATCH;
  const VARTYPE sourceType = in.vt & VT_TYPEMASK;
  const CIMTYPE base = baseType(type);
  const VARTYPE storedType = variantTypeOf(base);
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(source, 1, &lower);
  SafeArrayGetUBound(source, 1, &upper);
  const ULONG count = upper >= lower ? static_cast<ULONG>(upper - lower + 1) : 0;
  SAFEARRAY* result = SafeArrayCreateVector(storedType, 0, count);
  if (result == nullptr) return WBEM_E_OUT_OF_MEMORY;
  for (ULONG i = 0; i < count; ++i) {
    CComVariant element;
    CComVariant stored;
    HRESULT hr = arrayElement(source, sourceType, lower + static_cast<LONG>(i), &element);
    if (SUCCEEDED(hr)) hr = coerceScalar(element, base, objectClass, &stored);
    // Only object arrays may hold null elements (an empty slot).
    if (SUCCEEDED(hr) && stored.vt == VT_NULL && base != CIM_OBJECT) hr = WBEM_E_TYPE_MISMATCH;
    LONG index = static_cast<LONG>(i);
    if (SUCCEEDED(hr) && stored.vt != VT_NULL) hr = SafeArrayPutElement(result, &index, elementSource(stored));
    if (FAILED(hr)) {
      SafeArrayDestroy(result);
      return hr == E_OUTOFMEMORY ? WBEM_E_OUT_OF_MEMORY : WBEM_E_TYPE_MISMATCH;
    }
  }
  out->vt = VT_ARRAY | storedType;
  out->parray = result;
  return S_OK;
}

}  // namespace

bool isValidBaseType(CIMTYPE type) { return infoOf(type) != nullptr; }

bool isIntegerType(CIMTYPE type) {
  switch (type) {
    case CIM_SINT8:
    case CIM_UINT8:
    case CIM_SINT16:
    case CIM_UINT16:
    case CIM_SINT32:
    case CIM_UINT32:
    case CIM_SINT64:
    case CIM_UINT64: return true;
    default: return false;
  }
}

HRESULT arrayElement(SAFEARRAY* array, VARTYPE vt, LONG index, VARIANT* element) {
  VariantClear(element);
  if (vt == VT_VARIANT) return SafeArrayGetElement(array, &index, element);
  element->llVal = 0;
  void* slot = vt == VT_BSTR ? static_cast<void*>(&element->bstrVal)
               : vt == VT_UNKNOWN ? static_cast<void*>(&element->punkVal) : static_cast<void*>(&element->llVal);
  const HRESULT hr = SafeArrayGetElement(array, &index, slot);
  if (FAILED(hr)) return hr;
  element->vt = (vt == VT_UNKNOWN && element->punkVal == nullptr) ? static_cast<VARTYPE>(VT_NULL) : vt;
  return S_OK;
}

std::u16string_view cimTypeKeyword(CIMTYPE type) {
  const TypeInfo* info = infoOf(type);
  return info == nullptr ? std::u16string_view() : info->keyword;
}

CIMTYPE cimTypeFromKeyword(std::u16string_view keyword) {
  for (const TypeInfo& info : kTypes) {
    if (equalsNoCase(keyword, info.keyword)) return info.type;
  }
  return CIM_ILLEGAL;
}

std::u16string cimTypeQualifierText(CIMTYPE type, std::u16string_view className) {
  const CIMTYPE base = baseType(type);
  std::u16string text(cimTypeKeyword(base));
  if ((base == CIM_OBJECT || base == CIM_REFERENCE) && !className.empty()) {
    text += u':';
    text += className;
  }
  return text;
}

VARTYPE variantTypeOf(CIMTYPE type) {
  const TypeInfo* info = infoOf(baseType(type));
  if (info == nullptr) return VT_EMPTY;
  return isArrayType(type) ? static_cast<VARTYPE>(VT_ARRAY | info->vt) : info->vt;
}

CIMTYPE cimTypeOfVariant(VARTYPE vt) {
  const CIMTYPE array = (vt & VT_ARRAY) != 0 ? CIM_FLAG_ARRAY : 0;
  switch (vt & VT_TYPEMASK) {
    case VT_I1: return CIM_SINT8 | array;
    case VT_UI1: return CIM_UINT8 | array;
    case VT_I2: return CIM_SINT16 | array;
    case VT_UI2: return CIM_UINT16 | array;
    case VT_I4:
    case VT_INT: return CIM_SINT32 | array;
    case VT_UI4:
    case VT_UINT: return CIM_UINT32 | array;
    case VT_I8: return CIM_SINT64 | array;
    case VT_UI8: return CIM_UINT64 | array;
    case VT_R4: return CIM_REAL32 | array;
    case VT_R8: return CIM_REAL64 | array;
    case VT_BOOL: return CIM_BOOLEAN | array;
    case VT_BSTR: return CIM_STRING | array;
    case VT_UNKNOWN: return CIM_OBJECT | array;
    default: return CIM_ILLEGAL;
  }
}

bool isDatetimeText(std::u16string_view text) {
  if (text.size() != 25 || text[14] != u'.') return false;
  const auto digitOrStar = [](char16_t c) { return (c >= u'0' && c <= u'9') || c == u'*'; };
  for (size_t i = 0; i < 25; ++i) {
    if (i == 14 || i == 21) continue;
    if (!digitOrStar(text[i])) return false;
  }
  const char16_t sign = text[21];
  if (sign == u':') return text.substr(22) == u"000";
  return sign == u'+' || sign == u'-';
}

HRESULT coerceValue(const VARIANT& in, CIMTYPE type, std::u16string_view objectClass, VARIANT* out) {
  VariantClear(out);
  if (!isValidBaseType(baseType(type))) return WBEM_E_TYPE_MISMATCH;
  HRESULT hr;
  if (in.vt == VT_EMPTY || in.vt == VT_NULL) {
    out->vt = VT_NULL;
    hr = S_OK;
  } else if (isArrayType(type)) {
    hr = coerceArray(in, type, objectClass, out);
  } else if ((in.vt & (VT_ARRAY | VT_BYREF)) != 0) {
    hr = WBEM_E_TYPE_MISMATCH;
  } else {
    hr = coerceScalar(in, baseType(type), objectClass, out);
  }
  if (FAILED(hr)) {
    VariantClear(out);
    return hr;
  }
  return S_OK;
}

HRESULT copyValue(const VARIANT& in, VARIANT* out) {
  VariantClear(out);
  if (in.vt == VT_UNKNOWN && in.punkVal != nullptr) return coerceObject(in.punkVal, u"", out);
  if (in.vt != (VT_ARRAY | VT_UNKNOWN) || in.parray == nullptr) {
    return SUCCEEDED(VariantCopy(out, &in)) ? S_OK : WBEM_E_OUT_OF_MEMORY;
  }
  return coerceArray(in, CIM_OBJECT | CIM_FLAG_ARRAY, u"", out);
}

}  // namespace om::wmi
