/// @file
/// The base of an application's observer of intermediate results.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"
#include "velmora/results/intermediate_result.h"
#include "velmora/results/observation_parameters.h"

namespace velmora::intermediate_results {

/// Where published units come from. Valid for the length of the call that gets it.
struct IntermediateResultInfo {
  /// Name of the target-ROI definition that is worked on; never null.
  const char* targetROIDefName = "";
  /// Name of the task that published the units; empty when they come from several.
  const char* taskName = "";
  /// Number of the section of the task, or -1 when the units belong to no single section.
  std::int32_t sectionType = -1;
};

/// Base of an application's observer: an application derives from it, chooses through the
/// observation parameters what it wants to see, and gets units as the work goes on, each time that
/// a part of the work of one size is done.
///
/// What is handed over is borrowed for the call; to keep a unit, retain or clone it.
///
/// @threadsafety the operations are called from the threads that do the work, several at once
class VELMORA_EXPORT CAbstractIntermediateResultReceiver {
 public:
  /// Observes everything.
  CAbstractIntermediateResultReceiver();
  CAbstractIntermediateResultReceiver(const CAbstractIntermediateResultReceiver&) = delete;
  CAbstractIntermediateResultReceiver& operator=(const CAbstractIntermediateResultReceiver&) =
      delete;
  virtual ~CAbstractIntermediateResultReceiver();

  /// All tasks of a target-ROI definition are done on an image.
  virtual void OnTargetROIResultsReceived(const CIntermediateResult* result,
                                          const IntermediateResultInfo* info) = 0;

  /// A task is done on a region.
  virtual void OnTaskResultsReceived(const CIntermediateResult* result,
                                     const IntermediateResultInfo* info) = 0;

  /// A section of a task is done on a region.
  virtual void OnSectionResultsReceived(const CIntermediateResult* result,
                                        const IntermediateResultInfo* info) = 0;

  /// A unit is done. Later stages have not seen it yet and read what the observer leaves in it.
  virtual void OnUnitResultReceived(CIntermediateResultUnit* unit,
                                    const IntermediateResultInfo* info) = 0;

  /// What this receiver wants to see.
  /// @return never null; owned by this receiver
  CObservationParametersImp* GetObservationParameters() noexcept { return &parameters_; }

 private:
  CObservationParametersImp parameters_;
};

}  // namespace velmora::intermediate_results
