// The unit that the spot module publishes: SectionResultUnitBase is the list of regions that later
// tasks read, CPredetectedRegionsUnit is the same list as observers see and change it.
#pragma once

#include <cstdint>

#include "spot_region.h"
#include "velmora_kit/shared_faces.h"

namespace spots {

/// The module's bit among the unit types.
constexpr auto kSpotsUnit = static_cast<vi::IntermediateResultUnitType>(std::uint64_t{1} << 40);

/// The base holds the list, lets observers change it, clones and counts.
class SpotsUnit final
    : public velmora::kit::PredetectedRegionsUnitBase<SpotsUnit, SpotRegion, kSpotsUnit> {
 public:
  using PredetectedRegionsUnitBase::PredetectedRegionsUnitBase;
};

}  // namespace spots
