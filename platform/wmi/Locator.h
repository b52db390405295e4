// IWbemLocator (CLSID_WbemLocator): connects to a namespace of an object
// manager.
//
// This machine, in any of its spellings ("\\.\root\x", "//./root/x",
// "\\localhost\...", "\\<host name>\...", or no server at all: "root\x",
// case-insensitively): the manager hosted in this process, or when there is
// none (or the environment has OMLIB_LOCAL_SERVER=daemon) the local daemon
// through its Unix socket (localServerSocket()). A
// user or password on such a connection is WBEM_E_LOCAL_CREDENTIALS; no
// manager and no daemon WBEM_E_TRANSPORT_FAILURE.
//
// Another server ("\\HOST\root\x", "\\HOST:PORT\...", port 5989 by
// default): its daemon over HTTPS with the user and password given, the
// server's certificate verified against serverTrustFile(). An unreachable
// server is HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), a certificate that
// does not verify CERT_E_UNTRUSTEDROOT, a failed handshake
// SEC_E_ILLEGAL_MESSAGE, refused credentials WBEM_E_ACCESS_DENIED; the
// thread's error object says what happened.
//
// A namespace that does not exist is WBEM_E_INVALID_NAMESPACE.
#ifndef OM_PLATFORM_WMI_LOCATOR_H_
#define OM_PLATFORM_WMI_LOCATOR_H_

#include <wbemcli.h>

#include <om/ComObject.h>

namespace om::wmi {

class Locator final : public om::ComObject<IWbemLocator> {
 public:
  Locator() = default;

  HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR strNetworkResource, const BSTR strUser, const BSTR strPassword,
                                          const BSTR strLocale, long lSecurityFlags, const BSTR strAuthority,
                                          IWbemContext* pCtx, IWbemServices** ppNamespace) override;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_LOCATOR_H_
