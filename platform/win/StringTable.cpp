#include <algorithm>
#include <cstring>
#include <map>

#include <om/StringTable.h>
#include <om/codepage.h>
#include <windows.h>

namespace om {
namespace {

// Built once, on first use: id -> CP932 text.
const std::map<unsigned, std::string>& table() {
  static const std::map<unsigned, std::string> strings = [] {
    std::map<unsigned, std::string> m;
#define OM_STRING(id, text) m.emplace(id, utf8ToCp932(text));
#include "../../resources/strings.inc"
#undef OM_STRING
    return m;
  }();
  return strings;
}

}  // namespace

const std::string* findResourceString(unsigned id) {
  const auto& t = table();
  const auto it = t.find(id);
  return it == t.end() ? nullptr : &it->second;
}

std::vector<unsigned> resourceStringIds() {
  std::vector<unsigned> ids;
  for (const auto& entry : table()) ids.push_back(entry.first);
  return ids;
}

}  // namespace om

int LoadStringA(HINSTANCE, UINT id, LPSTR buffer, int bufferMax) {
  const std::string* text = om::findResourceString(id);
  if (text == nullptr) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    if (buffer != nullptr && bufferMax > 0) *buffer = '\0';
    return 0;
  }
  if (buffer == nullptr || bufferMax <= 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  // Cut at a character boundary so that no lead byte is left without its trail.
  const size_t room = static_cast<size_t>(bufferMax) - 1;
  size_t n = 0;
  while (n < text->size()) {
    const size_t len = om::cp932CharLength(*text, n);
    if (n + len > room) break;
    n += len;
  }
  std::memcpy(buffer, text->data(), n);
  buffer[n] = '\0';
  return static_cast<int>(n);
}
