#include "Services.h"

#include <new>
#include <utility>

#include "CallResult.h"
#include "ResultSink.h"
#include "SyncCall.h"
#include "Text.h"

namespace om::wmi {
namespace {

std::u16string textOf(BSTR text) { return std::u16string(bstrView(text)); }

// A copy of a caller's object for an asynchronous call, which reads it after
// the caller may have changed it. Null for null.
CComPtr<IWbemClassObject> copyOf(IWbemClassObject* object) {
  CComPtr<IWbemClassObject> copy;
  if (object != nullptr) object->Clone(&copy);
  return copy;
}

// The sink QueryObjectSink gives: what providers indicate to it is fired as
// an event of the namespace.
class EventSink final : public om::ComObject<IWbemObjectSink> {
 public:
  EventSink(ManagerCore& core, std::u16string nameSpace) : core_(core), nameSpace_(std::move(nameSpace)) {}

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override {
    if (lObjectCount < 0 || (lObjectCount > 0 && apObjArray == nullptr)) return WBEM_E_INVALID_PARAMETER;
    for (long i = 0; i < lObjectCount; ++i) {
      const HRESULT hr = core_.fireEvent(nameSpace_, apObjArray[i]);
      if (FAILED(hr)) return hr;
    }
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT, BSTR, IWbemClassObject*) override { return WBEM_S_NO_ERROR; }

 private:
  ManagerCore& core_;
  const std::u16string nameSpace_;
};

}  // namespace

// The operations capture the core, which lives for ever, never this object,
// which the caller may release before they run.
HRESULT Services::async(std::u16string operation, std::u16string parameterInfo, long flags, IWbemContext* context,
                        IWbemObjectSink* sink, Operation work) {
  if (sink == nullptr) return WBEM_E_INVALID_PARAMETER;
  return core_.runAsync(core_.newCall(nameSpace_, std::move(operation), std::move(parameterInfo), flags, context, sink,
                                      true),
                        std::move(work));
}

HRESULT Services::OpenNamespace(const BSTR strNamespace, long lFlags, IWbemContext*, IWbemServices** ppWorkingNamespace,
                                IWbemCallResult** ppResult) {
  if (ppWorkingNamespace != nullptr) *ppWorkingNamespace = nullptr;
  if (ppResult != nullptr) *ppResult = nullptr;
  if ((ppWorkingNamespace == nullptr && ppResult == nullptr) || SysStringLen(strNamespace) == 0) {
    return WBEM_E_INVALID_PARAMETER;
  }
  std::u16string server;
  std::u16string path;
  splitNamespacePath(bstrView(strNamespace), &server, &path);
  if (!server.empty() && !isLocalServer(server)) return WBEM_E_TRANSPORT_FAILURE;
  // A path with a server is absolute; any other is below this namespace.
  std::u16string ns;
  const HRESULT found = ops_->findNamespace(server.empty() ? nameSpace_ + u"\\" + path : path, &ns);
  if (FAILED(found)) return found;
  CComPtr<IWbemServices> opened;
  opened.Attach(new (std::nothrow) Services(core_, ops_, ns));
  if (opened == nullptr) return WBEM_E_OUT_OF_MEMORY;
  if (ppResult != nullptr) {
    CComPtr<ResultSink> done;
    done.Attach(new ResultSink(true));
    done->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
    *ppResult = new (std::nothrow) CallResult(done, opened);
  }
  if (ppWorkingNamespace != nullptr && (lFlags & WBEM_FLAG_RETURN_IMMEDIATELY) == 0) {
    *ppWorkingNamespace = opened.Detach();
  }
  return WBEM_S_NO_ERROR;
}

HRESULT Services::CancelAsyncCall(IWbemObjectSink* pSink) { return core_.cancel(pSink); }

HRESULT Services::QueryObjectSink(long, IWbemObjectSink** ppResponseHandler) {
  if (ppResponseHandler == nullptr) return WBEM_E_INVALID_PARAMETER;
  *ppResponseHandler = nullptr;
  // Events are fired only into the manager of this process.
  if (ops_.get() != static_cast<ServiceOperations*>(&core_)) return WBEM_E_NOT_SUPPORTED;
  *ppResponseHandler = new (std::nothrow) EventSink(core_, nameSpace_);
  return *ppResponseHandler == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR;
}

// ---- Objects -------------------------------------------------------------------------

HRESULT Services::GetObject(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx, IWbemClassObject** ppObject,
                            IWbemCallResult** ppCallResult) {
  if (SyncCall::lacksCallResult(lFlags, ppCallResult)) return WBEM_E_INVALID_PARAMETER;
  const std::u16string path = textOf(strObjectPath);
  SyncCall call(core_, nameSpace_, u"GetObject", path, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->getObject(c, path); });
  return call.object(ppObject, ppCallResult);
}

