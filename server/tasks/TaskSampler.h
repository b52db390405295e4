// TaskSampler: carries out the server's polling tasks. For every task whose
// status is "running" it reads the task's agent each polling interval (the
// first time at the task's start time), turns the reading into a sample
// (TaskSeries), stores it as a CTaskDataRecord and counts it in the task,
// and marks the task finished once it has the samples it asked for (a
// negative number asks for samples without end). One thread of its own does
// this; the agents of the tasks due at one moment are all read at once.
//
// A sample's record: index = the task's polling count after it (the first
// sample is 1), poll start time = the second the round began, the agent's
// sysUpTime, and the values joined as one CSV line. The task keeps the same
// values as its last sample values, and gets its wrap flag once it has more
// samples than the store keeps per task ("TaskMaxSample").
//
// Counters that go back are read by the "CountOverflowPolicy" setting as a
// run of a task begins (a run lasts while the task keeps running with the
// same polling count, variables and sample type as this sampler left it).
//
// Log records, all about the task (target kind "task", its name, display
// name and address):
// - each alarm (TaskSeries::alarms): type "alarm", sub-type "rising
//   threshold" or "falling threshold", level "user";
// - an agent that stops answering: type "error", sub-type "no response",
//   level "user", once until it answers again, which is logged as type
//   "information", sub-type "response". The task keeps running; a poll
//   without an answer is not a sample, and the next delta starts afresh;
// - a task that finished: type "information", sub-type "end", level
//   "progress", as the task methods log stops.
#ifndef OM_SERVER_TASKS_TASKSAMPLER_H_
#define OM_SERVER_TASKS_TASKSAMPLER_H_

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "monitor/TaskObject.h"
#include "server/tasks/AgentReading.h"
#include "server/tasks/TaskSeries.h"

struct NetworkServer;

namespace om::server {

class TaskSampler {
 public:
  using Clock = std::chrono::system_clock;
  using Done = std::function<void(AgentReading reading)>;
  // Reads `task`'s agent; `done` hears the reading exactly once, on any
  // thread, and must not be kept after that.
  using Fetch = std::function<void(const CTaskObject& task, Done done)>;

  // How long the thread waits, at most, before it looks at the tasks again
  // (tasks started without wake() are noticed then).
  static constexpr std::chrono::seconds kRescan{5};

  // Samples `server`'s tasks (not owned; it must outlive the sampler). The
  // thread starts with start().
  explicit TaskSampler(NetworkServer& server);
  // stop().
  ~TaskSampler();
  TaskSampler(const TaskSampler&) = delete;
  TaskSampler& operator=(const TaskSampler&) = delete;

  // Passes the "CountOverflowPolicy" setting to CCounterValue as the
  // process's default and starts the thread; nothing when it runs already.
  void start();
  // Ends the thread after the round under way and waits for it.
  void stop();
  // Makes the thread look at the tasks now: call it when a task starts or
  // restarts, so that its first sample is taken at once.
  void wake();

  // One round, as the thread does it at `now`: takes a sample of every
  // running task due by then and finishes the tasks that have their
  // samples. Returns when the next task is due (Clock::time_point::max()
  // when none is running). Rounds never overlap.
  Clock::time_point sampleDue(Clock::time_point now);

  // How agents are read; by default by SNMP through server.snmp
  // (fetchTaskReading). Set before start().
  Fetch fetch;

 private:
  // What the sampler keeps of a running task between rounds.
  struct Run {
    Run(const CTaskObject& task, time_t firstDue, CCounterValue::CountPolicy policy);
    // Whether `task` still is this run: nobody restarted, reset or
    // redefined it since.
    bool continues(const CTaskObject& task) const;

    DWORD count;
    std::vector<std::string> variables;
    CTaskObject::SampleType sampleType;
    time_t due;  // seconds; whole seconds keep every poll start time distinct
    bool answering = true;
    TaskSeries series;
  };

  void run();
  // The running tasks due at `now`, after bringing runs_ up to date with the
  // task store and finishing the tasks that need no more samples.
  std::vector<CTaskObject> dueTasks(time_t now);
  // Every task's reading, in order, once all have come.
  std::vector<AgentReading> readAll(const std::vector<CTaskObject>& tasks);
  void takeSample(const CTaskObject& task, const AgentReading& reading, time_t now, size_t maxSamples);
  // Notes whether the run's agent answered, logging a change; true if so.
  bool noteAnswer(Run& run, const CTaskObject& task, const AgentReading& reading);
  void logAlarm(const CTaskObject& task, const TaskSeries::Alarm& alarm);

  NetworkServer& server_;
  std::mutex roundMutex_;            // held through a round; guards runs_
  std::map<std::string, Run> runs_;  // by task name
  std::mutex mutex_;                 // guards what follows
  std::condition_variable wake_;
  bool stopping_ = false;
  bool woken_ = false;
  std::thread thread_;
};

}  // namespace om::server

#endif  // OM_SERVER_TASKS_TASKSAMPLER_H_
