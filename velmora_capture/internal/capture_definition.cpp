#include "velmora_capture/internal/capture_definition.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "velmora/engine/target_roi_def_event.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora_capture/internal/capture_graph.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

// How many regions were found; outputs also hold results that are none.
int CountFound(const NxTaskOutput& output) {
  int found = 0;
  for (int i = 0; i < output.GetResultCount(); ++i) {
    const NxRef<NxTaskOutputAtomResult> result = output.GetResult(i);
    found += result && result->GetRegion() ? 1 : 0;
  }
  return found;
}

void AppendFound(const NxTaskOutput& output, NxTaskOutput::Regions& found) {
  for (int i = 0; i < output.GetResultCount(); ++i) {
    const NxRef<NxTaskOutputAtomResult> result = output.GetResult(i);
    if (result && result->GetRegion()) found.push_back(result->GetRegion());
  }
}

CQuadrilateral PlaceOf(const NxRegionObject& region) {
  CQuadrilateral place;
  std::copy_n(region.GetVertices(), 4, place.points);
  return place;
}

std::int64_t AreaOf(const NxRegionObject& region) {
  return PlaceOf(region).GetArea();
}

bool HoldsMiddleOf(const CQuadrilateral& place, const CQuadrilateral& other) {
  NxPoint_<int> middle(0, 0);
  for (int axis = 0; axis < 2; ++axis) {
    for (const NxPoint_<int>& corner : other.points) middle[axis] += corner[axis] / 4;
  }
  return place.Contains(&middle);
}

// Whether the middle of a result lies in the region, or the other way round.
bool OverlapsAny(const NxRegionObject& region, const NxTaskOutput::Regions& results) {
  const CQuadrilateral place = PlaceOf(region);
  return std::any_of(results.begin(), results.end(), [&](const NxRef<NxRegionObject>& result) {
    const CQuadrilateral other = PlaceOf(*result);
    return HoldsMiddleOf(place, other) || HoldsMiddleOf(other, place);
  });
}

// A module may add what it finds to its piece instead of the task.
void TakeOverResults(const NxWorkOutput& piece, NxTaskOutput& task) {
  for (int i = 0; i < piece.GetResultCount(); ++i) {
    NxRef<NxTaskOutputAtomResult> result = piece.GetResult(i);
    if (result && result->GetRegion() && !task.AlreadyExistObject(result->GetRegion().get())) {
      task.AddResult(std::move(result));
    }
  }
}

void DropPieces(TaskRun& task) {
  task.heldBack.reset();
  while (task.output->GetWorkTable()->GetNextTopPriorityWorkOutput({})) {
  }
}

// Whether work on the task has to stop, which the image is told if it took too long.
bool IsOver(TaskRun& task) {
  CaptureJob& job = *task.region->job;
  int code = EC_Ok;
  const bool isOver = job.IsOver(code);
  if (code != EC_Ok) job.AddError(static_cast<ErrorCode>(code), task);
  return isOver;
}

template <typename Call>
void CallOut(const TaskRun& task, const Call& call) {
  task.region->job->CallOut(task.region->definition->GetName().c_str(),
                            task.setting->GetTaskName().c_str(), call);
}

RegionRun& RunOf(NxROIDefOutput* output) {
  return static_cast<RegionRun&>(*output);
}

}  // namespace

CaptureDefinition::CaptureDefinition(const std::string& name, std::size_t index)
    : name_(name), index_(index) {
  GetTargetDefSetting()->SetTargetDefName(name);
}

CaptureDefinition::~CaptureDefinition() = default;

bool CaptureDefinition::IsOutputTask(const std::string& task) const {
  return GetTargetDefSetting()->GetOutputTaskMap().count(task) != 0;
}

void CaptureDefinition::AddTask(const std::string& task, NxRef<Nx_WorkObjectBase> work,
                                bool isOutput, const std::vector<std::string>& unlessFoundBy) {
  TaskPlan plan;
  plan.unlessFoundBy = unlessFoundBy;
  // A work object without work modes still has one list of the table.
  plan.modes = 1;
  for (const Nx_WorkObjectBase* one = work.get(); one != nullptr; one = one->GetNextWorkObject()) {
    plan.modes = std::max(plan.modes, static_cast<int>(one->GetWorkModes().size()));
  }
  NxRef<NxTargetTaskSetting> setting =
      new NxTargetTaskSetting(name_, task, TT_ATOMIC_0, static_cast<int>(tasks_.size()));
  setting->SetTaskObject(std::move(work));
  if (isOutput) {
    GetTargetDefSetting()->AddOutputTaskSetting(task, setting);
  } else {
    GetTargetDefSetting()->AddTaskSetting(task, setting);
  }
  setting->ActivateTask();
  tasks_.push_back(setting);
  plans_.push_back(std::move(plan));
}

