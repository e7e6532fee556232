/// @file
/// The thread that measures time.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "velmora/engine/data_manager_pool.h"

namespace velmora::capture {

/// Charges elapsed time to every image that has work in flight, every few milliseconds. Sleeps
/// without a time-out while there is none.
///
/// @threadsafety SetBusy from any thread
class ClockThread {
 public:
  explicit ClockThread(NxDataManagerPool& managers);
  ~ClockThread();
  ClockThread(const ClockThread&) = delete;
  ClockThread& operator=(const ClockThread&) = delete;

  /// Tells whether any image is in flight.
  void SetBusy(bool isBusy);

 private:
  void Run();

  NxDataManagerPool& managers_;
  std::mutex mutex_;  // guards the flags
  std::condition_variable wakeUp_;
  bool isBusy_ = false;
  bool isAsleep_ = false;
  bool isStopping_ = false;
  std::thread thread_;
};

}  // namespace velmora::capture
