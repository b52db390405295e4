#include "model/ArchiveFields.h"

#include <algorithm>

#include "model/CStringUtil.h"

namespace om {

ArchiveFields& ArchiveFields::operator()(std::string& value) {
  CString text = toCString(value);
  transfer(text);
  value = toStdString(text);
  return *this;
}

template <class Text>
ArchiveFields& ArchiveFields::strings(std::vector<Text>& list, bool unique) {
  if (storing_) {
    ar_ << static_cast<LONG>(list.size());
    for (Text& text : list) (*this)(text);
    return *this;
  }
  list.clear();
  LONG count = 0;
  ar_ >> count;
  for (LONG i = 0; i < count; ++i) {
    Text text;
    (*this)(text);
    if (!unique || std::find(list.begin(), list.end(), text) == list.end()) list.push_back(text);
  }
  return *this;
}

template ArchiveFields& ArchiveFields::strings(std::vector<CString>& list, bool unique);
template ArchiveFields& ArchiveFields::strings(std::vector<std::string>& list, bool unique);

}  // namespace om
