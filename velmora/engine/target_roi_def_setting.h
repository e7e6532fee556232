/// @file
/// The tasks of a target ROI definition, by name.
#pragma once

#include <map>
#include <string>

#include "velmora/engine/target_task_setting.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

/// The tasks that run on the regions of a definition, and the output tasks whose results are the
/// definition's own. A plain value; copies share the task settings.
///
/// @threadsafety as `NxTargetTaskSetting`
class VELMORA_EXPORT TargetROIDefSetting {
 public:
  using TaskMap = std::map<std::string, NxRef<NxTargetTaskSetting>>;

  void SetTargetDefName(const std::string& name) { targetDefName_ = name; }
  const std::string& GetTargetDefName() const { return targetDefName_; }

  /// Files @p setting, which must not be empty, under @p name, in place of the one that is there.
  void AddTaskSetting(const std::string& name, NxRef<NxTargetTaskSetting> setting);
  void AddOutputTaskSetting(const std::string& name, NxRef<NxTargetTaskSetting> setting);

  /// By task name, in byte-wise order.
  const TaskMap& GetTaskMap() const { return tasks_; }
  const TaskMap& GetOutputTaskMap() const { return outputTasks_; }
  /// The full names of all tasks of both kinds, by task name.
  const std::map<std::string, std::string>& GetAllTaskNameMap() const { return allTaskNames_; }

  bool IsOutputTaskChecked() const { return outputTaskChecked_; }
  /// There is no way back.
  void SetOutputTaskChecked() { outputTaskChecked_ = true; }

 private:
  std::string targetDefName_;
  TaskMap tasks_;
  TaskMap outputTasks_;
  std::map<std::string, std::string> allTaskNames_;
  bool outputTaskChecked_ = false;
};

}  // namespace velmora
