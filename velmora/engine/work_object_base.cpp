#include "velmora/engine/work_object_base.h"

#include <utility>

#include "velmora/region/region_object.h"

namespace velmora {

Nx_WorkObjectBase::Nx_WorkObjectBase() = default;
Nx_WorkObjectBase::~Nx_WorkObjectBase() = default;

int Nx_WorkObjectBase::GetMaxThreadNumInOneTask() const {
  return 0;
}

void Nx_WorkObjectBase::DealTaskResults(NxTaskOutput* /*taskOutput*/, NxSemaphore* /*semaphore*/) {}

WorkModesStateObject* Nx_WorkObjectBase::CheckAndInitWorkModes(NxRegionObject* region,
                                                               NxSectionResultsCache* /*cache*/) {
  return region->InitWorkModesState(0, workModes_);
}

void Nx_WorkObjectBase::SetWorkModes(const std::vector<std::string>& workModes) {
  if (&workModes != &workModes_) workModes_ = workModes;
}

void Nx_WorkObjectBase::SetNextWorkObject(NxRef<Nx_WorkObjectBase> next) {
  next->indexInTask_ = indexInTask_ + 1;
  next_ = std::move(next);
}

}  // namespace velmora
