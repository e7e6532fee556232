/// @file
/// What every recognition module has in common.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "velmora/engine/work_object_base.h"
#include "velmora/foundation/char_array.h"
#include "velmora/geometry/point.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/region/source_image_object.h"
#include "velmora/results/intermediate_result_receiver.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora_kit/module_api.h"
#include "velmora_kit/pixels.h"
#include "velmora_kit/regions.h"
#include "velmora_kit/settings.h"

namespace velmora {
class NxTaskOutput;
class NxWorkOutput;
}  // namespace velmora

namespace velmora::modules {

using Corner = basic_structures::NxPoint_<int>;

/// An upright part of an image, in pixels.
struct Window {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

/// One piece of work: a region, to be worked on in one work mode. Valid for the length of a call of
/// `RegionTask::Recognise`.
class RegionWork {
 public:
  RegionWork(NxWorkOutput& output, const Nx_WorkObjectBase& task);

  /// The 8-bit grey image in whose coordinates the region is given.
  const GreyView& GetImage() const { return image_; }
  const NxRegionObject& GetRegion() const;
  const std::string& GetMode() const;

  /// The upright window around the region with @p margin pixels on each side, cut off at the
  /// borders of the image.
  Window GetWindow(int margin) const;
  /// The pixels of a window, borrowed.
  GreyView GetPixels(const Window& window) const;

  /// Asks, between steps that take long, whether the image is over its time budget or the run was
  /// cancelled.
  /// @param code  receives what `Recognise` is to return then
  [[nodiscard]] bool MustStop(int& code) const;

  /// Makes a region for other tasks to work on.
  /// @return empty if the corners make no convex quadrilateral
  NxRef<CandidateRegion> MakeCandidate(const Corner (&corners)[4], int score) const;
  /// Adds a region to what was found.
  void AddRegion(NxRef<NxRegionObject> region);
  /// Adds a code. Corners of no convex quadrilateral, which are common for a code read along one
  /// line, make it as large as the region that was worked on.
  void AddCode(const std::string& symbology, const std::string& text, const Corner (&corners)[4]);

  /// Whether anybody wants to see units of this type from this task.
  bool IsObserved(intermediate_results::IntermediateResultUnitType type) const;
  /// A new unit about the image that is worked on.
  template <typename Unit>
  NxRef<Unit> MakeUnit() const {
    NxRef<Unit> unit =
        new Unit(GetRegion().GetSourceImageObject().get(), GetRegion().GetRegionImageInfo().get());
    NxImageData* image = GetRegion().GetSourceImageObject()->GetImage().get();
    unit->CopySourceInfoFromImage(image);
    unit->SetOriginalImageTag(image->GetImageTag());
    return unit;
  }
  /// Shows a unit to those who want to see it. They may change it: go on with what they leave.
  void Publish(intermediate_results::CIntermediateResultUnit* unit) const;

 private:
  NxWorkOutput& output_;
  const Nx_WorkObjectBase& task_;
  GreyView image_;
};

/// A task that looks at one region at a time. A module derives from it and implements `Recognise`.
///
/// @threadsafety `Recognise` is called from several threads at once, unless the constructor of the
///               module calls `SetIsSingleThread()`
class RegionTask : public Nx_WorkObjectBase {
 public:
  /// Prepares the work, calls `Recognise` and reports to the observer.
  int Work(ExecutableWorkItem* item, NxSemaphore* semaphore) final;
  /// One work output for each work mode, each on a level of its own: a later mode is tried when the
  /// ones before have found nothing.
  int AppendWorkOutputs(NxTaskOutput* taskOutput, int priorityLevel) final;

  void SetObserver(WorkObserver* observer) { observer_ = observer; }

 protected:
  /// @param workModes  the module's own, in the order in which it would try them; at least one
  explicit RegionTask(const std::vector<std::string>& workModes) { SetWorkModes(workModes); }

  /// Looks at the region and adds what is found.
  /// @return 0 or an error code, which is recorded on the image; what was added is kept
  virtual int Recognise(RegionWork& work) = 0;

 private:
  int DoWork(NxWorkOutput& output);

  WorkObserver* observer_ = nullptr;
};

/// The body of a module's `VelmoraCreateWorkObject`: makes a @p Task from its settings.
template <typename Task>
Nx_WorkObjectBase* CreateWorkObject(const char* text, WorkObserver* observer, char** error) {
  try {
    ModuleSettings settings(text);
    auto task = std::make_unique<Task>(settings);
    settings.CheckAllRead();
    task->SetObserver(observer);
    return task.release();
  } catch (const SettingsError& wrong) {
    Nx_CopyCharArray(wrong.what(), error);
    return nullptr;
  }
}

}  // namespace velmora::modules
