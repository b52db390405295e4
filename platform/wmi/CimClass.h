// A CIM class definition: name, superclass, qualifiers, properties (the
// inherited ones first) and methods with their parameter signatures.
//
// A definition is built once (by the MOF compiler, or by a class object being
// edited) and then shared, immutable, through std::shared_ptr<const CimClass>
// by the repository, by class objects and by every instance of the class.
#ifndef OM_PLATFORM_WMI_CIMCLASS_H_
#define OM_PLATFORM_WMI_CIMCLASS_H_

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "Qualifiers.h"
#include "Text.h"

namespace om::wmi {

class CimClass;
using ClassPtr = std::shared_ptr<const CimClass>;

struct PropertyDef {
  std::u16string name;
  CIMTYPE type = CIM_EMPTY;   // base type, with CIM_FLAG_ARRAY for an array
  std::u16string refClass;    // class of a reference or embedded object; empty: any
  QualifierList qualifiers;   // including the CIMTYPE qualifier
  CComVariant defaultValue;   // stored form (see CimType.h), VT_NULL when none
  std::u16string origin;      // the class that declared the property

  bool isKey() const { return qualifiers.isSet(u"key"); }
};

struct MethodDef {
  std::u16string name;
  CIMTYPE returnType = CIM_EMPTY;  // CIM_EMPTY for void
  QualifierList qualifiers;
  ClassPtr in;    // "__PARAMETERS" with the [in] parameters; null when none
  ClassPtr out;   // "__PARAMETERS" with "ReturnValue" and the [out] ones; null when none
  std::u16string origin;
};

class CimClass {
 public:
  // A new class derived from `superclass` (null for a root class): the
  // superclass's properties and methods are inherited, its qualifiers
  // propagated where their flavor says so.
  explicit CimClass(std::u16string name, ClassPtr superclass = nullptr);
  CimClass(const CimClass&) = default;
  CimClass& operator=(const CimClass&) = default;

  const std::u16string& name() const { return name_; }
  // Gives the class a new name (a class object named through __CLASS); the
  // properties and methods it declares follow.
  void rename(std::u16string name);
  const ClassPtr& superclass() const { return superclass_; }
  std::u16string superclassName() const;
  // The root of the class's inheritance chain (the class itself for a root).
  std::u16string dynasty() const;
  // Superclass names, nearest first (__DERIVATION).
  std::vector<std::u16string> derivation() const;
  // True when `ancestor` names a strict ancestor (case-insensitive).
  bool inheritsFrom(std::u16string_view ancestor) const;
  // True when the class is `name` or derives from it.
  bool isA(std::u16string_view name) const;

  // Where the class is stored; empty before the repository holds it.
  const std::u16string& server() const { return server_; }
  const std::u16string& nameSpace() const { return nameSpace_; }
  void setLocation(std::u16string server, std::u16string nameSpace);

  const QualifierList& qualifiers() const { return qualifiers_; }
  QualifierList& qualifiers() { return qualifiers_; }
  bool isAbstract() const { return qualifiers_.isSet(u"abstract"); }
  bool isSingleton() const { return qualifiers_.isSet(u"singleton"); }

  const std::vector<PropertyDef>& properties() const { return properties_; }
  // Index of the property (case-insensitive), -1 when none.
  int findProperty(std::u16string_view name) const;
  const PropertyDef* property(std::u16string_view name) const;
  PropertyDef* mutableProperty(std::u16string_view name);
  // Indexes of the key properties, in declaration order.
  std::vector<int> keyIndexes() const;

  // Adds a property declared by this class, or overrides an inherited one
  // (same type required: WBEM_E_TYPE_MISMATCH otherwise; the override keeps
  // the inherited qualifiers and adds its own). A second declaration in the
  // same class is WBEM_E_ALREADY_EXISTS. An invalid type is
  // WBEM_E_INVALID_PROPERTY_TYPE.
  HRESULT addProperty(PropertyDef property);
  // WBEM_E_NOT_FOUND when absent, WBEM_E_PROPAGATED_PROPERTY for an
  // inherited one.
  HRESULT removeProperty(std::u16string_view name);

  const std::vector<MethodDef>& methods() const { return methods_; }
  const MethodDef* findMethod(std::u16string_view name) const;
  MethodDef* mutableMethod(std::u16string_view name);
  // Adds a method or overrides an inherited one; WBEM_E_ALREADY_EXISTS for a
  // second declaration in the same class.
  HRESULT addMethod(MethodDef method);
  HRESULT removeMethod(std::u16string_view name);

 private:
  // Rebuilds the name index after the property list changed shape.
  void indexProperties();

  std::u16string name_;
  ClassPtr superclass_;
  std::u16string server_;
  std::u16string nameSpace_;
  QualifierList qualifiers_;
  std::vector<PropertyDef> properties_;
  // Position of each property by name: instances look properties up on every
  // Get and Put.
  std::unordered_map<std::u16string, int, NoCaseHash, NoCaseEqual> propertyIndex_;
  std::vector<MethodDef> methods_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CIMCLASS_H_
