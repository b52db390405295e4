// A starting point for providers: IWbemServices with every call answered
// WBEM_E_PROVIDER_NOT_CAPABLE, so that a provider overrides only the
// asynchronous calls it serves. The object manager falls back on
// CreateInstanceEnumAsync, filtering the instances itself, for a provider
// that does not answer ExecQueryAsync.
#ifndef OM_PLATFORM_WMI_PROVIDERBASE_H_
#define OM_PLATFORM_WMI_PROVIDERBASE_H_

#include <wbemcli.h>

#include <om/ComObject.h>

namespace om::wmi {

class ProviderBase : public om::ComObject<IWbemServices> {
 public:
  HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR, long, IWbemContext*, IWbemServices**,
                                          IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override { return WBEM_E_PROVIDER_NOT_CAPABLE; }
  HRESULT STDMETHODCALLTYPE QueryObjectSink(long, IWbemObjectSink**) override { return WBEM_E_PROVIDER_NOT_CAPABLE; }
  HRESULT STDMETHODCALLTYPE GetObject(const BSTR, long, IWbemContext*, IWbemClassObject**,
                                      IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, long, IWbemContext*, IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR, long, IWbemContext*, IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR, long, IWbemContext*, IEnumWbemClassObject**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, long, IWbemContext*, IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR, long, IWbemContext*, IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR, long, IWbemContext*, IEnumWbemClassObject**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR, const BSTR, long, IWbemContext*, IEnumWbemClassObject**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, long, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, long, IWbemContext*,
                                                  IEnumWbemClassObject**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, long, IWbemContext*,
                                                       IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, long, IWbemContext*, IWbemClassObject*,
                                       IWbemClassObject**, IWbemCallResult**) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, long, IWbemContext*, IWbemClassObject*,
                                            IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }

 protected:
  ProviderBase() = default;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_PROVIDERBASE_H_
