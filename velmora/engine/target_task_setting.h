/// @file
/// One task of a target ROI definition.
#pragma once

#include <cstdint>
#include <string>

#include "velmora/engine/work_object_base.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

/// What a task recognises. The three atomic types index the flags of
/// `NxTargetROIDef::ActivateTaskByNameArrayAndAtomicTypeFlag`; the modules that load templates give
/// them their meaning and define further values.
enum TaskType : std::int32_t {
  TT_ATOMIC_0 = 0,
  TT_ATOMIC_1 = 1,
  TT_ATOMIC_2 = 2,
};

/// The name, type and work of one task, and whether it is to run. Copies share the work objects.
///
/// @threadsafety built and activated on the thread that loads the template, read-only afterwards
class VELMORA_EXPORT NxTargetTaskSetting : public NxObjectBase {
 public:
  /// A task without work, not activated.
  NxTargetTaskSetting(const std::string& targetDefName, const std::string& taskName, TaskType type,
                      int indexInTargetDef);

  /// Makes @p obj the first work object of the task and adds the length of its chain to the work
  /// count. The count is never reset: setting twice counts both chains. Empty changes nothing.
  void SetTaskObject(NxRef<Nx_WorkObjectBase> obj);

  const std::string& GetTaskName() const { return taskName_; }
  /// "{" target ROI definition "}[" task "]", the name by which other tasks refer to this one.
  const std::string& GetTaskFullName() const { return taskFullName_; }
  TaskType GetTaskType() const { return taskType_; }
  /// @return the first work object, borrowed; null if none was set
  Nx_WorkObjectBase* GetTaskObject() const { return taskObject_.get(); }
  bool AlreadySetTaskObject() const { return taskObject_ != nullptr; }
  /// There is no way back.
  void ActivateTask() { activated_ = true; }
  bool IsActivatedTask() const { return activated_; }
  int GetWorkCountInTask() const { return workCountInTask_; }
  int GetTaskIndexInTargetDef() const { return indexInTargetDef_; }

 private:
  std::string taskName_;
  TaskType taskType_;
  NxRef<Nx_WorkObjectBase> taskObject_;
  bool activated_ = false;
  std::string taskFullName_;
  std::int32_t indexInTargetDef_;
  std::int32_t workCountInTask_ = 0;
};

}  // namespace velmora
