/// @file
/// The switch that tells running tasks to stop.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

/// Holds one time point. While it is greater than 0 it is open: a task that reaches a check point
/// ends there, without an error.
///
/// @threadsafety any thread
class VELMORA_EXPORT TaskEffectTimeManager {
 public:
  /// Stores @p timePoint; 0 and negative values close it.
  void SetTimePointToTaskEffect(int timePoint);

  /// True while the stored value is greater than 0, which it is not at construction.
  bool IsTimePointOpen() const;

 private:
  mutable Mutex mutex_;
  std::int32_t timePoint_ VELMORA_GUARDED_BY(mutex_) = 0;
};

}  // namespace velmora
