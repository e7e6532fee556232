#include "velmora/engine/output_base.h"

#include <algorithm>
#include <utility>

#include "velmora/engine/internal/task_full_name.h"
#include "velmora/engine/work_output.h"
#include "velmora/foundation/hash_algorithm.h"
#include "velmora/region/region_object.h"

namespace velmora {
namespace {

std::string OutputHashId(const std::string& taskFullName, NxRegionObject& reference) {
  const std::string bytes = taskFullName + reference.GetRegionHashId();
  return NxHashAlgorithm::Generate_BKDRHash(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// Whether `region` is `ancestor` or was found in it, directly or through others.
bool DescendsFrom(const NxRegionObject* region, const NxRegionObject* ancestor) {
  while (region != nullptr && region != ancestor) region = region->GetReferenceRegion().get();
  return region != nullptr;
}

}  // namespace

NxTaskOutputAtomResult::NxTaskOutputAtomResult() = default;
NxTaskOutputAtomResult::NxTaskOutputAtomResult(NxRef<NxRegionObject> region)
    : region_(std::move(region)) {}
NxTaskOutputAtomResult::NxTaskOutputAtomResult(NxRef<NxWorkOutputAtom> workAtom)
    : workAtom_(std::move(workAtom)) {}
NxTaskOutputAtomResult::NxTaskOutputAtomResult(const NxTaskOutputAtomResult&) = default;
NxTaskOutputAtomResult& NxTaskOutputAtomResult::operator=(const NxTaskOutputAtomResult&) = default;
NxTaskOutputAtomResult::~NxTaskOutputAtomResult() = default;

NxOutputBase::NxOutputBase(NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
                           const std::string& name, TaskType type)
    : region_(std::move(region)),
      referenceRegion_(reference == region_ ? nullptr : std::move(reference)),
      taskType_(type),
      targetRoiName_(GetReferenceRegion()->GetTargetROIDefName()),
      taskName_(name),
      taskFullName_(internal::TaskFullName(targetRoiName_, taskName_)),
      hashId_(OutputHashId(taskFullName_, *GetReferenceRegion())) {}

NxOutputBase::~NxOutputBase() = default;

void NxOutputBase::MarkAsFinish() {}

void NxOutputBase::PushResult(NxRef<NxTaskOutputAtomResult>&& result) {
  if (resultCount_ == 0) {
    firstResult_ = std::move(result);
  } else {
    otherResults_.push_back(std::move(result));
  }
  ++resultCount_;
}

void NxOutputBase::PopResult() {
  if (--resultCount_ == 0) {
    firstResult_.reset();
  } else {
    otherResults_.pop_back();
  }
}

void NxOutputBase::AddResult(NxRef<NxTaskOutputAtomResult> result) {
  NxRegionObject* const found = result ? result->GetRegion().get() : nullptr;
  const bool takesReference = found != nullptr && !DescendsFrom(region_.get(), found);
  NxRef<NxRegionObject> replaced;  // destroyed after the lock is released
  const MutexLock lock(resultsMutex_);
  PushResult(std::move(result));
  if (takesReference) {
    replaced = found->GetReferenceRegion();
    found->SetReferenceRegion(region_);
  }
}

int NxOutputBase::GetResultCount() const {
  const MutexLock lock(resultsMutex_);
  return resultCount_;
}

NxRef<NxTaskOutputAtomResult> NxOutputBase::GetResult(int index) const {
  const MutexLock lock(resultsMutex_);
  return index == 0 ? firstResult_ : otherResults_[static_cast<std::size_t>(index) - 1];
}

bool NxOutputBase::AlreadyExistObject(NxRegionObject* region) const {
  if (region == nullptr) return false;
  const auto holdsIt = [region](const NxRef<NxTaskOutputAtomResult>& result) {
    return result && result->GetRegion() == region;
  };
  const MutexLock lock(resultsMutex_);
  return holdsIt(firstResult_) || std::any_of(otherResults_.begin(), otherResults_.end(), holdsIt);
}

void NxOutputBase::SetResultStatus(TaskOutputStatus status) {
  // Release: publishes the results that the calling thread added before.
  status_.exchange(status, std::memory_order_acq_rel);
  if (status == TOS_FINISHED) MarkAsFinish();
}

bool NxOutputBase::EndWork() {
  if (GetResultStatus() != TOS_NO_RESULT) return false;
  NxRef<NxTaskOutputAtomResult> empty = MakeRef<NxTaskOutputAtomResult>();
  const MutexLock lock(resultsMutex_);
  // Again: another thread may have ended the work meanwhile.
  if (GetResultStatus() != TOS_NO_RESULT) return false;
  PushResult(std::move(empty));
  TaskOutputStatus expected = TOS_NO_RESULT;
  if (status_.compare_exchange_strong(expected, TOS_WORK_ENDED, std::memory_order_acq_rel)) {
    return true;
  }
  // SetResultStatus takes no lock and came first; nobody has seen the empty result.
  PopResult();
  return false;
}

}  // namespace velmora
