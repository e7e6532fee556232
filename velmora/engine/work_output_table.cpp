#include "velmora/engine/work_output_table.h"

#include "velmora/engine/internal/work_slots.h"
#include "velmora/platform/prefetch.h"

namespace velmora {

NxWorkOutputTable::NxWorkOutputTable() : guarded_(std::make_unique<internal::GuardedWorkSlots>()) {}

NxWorkOutputTable::~NxWorkOutputTable() {
  // Work that asks this table while it dies finds it whole. It goes from the first slot to the
  // last.
  SetSequential(true);
  while (GetNextTopPriorityWorkOutput({})) {
  }
}

void NxWorkOutputTable::SetAllWorkModesCount(int count) {
  const MutexLock lock(guarded_->mutex);
  guarded_->slots.SetListsPerLevel(count);
}

void NxWorkOutputTable::AppendNextWorkOutput(int level, int mode, NxRef<NxWorkOutput> work) {
  const MutexLock lock(guarded_->mutex);
  guarded_->slots.Append(level, mode, work);
}

NxRef<NxWorkOutput> NxWorkOutputTable::GetNextTopPriorityWorkOutput(const std::string& workMode) {
  const bool sequential = IsSequential();
  const MutexLock lock(guarded_->mutex);
  return guarded_->slots.Take(workMode, sequential);
}

void NxWorkOutputTable::PrefetchToTake() const {
  PrefetchToWrite(this);  // the reference count
  PrefetchToWrite(guarded_.get());
}

bool NxWorkOutputTable::HasNextWorkOutput() const {
  const MutexLock lock(guarded_->mutex);
  return guarded_->slots.HasWork();
}

std::int64_t NxWorkOutputTable::GetVisitedSlotCount() const {
  const MutexLock lock(guarded_->mutex);
  return guarded_->slots.GetVisitedCount();
}

}  // namespace velmora
