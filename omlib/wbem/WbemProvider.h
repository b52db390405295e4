// The server side of the WMI class wrappers: WbemProvider, the base of every
// provider method; SysStrDeleter, a guard for one BSTR; and the names of the
// WMI status codes.
#ifndef OMLIB_WBEM_WBEMPROVIDER_H_
#define OMLIB_WBEM_WBEMPROVIDER_H_

#include <vector>

#include <atlbase.h>
#include <atlcomcli.h>
#include <oleauto.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

// One method call served by a provider: reads the call's in-parameters,
// fills the out-parameters and reports the result through the call's sink.
// The in-parameters and the sink belong to WMI; the out-class and the
// out-instance are held (one reference each) until clear() or destruction,
// the class definition and the method's name for the object's life. Copies
// share the cached class objects.
class WbemProvider {
 public:
  WbemProvider(IWbemClassObject* inParams, IWbemObjectSink* sink) : m_pInParams(inParams), m_pSink(sink) {}
  WbemProvider(const WbemProvider& other) = default;
  WbemProvider& operator=(const WbemProvider& other) = default;
  virtual ~WbemProvider() = default;

  // Ends the call: SetStatus(WBEM_STATUS_COMPLETE, hr) on the sink; returns hr.
  HRESULT setStatus(HRESULT hr);
  // The in-parameter `name` when it is a string (or a boolean); 0, the
  // HRESULT of the read, or WBEM_E_INVALID_PARAMETER when there are no
  // in-parameters or the value has another type.
  HRESULT getParamString(const tstring& name, tstring& value);
  HRESULT getParamBool(const tstring& name, bool& value);
  // The same for a string array (null reads as an empty list).
  HRESULT getParamStrings(const tstring& name, std::vector<tstring>& values);
  void clear();
  // The method this object serves.
  const tstring& getMethodName() const { return m_tstrMethodName; }

 protected:
  void setMethod(const tstring& method) { m_tstrMethodName = method; }
  // Caches the class `className` (read with the call's context) and the
  // out-parameter signature of this object's method in the out-class, each
  // unless cached already; a failed step clears its cache. Returns the
  // HRESULT of the last step taken.
  HRESULT initMethod(IWbemServices* services, IWbemContext* ctx, const tstring& className);
  // Spawns the out-instance from the out-class, puts `name` into it and
  // hands it to the sink; the HRESULT of the first failing step or of
  // Indicate.
  HRESULT indicateOutput(const tstring& name, const CComVariant& value);
  HRESULT indicateOutput(const tstring& name, const std::vector<tstring>& values);
  // Delivers the boolean "ReturnValue".
  HRESULT indicateReturnValue(bool result) { return indicateOutput("ReturnValue", CComVariant(result)); }

  IWbemClassObject* m_pInParams;
  IWbemObjectSink* m_pSink;
  CComPtr<IWbemClassObject> m_pOutClass;
  CComPtr<IWbemClassObject> m_pOutInstance;
  CComPtr<IWbemClassObject> m_pClassDef;

 private:
  HRESULT getParam(const tstring& name, VARTYPE type, CComVariant& value);

  tstring m_tstrMethodName;
};

// Owns one BSTR and frees it when destroyed or replaced.
class SysStrDeleter {
 public:
  explicit SysStrDeleter(BSTR text = nullptr) : m_bstr(text) {}
  SysStrDeleter(const SysStrDeleter&) = delete;
  SysStrDeleter& operator=(const SysStrDeleter&) = delete;
  ~SysStrDeleter() { SysFreeString(m_bstr); }

  void set(BSTR text);
  BSTR get() const { return m_bstr; }

 private:
  BSTR m_bstr;
};

// The published WMI name of `status` ("WBEM_E_FAILED", ...). Any other code
// gives "0x" and its lower-case hexadecimal digits in one static buffer that
// the next call overwrites: copy it before calling again, from any thread.
LPCWSTR WbemStatusName(HRESULT status);

#endif  // OMLIB_WBEM_WBEMPROVIDER_H_
