#include "server/tasks/TaskSampler.h"

#include <algorithm>
#include <utility>

#include "config/DefaultValues.h"
#include "core/csvline.h"
#include "server/NetworkServer.h"
#include "server/tasks/SnmpTaskFetch.h"

namespace om::server {
namespace {

// The "CountOverflowPolicy" setting; FollowDefault when it names none.
CCounterValue::CountPolicy configuredPolicy() {
  const CCounterValue::CountPolicy policy = DefaultValues::getDefault()->getCountPolicy();
  const bool named = policy == CCounterValue::CountAsInvalid || policy == CCounterValue::CountAsOverflow ||
                     policy == CCounterValue::CountAsOverflowWithUpTime;
  return named ? policy : CCounterValue::FollowDefault;
}

bool isRunning(const CTaskObject& task) { return task.getTaskStatus() == CTaskObject::TASKSTATUS_RUNNING; }

bool hasAllSamples(const CTaskObject& task, DWORD count) {
  return task.getSamplesRequested() >= 0 && count >= static_cast<DWORD>(task.getSamplesRequested());
}

// The second after `due` at which a task with that interval is due again;
// a round that ran late moves the schedule, so that no poll is made twice.
time_t nextDue(time_t due, time_t now, int interval) {
  const time_t step = std::max(interval, 1);
  return due + step > now ? due + step : now + step;
}

const std::string& hostOf(const CTaskObject& task) {
  return task.getIpAddress().empty() ? task.getDNSName() : task.getIpAddress();
}

void logTask(NetworkServer& server, log_def::tagLOGLEVEL level, log_def::tagLOGTYPE type,
             log_def::tagLOGSUBTYPE subType, const CTaskObject& task, const std::string& message) {
  CLogObject record;
  record.setLevel(level);
  record.setTime(CTime::GetCurrentTime());
  record.setType(type);
  record.setSubType(subType);
  record.setTargetType(log_def::TARGETTYPE_TASK);
  record.setInternalName(task.getName().c_str());
  record.setDisplayName((task.getDisplayName().empty() ? task.getName() : task.getDisplayName()).c_str());
  record.setAddress(hostOf(task).c_str());
  record.setMessage(message.c_str());
  server.writeLog(record);
}

void logFinished(NetworkServer& server, const CTaskObject& task, DWORD count) {
  logTask(server, log_def::LOGLEVEL_PROGRESS, log_def::LOGTYPE_INFORMATION, log_def::LOGSUBTYPE_END, task,
          "Task finished after " + std::to_string(count) + " samples.");
}

// Marks a running task that has all its samples finished; false when it
// was not running any more.
bool finishTask(NetworkServer& server, const std::string& name) {
  bool finished = false;
  server.tasks->update(name, [&](CTaskObject& task) {
    if (!isRunning(task)) return;
    task.setTaskStatus(CTaskObject::TASKSTATUS_FINISHED);
    finished = true;
  });
  return finished;
}

}  // namespace

TaskSampler::Run::Run(const CTaskObject& task, time_t firstDue, CCounterValue::CountPolicy policy)
    : count(task.getPollingCount()),
      variables(task.getMibVariables()),
      sampleType(task.getSampleType()),
      due(firstDue),
      series(policy) {}

bool TaskSampler::Run::continues(const CTaskObject& task) const {
  return task.getPollingCount() == count && task.getMibVariables() == variables && task.getSampleType() == sampleType;
}

TaskSampler::TaskSampler(NetworkServer& server)
    : fetch([&server](const CTaskObject& task, Done done) { fetchTaskReading(*server.snmp, task, std::move(done)); }),
      server_(server) {}

TaskSampler::~TaskSampler() { stop(); }

void TaskSampler::start() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (thread_.joinable()) return;
  CCounterValue::setDefaultPolicy(configuredPolicy());
  stopping_ = false;
  thread_ = std::thread(&TaskSampler::run, this);
}

void TaskSampler::stop() {
  std::thread ending;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    ending.swap(thread_);
  }
  wake_.notify_all();
  if (ending.joinable()) ending.join();
}

void TaskSampler::wake() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    woken_ = true;
  }
  wake_.notify_all();
}

void TaskSampler::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stopping_) {
    woken_ = false;
    lock.unlock();
    const Clock::time_point now = Clock::now();
    const Clock::time_point next = std::min(sampleDue(now), now + kRescan);
    lock.lock();
    wake_.wait_until(lock, next, [this] { return stopping_ || woken_; });
  }
}

TaskSampler::Clock::time_point TaskSampler::sampleDue(Clock::time_point now) {
  std::lock_guard<std::mutex> round(roundMutex_);
  const time_t second = Clock::to_time_t(now);
  const std::vector<CTaskObject> due = dueTasks(second);
  if (!due.empty()) {
    const std::vector<AgentReading> readings = readAll(due);
    const size_t maxSamples = NetworkServer::configuredRetention().maxSamplesPerTask;
    for (size_t i = 0; i < due.size(); ++i) takeSample(due[i], readings[i], second, maxSamples);
  }
  Clock::time_point next = Clock::time_point::max();
  for (const auto& [name, run] : runs_) next = std::min(next, Clock::from_time_t(run.due));
  return next;
}

