/// @file
/// The signal that a task has finished.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

class NxTaskOutput;
class TargetROIDefEvent;

/// Set once, when a task has finished; knows the flags of the tasks below it and the task outputs
/// that wait for it.
///
/// @threadsafety the finished state and the related outputs from any thread; child flags are added
///               and asked for on one thread at a time
class VELMORA_EXPORT NxDependencyFinishFlag : public NxObjectBase {
 public:
  using ChildFlags = std::vector<NxRef<NxDependencyFinishFlag>>;

  /// Not finished, no children, no related outputs.
  explicit NxDependencyFinishFlag(const std::string& taskFullName);
  NxDependencyFinishFlag(const NxDependencyFinishFlag&) = delete;
  NxDependencyFinishFlag& operator=(const NxDependencyFinishFlag&) = delete;
  ~NxDependencyFinishFlag() override;

  const std::string& GetTaskFullName() const { return taskFullName_; }

  /// There is no way back.
  void SetFinished();
  bool IsFinished() const;

  /// Files @p child, which must not be empty, under its task's full name; twice if added twice.
  void AddChildFlag(NxRef<NxDependencyFinishFlag> child);
  /// @return the flags filed under @p taskFullName; an absent name gets an empty entry, so asking
  ///         counts as adding: two threads must not ask concurrently
  const ChildFlags& GetChildFlags(const std::string& taskFullName);

  /// Adds an output that waits for this flag, once. It is not owned: it stays alive until the
  /// related outputs have been removed.
  void AddRelatedOutputTask(NxTaskOutput* output);
  /// Removes every related output; the argument is not looked at.
  void RemoveAllRelatedOutputTasks(NxTaskOutput* output);
  /// Calls @p callback for every related output, ascending by address, **with the lock of the
  /// related outputs held**: it must not add, remove or loop over outputs of this flag.
  void LoopAllRelatedOutputTasks(void (*callback)(NxTaskOutput*, TargetROIDefEvent*),
                                 TargetROIDefEvent* event);

 private:
  std::string taskFullName_;
  std::map<std::string, ChildFlags> childFlags_;
  Mutex outputTaskMutex_;
  std::set<NxTaskOutput*> relatedOutputs_ VELMORA_GUARDED_BY(outputTaskMutex_);
  mutable Mutex finishMutex_;
  bool finished_ VELMORA_GUARDED_BY(finishMutex_) = false;
};

}  // namespace velmora
