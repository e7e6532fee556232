/// @file
/// A worker: takes jobs from a queue, has them done, and tells the queue.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tools/capture/system.h"
#include "tools/cluster/back_off.h"
#include "tools/cluster/hand.h"
#include "tools/cluster/job_queue.h"
#include "tools/cluster/job_runner.h"
#include "tools/cluster/worker_counters.h"
#include "velmora/platform/mutex.h"

namespace velmora::cluster {

/// Wakes a thread that waits in `poll`.
class WakeUp {
 public:
  WakeUp();
  ~WakeUp();
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  int Get() const { return number_; }  ///< readable once it was set
  void Set() const;                    ///< from any thread
  void Reset() const;

 private:
  const int number_;
};

struct WorkerSettings {
  int jobsAtOnce = 1;
  std::chrono::seconds idleExit{0};  ///< 0 for never
  std::string metricsFile;
  bool isQuiet = false;
};

/// One thread does the queue's input and output, so that the connection lives however long an image
/// takes; others do the jobs.
///
/// When the connection is lost, what is being worked on is ended and stored; its redelivery finds
/// the result. What was waiting in hand is forgotten, for it comes back.
class Worker {
 public:
  /// Queue and runner are borrowed.
  Worker(const WorkerSettings& settings, JobQueue& queue, JobRunner& runner);
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Works until `Stop`, on this thread and on those of the jobs.
  /// @return whether every job that was begun came to its end
  /// @throws QueueError if the first connection is refused for good
  bool Run();

  /// Takes no more jobs; `Run` returns when those in hand are done. From any thread.
  void Stop();

 private:
  using Clock = std::chrono::steady_clock;
  struct Ended {
    std::string id;
    JobOutcome outcome;
    bool isGivenUp = false;  // the store was out of reach when the worker was stopped
    double seconds = 0;
  };

  void Connect();
  void Disconnect(const QueueError& error);
  void Pump();
  void Take(const std::vector<QueueEvent>& events);
  void TakeJob(const QueueEvent& event);
  void Reject(std::uint64_t delivery, const std::string& error);
  void Settle();
  void Begin();
  bool IsDone() const;
  void Report();
  void WriteMetrics();
  void Say(const std::string& sentence) const;
  void Work();
  Ended DoJob(const Job& job);

  const WorkerSettings settings_;
  JobQueue& queue_;
  JobRunner& runner_;
  WakeUp wake_;
  capture::StopSignal stop_;

  // Of the thread that does input and output.
  Hand hand_;
  std::map<std::string, std::vector<std::uint64_t>> running_;  // deliveries by job id
  BackOff backOff_;
  WorkerCounters counters_;
  WorkerCounters reported_;
  Clock::time_point nextReport_;
  Clock::time_point nextMetrics_;
  Clock::time_point lastJob_;
  int buried_ = 0;  // dead letters that are not yet safe
  bool isStopped_ = false;
  bool isComplete_ = true;

  Mutex mutex_;
  std::condition_variable hasJob_;
  std::deque<Job> begun_ VELMORA_GUARDED_BY(mutex_);
  std::vector<Ended> ended_ VELMORA_GUARDED_BY(mutex_);
  bool isOver_ VELMORA_GUARDED_BY(mutex_) = false;
  std::vector<std::thread> threads_;
};

}  // namespace velmora::cluster
