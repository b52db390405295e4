// Archive forms of the standard strings that the monitoring records hold:
// a text is archived exactly as MFC archives a CString (its length prefix,
// then the code page 932 bytes), and a list of texts as a signed 32-bit
// count followed by the texts (a count below 1 holds no texts).
#ifndef OMLIB_MONITOR_ARCHIVETEXT_H_
#define OMLIB_MONITOR_ARCHIVETEXT_H_

#include <string>
#include <vector>

#include <afx.h>

namespace om {

void storeText(CArchive& ar, const std::string& text);
// Reads one archived CString; a length beyond the archive's end raises
// CArchiveException (endOfFile) before anything is allocated.
std::string loadText(CArchive& ar);

void storeTextList(CArchive& ar, const std::vector<std::string>& texts);
// Reads the count and then the texts one by one, so that a count larger than
// the archive holds ends in endOfFile rather than in a large allocation.
std::vector<std::string> loadTextList(CArchive& ar);

}  // namespace om

#endif  // OMLIB_MONITOR_ARCHIVETEXT_H_
