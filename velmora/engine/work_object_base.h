/// @file
/// The work that a task does: a chain of work objects.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

namespace intermediate_results {
class CAbstractIntermediateResultReceiver;
}
class ExecutableWorkItem;
class NxDataManagerPool;
class NxRegionObject;
struct NxSectionResultsCache;
class NxSemaphore;
class NxTaskOutput;
class WorkModesStateObject;

/// The observers of intermediate results, none of them owned.
using IntermediateResultReceiverVector =
    std::vector<intermediate_results::CAbstractIntermediateResultReceiver*>;

/// One step of a task, implemented by the module that can do it.
///
/// The work objects of a task form a chain, built from its head while the template is loaded: the
/// head has index 0, `SetNextWorkObject` numbers the next one. The settings are read-only once
/// work is queued. The receivers and the manager pool are not owned and outlive the object.
///
/// @threadsafety setters on the thread that loads the template; `Work` from several pool threads at
///               once, unless the object is single-threaded
class VELMORA_EXPORT Nx_WorkObjectBase : public NxObjectBase {
 public:
  Nx_WorkObjectBase();
  Nx_WorkObjectBase(const Nx_WorkObjectBase&) = delete;
  Nx_WorkObjectBase& operator=(const Nx_WorkObjectBase&) = delete;
  ~Nx_WorkObjectBase() override;

  /// Does the work of @p item and adds what it finds to the item's output. No lock is held.
  ///
  /// Whoever completes the work calls `item->SetWorkFinished()`, as the last thing: this operation
  /// before it returns, or another thread later, which keeps a reference on the item until then and
  /// calls `item->FinishWork()` itself.
  ///
  /// @param semaphore the item's, on which its caller waits; null if nobody does
  /// @return 0, or the error code to record on the source image
  virtual int Work(ExecutableWorkItem* item, NxSemaphore* semaphore) = 0;

  /// Splits the work on @p taskOutput's region into work outputs and appends them to its table.
  /// This operation also files each with `NxTaskOutput::AddWorkOutput`, under its work mode: the
  /// library never does. It is called without any lock of the engine.
  /// @param priorityLevel level of the table to append to, 0 the most urgent
  /// @return how many were appended
  virtual int AppendWorkOutputs(NxTaskOutput* taskOutput, int priorityLevel) = 0;

  /// No lock is held.
  /// @return how many threads may work on one task at once; 0, as here, for any number
  virtual int GetMaxThreadNumInOneTask() const;

  /// Called with the results of a task once all its work has ended. No lock is held. Does nothing
  /// here.
  virtual void DealTaskResults(NxTaskOutput* taskOutput, NxSemaphore* semaphore);

  /// Gives @p region a new state for each work mode of this object; ask
  /// `AlreadyInitWorkModesState` first where one may exist.
  /// @param cache not used here
  /// @return the region's state, borrowed
  virtual WorkModesStateObject* CheckAndInitWorkModes(NxRegionObject* region,
                                                      NxSectionResultsCache* cache);

  void SetTaskName(const std::string& name) { taskName_ = name; }
  const std::string& GetTaskName() const { return taskName_; }
  const char* GetTaskNamePtr() const { return taskName_.c_str(); }
  void SetTargetDefName(const std::string& name) { targetDefName_ = name; }
  const std::string& GetTargetDefName() const { return targetDefName_; }
  const char* GetTargetDefNamePtr() const { return targetDefName_.c_str(); }

  void SetIntermediateResultReceivers(IntermediateResultReceiverVector* receivers) {
    receivers_ = receivers;
  }
  IntermediateResultReceiverVector* GetIntermediateResultReceivers() const { return receivers_; }
  void SetManagerPool(NxDataManagerPool* pool) { managerPool_ = pool; }
  NxDataManagerPool* GetManagerPool() const { return managerPool_; }

  /// From now on one thread at a time may run `Work`; there is no way back.
  void SetIsSingleThread() { singleThread_ = true; }
  bool IsSingleThread() const { return singleThread_; }

  void SetWorkModes(const std::vector<std::string>& workModes);
  const std::vector<std::string>& GetWorkModes() const { return workModes_; }

  /// Makes @p next, which must not be empty, the next work object of the task and gives it the
  /// index behind this one's.
  void SetNextWorkObject(NxRef<Nx_WorkObjectBase> next);
  /// @return the next work object, borrowed; null at the end of the chain
  Nx_WorkObjectBase* GetNextWorkObject() const { return next_.get(); }
  int GetIndexInTask() const { return indexInTask_; }

 protected:
  /// For the derived object's use; nothing here takes it.
  std::mutex mutex_;  // plain: the derived object locks it

 private:
  IntermediateResultReceiverVector* receivers_ = nullptr;
  NxDataManagerPool* managerPool_ = nullptr;
  bool singleThread_ = false;
  std::string taskName_;
  std::string targetDefName_;
  NxRef<Nx_WorkObjectBase> next_;
  std::int32_t indexInTask_ = 0;
  std::vector<std::string> workModes_;
};

}  // namespace velmora
