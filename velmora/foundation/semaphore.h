/// @file
/// A counting semaphore with a bounded sleep.
#pragma once

#include <condition_variable>
#include <cstdint>

#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

/// A counting semaphore through which workers wait for work and callers for its end.
///
/// `Consume` waits for a unit and takes it; `SleepIfEmpty` only waits, for a bounded time, and
/// leaves the value alone. Its callers look at the value again afterwards.
///
/// @threadsafety every operation from any thread, except Reset(), which must not race with another
/// @throws std::system_error from every operation that locks, if the mutex cannot be taken
class VELMORA_EXPORT NxSemaphore {
 public:
  explicit NxSemaphore(long initial);
  NxSemaphore(const NxSemaphore&) = delete;
  NxSemaphore& operator=(const NxSemaphore&) = delete;

  /// Adds one and wakes one waiter.
  void Produce();

  /// Waits while the value is below 1, then takes one.
  void Consume();

  long GetValue() const;
  /// True while the value is below 1.
  bool IsEmpty() const;

  /// Sleeps until somebody calls `Produce` or `WakeUpIfSleep`, or @p ms milliseconds have passed.
  ///
  /// Returns at once if the value is 1 or more, or @p ms is 0 or negative (a negative time is no
  /// wait, not an endless one). Any wake-up ends the sleep, a spurious one too, whatever the value
  /// is then.
  void SleepIfEmpty(int ms);

  /// Sets the value, without the lock and without waking anyone: for a semaphore that nobody waits
  /// on.
  void Reset(long value) VELMORA_UNCHECKED_LOCKING;

  /// Wakes one waiter if the value is below 1.
  void WakeUpIfSleep();

 private:
  // Lock and value share a cache line, the only one that a `Produce` without waiters writes.
  mutable Mutex mutex_;
  std::int32_t value_ VELMORA_GUARDED_BY(mutex_);
  std::condition_variable wakeUp_;  // a unit was produced, or a sleeper is to look again
};

}  // namespace velmora
