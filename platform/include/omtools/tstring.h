// tstring: the library's narrow string (code page 932 text) with printf-style
// formatting, string-table loading, case-insensitive comparison, BSTR
// conversions and stream save/restore.
#ifndef OM_PLATFORM_OMTOOLS_TSTRING_H_
#define OM_PLATFORM_OMTOOLS_TSTRING_H_

#include <cstdarg>
#include <string>

#include <windows.h>
#include <wtypes.h>

class vostream;
class vistream;

class tstring : public std::string {
 public:
  using std::string::string;
  tstring() = default;
  tstring(const std::string& s) : std::string(s) {}
  tstring(std::string&& s) : std::string(std::move(s)) {}
  // UTF-16 text up to its NUL (a BSTR or any wide string) in code page 932;
  // null gives "".
  explicit tstring(const OLECHAR* text);

  // Replaces the contents with the whole of a BSTR (embedded NULs included)
  // in code page 932; null gives "".
  tstring& fromBSTR(BSTR text);
  // A new BSTR with this text in UTF-16; the caller frees it with
  // SysFreeString. Null when out of memory.
  BSTR toBSTR() const;

  // Replaces the contents with the printf-style formatted text, of any length.
  tstring& format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  tstring& vformat(const char* fmt, va_list args) __attribute__((format(printf, 2, 0)));

  // Replaces the contents with the string-table text of `id`; false (and the
  // contents left as they were) when the table has no such id.
  bool loadString(UINT id);

  // Compares ignoring the case of ASCII letters; the bytes of double-byte
  // characters compare exactly. Negative, zero or positive, as strcmp.
  int compareNoCase(const char* other) const;
  int compareNoCase(const std::string& other) const { return compareNoCase(other.c_str()); }

  // Stream form: the length as an unsigned 32-bit value, then the bytes.
  void save(vostream& out) const;
  bool restore(vistream& in);
};

#endif  // OM_PLATFORM_OMTOOLS_TSTRING_H_
