/// @file
/// What every recognition module has in common.
#pragma once

#include <string>
#include <vector>

#include "velmora/engine/work_object_base.h"
#include "velmora_kit/module_api.h"
#include "velmora_kit/region_work.h"
#include "velmora_kit/settings.h"

namespace velmora {
class NxTaskOutput;
class NxWorkOutput;
}  // namespace velmora

namespace velmora::kit {

/// A work object that looks at one region at a time. A module derives from it and implements
/// `Recognise`.
///
/// @threadsafety `Recognise` is called from several threads at once, unless the constructor of the
///               module calls `SetIsSingleThread()`
class Recogniser : public Nx_WorkObjectBase {
 public:
  /// Prepares the work and calls `Recognise`.
  int Work(ExecutableWorkItem* item, NxSemaphore* semaphore) final;
  /// One work output for each work mode, each on a level of its own: a later mode is tried when the
  /// ones before have found nothing.
  int AppendWorkOutputs(NxTaskOutput* taskOutput, int priorityLevel) final;

 protected:
  /// @param workModes  the module's own, in the order in which it would try them; at least one
  explicit Recogniser(const std::vector<std::string>& workModes) { SetWorkModes(workModes); }

  /// Looks at the region and adds what is found.
  /// @return 0 or an error code, which is recorded on the image; what was added is kept
  virtual int Recognise(RegionWork& work) = 0;

 private:
  int DoWork(NxWorkOutput& output);
};

}  // namespace velmora::kit
