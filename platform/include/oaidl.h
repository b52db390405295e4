// Automation data types with their Windows layout: VARIANT, SAFEARRAY, and the
// error-object interfaces IErrorInfo and ICreateErrorInfo. The functions that
// work on them are declared in oleauto.h.
#ifndef OM_PLATFORM_OAIDL_H_
#define OM_PLATFORM_OAIDL_H_

#include <unknwn.h>
#include <wtypes.h>

typedef struct tagSAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
} SAFEARRAYBOUND, *LPSAFEARRAYBOUND;

// An array descriptor. Element storage (pvData) belongs to the array and is
// freed with it; the elements' own resources (BSTRs, interface references,
// VARIANT contents) are freed too, according to fFeatures.
typedef struct tagSAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  PVOID pvData;
  SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY, *LPSAFEARRAY;

#define FADF_AUTO 0x0001
#define FADF_STATIC 0x0002
#define FADF_EMBEDDED 0x0004
#define FADF_FIXEDSIZE 0x0010
#define FADF_RECORD 0x0020
#define FADF_HAVEIID 0x0040
#define FADF_HAVEVARTYPE 0x0080
#define FADF_BSTR 0x0100
#define FADF_UNKNOWN 0x0200
#define FADF_DISPATCH 0x0400
#define FADF_VARIANT 0x0800
#define FADF_RESERVED 0xF008

// A tagged value: `vt` says which member of the union is valid. 24 bytes, as
// on 64-bit Windows.
typedef struct tagVARIANT VARIANT;
struct tagVARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    FLOAT fltVal;
    DOUBLE dblVal;
    VARIANT_BOOL boolVal;
    SCODE scode;
    DATE date;
    BSTR bstrVal;
    IUnknown* punkVal;
    SAFEARRAY* parray;
    BYTE* pbVal;
    SHORT* piVal;
    LONG* plVal;
    LONGLONG* pllVal;
    FLOAT* pfltVal;
    DOUBLE* pdblVal;
    VARIANT_BOOL* pboolVal;
    SCODE* pscode;
    DATE* pdate;
    BSTR* pbstrVal;
    IUnknown** ppunkVal;
    SAFEARRAY** pparray;
    VARIANT* pvarVal;
    PVOID byref;
    CHAR cVal;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
    CHAR* pcVal;
    USHORT* puiVal;
    ULONG* pulVal;
    ULONGLONG* pullVal;
    INT* pintVal;
    UINT* puintVal;
    struct {
      PVOID pvRecord;
      PVOID pRecInfo;
    } brecVal;  // VT_RECORD is not supported; kept for the layout
  };
};
typedef VARIANT VARIANTARG;
typedef VARIANT* LPVARIANT;
typedef VARIANT* LPVARIANTARG;

#define V_VT(X) ((X)->vt)
#define V_ISBYREF(X) (V_VT(X) & VT_BYREF)
#define V_ISARRAY(X) (V_VT(X) & VT_ARRAY)
#define V_UI1(X) ((X)->bVal)
#define V_I2(X) ((X)->iVal)
#define V_I4(X) ((X)->lVal)
#define V_UI4(X) ((X)->ulVal)
#define V_I8(X) ((X)->llVal)
#define V_R4(X) ((X)->fltVal)
#define V_R8(X) ((X)->dblVal)
#define V_BOOL(X) ((X)->boolVal)
#define V_BSTR(X) ((X)->bstrVal)
#define V_UNKNOWN(X) ((X)->punkVal)
#define V_ARRAY(X) ((X)->parray)
#define V_BYREF(X) ((X)->byref)

DEFINE_GUID(IID_IErrorInfo, 0x1CF2B120, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19);
DEFINE_GUID(IID_ICreateErrorInfo, 0x22F03340, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19);

// The error object of a thread (SetErrorInfo/GetErrorInfo): what failed and
// why, for the caller of a failed call.
struct IErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) = 0;
};
OM_INTERFACE_ID(IErrorInfo, IID_IErrorInfo);

// Fills the general-purpose error object that CreateErrorInfo makes.
struct ICreateErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) = 0;
};
OM_INTERFACE_ID(ICreateErrorInfo, IID_ICreateErrorInfo);

#endif  // OM_PLATFORM_OAIDL_H_
