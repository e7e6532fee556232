#include "velmora_capture/internal/guarded_work_item.h"

#include <new>

#include "velmora/engine/output_base.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/error_code.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/task_statistics.h"

namespace velmora::capture {

GuardedWorkItem::GuardedWorkItem(NxTaskOutput& task, std::uint64_t imageId, CaptureGraph& graph)
    : ResolvableWorkItem(task.GetWorkTable(), nullptr, imageId), task_(&task), graph_(graph) {}

void GuardedWorkItem::Process(ThreadPoolBase* pool) {
  ErrorCode code = EC_Ok;
  TaskStatistics::WorkBegins();
  try {
    ResolvableWorkItem::Process(pool);
  } catch (const std::bad_alloc&) {
    code = EC_NoMemory;
  } catch (...) {
    code = EC_Unknown;
  }
  const NxRef<ExecutableWorkItem>& item = GetCurrentItem();
  if (!item) return;
  graph_.GetStatistics().WorkEnded(*item->GetWorkObject(), *item->GetOutput());
  if (code != EC_Ok) {
    const Nx_WorkObjectBase& work = *item->GetWorkObject();
    item->GetOutput()->GetRegion()->GetSourceImageObject()->AddErrorCodeInfo(
        code, work.GetTargetDefNamePtr(), work.GetTaskNamePtr(), nullptr, nullptr);
  }
  if (!item->IsWorkFinished()) item->SetWorkFinished();
}

void GuardedWorkItem::FinishWork() {
  ResolvableWorkItem::FinishWork();
  graph_.Advance(GetPriority(), task_);
}

}  // namespace velmora::capture
