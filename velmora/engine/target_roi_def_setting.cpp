#include "velmora/engine/target_roi_def_setting.h"

#include <utility>

namespace velmora {

namespace {

template <typename T>
using ByName = std::map<std::string, T>;

// An entry that nothing can keep from being filed.
template <typename T>
typename ByName<T>::node_type MakeEntry(const std::string& name, T value) {
  ByName<T> single;
  single.emplace(name, std::move(value));
  return single.extract(single.begin());
}

// What the entry replaces is left in it.
template <typename T>
void File(ByName<T>& map, typename ByName<T>::node_type& entry) noexcept {
  auto filed = map.insert(std::move(entry));
  if (filed.inserted) return;
  std::swap(filed.position->second, filed.node.mapped());
  entry = std::move(filed.node);
}

// `name` may be the task name of the setting that is replaced, and is destroyed with it.
void FileSetting(ByName<std::string>& names, TargetROIDefSetting::TaskMap& settings,
                 const std::string& name, NxRef<NxTargetTaskSetting> setting) {
  auto fullName = MakeEntry(name, setting->GetTaskFullName());
  auto entry = MakeEntry(name, std::move(setting));
  File(names, fullName);
  File(settings, entry);
}

}  // namespace

void TargetROIDefSetting::AddTaskSetting(const std::string& name,
                                         NxRef<NxTargetTaskSetting> setting) {
  FileSetting(allTaskNames_, tasks_, name, std::move(setting));
}

void TargetROIDefSetting::AddOutputTaskSetting(const std::string& name,
                                               NxRef<NxTargetTaskSetting> setting) {
  FileSetting(allTaskNames_, outputTasks_, name, std::move(setting));
}

}  // namespace velmora
