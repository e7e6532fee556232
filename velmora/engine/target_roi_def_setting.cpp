#include "velmora/engine/target_roi_def_setting.h"

#include <utility>

namespace velmora {

// Both write the map of names first: `name` may be the task name of the setting that is replaced,
// and is destroyed with it.

void TargetROIDefSetting::AddTaskSetting(const std::string& name,
                                         NxRef<NxTargetTaskSetting> setting) {
  allTaskNames_[name] = setting->GetTaskFullName();
  tasks_[name] = std::move(setting);
}

void TargetROIDefSetting::AddOutputTaskSetting(const std::string& name,
                                               NxRef<NxTargetTaskSetting> setting) {
  allTaskNames_[name] = setting->GetTaskFullName();
  outputTasks_[name] = std::move(setting);
}

}  // namespace velmora
