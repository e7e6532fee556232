/// @file
/// How long each task worked, and how it ended.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "velmora_capture/internal/graph_writer.h"

namespace velmora {
class NxOutputBase;
class Nx_WorkObjectBase;
}  // namespace velmora

namespace velmora::capture {

/// Counts the work of every task and draws it into the lane of its thread.
///
/// @threadsafety tasks are added before work starts; then any thread
class TaskStatistics {
 public:
  /// @param fullName  "{definition}[task]"
  void AddTask(const Nx_WorkObjectBase* task, const std::string& fullName);

  /// The calling thread begins a piece of work.
  static void WorkBegins();
  /// The calling thread has ended the piece of work that it began last.
  void WorkEnded(const Nx_WorkObjectBase& task, const NxOutputBase& output);
  /// Counts an error that an image recorded, also of work that did not begin.
  void AddError(const Nx_WorkObjectBase& task, int code);
  void AddFound(const Nx_WorkObjectBase& task, int count);

  /// Fills in the numbers of @p summary.
  void Describe(const Nx_WorkObjectBase& task, TaskSummary& summary) const;

 private:
  // Relaxed throughout: the counters order nothing, and are read once the threads have ended.
  struct Counters {
    std::string fullName;
    std::atomic<std::int64_t> nanoseconds{0};
    std::atomic<std::int64_t> calls{0};
    std::atomic<std::int64_t> found{0};
    std::atomic<std::int64_t> failures{0};
    std::atomic<std::int64_t> timeouts{0};
  };
  std::map<const Nx_WorkObjectBase*, std::unique_ptr<Counters>> tasks_;
};

}  // namespace velmora::capture
