#include <gtest/gtest.h>

#include <string>

#include <atlbase.h>
#include <oleauto.h>

#include "TestObjects.h"

namespace {

using comtest::refCount;

TEST(SafeArray, DescriptorBoundsAndTypes) {
  SAFEARRAY* a = SafeArrayCreateVector(VT_I4, -2, 5);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(SafeArrayGetDim(a), 1u);
  EXPECT_EQ(SafeArrayGetElemsize(a), 4u);
  EXPECT_EQ(a->cbElements, 4u);
  EXPECT_EQ(a->rgsabound[0].cElements, 5u);
  LONG lower = 0, upper = 0;
  EXPECT_EQ(SafeArrayGetLBound(a, 1, &lower), S_OK);
  EXPECT_EQ(SafeArrayGetUBound(a, 1, &upper), S_OK);
  EXPECT_EQ(lower, -2);
  EXPECT_EQ(upper, 2);
  EXPECT_EQ(SafeArrayGetUBound(a, 2, &upper), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetLBound(a, 0, &lower), DISP_E_BADINDEX);
  VARTYPE vt = VT_EMPTY;
  EXPECT_EQ(SafeArrayGetVartype(a, &vt), S_OK);
  EXPECT_EQ(vt, VT_I4);
  EXPECT_EQ(SafeArrayDestroy(a), S_OK);

  SAFEARRAY* empty = SafeArrayCreateVector(VT_BSTR, 0, 0);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(SafeArrayGetUBound(empty, 1, &upper), S_OK);
  EXPECT_EQ(upper, -1);
  EXPECT_TRUE(empty->fFeatures & FADF_BSTR);
  EXPECT_EQ(SafeArrayDestroy(empty), S_OK);

  EXPECT_EQ(SafeArrayCreateVector(VT_EMPTY, 0, 1), nullptr);
  EXPECT_EQ(SafeArrayCreateVector(VT_DISPATCH, 0, 1), nullptr);
  SAFEARRAYBOUND twoDims[2] = {{2, 0}, {2, 0}};
  EXPECT_EQ(SafeArrayCreate(VT_I4, 2, twoDims), nullptr);
  EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
}

TEST(SafeArray, PutAndGetCopyValues) {
  SAFEARRAY* names = SafeArrayCreateVector(VT_BSTR, 1, 2);
  CComBSTR first(u"LogObject");
  LONG i = 1;
  ASSERT_EQ(SafeArrayPutElement(names, &i, first), S_OK);
  i = 2;
  ASSERT_EQ(SafeArrayPutElement(names, &i, nullptr), S_OK);  // a null BSTR is a value
  i = 0;
  EXPECT_EQ(SafeArrayPutElement(names, &i, first), DISP_E_BADINDEX);
  i = 3;
  EXPECT_EQ(SafeArrayPutElement(names, &i, first), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayPutElement(names, nullptr, first), E_INVALIDARG);

  BSTR* stored = nullptr;
  ASSERT_EQ(SafeArrayAccessData(names, reinterpret_cast<void**>(&stored)), S_OK);
  EXPECT_NE(stored[0], first.m_str);  // duplicated
  EXPECT_EQ(std::u16string(stored[0]), u"LogObject");
  EXPECT_EQ(stored[1], nullptr);
  ASSERT_EQ(SafeArrayUnaccessData(names), S_OK);

  BSTR out = nullptr;
  i = 1;
  ASSERT_EQ(SafeArrayGetElement(names, &i, &out), S_OK);
  EXPECT_EQ(std::u16string(out), u"LogObject");
  SysFreeString(out);
  // Overwriting frees the old element (LeakSanitizer would see it otherwise).
  ASSERT_EQ(SafeArrayPutElement(names, &i, CComBSTR(u"Subnet").m_str), S_OK);
  ASSERT_EQ(SafeArrayGetElement(names, &i, &out), S_OK);
  EXPECT_EQ(std::u16string(out), u"Subnet");
  SysFreeString(out);
  EXPECT_EQ(SafeArrayDestroy(names), S_OK);

  SAFEARRAY* flags = SafeArrayCreateVector(VT_BOOL, 0, 2);
  VARIANT_BOOL yes = VARIANT_TRUE;
  i = 1;
  ASSERT_EQ(SafeArrayPutElement(flags, &i, &yes), S_OK);
  EXPECT_EQ(SafeArrayPutElement(flags, &i, nullptr), E_INVALIDARG);
  VARIANT_BOOL got = 5;
  i = 0;
  ASSERT_EQ(SafeArrayGetElement(flags, &i, &got), S_OK);
  EXPECT_EQ(got, VARIANT_FALSE);  // new elements start zeroed
  i = 1;
  ASSERT_EQ(SafeArrayGetElement(flags, &i, &got), S_OK);
  EXPECT_EQ(got, VARIANT_TRUE);
  SafeArrayDestroy(flags);
}

TEST(SafeArray, InterfacesAndVariantsHoldReferences) {
  IUnknown* object = static_cast<comtest::IValue*>(new comtest::Value);
  SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 0, 3);
  EXPECT_TRUE(objects->fFeatures & FADF_UNKNOWN);
  for (LONG i = 0; i < 3; ++i) ASSERT_EQ(SafeArrayPutElement(objects, &i, object), S_OK);
  EXPECT_EQ(refCount(object), 4u);
  IUnknown* got = nullptr;
  LONG i = 2;
  ASSERT_EQ(SafeArrayGetElement(objects, &i, &got), S_OK);
  EXPECT_EQ(got, object);
  EXPECT_EQ(refCount(object), 5u);
  got->Release();
  ASSERT_EQ(SafeArrayPutElement(objects, &i, nullptr), S_OK);
  EXPECT_EQ(refCount(object), 3u);

  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(objects, &copy), S_OK);
  EXPECT_EQ(refCount(object), 5u);
  SAFEARRAYBOUND one = {1, 0};
  ASSERT_EQ(SafeArrayRedim(copy, &one), S_OK);  // the element cut off is released
  EXPECT_EQ(refCount(object), 4u);
  SafeArrayDestroy(copy);
  SafeArrayDestroy(objects);
  EXPECT_EQ(refCount(object), 1u);

  SAFEARRAY* variants = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  EXPECT_EQ(SafeArrayGetElemsize(variants), sizeof(VARIANT));
  CComVariant held(object);
  i = 0;
  ASSERT_EQ(SafeArrayPutElement(variants, &i, &held), S_OK);
  i = 1;
  CComVariant text(u"x");
  ASSERT_EQ(SafeArrayPutElement(variants, &i, &text), S_OK);
  EXPECT_EQ(refCount(object), 3u);
  VARIANT out;  // need not be initialised
  out.vt = 0x7777;
  ASSERT_EQ(SafeArrayGetElement(variants, &i, &out), S_OK);
  EXPECT_EQ(out.vt, VT_BSTR);
  EXPECT_NE(out.bstrVal, text.bstrVal);
  VariantClear(&out);
  SafeArrayDestroy(variants);
  EXPECT_EQ(refCount(object), 2u);
  held.Clear();
  object->Release();
}

