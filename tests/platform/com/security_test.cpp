// Process-wide security is set once per process, so this program has one
// test that runs the whole sequence in order.
#include <gtest/gtest.h>

#include <thread>

#include <atlbase.h>
#include <objbase.h>

#include <om/ComRuntime.h>
#include <om/ProxyBlanket.h>

#include "TestObjects.h"

namespace {

HRESULT initializeSecurity(LONG services, SOLE_AUTHENTICATION_SERVICE* list, DWORD authnLevel, DWORD impLevel) {
  return CoInitializeSecurity(nullptr, services, list, nullptr, authnLevel, impLevel, nullptr, EOAC_NONE, nullptr);
}

TEST(CoInitializeSecurity, SetOnceThenTooLate) {
  // Not on a thread without COM; nothing is fixed by that failure.
  EXPECT_EQ(initializeSecurity(-1, nullptr, RPC_C_AUTHN_LEVEL_PKT, RPC_C_IMP_LEVEL_IMPERSONATE),
            CO_E_NOTINITIALIZED);

  ASSERT_EQ(CoInitialize(nullptr), S_OK);
  // Bad arguments are refused without using up the one call.
  EXPECT_EQ(initializeSecurity(-2, nullptr, RPC_C_AUTHN_LEVEL_PKT, RPC_C_IMP_LEVEL_IMPERSONATE), E_INVALIDARG);
  EXPECT_EQ(initializeSecurity(1, nullptr, RPC_C_AUTHN_LEVEL_PKT, RPC_C_IMP_LEVEL_IMPERSONATE), E_INVALIDARG);
  EXPECT_EQ(initializeSecurity(-1, nullptr, 7, RPC_C_IMP_LEVEL_IMPERSONATE), E_INVALIDARG);
  EXPECT_EQ(initializeSecurity(-1, nullptr, RPC_C_AUTHN_LEVEL_PKT, 5), E_INVALIDARG);

  SOLE_AUTHENTICATION_SERVICE services[1] = {{RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, E_FAIL}};
  EXPECT_EQ(initializeSecurity(1, services, RPC_C_AUTHN_LEVEL_PKT, RPC_C_IMP_LEVEL_IMPERSONATE), S_OK);
  EXPECT_EQ(services[0].hr, S_OK);
  EXPECT_EQ(initializeSecurity(-1, nullptr, RPC_C_AUTHN_LEVEL_NONE, RPC_C_IMP_LEVEL_IDENTIFY), RPC_E_TOO_LATE);
  std::thread([] {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    EXPECT_EQ(initializeSecurity(-1, nullptr, RPC_C_AUTHN_LEVEL_NONE, RPC_C_IMP_LEVEL_IDENTIFY), RPC_E_TOO_LATE);
    CoUninitialize();
  }).join();

  const om::ComSecurity security = om::processComSecurity();
  EXPECT_EQ(security.authnLevel, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT));
  EXPECT_EQ(security.impLevel, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));

  // Proxies start with the process's settings, and defaults resolve to them.
  CComPtr<comtest::IValue> proxy;
  proxy.Attach(new comtest::Proxy);
  DWORD level = 0, imp = 0;
  ASSERT_EQ(CoQueryProxyBlanket(proxy, nullptr, nullptr, nullptr, &level, &imp, nullptr, nullptr), S_OK);
  EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT));
  EXPECT_EQ(imp, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
  ASSERT_EQ(CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY,
                              RPC_C_IMP_LEVEL_DEFAULT, nullptr, EOAC_NONE),
            S_OK);
  ASSERT_EQ(CoQueryProxyBlanket(proxy, nullptr, nullptr, nullptr, &level, &imp, nullptr, nullptr), S_OK);
  EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT_PRIVACY));
  EXPECT_EQ(imp, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
  proxy.Release();
  CoUninitialize();
}

}  // namespace
