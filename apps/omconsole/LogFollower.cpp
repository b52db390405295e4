#include "LogFollower.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include <om/ComObject.h>

#include "LogRecord.h"
#include "MethodCall.h"
#include "SessionCommand.h"
#include "StopSignal.h"
#include "wbem/WbemLogObject.h"

namespace omconsole {

// Prints the record of each event and keeps the highest identifier printed.
class LogFollower::Sink final : public om::ComObject<IWbemObjectSink> {
 public:
  explicit Sink(std::optional<int> logType) : logType_(logType) {}

  HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject** objects) override {
    for (long i = 0; i < count; ++i) {
      WbemLogObjectEvent event(nullptr);
      if (!event.getFromInstance(objects[i])) continue;
      const CLogObject& record = event.getObject().getObject();
      if (!logType_ || record.getType() == *logType_) emit(listLine(logRecord(record)) + "\n");
      std::lock_guard<std::mutex> lock(mutex_);
      printed_ = std::max(printed_, record.getIdentifier());
      changed_.notify_all();
    }
    return WBEM_S_NO_ERROR;
  }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT, BSTR, IWbemClassObject*) override {
    std::lock_guard<std::mutex> lock(mutex_);
    ended_ = true;
    changed_.notify_all();
    return WBEM_S_NO_ERROR;
  }

  void countAsPrinted(DWORD identifier) {
    std::lock_guard<std::mutex> lock(mutex_);
    printed_ = std::max(printed_, identifier);
  }
  bool waitFor(DWORD identifier, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return ended_ || printed_ >= identifier; }) && printed_ >= identifier;
  }
  void waitForEnd() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return ended_; });
  }

 private:
  const std::optional<int> logType_;
  std::mutex mutex_;
  std::condition_variable changed_;
  DWORD printed_ = 0;
  bool ended_ = false;
};

namespace {

// How long the end of a shell waits for a follower to print what was written.
constexpr std::chrono::seconds kDrainLimit(5);

// The highest identifier of the log (0 when it is empty or cannot be read).
DWORD highestIdentifier(IWbemServices* services) {
  std::vector<CLogObject> records;
  WbemLogObject::enumLogObject(services, records);
  DWORD highest = 0;
  for (const CLogObject& record : records) highest = std::max(highest, record.getIdentifier());
  return highest;
}

}  // namespace

LogFollower::LogFollower(IWbemServices* services, std::optional<int> logType)
    : services_(services), logType_(logType) {}

LogFollower::~LogFollower() { stop(); }

HRESULT LogFollower::start() {
  CComPtr<Sink> sink;
  sink.Attach(new Sink(logType_));
  const HRESULT hr = services_->ExecNotificationQueryAsync(CComBSTR(u"WQL"), CComBSTR(u"select * from LogObjectEvent"),
                                                           0, nullptr, sink);
  if (FAILED(hr)) return hr;
  sink->countAsPrinted(highestIdentifier(services_));  // no event comes for these
  sink_ = sink;
  return hr;
}

bool LogFollower::drain(std::chrono::milliseconds limit) {
  return sink_ == nullptr || sink_->waitFor(highestIdentifier(services_), limit);
}

void LogFollower::stop() {
  if (sink_ == nullptr) return;
  services_->CancelAsyncCall(sink_);
  sink_->waitForEnd();
  sink_.Release();
}

namespace {

// In a shell: follows until the shell ends, then lets the follower print
// what was written before it stops.
int followInBackground(const SubcommandCall& call, std::optional<int> logType) {
  static bool following = false;
  if (following) return call.fail("the log is followed already");
  auto follower = std::make_shared<LogFollower>(call.services(), logType);
  const HRESULT hr = follower->start();
  if (FAILED(hr)) return call.failStatus(static_cast<unsigned long>(hr));
  following = true;
  call.session.atClose([follower] {
    follower->drain(kDrainLimit);
    follower->stop();
    following = false;
  });
  return 0;
}

}  // namespace

int followLog(const SubcommandCall& call, std::optional<int> logType) {
  if (call.session.shared()) return followInBackground(call, logType);
  StopSignal stop;
  LogFollower follower(call.services(), logType);
  const HRESULT hr = follower.start();
  if (FAILED(hr)) return call.failStatus(static_cast<unsigned long>(hr));
  stop.wait();
  follower.stop();
  return 0;
}

}  // namespace omconsole
