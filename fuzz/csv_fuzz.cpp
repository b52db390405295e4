// libFuzzer target for CSV lines: CSVLine::unformat on any line. The elements
// written again and read back give the same elements once doubled quotes are
// accounted for: an element without quotes must come back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/csvline.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tstring text(reinterpret_cast<const char*>(data), size);
  CSVLine line{text};
  const std::vector<tstring> elements = line.unformat();
  if (elements.size() > size) std::abort();
  CSVLine written(elements);
  CSVLine reread{written.format()};
  const std::vector<tstring>& back = reread.unformat();
  // A trailing empty element is not read back, by design.
  const size_t expected = !elements.empty() && elements.back().empty() ? elements.size() - 1 : elements.size();
  if (back.size() < expected) std::abort();
  for (size_t i = 0; i < expected; ++i) {
    if (elements[i].find('"') == tstring::npos && back[i] != elements[i]) std::abort();
  }
  return 0;
}
