/// @file
/// From a job to the result that an application gets.
#pragma once

#include <memory>

#include "velmora_capture/capture_result.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/capture_job.h"
#include "velmora_capture/internal/statistics.h"

namespace velmora::capture {

/// Makes results. They hold nothing of the job but its image, if that is to be kept.
///
/// @threadsafety none
class ResultBuilder {
 public:
  /// @param keepsImage  whether the result keeps the image
  /// @param statistics  counts what was found, and the errors
  static NxRef<CaptureResult> Build(const CaptureGraph& graph, const CaptureJob& job,
                                    bool keepsImage, Statistics& statistics);

  /// The result of an image on which no work was done.
  /// @param tag  of the image; may be null
  static NxRef<CaptureResult> MakeFailure(const CaptureError& error,
                                          const basic_structures::CImageTag* tag,
                                          std::int64_t jobNumber, const CaptureTimes& times);

 private:
  ResultBuilder(const CaptureJob& job, Statistics& statistics);
  void AddTask(const CaptureDefinition& definition, const NxTargetTaskSetting& task,
               std::size_t index);
  void AddCode(NxRef<CodeItem> code);
  void AddErrors();
  void AddError(CaptureError error);
  void AddImage(bool keepsImage);

  const CaptureJob& job_;
  Statistics& statistics_;
  NxRef<CaptureResult> result_;
};

}  // namespace velmora::capture
