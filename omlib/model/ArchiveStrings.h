// Helpers shared by the persistent records: moving text between standard
// strings and CString, and the archive form of a list of strings.
#ifndef OMLIB_MODEL_ARCHIVESTRINGS_H_
#define OMLIB_MODEL_ARCHIVESTRINGS_H_

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

// True when `list` holds a string equal to `text`.
bool containsString(const std::vector<CString>& list, const CString& text);
// Appends `text` unless an equal string is listed already.
void addUniqueString(std::vector<CString>& list, const CString& text);
// Erases the first string equal to `text`, if any.
void removeString(std::vector<CString>& list, const CString& text);

// Archive form of a list: an int count, then that many strings.
void storeStrings(CArchive& ar, const std::vector<CString>& list);
// Empties `list` and reads that form into it; a count below 1 reads no
// string. With `unique`, a string equal to one already read is dropped.
// Memory grows only with the strings actually read, whatever the count says.
void loadStrings(CArchive& ar, std::vector<CString>& list, bool unique);

}  // namespace om

#endif  // OMLIB_MODEL_ARCHIVESTRINGS_H_
