// Log-record archive throughput: one million CLogObject records written to
// and read from an archive file on disk, field by field (Serialize) and
// through CObject pointers (with MFC's class tags), in records per second
// and MB/s of archive bytes, against a raw byte copy of the same file
// (read and write in 1 MiB blocks) in the same run. Files go to a temporary
// directory and stay in the page cache; nothing is synced to the disk.
// Rates are taken over wall-clock time, since part of the work is the
// kernel's.
#include <benchmark/benchmark.h>

#include "RatioReporter.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <afx.h>

#include "monitor/log.h"

namespace {

constexpr int kRecords = 1000000;

// A log of traps and alarms from a few hundred switches.
std::vector<CLogObject>& records() {
  static std::vector<CLogObject> logs = [] {
    std::vector<CLogObject> r(kRecords);
    for (int i = 0; i < kRecords; ++i) {
      CLogObject& log = r[static_cast<size_t>(i)];
      CString text;
      log.setIdentifier(static_cast<DWORD>(i + 1));
      log.setLevel(static_cast<log_def::tagLOGLEVEL>(i % 3 + 1));
      log.setTime(CTime(1700000000 + i));
      log.setType(static_cast<log_def::tagLOGTYPE>(i % 4 + 1));
      log.setSubType(static_cast<log_def::tagLOGSUBTYPE>(i % 33));
      log.setTargetType(log_def::TARGETTYPE_PORT);
      text.Format("sw%04d/%02d", i % 400, i % 48);
      log.setInternalName(text);
      text.Format("\x83\x58\x83\x43\x83\x62\x83\x60%04d", i % 400);  // "スイッチ" and a number
      log.setDisplayName(text);
      text.Format("10.%d.%d.%d", i % 200, (i / 200) % 250, i % 250 + 1);
      log.setAddress(text);
      log.setSysObjectId("1.3.6.1.4.1.4242.1.7");
      text.Format("linkDown: port %d of switch %d", i % 48 + 1, i % 400);
      log.setMessage(text);
      log.setActionId(i % 5);
    }
    return r;
  }();
  return logs;
}

// The benchmark's files, in a directory removed at exit.
class Files {
 public:
  Files() {
    char dir[] = "/tmp/omlib-records-bench-XXXXXX";
    if (mkdtemp(dir) == nullptr) std::abort();
    dir_ = dir;
  }
  ~Files() { std::filesystem::remove_all(dir_); }
  std::string path(const char* name) const { return dir_ + "/" + name; }

 private:
  std::string dir_;
};

const Files& files() {
  static const Files f;
  return f;
}

void writeAll(const std::string& path, bool asObjects) {
  CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
  CArchive ar(&file, CArchive::store);
  for (CLogObject& log : records()) {
    if (asObjects) {
      ar << static_cast<const CObject*>(&log);
    } else {
      log.Serialize(ar);
    }
  }
  ar.Close();
  file.Close();
}

// Reads every record back; false when one differs from what was written.
bool readAll(const std::string& path, bool asObjects) {
  CFile file(path.c_str(), CFile::modeRead);
  CArchive ar(&file, CArchive::load);
  CLogObject log;
  bool same = true;
  for (const CLogObject& expected : records()) {
    if (asObjects) {
      std::unique_ptr<CObject> object(ar.ReadObject(RUNTIME_CLASS(CLogObject)));
      same = same && static_cast<CLogObject&>(*object).compare(expected) == 0;
    } else {
      log.Serialize(ar);
      same = same && log.compare(expected) == 0;
    }
  }
  return same;
}

std::string archive(bool asObjects) {
  const std::string path = files().path(asObjects ? "objects.arc" : "fields.arc");
  if (!std::filesystem::exists(path)) writeAll(path, asObjects);
  return path;
}

int64_t sizeOf(const std::string& path) { return static_cast<int64_t>(std::filesystem::file_size(path)); }

void counters(benchmark::State& state, int64_t bytes) {
  state.SetItemsProcessed(state.iterations() * kRecords);
  state.SetBytesProcessed(state.iterations() * bytes);
}

void BM_Write(benchmark::State& state, bool asObjects) {
  const std::string path = files().path(asObjects ? "write-objects.arc" : "write-fields.arc");
  records();
  for (auto _ : state) writeAll(path, asObjects);
  counters(state, sizeOf(path));
}

void BM_Read(benchmark::State& state, bool asObjects) {
  const std::string path = archive(asObjects);
  for (auto _ : state) {
    if (!readAll(path, asObjects)) state.SkipWithError("a record read back differs");
  }
  counters(state, sizeOf(path));
}

// The peer: the archive file copied byte for byte, with nothing decoded.
void BM_RawCopy(benchmark::State& state) {
  const std::string source = archive(false);
  const std::string target = files().path("copy.arc");
  std::vector<char> buffer(1 << 20);
  for (auto _ : state) {
    const int in = open(source.c_str(), O_RDONLY);
    const int out = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    for (ssize_t n; (n = read(in, buffer.data(), buffer.size())) > 0;) {
      if (write(out, buffer.data(), static_cast<size_t>(n)) != n) state.SkipWithError("short write");
    }
    close(in);
    close(out);
  }
  counters(state, sizeOf(source));
}

BENCHMARK_CAPTURE(BM_Write, fields, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Read, fields, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Write, objects, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Read, objects, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RawCopy)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const char* const kCopy = "BM_RawCopy/real_time";
  const double copy = reporter.bytesPerSecond(kCopy);
  if (copy <= 0) return 0;
  std::printf("archive file: %lld bytes as fields, %lld as objects, for %d records\n",
              static_cast<long long>(sizeOf(archive(false))), static_cast<long long>(sizeOf(archive(true))),
              kRecords);
  for (const char* name : {"BM_Write/fields/real_time", "BM_Read/fields/real_time", "BM_Write/objects/real_time",
                           "BM_Read/objects/real_time"}) {
    const double bytes = reporter.bytesPerSecond(name);
    if (bytes <= 0) continue;
    std::printf("%-28s %10.0f records/s %8.1f MB/s   raw copy %8.1f MB/s = %.1f x the archive\n", name,
                reporter.itemsPerSecond(name), bytes / 1e6, copy / 1e6, copy / bytes);
  }
  return 0;
}
