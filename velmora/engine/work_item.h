/// @file
/// What the threads of a pool run.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxOutputBase;
class NxSemaphore;
class NxWorkOutputTable;
class Nx_WorkObjectBase;
class ThreadPoolBase;

/// A piece of work with a priority, and the semaphore of whoever waits for it.
///
/// A pool logs an item with `LogPush` when it queues it and with `LogPop` when it takes it off,
/// calls `Process` and then `FinishWork`, both on the same thread, and keeps a reference on the
/// item throughout. The trace lines are level 9 text and cost a comparison while the log is off.
///
/// The semaphore is not owned and may be null; it outlives the item's `FinishWork`.
class VELMORA_EXPORT RtrThreadWorkItemBase : public NxObjectBase {
 public:
  RtrThreadWorkItemBase(NxSemaphore* semaphore, std::uint64_t priority);
  ~RtrThreadWorkItemBase() override;
  RtrThreadWorkItemBase(const RtrThreadWorkItemBase&) = default;
  RtrThreadWorkItemBase& operator=(const RtrThreadWorkItemBase&) = default;

  /// Does the work. @p pool is the one whose thread does it.
  virtual void Process(ThreadPoolBase* pool) = 0;
  /// Completes the output and tells the waiting caller, if the work is finished.
  virtual void FinishWork() = 0;

  void LogPush() const;
  void LogPop() const;

  std::uint64_t GetPriority() const { return priority_; }
  NxSemaphore* GetSemaphore() const { return semaphore_; }
  /// One line for the trace log; empty unless a derived class set it.
  const std::string& GetDescription() const { return description_; }

 protected:
  void SetDescription(std::string description) { description_ = std::move(description); }

 private:
  std::uint64_t priority_;
  NxSemaphore* semaphore_;
  std::string description_;
};

/// One work object applied to one output.
///
/// Neither is owned: both outlive the item's `Process` and `FinishWork`. That is longer than until
/// the semaphore is produced if another thread than the pool's finishes the work: the pool's may
/// still be on its way out of `Process`.
///
/// @threadsafety `FinishWork` and the finished state from any thread: work may be finished on
///               another one than the pool's
class VELMORA_EXPORT ExecutableWorkItem : public RtrThreadWorkItemBase {
 public:
  /// The description is built only while the log takes level 9 text and there is memory for it.
  ExecutableWorkItem(NxOutputBase* output, Nx_WorkObjectBase* workObject, NxSemaphore* semaphore,
                     std::uint64_t priority);
  ExecutableWorkItem(const ExecutableWorkItem&) = delete;
  ExecutableWorkItem& operator=(const ExecutableWorkItem&) = delete;
  ~ExecutableWorkItem() override;

  /// Runs the work object while the item is registered with the active work units of the object's
  /// manager pool. An error code that the work returns is recorded on the output's source image;
  /// what it throws passes through, after the item was taken out again. A manager pool or source
  /// image that is missing skips what needs it; without a work object the work is finished at once.
  void Process(ThreadPoolBase* pool) override;

  /// Gives an output without a status an empty result and `TOS_WORK_ENDED`, then produces the
  /// semaphore once, whoever calls how often. Does nothing while the work is not finished or if the
  /// output has a status. After that the item no longer touches its output.
  void FinishWork() override;

  bool IsWorkFinished() const;

  /// The last thing that work does: from now on another thread's `FinishWork` may end it, and who
  /// waited for that may let go of the output's task. A thread other than the one in `Process`
  /// calls `FinishWork` itself afterwards: the pool's call may have come too early.
  void SetWorkFinished();

  NxOutputBase* GetOutput() const { return output_; }
  Nx_WorkObjectBase* GetWorkObject() const { return workObject_; }

 private:
  Nx_WorkObjectBase* workObject_;
  NxOutputBase* output_;
  // Release and acquire: who sees it set sees what the work did. A mutex would cost four
  // interlocked operations per item to say the same.
  std::atomic<bool> finished_{false};
};

/// Decides only when it runs what it does: the next work output of a table.
///
/// The executable item that it makes for that keeps the work output alive.
class VELMORA_EXPORT ResolvableWorkItem : public RtrThreadWorkItemBase {
 public:
  ResolvableWorkItem(NxRef<NxWorkOutputTable> table, NxSemaphore* semaphore,
                     std::uint64_t priority);
  ~ResolvableWorkItem() override;
  ResolvableWorkItem(const ResolvableWorkItem&) = delete;
  ResolvableWorkItem& operator=(const ResolvableWorkItem&) = delete;

  /// Takes the table's next work output, makes it the current item and processes it. With no work
  /// left, the current item stays as it was; so does the table if there is no memory for an item.
  void Process(ThreadPoolBase* pool) override;

  /// Finishes the current item, if there is one.
  void FinishWork() override;

  /// Whether the table is to hand out its slots in plain order; false at construction.
  bool IsSequential() const { return sequential_; }
  void SetSequential(bool sequential) { sequential_ = sequential; }

  /// The item that the last `Process` made; empty before.
  const NxRef<ExecutableWorkItem>& GetCurrentItem() const { return currentItem_; }

 private:
  bool sequential_ = false;
  NxRef<NxWorkOutputTable> table_;
  NxRef<ExecutableWorkItem> currentItem_;
};

}  // namespace velmora