TEST(SafeArray, RedimAndLocks) {
  SAFEARRAY* a = SafeArrayCreateVector(VT_BSTR, 0, 3);
  const char16_t* words[] = {u"a", u"b", u"c"};
  for (LONG i = 0; i < 3; ++i) {
    CComBSTR word(words[i]);
    ASSERT_EQ(SafeArrayPutElement(a, &i, word), S_OK);
  }
  SAFEARRAYBOUND grow = {5, 10};
  ASSERT_EQ(SafeArrayRedim(a, &grow), S_OK);
  LONG lower = 0, upper = 0;
  SafeArrayGetLBound(a, 1, &lower);
  SafeArrayGetUBound(a, 1, &upper);
  EXPECT_EQ(lower, 10);
  EXPECT_EQ(upper, 14);
  BSTR out = nullptr;
  LONG i = 12;
  ASSERT_EQ(SafeArrayGetElement(a, &i, &out), S_OK);  // kept across the resize
  EXPECT_EQ(std::u16string(out), u"c");
  SysFreeString(out);
  i = 14;
  ASSERT_EQ(SafeArrayGetElement(a, &i, &out), S_OK);
  EXPECT_EQ(out, nullptr);  // new element

  void* data = nullptr;
  ASSERT_EQ(SafeArrayLock(a), S_OK);
  ASSERT_EQ(SafeArrayAccessData(a, &data), S_OK);
  EXPECT_EQ(a->cLocks, 2u);
  SAFEARRAYBOUND shrink = {1, 0};
  EXPECT_EQ(SafeArrayRedim(a, &shrink), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayDestroy(a), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayUnaccessData(a), S_OK);
  EXPECT_EQ(SafeArrayDestroy(a), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayUnlock(a), S_OK);
  EXPECT_EQ(SafeArrayUnlock(a), E_UNEXPECTED);

  ASSERT_EQ(SafeArrayRedim(a, &shrink), S_OK);
  i = 0;
  ASSERT_EQ(SafeArrayGetElement(a, &i, &out), S_OK);
  EXPECT_EQ(std::u16string(out), u"a");
  SysFreeString(out);
  SAFEARRAYBOUND none = {0, 0};
  ASSERT_EQ(SafeArrayRedim(a, &none), S_OK);
  EXPECT_EQ(SafeArrayGetElement(a, &i, &out), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayDestroy(a), S_OK);
}

TEST(SafeArray, CopyIsDeepAndKeepsBounds) {
  SAFEARRAY* a = SafeArrayCreateVector(VT_I4, 5, 2);
  LONG i = 6;
  LONG value = -9;
  ASSERT_EQ(SafeArrayPutElement(a, &i, &value), S_OK);
  SAFEARRAY* b = nullptr;
  ASSERT_EQ(SafeArrayCopy(a, &b), S_OK);
  value = 3;
  ASSERT_EQ(SafeArrayPutElement(a, &i, &value), S_OK);
  LONG got = 0;
  ASSERT_EQ(SafeArrayGetElement(b, &i, &got), S_OK);
  EXPECT_EQ(got, -9);
  LONG lower = 0;
  SafeArrayGetLBound(b, 1, &lower);
  EXPECT_EQ(lower, 5);
  SafeArrayDestroy(a);
  SafeArrayDestroy(b);
  EXPECT_EQ(SafeArrayCopy(nullptr, &b), S_OK);
  EXPECT_EQ(b, nullptr);
}

}  // namespace
