#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include <atlbase.h>
#include <oleauto.h>

#include "TestObjects.h"

namespace {

using comtest::refCount;

HRESULT convert(CComVariant* out, const CComVariant& from, VARTYPE vt) { return out->ChangeType(vt, &from); }

TEST(Variant, LayoutMatchesWindows) {
  EXPECT_EQ(sizeof(VARIANT), 24u);
  VARIANT v;
  EXPECT_EQ(reinterpret_cast<char*>(&v.lVal) - reinterpret_cast<char*>(&v), 8);
  EXPECT_EQ(static_cast<void*>(&v.bstrVal), static_cast<void*>(&v.punkVal));
  EXPECT_EQ(sizeof(SAFEARRAY), 32u);
  EXPECT_EQ(offsetof(SAFEARRAY, pvData), 16u);
  EXPECT_EQ(offsetof(SAFEARRAY, rgsabound), 24u);
}

TEST(Variant, CopyAndClearEveryType) {
  CComPtr<IUnknown> object;
  object.Attach(static_cast<comtest::IValue*>(new comtest::Value));

  VARIANT sources[12];
  for (VARIANT& v : sources) VariantInit(&v);
  sources[1].vt = VT_NULL;
  sources[2].vt = VT_I2;
  sources[2].iVal = -2;
  sources[3].vt = VT_I4;
  sources[3].lVal = -70000;
  sources[4].vt = VT_UI1;
  sources[4].bVal = 200;
  sources[5].vt = VT_UI4;
  sources[5].ulVal = 0xFFFFFFFE;
  sources[6].vt = VT_BOOL;
  sources[6].boolVal = VARIANT_TRUE;
  sources[7].vt = VT_BSTR;
  const OLECHAR text[] = {u'a', u'\0', u'b'};
  sources[7].bstrVal = SysAllocStringLen(text, 3);
  sources[8].vt = VT_UNKNOWN;
  sources[8].punkVal = object;
  object.p->AddRef();
  sources[9].vt = VT_ARRAY | VT_BSTR;
  sources[9].parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
  LONG index = 1;
  ASSERT_EQ(SafeArrayPutElement(sources[9].parray, &index, sources[7].bstrVal), S_OK);
  sources[10].vt = VT_ARRAY | VT_UNKNOWN;
  sources[10].parray = SafeArrayCreateVector(VT_UNKNOWN, 0, 1);
  index = 0;
  ASSERT_EQ(SafeArrayPutElement(sources[10].parray, &index, object.p), S_OK);
  sources[11].vt = VT_R8;
  sources[11].dblVal = 2.5;
  EXPECT_EQ(refCount(object), 3u);  // ours, the variant's, the array's

  VARIANT copies[12];
  for (int i = 0; i < 12; ++i) {
    VariantInit(&copies[i]);
    ASSERT_EQ(VariantCopy(&copies[i], &sources[i]), S_OK) << i;
    EXPECT_EQ(copies[i].vt, sources[i].vt);
  }
  EXPECT_EQ(copies[2].iVal, -2);
  EXPECT_EQ(copies[3].lVal, -70000);
  EXPECT_EQ(copies[4].bVal, 200);
  EXPECT_EQ(copies[5].ulVal, 0xFFFFFFFEu);
  EXPECT_EQ(copies[6].boolVal, VARIANT_TRUE);
  EXPECT_EQ(copies[11].dblVal, 2.5);
  // Deep copies: a new BSTR of the same length, one more reference, new arrays.
  EXPECT_NE(copies[7].bstrVal, sources[7].bstrVal);
  EXPECT_EQ(std::u16string(copies[7].bstrVal, SysStringLen(copies[7].bstrVal)), std::u16string(text, 3));
  EXPECT_EQ(copies[8].punkVal, object.p);
  EXPECT_NE(copies[9].parray, sources[9].parray);
  BSTR element = nullptr;
  index = 1;
  ASSERT_EQ(SafeArrayGetElement(copies[9].parray, &index, &element), S_OK);
  EXPECT_EQ(SysStringLen(element), 3u);
  SysFreeString(element);
  EXPECT_EQ(refCount(object), 5u);

  // Copying over a variant frees what it held.
  ASSERT_EQ(VariantCopy(&copies[8], &sources[3]), S_OK);
  EXPECT_EQ(refCount(object), 4u);
  EXPECT_EQ(copies[8].lVal, -70000);

  for (int i = 0; i < 12; ++i) {
    EXPECT_EQ(VariantClear(&sources[i]), S_OK) << i;
    EXPECT_EQ(sources[i].vt, VT_EMPTY);
    EXPECT_EQ(VariantClear(&copies[i]), S_OK) << i;
  }
  EXPECT_EQ(refCount(object), 1u);
}

TEST(Variant, RejectsBadTypesAndLockedArrays) {
  VARIANT v;
  VariantInit(&v);
  v.vt = 0x7777;
  EXPECT_EQ(VariantClear(&v), DISP_E_BADVARTYPE);
  VARIANT copy;
  VariantInit(&copy);
  EXPECT_EQ(VariantCopy(&copy, &v), DISP_E_BADVARTYPE);
  EXPECT_EQ(copy.vt, VT_EMPTY);

  v.vt = VT_ARRAY | VT_I4;
  v.parray = SafeArrayCreateVector(VT_I4, 0, 3);
  void* data = nullptr;
  ASSERT_EQ(SafeArrayAccessData(v.parray, &data), S_OK);
  EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(v.vt, VT_ARRAY | VT_I4);  // unchanged
  ASSERT_EQ(SafeArrayUnaccessData(v.parray), S_OK);
  EXPECT_EQ(VariantClear(&v), S_OK);

  // A by-reference variant does not own its target.
  BSTR owned = SysAllocString(u"kept");
  v.vt = VT_BYREF | VT_BSTR;
  v.pbstrVal = &owned;
  ASSERT_EQ(VariantCopy(&copy, &v), S_OK);
  EXPECT_EQ(copy.pbstrVal, &owned);
  EXPECT_EQ(VariantClear(&copy), S_OK);
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(std::u16string(owned), u"kept");
  SysFreeString(owned);
}

TEST(CComVariant, ConstructorsPickTheWindowsTypes) {
  EXPECT_EQ(CComVariant(true).vt, VT_BOOL);
  EXPECT_EQ(CComVariant(true).boolVal, -1);
  EXPECT_EQ(CComVariant(false).boolVal, 0);
  EXPECT_EQ(CComVariant(12).vt, VT_I4);
  EXPECT_EQ(CComVariant(12).lVal, 12);
  EXPECT_EQ(CComVariant(12L).vt, VT_I4);
  EXPECT_EQ(CComVariant(LONG{-3}).vt, VT_I4);
  EXPECT_EQ(CComVariant(12LL).vt, VT_I8);
  // A 64-bit long keeps a value beyond 32 bits whole rather than cutting it.
  EXPECT_EQ(CComVariant(-5L).vt, VT_I4);
  EXPECT_EQ(CComVariant(LONGLONG{1} << 40).vt, VT_I8);
  EXPECT_EQ(CComVariant(LONGLONG{1} << 40).llVal, LONGLONG{1} << 40);
  EXPECT_EQ(CComVariant(0xFFFFFFFFUL).vt, VT_UI4);
  EXPECT_EQ(CComVariant(0x100000000UL).vt, VT_UI8);
  EXPECT_EQ(CComVariant(short{-4}).vt, VT_I2);
  EXPECT_EQ(CComVariant(BYTE{255}).vt, VT_UI1);
  EXPECT_EQ(CComVariant(BYTE{255}).bVal, 255);
  EXPECT_EQ(CComVariant(DWORD{7}).vt, VT_UI4);
  EXPECT_EQ(CComVariant(7u).vt, VT_UI4);
  EXPECT_EQ(CComVariant(1.5).vt, VT_R8);
  EXPECT_EQ(CComVariant(1.5f).vt, VT_R4);
  EXPECT_EQ(CComVariant(3, VT_I2).vt, VT_ERROR);  // not a type an int can carry

  const CComVariant wide(u"NetworkObject");
  EXPECT_EQ(wide.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(wide.bstrVal), u"NetworkObject");
  const CComVariant narrow("\x83\x54\x81\x5B\x83\x6F");  // "サーバ" in code page 932
  EXPECT_EQ(narrow.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(narrow.bstrVal), u"サーバ");
  EXPECT_EQ(CComVariant(static_cast<LPCOLESTR>(nullptr)).vt, VT_BSTR);

  IUnknown* object = static_cast<comtest::IValue*>(new comtest::Value);
  {
    CComVariant held(object);
    EXPECT_EQ(held.vt, VT_UNKNOWN);
    EXPECT_EQ(refCount(object), 2u);
    CComVariant copy = held;
    EXPECT_EQ(refCount(object), 3u);
    EXPECT_TRUE(copy == held);
    CComVariant moved = std::move(copy);
    EXPECT_EQ(copy.vt, VT_EMPTY);
    EXPECT_EQ(refCount(object), 3u);
    moved = 5;  // releases the interface
    EXPECT_EQ(refCount(object), 2u);
    EXPECT_EQ(moved.vt, VT_I4);
  }
  EXPECT_EQ(refCount(object), 1u);
  object->Release();

  SAFEARRAY* array = SafeArrayCreateVector(VT_BOOL, 0, 2);
  CComVariant flags(array);
  EXPECT_EQ(flags.vt, VT_ARRAY | VT_BOOL);
  EXPECT_NE(flags.parray, array);  // a copy
  SafeArrayDestroy(array);
}

TEST(CComVariant, AttachDetachCompareAndChangeType) {
  CComVariant a(u"x");
  VARIANT raw;
  VariantInit(&raw);
  ASSERT_EQ(a.Detach(&raw), S_OK);
  EXPECT_EQ(a.vt, VT_EMPTY);
  EXPECT_EQ(raw.vt, VT_BSTR);
  CComVariant b;
  ASSERT_EQ(b.Attach(&raw), S_OK);
  EXPECT_EQ(raw.vt, VT_EMPTY);
  EXPECT_TRUE(b == CComVariant(u"x"));
  EXPECT_FALSE(b == CComVariant(u"y"));
  EXPECT_FALSE(CComVariant(1) == CComVariant(1u));  // types differ
  EXPECT_TRUE(CComVariant(static_cast<LPCOLESTR>(nullptr)) == CComVariant(u""));

  CComVariant number(u" 42 ");
  ASSERT_EQ(number.ChangeType(VT_I4), S_OK);
  EXPECT_EQ(number.vt, VT_I4);
  EXPECT_EQ(number.lVal, 42);
  ASSERT_EQ(number.ChangeType(VT_BOOL), S_OK);
  EXPECT_EQ(number.boolVal, VARIANT_TRUE);
  ASSERT_EQ(number.ChangeType(VT_BSTR), S_OK);
  EXPECT_EQ(std::u16string(number.bstrVal), u"-1");

  CComVariant flag(u"False");
  ASSERT_EQ(flag.ChangeType(VT_BOOL), S_OK);
  EXPECT_EQ(flag.boolVal, VARIANT_FALSE);
  VARIANT text;
  VariantInit(&text);
  const CComVariant yes(true);
  ASSERT_EQ(VariantChangeType(&text, &yes, VARIANT_ALPHABOOL, VT_BSTR), S_OK);
  EXPECT_EQ(std::u16string(text.bstrVal), u"True");
  VariantClear(&text);
}

TEST(VariantChangeType, RangesRoundingAndMismatches) {
  CComVariant v;
  EXPECT_EQ(convert(&v, CComVariant(2.5), VT_I4), S_OK);
  EXPECT_EQ(v.lVal, 2);  // half to even
  EXPECT_EQ(convert(&v, CComVariant(3.5), VT_I4), S_OK);
  EXPECT_EQ(v.lVal, 4);
  EXPECT_EQ(convert(&v, CComVariant(-2.5), VT_I4), S_OK);
  EXPECT_EQ(v.lVal, -2);
  EXPECT_EQ(convert(&v, CComVariant(255), VT_UI1), S_OK);
  EXPECT_EQ(v.bVal, 255);
  EXPECT_EQ(convert(&v, CComVariant(256), VT_UI1), DISP_E_OVERFLOW);
  EXPECT_EQ(convert(&v, CComVariant(-1), VT_UI4), DISP_E_OVERFLOW);
  EXPECT_EQ(convert(&v, CComVariant(u"-32768"), VT_I2), S_OK);
  EXPECT_EQ(v.iVal, -32768);
  EXPECT_EQ(convert(&v, CComVariant(u"32768"), VT_I2), DISP_E_OVERFLOW);
  EXPECT_EQ(convert(&v, CComVariant(u"18446744073709551615"), VT_UI8), S_OK);
  EXPECT_EQ(v.ullVal, 18446744073709551615ull);
  EXPECT_EQ(convert(&v, CComVariant(u"18446744073709551615"), VT_I8), DISP_E_OVERFLOW);
  EXPECT_EQ(convert(&v, CComVariant(u"12abc"), VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(convert(&v, CComVariant(u"True"), VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(convert(&v, CComVariant(u"1.25e2"), VT_R8), S_OK);
  EXPECT_EQ(v.dblVal, 125.0);
  EXPECT_EQ(convert(&v, CComVariant(0.1), VT_BSTR), S_OK);
  EXPECT_EQ(std::u16string(v.bstrVal), u"0.1");
  EXPECT_EQ(convert(&v, CComVariant(), VT_I4), S_OK);  // empty is 0
  EXPECT_EQ(v.lVal, 0);

  VARIANT null;
  VariantInit(&null);
  null.vt = VT_NULL;
  EXPECT_EQ(v.ChangeType(VT_I4, &null), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(v.vt, VT_I4);  // a failed conversion leaves the target as it was
  IUnknown* object = static_cast<comtest::IValue*>(new comtest::Value);
  CComVariant held(object);
  EXPECT_EQ(v.ChangeType(VT_I4, &held), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(v.ChangeType(VT_UNKNOWN, &held), S_OK);
  EXPECT_EQ(refCount(object), 3u);
  v.Clear();
  held.Clear();
  object->Release();

  // By-reference sources are read through.
  LONG target = 77;
  VARIANT ref;
  VariantInit(&ref);
  ref.vt = VT_BYREF | VT_I4;
  ref.plVal = &target;
  EXPECT_EQ(v.ChangeType(VT_BSTR, &ref), S_OK);
  EXPECT_EQ(std::u16string(v.bstrVal), u"77");
}

}  // namespace
