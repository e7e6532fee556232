#include "velmora/region/work_modes_state.h"

#include <algorithm>

namespace velmora {
namespace {

bool IsCompleted(WorkModesState state) {
  return state == WMS_Finished || state == WMS_FinishedOtherwise;
}

}  // namespace

WorkModesStateObject::WorkModesStateObject(std::int32_t number,
                                           const std::vector<std::string>& workModes)
    : number_(number) {
  states_.reserve(workModes.size());
  for (const std::string& workMode : workModes) states_.emplace_back(workMode, WMS_NotStarted);
}

WorkModesStateObject::~WorkModesStateObject() = default;

void WorkModesStateObject::SetState(const std::string& workMode, WorkModesState state) {
  const MutexLock lock(mutex_);
  for (auto& [name, current] : states_) {
    if (name == workMode) current = state;
  }
}

bool WorkModesStateObject::IsNoneInProgress() const {
  const MutexLock lock(mutex_);
  return std::none_of(states_.begin(), states_.end(),
                      [](const auto& entry) { return entry.second == WMS_InProgress; });
}

bool WorkModesStateObject::IsCompletedBefore(const std::string& workMode) const {
  const MutexLock lock(mutex_);
  for (const auto& [name, state] : states_) {
    if (name == workMode) return true;
    if (!IsCompleted(state)) return false;
  }
  return true;
}

}  // namespace velmora
