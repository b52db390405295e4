#include "LogFollower.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

#include <om/ComObject.h>

#include "LogRecord.h"
#include "wbem/WbemLogObject.h"

namespace omconsole {

// Prints the record of each event and keeps the highest identifier printed.
class LogFollower::Sink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject** objects) override {
    for (long i = 0; i < count; ++i) {
      WbemLogObjectEvent event(nullptr);
      if (!event.getFromInstance(objects[i])) continue;
      const CLogObject& record = event.getObject().getObject();
      emit(listLine(logRecord(record)) + "\n");
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
  std::mutex mutex_;
  std::condition_variable changed_;
  DWORD printed_ = 0;
  bool ended_ = false;
};

namespace {

// The highest identifier of the log (0 when it is empty or cannot be read).
DWORD highestIdentifier(IWbemServices* services) {
  std::vector<CLogObject> records;
  WbemLogObject::enumLogObject(services, records);
  DWORD highest = 0;
  for (const CLogObject& record : records) highest = std::max(highest, record.getIdentifier());
  return highest;
}

}  // namespace

LogFollower::LogFollower(IWbemServices* services) : services_(services) {}

LogFollower::~LogFollower() { stop(); }

HRESULT LogFollower::start() {
  CComPtr<Sink> sink;
  sink.Attach(new Sink);
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

}  // namespace omconsole
