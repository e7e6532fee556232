#include "velmora_capture/internal/receivers.h"

#include "velmora/region/nx_intermediate_result.h"
#include "velmora_capture/internal/capture_definition.h"
#include "velmora_capture/internal/capture_work_item.h"

namespace velmora::capture {

using namespace intermediate_results;

namespace {

// Adds those units, from one on, that the receiver observes.
void AddUnits(NxIntermediateResult& result, const Units& units, std::size_t from,
              const CObservationParameters& wanted) {
  for (std::size_t i = from; i < units.size(); ++i) {
    if (wanted.IsResultUnitTypeObserved(units[i]->GetCIntermediateResultUnitPtr()->GetUnitType())) {
      result.AddUnit(units[i]);
    }
  }
}

IntermediateResultInfo InfoOf(const TaskRun& task, int section) {
  return {task.region->definition->GetName().c_str(), task.setting->GetTaskName().c_str(), section};
}

}  // namespace

Receivers::Receivers(const IntermediateResultReceiverVector& receivers) : receivers_(receivers) {
  if (receivers_.empty()) return;
  unsigned long long types = IRUT_None;
  for (CAbstractIntermediateResultReceiver* receiver : receivers_) {
    types |= receiver->GetObservationParameters()->GetObservedResultUnitTypes();
  }
  GetObservationParameters()->SetObservedResultUnitTypes(types);
  forWork_ = receivers_;
  forWork_.push_back(this);
}

void Receivers::ObserveTask(const char* task) {
  // A name without tasks keeps the list from standing for all of them.
  GetObservationParameters()->AddObservedTask("");
  for (CAbstractIntermediateResultReceiver* receiver : receivers_) {
    if (receiver->GetObservationParameters()->IsTaskObserved(task)) {
      GetObservationParameters()->AddObservedTask(task);
    }
  }
}

void Receivers::OnUnitResultReceived(CIntermediateResultUnit* unit, const IntermediateResultInfo*) {
  // Another thread that finishes work later publishes to the others only.
  CaptureWorkItem* const item = CaptureWorkItem::Current();
  auto* const shared = dynamic_cast<SectionResultUnitBase*>(unit);
  if (item == nullptr || shared == nullptr || !shared->TransToCIntermediateResultUnitPtr()) return;
  item->GetUnits().emplace_back(shared);
}

void Receivers::TellSection(const TaskRun& task) const {
  for (CAbstractIntermediateResultReceiver* receiver : receivers_) {
    const CObservationParameters& wanted = *receiver->GetObservationParameters();
    if (!wanted.IsTaskObserved(task.setting->GetTaskName().c_str())) continue;
    const IntermediateResultInfo info = InfoOf(task, task.work->GetIndexInTask());
    const NxRef<NxIntermediateResult> result = new NxIntermediateResult;
    AddUnits(*result, task.units, task.sectionBegin, wanted);
    receiver->OnSectionResultsReceived(result.get(), &info);
  }
}

void Receivers::TellTask(const TaskRun& task) const {
  for (CAbstractIntermediateResultReceiver* receiver : receivers_) {
    const CObservationParameters& wanted = *receiver->GetObservationParameters();
    if (!wanted.IsTaskObserved(task.setting->GetTaskName().c_str())) continue;
    const IntermediateResultInfo info = InfoOf(task, -1);
    const NxRef<NxIntermediateResult> result = new NxIntermediateResult;
    AddUnits(*result, task.units, 0, wanted);
    receiver->OnTaskResultsReceived(result.get(), &info);
  }
}

void Receivers::TellDefinition(const CaptureJob& job, const CaptureDefinition& definition) const {
  for (CAbstractIntermediateResultReceiver* receiver : receivers_) {
    const CObservationParameters& wanted = *receiver->GetObservationParameters();
    const IntermediateResultInfo info{definition.GetName().c_str(), "", -1};
    const NxRef<NxIntermediateResult> result = new NxIntermediateResult;
    for (const NxRef<RegionRun>& region : job.definitions[definition.GetIndex()].regions) {
      for (const TaskRun& task : region->tasks) {
        if (wanted.IsTaskObserved(task.setting->GetTaskName().c_str())) {
          AddUnits(*result, task.units, 0, wanted);
        }
      }
    }
    receiver->OnTargetROIResultsReceived(result.get(), &info);
  }
}

}  // namespace velmora::capture
