#include "velmora/engine/target_task_setting.h"

#include <utility>

#include "velmora/engine/internal/task_full_name.h"

namespace velmora {

NxTargetTaskSetting::NxTargetTaskSetting(const std::string& targetDefName,
                                         const std::string& taskName, TaskType type,
                                         int indexInTargetDef)
    : taskName_(taskName),
      taskType_(type),
      taskFullName_(internal::TaskFullName(targetDefName, taskName)),
      indexInTargetDef_(indexInTargetDef) {}

void NxTargetTaskSetting::SetTaskObject(NxRef<Nx_WorkObjectBase> obj) {
  if (!obj) return;
  taskObject_ = std::move(obj);
  for (const Nx_WorkObjectBase* work = GetTaskObject(); work != nullptr;
       work = work->GetNextWorkObject()) {
    ++workCountInTask_;
  }
}

}  // namespace velmora
