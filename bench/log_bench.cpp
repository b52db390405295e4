// The log through the whole road: enumerating 10,000 records from a
// console's client, against reading them from the store directly; and
// events: records written per second with no, one and ten subscribers of
// "select * from LogObjectEvent", with the time from a write to its
// delivery (median and 99th percentile).
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <atlbase.h>
#include <om/ComObject.h>
#include <wmi/ObjectManager.h>

#include "BenchRoad.h"
#include "RatioReporter.h"
#include "wbem/WbemLogObject.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRecords = 10000;
constexpr int kEventsPerRound = 1000;

CLogObject record(int i) {
  CLogObject log;
  log.setLevel(log_def::LOGLEVEL_USER);
  log.setTime(CTime(2024, 1, 1, 0, 0, 0) + CTimeSpan(0, 0, 0, i));
  log.setType(static_cast<log_def::tagLOGTYPE>(1 + i % 4));
  log.setSubType(log_def::LOGSUBTYPE_LINK_DOWN);
  log.setTargetType(log_def::TARGETTYPE_PORT);
  log.setInternalName(("port-" + std::to_string(i % 50)).c_str());
  log.setDisplayName("port");
  log.setAddress(("10.0." + std::to_string(i % 256) + ".1").c_str());
  log.setSysObjectId("1.3.6.1.4.1.9.1.1");
  log.setMessage("link down on a port of the benchmark");
  return log;
}

// The process's server, holding kRecords log records, and console
// connection, set up once.
BenchRoad& road() {
  static BenchRoad* instance = [] {
    auto state = std::make_shared<NetworkServer>();
    for (int i = 0; i < kRecords; ++i) state->writeLog(record(i));
    om::wmi::ObjectManager::instance().setEventQueueLimit(1 << 20);  // none dropped in a round
    return new BenchRoad(state);
  }();
  return *instance;
}

void BM_LogEnumerateRoad(benchmark::State& state) {
  if (!road().ready) return state.SkipWithError("no connection to the embedded server");
  for (auto _ : state) {
    WbemLogObjectClient client(road().connection.getServices());
    std::vector<CLogObject> records;
    client.beginRecordEnumeration("select * from LogObject", "");
    while (client.getNextRecord(records)) {
    }
    if (records.size() < kRecords) return state.SkipWithError("records missing");
    benchmark::DoNotOptimize(records.data());
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

void BM_LogEnumerateStore(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<CLogObject> records;
    road().state->logs->scan([&](const CLogObject& each) {
      records.push_back(each);
      return true;
    });
    benchmark::DoNotOptimize(records.data());
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

// Notes when each event of a round arrived. Events come in the order of the
// writes, so the n-th event of a round is the n-th record written.
class TimingSink final : public om::ComObject<IWbemObjectSink> {
 public:
  explicit TimingSink(const std::vector<Clock::time_point>* written) : written_(written) {}
  HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject** objects) override {
    const Clock::time_point now = Clock::now();
    std::lock_guard<std::mutex> lock(mutex_);
    for (long i = 0; i < count; ++i) {
      WbemLogObjectEvent event(nullptr);
      if (!event.getFromInstance(objects[i])) continue;  // read as a console would
      if (received_ < written_->size()) latencies_.push_back(now - (*written_)[received_]);
      ++received_;
    }
    arrived_.notify_all();
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT, BSTR, IWbemClassObject*) override { return WBEM_S_NO_ERROR; }

  // Waits for the round's events, then starts the next round.
  void finishRound(size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    arrived_.wait(lock, [&] { return received_ >= count; });
    received_ = 0;
  }
  std::vector<Clock::duration> latencies_;

 private:
  const std::vector<Clock::time_point>* written_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  size_t received_ = 0;
};

void BM_LogEvents(benchmark::State& state) {
  if (!road().ready) return state.SkipWithError("no connection to the embedded server");
  IWbemServices* services = road().connection.getServices();
  std::vector<Clock::time_point> written(kEventsPerRound);
  std::vector<CComPtr<TimingSink>> sinks;
  for (int i = 0; i < state.range(0); ++i) {
    sinks.emplace_back().Attach(new TimingSink(&written));
    services->ExecNotificationQueryAsync(CComBSTR(u"WQL"), CComBSTR(u"select * from LogObjectEvent"), 0, nullptr,
                                         sinks.back());
  }
  const CLogObject sample = record(0);
  for (auto _ : state) {
    for (int i = 0; i < kEventsPerRound; ++i) {
      written[static_cast<size_t>(i)] = Clock::now();
      road().state->writeLog(sample);
    }
    for (TimingSink* sink : sinks) sink->finishRound(kEventsPerRound);
  }
  state.SetItemsProcessed(state.iterations() * kEventsPerRound);
  std::vector<Clock::duration> all;
  for (TimingSink* sink : sinks) {
    all.insert(all.end(), sink->latencies_.begin(), sink->latencies_.end());
    services->CancelAsyncCall(sink);
  }
  if (all.empty()) return;
  std::sort(all.begin(), all.end());
  const auto micros = [](Clock::duration d) { return std::chrono::duration<double, std::micro>(d).count(); };
  state.counters["median_us"] = micros(all[all.size() / 2]);
  state.counters["p99_us"] = micros(all[all.size() * 99 / 100]);
}

BENCHMARK(BM_LogEnumerateRoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LogEnumerateStore)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LogEvents)->Arg(0)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();

void printLatency(const om::RatioReporter& reporter, const char* label, const char* benchmark) {
  std::printf("%-44s median %.0f us, p99 %.0f us\n", label, reporter.counter(benchmark, "median_us"),
              reporter.counter(benchmark, "p99_us"));
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatio("10,000 records: road vs the store", "BM_LogEnumerateRoad", "BM_LogEnumerateStore", "records");
  reporter.printRatio("writes with 1 subscriber vs none", "BM_LogEvents/1/real_time", "BM_LogEvents/0/real_time",
                      "records");
  reporter.printRatio("writes with 10 subscribers vs none", "BM_LogEvents/10/real_time", "BM_LogEvents/0/real_time",
                      "records");
  printLatency(reporter, "write to delivery, 1 subscriber", "BM_LogEvents/1/real_time");
  printLatency(reporter, "write to delivery, 10 subscribers", "BM_LogEvents/10/real_time");
  return 0;
}
