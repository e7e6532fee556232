/// @file
/// The thread that measures time.
#pragma once

#include <condition_variable>
#include <thread>

#include "velmora/engine/data_manager_pool.h"
#include "velmora/platform/mutex.h"

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
  Mutex mutex_;
  std::condition_variable wakeUp_;
  bool isBusy_ VELMORA_GUARDED_BY(mutex_) = false;
  bool isAsleep_ VELMORA_GUARDED_BY(mutex_) = false;
  bool isStopping_ VELMORA_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace velmora::capture
