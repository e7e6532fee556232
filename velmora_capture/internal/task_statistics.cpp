#include "velmora_capture/internal/task_statistics.h"

#include "velmora/engine/output_base.h"
#include "velmora/foundation/error_code.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"
#include "velmora_capture/internal/trace.h"

namespace velmora::capture {

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

thread_local TraceStamp workBegin;

}  // namespace

void TaskStatistics::AddTask(const Nx_WorkObjectBase* task, const std::string& fullName) {
  tasks_[task] = std::make_unique<Counters>();
  tasks_[task]->fullName = fullName;
}

void TaskStatistics::WorkBegins() {
  workBegin = TraceStamp::Now();
}

void TaskStatistics::WorkEnded(const Nx_WorkObjectBase& task, const NxOutputBase& output) {
  const TraceStamp end = TraceStamp::Now();
  Counters& counters = *tasks_.at(&task);
  counters.nanoseconds.fetch_add(end.processorNanoseconds - workBegin.processorNanoseconds,
                                 kRelaxed);
  counters.calls.fetch_add(1, kRelaxed);
  const std::uint64_t image = output.GetRegion()->GetSourceImageObject()->GetImageId();
  Trace::CurrentLane().Add(SpanKind::kWork, counters.fullName.c_str(), static_cast<int>(image),
                           workBegin, end);
}

void TaskStatistics::AddError(const Nx_WorkObjectBase& task, int code) {
  Counters& counters = *tasks_.at(&task);
  (code == EC_Timeout ? counters.timeouts : counters.failures).fetch_add(1, kRelaxed);
}

void TaskStatistics::AddFound(const Nx_WorkObjectBase& task, int count) {
  tasks_.at(&task)->found.fetch_add(count, kRelaxed);
}

void TaskStatistics::Describe(const Nx_WorkObjectBase& task, TaskSummary& summary) const {
  const Counters& counters = *tasks_.at(&task);
  summary.nanoseconds = counters.nanoseconds.load(kRelaxed);
  summary.calls = counters.calls.load(kRelaxed);
  summary.found = counters.found.load(kRelaxed);
  summary.failures = counters.failures.load(kRelaxed);
  summary.timeouts = counters.timeouts.load(kRelaxed);
}

}  // namespace velmora::capture
