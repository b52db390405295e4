// RatioReporter: Google Benchmark's console reporter that also keeps, for
// each benchmark of the run, its real time and its counters, so that a
// benchmark program can print the ratio of itself to a peer measured in the
// same run.
#ifndef OM_BENCH_RATIOREPORTER_H_
#define OM_BENCH_RATIOREPORTER_H_

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace om {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  explicit RatioReporter(OutputOptions options = OO_Defaults) : ConsoleReporter(options) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      Result& result = results_[r.benchmark_name()];
      result.time = r.GetAdjustedRealTime();
      for (const auto& [name, counter] : r.counters) result.counters[name] = counter.value;
    }
  }

  // The real time per iteration in the benchmark's unit; 0 when it did not run.
  double time(const std::string& benchmark) const {
    const auto it = results_.find(benchmark);
    return it == results_.end() ? 0 : it->second.time;
  }
  // A counter of the benchmark; 0 when it did not run or has no such counter.
  double counter(const std::string& benchmark, const std::string& name) const {
    const auto it = results_.find(benchmark);
    if (it == results_.end()) return 0;
    const auto c = it->second.counters.find(name);
    return c == it->second.counters.end() ? 0 : c->second;
  }
  double bytesPerSecond(const std::string& benchmark) const { return counter(benchmark, "bytes_per_second"); }
  double itemsPerSecond(const std::string& benchmark) const { return counter(benchmark, "items_per_second"); }

  // One line: the items per second of `slow` and of its peer `fast`, and how
  // many times faster the peer is. Nothing when either did not run.
  void printRatio(const char* label, const std::string& slow, const std::string& fast, const char* items) const {
    const double slowRate = itemsPerSecond(slow);
    const double fastRate = itemsPerSecond(fast);
    if (slowRate <= 0 || fastRate <= 0) return;
    std::printf("%-40s %10.0f %s/s, peer %10.0f/s: time ratio %.1f\n", label, slowRate, items, fastRate,
                fastRate / slowRate);
  }

 private:
  struct Result {
    double time = 0;
    std::map<std::string, double> counters;
  };
  std::map<std::string, Result> results_;
};

}  // namespace om

#endif  // OM_BENCH_RATIOREPORTER_H_
