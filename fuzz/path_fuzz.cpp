// libFuzzer target for network paths: CNetworkPath parses any text into
// names that are never empty, hold no separator outside a double-byte
// character, and give the same names back when written as a path and parsed
// again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "model/NetworkPath.h"

namespace {

// True when `name` holds a backslash that is not the trail byte of a
// double-byte character.
bool hasBareSeparator(const std::string& name) {
  for (size_t i = 0; i < name.size(); i += om::cp932CharLength(name, i)) {
    if (name[i] == '\\') return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const CNetworkPath path(text);
  const std::vector<std::string>& names = path.getVector();
  size_t bytes = 0;
  for (const std::string& name : names) {
    if (name.empty() || hasBareSeparator(name)) std::abort();
    bytes += name.size();
  }
  if (bytes > size) std::abort();

  const std::string written = path.getPath();
  if (CNetworkPath(written).getVector() != names) std::abort();
  if (!names.empty() && (path.rootName() != names.front() || path.name() != names.back())) std::abort();
  if (names.size() >= 2 && CNetworkPath(path.parentPath()).name() != path.parentName()) std::abort();
  return 0;
}
