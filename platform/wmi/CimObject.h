// CimObject: the object manager's IWbemClassObject, a class object or an
// instance.
//
// A class object wraps a shared, immutable CimClass; editing it (Put of a
// property or default, qualifier changes, PutMethod, ...) replaces its
// definition by an edited copy, so instances and the repository never see
// the change. An instance holds its class's definition and its own property
// values (each in the VARIANT form of its CIM type, see CimType.h);
// embedded objects are independent copies, so Clone and SpawnInstance give
// objects that share no state, and Get hands out copies of embedded
// objects.
//
// Values are read and written through IWbemClassObject as on Windows; the
// C++ functions below serve the rest of the object manager.
#ifndef OM_PLATFORM_WMI_CIMOBJECT_H_
#define OM_PLATFORM_WMI_CIMOBJECT_H_

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <om/ComObject.h>
#include <wbemcli.h>

#include "CimClass.h"
#include "ObjectPath.h"

namespace om::wmi {

class CimObject final : public om::ComObject<IWbemClassObject> {
 public:
  // A class object for `definition` (one reference, owned by the caller).
  static CComPtr<IWbemClassObject> newClass(ClassPtr definition);
  // An instance of `definition` with the class's default values.
  static CComPtr<IWbemClassObject> newInstance(ClassPtr definition);
  // The object behind `object` when it is one of ours, else null (no new
  // reference).
  static CimObject* from(IWbemClassObject* object);

  bool isClass() const { return isClass_; }
  bool isInstance() const { return !isClass_; }
  // The class of an instance, or the (current) definition of a class object.
  ClassPtr definition() const;
  std::u16string className() const;

  // The value of the property at `index` of definition()->properties(): a
  // copy in its stored form (VT_NULL when null). Embedded objects are
  // shared with this object, not cloned: treat them as read-only.
  CComVariant value(int index) const;
  // Sets a value through the same checks as IWbemClassObject::Put.
  HRESULT setValue(int index, const VARIANT& value);

  // The key properties of an instance as a path (class and keys by name in
  // alphabetical order), with the class's location. False when the class
  // has no key, or a key is null.
  bool keyPath(ObjectPath* path) const;
  // __RELPATH and __PATH; empty when the object has none (an instance with a
  // null key, or a class or instance outside any namespace for __PATH).
  std::u16string relPath() const;
  std::u16string fullPath() const;

  // MOF text of the object (GetObjectText).
  std::u16string objectText() const;

  // IWbemClassObject
  HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** ppQualSet) override;
  HRESULT STDMETHODCALLTYPE Get(LPCWSTR wszName, long lFlags, VARIANT* pVal, CIMTYPE* pType,
                                long* plFlavor) override;
  HRESULT STDMETHODCALLTYPE Put(LPCWSTR wszName, long lFlags, VARIANT* pVal, CIMTYPE Type) override;
  HRESULT STDMETHODCALLTYPE Delete(LPCWSTR wszName) override;
  HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR wszQualifierName, long lFlags, VARIANT* pQualifierVal,
                                     SAFEARRAY** pNames) override;
  HRESULT STDMETHODCALLTYPE BeginEnumeration(long lEnumFlags) override;
  HRESULT STDMETHODCALLTYPE Next(long lFlags, BSTR* strName, VARIANT* pVal, CIMTYPE* pType,
                                 long* plFlavor) override;
  HRESULT STDMETHODCALLTYPE EndEnumeration() override;
  HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR wszProperty, IWbemQualifierSet** ppQualSet) override;
  HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** ppCopy) override;
  HRESULT STDMETHODCALLTYPE GetObjectText(long lFlags, BSTR* pstrObjectText) override;
  HRESULT STDMETHODCALLTYPE SpawnDerivedClass(long lFlags, IWbemClassObject** ppNewClass) override;
  HRESULT STDMETHODCALLTYPE SpawnInstance(long lFlags, IWbemClassObject** ppNewInstance) override;
  HRESULT STDMETHODCALLTYPE CompareTo(long lFlags, IWbemClassObject* pCompareTo) override;
  HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR wszName, BSTR* pstrClassName) override;
  HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR strAncestor) override;
  HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR wszName, long lFlags, IWbemClassObject** ppInSignature,
                                      IWbemClassObject** ppOutSignature) override;
  HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR wszName, long lFlags, IWbemClassObject* pInSignature,
                                      IWbemClassObject* pOutSignature) override;
  HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR wszName) override;
  HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(long lEnumFlags) override;
  HRESULT STDMETHODCALLTYPE NextMethod(long lFlags, BSTR* pstrName, IWbemClassObject** ppInSignature,
                                       IWbemClassObject** ppOutSignature) override;
  HRESULT STDMETHODCALLTYPE EndMethodEnumeration() override;
  HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR wszMethod, IWbemQualifierSet** ppQualSet) override;
  HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR wszMethodName, BSTR* pstrClassName) override;

 private:
  friend class ObjectQualifierSet;

  CimObject(ClassPtr definition, bool isClass);

  // What a qualifier set edits: the class, a property or a method.
  enum class QualifierTarget { kClass, kProperty, kMethod };
  HRESULT readQualifiers(QualifierTarget target, std::u16string_view name, QualifierList* out) const;
  HRESULT editQualifiers(QualifierTarget target, std::u16string_view name,
                         const std::function<HRESULT(QualifierList&)>& edit);

  // The system property `name` (with its leading "__"), if it is one.
  bool systemProperty(std::u16string_view name, VARIANT* value, CIMTYPE* type) const;
  // Edits the class definition of a class object (copy on write).
  HRESULT editClass(const std::function<HRESULT(CimClass&)>& edit);
  std::vector<std::u16string> propertyNames(long flags, std::u16string_view qualifier,
                                            const VARIANT* qualifierValue) const;
  HRESULT newQualifierSet(QualifierTarget target, std::u16string_view name, IWbemQualifierSet** out);

  const bool isClass_;
  mutable std::mutex mutex_;
  ClassPtr definition_;               // guarded by mutex_
  std::vector<CComVariant> values_;   // instances only; guarded by mutex_
  // Property enumeration state (BeginEnumeration/Next).
  std::vector<std::u16string> enumNames_;
  size_t enumNext_ = 0;
  bool enumerating_ = false;
  // Method enumeration state (BeginMethodEnumeration/NextMethod).
  std::vector<std::u16string> methodNames_;
  size_t methodNext_ = 0;
  bool enumeratingMethods_ = false;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CIMOBJECT_H_
