// JSON string literals for the console's --json output.
#ifndef OM_APPS_OMCONSOLE_JSONTEXT_H_
#define OM_APPS_OMCONSOLE_JSONTEXT_H_

#include <string>

namespace omconsole {

// A UTF-8 text as a quoted JSON string, with quotes, backslashes and control
// characters escaped.
std::string jsonString(const std::string& utf8);
// A code page 932 text as a quoted JSON string (UTF-8, with quotes,
// backslashes and control characters escaped).
std::string jsonText(const std::string& cp932);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_JSONTEXT_H_
