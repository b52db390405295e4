// Helpers shared by the data-layer tests: compiling MOF into a repository,
// reading values, and building SAFEARRAYs.
#ifndef OM_TESTS_PLATFORM_WMI_WMITESTSUPPORT_H_
#define OM_TESTS_PLATFORM_WMI_WMITESTSUPPORT_H_

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CimObject.h"
#include "ClassRepository.h"
#include "MofCompiler.h"
#include "Text.h"

namespace om::wmi::test {

// Compiles `mof` into `repo`; fails the test with the compiler's message when
// it does not compile.
inline MofResult compileOk(ClassRepository& repo, std::string_view mof) {
  MofCompiler compiler(repo);
  MofResult result;
  EXPECT_EQ(compiler.compile(mof, &result), S_OK) << result.message;
  return result;
}

inline CComPtr<IWbemClassObject> classObject(ClassRepository& repo, std::u16string_view ns, std::u16string_view name) {
  ClassPtr cls = repo.findClass(ns, name);
  EXPECT_NE(cls, nullptr) << toUtf8(name);
  return cls ? CimObject::newClass(cls) : nullptr;
}

inline CComPtr<IWbemClassObject> spawn(IWbemClassObject* cls) {
  CComPtr<IWbemClassObject> instance;
  EXPECT_EQ(cls->SpawnInstance(0, &instance), WBEM_S_NO_ERROR);
  return instance;
}

inline CComVariant get(IWbemClassObject* object, const char16_t* name, CIMTYPE* type = nullptr) {
  CComVariant value;
  EXPECT_EQ(object->Get(name, 0, &value, type, nullptr), WBEM_S_NO_ERROR) << toUtf8(name);
  return value;
}

inline std::u16string text(const VARIANT& v) { return v.vt == VT_BSTR ? std::u16string(bstrView(v.bstrVal)) : u"<not a string>"; }

inline HRESULT put(IWbemClassObject* object, const char16_t* name, CComVariant value) {
  return object->Put(name, 0, &value, 0);
}

// A one-dimensional array of `vt` holding `items` (each a CComVariant of
// that type), with lower bound `lower`.
inline CComVariant makeArray(VARTYPE vt, const std::vector<CComVariant>& items, LONG lower = 0) {
  SAFEARRAY* array = SafeArrayCreateVector(vt, lower, static_cast<ULONG>(items.size()));
  for (size_t i = 0; i < items.size(); ++i) {
    LONG index = lower + static_cast<LONG>(i);
    CComVariant item = items[i];
    void* source = vt == VT_BSTR      ? static_cast<void*>(item.bstrVal)
                   : vt == VT_UNKNOWN ? static_cast<void*>(item.punkVal)
                   : vt == VT_VARIANT ? static_cast<void*>(&item)
                                      : static_cast<void*>(&item.llVal);
    EXPECT_EQ(SafeArrayPutElement(array, &index, source), S_OK);
  }
  CComVariant v;
  v.vt = VT_ARRAY | vt;
  v.parray = array;
  return v;
}

// The elements of an array variant, each as a CComVariant of the element type.
inline std::vector<CComVariant> elements(const VARIANT& v) {
  std::vector<CComVariant> out;
  if ((v.vt & VT_ARRAY) == 0) return out;
  const VARTYPE vt = v.vt & VT_TYPEMASK;
  LONG lower = 0, upper = -1;
  SafeArrayGetLBound(v.parray, 1, &lower);
  SafeArrayGetUBound(v.parray, 1, &upper);
  for (LONG i = lower; i <= upper; ++i) {
    CComVariant item;
    item.llVal = 0;
    void* slot = vt == VT_BSTR ? static_cast<void*>(&item.bstrVal)
                 : vt == VT_UNKNOWN ? static_cast<void*>(&item.punkVal) : static_cast<void*>(&item.llVal);
    EXPECT_EQ(SafeArrayGetElement(v.parray, &i, slot), S_OK);
    item.vt = vt;
    out.push_back(std::move(item));
  }
  return out;
}

inline std::vector<std::u16string> names(IWbemClassObject* object, long flags, const char16_t* qualifier = nullptr,
                                         VARIANT* qualifierValue = nullptr) {
  SAFEARRAY* array = nullptr;
  EXPECT_EQ(object->GetNames(qualifier, flags, qualifierValue, &array), WBEM_S_NO_ERROR);
  CComVariant holder;
  holder.vt = VT_ARRAY | VT_BSTR;
  holder.parray = array;
  std::vector<std::u16string> out;
  for (const CComVariant& item : elements(holder)) out.push_back(text(item));
  return out;
}

}  // namespace om::wmi::test

#endif  // OM_TESTS_PLATFORM_WMI_WMITESTSUPPORT_H_