HRESULT Services::GetObjectAsync(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                 IWbemObjectSink* pResponseHandler) {
  const std::u16string path = textOf(strObjectPath);
  return async(u"GetObject", path, lFlags, pCtx, pResponseHandler,
               [ops = ops_, path](const Call& c) { ops->getObject(c, path); });
}

HRESULT Services::PutInstance(IWbemClassObject* pInst, long lFlags, IWbemContext* pCtx,
                              IWbemCallResult** ppCallResult) {
  if (pInst == nullptr || SyncCall::lacksCallResult(lFlags, ppCallResult)) return WBEM_E_INVALID_PARAMETER;
  SyncCall call(core_, nameSpace_, u"PutInstance", u"", lFlags, pCtx);
  call.run([&](const Call& c) { ops_->putInstance(c, pInst); });
  return call.done(ppCallResult);
}

HRESULT Services::PutInstanceAsync(IWbemClassObject* pInst, long lFlags, IWbemContext* pCtx,
                                   IWbemObjectSink* pResponseHandler) {
  if (pInst == nullptr) return WBEM_E_INVALID_PARAMETER;
  const CComPtr<IWbemClassObject> instance = copyOf(pInst);
  return async(u"PutInstance", u"", lFlags, pCtx, pResponseHandler,
               [ops = ops_, instance](const Call& c) { ops->putInstance(c, instance); });
}

HRESULT Services::DeleteInstance(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                 IWbemCallResult** ppCallResult) {
  if (SyncCall::lacksCallResult(lFlags, ppCallResult)) return WBEM_E_INVALID_PARAMETER;
  const std::u16string path = textOf(strObjectPath);
  SyncCall call(core_, nameSpace_, u"DeleteInstance", path, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->deleteInstance(c, path); });
  return call.done(ppCallResult);
}

HRESULT Services::DeleteInstanceAsync(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                      IWbemObjectSink* pResponseHandler) {
  const std::u16string path = textOf(strObjectPath);
  return async(u"DeleteInstance", path, lFlags, pCtx, pResponseHandler,
               [ops = ops_, path](const Call& c) { ops->deleteInstance(c, path); });
}

HRESULT Services::CreateInstanceEnum(const BSTR strFilter, long lFlags, IWbemContext* pCtx,
                                     IEnumWbemClassObject** ppEnum) {
  if (ppEnum == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string className = textOf(strFilter);
  SyncCall call(core_, nameSpace_, u"CreateInstanceEnum", className, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->createInstanceEnum(c, className); });
  return call.enumerator(ppEnum);
}

HRESULT Services::CreateInstanceEnumAsync(const BSTR strFilter, long lFlags, IWbemContext* pCtx,
                                          IWbemObjectSink* pResponseHandler) {
  const std::u16string className = textOf(strFilter);
  return async(u"CreateInstanceEnum", className, lFlags, pCtx, pResponseHandler,
               [ops = ops_, className](const Call& c) { ops->createInstanceEnum(c, className); });
}

HRESULT Services::ExecQuery(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags, IWbemContext* pCtx,
                            IEnumWbemClassObject** ppEnum) {
  if (ppEnum == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string language = textOf(strQueryLanguage);
  const std::u16string query = textOf(strQuery);
  SyncCall call(core_, nameSpace_, u"ExecQuery", query, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->execQuery(c, language, query); });
  return call.enumerator(ppEnum);
}

HRESULT Services::ExecQueryAsync(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags, IWbemContext* pCtx,
                                 IWbemObjectSink* pResponseHandler) {
  const std::u16string language = textOf(strQueryLanguage);
  const std::u16string query = textOf(strQuery);
  return async(u"ExecQuery", query, lFlags, pCtx, pResponseHandler,
               [ops = ops_, language, query](const Call& c) { ops->execQuery(c, language, query); });
}

// ---- Events ------------------------------------------------------------------------------

HRESULT Services::ExecNotificationQuery(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                        IWbemContext* pCtx, IEnumWbemClassObject** ppEnum) {
  // Events never end by themselves: only the semisynchronous form makes sense.
  constexpr long kRequired = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;
  if (ppEnum == nullptr || (lFlags & kRequired) != kRequired) return WBEM_E_INVALID_PARAMETER;
  const std::u16string language = textOf(strQueryLanguage);
  const std::u16string query = textOf(strQuery);
  SyncCall call(core_, nameSpace_, u"ExecNotificationQuery", query, lFlags, pCtx, true);
  call.run([&](const Call& c) { ops_->execNotificationQuery(c, language, query); });
  return call.enumerator(ppEnum, true);
}

