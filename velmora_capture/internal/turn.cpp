#include "velmora_capture/internal/turn.h"

#include "velmora_capture/internal/capture_work_item.h"

namespace velmora::capture {

bool Turn::Enter(CaptureWorkItem& item) noexcept {
  const MutexLock lock(mutex_);
  if (!isTaken_) return isTaken_ = true;
  waiting_.Push(item);
  return false;
}

NxRef<CaptureWorkItem> Turn::Leave() noexcept {
  const MutexLock lock(mutex_);
  NxRef<CaptureWorkItem> next = waiting_.Pop();
  if (!next) isTaken_ = false;
  return next;
}

}  // namespace velmora::capture
