// WqlFilter: the WHERE clause of a WQL query over one class, for providers
// that select objects themselves (to count them, say) exactly as ExecQuery
// selects them.
#ifndef OM_PLATFORM_WMI_WQLFILTER_H_
#define OM_PLATFORM_WMI_WQLFILTER_H_

#include <memory>
#include <string>

#include <wbemcli.h>

namespace om::wmi {

struct WqlQuery;

class WqlFilter {
 public:
  WqlFilter();
  ~WqlFilter();
  WqlFilter(const WqlFilter&) = delete;
  WqlFilter& operator=(const WqlFilter&) = delete;

  // Takes `text` as a condition over the properties of the class `cls`
  // ("LogType = 3 AND Address LIKE '10.%'"), or as a whole query over that
  // class when it begins with SELECT. Empty text selects every object. False,
  // with `error` set, for text that does not parse, a query over another
  // class or a property the class does not have.
  bool parse(IWbemClassObject* cls, const std::u16string& text, std::string* error);
  // True when `object` satisfies the condition.
  bool matches(IWbemClassObject* object) const;

 private:
  std::unique_ptr<WqlQuery> query_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_WQLFILTER_H_
