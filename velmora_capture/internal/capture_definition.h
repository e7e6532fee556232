/// @file
/// A target ROI definition that runs.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "velmora/engine/target_roi_def.h"
#include "velmora/engine/target_task_setting.h"
#include "velmora_capture/internal/image_job.h"

namespace velmora {

/// What travels with the events between definitions.
struct EventOutputStruct {
  NxROIDefOutput* output;  ///< the finished output; null once all of them are
};

}  // namespace velmora

namespace velmora::capture {

class CaptureGraph;

/// A node of the graph: starts when its parents have finished, on the regions that they found, or on
/// the whole image if they found none; runs its tasks on each of them; then tells its listeners.
///
/// @threadsafety built before the first image; then called by the graph, with its lock held
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
  /// Some work on the region of the output has ended: queues what comes next for it, or tells the
  /// listeners that it is finished.
  void Advance(NxROIDefOutput& output, ImageJob& job);

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
  CaptureGraph& GraphOf() const;
  void QueueNextWork(NxTaskOutput& task, ImageJob& job) const;
  void FileTasks(NxROIDefOutput& output, ImageJob& job);
  bool IsNeedless(NxROIDefOutput& output, const NxTaskOutput& task) const;
  bool AdvanceTask(NxROIDefOutput& output, NxTaskOutput& task, ImageJob& job) const;
  void FinishTask(NxTaskOutput& task, ImageJob& job) const;
  void Finish(ImageJob& job);
  ImageJob& JobOf(const NxROIDefOutput& output) const;

  std::string name_;
  std::vector<NxRef<NxTargetTaskSetting>> tasks_;
  std::map<std::string, std::vector<std::string>> unlessFoundBy_;
};

}  // namespace velmora::capture
