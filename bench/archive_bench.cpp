// MFC archive throughput: a million records of a few strings and integers
// stored into and loaded from a memory file, in MB/s of archive bytes,
// against a plain memcpy of the same number of bytes in the same run. The
// records are written field by field (as Serialize functions do) and, in the
// object variants, through CObject pointers with class tags.
#include <benchmark/benchmark.h>

#include "RatioReporter.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <afx.h>

// One log-like record: two short texts, a time and four numbers.
class CBenchRecord : public CObject {
  DECLARE_SERIAL(CBenchRecord)
 public:
  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) {
      ar << m_id << m_level << m_time << m_name << m_message << m_counter << m_flag;
    } else {
      ar >> m_id >> m_level >> m_time >> m_name >> m_message >> m_counter >> m_flag;
    }
  }

  DWORD m_id = 0;
  LONG m_level = 0;
  CTime m_time;
  CString m_name;
  CString m_message;
  ULONGLONG m_counter = 0;
  bool m_flag = false;
};

IMPLEMENT_SERIAL(CBenchRecord, CObject, 1)

namespace {

constexpr int kRecords = 1000000;

std::vector<std::unique_ptr<CBenchRecord>>& records() {
  static std::vector<std::unique_ptr<CBenchRecord>> r;
  if (r.empty()) {
    r.reserve(kRecords);
    for (int i = 0; i < kRecords; ++i) {
      auto rec = std::make_unique<CBenchRecord>();
      rec->m_id = static_cast<DWORD>(i);
      rec->m_level = i % 3 + 1;
      rec->m_time = CTime(1700000000 + i);
      rec->m_name.Format("node-%06d", i);
      rec->m_message.Format("link down on port %d of switch %d", i % 48, i / 48);
      rec->m_counter = 0x100000000ull * static_cast<ULONGLONG>(i % 7) + static_cast<ULONGLONG>(i);
      rec->m_flag = i % 2 == 0;
      r.push_back(std::move(rec));
    }
  }
  return r;
}

// Stores every record into `file`, as fields or as objects.
void storeAll(CMemFile& file, bool asObjects) {
  CArchive ar(&file, CArchive::store);
  for (const auto& rec : records()) {
    if (asObjects) {
      ar << rec.get();
    } else {
      rec->Serialize(ar);
    }
  }
  ar.Close();
}

std::vector<BYTE> archiveBytes(bool asObjects) {
  CMemFile file(1 << 20);
  storeAll(file, asObjects);
  std::vector<BYTE> bytes(static_cast<size_t>(file.GetLength()));
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

const std::vector<BYTE>& fieldBytes() {
  static const std::vector<BYTE> bytes = archiveBytes(false);
  return bytes;
}

const std::vector<BYTE>& objectBytes() {
  static const std::vector<BYTE> bytes = archiveBytes(true);
  return bytes;
}

void store(benchmark::State& state, bool asObjects, size_t size) {
  records();
  for (auto _ : state) {
    CMemFile file(1 << 20);
    storeAll(file, asObjects);
    if (file.GetLength() != size) state.SkipWithError("unexpected archive size");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void load(benchmark::State& state, bool asObjects, const std::vector<BYTE>& bytes) {
  std::vector<BYTE> copy = bytes;
  for (auto _ : state) {
    CMemFile file(copy.data(), static_cast<UINT>(copy.size()));
    CArchive ar(&file, CArchive::load);
    CBenchRecord rec;
    for (int i = 0; i < kRecords; ++i) {
      if (asObjects) {
        std::unique_ptr<CObject> loaded(ar.ReadObject(RUNTIME_CLASS(CBenchRecord)));
        benchmark::DoNotOptimize(loaded.get());
      } else {
        rec.Serialize(ar);
        benchmark::DoNotOptimize(rec.m_counter);
      }
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

void BM_StoreFields(benchmark::State& state) { store(state, false, fieldBytes().size()); }
void BM_LoadFields(benchmark::State& state) { load(state, false, fieldBytes()); }
void BM_StoreObjects(benchmark::State& state) { store(state, true, objectBytes().size()); }
void BM_LoadObjects(benchmark::State& state) { load(state, true, objectBytes()); }

void BM_Memcpy(benchmark::State& state) {
  const std::vector<BYTE>& source = fieldBytes();
  std::vector<BYTE> target(source.size());
  for (auto _ : state) {
    std::memcpy(target.data(), source.data(), source.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * source.size()));
}

BENCHMARK(BM_StoreFields)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadFields)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreObjects)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadObjects)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double memcpyRate = reporter.bytesPerSecond("BM_Memcpy");
  if (memcpyRate <= 0) return 0;
  std::printf("archive bytes: %zu as fields, %zu as objects, for %d records\n", fieldBytes().size(),
              objectBytes().size(), kRecords);
  for (const char* name : {"BM_StoreFields", "BM_LoadFields", "BM_StoreObjects", "BM_LoadObjects"}) {
    const double rate = reporter.bytesPerSecond(name);
    if (rate > 0) {
      std::printf("%-16s %8.1f MB/s  memcpy %8.1f MB/s  memcpy / archive = %.1f x\n", name, rate / 1e6,
                  memcpyRate / 1e6, memcpyRate / rate);
    }
  }
  return 0;
}
