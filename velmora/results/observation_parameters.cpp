#include "velmora/results/observation_parameters.h"

namespace velmora::intermediate_results {

CObservationParameters::~CObservationParameters() = default;

CObservationParametersImp::CObservationParametersImp() = default;
CObservationParametersImp::~CObservationParametersImp() = default;

void CObservationParametersImp::SetObservedResultUnitTypes(unsigned long long types) {
  observedResultUnitTypes_ = types;
}

unsigned long long CObservationParametersImp::GetObservedResultUnitTypes() const {
  return observedResultUnitTypes_;
}

bool CObservationParametersImp::IsResultUnitTypeObserved(IntermediateResultUnitType type) const {
  return (type & observedResultUnitTypes_) != 0;
}

void CObservationParametersImp::AddObservedTask(const char* taskName) {
  if (taskName != nullptr) observedTasks_.emplace(taskName);
}

void CObservationParametersImp::RemoveObservedTask(const char* taskName) {
  if (taskName == nullptr) return;
  const auto found = observedTasks_.find(taskName);
  if (found != observedTasks_.end()) observedTasks_.erase(found);
}

bool CObservationParametersImp::IsTaskObserved(const char* taskName) const {
  if (observedTasks_.empty()) return true;
  return taskName != nullptr && observedTasks_.find(taskName) != observedTasks_.end();
}

void CObservationParametersImp::SetResultUnitTypesOnlyForInput(unsigned long long types) {
  resultUnitTypesOnlyForInput_ = types;
}

unsigned long long CObservationParametersImp::GetResultUnitTypesOnlyForInput() const {
  return resultUnitTypesOnlyForInput_;
}

bool CObservationParametersImp::IsResultUnitTypeOnlyForInput(
    IntermediateResultUnitType type) const {
  return (type & resultUnitTypesOnlyForInput_) != 0;
}

}  // namespace velmora::intermediate_results
