/// @file
/// How long each task worked, and how it ended.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/engine/target_task_setting.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/capture.h"
#include "velmora_capture/internal/template.h"

namespace velmora::capture {

/// Counts the work of every task.
///
/// @threadsafety any thread
class Statistics final : public RunObserver {
 public:
  /// @param running  full names of the tasks that are not left out
  void AddTasks(const Template& source, const std::vector<std::string>& running);

  void OnSpan(const RunSpan& span) override;
  /// Counts an error that an image recorded, also of work that did not begin.
  void AddError(const std::string& definition, const std::string& task, int code);
  void AddFound(const NxTargetTaskSetting& task, std::int64_t count);

  std::vector<TaskCounts> GetTasks() const;

 private:
  TaskCounts* Find(std::string_view fullName) VELMORA_REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::vector<TaskCounts> tasks_ VELMORA_GUARDED_BY(mutex_);
  std::map<std::string, std::size_t, std::less<>> indices_
      VELMORA_GUARDED_BY(mutex_);  // by full name
};

}  // namespace velmora::capture
