#include "velmora/engine/target_roi_def_setting.h"

#include <utility>

namespace velmora {

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
