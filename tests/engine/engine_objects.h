// Small objects that the tests of the task engine build on.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "velmora/engine/dependency_graph.h"
#include "velmora/engine/roi_def_output.h"
#include "velmora/engine/target_roi_def.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/foundation/ref.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"

namespace velmora::testing {

// A region that the definition `targetDefName` produced.
inline NxRef<NxRegionObject> MakeRegion(const std::string& targetDefName,
                                        const NxRef<NxSourceImageObject>& source = nullptr) {
  NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetTargetROIDefName(targetDefName);
  region->SetRegionHashId("BKDR_" + targetDefName);
  region->SetSourceImageObject(source);
  return region;
}

// Does whatever it is told to do, and splits a task into one work output.
class FunctionWork : public Nx_WorkObjectBase {
 public:
  using Function = std::function<int(ExecutableWorkItem*, NxSemaphore*)>;

  explicit FunctionWork(Function function = nullptr) : function_(std::move(function)) {}

  int Work(ExecutableWorkItem* item, NxSemaphore* semaphore) override {
    return function_ ? function_(item, semaphore) : 0;
  }
  int AppendWorkOutputs(NxTaskOutput* /*taskOutput*/, int /*priorityLevel*/) override { return 0; }

 private:
  Function function_;
};

// Fills in what the driving module would.
class PlainDef : public NxTargetROIDef {
 public:
  using NxTargetROIDef::SetParentDefNodes;

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& /*region*/,
                                           const NxRef<NxRegionObject>& /*reference*/,
                                           NxSemaphore* /*semaphore*/) override {
    return nullptr;
  }
  void AppendWorkItems(NxROIDefOutput* /*output*/, ThreadPoolBase* /*pool*/) override {}
  bool IsROIDefOutputFinished(NxROIDefOutput* /*output*/) override { return false; }
  void DispatchROIDefOutput(NxROIDefOutput* /*output*/) override {}
};

class PlainGraph : public NxDependencyGraph {
 public:
  int Run(const NxRef<NxRegionObject>& /*wholeImage*/, ThreadPoolBase* /*pool*/,
          NxSemaphore* /*semaphore*/) override {
    return 0;
  }
};

inline NxRef<NxWorkOutput> MakeWorkOutput(const NxRef<NxRegionObject>& region,
                                          const std::string& workMode,
                                          Nx_WorkObjectBase* work = nullptr) {
  return new NxWorkOutput(nullptr, nullptr, region, region, "task", TT_ATOMIC_0, work, workMode);
}

}  // namespace velmora::testing
