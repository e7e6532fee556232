#include "velmora_capture/internal/result_builder.h"

#include <algorithm>
#include <string>
#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora/image/nx_image_data.h"
#include "velmora_capture/internal/source_image.h"
#include "velmora_kit/regions.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

CQuadrilateral LocationOf(const NxRegionObject& region) {
  CQuadrilateral location;
  std::copy_n(region.GetVertices(), 4, location.points);
  return location;
}

std::int64_t Nanoseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

}  // namespace

ResultBuilder::ResultBuilder(const CaptureJob& job, Statistics& statistics)
    : job_(job),
      statistics_(statistics),
      result_(new CaptureResult(job.source->GetHashID().c_str(),
                                job.source->GetImage()->GetImageTag())) {}

NxRef<CaptureResult> ResultBuilder::Build(const CaptureGraph& graph, const CaptureJob& job,
                                          bool keepsImage, Statistics& statistics) {
  ResultBuilder builder(job, statistics);
  for (const CaptureDefinition* definition : graph.GetDefinitions()) {
    const auto& tasks = definition->GetTasks();
    for (std::size_t i = 0; i < tasks.size(); ++i) builder.AddTask(*definition, *tasks[i], i);
  }
  builder.AddErrors();
  builder.AddImage(keepsImage);
  CaptureResult& result = *builder.result_;
  result.jobNumber_ = job.number;
  result.isCancelled_ = job.isCancelled;
  result.times_ = {job.readNanoseconds, job.convertNanoseconds, job.workNanoseconds,
                   Nanoseconds(job.done - job.offered)};
  return builder.result_;
}

NxRef<CaptureResult> ResultBuilder::MakeFailure(const CaptureError& error, const CImageTag* tag,
                                                std::int64_t jobNumber, const CaptureTimes& times) {
  NxRef<CaptureResult> result = new CaptureResult("", tag);
  result->errors_.push_back(error);
  result->SetErrorCode(error.code);
  result->jobNumber_ = jobNumber;
  result->times_ = times;
  return result;
}

void ResultBuilder::AddTask(const CaptureDefinition& definition, const NxTargetTaskSetting& task,
                            std::size_t index) {
  std::int64_t found = 0;
  for (const NxRef<RegionRun>& run : job_.definitions[definition.GetIndex()].regions) {
    const NxTaskOutput& output = *run->tasks[index].output;
    for (int i = 0; i < output.GetResultCount(); ++i) {
      const NxRef<NxTaskOutputAtomResult> result = output.GetResult(i);
      if (!result || !result->GetRegion()) continue;
      ++found;
      const NxRegionObject& region = *result->GetRegion();
      const auto* code = dynamic_cast<const kit::CodeRegion*>(&region);
      if (code == nullptr) {
        result_->regions_.push_back({LocationOf(region), definition.GetName(), task.GetTaskName()});
      } else if (definition.IsOutputTask(task.GetTaskName())) {
        AddCode(new CodeItem(
            {code->GetSymbology(), code->GetText(), code->GetBytes(), LocationOf(region)},
            definition.GetName(), task.GetTaskName()));
      }
    }
  }
  statistics_.AddFound(task, found);
}

// Unless it is there already: linear codes are read in several places.
void ResultBuilder::AddCode(NxRef<CodeItem> code) {
  const auto& known = result_->GetResultItems();
  const bool isKnown = std::any_of(known.begin(), known.end(), [&](const NxRef<NxvItemBase>& item) {
    return code->IsSameAs(static_cast<const CodeItem&>(*item));
  });
  if (!isKnown) result_->AddResultItem(std::move(code));
}

// One entry for each error and task: a time-out meets every region of a task.
void ResultBuilder::AddErrors() {
  for (const SourceImageErrorInfo& record : job_.source->GetErrorRecords()) {
    statistics_.AddError(record.texts[0], record.texts[1], record.code);
    AddError({record.code, {}, record.texts[0], record.texts[1]});
  }
  result_->SetErrorCode(job_.source->GetErrorCode());
  if (job_.ranOutOfMemory) {
    AddError({EC_NoMemory, {}, {}, {}});
    result_->SetErrorCode(EC_NoMemory);
  }
}

void ResultBuilder::AddError(CaptureError error) {
  std::vector<CaptureError>& errors = result_->errors_;
  const bool isKnown = std::any_of(errors.begin(), errors.end(), [&](const CaptureError& known) {
    return known.code == error.code && known.definition == error.definition &&
           known.task == error.task;
  });
  if (!isKnown) errors.push_back(std::move(error));
}

void ResultBuilder::AddImage(bool keepsImage) {
  const NxRef<NxImageData>& image = job_.source->GetImage();
  result_->width_ = image->GetWidth();
  result_->height_ = image->GetHeight();
  if (keepsImage) result_->image_ = ShareImage(image);
}

}  // namespace velmora::capture
