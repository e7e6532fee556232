/// @file
/// One image on its way through the graph.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "velmora/engine/roi_def_output.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/work_output.h"
#include "velmora/foundation/error_code.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/platform/mutex.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"
#include "velmora/region/unit_base.h"
#include "velmora_capture/internal/item_list.h"
#include "velmora_capture/internal/thread_pool.h"

namespace velmora {
class Nx_WorkObjectBase;
}  // namespace velmora

namespace velmora::capture {

class CaptureDefinition;
class CaptureGraph;
class CaptureJob;
class CaptureWorkItem;
struct RegionRun;

/// The shared units of intermediate results.
using Units = std::vector<NxRef<SectionResultUnitBase>>;

/// How far a task has come on one region.
struct TaskRun {
  RegionRun* region = nullptr;
  std::size_t index = 0;                         ///< of the task in its definition
  const NxTargetTaskSetting* setting = nullptr;  ///< of the definition
  NxRef<NxTaskOutput> output;
  std::size_t waitsFor = 0;           ///< tasks that have to finish first
  Nx_WorkObjectBase* work = nullptr;  ///< of the chain, whose turn it is; null before the start
  int mostInFlight = 0;               ///< pieces at once; 0 for any number
  int inFlight = 0;                   ///< pieces that were queued and have not ended
  bool hasMode = false;               ///< whether a piece of this work object was taken
  std::string mode;                   ///< the work mode of the pieces in flight
  NxRef<NxWorkOutput> heldBack;       ///< the first piece of the next mode
  int foundBefore = 0;                ///< regions that earlier work objects of the chain found
  bool isFinished = false;
  Units units;                   ///< that the task published
  std::size_t sectionBegin = 0;  ///< the first unit of this work object

  /// @name Guarded by the lock of the job
  /// @{
  int lostPieces = 0;
  TaskRun* nextLost = nullptr;
  /// @}
};

/// How far a definition has come on one region.
struct RegionRun final : NxROIDefOutput {
  using NxROIDefOutput::NxROIDefOutput;

  CaptureJob* job = nullptr;
  CaptureDefinition* definition = nullptr;
  std::vector<TaskRun> tasks;
  std::size_t unfinished = 0;
};

/// How far a definition has come on one image.
struct DefinitionRun {
  std::size_t parentsLeft = 0;            ///< that have not finished yet
  std::vector<NxRef<RegionRun>> regions;  ///< that are worked on
  std::size_t unfinished = 0;             ///< regions whose tasks are not all done
  NxTaskOutput::Regions found;            ///< results of the definitions that it descends from
};

/// Hears that a job is done.
class JobOwner {
 public:
  /// Called once, by the thread that ended the job's last piece of work, with no lock held. The job
  /// touches nothing of the owner's afterwards.
  virtual void OnJobDone(CaptureJob& job) noexcept = 0;

 protected:
  ~JobOwner() = default;
};

/// All that is known about one image while its work goes on. The definitions themselves are shared
/// by all images and keep nothing.
///
/// A job is a strand: a thread that ends a piece of work posts that to the job, and the first to
/// come handles what is posted, one piece after the other. So what belongs to the job needs no
/// lock, and none is held while code of modules and of the application runs.
///
/// @threadsafety Post, PostLost, AddError and the atomic members from any thread; the rest belongs
///               to the strand until the job is done, then to its owner
class CaptureJob final : public NxObjectBase {
 public:
  /// @param wholeImage  with a source image object
  /// @param owner       told of the end; outlives the work
  CaptureJob(CaptureGraph& graph, NxRef<NxRegionObject> wholeImage, ThreadPoolBase* pool,
             JobOwner& owner);
  ~CaptureJob() override;
  CaptureJob(const CaptureJob&) = delete;
  CaptureJob& operator=(const CaptureJob&) = delete;

  /// Begins the work. The job may be done when this returns.
  void Start();

  /// A piece of work has ended. Takes a reference on @p item and allocates nothing.
  void Post(CaptureWorkItem& item) noexcept;
  /// A piece will never end: whoever had its item let go of it.
  void PostLost(TaskRun& task) noexcept;

  /// Records an error of a task; if even that has no memory left, that it has none.
  void AddError(ErrorCode code, const TaskRun& task) noexcept;
  void AddError(ErrorCode code, const char* definition, const char* task) noexcept;
  /// The same for the exception that is being handled.
  void AddCurrentException(const TaskRun& task) noexcept;
  void AddCurrentException(const char* definition, const char* task) noexcept;

  /// Runs code that is not this library's; what it throws becomes an error of the image.
  template <typename Call>
  void CallOut(const char* definition, const char* task, const Call& call) noexcept {
    CaptureThreadPool::LetOthersWork();
    try {
      call();
    } catch (...) {
      AddCurrentException(definition, task);
    }
  }

  /// Whether the work has to stop: over budget, or cancelled.
  /// @param code  receives what to record
  bool IsOver(int& code) const { return source->IsCheckPointNeedExit(&code, CheckPointLevel{}); }

  /// The end of the last definition.
  void SetDone() { isDone_ = true; }

  CaptureGraph& graph;
  const NxRef<NxSourceImageObject> source;
  const NxRef<NxRegionObject> wholeImage;
  ThreadPoolBase* const pool;
  NxSemaphore semaphore{0};  ///< of the items, which it outlives
  std::vector<DefinitionRun> definitions;
  std::atomic<std::int64_t> workNanoseconds{0};  ///< by the clock, all pieces added up
  std::atomic<bool> ranOutOfMemory{false};       ///< so much that no error could be recorded
  std::atomic<bool> isCancelled{false};

  /// @name The engine's, guarded by its lock
  /// @{
  CaptureJob* nextInFlight = nullptr;
  CaptureJob* previousInFlight = nullptr;
  /// @}

  /// @name The engine's and the owner's, set before the start or after the end
  /// @{
  std::int64_t number = 0;
  std::int64_t cancellations = 0;  ///< of the Capture, before the image was offered
  std::int64_t sequence = 0;       ///< among the images of a run
  std::int64_t readNanoseconds = 0;
  std::int64_t convertNanoseconds = 0;
  std::chrono::steady_clock::time_point offered;
  std::chrono::steady_clock::time_point done;
  CaptureJob* nextDone = nullptr;
  /// @}

 private:
  void Drain() noexcept;
  bool TakeEnded(NxRef<CaptureWorkItem>& item, TaskRun*& lost) noexcept;

  JobOwner& owner_;
  bool isDone_ = false;
  Mutex mutex_;  // nothing is called while it is held
  ItemList ended_ VELMORA_GUARDED_BY(mutex_);
  TaskRun* lost_ VELMORA_GUARDED_BY(mutex_) = nullptr;  // the first of those that lost a piece
  bool isDraining_ VELMORA_GUARDED_BY(mutex_) = true;   // until Start has begun the work
};

}  // namespace velmora::capture
