#include "monitor/ArchiveText.h"

#include "model/CStringUtil.h"

namespace om {

void storeText(CArchive& ar, const std::string& text) { ar << toCString(text); }

std::string loadText(CArchive& ar) {
  CString text;
  ar >> text;
  return toStdString(text);
}

void storeTextList(CArchive& ar, const std::vector<std::string>& texts) {
  ar << static_cast<LONG>(texts.size());
  for (const std::string& text : texts) storeText(ar, text);
}

std::vector<std::string> loadTextList(CArchive& ar) {
  LONG count = 0;
  ar >> count;
  std::vector<std::string> texts;
  for (LONG i = 0; i < count; ++i) texts.push_back(loadText(ar));
  return texts;
}

}  // namespace om
