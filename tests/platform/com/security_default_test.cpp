// A process whose first proxy came before CoInitializeSecurity: the defaults
// are fixed by that first use, and the explicit call comes too late.
#include <gtest/gtest.h>

#include <atlbase.h>
#include <objbase.h>

#include <om/ComRuntime.h>

#include "TestObjects.h"

namespace {

TEST(CoInitializeSecurity, TooLateAfterTheFirstProxy) {
  ASSERT_EQ(CoInitialize(nullptr), S_OK);
  CComPtr<comtest::IValue> proxy;
  proxy.Attach(new comtest::Proxy);
  DWORD level = 0, imp = 0;
  ASSERT_EQ(CoQueryProxyBlanket(proxy, nullptr, nullptr, nullptr, &level, &imp, nullptr, nullptr), S_OK);
  EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_CONNECT));
  EXPECT_EQ(imp, static_cast<DWORD>(RPC_C_IMP_LEVEL_IDENTIFY));
  EXPECT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT, RPC_C_IMP_LEVEL_IMPERSONATE,
                                 nullptr, EOAC_NONE, nullptr),
            RPC_E_TOO_LATE);
  EXPECT_EQ(om::processComSecurity().authnLevel, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_CONNECT));
  proxy.Release();
  CoUninitialize();
}

}  // namespace
