// Runs a fuzz target over saved inputs outside libFuzzer, so that every test
// run replays the seed corpora: each file named on the command line, and
// each file of a folder named, in name order. A fault stops the program as
// it would stop libFuzzer (abort, or the sanitizers' report).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

std::vector<std::filesystem::path> inputsOf(int argc, char** argv) {
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path(argv[i]);
    if (!std::filesystem::is_directory(path)) {
      inputs.push_back(path);
      continue;
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    inputs.insert(inputs.end(), files.begin(), files.end());
  }
  return inputs;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  const std::vector<std::filesystem::path> inputs = inputsOf(argc, argv);
  if (inputs.empty()) {
    std::fprintf(stderr, "%s: no inputs (usage: %s FILE|FOLDER...)\n", argv[0], argv[0]);
    return 2;
  }
  for (const std::filesystem::path& input : inputs) {
    std::ifstream in(input, std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "%s: cannot read %s\n", argv[0], input.c_str());
      return 2;
    }
    const std::vector<uint8_t> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(data.data(), data.size());
  }
  std::printf("%zu inputs replayed\n", inputs.size());
  return 0;
}
