#include "velmora_capture/internal/statistics.h"

#include <algorithm>

#include "velmora/foundation/error_code.h"

namespace velmora::capture {
namespace {

std::string FullName(const std::string& definition, const std::string& task) {
  return "{" + definition + "}[" + task + "]";
}

}  // namespace

void Statistics::AddTasks(const Template& source, const std::vector<std::string>& running) {
  const MutexLock lock(mutex_);
  for (const DefinitionTemplate& definition : source.definitions) {
    for (const TaskTemplate& task : definition.tasks) {
      const std::string name = FullName(definition.name, task.name);
      indices_[name] = tasks_.size();
      TaskCounts counts;
      counts.definition = definition.name;
      counts.task = task.name;
      counts.module = task.module;
      counts.unlessFoundBy = task.unlessFoundBy;
      counts.isLeftOut = std::find(running.begin(), running.end(), name) == running.end();
      tasks_.push_back(std::move(counts));
    }
  }
}

TaskCounts* Statistics::Find(std::string_view fullName) {
  const auto at = indices_.find(fullName);
  return at != indices_.end() ? &tasks_[at->second] : nullptr;
}

void Statistics::OnSpan(const RunSpan& span) {
  if (span.stage != RunStage::kWork) return;
  const MutexLock lock(mutex_);
  TaskCounts* const task = Find(span.name);
  if (task == nullptr) return;
  ++task->runs;
  task->nanoseconds += span.end.processorNanoseconds - span.begin.processorNanoseconds;
}

void Statistics::AddError(const std::string& definition, const std::string& task, int code) {
  const std::string name = FullName(definition, task);
  const MutexLock lock(mutex_);
  TaskCounts* const counts = Find(name);
  if (counts == nullptr) return;
  ++(code == EC_Timeout ? counts->timeouts : counts->failures);
}

void Statistics::AddFound(const NxTargetTaskSetting& task, std::int64_t count) {
  const MutexLock lock(mutex_);
  if (TaskCounts* const counts = Find(task.GetTaskFullName())) counts->found += count;
}

std::vector<TaskCounts> Statistics::GetTasks() const {
  const MutexLock lock(mutex_);
  return tasks_;
}

}  // namespace velmora::capture
