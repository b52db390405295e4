#include "model/ArchiveFields.h"

#include "model/CStringUtil.h"

namespace om {

ArchiveFields& ArchiveFields::strings(std::vector<CString>& list, bool unique) {
  if (storing_) {
    ar_ << static_cast<LONG>(list.size());
    for (const CString& text : list) ar_ << text;
    return *this;
  }
  list.clear();
  LONG count = 0;
  ar_ >> count;
  for (LONG i = 0; i < count; ++i) {
    CString text;
    ar_ >> text;
    if (unique) {
      addUniqueString(list, text);
    } else {
      list.push_back(text);
    }
  }
  return *this;
}

}  // namespace om
