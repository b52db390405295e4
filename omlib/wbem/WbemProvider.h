// The server side of the WMI class wrappers: WbemProvider, the base of every
// provider method; SysStrDeleter, a guard for one BSTR; and the names of the
// WMI status codes.
#ifndef OMLIB_WBEM_WBEMPROVIDER_H_
#define OMLIB_WBEM_WBEMPROVIDER_H_

#include <cstddef>
#include <functional>
#include <vector>

#include <atlbase.h>
#include <atlcomcli.h>
#include <oleauto.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

class WbemClient;

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
  HRESULT getParamInt(const tstring& name, long& value);
  // An embedded object (the caller releases it).
  HRESULT getParamObject(const tstring& name, IWbemClassObject** object);
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
  // The out-parameters in three steps: a new out-instance spawned from the
  // out-class, a value put into it, and the out-instance handed to the sink.
  HRESULT spawnOutput();
  HRESULT putOutput(const tstring& name, const CComVariant& value);
  HRESULT deliverOutput();
  // The three steps at once; the HRESULT of the first failing step or of
  // Indicate.
  HRESULT indicateOutput(const tstring& name, const CComVariant& value);
  HRESULT indicateOutput(const tstring& name, const std::vector<tstring>& values);
  // Delivers the boolean "ReturnValue".
  HRESULT indicateReturnValue(bool result) { return indicateOutput("ReturnValue", CComVariant(result)); }

  // An array of `count` embedded instances of `cls` in `array`: for each
  // index `load` fills `wrapper` (false skips the index) and an instance
  // spawned from `cls` is filled by the wrapper's putToInstance. The array
  // holds the instances stored; a failure to spawn one stops with its
  // HRESULT.
  static HRESULT embeddedArray(IWbemClassObject* cls, WbemClient& wrapper, size_t count,
                               const std::function<bool(size_t)>& load, CComVariant& array);

  IWbemClassObject* m_pInParams;
  IWbemObjectSink* m_pSink;
  CComPtr<IWbemClassObject> m_pOutClass;
  CComPtr<IWbemClassObject> m_pOutInstance;
  CComPtr<IWbemClassObject> m_pClassDef;

 private:
  HRESULT getParam(const tstring& name, VARTYPE type, CComVariant& value);

  tstring m_tstrMethodName;
};

// Declares a method class of a family: constructed from the call's
// services, in-parameters and sink, it serves the method `method`.
#define OM_WBEM_METHOD(Class, Base, method)                                         \
  Class(IWbemServices* services, IWbemClassObject* inParams, IWbemObjectSink* sink) \
      : Base(method, services, inParams, sink) {}

// The provider base of a family: the family's wrapper (the record that reads
// and writes itself as an instance) joined with a provider method. Its
// execInit caches the class definition and the out-parameter signature of
// the method on first use.
template <class Wrapper>
class WbemProviderOf : public Wrapper, public WbemProvider {
 public:
  WbemProviderOf(IWbemServices* services, IWbemClassObject* inParams, IWbemObjectSink* sink)
      : Wrapper(services), WbemProvider(inParams, sink) {}
  template <class Record>
  WbemProviderOf(const Record& record, IWbemServices const* services)
      : Wrapper(record, services), WbemProvider(nullptr, nullptr) {}

  // The provider's own status and clear; a record's setStatus or clear is
  // reached through its wrapper.
  using WbemProvider::clear;
  using WbemProvider::setStatus;

  // Fetches the wrapper's class (with `ctx`) and the out-signature of this
  // object's method unless cached; the HRESULT of the last step.
  HRESULT execInit(IWbemContext* ctx) { return initMethod(this->getServices(), ctx, this->getClassName()); }
  // Delivers the boolean "ReturnValue".
  HRESULT indicate(bool result) { return indicateReturnValue(result); }

 protected:
  WbemProviderOf(const char* method, IWbemServices* services, IWbemClassObject* inParams, IWbemObjectSink* sink)
      : WbemProviderOf(services, inParams, sink) {
    setMethod(method);
  }
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
