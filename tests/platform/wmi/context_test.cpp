// The context object made through CoCreateInstance(CLSID_WbemContext).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <atlbase.h>
#include <wbemcli.h>

#include <om/WbemGuids.h>

#include "ManagerTestSupport.h"

namespace wmitest {
namespace {

class ContextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    baseline_ = om::comObjectCount();
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ASSERT_EQ(context_.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER), S_OK);
  }
  void TearDown() override {
    context_.Release();
    CoUninitialize();
    EXPECT_EQ(om::comObjectCount(), baseline_);
  }

  HRESULT set(const char16_t* name, CComVariant value) { return context_->SetValue(name, 0, &value); }

  std::vector<std::u16string> enumerated(IWbemContext* context) {
    std::vector<std::u16string> names;
    EXPECT_EQ(context->BeginEnumeration(0), WBEM_S_NO_ERROR);
    for (;;) {
      CComBSTR name;
      CComVariant value;
      const HRESULT hr = context->Next(0, &name, &value);
      if (hr == WBEM_S_NO_MORE_DATA) break;
      EXPECT_EQ(hr, WBEM_S_NO_ERROR);
      if (hr != WBEM_S_NO_ERROR) break;
      names.emplace_back(name.m_str, name.Length());
    }
    EXPECT_EQ(context->EndEnumeration(), WBEM_S_NO_ERROR);
    return names;
  }

  long baseline_ = 0;
  CComPtr<IWbemContext> context_;
};

TEST_F(ContextTest, ValuesKeepTheirTypesAndNamesIgnoreCase) {
  CComPtr<IWbemContext> inner;
  ASSERT_EQ(inner.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER), S_OK);
  ASSERT_EQ(set(u"SubnetName", CComVariant(u"lab")), WBEM_S_NO_ERROR);
  ASSERT_EQ(set(u"Silent", CComVariant(true)), WBEM_S_NO_ERROR);
  ASSERT_EQ(set(u"NodeTypeKind", CComVariant(3)), WBEM_S_NO_ERROR);
  ASSERT_EQ(set(u"Names", stringArray({u"a", u"b"})), WBEM_S_NO_ERROR);
  ASSERT_EQ(set(u"Object", CComVariant(static_cast<IUnknown*>(inner.p))), WBEM_S_NO_ERROR);

  CComVariant value;
  ASSERT_EQ(context_->GetValue(u"subnetname", 0, &value), WBEM_S_NO_ERROR);
  EXPECT_EQ(textOf(value), u"lab");
  value.Clear();
  ASSERT_EQ(context_->GetValue(u"SILENT", 0, &value), WBEM_S_NO_ERROR);
  EXPECT_EQ(value.vt, VT_BOOL);
  EXPECT_EQ(value.boolVal, VARIANT_TRUE);
  value.Clear();
  ASSERT_EQ(context_->GetValue(u"NodeTypeKind", 0, &value), WBEM_S_NO_ERROR);
  EXPECT_EQ(value.vt, VT_I4);
  EXPECT_EQ(value.lVal, 3);
  value.Clear();
  ASSERT_EQ(context_->GetValue(u"Names", 0, &value), WBEM_S_NO_ERROR);
  EXPECT_EQ(stringArrayOf(value), (std::vector<std::u16string>{u"a", u"b"}));
  value.Clear();
  ASSERT_EQ(context_->GetValue(u"object", 0, &value), WBEM_S_NO_ERROR);
  EXPECT_EQ(value.vt, VT_UNKNOWN);
  value.Clear();

  // Setting again replaces the value and keeps the first spelling and place.
  ASSERT_EQ(set(u"SUBNETNAME", CComVariant(7)), WBEM_S_NO_ERROR);
  EXPECT_EQ(enumerated(context_),
            (std::vector<std::u16string>{u"SubnetName", u"Silent", u"NodeTypeKind", u"Names", u"Object"}));
  ASSERT_EQ(context_->GetValue(u"SubnetName", 0, &value), WBEM_S_NO_ERROR);
  EXPECT_EQ(value.vt, VT_I4);

  EXPECT_EQ(context_->GetValue(u"Missing", 0, &value), WBEM_E_NOT_FOUND);
  EXPECT_EQ(value.vt, VT_EMPTY);
  EXPECT_EQ(context_->GetValue(nullptr, 0, &value), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(context_->GetValue(u"Silent", 1, &value), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(context_->SetValue(u"", 0, &value), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(context_->SetValue(u"x", 0, nullptr), WBEM_E_INVALID_PARAMETER);
}

TEST_F(ContextTest, EnumerationDeletionAndClone) {
  CComPtr<IWbemContext> copy;
  EXPECT_EQ(context_->Next(0, nullptr, nullptr), WBEM_E_UNEXPECTED);
  EXPECT_TRUE(enumerated(context_).empty());
  for (const char16_t* name : {u"one", u"two", u"three"}) set(name, CComVariant(name));

  // Deleting behind the cursor keeps the enumeration on the next value.
  ASSERT_EQ(context_->BeginEnumeration(0), WBEM_S_NO_ERROR);
  CComBSTR name;
  ASSERT_EQ(context_->Next(0, &name, nullptr), WBEM_S_NO_ERROR);
  ASSERT_EQ(context_->Next(0, nullptr, nullptr), WBEM_S_NO_ERROR);
  ASSERT_EQ(context_->DeleteValue(u"ONE", 0), WBEM_S_NO_ERROR);
  name.Empty();
  ASSERT_EQ(context_->Next(0, &name, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(std::u16string(name.m_str), u"three");
  EXPECT_EQ(context_->Next(0, nullptr, nullptr), WBEM_S_NO_MORE_DATA);
  context_->EndEnumeration();
  EXPECT_EQ(context_->DeleteValue(u"one", 0), WBEM_E_NOT_FOUND);

  ASSERT_EQ(context_->Clone(&copy), WBEM_S_NO_ERROR);
  set(u"four", CComVariant(4));
  ASSERT_EQ(copy->DeleteValue(u"two", 0), WBEM_S_NO_ERROR);
  EXPECT_EQ(enumerated(context_), (std::vector<std::u16string>{u"two", u"three", u"four"}));
  EXPECT_EQ(enumerated(copy), (std::vector<std::u16string>{u"three"}));

  SAFEARRAY* names = nullptr;
  ASSERT_EQ(context_->GetNames(0, &names), WBEM_S_NO_ERROR);
  CComVariant list;
  list.vt = VT_ARRAY | VT_BSTR;
  list.parray = names;
  EXPECT_EQ(stringArrayOf(list), (std::vector<std::u16string>{u"two", u"three", u"four"}));

  ASSERT_EQ(context_->DeleteAll(), WBEM_S_NO_ERROR);
  EXPECT_TRUE(enumerated(context_).empty());
  EXPECT_EQ(enumerated(copy), (std::vector<std::u16string>{u"three"}));
}

}  // namespace
}  // namespace wmitest
