// The COM run time: per-thread initialisation, process-wide security, object
// creation through registered class factories, proxy security blankets and
// task memory; with the HRESULTs of COM and automation. Implemented in
// platform/com (target om_com).
//
// Every class here is in-process: a "proxy" is the object itself, and its
// security blanket is kept on it when it implements om::IProxyBlanket
// (om/ProxyBlanket.h). Class factories are registered with
// om::registerClassObject (om/ComRuntime.h) or CoRegisterClassObject.
#ifndef OM_PLATFORM_OBJBASE_H_
#define OM_PLATFORM_OBJBASE_H_

#include <windows.h>

#include <guiddef.h>
#include <unknwn.h>
#include <wtypes.h>

// ---- HRESULT helpers and codes --------------------------------------------------

#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define FACILITY_NULL 0
#define FACILITY_RPC 1
#define FACILITY_DISPATCH 2
#define FACILITY_ITF 4
#define MAKE_HRESULT(sev, fac, code) \
  ((HRESULT)(((unsigned long)(sev) << 31) | ((unsigned long)(fac) << 16) | ((unsigned long)(code))))
#define MAKE_SCODE(sev, fac, code) MAKE_HRESULT(sev, fac, code)
#define HRESULT_SEVERITY(hr) (((hr) >> 31) & 0x1)
#define IS_ERROR(status) ((unsigned long)(status) >> 31 == SEVERITY_ERROR)

#define RPC_E_CHANGED_MODE ((HRESULT)0x80010106L)
#define RPC_E_TOO_LATE ((HRESULT)0x80010119L)
#define RPC_E_NO_GOOD_SECURITY_PACKAGES ((HRESULT)0x8001011AL)
#define DISP_E_UNKNOWNINTERFACE ((HRESULT)0x80020001L)
#define DISP_E_MEMBERNOTFOUND ((HRESULT)0x80020003L)
#define DISP_E_PARAMNOTFOUND ((HRESULT)0x80020004L)
#define DISP_E_TYPEMISMATCH ((HRESULT)0x80020005L)
#define DISP_E_BADVARTYPE ((HRESULT)0x80020008L)
#define DISP_E_OVERFLOW ((HRESULT)0x8002000AL)
#define DISP_E_BADINDEX ((HRESULT)0x8002000BL)
#define DISP_E_ARRAYISLOCKED ((HRESULT)0x8002000DL)
#define DISP_E_BADPARAMCOUNT ((HRESULT)0x8002000EL)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110L)
#define CLASS_E_CLASSNOTAVAILABLE ((HRESULT)0x80040111L)
#define REGDB_E_CLASSNOTREG ((HRESULT)0x80040154L)
#define CO_E_NOTINITIALIZED ((HRESULT)0x800401F0L)
#define CO_E_ALREADYINITIALIZED ((HRESULT)0x800401F1L)
#define CO_E_OBJNOTREG ((HRESULT)0x800401FBL)
#define CO_E_OBJISREG ((HRESULT)0x800401FCL)

// ---- Initialisation ----------------------------------------------------------------

typedef enum tagCOINIT {
  COINIT_MULTITHREADED = 0x0,
  COINIT_APARTMENTTHREADED = 0x2,
  COINIT_DISABLE_OLE1DDE = 0x4,
  COINIT_SPEED_OVER_MEMORY = 0x8
} COINIT;

// Initialises COM on the calling thread. The first call on a thread returns
// S_OK, each further call with the same concurrency model S_FALSE (and must be
// balanced by CoUninitialize too); a call asking for the other model fails
// with RPC_E_CHANGED_MODE and is not counted. CoInitialize is the
// apartment-threaded form.
HRESULT CoInitialize(LPVOID pvReserved);
HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
void CoUninitialize();

// ---- Security -----------------------------------------------------------------------

#define RPC_C_AUTHN_LEVEL_DEFAULT 0
#define RPC_C_AUTHN_LEVEL_NONE 1
#define RPC_C_AUTHN_LEVEL_CONNECT 2
#define RPC_C_AUTHN_LEVEL_CALL 3
#define RPC_C_AUTHN_LEVEL_PKT 4
#define RPC_C_AUTHN_LEVEL_PKT_INTEGRITY 5
#define RPC_C_AUTHN_LEVEL_PKT_PRIVACY 6

