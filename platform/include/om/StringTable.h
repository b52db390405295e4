// The library's string table, by resource id. Texts are kept in UTF-8 in
// resources/strings.inc and handed out in code page 932, as LoadStringA does.
#ifndef OM_PLATFORM_OM_STRINGTABLE_H_
#define OM_PLATFORM_OM_STRINGTABLE_H_

#include <string>
#include <vector>

namespace om {

// The CP932 text of `id`, or null when the table has no such id. The pointer
// stays valid for the life of the process.
const std::string* findResourceString(unsigned id);

// Every id of the table, ascending.
std::vector<unsigned> resourceStringIds();

}  // namespace om

#endif  // OM_PLATFORM_OM_STRINGTABLE_H_
