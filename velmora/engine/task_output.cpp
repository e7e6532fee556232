#include "velmora/engine/task_output.h"

#include <utility>

#include "velmora/engine/dependency_finish_flag.h"
#include "velmora/engine/thread_suspend_token.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/region/region_object.h"

namespace velmora {

NxTaskOutput::NxTaskOutput(NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
                           const std::string& name, TaskType type, bool needFilter,
                           int workModesCount)
    : NxOutputBase(std::move(region), std::move(reference), name, type),
      finishFlag_(new NxDependencyFinishFlag(GetTaskFullName())),
      needFilter_(needFilter),
      workTable_(new NxWorkOutputTable),
      workOutputs_(workModesCount < 0 ? 0 : static_cast<std::size_t>(workModesCount)) {
  workTable_->SetAllWorkModesCount(workModesCount);
}

NxTaskOutput::~NxTaskOutput() = default;

void NxTaskOutput::MarkAsFinish() {
  finishFlag_->SetFinished();
}

// The lists below let go of what they held when they are whole again: destructors of modules'
// objects may look at them.

void NxTaskOutput::SetRemainWork(const RemainWork& work) {
  RemainWork(work).swap(remainWork_);
}

void NxTaskOutput::AddWorkOutput(int mode, NxRef<NxWorkOutput> work) {
  const MutexLock lock(workMutex_);
  const auto index = static_cast<std::size_t>(mode);
  if (mode >= 0 && index < workOutputs_.size()) workOutputs_[index].push_back(std::move(work));
}

const NxRef<NxRegionObject>& NxTaskOutput::GetReferenceRegionByTargetName(
    const std::string& name) const {
  const NxRef<NxRegionObject>& region = GetRegion();
  return region ? region->GetCertainReferenceRegionByTargetName(name) : region;
}

void NxTaskOutput::SetResultsToFilter(const Regions& regions) {
  Regions(regions).swap(resultsToFilter_);
}

void NxTaskOutput::CleanResultsToFilter() {
  Regions().swap(resultsToFilter_);
}

void NxTaskOutput::AppendResultsAsItem(NxRef<NxRegionObject> region) {
  resultsAsItem_.push_back(std::move(region));
}

void NxTaskOutput::CleanResultsAsItem() {
  Regions().swap(resultsAsItem_);
}

void NxTaskOutput::GetThreadSuspendToken(NxRef<ThreadSuspendToken>& out) {
  NxRef<ThreadSuspendToken> token;
  {
    const MutexLock lock(workMutex_);
    token = suspendToken_;
  }
  out = std::move(token);
}

void NxTaskOutput::SetThreadSuspendToken(NxRef<ThreadSuspendToken> token) {
  // What it replaces dies with the argument, after the lock is released.
  const MutexLock lock(workMutex_);
  suspendToken_.swap(token);
}

}  // namespace velmora