std::vector<CTaskObject> TaskSampler::dueTasks(time_t now) {
  std::vector<CTaskObject> due;
  std::map<std::string, Run> runs;  // tasks no longer running are forgotten
  for (const CTaskObject& task : server_.tasks->list()) {
    if (!isRunning(task)) continue;
    if (hasAllSamples(task, task.getPollingCount())) {
      if (finishTask(server_, task.getName())) logFinished(server_, task, task.getPollingCount());
      continue;
    }
    auto known = runs_.find(task.getName());
    if (known != runs_.end() && known->second.continues(task)) {
      known = runs.insert(runs_.extract(known)).position;
    } else {
      Run fresh(task, std::max(task.getStartTime().GetTime(), now), configuredPolicy());
      if (known != runs_.end()) fresh.answering = known->second.answering;
      known = runs.insert_or_assign(task.getName(), std::move(fresh)).first;
    }
    if (known->second.due <= now) due.push_back(task);
  }
  runs_.swap(runs);
  return due;
}

std::vector<AgentReading> TaskSampler::readAll(const std::vector<CTaskObject>& tasks) {
  std::vector<AgentReading> readings(tasks.size());
  std::mutex mutex;
  std::condition_variable arrived;
  size_t left = tasks.size();
  for (size_t i = 0; i < tasks.size(); ++i) {
    fetch(tasks[i], [&, i](AgentReading reading) {
      std::lock_guard<std::mutex> lock(mutex);
      readings[i] = std::move(reading);
      --left;
      arrived.notify_all();  // under the lock: the waiter cannot leave before it is done
    });
  }
  std::unique_lock<std::mutex> lock(mutex);
  arrived.wait(lock, [&] { return left == 0; });
  return readings;
}

bool TaskSampler::noteAnswer(Run& run, const CTaskObject& task, const AgentReading& reading) {
  if (reading.answered() == run.answering) return run.answering;
  run.answering = reading.answered();
  if (run.answering) {
    logTask(server_, log_def::LOGLEVEL_USER, log_def::LOGTYPE_INFORMATION, log_def::LOGSUBTYPE_RESPONSE, task,
            hostOf(task) + " answers again.");
  } else {
    logTask(server_, log_def::LOGLEVEL_USER, log_def::LOGTYPE_ERROR, log_def::LOGSUBTYPE_NO_RESPONSE, task,
            "No response from " + hostOf(task) + ": " + reading.error + ".");
  }
  return run.answering;
}

void TaskSampler::takeSample(const CTaskObject& task, const AgentReading& reading, time_t now, size_t maxSamples) {
  Run& run = runs_.at(task.getName());
  run.due = nextDue(run.due, now, task.getPollingInterval());
  if (!noteAnswer(run, task, reading)) {
    run.series.forgetReadings();
    return;
  }
  const std::vector<std::string> values = run.series.values(task, reading);
  const DWORD index = run.count + 1;
  const bool last = hasAllSamples(task, index);
  bool counted = false;
  server_.tasks->update(task.getName(), [&](CTaskObject& stored) {
    if (!isRunning(stored) || stored.getPollingCount() != run.count) return;  // changed meanwhile
    stored.setPollingCount(static_cast<int>(index));
    stored.setLastSampleValues(values);
    if (maxSamples > 0 && index > maxSamples) stored.setWrapFlag(1);
    if (last) stored.setTaskStatus(CTaskObject::TASKSTATUS_FINISHED);
    counted = true;
  });
  if (!counted) {
    runs_.erase(task.getName());  // the next round sees what became of the task
    return;
  }
  CTaskDataRecord record;
  record.setSampleIndex(index);
  record.setPollStartTime(CTime(now));
  record.setSysUpTime(reading.sysUpTime);
  record.setMibValues(CSVLine(std::vector<tstring>(values.begin(), values.end())).format());
  server_.taskRecords->put(task.getName(), record);
  run.count = index;
  for (const TaskSeries::Alarm& alarm : run.series.alarms(task, values)) logAlarm(task, alarm);
  if (last) {
    logFinished(server_, task, index);
    runs_.erase(task.getName());
  }
}

void TaskSampler::logAlarm(const CTaskObject& task, const TaskSeries::Alarm& alarm) {
  const bool rising = alarm.crossing == ThresholdAlarm::Crossing::kRising;
  const std::string message =
      task.getMibVariables()[alarm.variable] + " = " + alarm.value + " reached the " +
      (rising ? "rising threshold " + task.getRisingThreshold() : "falling threshold " + task.getFallingThreshold()) +
      ".";
  logTask(server_, log_def::LOGLEVEL_USER, log_def::LOGTYPE_ALARM,
          rising ? log_def::LOGSUBTYPE_RISING_THRESHOLD : log_def::LOGSUBTYPE_FALLING_THRESHOLD, task, message);
}

}  // namespace om::server
