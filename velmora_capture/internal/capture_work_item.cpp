#include "velmora_capture/internal/capture_work_item.h"

#include <algorithm>
#include <utility>

#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/work_object_base.h"
#include "velmora_capture/internal/capture_definition.h"
#include "velmora_capture/internal/capture_graph.h"

namespace velmora::capture {
namespace {

// What has ended of an item. It is reported when both have.
constexpr std::uint8_t kProcessed = 1;
constexpr std::uint8_t kFinished = 2;
constexpr std::uint8_t kReported = kProcessed | kFinished;

thread_local CaptureWorkItem* current = nullptr;

}  // namespace

CaptureWorkItem::CaptureWorkItem(CaptureJob& job, TaskRun& task, const NxRef<NxWorkOutput>& output,
                                 Nx_WorkObjectBase& work, Turn* turn, std::uint64_t priority)
    : ExecutableWorkItem(output.get(), &work, &job.semaphore, priority),
      job_(&job),
      output_(output),
      task_(task),
      turn_(turn),
      mode_(job.graph.KeepName(output->GetWorkMode())) {}

CaptureWorkItem::~CaptureWorkItem() {
  if (ended_.load(std::memory_order_acquire) == kReported) return;
  StopCharging();
  PassTurn();
  job_->PostLost(task_);
}

void CaptureWorkItem::Queue() {
  if (turn_ != nullptr && !turn_->Enter(*this)) return;
  try {
    job_->pool->AppendWorkItem(this);
  } catch (...) {
    ended_ = kReported;
    PassTurn();
    throw;
  }
}

void CaptureWorkItem::Process(ThreadPoolBase* pool) {
  int code = EC_Ok;
  if (!job_->IsOver(code)) {
    Work(pool);
  } else {
    if (code != EC_Ok) job_->AddError(static_cast<ErrorCode>(code), task_);
    SetWorkFinished();
  }
  // Work that goes on elsewhere: the base has taken the item out when it returned.
  if (!IsWorkFinished()) ChargeOn();
  End(kProcessed);
}

void CaptureWorkItem::Work(ThreadPoolBase* pool) {
  RunSpan span{RunStage::kWork,
               task_.setting->GetTaskFullName().c_str(),
               mode_,
               job_->number,
               RunMoment::Now(),
               {}};
  basic_structures::CQuadrilateral region;
  if (const NxRef<NxRegionObject>& object = output_->GetRegion()) {
    std::copy_n(object->GetVertices(), 4, region.points);
    span.region = &region;
  }
  current = this;
  try {
    ExecutableWorkItem::Process(pool);
  } catch (...) {
    job_->AddCurrentException(task_);
    SetWorkFinished();
  }
  current = nullptr;
  span.end = RunMoment::Now();
  job_->workNanoseconds +=
      std::chrono::duration_cast<std::chrono::nanoseconds>(span.end.time - span.begin.time).count();
  job_->graph.GetObservers().Ended(span);
}

void CaptureWorkItem::FinishWork() {
  if (!IsWorkFinished()) return;
  try {
    ExecutableWorkItem::FinishWork();
  } catch (...) {
    job_->AddCurrentException(task_);
  }
  End(kFinished);
}

void CaptureWorkItem::End(std::uint8_t what) noexcept {
  const std::uint8_t before = ended_.fetch_or(what, std::memory_order_acq_rel);
  if (before == kReported || (before | what) != kReported) return;
  StopCharging();
  PassTurn();
  job_->Post(*this);
}

void CaptureWorkItem::ChargeOn() noexcept {
  try {
    job_->graph.GetManagerPool()->GetActiveWorkUnitManager()->LoadActiveWorkUnit(this);
  } catch (...) {  // the image gets more time than it should
    job_->ranOutOfMemory = true;
  }
}

void CaptureWorkItem::StopCharging() noexcept {
  job_->graph.GetManagerPool()->GetActiveWorkUnitManager()->UnloadActiveWorkUnit(this);
}

void CaptureWorkItem::PassTurn() noexcept {
  Turn* const turn = std::exchange(turn_, nullptr);
  if (turn == nullptr) return;
  while (const NxRef<CaptureWorkItem> next = turn->Leave()) {
    try {
      next->job_->pool->AppendWorkItem(next.get());
      return;
    } catch (...) {
      next->job_->AddCurrentException(next->task_);
      next->turn_ = nullptr;
      next->ended_ = kReported;
      next->job_->Post(*next);
    }
  }
}

CaptureWorkItem* CaptureWorkItem::Current() {
  return current;
}

}  // namespace velmora::capture
