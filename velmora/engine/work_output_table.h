/// @file
/// The pending work of a task, by priority.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxWorkOutput;

namespace internal {
struct GuardedWorkSlots;
}

/// Hands out work outputs: the lowest level first, within a level the lowest work-mode list first.
///
/// Within a list of n slots the order alternates between both ends - 0, n-1, 1, n-2, ... - so that
/// two threads on one region start far apart; a sequential table goes 0, 1, 2, ... A slot whose
/// work was taken stays, empty, and still counts in n, which is the length at the time of the
/// search. So does what is appended later:
///
///     slots a b c d e      take -> a, take -> e
///     slots - b c d - f    take -> f: slot 5 of 6 comes second, before b in slot 1
///
/// Appending, taking and asking cost the same however many slots there are and were.
///
/// @threadsafety any thread; one mutex, held for each operation
class VELMORA_EXPORT NxWorkOutputTable : public NxObjectBase {
 public:
  NxWorkOutputTable();
  NxWorkOutputTable(const NxWorkOutputTable&) = delete;
  NxWorkOutputTable& operator=(const NxWorkOutputTable&) = delete;
  ~NxWorkOutputTable() override;

  /// Sets how many work-mode lists each new level gets; negative counts as 0. Call it before the
  /// first append. Levels that exist keep their number.
  void SetAllWorkModesCount(int count);

  /// Appends @p work (shared) to list @p mode of @p level, after creating the levels up to it.
  /// Outside the table's range nothing is appended. Empty work makes an empty slot.
  void AppendNextWorkOutput(int level, int mode, NxRef<NxWorkOutput> work);

  /// Takes the next work output out of its slot.
  /// @param workMode takes only work of exactly this mode; empty takes any
  /// @return empty if there is none
  NxRef<NxWorkOutput> GetNextTopPriorityWorkOutput(const std::string& workMode);

  /// True if any work is left, whatever its mode.
  bool HasNextWorkOutput() const;

  /// The order of the searches that follow. Each `ResolvableWorkItem` sets it before its search.
  /// Relaxed: a hint for the order, it publishes nothing.
  void SetSequential(bool sequential) {
    // The threads that take from one table all set it: only a change is worth their cache line.
    if (IsSequential() != sequential) sequential_.store(sequential, std::memory_order_relaxed);
  }
  bool IsSequential() const { return sequential_.load(std::memory_order_relaxed); }

  /// Tells the processor that this thread is going to take soon: see `PrefetchToWrite`.
  void PrefetchToTake() const;

  /// How many slots all searches have looked at until now, for benchmarks and diagnostics.
  std::int64_t GetVisitedSlotCount() const;

 private:
  std::atomic<bool> sequential_{false};
  const std::unique_ptr<internal::GuardedWorkSlots> guarded_;
};

}  // namespace velmora
