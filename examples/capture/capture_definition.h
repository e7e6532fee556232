/// @file
/// A target ROI definition that runs.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "examples/capture/image_job.h"
#include "velmora/engine/target_roi_def.h"
#include "velmora/engine/target_task_setting.h"

namespace velmora {

/// What travels with the events between definitions.
struct EventOutputStruct {
  NxROIDefOutput* output;  ///< the finished output; null once all of them are
};

}  // namespace velmora

namespace velmora::capture {

/// A node of the graph: starts when its parents have finished, on the regions that they found, or on
/// the whole image if they found none; runs its tasks on each of them; then tells its listeners.
///
/// @threadsafety built before the first image; then the thread of the router alone
class CaptureDefinition final : public NxTargetROIDef {
 public:
  explicit CaptureDefinition(const std::string& name);

  const std::string& GetName() const { return name_; }
  /// Tasks of this definition in the order of the template.
  const std::vector<NxRef<NxTargetTaskSetting>>& GetTasks() const { return tasks_; }
  bool IsOutputTask(const std::string& task) const;

  /// @param unlessFoundBy  names of tasks that this one waits for, and that make it needless
  void AddTask(const std::string& task, NxRef<Nx_WorkObjectBase> work, bool isOutput,
               const std::vector<std::string>& unlessFoundBy);
  void SetParents(const std::vector<NxTargetROIDef*>& parents) { SetParentDefNodes(parents); }

  /// Begins the work on an image whose parents have all finished.
  void Start(ImageJob& job);
  /// Looks at what has ended since the last call, queues what comes next, and tells the listeners
  /// what is finished.
  void Advance(ImageJob& job);

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override;
  void AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase* pool) override;
  bool IsROIDefOutputFinished(NxROIDefOutput* output) override;
  void DispatchROIDefOutput(NxROIDefOutput* output) override;
  void HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event) override;
  void HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent* event) override;

 private:
  Nx_WorkObjectBase* WorkOf(const NxTaskOutput& task) const;
  void LinkWaitingTasks(NxROIDefOutput& output, ImageJob& job) const;
  bool IsNeedless(NxROIDefOutput& output, const NxTaskOutput& task) const;
  void AdvanceTask(NxROIDefOutput& output, NxTaskOutput& task, ImageJob& job) const;
  void FinishTask(NxTaskOutput& task, ImageJob& job) const;
  void Finish(ImageJob& job);
  ImageJob& JobOf(const NxROIDefOutput& output) const;

  std::string name_;
  std::vector<NxRef<NxTargetTaskSetting>> tasks_;
  std::map<std::string, std::vector<std::string>> unlessFoundBy_;
};

}  // namespace velmora::capture
