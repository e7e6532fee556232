// Small objects that the tests of the task engine build on.
#pragma once

#include "tests/support/test.h"

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

inline NxRef<NxSourceImageObject> MakeSource() {
  return new NxSourceImageObject(nullptr, 1, 10);
}

// Does whatever it is told to do.
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

inline NxRef<NxWorkOutput> MakeWorkOutput(const NxRef<NxRegionObject>& region,
                                          const std::string& workMode,
                                          Nx_WorkObjectBase* work = nullptr) {
  return new NxWorkOutput(nullptr, nullptr, region, region, "task", TT_ATOMIC_0, work, workMode);
}

}  // namespace velmora::testing
