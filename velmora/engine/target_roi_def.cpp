#include "velmora/engine/target_roi_def.h"

#include <algorithm>

#include "velmora/engine/dependency_graph.h"

namespace velmora {
namespace {

using TaskMap = TargetROIDefSetting::TaskMap;

void ActivateAll(const TaskMap& tasks) {
  for (const auto& [name, task] : tasks) task->ActivateTask();
}

void ActivateNamed(const TaskMap& tasks, const std::set<std::string>& names) {
  for (const auto& [name, task] : tasks) {
    if (names.count(name) != 0) task->ActivateTask();
  }
}

bool IsAmong(const std::string& name, const std::vector<std::string>& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Not reserve() alone, which takes what it is asked for, and would copy a list for every new entry.
template <typename T>
void MakeRoom(std::vector<T>& list, std::size_t count) {
  if (list.capacity() - list.size() < count) list.reserve(2 * list.size() + count);
}

bool IsFlaggedAtomicType(TaskType type, const bool* flags) {
  return type >= TT_ATOMIC_0 && type <= TT_ATOMIC_2 && flags[type];
}

}  // namespace

NxTargetROIDef::NxTargetROIDef() = default;
NxTargetROIDef::~NxTargetROIDef() = default;

NxTargetROIDef::NxTargetROIDef(const NxTargetROIDef& other)
    : NxObjectBase(other),
      TargetROIDefEventListener(other),
      setting_(other.setting_),
      priorityLevel_(other.priorityLevel_),
      extraInfo_(other.extraInfo_),
      parents_(other.parents_),
      children_(other.children_),
      listeners_(other.listeners_) {}

NxTargetROIDef& NxTargetROIDef::operator=(const NxTargetROIDef& other) {
  NxObjectBase::operator=(other);
  if (this == &other) return *this;
  setting_ = other.setting_;
  priorityLevel_ = other.priorityLevel_;
  extraInfo_ = other.extraInfo_;
  parents_ = other.parents_;
  children_ = other.children_;
  listeners_ = other.listeners_;
  return *this;
}

void NxTargetROIDef::FilterROIDefOutput(NxROIDefOutput* /*output*/) {}

NxDataManagerPool* NxTargetROIDef::GetManagerPool() const {
  return graph_->GetManagerPool();
}

void NxTargetROIDef::AddParentDefNode(NxTargetROIDef* parent) {
  MakeRoom(parent->children_, 1);  // before anything changes
  parents_.push_back(parent);
  parent->children_.push_back(this);
}

void NxTargetROIDef::AddChildDefNode(NxTargetROIDef* child) {
  child->AddParentDefNode(this);
}

void NxTargetROIDef::RegisterListener(TargetROIDefEventListener* listener) {
  if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) {
    listeners_.push_back(listener);
  }
}

void NxTargetROIDef::SetParentDefNodes(const std::vector<NxTargetROIDef*>& parents) {
  // All that may find no memory comes first. A parent may be named more than once.
  std::vector<NxTargetROIDef*> wanted = parents;
  for (NxTargetROIDef* parent : wanted) {
    MakeRoom(parent->children_, wanted.size());
    MakeRoom(parent->listeners_, 1);
  }
  parents_.swap(wanted);
  for (NxTargetROIDef* parent : parents_) {
    parent->children_.push_back(this);
    parent->RegisterListener(this);
  }
}

void NxTargetROIDef::ActivateAllTask() {
  ActivateAll(setting_.GetTaskMap());
  ActivateAll(setting_.GetOutputTaskMap());
}

void NxTargetROIDef::ActivateCertainTasks(const std::set<std::string>& names) {
  ActivateNamed(setting_.GetTaskMap(), names);
  ActivateNamed(setting_.GetOutputTaskMap(), names);
}

void NxTargetROIDef::ActivateTaskByNameArrayAndAtomicTypeFlag(const std::vector<std::string>& names,
                                                              bool* flags) {
  for (const auto& [name, task] : setting_.GetTaskMap()) {
    if (task->IsActivatedTask() || !IsAmong(name, names)) continue;
    if (IsFlaggedAtomicType(task->GetTaskType(), flags)) task->ActivateTask();
  }
  for (const auto& [name, task] : setting_.GetOutputTaskMap()) {
    if (!task->IsActivatedTask() && IsAmong(name, names)) task->ActivateTask();
  }
}

}  // namespace velmora