void CaptureDefinition::Prepare() {
  for (std::size_t task = 0; task < plans_.size(); ++task) {
    for (const std::string& name : plans_[task].unlessFoundBy) {
      for (std::size_t other = 0; other < tasks_.size(); ++other) {
        if (tasks_[other]->GetTaskName() != name) continue;
        plans_[task].waitsFor.push_back(other);
        plans_[other].waitedForBy.push_back(task);
      }
    }
  }
}

void CaptureDefinition::Start(CaptureJob& job) noexcept {
  DefinitionRun& run = job.definitions[index_];
  const char* firstTask = tasks_.empty() ? "" : tasks_.front()->GetTaskName().c_str();
  try {
    int code = EC_Ok;
    if (!tasks_.empty() && !job.IsOver(code)) MakeRegions(job, run);
    if (code != EC_Ok) job.AddError(static_cast<ErrorCode>(code), name_.c_str(), firstTask);
  } catch (...) {
    run.regions.clear();
    job.AddCurrentException(name_.c_str(), firstTask);
  }
  if (run.regions.empty()) return Finish(job);
  run.unfinished = run.regions.size();
  for (const NxRef<RegionRun>& region : run.regions) AppendWorkItems(region.get(), job.pool);
}

void CaptureDefinition::MakeRegions(CaptureJob& job, DefinitionRun& run) {
  run.found = FindResults(job);
  for (const NxRef<NxRegionObject>& found : FindRegions(job)) {
    if (onlyIfNothingFound_ && OverlapsAny(*found, run.found)) continue;
    // The definition's own view of the region: named after it, found in what the parent found.
    NxRef<NxRegionObject> region = new NxRegionObject(*found);
    NxRef<NxRegionObject> origin = found;
    region->SetTargetROIDefName(name_);
    region->SetReferenceRegion(origin);
    const NxRef<NxROIDefOutput> output = CreateROIDefOutput(region, region, &job.semaphore);
    RunOf(output.get()).job = &job;
    for (const TaskRun& task : RunOf(output.get()).tasks) {
      task.output->SetResultsToFilter(run.found);
    }
    run.regions.emplace_back(&RunOf(output.get()));
  }
}

// The results of all definitions that this one descends from.
NxTaskOutput::Regions CaptureDefinition::FindResults(const CaptureJob& job) const {
  NxTaskOutput::Regions found;
  for (const NxTargetROIDef* parent : GetParentDefNodes()) {
    const auto& definition = static_cast<const CaptureDefinition&>(*parent);
    const DefinitionRun& run = job.definitions[definition.index_];
    found.insert(found.end(), run.found.begin(), run.found.end());
    definition.AppendResults(run, found);
  }
  return found;
}

void CaptureDefinition::AppendResults(const DefinitionRun& run,
                                      NxTaskOutput::Regions& found) const {
  for (const NxRef<RegionRun>& region : run.regions) {
    for (const TaskRun& task : region->tasks) {
      if (IsOutputTask(task.setting->GetTaskName())) AppendFound(*task.output, found);
    }
  }
}

// What the parents found, in the order of parents, regions and tasks; otherwise the whole image.
std::vector<NxRef<NxRegionObject>> CaptureDefinition::FindRegions(const CaptureJob& job) const {
  std::vector<NxRef<NxRegionObject>> found;
  for (const NxTargetROIDef* parent : GetParentDefNodes()) {
    const auto& definition = static_cast<const CaptureDefinition&>(*parent);
    for (const NxRef<RegionRun>& region : job.definitions[definition.index_].regions) {
      for (const TaskRun& task : region->tasks) AppendFound(*task.output, found);
    }
  }
  if (found.empty()) found.push_back(job.wholeImage);
  return found;
}

