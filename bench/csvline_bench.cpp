// CSVLine throughput: 20,000 log-like records formatted into lines and lines
// read back into elements, in MB/s of line bytes, against a plain memchr scan
// for commas over the same bytes in the same run. The records mix plain
// fields, fields with commas (quoted), fields with quotes (doubled) and
// Japanese text in code page 932.
#include <benchmark/benchmark.h>

#include "RatioReporter.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "core/csvline.h"

namespace {

constexpr int kRecords = 20000;

std::vector<std::vector<tstring>> makeRecords() {
  const std::string linkDown = om::utf8ToCp932("ポート%d リンクダウン (スイッチ%d)");
  const std::string location = om::utf8ToCp932("東京本社 3階 サーバ室");
  std::vector<std::vector<tstring>> records;
  records.reserve(kRecords);
  for (int i = 0; i < kRecords; ++i) {
    std::vector<tstring> r;
    r.push_back(tstring().format("%d", i));
    r.push_back(tstring().format("2024/05/%02d %02d:%02d:%02d", i % 28 + 1, i % 24, i % 60, (i * 7) % 60));
    r.push_back(tstring().format("node-%05d", i));
    r.push_back(tstring().format("192.168.%d.%d", (i / 250) % 256, i % 250 + 1));
    r.push_back(tstring().format("%02X%02X%02X %02X%02X%02X", 0, 0x1B, i & 0xFF, 0x3D, (i >> 8) & 0xFF, 0xF5));
    r.push_back(tstring().format(linkDown.c_str(), i % 48, i / 48));
    r.push_back(location);
    r.push_back(i % 3 == 0 ? tstring("ifInOctets, ifOutOctets") : tstring("ifInOctets"));
    r.push_back(i % 5 == 0 ? tstring("said \"threshold\" crossed") : tstring("threshold crossed"));
    r.push_back(tstring().format("%llu", 4294967296ull * static_cast<unsigned>(i % 9) + static_cast<unsigned>(i)));
    r.push_back("");
    r.push_back(tstring().format("%d", i % 4 + 1));
    records.push_back(std::move(r));
  }
  return records;
}

const std::vector<std::vector<tstring>>& records() {
  static const std::vector<std::vector<tstring>> r = makeRecords();
  return r;
}

const std::vector<tstring>& lines() {
  static const std::vector<tstring> l = [] {
    std::vector<tstring> out;
    for (const auto& r : records()) {
      CSVLine csv(r);
      out.push_back(csv.format());
    }
    return out;
  }();
  return l;
}

size_t lineBytes() {
  static const size_t total = [] {
    size_t n = 0;
    for (const tstring& l : lines()) n += l.size();
    return n;
  }();
  return total;
}

void BM_Format(benchmark::State& state) {
  const auto& rs = records();
  for (auto _ : state) {
    for (const auto& r : rs) {
      CSVLine csv(r);
      benchmark::DoNotOptimize(csv.format().data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * lineBytes()));
}

void BM_Unformat(benchmark::State& state) {
  const auto& ls = lines();
  for (auto _ : state) {
    for (const tstring& l : ls) {
      CSVLine csv(l);
      benchmark::DoNotOptimize(csv.unformat().data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * lineBytes()));
}

void BM_MemchrCommas(benchmark::State& state) {
  const auto& ls = lines();
  for (auto _ : state) {
    size_t commas = 0;
    for (const tstring& l : ls) {
      const char* p = l.data();
      const char* end = p + l.size();
      while ((p = static_cast<const char*>(std::memchr(p, ',', static_cast<size_t>(end - p)))) != nullptr) {
        ++commas;
        ++p;
      }
    }
    benchmark::DoNotOptimize(commas);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * lineBytes()));
}

BENCHMARK(BM_Format)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Unformat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemchrCommas)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double scan = reporter.bytesPerSecond("BM_MemchrCommas");
  if (scan <= 0) return 0;
  std::printf("%d lines, %zu bytes\n", kRecords, lineBytes());
  for (const char* name : {"BM_Format", "BM_Unformat"}) {
    const double rate = reporter.bytesPerSecond(name);
    if (rate > 0) {
      std::printf("%-12s %8.1f MB/s  memchr scan %8.1f MB/s  scan / %s = %.1f x\n", name, rate / 1e6, scan / 1e6,
                  name + 3, scan / rate);
    }
  }
  return 0;
}
