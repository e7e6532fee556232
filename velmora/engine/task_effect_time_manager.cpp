#include "velmora/engine/task_effect_time_manager.h"

namespace velmora {

void TaskEffectTimeManager::SetTimePointToTaskEffect(int timePoint) {
  const MutexLock lock(mutex_);
  timePoint_ = timePoint;
}

bool TaskEffectTimeManager::IsTimePointOpen() const {
  const MutexLock lock(mutex_);
  return timePoint_ > 0;
}

}  // namespace velmora
