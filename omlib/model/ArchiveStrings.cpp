#include "model/ArchiveStrings.h"

#include <algorithm>

namespace om {

std::vector<CString> toCStrings(const std::vector<std::string>& texts) {
  std::vector<CString> result;
  result.reserve(texts.size());
  for (const std::string& text : texts) result.push_back(toCString(text));
  return result;
}

std::vector<std::string> toStdStrings(const std::vector<CString>& texts) {
  std::vector<std::string> result;
  result.reserve(texts.size());
  for (const CString& text : texts) result.push_back(toStdString(text));
  return result;
}

bool containsString(const std::vector<CString>& list, const CString& text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

void addUniqueString(std::vector<CString>& list, const CString& text) {
  if (!containsString(list, text)) list.push_back(text);
}

void removeString(std::vector<CString>& list, const CString& text) {
  const auto it = std::find(list.begin(), list.end(), text);
  if (it != list.end()) list.erase(it);
}

void storeStrings(CArchive& ar, const std::vector<CString>& list) {
  ar << static_cast<LONG>(list.size());
  for (const CString& text : list) ar << text;
}

void loadStrings(CArchive& ar, std::vector<CString>& list, bool unique) {
  list.clear();
  LONG count = 0;
  ar >> count;
  for (LONG i = 0; i < count; ++i) {
    CString text;
    ar >> text;
    if (unique) {
      addUniqueString(list, text);
    } else {
      list.push_back(text);
    }
  }
}

}  // namespace om
