#include "velmora/engine/work_output_table.h"

#include "velmora/engine/internal/work_slots.h"

namespace velmora {

NxWorkOutputTable::NxWorkOutputTable() : slots_(std::make_unique<internal::WorkSlots>()) {}

NxWorkOutputTable::~NxWorkOutputTable() {
  // Work that asks this table while it dies finds it whole. It goes from the first slot to the
  // last.
  SetSequential(true);
  while (GetNextTopPriorityWorkOutput({})) {
  }
}

void NxWorkOutputTable::SetAllWorkModesCount(int count) {
  const MutexLock lock(mutex_);
  slots_->SetListsPerLevel(count);
}

void NxWorkOutputTable::AppendNextWorkOutput(int level, int mode, NxRef<NxWorkOutput> work) {
  const MutexLock lock(mutex_);
  slots_->Append(level, mode, work);
}

NxRef<NxWorkOutput> NxWorkOutputTable::GetNextTopPriorityWorkOutput(const std::string& workMode) {
  const bool sequential = IsSequential();
  const MutexLock lock(mutex_);
  return slots_->Take(workMode, sequential);
}

bool NxWorkOutputTable::HasNextWorkOutput() const {
  const MutexLock lock(mutex_);
  return slots_->HasWork();
}

std::int64_t NxWorkOutputTable::GetVisitedSlotCount() const {
  const MutexLock lock(mutex_);
  return slots_->GetVisitedCount();
}

}  // namespace velmora
