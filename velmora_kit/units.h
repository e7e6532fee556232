/// @file
/// What modules show to observers while they work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "velmora/foundation/error_code.h"
#include "velmora/image/image_data.h"
#include "velmora/region/unit_base.h"
#include "velmora/results/detection_units.h"
#include "velmora/results/image_units.h"
#include "velmora_kit/regions.h"

namespace velmora::kit {

/// The bits of the units among the unit types.
inline constexpr auto kBinaryImageUnit =
    static_cast<intermediate_results::IntermediateResultUnitType>(std::uint64_t{1} << 32);
inline constexpr auto kCandidatesUnit =
    static_cast<intermediate_results::IntermediateResultUnitType>(std::uint64_t{1} << 33);

/// The dark and light pixels of an image, as a threshold made them.
class BinaryImageUnit final : public intermediate_results::CBinaryImageUnit,
                              public SectionResultUnitBase {
 public:
  using SectionResultUnitBase::SectionResultUnitBase;
  BinaryImageUnit(const BinaryImageUnit& other);
  BinaryImageUnit& operator=(const BinaryImageUnit&) = delete;

  intermediate_results::IntermediateResultUnitType GetUnitType() const override {
    return kBinaryImageUnit;
  }
  [[nodiscard]] intermediate_results::CIntermediateResultUnit* Clone() const override {
    return (new BinaryImageUnit(*this))->RetainCache();
  }
  int Replace(const intermediate_results::CIntermediateResultUnit* unit) override;
  void Retain() const override { const_cast<BinaryImageUnit*>(this)->RetainCache(); }
  void Release() const override { const_cast<BinaryImageUnit*>(this)->ReleaseCache(); }

  const basic_structures::CImageData* GetImageData() const override { return image_.get(); }
  int SetImageData(const basic_structures::CImageData* image) override;

 private:
  std::unique_ptr<basic_structures::CImageData> image_;
};

/// The candidate regions of an image.
class CandidatesUnit final : public intermediate_results::CPredetectedRegionsUnit,
                             public SectionResultUnitBase {
 public:
  using SectionResultUnitBase::SectionResultUnitBase;
  CandidatesUnit(const CandidatesUnit& other);
  CandidatesUnit& operator=(const CandidatesUnit&) = delete;

  intermediate_results::IntermediateResultUnitType GetUnitType() const override {
    return kCandidatesUnit;
  }
  [[nodiscard]] intermediate_results::CIntermediateResultUnit* Clone() const override {
    return (new CandidatesUnit(*this))->RetainCache();
  }
  int Replace(const intermediate_results::CIntermediateResultUnit* unit) override;
  void Retain() const override { const_cast<CandidatesUnit*>(this)->RetainCache(); }
  void Release() const override { const_cast<CandidatesUnit*>(this)->ReleaseCache(); }

  int GetCount() const override { return static_cast<int>(GetElementsVec().size()); }
  const CandidateRegion* GetPredetectedRegion(int index) const override;
  int AddPredetectedRegion(const intermediate_results::CPredetectedRegionElement* region) override;
  int SetPredetectedRegion(int index,
                           const intermediate_results::CPredetectedRegionElement* region) override;
  int RemovePredetectedRegion(int index) override { return RemoveElement(index); }
  void RemoveAllPredetectedRegions() override { ClearElements(); }

 private:
  bool HasIndex(int index) const { return index >= 0 && index < GetCount(); }
  void CopyElements(const CandidatesUnit& other);
};

}  // namespace velmora::kit
