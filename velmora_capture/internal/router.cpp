#include "velmora_capture/internal/router.h"

#include <algorithm>
#include <utility>

#include "velmora/engine/work_object_base.h"
#include "velmora/image/convert_data.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/image/pixel_conversion.h"
#include "velmora/region/region_image_info.h"
#include "velmora_capture/internal/captured_result.h"
#include "velmora_capture/internal/trace.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

// Long enough to cost nothing, short enough for a cancelled run to be noticed.
constexpr int kLongestSleepMs = 50;

NxRef<NxImageData> Share(const CImageData& image) {
  return new NxImageData(image.GetBytesLength(), image.GetBytes(), image.GetWidth(),
                         image.GetHeight(), image.GetStride(), image.GetImagePixelFormat(),
                         image.GetOrientation(), image.GetImageTag());
}

// The image in 8-bit grey, which the modules work on.
NxRef<NxImageData> MakeGrey(const NxRef<NxImageData>& picture) {
  if (picture->GetImagePixelFormat() != PXF_Colour888) return picture;
  ConvertData data(picture->GetBytes(), picture->GetWidth(), picture->GetHeight(),
                   picture->GetStride(), 24, 0, 0, false, false, false, false, CCU_Unrestricted);
  const std::unique_ptr<CImageData> grey(Nx_ConvertToGrayscale(&data));
  return Share(*grey);
}

Corners CornersOf(const NxPoint_<int>* vertices) {
  Corners corners;
  for (int i = 0; i < 4; ++i)
    corners[static_cast<std::size_t>(i)] = {vertices[i][0], vertices[i][1]};
  return corners;
}

// One entry for each error and task: a time-out meets every region of a task.
void DescribeErrors(const NxSourceImageObject& source, ImageReport& report) {
  report.errorCode = source.GetErrorCode();
  for (const SourceImageErrorInfo& record : source.GetErrorRecords()) {
    const bool isKnown =
        std::any_of(report.errors.begin(), report.errors.end(), [&](const ErrorReport& known) {
          return known.code == record.code && known.definition == record.texts[0] &&
                 known.task == record.texts[1];
        });
    if (!isKnown) report.errors.push_back({record.code, {}, record.texts[0], record.texts[1]});
  }
}

}  // namespace

Router::Router(Settings settings, CaptureGraph& graph, TaskStatistics& statistics)
    : settings_(std::move(settings)), graph_(graph), statistics_(statistics) {}

void Router::Run(ImageSource& source, ThreadPoolBase& pool, NxSemaphore& events) {
  // One image for each thread keeps all of them busy while the router starts the next ones.
  const auto mostJobs = 2 * static_cast<std::size_t>(pool.GetThreadCount());
  for (;;) {
    const bool isCancelled = settings_.isCancelled();
    while (!isCancelled && graph_.GetJobCount() < mostJobs && StartNext(source, pool, events)) {
    }
    for (ImageReport failure; source.TakeFailure(failure);) Report(std::move(failure));
    if (graph_.GetJobCount() == 0 && (isCancelled || !source.HasMoreImages())) break;
    events.SleepIfEmpty(kLongestSleepMs);
    while (!events.IsEmpty()) events.Consume();
    for (const std::unique_ptr<ImageJob>& job : graph_.TakeDone()) Finish(*job, source);
  }
  // A cancelled run leaves gaps, which nothing will fill.
  for (const auto& [id, report] : waiting_) settings_.report(report);
  waiting_.clear();
}

