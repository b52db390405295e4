// libFuzzer target: the .reg file parser over arbitrary bytes. Parsing
// touches no registry store.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <om/RegFile.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  om::RegFile file;
  const bool ok = file.parse(std::string_view(reinterpret_cast<const char*>(data), size));
  // A failed parse keeps no operation and names the line at fault.
  if (!ok && (!file.operations().empty() || file.error().rfind("line ", 0) != 0)) __builtin_trap();
  // Every key it accepts can be stored.
  for (const om::RegOperation& op : file.operations()) {
    if (!op.key.valid()) __builtin_trap();
  }
  return 0;
}
