// The per-thread error object, and the general-purpose error object that
// CreateErrorInfo makes.
#include <string>

#include <oleauto.h>

#include <om/ComObject.h>

namespace {

// Holds the thread's error object; releases it when the thread ends.
struct ErrorSlot {
  IErrorInfo* info = nullptr;
  ~ErrorSlot() {
    if (info != nullptr) info->Release();
  }
};
thread_local ErrorSlot t_errorSlot;

HRESULT copyOut(const std::u16string& text, BSTR* out) {
  if (out == nullptr) return E_INVALIDARG;
  *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

std::u16string textOf(LPOLESTR text) { return text == nullptr ? std::u16string() : std::u16string(text); }

// Filled once by whoever creates it, then read; not meant to be filled from
// two threads at once.
class ErrorObject final : public om::ComObject<IErrorInfo, ICreateErrorInfo> {
 public:
  HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override {
    if (pGUID == nullptr) return E_INVALIDARG;
    *pGUID = guid_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override { return copyOut(source_, pBstrSource); }
  HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override {
    return copyOut(description_, pBstrDescription);
  }
  HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override { return copyOut(helpFile_, pBstrHelpFile); }
  HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override {
    if (pdwHelpContext == nullptr) return E_INVALIDARG;
    *pdwHelpContext = helpContext_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) override {
    guid_ = rguid;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) override {
    source_ = textOf(szSource);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) override {
    description_ = textOf(szDescription);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) override {
    helpFile_ = textOf(szHelpFile);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) override {
    helpContext_ = dwHelpContext;
    return S_OK;
  }

 private:
  GUID guid_ = GUID_NULL;
  std::u16string source_;
  std::u16string description_;
  std::u16string helpFile_;
  DWORD helpContext_ = 0;
};

}  // namespace

HRESULT SetErrorInfo(ULONG, IErrorInfo* perrinfo) {
  if (perrinfo != nullptr) perrinfo->AddRef();
  IErrorInfo* old = t_errorSlot.info;
  t_errorSlot.info = perrinfo;
  if (old != nullptr) old->Release();
  return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** pperrinfo) {
  if (pperrinfo == nullptr) return E_INVALIDARG;
  *pperrinfo = t_errorSlot.info;
  t_errorSlot.info = nullptr;
  return *pperrinfo == nullptr ? S_FALSE : S_OK;
}

HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
  if (pperrinfo == nullptr) return E_INVALIDARG;
  *pperrinfo = new (std::nothrow) ErrorObject;
  return *pperrinfo == nullptr ? E_OUTOFMEMORY : S_OK;
}
