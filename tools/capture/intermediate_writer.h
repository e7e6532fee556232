/// @file
/// What a receiver of intermediate results sees.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "velmora/platform/mutex.h"
#include "velmora/results/intermediate_result_receiver.h"

namespace velmora::capture {

/// Writes each unit that a task publishes: images as PNG, lists of regions as JSON, into files
/// "IMAGE-NUMBER-definition-task.png" of a folder.
///
/// @threadsafety called from the threads of the pool, several at once
class IntermediateWriter final : public intermediate_results::CAbstractIntermediateResultReceiver {
 public:
  /// @param onFailure  told in a sentence what could not be written
  IntermediateWriter(std::string folder, std::function<void(const std::string&)> onFailure);

  void OnTargetROIResultsReceived(const intermediate_results::CIntermediateResult*,
                                  const intermediate_results::IntermediateResultInfo*) override {}
  void OnTaskResultsReceived(const intermediate_results::CIntermediateResult*,
                             const intermediate_results::IntermediateResultInfo*) override {}
  void OnSectionResultsReceived(const intermediate_results::CIntermediateResult*,
                                const intermediate_results::IntermediateResultInfo*) override {}
  void OnUnitResultReceived(intermediate_results::CIntermediateResultUnit* unit,
                            const intermediate_results::IntermediateResultInfo* info) override;

 private:
  void Write(const std::string& file, const char* bytes, std::size_t size) const;
  std::string NextFile(const intermediate_results::CIntermediateResultUnit& unit,
                       const intermediate_results::IntermediateResultInfo& info,
                       const char* extension);

  const std::string folder_;
  const std::function<void(const std::string&)> onFailure_;
  Mutex mutex_;
  int written_ VELMORA_GUARDED_BY(mutex_) = 0;
};

}  // namespace velmora::capture
