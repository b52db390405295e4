// The server's durable log: records written per second through the server's
// writeLog (a committed transaction each, the new record handed to a log
// listener that queues it for another thread, as event delivery does),
// against raw LMDB puts of the same bytes, one committed transaction each,
// in an environment opened with the same flags.
#include <lmdb.h>
#include <stdlib.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include "RatioReporter.h"
#include "server/NetworkServer.h"
#include "server/store/DataStore.h"
#include "server/store/RecordBytes.h"

namespace {

std::string tempDir(const char* kind) {
  std::string dir = (std::filesystem::temp_directory_path() / (std::string("omlib-") + kind + "-XXXXXX")).string();
  return mkdtemp(dir.data()) == nullptr ? std::string() : dir;
}

CLogObject record(int i) {
  CLogObject log;
  log.setLevel(log_def::LOGLEVEL_USER);
  log.setTime(CTime::GetCurrentTime());
  log.setType(log_def::LOGTYPE_ERROR);
  log.setSubType(log_def::LOGSUBTYPE_LINK_DOWN);
  log.setTargetType(log_def::TARGETTYPE_PORT);
  log.setInternalName(("port-" + std::to_string(i % 50)).c_str());
  log.setAddress(("10.0." + std::to_string(i % 256) + ".1").c_str());
  log.setMessage("The link went down.");
  return log;
}

// Takes the records the listener queues, as the event sender would.
class Deliverer {
 public:
  Deliverer() : thread_([this] { run(); }) {}
  ~Deliverer() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    ready_.notify_one();
    thread_.join();
  }
  void push(const CLogObject& record) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      queue_.push_back(record);
    }
    ready_.notify_one();
  }

 private:
  void run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stop_ || !queue_.empty()) {
      ready_.wait(lock, [this] { return stop_ || !queue_.empty(); });
      queue_.clear();
    }
  }

  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<CLogObject> queue_;
  bool stop_ = false;
  std::thread thread_;
};

void BM_ServerLogWrite(benchmark::State& state) {
  const std::string dir = tempDir("logstore");
  {
    NetworkServer server;
    if (!server.openData(dir, {}).empty()) {
      state.SkipWithError("the data store cannot be opened");
      return;
    }
    Deliverer deliverer;
    const int listener = server.addLogListener([&](const CLogObject& written) { deliverer.push(written); });
    int i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(server.writeLog(record(i++)));
    server.removeLogListener(listener);
  }
  std::filesystem::remove_all(dir);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ServerLogWrite)->UseRealTime();

void BM_RawLmdbPut(benchmark::State& state) {
  const std::string dir = tempDir("lmdb");
  MDB_env* env = nullptr;
  MDB_dbi dbi = 0;
  mdb_env_create(&env);
  mdb_env_set_mapsize(env, size_t{4} << 30);
  mdb_env_set_maxdbs(env, 1);
  if (mdb_env_open(env, dir.c_str(), MDB_NOTLS | MDB_NOMETASYNC, 0640) != 0) {
    state.SkipWithError("LMDB cannot be opened");
    return;
  }
  MDB_txn* txn = nullptr;
  mdb_txn_begin(env, nullptr, 0, &txn);
  mdb_dbi_open(txn, "logs", MDB_CREATE, &dbi);
  mdb_txn_commit(txn);
  uint32_t id = 0;
  for (auto _ : state) {
    CLogObject log = record(static_cast<int>(id));
    log.setIdentifier(++id);
    const std::string bytes = om::server::archiveBytes(log);
    const std::string key = om::server::numberKey(id);
    MDB_val k{key.size(), const_cast<char*>(key.data())};
    MDB_val v{bytes.size(), const_cast<char*>(bytes.data())};
    mdb_txn_begin(env, nullptr, 0, &txn);
    mdb_put(txn, dbi, &k, &v, 0);
    mdb_txn_commit(txn);
  }
  mdb_env_close(env);
  std::filesystem::remove_all(dir);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RawLmdbPut)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const std::string home = tempDir("bench-home");
  setenv("OMLIB_HOME", home.c_str(), 1);
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter(isatty(STDOUT_FILENO) ? benchmark::ConsoleReporter::OO_Defaults
                                                         : benchmark::ConsoleReporter::OO_Tabular);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatio("log write through the server vs raw put", "BM_ServerLogWrite/real_time",
                      "BM_RawLmdbPut/real_time", "records");
  std::filesystem::remove_all(home);
  return 0;
}