bool Router::StartNext(ImageSource& source, ThreadPoolBase& pool, NxSemaphore& events) {
  const TraceStamp begin = TraceStamp::Now();
  const std::unique_ptr<CImageData> image(source.GetImage());
  if (image == nullptr) return false;
  const int id = image->GetImageTag()->GetImageId();
  const NxRef<NxImageData> picture = Share(*image);
  const NxRef<NxImageData> grey = MakeGrey(picture);
  const TraceStamp converted = TraceStamp::Now();
  // Both are the same image to whoever compares ids, and hashing it once is enough.
  if (grey != picture) grey->SetHashID(picture->GetHashID());
  NxRef<NxSourceImageObject> object =
      new NxSourceImageObject(picture.get(), static_cast<std::uint64_t>(id), settings_.timeoutMs);
  object->SetManagerPool(graph_.GetManagerPool());
  // The grey image has the coordinates of the picture: no matrix stands for the identity.
  NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(grey.get(), nullptr);
  const NxRef<NxRegionObject> whole =
      new NxRegionObject(object.get(), intermediate_results::ROET_Default, info, nullptr);
  graph_.Run(whole, &pool, &events);
  TraceLane& lane = Trace::CurrentLane();
  lane.Add(SpanKind::kConvert, "convert", id, begin, converted);
  lane.Add(SpanKind::kSchedule, "start", id, converted, TraceStamp::Now());
  return true;
}

ImageReport Router::Describe(const ImageJob& job, const ImageSource& source) {
  ImageReport report;
  const NxRef<NxImageData>& picture = job.source->GetImage();
  NxRef<CapturedResult> result =
      new CapturedResult(job.source->GetHashID().c_str(), picture->GetImageTag());
  result->SetErrorCode(job.source->GetErrorCode());
  for (const CaptureDefinition* definition : graph_.GetDefinitions())
    for (const NxRef<NxTargetTaskSetting>& task : definition->GetTasks())
      DescribeTask(*definition, *task, job, *result, report);
  report.id = static_cast<int>(job.source->GetImageId());
  report.name = source.GetName(report.id);
  report.width = picture->GetWidth();
  report.height = picture->GetHeight();
  report.picture = picture;
  for (const NxRef<NxvItemBase>& item : result->GetResultItems()) {
    const auto& code = static_cast<const CodeItem&>(*item);
    report.codes.push_back({code.GetSymbology(), code.GetText(),
                            CornersOf(code.GetLocation().points), code.GetTargetName(),
                            code.NxvItemBase::GetTaskName()});
  }
  DescribeErrors(*job.source, report);
  return report;
}

void Router::DescribeTask(const CaptureDefinition& definition, const NxTargetTaskSetting& task,
                          const ImageJob& job, CapturedResult& result, ImageReport& report) {
  int found = 0;
  for (const NxRef<NxROIDefOutput>& output : job.definitions.at(&definition).outputs) {
    const NxRef<NxTaskOutput> taskOutput = output->GetTaskOutputByTaskName(task.GetTaskName());
    for (int i = 0; taskOutput && i < taskOutput->GetResultCount(); ++i) {
      const NxRef<NxRegionObject> region = taskOutput->GetResult(i)->GetRegion();
      if (!region) continue;
      ++found;
      const auto* code = dynamic_cast<const kit::CodeRegion*>(region.get());
      if (code == nullptr) {
        report.regions.push_back(
            {CornersOf(region->GetVertices()), definition.GetName(), task.GetTaskName()});
      } else if (definition.IsOutputTask(task.GetTaskName())) {
        result.AddCode(*code);
      }
    }
  }
  statistics_.AddFound(*task.GetTaskObject(), found);
  for (const SourceImageErrorInfo& record : job.source->GetErrorRecords())
    if (record.texts[0] == definition.GetName() && record.texts[1] == task.GetTaskName())
      statistics_.AddError(*task.GetTaskObject(), record.code);
}

void Router::Finish(const ImageJob& job, const ImageSource& source) {
  const TraceScope span(SpanKind::kReport, "report", static_cast<int>(job.source->GetImageId()));
  Report(Describe(job, source));
}

void Router::Report(ImageReport report) {
  if (!settings_.inOrder) return settings_.report(report);
  const int id = report.id;
  waiting_.emplace(id, std::move(report));
  for (auto next = waiting_.begin(); next != waiting_.end() && next->first == nextId_; ++nextId_) {
    settings_.report(next->second);
    next = waiting_.erase(next);
  }
}

}  // namespace velmora::capture
