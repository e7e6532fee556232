#include "velmora/engine/roi_def_output.h"

#include <utility>

#include "velmora/region/region_object.h"

namespace velmora {

NxROIDefOutput::NxROIDefOutput(NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
                               NxSemaphore* semaphore)
    : region_(std::move(region)), referenceRegion_(std::move(reference)), semaphore_(semaphore) {
  if (referenceRegion_) targetRoiName_ = referenceRegion_->GetTargetROIDefName();
}

NxROIDefOutput::NxROIDefOutput(const NxROIDefOutput&) = default;
NxROIDefOutput& NxROIDefOutput::operator=(const NxROIDefOutput&) = default;
NxROIDefOutput::~NxROIDefOutput() = default;

void NxROIDefOutput::AddTaskOutput(NxRef<NxTaskOutput> output) {
  outputs_.push_back(std::move(output));
}

NxRef<NxTaskOutput> NxROIDefOutput::GetTaskOutputByTaskName(const std::string& name) const {
  for (const NxRef<NxTaskOutput>& output : outputs_) {
    if (output && output->GetTaskName() == name) return output;
  }
  return nullptr;
}

}  // namespace velmora