#define RPC_C_IMP_LEVEL_DEFAULT 0
#define RPC_C_IMP_LEVEL_ANONYMOUS 1
#define RPC_C_IMP_LEVEL_IDENTIFY 2
#define RPC_C_IMP_LEVEL_IMPERSONATE 3
#define RPC_C_IMP_LEVEL_DELEGATE 4

#define RPC_C_AUTHN_NONE 0
#define RPC_C_AUTHN_DCE_PRIVATE 1
#define RPC_C_AUTHN_DCE_PUBLIC 2
#define RPC_C_AUTHN_DEC_PUBLIC 4
#define RPC_C_AUTHN_GSS_NEGOTIATE 9
#define RPC_C_AUTHN_WINNT 10
#define RPC_C_AUTHN_GSS_SCHANNEL 14
#define RPC_C_AUTHN_GSS_KERBEROS 16
#define RPC_C_AUTHN_DEFAULT 0xFFFFFFFFL

#define RPC_C_AUTHZ_NONE 0
#define RPC_C_AUTHZ_NAME 1
#define RPC_C_AUTHZ_DCE 2
#define RPC_C_AUTHZ_DEFAULT 0xFFFFFFFFL

typedef enum tagEOLE_AUTHENTICATION_CAPABILITIES {
  EOAC_NONE = 0x0,
  EOAC_MUTUAL_AUTH = 0x1,
  EOAC_SECURE_REFS = 0x2,
  EOAC_ACCESS_CONTROL = 0x4,
  EOAC_APPID = 0x8,
  EOAC_DYNAMIC = 0x10,
  EOAC_STATIC_CLOAKING = 0x20,
  EOAC_DYNAMIC_CLOAKING = 0x40,
  EOAC_ANY_AUTHORITY = 0x80,
  EOAC_MAKE_FULLSIC = 0x100,
  EOAC_DEFAULT = 0x800,
  EOAC_REQUIRE_FULLSIC = 0x200,
  EOAC_AUTO_IMPERSONATE = 0x400,
  EOAC_NO_CUSTOM_MARSHAL = 0x2000,
  EOAC_DISABLE_AAA = 0x1000
} EOLE_AUTHENTICATION_CAPABILITIES;

typedef void* PSECURITY_DESCRIPTOR;
typedef void* RPC_AUTH_IDENTITY_HANDLE;

#define COLE_DEFAULT_PRINCIPAL ((OLECHAR*)(INT_PTR)-1)
#define COLE_DEFAULT_AUTHINFO ((void*)(INT_PTR)-1)

// An explicit identity for a proxy. Lengths count characters without the
// terminating NUL; Flags says which form the strings have.
#define SEC_WINNT_AUTH_IDENTITY_ANSI 0x1
#define SEC_WINNT_AUTH_IDENTITY_UNICODE 0x2

typedef struct _SEC_WINNT_AUTH_IDENTITY_A {
  unsigned char* User;
  ULONG UserLength;
  unsigned char* Domain;
  ULONG DomainLength;
  unsigned char* Password;
  ULONG PasswordLength;
  ULONG Flags;
} SEC_WINNT_AUTH_IDENTITY_A, *PSEC_WINNT_AUTH_IDENTITY_A;

typedef struct _SEC_WINNT_AUTH_IDENTITY_W {
  unsigned short* User;
  ULONG UserLength;
  unsigned short* Domain;
  ULONG DomainLength;
  unsigned short* Password;
  ULONG PasswordLength;
  ULONG Flags;
} SEC_WINNT_AUTH_IDENTITY_W, *PSEC_WINNT_AUTH_IDENTITY_W;

typedef SEC_WINNT_AUTH_IDENTITY_A SEC_WINNT_AUTH_IDENTITY;  // TCHAR is char
typedef PSEC_WINNT_AUTH_IDENTITY_A PSEC_WINNT_AUTH_IDENTITY;

typedef struct tagSOLE_AUTHENTICATION_SERVICE {
  DWORD dwAuthnSvc;
  DWORD dwAuthzSvc;
  OLECHAR* pPrincipalName;
  HRESULT hr;
} SOLE_AUTHENTICATION_SERVICE;

