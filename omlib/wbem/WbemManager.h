// WbemManager: the provider base of the families written in the older
// "manager" style (tasks, task records, MIB nodes). A method class names its
// method; its provider then makes the out-parameter instance first, reads
// the in-parameters, does the server's work, fills and delivers the
// out-parameters and ends with setStatus:
//
//   CStartTask method(services, inParams, sink);
//   HRESULT hr = method.getOutParamInst(ctx);
//   CString name;
//   if (SUCCEEDED(hr)) hr = method.getInParamTaskName(name);
//   if (SUCCEEDED(hr)) hr = method.indicate(startTask(name));
//   return method.setStatus(hr);
#ifndef OMLIB_WBEM_WBEMMANAGER_H_
#define OMLIB_WBEM_WBEMMANAGER_H_

#include <afx.h>

#include "wbem/WbemProvider.h"

template <class Wrapper>
class WbemManager : public WbemProviderOf<Wrapper> {
 public:
  using WbemProviderOf<Wrapper>::WbemProviderOf;

  // Gets the class, the out-signature of `methodName` and spawns the
  // out-parameter instance, which is kept; the first failing HRESULT or 0.
  HRESULT getOutParamInst(IWbemContext* ctx, const char* methodName) {
    if (this->getMethodName() != methodName) {
      this->setMethod(methodName);
      this->m_pOutClass.Release();
    }
    const HRESULT hr = this->execInit(ctx);
    return FAILED(hr) ? hr : this->spawnOutput();
  }
  // The same for the method this object serves.
  virtual HRESULT getOutParamInst(IWbemContext* ctx) { return getOutParamInst(ctx, this->getMethodName().c_str()); }

  // One in-parameter that must be a string / a sint32: 0, the HRESULT of
  // the read, or WBEM_E_INVALID_PARAMETER.
  HRESULT getInParamStrValue(const CString& name, CString& value) {
    tstring text;
    const HRESULT hr = this->getParamString(name.GetString(), text);
    if (SUCCEEDED(hr)) value = text.c_str();
    return hr;
  }
  HRESULT getInParamIntValue(const CString& name, long& value) { return this->getParamInt(name.GetString(), value); }

  // Loads the embedded in-parameter `name` into this object.
  HRESULT getInParamObject(const tstring& name) {
    CComPtr<IWbemClassObject> object;
    const HRESULT hr = this->getParamObject(name, &object);
    if (SUCCEEDED(hr)) this->getFromInstance(object);
    return hr;
  }

  // Puts `result` as the sint32 "ReturnValue" into the out-parameter
  // instance and delivers it; the HRESULT of the put when it failed, else
  // that of Indicate.
  HRESULT indicate(int result) {
    const HRESULT hr = this->putOutput("ReturnValue", CComVariant(result));
    return FAILED(hr) ? hr : this->deliverOutput();
  }
};

#endif  // OMLIB_WBEM_WBEMMANAGER_H_
