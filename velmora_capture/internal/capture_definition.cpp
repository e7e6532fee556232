#include "velmora_capture/internal/capture_definition.h"

#include <algorithm>
#include <utility>

#include "velmora/engine/dependency_finish_flag.h"
#include "velmora/engine/target_roi_def_event.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/guarded_work_item.h"

namespace velmora::capture {
namespace {

// How many work outputs of a task have ended.
int CountEnded(const NxTaskOutput& task) {
  int ended = 0;
  for (const auto& mode : task.GetWorkOutputs())
    for (const NxRef<NxWorkOutput>& work : mode)
      ended += work->GetResultStatus() != TOS_NO_RESULT ? 1 : 0;
  return ended;
}

// Called for each task that waited for one that has finished.
void ReleaseWaitingTask(NxTaskOutput* task, TargetROIDefEvent* event) {
  --static_cast<ImageJob*>(event->GetData())->tasks[task].waitsFor;
}

}  // namespace

CaptureDefinition::CaptureDefinition(const std::string& name) : name_(name) {
  GetTargetDefSetting()->SetTargetDefName(name);
}

bool CaptureDefinition::IsOutputTask(const std::string& task) const {
  return GetTargetDefSetting()->GetOutputTaskMap().count(task) != 0;
}

void CaptureDefinition::AddTask(const std::string& task, NxRef<Nx_WorkObjectBase> work,
                                bool isOutput, const std::vector<std::string>& unlessFoundBy) {
  NxRef<NxTargetTaskSetting> setting =
      new NxTargetTaskSetting(name_, task, TT_ATOMIC_0, static_cast<int>(tasks_.size()));
  setting->SetTaskObject(std::move(work));
  if (isOutput) {
    GetTargetDefSetting()->AddOutputTaskSetting(task, setting);
  } else {
    GetTargetDefSetting()->AddTaskSetting(task, setting);
  }
  setting->ActivateTask();
  unlessFoundBy_[task] = unlessFoundBy;
  tasks_.push_back(setting);
}

void CaptureDefinition::Start(ImageJob& job) {
  DefinitionRun& run = job.definitions[this];
  int code = EC_Ok;
  const bool isOver = job.source->IsCheckPointNeedExit(&code, CheckPointLevel{});
  if (isOver && code != EC_Ok && !tasks_.empty())
    job.source->AddErrorCodeInfo(static_cast<ErrorCode>(code), name_.c_str(),
                                 tasks_.front()->GetTaskName().c_str(), nullptr, nullptr);
  if (!isOver && !tasks_.empty()) {
    if (run.regions.empty()) run.regions.push_back(job.wholeImage);
    for (const NxRef<NxRegionObject>& found : run.regions) {
      // The definition's own view of the region: named after it, found in what the parent found.
      NxRef<NxRegionObject> region = new NxRegionObject(*found);
      NxRef<NxRegionObject> origin = found;
      region->SetTargetROIDefName(name_);
      region->SetReferenceRegion(origin);
      run.outputs.push_back(CreateROIDefOutput(region, region, job.semaphore));
    }
    run.unfinished = run.outputs.size();
    for (const NxRef<NxROIDefOutput>& output : run.outputs) {
      FileTasks(*output, job);
      AppendWorkItems(output.get(), job.pool);
    }
  }
  if (run.unfinished == 0) Finish(job);
}

NxRef<NxROIDefOutput> CaptureDefinition::CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                                            const NxRef<NxRegionObject>& reference,
                                                            NxSemaphore* semaphore) {
  NxRef<NxROIDefOutput> output = new NxROIDefOutput(region, reference, semaphore);
  for (const NxRef<NxTargetTaskSetting>& task : tasks_) {
    if (!task->IsActivatedTask()) continue;
    Nx_WorkObjectBase* work = task->GetTaskObject();
    const int modes = static_cast<int>(work->GetWorkModes().size());
    NxRef<NxTaskOutput> taskOutput =
        new NxTaskOutput(region, reference, task->GetTaskName(), task->GetTaskType(), false, modes);
    work->AppendWorkOutputs(taskOutput.get(), 0);
    output->AddTaskOutput(taskOutput);
  }
  return output;
}

// With the job; each task that waits for others with their finish flags too.
void CaptureDefinition::FileTasks(NxROIDefOutput& output, ImageJob& job) {
  for (int i = 0; i < output.GetOutputCount(); ++i) {
    NxTaskOutput& task = *output.GetTaskOutput(i);
    TaskRun& run = job.tasks[&task];
    run.definition = this;
    run.output = &output;
    for (const std::string& name : unlessFoundBy_.at(task.GetTaskName())) {
      const NxRef<NxTaskOutput> other = output.GetTaskOutputByTaskName(name);
      if (!other) continue;  // an optional task whose module is missing
      other->GetFinishFlag()->AddRelatedOutputTask(&task);
      ++run.waitsFor;
    }
  }
}

void CaptureDefinition::AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase*) {
  ImageJob& job = JobOf(*output);
  for (int i = 0; i < output->GetOutputCount(); ++i) {
    NxTaskOutput& task = *output->GetTaskOutput(i);
    if (job.tasks[&task].waitsFor == 0) QueueNextWork(task, job);
  }
}

