/// @file
/// A piece of work that reports its end.
#pragma once

#include <atomic>
#include <cstdint>

#include "velmora/engine/work_item.h"
#include "velmora/engine/work_output.h"
#include "velmora_capture/internal/capture_job.h"
#include "velmora_capture/internal/turn.h"

namespace velmora::capture {

/// One piece of work. Keeps its job and its output alive, and reports to the job exactly once, on
/// whatever thread: when it has been processed and `FinishWork` has met it finished. A piece whose
/// work returns without having finished it is finished by another thread; until then its image is
/// charged for the time. If that thread lets go of the item instead, the piece counts as failed.
class CaptureWorkItem final : public ExecutableWorkItem {
 public:
  /// @param turn  of a single-thread work object; otherwise null
  CaptureWorkItem(CaptureJob& job, TaskRun& task, const NxRef<NxWorkOutput>& output,
                  Nx_WorkObjectBase& work, Turn* turn, std::uint64_t priority);
  ~CaptureWorkItem() override;

  /// Puts the item on the pool, or behind those whose turn comes first.
  /// @throws std::bad_alloc; the piece is not reported then
  void Queue();

  void Process(ThreadPoolBase* pool) override;
  void FinishWork() override;

  TaskRun& GetTask() const { return task_; }
  NxWorkOutput& GetPiece() const { return *output_; }
  /// What was published on the thread that did the work. For `EndPiece`.
  Units& GetUnits() { return units_; }

  /// The item whose work the calling thread is doing; null if it does none.
  static CaptureWorkItem* Current();

 private:
  friend class ItemList;

  void Work(ThreadPoolBase* pool);
  void End(std::uint8_t what) noexcept;
  void ChargeOn() noexcept;
  void StopCharging() noexcept;
  void PassTurn() noexcept;

  const NxRef<CaptureJob> job_;
  const NxRef<NxWorkOutput> output_;
  TaskRun& task_;  // of the job
  Turn* turn_;     // null while the item has none to pass on
  const char* const mode_;
  Units units_;
  // Release and acquire: who reports sees what the other thread did.
  std::atomic<std::uint8_t> ended_{0};
  CaptureWorkItem* nextInList_ = nullptr;
};

}  // namespace velmora::capture