NxRef<NxROIDefOutput> CaptureDefinition::CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                                            const NxRef<NxRegionObject>& reference,
                                                            NxSemaphore* semaphore) {
  const NxRef<RegionRun> run = new RegionRun(region, reference, semaphore);
  run->definition = this;
  run->tasks.resize(tasks_.size());
  run->unfinished = tasks_.size();
  for (std::size_t i = 0; i < tasks_.size(); ++i) {
    TaskRun& task = run->tasks[i];
    task.region = run.get();
    task.index = i;
    task.setting = tasks_[i].get();
    task.waitsFor = plans_[i].waitsFor.size();
    task.output = new NxTaskOutput(region, reference, task.setting->GetTaskName(),
                                   task.setting->GetTaskType(), false, plans_[i].modes);
    run->AddTaskOutput(task.output);
  }
  return run;
}

void CaptureDefinition::AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase*) {
  // A task that finishes at once may have started one that comes later here.
  for (TaskRun& task : RunOf(output).tasks) {
    if (task.waitsFor == 0 && task.work == nullptr && !task.isFinished) StartTask(task);
  }
}

void CaptureDefinition::StartTask(TaskRun& task) noexcept {
  if (IsNeedless(task)) return FinishTask(task);
  BeginSection(task, *task.setting->GetTaskObject());
  Advance(task);
}

// Whether what the others found covers half of the region. If not, the task is told where not to
// find anything.
bool CaptureDefinition::IsNeedless(TaskRun& task) const noexcept {
  try {
    NxTaskOutput::Regions found;
    for (const std::size_t other : plans_[task.index].waitsFor) {
      AppendFound(*task.region->tasks[other].output, found);
    }
    std::int64_t area = 0;
    for (const NxRef<NxRegionObject>& region : found) area += AreaOf(*region);
    if (!found.empty() && 2 * area >= AreaOf(*task.output->GetRegion())) return true;
    const NxTaskOutput::Regions& before = task.output->GetResultsToFilter();
    found.insert(found.end(), before.begin(), before.end());
    task.output->SetResultsToFilter(found);
  } catch (...) {
    task.region->job->AddCurrentException(task);
  }
  return false;
}

void CaptureDefinition::BeginSection(TaskRun& task, Nx_WorkObjectBase& work) const noexcept {
  task.work = &work;
  task.hasMode = false;
  task.mostInFlight = 0;
  task.foundBefore = CountFound(*task.output);
  task.sectionBegin = task.units.size();
  CallOut(task, [&] {
    task.mostInFlight = std::max(0, work.GetMaxThreadNumInOneTask());
    // The table says what was appended.
    work.AppendWorkOutputs(task.output.get(), work.GetIndexInTask());
  });
}

void CaptureDefinition::EndPiece(TaskRun& task, CaptureWorkItem* item) noexcept {
  --task.inFlight;
  if (item != nullptr) {
    try {
      TakeOverResults(item->GetPiece(), *task.output);
      Units& units = item->GetUnits();
      task.units.insert(task.units.end(), units.begin(), units.end());
    } catch (...) {
      task.region->job->AddCurrentException(task);
    }
  }
  Advance(task);
}

void CaptureDefinition::Advance(TaskRun& task) noexcept {
  for (;;) {
    QueuePieces(task);
    if (task.inFlight > 0) return;
    if (const Receivers* receivers = GraphOf().GetReceivers()) {
      CallOut(task, [&] { receivers->TellSection(task); });
    }
    Nx_WorkObjectBase* const next = task.work->GetNextWorkObject();
    if (next == nullptr || IsOver(task)) return FinishTask(task);
    BeginSection(task, *next);
  }
}

void CaptureDefinition::QueuePieces(TaskRun& task) const noexcept {
  try {
    while (task.mostInFlight == 0 || task.inFlight < task.mostInFlight) {
      const NxRef<NxWorkOutput> piece = TakePiece(task);
      if (!piece) return;
      QueuePiece(task, piece);
    }
  } catch (...) {
    task.region->job->AddCurrentException(task);
  }
}

