// Helpers shared by the monitoring records: the signed differences their
// compare functions return, and texts from the string table.
#ifndef OMLIB_MONITOR_RECORDUTIL_H_
#define OMLIB_MONITOR_RECORDUTIL_H_

#include <afx.h>

#include <cstdint>

#include <omtools/tstring.h>

namespace om {

// a - b as a 32-bit difference: it wraps instead of overflowing, so it is
// 0 only for equal values.
template <class T>
int difference32(T a, T b) {
  return static_cast<int>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// -1, 0 or 1 as the two times compare as signed 64-bit seconds.
inline int compareTimes(CTime a, CTime b) { return a < b ? -1 : (b < a ? 1 : 0); }

// The string-table text of `id`, or "" when the table has none.
inline tstring resourceText(UINT id) {
  tstring text;
  text.loadString(id);
  return text;
}

}  // namespace om

#endif  // OMLIB_MONITOR_RECORDUTIL_H_
