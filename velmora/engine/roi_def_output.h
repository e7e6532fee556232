/// @file
/// The task outputs of one target ROI definition.
#pragma once

#include <string>
#include <vector>

#include "velmora/engine/task_output.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxSemaphore;

/// Gathers the outputs of a definition's tasks on one region. Copies share regions and outputs.
///
/// @threadsafety filled on one thread, then safe to read from all
class VELMORA_EXPORT NxROIDefOutput : public NxObjectBase {
 public:
  /// @param reference  its target ROI definition names the output; may be empty, as the name then
  /// @param semaphore  for those who wait for the tasks; not owned, may be null
  NxROIDefOutput(NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
                 NxSemaphore* semaphore);
  NxROIDefOutput(const NxROIDefOutput& other);
  NxROIDefOutput& operator=(const NxROIDefOutput& other);
  ~NxROIDefOutput() override;

  void AddTaskOutput(NxRef<NxTaskOutput> output);
  int GetOutputCount() const { return static_cast<int>(outputs_.size()); }
  /// The index must be below the count.
  NxRef<NxTaskOutput>& GetTaskOutput(int index) {
    return outputs_[static_cast<std::size_t>(index)];
  }
  /// @return the first output of the task @p name; empty if there is none
  NxRef<NxTaskOutput> GetTaskOutputByTaskName(const std::string& name) const;

  const NxRef<NxRegionObject>& GetRegion() const { return region_; }
  const NxRef<NxRegionObject>& GetReferenceRegion() const { return referenceRegion_; }
  NxSemaphore* GetSemaphore() const { return semaphore_; }
  const std::string& GetTargetROIName() const { return targetRoiName_; }

 private:
  NxRef<NxRegionObject> region_;
  NxRef<NxRegionObject> referenceRegion_;
  NxSemaphore* semaphore_;
  std::vector<NxRef<NxTaskOutput>> outputs_;
  std::string targetRoiName_;
};

}  // namespace velmora
