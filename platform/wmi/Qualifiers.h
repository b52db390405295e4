// The qualifiers of a class, a property, a method or a parameter: named
// values ([key], [in], [EmbeddedInstance("X")], [Description("...")], ...)
// with their WBEM flavors, kept in declaration order.
#ifndef OM_PLATFORM_WMI_QUALIFIERS_H_
#define OM_PLATFORM_WMI_QUALIFIERS_H_

#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

namespace om::wmi {

// Qualifiers reach instances and derived classes unless told otherwise.
inline constexpr long kDefaultFlavor =
    WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE | WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;

struct Qualifier {
  std::u16string name;
  CComVariant value;  // VT_BOOL, VT_I4, VT_R8, VT_BSTR or an array of one of them
  long flavor = kDefaultFlavor;  // WBEM_FLAVOR_* bits
};

class QualifierList {
 public:
  // The qualifier named `name` (case-insensitive), or null.
  const Qualifier* find(std::u16string_view name) const;
  // True when the qualifier is present and not boolean false.
  bool isSet(std::u16string_view name) const;
  // The string value of the qualifier; empty when absent or not a string.
  std::u16string text(std::u16string_view name) const;

  // Adds the qualifier, or replaces the value and flavor of the one present.
  // The default flavor lets the qualifier reach instances and subclasses.
  void set(std::u16string_view name, const VARIANT& value, long flavor = kDefaultFlavor);
  void setFlag(std::u16string_view name) { set(name, CComVariant(true)); }
  // False when there was no such qualifier.
  bool remove(std::u16string_view name);

  // The qualifiers whose flavor has `propagationFlag`
  // (WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE or _TO_DERIVED_CLASS), marked as
  // propagated: what an instance or a subclass receives.
  QualifierList propagated(long propagationFlag) const;

  const std::vector<Qualifier>& items() const { return items_; }
  bool empty() const { return items_.empty(); }

 private:
  std::vector<Qualifier> items_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_QUALIFIERS_H_
