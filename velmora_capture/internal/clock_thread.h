/// @file
/// The thread that measures time.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "velmora/engine/data_manager_pool.h"

namespace velmora::capture {

/// Charges elapsed time to every image that has work in flight, every few milliseconds, and stops
/// all work once the run is cancelled.
class ClockThread {
 public:
  /// @param isCancelled  asked with each tick; the first true opens the pool's time point
  ClockThread(NxDataManagerPool& managers, std::function<bool()> isCancelled);
  ~ClockThread();
  ClockThread(const ClockThread&) = delete;
  ClockThread& operator=(const ClockThread&) = delete;

 private:
  void Run();

  NxDataManagerPool& managers_;
  std::function<bool()> isCancelled_;
  std::mutex mutex_;  // guards isStopping_
  std::condition_variable wakeUp_;
  bool isStopping_ = false;
  std::thread thread_;
};

}  // namespace velmora::capture