// Sets the process's default security, once: a second call returns
// RPC_E_TOO_LATE, as does a call after the defaults were fixed by first use
// (the first CoSetProxyBlanket). The calling thread must have initialised
// COM (CO_E_NOTINITIALIZED otherwise). Levels out of range and a negative
// service count other than -1 are E_INVALIDARG and leave nothing set.
HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR pSecDesc, LONG cAuthSvc,
                             SOLE_AUTHENTICATION_SERVICE* asAuthSvc, void* pReserved1,
                             DWORD dwAuthnLevel, DWORD dwImpLevel, void* pAuthList,
                             DWORD dwCapabilities, void* pReserved3);

// Sets the security blanket of a proxy: an object that implements
// om::IProxyBlanket keeps a copy (the identity's strings are copied; the
// pointer pAuthInfo is remembered only to be reported back). Default values
// (RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_DEFAULT, RPC_C_AUTHN_DEFAULT,
// RPC_C_AUTHZ_DEFAULT, EOAC_DEFAULT) are resolved to the process's settings.
// E_INVALIDARG for a null proxy; E_NOINTERFACE for an object that is not a
// proxy.
HRESULT CoSetProxyBlanket(IUnknown* pProxy, DWORD dwAuthnSvc, DWORD dwAuthzSvc,
                          OLECHAR* pServerPrincName, DWORD dwAuthnLevel, DWORD dwImpLevel,
                          RPC_AUTH_IDENTITY_HANDLE pAuthInfo, DWORD dwCapabilities);

// Reads a proxy's blanket; any output may be null. The principal name is
// allocated with CoTaskMemAlloc (null when there is none); pAuthInfo gets the
// pointer given to CoSetProxyBlanket.
HRESULT CoQueryProxyBlanket(IUnknown* pProxy, DWORD* pwAuthnSvc, DWORD* pAuthzSvc,
                            LPOLESTR* pServerPrincName, DWORD* pAuthnLevel, DWORD* pImpLevel,
                            RPC_AUTH_IDENTITY_HANDLE* pAuthInfo, DWORD* pCapabilites);

// ---- Object creation ---------------------------------------------------------------------

typedef enum tagCLSCTX {
  CLSCTX_INPROC_SERVER = 0x1,
  CLSCTX_INPROC_HANDLER = 0x2,
  CLSCTX_LOCAL_SERVER = 0x4,
  CLSCTX_REMOTE_SERVER = 0x10
} CLSCTX;
#define CLSCTX_INPROC (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER)
#define CLSCTX_SERVER (CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)
#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

typedef enum tagREGCLS {
  REGCLS_SINGLEUSE = 0,
  REGCLS_MULTIPLEUSE = 1,
  REGCLS_MULTI_SEPARATE = 2,
  REGCLS_SUSPENDED = 4,
  REGCLS_SURROGATE = 8
} REGCLS;

typedef struct _COSERVERINFO COSERVERINFO;

// The class factory registered for rclsid, queried for riid. The thread must
// have initialised COM (CO_E_NOTINITIALIZED); an unknown class, or one whose
// registration does not match dwClsContext, is REGDB_E_CLASSNOTREG.
HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, COSERVERINFO* pServerInfo,
                         REFIID riid, LPVOID* ppv);

// A new object of class rclsid through its factory (CoGetClassObject, then
// IClassFactory::CreateInstance). *ppv is null on failure.
HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                         LPVOID* ppv);

// Registers a class object for the process (the calling thread must have
// initialised COM); pUnk must implement IClassFactory. REGCLS_SINGLEUSE
// registrations serve one CoGetClassObject; REGCLS_SUSPENDED is not supported
// (E_INVALIDARG). A class can be registered once (CO_E_OBJISREG).
HRESULT CoRegisterClassObject(REFCLSID rclsid, LPUNKNOWN pUnk, DWORD dwClsContext, DWORD flags,
                              LPDWORD lpdwRegister);
// CO_E_OBJNOTREG for a cookie that is not registered (any more).
HRESULT CoRevokeClassObject(DWORD dwRegister);

// ---- Task memory --------------------------------------------------------------------------

LPVOID CoTaskMemAlloc(SIZE_T cb);
LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb);
void CoTaskMemFree(LPVOID pv);

#endif  // OM_PLATFORM_OBJBASE_H_
