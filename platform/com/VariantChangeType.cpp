// VariantChangeType: conversions between the numeric types, VT_BOOL and
// VT_BSTR. A value is read into a Number (signed, unsigned or real) and
// written from it into the target type, with range checks.
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include <oleauto.h>

#include <om/codepage.h>

#include "Elements.h"

namespace {

struct Number {
  enum Kind { kSigned, kUnsigned, kReal } kind = kSigned;
  int64_t s = 0;
  uint64_t u = 0;
  double d = 0;

  static Number ofSigned(int64_t v) { return {kSigned, v, 0, 0}; }
  static Number ofUnsigned(uint64_t v) { return {kUnsigned, 0, v, 0}; }
  static Number ofReal(double v) { return {kReal, 0, 0, v}; }

  bool isZero() const { return kind == kSigned ? s == 0 : kind == kUnsigned ? u == 0 : d == 0; }
};

std::string_view trim(std::string_view text) {
  const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && space(text.front())) text.remove_prefix(1);
  while (!text.empty() && space(text.back())) text.remove_suffix(1);
  return text;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

template <class T>
bool parseWhole(std::string_view text, T* value, std::errc* error) {
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
  *error = ec;
  return end == text.data() + text.size();
}

// Decimal integers and reals; booleans only when `allowBool` (the target is
// VT_BOOL).
HRESULT parseNumber(BSTR bstr, bool allowBool, Number* out) {
  const std::string utf8 = om::utf16ToUtf8(std::u16string_view(bstr, SysStringLen(bstr)));
  std::string_view text = trim(utf8);
  if (allowBool && (equalsNoCase(text, "true") || equalsNoCase(text, "false"))) {
    *out = Number::ofSigned(equalsNoCase(text, "true") ? -1 : 0);
    return S_OK;
  }
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return DISP_E_TYPEMISMATCH;
  std::errc error;
  int64_t s;
  if (parseWhole(text, &s, &error)) {
    if (error == std::errc()) {
      *out = Number::ofSigned(s);
      return S_OK;
    }
    uint64_t u;
    if (text.front() == '-' || !parseWhole(text, &u, &error) || error != std::errc()) return DISP_E_OVERFLOW;
    *out = Number::ofUnsigned(u);
    return S_OK;
  }
  double d;
  if (!parseWhole(text, &d, &error)) return DISP_E_TYPEMISMATCH;
  if (error != std::errc() || !std::isfinite(d)) return DISP_E_OVERFLOW;
  *out = Number::ofReal(d);
  return S_OK;
}

HRESULT readNumber(const VARIANT& v, bool forBool, Number* out) {
  switch (v.vt) {
    case VT_EMPTY: *out = Number::ofSigned(0); return S_OK;
    case VT_I1: *out = Number::ofSigned(static_cast<signed char>(v.cVal)); return S_OK;
    case VT_I2: *out = Number::ofSigned(v.iVal); return S_OK;
    case VT_I4: *out = Number::ofSigned(v.lVal); return S_OK;
    case VT_INT: *out = Number::ofSigned(v.intVal); return S_OK;
    case VT_I8: *out = Number::ofSigned(v.llVal); return S_OK;
    case VT_BOOL: *out = Number::ofSigned(v.boolVal); return S_OK;
    case VT_UI1: *out = Number::ofUnsigned(v.bVal); return S_OK;
    case VT_UI2: *out = Number::ofUnsigned(v.uiVal); return S_OK;
    case VT_UI4: *out = Number::ofUnsigned(v.ulVal); return S_OK;
    case VT_UINT: *out = Number::ofUnsigned(v.uintVal); return S_OK;
    case VT_UI8: *out = Number::ofUnsigned(v.ullVal); return S_OK;
    case VT_R4: *out = Number::ofReal(v.fltVal); return S_OK;
    case VT_R8: *out = Number::ofReal(v.dblVal); return S_OK;
    case VT_BSTR: return parseNumber(v.bstrVal, forBool, out);
    default: return DISP_E_TYPEMISMATCH;
  }
}

// A real rounded half to even, as an integer Number.
HRESULT roundReal(double d, Number* out) {
  const double r = std::nearbyint(d);
  if (r >= -0x1p63 && r < 0x1p63) {
    *out = Number::ofSigned(static_cast<int64_t>(r));
  } else if (r >= 0 && r < 0x1p64) {
    *out = Number::ofUnsigned(static_cast<uint64_t>(r));
  } else {
    return DISP_E_OVERFLOW;
  }
  return S_OK;
}

template <class T>
HRESULT toInteger(Number n, T* out) {
  if (n.kind == Number::kReal) {
    const HRESULT hr = roundReal(n.d, &n);
    if (FAILED(hr)) return hr;
  }
  const bool fits = n.kind == Number::kSigned ? std::in_range<T>(n.s) : std::in_range<T>(n.u);
  if (!fits) return DISP_E_OVERFLOW;
  *out = n.kind == Number::kSigned ? static_cast<T>(n.s) : static_cast<T>(n.u);
  return S_OK;
}

double toDouble(const Number& n) {
  return n.kind == Number::kSigned ? static_cast<double>(n.s)
                                   : n.kind == Number::kUnsigned ? static_cast<double>(n.u) : n.d;
}

HRESULT toText(const VARIANT& source, const Number& n, USHORT flags, BSTR* out) {
  char buffer[64];
  if (source.vt == VT_EMPTY) {
    buffer[0] = '\0';
  } else if (source.vt == VT_BOOL) {
    const bool alpha = (flags & (VARIANT_ALPHABOOL | VARIANT_LOCALBOOL)) != 0;
    std::snprintf(buffer, sizeof buffer, "%s", alpha ? (n.isZero() ? "False" : "True") : (n.isZero() ? "0" : "-1"));
  } else if (n.kind == Number::kSigned) {
    std::snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(n.s));
  } else if (n.kind == Number::kUnsigned) {
    std::snprintf(buffer, sizeof buffer, "%llu", static_cast<unsigned long long>(n.u));
  } else {
    std::snprintf(buffer, sizeof buffer, "%.*G", source.vt == VT_R4 ? 7 : 15, n.d);
  }
  const std::u16string wide = om::utf8ToUtf16(buffer);
  *out = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

// Writes `source` converted to `vt` into the empty variant `out`.
HRESULT convert(const VARIANT& source, USHORT flags, VARTYPE vt, VARIANT* out) {
  if (vt == VT_EMPTY) return S_OK;
  if (source.vt == vt) return VariantCopy(out, &source);
  if (source.vt == VT_NULL) return DISP_E_TYPEMISMATCH;
  Number n;
  HRESULT hr = readNumber(source, vt == VT_BOOL, &n);
  if (FAILED(hr)) return hr;
  switch (vt) {
    case VT_I1: hr = toInteger(n, reinterpret_cast<signed char*>(&out->cVal)); break;
    case VT_I2: hr = toInteger(n, &out->iVal); break;
    case VT_I4: hr = toInteger(n, &out->lVal); break;
    case VT_INT: hr = toInteger(n, &out->intVal); break;
    case VT_I8: hr = toInteger(n, &out->llVal); break;
    case VT_UI1: hr = toInteger(n, &out->bVal); break;
    case VT_UI2: hr = toInteger(n, &out->uiVal); break;
    case VT_UI4: hr = toInteger(n, &out->ulVal); break;
    case VT_UINT: hr = toInteger(n, &out->uintVal); break;
    case VT_UI8: hr = toInteger(n, &out->ullVal); break;
    case VT_BOOL: out->boolVal = n.isZero() ? VARIANT_FALSE : VARIANT_TRUE; break;
    case VT_R8: out->dblVal = toDouble(n); break;
    case VT_R4:
      if (std::fabs(toDouble(n)) > std::numeric_limits<float>::max()) return DISP_E_OVERFLOW;
      out->fltVal = static_cast<float>(toDouble(n));
      break;
    case VT_BSTR: hr = toText(source, n, flags, &out->bstrVal); break;
    default: return DISP_E_TYPEMISMATCH;
  }
  if (SUCCEEDED(hr)) out->vt = vt;
  return hr;
}

// A VT_BYREF source seen as the value it points at (not owned).
VARIANT dereferenced(const VARIANT& source) {
  if ((source.vt & VT_BYREF) == 0) return source;
  if (source.vt == (VT_BYREF | VT_VARIANT)) return *source.pvarVal;
  VARIANT value;
  VariantInit(&value);
  value.vt = source.vt & ~VT_BYREF;
  const size_t size = (value.vt & VT_ARRAY) != 0 ? sizeof(SAFEARRAY*) : om::com::elementSize(value.vt);
  std::memcpy(&value.llVal, source.byref, size);
  return value;
}

}  // namespace

HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) {
  if (pvargDest == nullptr || pvarSrc == nullptr) return E_INVALIDARG;
  if (!om::com::isVariantType(pvarSrc->vt)) return DISP_E_BADVARTYPE;
  if (!om::com::isVariantType(vt) || (vt & VT_BYREF) != 0) return DISP_E_BADVARTYPE;
  VARIANT result;
  VariantInit(&result);
  const HRESULT hr = convert(dereferenced(*pvarSrc), wFlags, vt, &result);
  if (FAILED(hr)) return hr;
  const HRESULT cleared = VariantClear(pvargDest);
  if (FAILED(cleared)) {
    VariantClear(&result);
    return cleared;
  }
  *pvargDest = result;
  return S_OK;
}
