// The contract between the registry tests and registry_helper, the program
// they run as other processes.
#ifndef OM_TESTS_PLATFORM_OMTOOLS_REGISTRY_HELPER_H_
#define OM_TESTS_PLATFORM_OMTOOLS_REGISTRY_HELPER_H_

#include <string>

namespace regtest {

// The text the helper writes into value `name`: the name and a colon,
// repeated to `size` bytes, so that a torn or misplaced value shows.
inline std::string helperValue(const std::string& name, size_t size) {
  std::string out;
  while (out.size() < size) out += name + ":";
  out.resize(size);
  return out;
}

// Values per transaction of the helper's "batches" command, and their size.
constexpr int kBatchValues = 8;
constexpr size_t kBatchValueSize = 1000;

inline std::string batchValueName(unsigned batch, int index) {
  return "b" + std::to_string(batch) + "-" + std::to_string(index);
}

}  // namespace regtest

#endif  // OM_TESTS_PLATFORM_OMTOOLS_REGISTRY_HELPER_H_
