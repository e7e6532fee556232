#include "velmora_kit/recogniser.h"

#include "velmora/engine/task_output.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/error_code.h"

namespace velmora::kit {

int Recogniser::Work(ExecutableWorkItem* item, NxSemaphore*) {
  auto& output = static_cast<NxWorkOutput&>(*item->GetOutput());
  const int code = DoWork(output);
  item->SetWorkFinished();
  return code;
}

int Recogniser::DoWork(NxWorkOutput& output) {
  RegionWork work(output, *this);
  int code = EC_Ok;
  if (work.MustStop(code)) return code;
  if (work.GetImage().pixels == nullptr) return EC_ImagePixelFormatNotMet;
  return Recognise(work);
}

int Recogniser::AppendWorkOutputs(NxTaskOutput* taskOutput, int priorityLevel) {
  const std::vector<std::string>& modes = GetWorkModes();
  for (std::size_t i = 0; i < modes.size(); ++i) {
    const int mode = static_cast<int>(i);
    NxRef<NxWorkOutput> work = new NxWorkOutput(
        taskOutput, taskOutput->GetSectionCache(), taskOutput->GetRegion(),
        taskOutput->GetReferenceRegion(), GetTaskName(), taskOutput->GetTaskType(), this, modes[i]);
    taskOutput->AddWorkOutput(mode, work);
    taskOutput->GetWorkTable()->AppendNextWorkOutput(priorityLevel + mode, mode, work);
  }
  return static_cast<int>(modes.size());
}

}  // namespace velmora::kit
