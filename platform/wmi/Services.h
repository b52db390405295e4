// IWbemServices of one namespace, of the object manager in this process or
// of another server's. Services objects are proxies (CoSetProxyBlanket keeps
// a blanket on them); each call becomes one of the ServiceOperations:
// synchronous ones on the caller's thread, asynchronous ones on the
// manager's workers.
#ifndef OM_PLATFORM_WMI_SERVICES_H_
#define OM_PLATFORM_WMI_SERVICES_H_

#include <functional>
#include <memory>
#include <string>

#include <wbemcli.h>

#include <om/ComObject.h>
#include <om/ProxyBlanket.h>

#include "Call.h"
#include "ObjectManagerCore.h"
#include "ServiceOperations.h"

namespace om::wmi {

class Services final : public om::ComObject<IWbemServices, om::ProxyBlanketHolder> {
 public:
  // The namespace `nameSpace` of the manager in this process; it must exist,
  // spelled as stored.
  Services(ManagerCore& core, std::u16string nameSpace)
      : Services(core, std::shared_ptr<ServiceOperations>(&core, [](ServiceOperations*) {}), std::move(nameSpace)) {}
  // A namespace served by `operations` (another server's manager); `core`
  // runs the calls' sinks and asynchronous work in this process.
  Services(ManagerCore& core, std::shared_ptr<ServiceOperations> operations, std::u16string nameSpace)
      : core_(core), ops_(std::move(operations)), nameSpace_(std::move(nameSpace)) {}

  HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR strNamespace, long lFlags, IWbemContext* pCtx,
                                          IWbemServices** ppWorkingNamespace, IWbemCallResult** ppResult) override;
  HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink* pSink) override;
  HRESULT STDMETHODCALLTYPE QueryObjectSink(long lFlags, IWbemObjectSink** ppResponseHandler) override;
  HRESULT STDMETHODCALLTYPE GetObject(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                      IWbemClassObject** ppObject, IWbemCallResult** ppCallResult) override;
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                           IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject* pObject, long lFlags, IWbemContext* pCtx,
                                     IWbemCallResult** ppCallResult) override;
  HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject* pObject, long lFlags, IWbemContext* pCtx,
                                          IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR strClass, long lFlags, IWbemContext* pCtx,
                                        IWbemCallResult** ppCallResult) override;
  HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR strClass, long lFlags, IWbemContext* pCtx,
                                             IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR strSuperclass, long lFlags, IWbemContext* pCtx,
                                            IEnumWbemClassObject** ppEnum) override;
  HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR strSuperclass, long lFlags, IWbemContext* pCtx,
                                                 IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject* pInst, long lFlags, IWbemContext* pCtx,
                                        IWbemCallResult** ppCallResult) override;
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* pInst, long lFlags, IWbemContext* pCtx,
                                             IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                           IWbemCallResult** ppCallResult) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                                IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR strFilter, long lFlags, IWbemContext* pCtx,
                                               IEnumWbemClassObject** ppEnum) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR strFilter, long lFlags, IWbemContext* pCtx,
                                                    IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                      IWbemContext* pCtx, IEnumWbemClassObject** ppEnum) override;
  HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                           IWbemContext* pCtx, IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                                  IWbemContext* pCtx, IEnumWbemClassObject** ppEnum) override;
  HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR strQueryLanguage, const BSTR strQuery,
                                                       long lFlags, IWbemContext* pCtx,
                                                       IWbemObjectSink* pResponseHandler) override;
  HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR strObjectPath, const BSTR strMethodName, long lFlags,
                                       IWbemContext* pCtx, IWbemClassObject* pInParams,
                                       IWbemClassObject** ppOutParams, IWbemCallResult** ppCallResult) override;
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR strObjectPath, const BSTR strMethodName, long lFlags,
                                            IWbemContext* pCtx, IWbemClassObject* pInParams,
                                            IWbemObjectSink* pResponseHandler) override;

 private:
  using Operation = std::function<void(const Call&)>;

  // Starts an asynchronous call whose results go to `sink`.
  HRESULT async(std::u16string operation, std::u16string parameterInfo, long flags, IWbemContext* context,
                IWbemObjectSink* sink, Operation work);

  ManagerCore& core_;
  // Shared with the asynchronous operations under way, which may outlive
  // this object.
  const std::shared_ptr<ServiceOperations> ops_;
  const std::u16string nameSpace_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_SERVICES_H_
