// The context object (CLSID_WbemContext): named values a caller sends with a
// call for the provider to read. Names are case-insensitive and keep the
// spelling of their first SetValue; values are kept in the order they were
// first set. Safe to use from several threads.
#ifndef OM_PLATFORM_WMI_WBEMCONTEXT_H_
#define OM_PLATFORM_WMI_WBEMCONTEXT_H_

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include <om/ComObject.h>

namespace om::wmi {

class WbemContext final : public om::ComObject<IWbemContext> {
 public:
  WbemContext() = default;

  HRESULT STDMETHODCALLTYPE Clone(IWbemContext** ppNewCopy) override;
  HRESULT STDMETHODCALLTYPE GetNames(long lFlags, SAFEARRAY** pNames) override;
  HRESULT STDMETHODCALLTYPE BeginEnumeration(long lFlags) override;
  HRESULT STDMETHODCALLTYPE Next(long lFlags, BSTR* pstrName, VARIANT* pValue) override;
  HRESULT STDMETHODCALLTYPE EndEnumeration() override;
  HRESULT STDMETHODCALLTYPE SetValue(LPCWSTR wszName, long lFlags, VARIANT* pValue) override;
  HRESULT STDMETHODCALLTYPE GetValue(LPCWSTR wszName, long lFlags, VARIANT* pValue) override;
  HRESULT STDMETHODCALLTYPE DeleteValue(LPCWSTR wszName, long lFlags) override;
  HRESULT STDMETHODCALLTYPE DeleteAll() override;

 private:
  struct Entry {
    std::u16string name;
    CComVariant value;
  };

  std::vector<Entry>::iterator find(LPCWSTR name);

  std::mutex mutex_;
  std::vector<Entry> entries_;
  bool enumerating_ = false;
  std::size_t cursor_ = 0;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_WBEMCONTEXT_H_
