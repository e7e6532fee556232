#include "velmora_capture/internal/capture_job.h"

#include <new>
#include <utility>

#include "velmora_capture/internal/capture_definition.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/capture_work_item.h"

namespace velmora::capture {

CaptureJob::CaptureJob(CaptureGraph& jobGraph, NxRef<NxRegionObject> region,
                       ThreadPoolBase* threadPool, JobOwner& owner)
    : graph(jobGraph),
      source(region->GetSourceImageObject()),
      wholeImage(std::move(region)),
      pool(threadPool),
      definitions(jobGraph.GetTargetDefNodesMap().size()),
      owner_(owner) {}

CaptureJob::~CaptureJob() = default;

void CaptureJob::Start() {
  graph.Begin(*this);
  Drain();
}

void CaptureJob::Post(CaptureWorkItem& item) noexcept {
  {
    const MutexLock lock(mutex_);
    ended_.Push(item);
    if (isDraining_) return;
    isDraining_ = true;
  }
  Drain();
}

void CaptureJob::PostLost(TaskRun& task) noexcept {
  {
    const MutexLock lock(mutex_);
    if (task.lostPieces++ == 0) task.nextLost = std::exchange(lost_, &task);
    if (isDraining_) return;
    isDraining_ = true;
  }
  Drain();
}

// What a thread did before it posted happens before what is done here: both took the lock. Once the
// strand is left, another thread may be on it: nothing of the job is looked at then.
void CaptureJob::Drain() noexcept {
  const NxRef<CaptureJob> self = this;  // the owner may let go once it is done
  NxRef<CaptureWorkItem> item;
  TaskRun* lost = nullptr;
  // Nothing is posted to a job that is done: all pieces have ended, each once.
  while (!isDone_) {
    if (!TakeEnded(item, lost)) return;
    if (lost != nullptr) {
      AddError(EC_Unknown, *lost);
      lost->region->definition->EndPiece(*lost, nullptr);
    } else {
      TaskRun& task = item->GetTask();
      task.region->definition->EndPiece(task, item.get());
    }
    item.reset();
  }
  owner_.OnJobDone(*this);
}

// False, with the strand left, if there is nothing.
bool CaptureJob::TakeEnded(NxRef<CaptureWorkItem>& item, TaskRun*& lost) noexcept {
  const MutexLock lock(mutex_);
  lost = lost_;
  if (lost != nullptr) {
    if (--lost->lostPieces == 0) lost_ = lost->nextLost;
    return true;
  }
  item = ended_.Pop();
  if (!item) isDraining_ = false;
  return item != nullptr;
}

void CaptureJob::AddError(ErrorCode code, const TaskRun& task) noexcept {
  AddError(code, task.region->definition->GetName().c_str(), task.setting->GetTaskName().c_str());
}

void CaptureJob::AddError(ErrorCode code, const char* definition, const char* task) noexcept {
  try {
    source->AddErrorCodeInfo(code, definition, task, nullptr, nullptr);
  } catch (...) {
    ranOutOfMemory = true;
  }
}

void CaptureJob::AddCurrentException(const TaskRun& task) noexcept {
  AddCurrentException(task.region->definition->GetName().c_str(),
                      task.setting->GetTaskName().c_str());
}

void CaptureJob::AddCurrentException(const char* definition, const char* task) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    AddError(EC_NoMemory, definition, task);
  } catch (...) {
    AddError(EC_Unknown, definition, task);
  }
}

}  // namespace velmora::capture
