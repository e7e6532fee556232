#include "velmora/engine/dependency_finish_flag.h"

#include <utility>

namespace velmora {

NxDependencyFinishFlag::NxDependencyFinishFlag(const std::string& taskFullName)
    : taskFullName_(taskFullName) {}

NxDependencyFinishFlag::~NxDependencyFinishFlag() = default;

void NxDependencyFinishFlag::SetFinished() {
  const MutexLock lock(finishMutex_);
  finished_ = true;
}

bool NxDependencyFinishFlag::IsFinished() const {
  const MutexLock lock(finishMutex_);
  return finished_;
}

void NxDependencyFinishFlag::AddChildFlag(NxRef<NxDependencyFinishFlag> child) {
  ChildFlags& flags = childFlags_[child->GetTaskFullName()];
  flags.push_back(std::move(child));
}

const NxDependencyFinishFlag::ChildFlags& NxDependencyFinishFlag::GetChildFlags(
    const std::string& taskFullName) {
  return childFlags_[taskFullName];
}

void NxDependencyFinishFlag::AddRelatedOutputTask(NxTaskOutput* output) {
  const MutexLock lock(outputTaskMutex_);
  relatedOutputs_.insert(output);
}

void NxDependencyFinishFlag::RemoveAllRelatedOutputTasks(NxTaskOutput* /*output*/) {
  const MutexLock lock(outputTaskMutex_);
  relatedOutputs_.clear();
}

void NxDependencyFinishFlag::LoopAllRelatedOutputTasks(void (*callback)(NxTaskOutput*,
                                                                        TargetROIDefEvent*),
                                                       TargetROIDefEvent* event) {
  const MutexLock lock(outputTaskMutex_);
  for (NxTaskOutput* output : relatedOutputs_) callback(output, event);
}

}  // namespace velmora
