#include "ExtendedStatus.h"

#include <new>

#include <oleauto.h>

#include <om/ComObject.h>

#include "CimObject.h"
#include "Text.h"

namespace om::wmi {
namespace {

HRESULT putText(IWbemClassObject* object, LPCWSTR name, std::u16string_view text) {
  CComVariant value;
  value.vt = VT_BSTR;
  value.bstrVal = allocBstr(text);
  return object->Put(name, 0, &value, 0);
}

std::u16string textProperty(IWbemClassObject* object, LPCWSTR name) {
  CComVariant value;
  if (FAILED(object->Get(name, 0, &value, nullptr, nullptr)) || value.vt != VT_BSTR) return std::u16string();
  return std::u16string(bstrView(value.bstrVal));
}

// IErrorInfo over an __ExtendedStatus object: the description and source
// are the object's Description and ProviderName, and QueryInterface for
// IWbemClassObject gives the object itself, as WMI's error objects do.
class StatusErrorInfo final : public om::ComObject<IErrorInfo> {
 public:
  explicit StatusErrorInfo(IWbemClassObject* status) : status_(status) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
    if (ppvObject != nullptr && IsEqualIID(riid, IID_IWbemClassObject)) {
      return status_->QueryInterface(riid, ppvObject);
    }
    return ComObject::QueryInterface(riid, ppvObject);
  }

  HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override {
    if (pGUID == nullptr) return E_INVALIDARG;
    *pGUID = IID_IWbemServices;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override { return text(u"ProviderName", pBstrSource); }
  HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override {
    return text(u"Description", pBstrDescription);
  }
  HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override {
    if (pBstrHelpFile == nullptr) return E_INVALIDARG;
    *pBstrHelpFile = nullptr;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override {
    if (pdwHelpContext == nullptr) return E_INVALIDARG;
    *pdwHelpContext = 0;
    return S_OK;
  }

 private:
  HRESULT text(LPCWSTR property, BSTR* out) const {
    if (out == nullptr) return E_INVALIDARG;
    *out = allocBstr(textProperty(status_, property));
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
  }

  CComPtr<IWbemClassObject> status_;
};

}  // namespace

CComPtr<IWbemClassObject> makeExtendedStatus(const ClassRepository& repository, std::u16string_view nameSpace,
                                             const CallInfo& info, HRESULT status, std::u16string_view description) {
  const ClassPtr cls = repository.findClass(nameSpace, u"__ExtendedStatus");
  if (cls == nullptr) return nullptr;
  CComPtr<IWbemClassObject> object = CimObject::newInstance(cls);
  if (object == nullptr) return nullptr;
  putText(object, u"Description", description);
  putText(object, u"Operation", info.operation);
  putText(object, u"ParameterInfo", info.parameterInfo);
  putText(object, u"ProviderName", info.providerName);
  CComVariant code(static_cast<long>(status));
  object->Put(u"StatusCode", 0, &code, 0);
  return object;
}

void setErrorObject(IWbemClassObject* status) {
  if (status == nullptr) {
    SetErrorInfo(0, nullptr);
    return;
  }
  CComPtr<IErrorInfo> info;
  info.Attach(new (std::nothrow) StatusErrorInfo(status));
  SetErrorInfo(0, info);
}

}  // namespace om::wmi
