// The unit that the spot module publishes: SectionResultUnitBase is the list of regions that later
// tasks read, CPredetectedRegionsUnit is the same list as observers see and change it.
#pragma once

#include <cstddef>

#include "spot_region.h"
#include "velmora/foundation/error_code.h"
#include "velmora/region/unit_base.h"
#include "velmora/results/detection_units.h"

namespace spots {

/// The module's bit among the unit types.
constexpr auto kSpotsUnit = static_cast<vi::IntermediateResultUnitType>(std::uint64_t{1} << 40);

/// All eleven operations of a unit of predetected regions.
class SpotsUnit final : public vi::CPredetectedRegionsUnit, public velmora::SectionResultUnitBase {
 public:
  SpotsUnit(velmora::NxSourceImageObject* source, velmora::NxRegionImageInfo* info)
      : SectionResultUnitBase(source, info) {}

  /// Units are copied deeply: an observer may change its copy.
  SpotsUnit(const SpotsUnit& other)
      : CPredetectedRegionsUnit(),
        SectionResultUnitBase(other.GetSourceImageObject().get(), other.GetSectionImageInfo()) {
    CopyIntermediateResultUnit(&other);
    SetOriginalImageTag(other.GetOriginalImageTag());
    CopyElements(other);
  }
  SpotsUnit& operator=(const SpotsUnit&) = delete;

  vi::IntermediateResultUnitType GetUnitType() const override { return kSpotsUnit; }
  vi::CIntermediateResultUnit* Clone() const override {
    return (new SpotsUnit(*this))->RetainCache();
  }
  int Replace(const vi::CIntermediateResultUnit* unit) override {
    if (unit == nullptr) return velmora::EC_NullPointer;
    const auto* other = dynamic_cast<const SpotsUnit*>(unit);
    if (other == nullptr) return velmora::EC_ResultTypeMismatchIrreplaceable;
    if (other != this) CopyElements(*other);
    return velmora::EC_Ok;
  }
  void Retain() const override { const_cast<SpotsUnit*>(this)->RetainCache(); }
  void Release() const override { const_cast<SpotsUnit*>(this)->ReleaseCache(); }

  int GetCount() const override { return static_cast<int>(GetElementsVec().size()); }
  const vi::CPredetectedRegionElement* GetPredetectedRegion(int index) const override {
    return HasIndex(index) ? &SpotAt(index) : nullptr;
  }
  int AddPredetectedRegion(const vi::CPredetectedRegionElement* region) override {
    if (region == nullptr) return velmora::EC_NullPointer;
    const auto* spot = dynamic_cast<const SpotRegion*>(region);
    if (spot == nullptr) return velmora::EC_ResultTypeMismatchIrreplaceable;
    AddElement(new SpotRegion(*spot));
    return velmora::EC_Ok;
  }
  int SetPredetectedRegion(int index, const vi::CPredetectedRegionElement* region) override {
    if (region == nullptr) return velmora::EC_NullPointer;
    if (!HasIndex(index)) return velmora::EC_IndexInvalid;
    const auto* spot = dynamic_cast<const SpotRegion*>(region);
    if (spot == nullptr) return velmora::EC_ResultTypeMismatchIrreplaceable;
    SetElement(index, new SpotRegion(*spot));
    return velmora::EC_Ok;
  }
  int RemovePredetectedRegion(int index) override { return RemoveElement(index); }
  void RemoveAllPredetectedRegions() override { ClearElements(); }

 private:
  bool HasIndex(int index) const { return index >= 0 && index < GetCount(); }

  // Only spots ever get into the list.
  const SpotRegion& SpotAt(int index) const {
    return static_cast<const SpotRegion&>(*GetElementsVec()[static_cast<std::size_t>(index)]);
  }

  void CopyElements(const SpotsUnit& other) {
    ClearElements();
    for (int i = 0; i < other.GetCount(); ++i) AddElement(new SpotRegion(other.SpotAt(i)));
  }
};

}  // namespace spots
