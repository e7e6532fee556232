#include "velmora/engine/work_item.h"

#include <new>
#include <utility>

#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/output_base.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/log/log.h"
#include "velmora/platform/prefetch.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"

namespace velmora {
namespace {

constexpr int kTraceLevel = 9;

// `format` has one %s, for the description.
void Trace(const char* format, const RtrThreadWorkItemBase& item) {
  VELMORA_LOG_TEXT(kTraceLevel, format, item.GetDescription().c_str());
}

// Borrowed: the output keeps its region, the region its source image, while work is in flight.
NxSourceImageObject* SourceImageOf(const NxOutputBase& output) {
  const NxRegionObject* const region = output.GetRegion().get();
  return region != nullptr ? region->GetSourceImageObject().get() : nullptr;
}

std::string DescribeWork(const NxOutputBase& output, std::uint64_t priority) {
  const NxSourceImageObject* const source = SourceImageOf(output);
  std::string text = "{ExecutableWork}[SourceId:";
  if (source != nullptr) text += source->GetHashID();
  text.append("][TargetROI:").append(output.GetTargetROIName());
  text.append("][Task:").append(output.GetTaskName());
  text.append("][Priority:").append(std::to_string(priority)).append("]");
  return text;
}

// Keeps an item registered for as long as its work runs, however that ends.
class ActiveWorkGuard {
 public:
  ActiveWorkGuard(NxDataManagerPool* pool, ExecutableWorkItem* item)
      : manager_(pool != nullptr ? pool->GetActiveWorkUnitManager() : nullptr), item_(item) {
    if (manager_ != nullptr) manager_->LoadActiveWorkUnit(item_);
  }
  ~ActiveWorkGuard() {
    if (manager_ != nullptr) manager_->UnloadActiveWorkUnit(item_);
  }
  ActiveWorkGuard(const ActiveWorkGuard&) = delete;
  ActiveWorkGuard& operator=(const ActiveWorkGuard&) = delete;

 private:
  ActiveWorkUnitManager* manager_;
  ExecutableWorkItem* item_;
};

// The item of a work output that nobody else may keep: whoever holds the item, a thread that
// finishes the work later too, holds the output with it.
class WorkOutputItem final : public ExecutableWorkItem {
 public:
  // Of the table's next output, which an item that finds no memory thus leaves in the table.
  WorkOutputItem(NxWorkOutputTable& table, NxSemaphore* semaphore, std::uint64_t priority)
      : WorkOutputItem(table.GetNextTopPriorityWorkOutput({}), semaphore, priority) {}

  bool HasOutput() const { return GetOutput() != nullptr; }

 private:
  WorkOutputItem(NxRef<NxWorkOutput> output, NxSemaphore* semaphore, std::uint64_t priority)
      : ExecutableWorkItem(output.get(), output ? output->GetWorkObject() : nullptr, semaphore,
                           priority),
        keptAlive_(std::move(output)) {}

  const NxRef<NxWorkOutput> keptAlive_;
};

}  // namespace

RtrThreadWorkItemBase::RtrThreadWorkItemBase(NxSemaphore* semaphore, std::uint64_t priority)
    : priority_(priority), semaphore_(semaphore) {}

RtrThreadWorkItemBase::~RtrThreadWorkItemBase() = default;

void RtrThreadWorkItemBase::LogPush() const {
  Trace("WorkPriorityInfo AppendWork: %s", *this);
}

void RtrThreadWorkItemBase::LogPop() const {
  Trace("WorkPriorityInfo TakeWork: %s", *this);
}

ExecutableWorkItem::ExecutableWorkItem(NxOutputBase* output, Nx_WorkObjectBase* workObject,
                                       NxSemaphore* semaphore, std::uint64_t priority)
    : RtrThreadWorkItemBase(semaphore, priority), workObject_(workObject), output_(output) {
  if (output == nullptr || !NxLog::GetInstance().AllowLogging(kTraceLevel, LM_Text)) return;
  try {
    SetDescription(DescribeWork(*output, priority));
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): only log lines show it
  }
}

ExecutableWorkItem::~ExecutableWorkItem() = default;

void ExecutableWorkItem::Process(ThreadPoolBase* pool) {
  Trace("WorkPriorityInfo WorkStart: %s", *this);
  NxSourceImageObject* const source = SourceImageOf(*output_);
  if (workObject_ == nullptr) return SetWorkFinished();  // no work will
  const ActiveWorkGuard active(workObject_->GetManagerPool(), this);
  output_->SetThreadPool(pool);
  const int code = workObject_->Work(this, GetSemaphore());
  if (code != EC_Ok && source != nullptr) {
    source->AddErrorCodeInfo(static_cast<ErrorCode>(code), workObject_->GetTargetDefNamePtr(),
                             workObject_->GetTaskNamePtr(), nullptr, nullptr);
  }
}

void ExecutableWorkItem::FinishWork() {
  // Other threads write these too; the second one soon, with the output's reference.
  PrefetchToWrite(GetSemaphore());
  PrefetchToWrite(output_->GetRegion().get());
  if (!IsWorkFinished() || !output_->EndWork()) return;
  // The output may be gone as soon as its waiter knows.
  if (GetSemaphore() != nullptr) GetSemaphore()->Produce();
  Trace("WorkPriorityInfo WorkEnd: %s", *this);
}

bool ExecutableWorkItem::IsWorkFinished() const {
  return finished_.load(std::memory_order_acquire);
}

void ExecutableWorkItem::SetWorkFinished() {
  finished_.store(true, std::memory_order_release);
}

ResolvableWorkItem::ResolvableWorkItem(NxRef<NxWorkOutputTable> table, NxSemaphore* semaphore,
                                       std::uint64_t priority)
    : RtrThreadWorkItemBase(semaphore, priority), table_(std::move(table)) {}

ResolvableWorkItem::~ResolvableWorkItem() = default;

void ResolvableWorkItem::Process(ThreadPoolBase* pool) {
  Trace("TaskPriorityInfo TaskStart: %s", *this);
  table_->SetSequential(sequential_);
  NxRef<WorkOutputItem> item = MakeRef<WorkOutputItem>(*table_, GetSemaphore(), GetPriority());
  if (!item->HasOutput()) return;
  currentItem_ = std::move(item);
  currentItem_->Process(pool);
}

void ResolvableWorkItem::FinishWork() {
  if (!currentItem_) return;
  currentItem_->FinishWork();
  // The next item of this thread most likely takes from the same table.
  table_->PrefetchToTake();
  Trace("TaskPriorityInfo TaskEnd: %s", *this);
}

}  // namespace velmora
