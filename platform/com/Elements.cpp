#include "Elements.h"

#include <cstring>

bool om::com::isScalar(VARTYPE vt) {
  switch (vt) {
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
    case VT_R4:
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return true;
    default:
      return false;
  }
}

size_t om::com::elementSize(VARTYPE vt) {
  switch (vt) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
    case VT_R4:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    case VT_BSTR:
      return sizeof(BSTR);
    case VT_UNKNOWN:
      return sizeof(IUnknown*);
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

bool om::com::isVariantType(VARTYPE vt) {
  const VARTYPE base = vt & VT_TYPEMASK;
  switch (vt & ~VT_TYPEMASK) {
    case 0:
      return base == VT_EMPTY || base == VT_NULL || (base != VT_VARIANT && elementSize(base) != 0);
    case VT_ARRAY:
    case VT_BYREF:
    case VT_ARRAY | VT_BYREF:
      return elementSize(base) != 0;
    default:
      return false;
  }
}

HRESULT om::com::assignElement(VARTYPE vt, void* slot, const void* value) {
  switch (vt) {
    case VT_BSTR: {
      BSTR source;
      std::memcpy(&source, value, sizeof source);
      BSTR copy = nullptr;
      if (source != nullptr) {
        copy = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(source), SysStringByteLen(source));
        if (copy == nullptr) return E_OUTOFMEMORY;
      }
      BSTR old;
      std::memcpy(&old, slot, sizeof old);
      std::memcpy(slot, &copy, sizeof copy);
      SysFreeString(old);
      return S_OK;
    }
    case VT_UNKNOWN: {
      IUnknown* source;
      std::memcpy(&source, value, sizeof source);
      if (source != nullptr) source->AddRef();
      IUnknown* old;
      std::memcpy(&old, slot, sizeof old);
      std::memcpy(slot, &source, sizeof source);
      if (old != nullptr) old->Release();
      return S_OK;
    }
    case VT_VARIANT:
      return VariantCopy(static_cast<VARIANT*>(slot), static_cast<const VARIANT*>(value));
    default:
      std::memmove(slot, value, elementSize(vt));
      return S_OK;
  }
}

void om::com::clearElements(VARTYPE vt, void* first, size_t count) {
  if (count == 0) return;
  const size_t size = elementSize(vt);
  auto* at = static_cast<unsigned char*>(first);
  for (size_t i = 0; i < count; ++i, at += size) {
    if (vt == VT_BSTR) {
      BSTR text;
      std::memcpy(&text, at, sizeof text);
      SysFreeString(text);
    } else if (vt == VT_UNKNOWN) {
      IUnknown* object;
      std::memcpy(&object, at, sizeof object);
      if (object != nullptr) object->Release();
    } else if (vt == VT_VARIANT) {
      VariantClear(reinterpret_cast<VARIANT*>(at));
    }
  }
  std::memset(first, 0, size * count);
}