bool CaptureDefinition::IsROIDefOutputFinished(NxROIDefOutput* output) {
  for (int i = 0; i < output->GetOutputCount(); ++i)
    if (output->GetTaskOutput(i)->GetResultStatus() != TOS_FINISHED) return false;
  return true;
}

void CaptureDefinition::Advance(NxROIDefOutput& output, ImageJob& job) {
  // Two threads that end work at the same time both come here, when all of it has ended.
  if (IsROIDefOutputFinished(&output)) return;
  // A task that finishes may release one that stands before it.
  for (bool goesOn = true; goesOn;) {
    goesOn = false;
    for (int task = 0; task < output.GetOutputCount(); ++task)
      goesOn = AdvanceTask(output, *output.GetTaskOutput(task), job) || goesOn;
  }
  if (!IsROIDefOutputFinished(&output)) return;
  FilterROIDefOutput(&output);
  DispatchROIDefOutput(&output);
  if (--job.definitions[this].unfinished == 0) Finish(job);
}

bool CaptureDefinition::IsNeedless(NxROIDefOutput& output, const NxTaskOutput& task) const {
  const auto& names = unlessFoundBy_.at(task.GetTaskName());
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    const NxRef<NxTaskOutput> other = output.GetTaskOutputByTaskName(name);
    return other && other->GetResultCount() > 0;
  });
}

// Returns whether the task has finished now.
bool CaptureDefinition::AdvanceTask(NxROIDefOutput& output, NxTaskOutput& task,
                                    ImageJob& job) const {
  const TaskRun& run = job.tasks[&task];
  if (task.GetResultStatus() == TOS_FINISHED || run.waitsFor > 0 ||
      CountEnded(task) < run.queuedItems)
    return false;
  // What was tried has ended. The next work mode follows while there is reason to hope.
  const bool goesOn = task.GetResultCount() == 0 && task.GetWorkTable()->HasNextWorkOutput() &&
                      !job.source->IsCheckPointNeedExit(nullptr, CheckPointLevel{}) &&
                      !(run.queuedItems == 0 && IsNeedless(output, task));
  if (goesOn) {
    QueueNextWork(task, job);
  } else {
    FinishTask(task, job);
  }
  return !goesOn;
}

void CaptureDefinition::QueueNextWork(NxTaskOutput& task, ImageJob& job) const {
  ++job.tasks[&task].queuedItems;
  job.pool->AppendWorkItem(new GuardedWorkItem(task, job.source->GetImageId(), GraphOf()));
}

void CaptureDefinition::FinishTask(NxTaskOutput& task, ImageJob& job) const {
  WorkOf(task)->DealTaskResults(&task, job.semaphore);
  task.SetResultStatus(TOS_FINISHED);
  // Unreferenced on the stack: the loop only lends the event to its callback.
  TargetROIDefEvent event(TRDET_TASK_UNIT_OUTPUT_COMPLETE, nullptr, &job, nullptr);
  task.GetFinishFlag()->LoopAllRelatedOutputTasks(&ReleaseWaitingTask, &event);
  task.GetFinishFlag()->RemoveAllRelatedOutputTasks(&task);
}

Nx_WorkObjectBase* CaptureDefinition::WorkOf(const NxTaskOutput& task) const {
  for (const NxRef<NxTargetTaskSetting>& setting : tasks_)
    if (setting->GetTaskName() == task.GetTaskName()) return setting->GetTaskObject();
  return nullptr;
}

void CaptureDefinition::DispatchROIDefOutput(NxROIDefOutput* output) {
  EventOutputStruct content{output};
  TargetROIDefEvent event(TRDET_SINGLE_REGION_COMPLETE, this, &JobOf(*output), &content);
  for (TargetROIDefEventListener* listener : GetListeners())
    listener->HandleSingleRegionCompeleteEvent(&event);
}

void CaptureDefinition::Finish(ImageJob& job) {
  if (GetGraph()->GetEndNode() == this) job.isDone = true;
  EventOutputStruct content{nullptr};
  TargetROIDefEvent event(TRDET_TASK_UNIT_OUTPUT_COMPLETE, this, &job, &content);
  for (TargetROIDefEventListener* listener : GetListeners())
    listener->HandleTaskUnitOutputCompeleteEvent(&event);
}

void CaptureDefinition::HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event) {
  NxROIDefOutput& output = *event->GetOutput()->output;
  auto& regions = static_cast<ImageJob*>(event->GetData())->definitions[this].regions;
  for (int i = 0; i < output.GetOutputCount(); ++i) {
    const NxRef<NxTaskOutput>& task = output.GetTaskOutput(i);
    for (int r = 0; r < task->GetResultCount(); ++r)
      if (const NxRef<NxRegionObject>& region = task->GetResult(r)->GetRegion())
        regions.push_back(region);
  }
}

void CaptureDefinition::HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent* event) {
  ImageJob& job = *static_cast<ImageJob*>(event->GetData());
  if (--job.definitions[this].parentsLeft == 0) Start(job);
}

CaptureGraph& CaptureDefinition::GraphOf() const {
  return *static_cast<CaptureGraph*>(GetGraph());
}

ImageJob& CaptureDefinition::JobOf(const NxROIDefOutput& output) const {
  return GraphOf().GetJob(output.GetRegion()->GetSourceImageObject()->GetImageId());
}

}  // namespace velmora::capture