HRESULT Services::ExecNotificationQueryAsync(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                             IWbemContext* pCtx, IWbemObjectSink* pResponseHandler) {
  if (pResponseHandler == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string query = textOf(strQuery);
  // Subscribed before returning, so that no event fired afterwards is missed;
  // a refused query ends the call through the sink as usual.
  const Call call =
      core_.newCall(nameSpace_, u"ExecNotificationQuery", query, lFlags, pCtx, pResponseHandler, true);
  ops_->execNotificationQuery(call, textOf(strQueryLanguage), query);
  return WBEM_S_NO_ERROR;
}

// ---- Methods -----------------------------------------------------------------------------

HRESULT Services::ExecMethod(const BSTR strObjectPath, const BSTR strMethodName, long lFlags, IWbemContext* pCtx,
                             IWbemClassObject* pInParams, IWbemClassObject** ppOutParams,
                             IWbemCallResult** ppCallResult) {
  if (SyncCall::lacksCallResult(lFlags, ppCallResult)) return WBEM_E_INVALID_PARAMETER;
  const std::u16string path = textOf(strObjectPath);
  const std::u16string method = textOf(strMethodName);
  SyncCall call(core_, nameSpace_, u"ExecMethod", path, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->execMethod(c, path, method, pInParams); });
  return call.object(ppOutParams, ppCallResult);
}

HRESULT Services::ExecMethodAsync(const BSTR strObjectPath, const BSTR strMethodName, long lFlags,
                                  IWbemContext* pCtx, IWbemClassObject* pInParams, IWbemObjectSink* pResponseHandler) {
  const std::u16string path = textOf(strObjectPath);
  const std::u16string method = textOf(strMethodName);
  const CComPtr<IWbemClassObject> in = copyOf(pInParams);
  return async(u"ExecMethod", path, lFlags, pCtx, pResponseHandler,
               [ops = ops_, path, method, in](const Call& c) { ops->execMethod(c, path, method, in); });
}

// ---- Classes -----------------------------------------------------------------------------

HRESULT Services::PutClass(IWbemClassObject* pObject, long lFlags, IWbemContext* pCtx,
                           IWbemCallResult** ppCallResult) {
  if (pObject == nullptr || SyncCall::lacksCallResult(lFlags, ppCallResult)) return WBEM_E_INVALID_PARAMETER;
  SyncCall call(core_, nameSpace_, u"PutClass", u"", lFlags, pCtx);
  call.run([&](const Call& c) { ops_->putClass(c, pObject); });
  return call.done(ppCallResult);
}

HRESULT Services::PutClassAsync(IWbemClassObject* pObject, long lFlags, IWbemContext* pCtx,
                                IWbemObjectSink* pResponseHandler) {
  if (pObject == nullptr) return WBEM_E_INVALID_PARAMETER;
  const CComPtr<IWbemClassObject> object = copyOf(pObject);
  return async(u"PutClass", u"", lFlags, pCtx, pResponseHandler,
               [ops = ops_, object](const Call& c) { ops->putClass(c, object); });
}

HRESULT Services::DeleteClass(const BSTR strClass, long lFlags, IWbemContext* pCtx, IWbemCallResult** ppCallResult) {
  if (SyncCall::lacksCallResult(lFlags, ppCallResult)) return WBEM_E_INVALID_PARAMETER;
  const std::u16string className = textOf(strClass);
  SyncCall call(core_, nameSpace_, u"DeleteClass", className, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->deleteClass(c, className); });
  return call.done(ppCallResult);
}

HRESULT Services::DeleteClassAsync(const BSTR strClass, long lFlags, IWbemContext* pCtx,
                                   IWbemObjectSink* pResponseHandler) {
  const std::u16string className = textOf(strClass);
  return async(u"DeleteClass", className, lFlags, pCtx, pResponseHandler,
               [ops = ops_, className](const Call& c) { ops->deleteClass(c, className); });
}

HRESULT Services::CreateClassEnum(const BSTR strSuperclass, long lFlags, IWbemContext* pCtx,
                                  IEnumWbemClassObject** ppEnum) {
  if (ppEnum == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string superclass = textOf(strSuperclass);
  SyncCall call(core_, nameSpace_, u"CreateClassEnum", superclass, lFlags, pCtx);
  call.run([&](const Call& c) { ops_->createClassEnum(c, superclass); });
  return call.enumerator(ppEnum);
}

HRESULT Services::CreateClassEnumAsync(const BSTR strSuperclass, long lFlags, IWbemContext* pCtx,
                                       IWbemObjectSink* pResponseHandler) {
  const std::u16string superclass = textOf(strSuperclass);
  return async(u"CreateClassEnum", superclass, lFlags, pCtx, pResponseHandler,
               [ops = ops_, superclass](const Call& c) { ops->createClassEnum(c, superclass); });
}

}  // namespace om::wmi
