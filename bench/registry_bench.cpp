// Registry value read latency, against a std::unordered_map lookup of the
// same names measured in the same run. Each read of the registry is a full
// CRegistry::getValue: a read transaction that sees the latest commit of
// any process, the lookup, and the copy of the text.
#include <benchmark/benchmark.h>

#include "RatioReporter.h"
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include <om/RegistryStore.h>
#include <omtools/Registry.h>

namespace {

const char kKey[] = "SOFTWARE\\Velmoran\\OrvaManager";
constexpr int kValues = 100;

std::vector<std::string>& names() {
  static std::vector<std::string> n;
  return n;
}

std::string valueOf(int i) { return "C:\\Program Files\\Orva Manager\\data\\file" + std::to_string(i) + ".dat"; }

void BM_RegistryRead(benchmark::State& state) {
  const CRegistry reg(HKEY_LOCAL_MACHINE, kKey);
  tstring value;
  size_t i = 0;
  for (auto _ : state) {
    if (!reg.getValue(names()[i++ % names().size()], value)) state.SkipWithError("read failed");
    benchmark::DoNotOptimize(value.data());
  }
}
BENCHMARK(BM_RegistryRead);

// The store alone, without the accessor: one transaction and one lookup.
void BM_StoreRead(benchmark::State& state) {
  const om::RegKeyPath key(kKey);
  const std::string directory = om::regStoreDirectory(om::RegHive::kLocalMachine);
  om::RegValue value;
  size_t i = 0;
  for (auto _ : state) {
    const om::RegTransaction txn(directory, om::RegTransaction::kRead);
    if (txn.getValue(key, names()[i++ % names().size()], &value) != ERROR_SUCCESS) state.SkipWithError("read failed");
    benchmark::DoNotOptimize(value.data.data());
  }
}
BENCHMARK(BM_StoreRead);

void BM_UnorderedMapLookup(benchmark::State& state) {
  std::unordered_map<std::string, std::string> map;
  for (int i = 0; i < kValues; ++i) map[names()[i]] = valueOf(i);
  std::string value;
  size_t i = 0;
  for (auto _ : state) {
    value = map.find(names()[i++ % names().size()])->second;
    benchmark::DoNotOptimize(value.data());
  }
}
BENCHMARK(BM_UnorderedMapLookup);

}  // namespace

int main(int argc, char** argv) {
  std::string home = (std::filesystem::temp_directory_path() / "omlib-bench-XXXXXX").string();
  if (mkdtemp(home.data()) == nullptr) return 1;
  setenv("OMLIB_HOME", home.c_str(), 1);
  CRegistry::createKey(HKEY_LOCAL_MACHINE, kKey);
  CRegistry reg(HKEY_LOCAL_MACHINE, kKey);
  for (int i = 0; i < kValues; ++i) {
    names().push_back("Setting" + std::to_string(i));
    reg.setValue(names().back(), valueOf(i));
  }

  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter(isatty(STDOUT_FILENO) ? benchmark::ConsoleReporter::OO_Defaults
                                                         : benchmark::ConsoleReporter::OO_Tabular);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double registry = reporter.time("BM_RegistryRead");
  const double map = reporter.time("BM_UnorderedMapLookup");
  if (registry > 0 && map > 0) {
    std::cout << "registry read / unordered_map lookup = " << std::fixed << std::setprecision(1) << registry / map
              << " x" << std::endl;
  }
  std::filesystem::remove_all(home);
  return 0;
}
