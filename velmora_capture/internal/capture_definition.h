/// @file
/// A target ROI definition that runs.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "velmora/engine/target_roi_def.h"
#include "velmora/engine/target_task_setting.h"
#include "velmora_capture/internal/capture_job.h"
#include "velmora_capture/internal/capture_work_item.h"

namespace velmora {

/// What travels with the events between definitions.
struct EventOutputStruct {
  NxROIDefOutput* output;  ///< the finished output; null once all of them are
};

}  // namespace velmora

namespace velmora::capture {

/// A node of the graph: starts when its parents have finished, on the regions that they found, or
/// on the whole image if they found none; runs its tasks on each of them; then tells its listeners.
///
/// @threadsafety built before the first image; then called by the strands of the jobs, those of
///               several jobs at once
class CaptureDefinition final : public NxTargetROIDef {
 public:
  /// @param index  among the definitions of its graph
  CaptureDefinition(const std::string& name, std::size_t index);
  ~CaptureDefinition() override;

  const std::string& GetName() const { return name_; }
  std::size_t GetIndex() const { return index_; }
  /// Tasks of this definition in the order of the template.
  const std::vector<NxRef<NxTargetTaskSetting>>& GetTasks() const { return tasks_; }
  bool IsOutputTask(const std::string& task) const;

  /// @param work           the head of a chain, which is complete
  /// @param unlessFoundBy  names of tasks that this one waits for, and that make it needless
  void AddTask(const std::string& task, NxRef<Nx_WorkObjectBase> work, bool isOutput,
               const std::vector<std::string>& unlessFoundBy);
  /// Whether it is to leave out regions where a definition that it descends from found a result.
  void SetOnlyIfNothingFound(bool value) { onlyIfNothingFound_ = value; }
  void SetParents(const std::vector<NxTargetROIDef*>& parents) { SetParentDefNodes(parents); }
  /// To be called once all tasks are there.
  void Prepare();

  /// Begins the work on an image whose parents have all finished.
  void Start(CaptureJob& job) noexcept;
  /// A piece of a task has ended: queues what comes next, or finishes the task and all that waited
  /// for it.
  /// @param item  null if the piece was lost
  void EndPiece(TaskRun& task, CaptureWorkItem* item) noexcept;

  /// @name For the strand of the job that the output belongs to
  /// @{
  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override;
  void AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase* pool) override;
  bool IsROIDefOutputFinished(NxROIDefOutput* output) override;
  void DispatchROIDefOutput(NxROIDefOutput* output) override;
  void HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent* event) override;
  /// @}

 private:
  // What a task is beside its setting.
  struct TaskPlan {
    std::vector<std::string> unlessFoundBy;
    std::vector<std::size_t> waitsFor;     // indices of these tasks
    std::vector<std::size_t> waitedForBy;  // and of those that wait for this one
    int modes = 0;                         // most of any work object of the chain
  };

  void MakeRegions(CaptureJob& job, DefinitionRun& run);
  std::vector<NxRef<NxRegionObject>> FindRegions(const CaptureJob& job) const;
  void StartTask(TaskRun& task) noexcept;
  NxTaskOutput::Regions FindResults(const CaptureJob& job) const;
  void AppendResults(const DefinitionRun& run, NxTaskOutput::Regions& found) const;
  bool IsNeedless(TaskRun& task) const noexcept;
  void BeginSection(TaskRun& task, Nx_WorkObjectBase& work) const noexcept;
  void Advance(TaskRun& task) noexcept;
  void QueuePieces(TaskRun& task) const noexcept;
  static NxRef<NxWorkOutput> TakePiece(TaskRun& task);
  static bool MayGoOn(TaskRun& task, const NxWorkOutput& piece);
  void QueuePiece(TaskRun& task, const NxRef<NxWorkOutput>& piece) const noexcept;
  void FinishTask(TaskRun& task) noexcept;
  void FinishRegion(RegionRun& region) noexcept;
  void Finish(CaptureJob& job) noexcept;
  CaptureGraph& GraphOf() const;

  const std::string name_;
  const std::size_t index_;
  bool onlyIfNothingFound_ = false;
  std::vector<NxRef<NxTargetTaskSetting>> tasks_;
  std::vector<TaskPlan> plans_;  // as the tasks
};

}  // namespace velmora::capture
