/// @file
/// What the outputs of tasks and of work objects share.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "velmora/engine/target_task_setting.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

class NxRegionObject;
class NxWorkOutputAtom;
class ThreadPoolBase;

/// How far an output has come.
enum TaskOutputStatus : std::int32_t {
  TOS_NO_RESULT = 0,   ///< no result yet
  TOS_WORK_ENDED = 1,  ///< its work item has ended; nothing is marked as finished by that
  TOS_FINISHED = 2,    ///< finished; setting it calls `MarkAsFinish`
};

/// One atom of a result: a region that was found, a unit of work to be done, or nothing at all
/// (what work that found nothing leaves behind). Copies share what they hold.
///
/// @threadsafety immutable, but for assignment
class VELMORA_EXPORT NxTaskOutputAtomResult : public NxObjectBase {
 public:
  NxTaskOutputAtomResult();
  explicit NxTaskOutputAtomResult(NxRef<NxRegionObject> region);
  explicit NxTaskOutputAtomResult(NxRef<NxWorkOutputAtom> workAtom);
  NxTaskOutputAtomResult(const NxTaskOutputAtomResult& other);
  NxTaskOutputAtomResult& operator=(const NxTaskOutputAtomResult& other);
  ~NxTaskOutputAtomResult() override;

  const NxRef<NxRegionObject>& GetRegion() const { return region_; }
  const NxRef<NxWorkOutputAtom>& GetWorkAtom() const { return workAtom_; }

 private:
  NxRef<NxRegionObject> region_;
  NxRef<NxWorkOutputAtom> workAtom_;
};

/// The record in which work collects its results on one region.
///
/// The region and the reference region are shared and never change; the region's source image must
/// not be replaced while work on the output is in flight.
///
/// @threadsafety results, status and thread pool from any thread; the names, regions and hash id
///               never change
class VELMORA_EXPORT NxOutputBase : public NxObjectBase {
 public:
  /// @param region    the region worked on; may be empty
  /// @param reference the region in which it was found; must not be empty. Its target ROI
  ///                  definition names the output, with its hash id
  /// @param name      the task's name
  NxOutputBase(NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
               const std::string& name, TaskType type);
  NxOutputBase(const NxOutputBase&) = delete;
  NxOutputBase& operator=(const NxOutputBase&) = delete;
  ~NxOutputBase() override;

  /// Called, without a lock, each time the status is set to `TOS_FINISHED`. Does nothing here.
  virtual void MarkAsFinish();

  /// Appends @p result (empty is allowed) and makes this output's region the reference region of
  /// the result's, which no other thread reads or adds meanwhile. The reference stays as it is if
  /// this output's region is the result's or was found in it, directly or through others: that
  /// would close a ring.
  void AddResult(NxRef<NxTaskOutputAtomResult> result);
  int GetResultCount() const;
  /// @return result @p index, which must be below the count
  NxRef<NxTaskOutputAtomResult> GetResult(int index) const;
  /// @return true if @p region is the region of a result; false for null
  bool AlreadyExistObject(NxRegionObject* region) const;

  /// Read without a lock. Who sees a status sees the results that were added before it was set.
  TaskOutputStatus GetResultStatus() const { return status_.load(std::memory_order_acquire); }
  /// Sets the status; `TOS_FINISHED` calls `MarkAsFinish` every time it is set.
  void SetResultStatus(TaskOutputStatus status);

  /// Ends the work on an output that has no status yet: adds an empty result and sets
  /// `TOS_WORK_ENDED`, as one step.
  /// @return true if this call did so, which one call at most does
  bool EndWork();

  const NxRef<NxRegionObject>& GetRegion() const { return region_; }
  const NxRef<NxRegionObject>& GetReferenceRegion() const {
    return referenceRegion_ ? referenceRegion_ : region_;
  }
  TaskType GetTaskType() const { return taskType_; }
  const std::string& GetTargetROIName() const { return targetRoiName_; }
  const std::string& GetTaskName() const { return taskName_; }
  /// "{" target ROI name "}[" task name "]".
  const std::string& GetTaskFullName() const { return taskFullName_; }
  /// The hash of the task full name followed by the reference region's hash id.
  const std::string& GetHashId() const { return hashId_; }

  /// The pool of the thread that last took up work on this output; null before. Not owned.
  ThreadPoolBase* GetThreadPool() const { return threadPool_.load(std::memory_order_relaxed); }
  void SetThreadPool(ThreadPoolBase* pool) { threadPool_.store(pool, std::memory_order_relaxed); }

 private:
  void PushResult(NxRef<NxTaskOutputAtomResult>&& result) VELMORA_REQUIRES(resultsMutex_);
  void PopResult() VELMORA_REQUIRES(resultsMutex_);

  const NxRef<NxRegionObject> region_;
  // Empty if it is the region itself: one reference fewer that the threads of a task count.
  const NxRef<NxRegionObject> referenceRegion_;
  const TaskType taskType_;
  std::atomic<TaskOutputStatus> status_{TOS_NO_RESULT};
  mutable Mutex resultsMutex_;
  // The first result needs no memory of its own: few outputs have a second one. It is declared
  // after the others so that it is released before them.
  std::int32_t resultCount_ VELMORA_GUARDED_BY(resultsMutex_) = 0;
  std::vector<NxRef<NxTaskOutputAtomResult>> otherResults_ VELMORA_GUARDED_BY(resultsMutex_);
  NxRef<NxTaskOutputAtomResult> firstResult_ VELMORA_GUARDED_BY(resultsMutex_);
  const std::string targetRoiName_;
  const std::string taskName_;
  const std::string taskFullName_;
  const std::string hashId_;
  // Relaxed: the pointer is only handed back to work that runs on that pool.
  std::atomic<ThreadPoolBase*> threadPool_{nullptr};
};

}  // namespace velmora
