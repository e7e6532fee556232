/// @file
/// What modules show to observers while they work.
#pragma once

#include <cstdint>

#include "velmora/image/image_data.h"
#include "velmora/results/image_units.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora_kit/regions.h"
#include "velmora_kit/shared_faces.h"

namespace velmora::kit {

/// The bits of the units among the unit types.
inline constexpr auto kBinaryImageUnit =
    static_cast<intermediate_results::IntermediateResultUnitType>(std::uint64_t{1} << 32);
inline constexpr auto kCandidatesUnit =
    static_cast<intermediate_results::IntermediateResultUnitType>(std::uint64_t{1} << 33);

/// The dark and light pixels of an image, as a threshold made them.
class BinaryImageUnit final
    : public ImageUnitBase<BinaryImageUnit, intermediate_results::CBinaryImageUnit,
                           kBinaryImageUnit, basic_structures::PXF_Binary8> {
 public:
  using ImageUnitBase::ImageUnitBase;
};

/// The candidate regions of an image.
class CandidatesUnit final
    : public PredetectedRegionsUnitBase<CandidatesUnit, CandidateRegion, kCandidatesUnit> {
 public:
  using PredetectedRegionsUnitBase::PredetectedRegionsUnitBase;
};

}  // namespace velmora::kit