// Empty if nothing is left, or what is left has to wait.
NxRef<NxWorkOutput> CaptureDefinition::TakePiece(TaskRun& task) {
  NxRef<NxWorkOutput> piece;
  piece.swap(task.heldBack);
  if (!piece) piece = task.output->GetWorkTable()->GetNextTopPriorityWorkOutput({});
  if (!piece) return piece;
  const bool isNewMode = !task.hasMode || piece->GetWorkMode() != task.mode;
  if (isNewMode && task.inFlight > 0) {
    task.heldBack = std::move(piece);
    return nullptr;
  }
  if (task.hasMode && !MayGoOn(task, *piece)) {
    DropPieces(task);
    return nullptr;
  }
  task.hasMode = true;
  if (isNewMode) task.mode = piece->GetWorkMode();
  return piece;
}

// Whether there is reason to take a piece after others of the same work object.
bool CaptureDefinition::MayGoOn(TaskRun& task, const NxWorkOutput& piece) {
  const bool isNewMode = piece.GetWorkMode() != task.mode;
  if (isNewMode && CountFound(*task.output) > task.foundBefore) return false;
  return !IsOver(task);
}

void CaptureDefinition::QueuePiece(TaskRun& task, const NxRef<NxWorkOutput>& piece) const noexcept {
  ++task.inFlight;
  try {
    Nx_WorkObjectBase* const named = piece->GetWorkObject();
    Nx_WorkObjectBase& work = named != nullptr ? *named : *task.work;
    const NxRef<CaptureWorkItem> item =
        new CaptureWorkItem(*task.region->job, task, piece, work, GraphOf().FindTurn(work),
                            static_cast<std::uint64_t>(GetPriorityLevel()));
    item->Queue();
  } catch (...) {
    --task.inFlight;
    task.region->job->AddCurrentException(task);
  }
}

void CaptureDefinition::FinishTask(TaskRun& task) noexcept {
  RegionRun& region = *task.region;
  task.isFinished = true;
  CallOut(task, [&] {
    task.setting->GetTaskObject()->DealTaskResults(task.output.get(), &region.job->semaphore);
  });
  if (const Receivers* receivers = GraphOf().GetReceivers()) {
    CallOut(task, [&] { receivers->TellTask(task); });
  }
  task.output->SetResultStatus(TOS_FINISHED);
  for (const std::size_t other : plans_[task.index].waitedForBy) {
    if (--region.tasks[other].waitsFor == 0) StartTask(region.tasks[other]);
  }
  if (--region.unfinished == 0) FinishRegion(region);
}

bool CaptureDefinition::IsROIDefOutputFinished(NxROIDefOutput* output) {
  return RunOf(output).unfinished == 0;
}

void CaptureDefinition::FinishRegion(RegionRun& region) noexcept {
  CaptureJob& job = *region.job;
  FilterROIDefOutput(&region);
  DispatchROIDefOutput(&region);
  if (--job.definitions[index_].unfinished == 0) Finish(job);
}

void CaptureDefinition::DispatchROIDefOutput(NxROIDefOutput* output) {
  RegionRun& region = RunOf(output);
  EventOutputStruct content{output};
  TargetROIDefEvent event(TRDET_SINGLE_REGION_COMPLETE, this, region.job, &content);
  for (TargetROIDefEventListener* listener : GetListeners()) {
    region.job->CallOut(name_.c_str(), "",
                        [&] { listener->HandleSingleRegionCompeleteEvent(&event); });
  }
}

void CaptureDefinition::Finish(CaptureJob& job) noexcept {
  if (GetGraph()->GetEndNode() == this) job.SetDone();
  const Receivers* const receivers = GraphOf().GetReceivers();
  if (receivers != nullptr && !job.definitions[index_].regions.empty()) {
    job.CallOut(name_.c_str(), "", [&] { receivers->TellDefinition(job, *this); });
  }
  EventOutputStruct content{nullptr};
  TargetROIDefEvent event(TRDET_TASK_UNIT_OUTPUT_COMPLETE, this, &job, &content);
  for (TargetROIDefEventListener* listener : GetListeners()) {
    job.CallOut(name_.c_str(), "", [&] { listener->HandleTaskUnitOutputCompeleteEvent(&event); });
  }
}

void CaptureDefinition::HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent* event) {
  CaptureJob& job = *static_cast<CaptureJob*>(event->GetData());
  if (--job.definitions[index_].parentsLeft == 0) Start(job);
}

CaptureGraph& CaptureDefinition::GraphOf() const {
  return *static_cast<CaptureGraph*>(GetGraph());
}

}  // namespace velmora::capture
