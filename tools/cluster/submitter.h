/// @file
/// Sending jobs to a queue until the broker has confirmed each of them.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/capture/system.h"
#include "tools/cluster/back_off.h"
#include "tools/cluster/job.h"
#include "tools/cluster/job_queue.h"

namespace velmora::cluster {

/// Keeps a limited number of jobs on their way. Those that were not confirmed when the connection
/// was lost are sent once more, and those that a full queue refused as long as it is full.
///
/// @threadsafety one thread
class Submitter {
 public:
  /// Gives the next job.
  /// @return false if there are no more
  using NextJob = std::function<bool(Job& job)>;
  struct Listener {
    std::function<void(const Job& job)> onConfirmed;
    std::function<void(const std::string& sentence)> onTrouble;  ///< that waiting may mend
  };

  /// @param stop  ends the wait for the broker, from any thread
  Submitter(JobQueue& queue, const capture::StopSignal& stop, Listener listener)
      : queue_(queue), stop_(stop), listener_(std::move(listener)) {}

  /// @return false if it was stopped before all were confirmed
  /// @throws QueueError if the broker refuses for good
  bool Run(const NextJob& next);

 private:
  void Connect();
  void Pump(const NextJob& next);
  bool TakeNext(const NextJob& next, std::uint64_t& number);
  void Take(const std::vector<QueueEvent>& events);

  JobQueue& queue_;
  const capture::StopSignal& stop_;
  const Listener listener_;
  std::map<std::uint64_t, Job> open_;   // not confirmed
  std::deque<std::uint64_t> toRepeat_;  // of those, what is not on its way
  std::uint64_t lastNumber_ = 0;
  BackOff backOff_;
  bool isConnected_ = false;
  bool wasConnected_ = false;
  bool isBlocked_ = false;
  bool isRefused_ = false;
  bool hasMore_ = true;
};

}  // namespace velmora::cluster
