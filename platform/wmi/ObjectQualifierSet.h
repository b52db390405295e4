// The IWbemQualifierSet of a CimObject: the qualifiers of the object's class,
// of one property or of one method. Reading works on classes and instances
// (an instance sees the qualifiers that propagate to instances); changes are
// made on class objects only, and go to that class object's definition.
#ifndef OM_PLATFORM_WMI_OBJECTQUALIFIERSET_H_
#define OM_PLATFORM_WMI_OBJECTQUALIFIERSET_H_

#include <string>
#include <vector>

#include <atlcomcli.h>
#include <om/ComObject.h>
#include <wbemcli.h>

#include "CimObject.h"

namespace om::wmi {

class ObjectQualifierSet final : public om::ComObject<IWbemQualifierSet> {
 public:
  using Target = CimObject::QualifierTarget;

  // Holds a reference to `owner`.
  ObjectQualifierSet(CimObject* owner, Target target, std::u16string name);

  HRESULT STDMETHODCALLTYPE Get(LPCWSTR wszName, long lFlags, VARIANT* pVal, long* plFlavor) override;
  HRESULT STDMETHODCALLTYPE Put(LPCWSTR wszName, VARIANT* pVal, long lFlavor) override;
  HRESULT STDMETHODCALLTYPE Delete(LPCWSTR wszName) override;
  HRESULT STDMETHODCALLTYPE GetNames(long lFlags, SAFEARRAY** pNames) override;
  HRESULT STDMETHODCALLTYPE BeginEnumeration(long lFlags) override;
  HRESULT STDMETHODCALLTYPE Next(long lFlags, BSTR* pstrName, VARIANT* pVal, long* plFlavor) override;
  HRESULT STDMETHODCALLTYPE EndEnumeration() override;

 private:
  HRESULT read(QualifierList* out) const;
  std::vector<std::u16string> names(long flags) const;

  CComPtr<IWbemClassObject> ownerRef_;
  CimObject* owner_;
  Target target_;
  std::u16string name_;
  std::vector<std::u16string> enumNames_;
  size_t enumNext_ = 0;
  bool enumerating_ = false;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_OBJECTQUALIFIERSET_H_
