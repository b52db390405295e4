#include "model/CStringUtil.h"

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

void addUniqueString(std::vector<CString>& list, const CString& text) {
  if (std::find(list.begin(), list.end(), text) == list.end()) list.push_back(text);
}

void removeString(std::vector<CString>& list, const CString& text) {
  const auto it = std::find(list.begin(), list.end(), text);
  if (it != list.end()) list.erase(it);
}

}  // namespace om
