// Evaluates a parsed WQL condition over an object's property values, read
// through IWbemClassObject::Get, with WQL's comparison rules:
// - strings (and datetimes, references) compare without regard to case; a
//   numeric or boolean constant is compared as its text;
// - integers (64-bit ones arrive as strings) and reals compare by value; a
//   string constant is read as a number, and one that is not a number never
//   matches;
// - booleans compare with TRUE/FALSE, with numbers (non-zero is true) and with
//   the strings "TRUE"/"FALSE";
// - a null or missing property matches only IS NULL; arrays and embedded
//   objects match only IS [NOT] NULL (and objects ISA).
#ifndef OM_PLATFORM_WMI_WQLEVALUATOR_H_
#define OM_PLATFORM_WMI_WQLEVALUATOR_H_

#include <atlcomcli.h>
#include <wbemcli.h>

#include "Wql.h"

namespace om::wmi {

// True when `object` satisfies `condition`; a null condition is always true.
bool wqlMatches(const WqlCondition* condition, IWbemClassObject* object);

// The object as the query's SELECT list gives it: a copy in which the
// properties the list leaves out, keys excepted, are NULL (the whole object
// for SELECT *). Null when the object cannot be copied.
CComPtr<IWbemClassObject> wqlProject(const WqlQuery& query, IWbemClassObject* object);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_WQLEVALUATOR_H_
