/// @file
/// What an observer of the work sees.
#pragma once

#include <mutex>
#include <ostream>
#include <string>

#include "velmora/results/intermediate_result_receiver.h"

namespace velmora::capture {

/// Writes each unit that a task publishes: images as PNG, lists of regions as JSON, into files
/// "IMAGE-NUMBER-definition-task.png" of a folder.
///
/// @threadsafety called from the threads of the pool, several at once
class IntermediateWriter final : public intermediate_results::CAbstractIntermediateResultReceiver {
 public:
  explicit IntermediateWriter(std::string folder);

  void OnTargetROIResultsReceived(const intermediate_results::CIntermediateResult*,
                                  const intermediate_results::IntermediateResultInfo*) override {}
  void OnTaskResultsReceived(const intermediate_results::CIntermediateResult*,
                             const intermediate_results::IntermediateResultInfo*) override {}
  void OnSectionResultsReceived(const intermediate_results::CIntermediateResult*,
                                const intermediate_results::IntermediateResultInfo*) override {}
  void OnUnitResultReceived(intermediate_results::CIntermediateResultUnit* unit,
                            const intermediate_results::IntermediateResultInfo* info) override;

 private:
  std::string NextFile(const intermediate_results::CIntermediateResultUnit& unit,
                       const intermediate_results::IntermediateResultInfo& info,
                       const char* extension);

  const std::string folder_;
  std::mutex mutex_;  // guards written_
  int written_ = 0;
};

}  // namespace velmora::capture
