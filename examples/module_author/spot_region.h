// The region class of the spot module: NxRegionObject is what the engine works with,
// CPredetectedRegionElement is what observers see; this class is both.
#pragma once

#include "velmora/results/region_object_element.h"
#include "velmora_kit/shared_faces.h"

namespace spots {

namespace vi = velmora::intermediate_results;

/// The module's number among the kinds of region.
constexpr auto kSpotRegion = static_cast<vi::RegionObjectElementType>(100);

/// What a region is asked for is in NxRegionObject; the base answers from there, clones and counts.
class SpotRegion final : public velmora::kit::PredetectedRegionBase<SpotRegion> {
 public:
  SpotRegion(velmora::NxSourceImageObject* source,
             const velmora::NxRef<velmora::NxRegionImageInfo>& info, const velmora::Nx_Quad& place)
      : PredetectedRegionBase(source, kSpotRegion, info, &place) {}
};

}  // namespace spots
