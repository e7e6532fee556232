/// @file
/// The receivers of intermediate results, and what is told to them.
#pragma once

#include <cstddef>

#include "velmora/engine/work_object_base.h"
#include "velmora/results/intermediate_result_receiver.h"
#include "velmora_capture/internal/capture_job.h"

namespace velmora::capture {

/// Collects the units that tasks publish, and hands them out again when a section, a task or a
/// definition is done.
///
/// Stands last among the receivers of the work objects, so that it gets a unit as the others leave
/// it; asks for what any of them asks for.
///
/// @threadsafety the receivers are added before work starts; `Tell...` from the strand of a job
class Receivers final : public intermediate_results::CAbstractIntermediateResultReceiver {
 public:
  explicit Receivers(const IntermediateResultReceiverVector& receivers);

  /// For the work objects: the receivers and this one; empty if there are none.
  IntermediateResultReceiverVector& GetForWork() { return forWork_; }
  /// Asks for the units of a task if any receiver does.
  void ObserveTask(const char* task);

  /// A work object of the task's chain is done.
  void TellSection(const TaskRun& task) const;
  void TellTask(const TaskRun& task) const;
  void TellDefinition(const CaptureJob& job, const CaptureDefinition& definition) const;

  void OnUnitResultReceived(intermediate_results::CIntermediateResultUnit* unit,
                            const intermediate_results::IntermediateResultInfo* info) override;
  void OnSectionResultsReceived(const intermediate_results::CIntermediateResult*,
                                const intermediate_results::IntermediateResultInfo*) override {}
  void OnTaskResultsReceived(const intermediate_results::CIntermediateResult*,
                             const intermediate_results::IntermediateResultInfo*) override {}
  void OnTargetROIResultsReceived(const intermediate_results::CIntermediateResult*,
                                  const intermediate_results::IntermediateResultInfo*) override {}

 private:
  const IntermediateResultReceiverVector receivers_;
  IntermediateResultReceiverVector forWork_;
};

}  // namespace velmora::capture
