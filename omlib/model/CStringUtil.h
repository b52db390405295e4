// Text helpers shared by the persistent records: moving text between
// standard strings and CString, and lists of CString kept without
// duplicates.
#ifndef OMLIB_MODEL_CSTRINGUTIL_H_
#define OMLIB_MODEL_CSTRINGUTIL_H_

#include <afx.h>

#include <string>
#include <vector>

namespace om {

// The same bytes, embedded NULs included.
inline CString toCString(const std::string& text) {
  return CString(text.data(), static_cast<int>(text.size()));
}
inline std::string toStdString(const CString& text) {
  return std::string(text.GetString(), static_cast<size_t>(text.GetLength()));
}
std::vector<CString> toCStrings(const std::vector<std::string>& texts);
std::vector<std::string> toStdStrings(const std::vector<CString>& texts);

// Appends `text` unless an equal string is listed already.
void addUniqueString(std::vector<CString>& list, const CString& text);
// Erases the first string equal to `text`, if any.
void removeString(std::vector<CString>& list, const CString& text);

}  // namespace om

#endif  // OMLIB_MODEL_CSTRINGUTIL_H_
