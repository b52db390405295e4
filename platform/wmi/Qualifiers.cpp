#include "Qualifiers.h"

#include <algorithm>

#include "Text.h"

namespace om::wmi {

const Qualifier* QualifierList::find(std::u16string_view name) const {
  for (const Qualifier& q : items_) {
    if (equalsNoCase(q.name, name)) return &q;
  }
  return nullptr;
}

bool QualifierList::isSet(std::u16string_view name) const {
  const Qualifier* q = find(name);
  return q != nullptr && !(q->value.vt == VT_BOOL && q->value.boolVal == VARIANT_FALSE);
}

std::u16string QualifierList::text(std::u16string_view name) const {
  const Qualifier* q = find(name);
  if (q == nullptr || q->value.vt != VT_BSTR) return {};
  return std::u16string(bstrView(q->value.bstrVal));
}

void QualifierList::set(std::u16string_view name, const VARIANT& value, long flavor) {
  for (Qualifier& q : items_) {
    if (equalsNoCase(q.name, name)) {
      q.value = value;
      q.flavor = flavor;
      return;
    }
  }
  items_.push_back(Qualifier{std::u16string(name), CComVariant(value), flavor});
}

bool QualifierList::remove(std::u16string_view name) {
  const auto it = std::find_if(items_.begin(), items_.end(),
                               [&](const Qualifier& q) { return equalsNoCase(q.name, name); });
  if (it == items_.end()) return false;
  items_.erase(it);
  return true;
}

QualifierList QualifierList::propagated(long propagationFlag) const {
  QualifierList out;
  for (const Qualifier& q : items_) {
    if ((q.flavor & propagationFlag) == 0) continue;
    out.items_.push_back(q);
    out.items_.back().flavor = (q.flavor & ~WBEM_FLAVOR_MASK_ORIGIN) | WBEM_FLAVOR_ORIGIN_PROPAGATED;
  }
  return out;
}

}  // namespace om::wmi
