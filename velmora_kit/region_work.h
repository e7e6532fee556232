/// @file
/// One piece of work of a recogniser.
#pragma once

#include <string>

#include "velmora/engine/work_object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/geometry/point.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/region/source_image_object.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora_kit/pixels.h"
#include "velmora_kit/regions.h"

namespace velmora {
class NxWorkOutput;
}

namespace velmora::kit {

using Corner = basic_structures::NxPoint_<int>;

/// An upright part of an image, in pixels.
struct Window {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

/// One piece of work: a region, to be worked on in one work mode. Valid for the length of a call of
/// `Recogniser::Recognise`.
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
  /// Adds a code, unless its middle lies in a code that another task found before, of which this
  /// task was told. Corners of no convex quadrilateral, which are common for a code read along one
  /// line, make it as large as the region that was worked on.
  /// @param text   UTF-8 wherever the code's bytes are text
  /// @param bytes  the code's own, before any interpretation as characters; empty for those of the
  ///               text
  /// @return whether it was added
  bool AddCode(const std::string& symbology, const std::string& text, const Corner (&corners)[4],
               const std::string& bytes = {});

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
  bool LiesInFoundCode(const basic_structures::CQuadrilateral& place) const;

  NxWorkOutput& output_;
  const Nx_WorkObjectBase& task_;
  GreyView image_;
};

}  // namespace velmora::kit
