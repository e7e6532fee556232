/// @file
/// The jobs that a worker has been given and has not begun.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "tools/cluster/job.h"

namespace velmora::cluster {

/// A job with the deliveries that brought it: more than one if its message was sent twice.
struct HeldJob {
  Job job;
  std::vector<std::uint64_t> deliveries;
  int failures = 0;  ///< how often it came back from a worker that died
  std::chrono::steady_clock::time_point arrival;
};

/// Decides which job is next.
///
/// Fresh jobs go by priority, then by arrival; one that has waited for a minute goes first, so that
/// the broker never takes it for lost. A job that came back from a worker that died may have killed
/// it. Nothing runs beside it: neither are others lost with it, nor is it charged with another's
/// deed. It is begun when no fresh job is waiting, or when it has waited for a second itself; the
/// longer it waits, the likelier it is to be charged with an accident.
///
/// @threadsafety one thread
class Hand {
 public:
  using Clock = std::chrono::steady_clock;

  void Add(HeldJob job);
  /// Adds a delivery to the waiting job of this id.
  /// @return false if there is none
  bool Attach(const std::string& id, std::uint64_t delivery);
  /// The job to begin now.
  /// @param running  how many are being worked on
  /// @return nothing if none is to be begun
  std::optional<HeldJob> TakeNext(Clock::time_point now, int running);
  /// Forgets everything: the connection that brought the jobs is gone.
  void Clear() { fresh_.clear(), suspects_.clear(); }
  std::size_t Count() const { return fresh_.size() + suspects_.size(); }

 private:
  using Jobs = std::deque<HeldJob>;  // by arrival

  Jobs::iterator ChooseFresh(Clock::time_point now);

  Jobs fresh_;
  Jobs suspects_;
  bool isAlone_ = false;  // a suspect was begun last: it may still be running
};

}  // namespace velmora::cluster
