// The region class of the spot module: NxRegionObject is what the engine works with,
// CPredetectedRegionElement is what observers see; this class is both.
#pragma once

#include <string>

#include "velmora/geometry/quadrilateral.h"
#include "velmora/region/region_object.h"
#include "velmora/results/region_object_element.h"

namespace spots {

namespace vb = velmora::basic_structures;
namespace vi = velmora::intermediate_results;

/// The module's number among the kinds of region.
constexpr auto kSpotRegion = static_cast<vi::RegionObjectElementType>(100);

/// All eleven operations of a predetected region. NxRegionObject holds what most of them tell.
class SpotRegion final : public vi::CPredetectedRegionElement, public velmora::NxRegionObject {
 public:
  SpotRegion(velmora::NxSourceImageObject* source, velmora::NxRef<velmora::NxRegionImageInfo>& info,
             const velmora::Nx_Quad& place)
      : NxRegionObject(source, kSpotRegion, info, &place) {
    SetCRegionObjectElementPtr(this);  // without it observers would not see the region
  }

  /// A copy starts without a public element: it has to get its own.
  SpotRegion(const SpotRegion& other)
      : CPredetectedRegionElement(other), NxRegionObject(other), modeName_(other.modeName_) {
    SetCRegionObjectElementPtr(this);
  }
  SpotRegion& operator=(const SpotRegion&) = delete;

  vi::RegionObjectElementType GetElementType() const override { return GetRegionType(); }
  vb::CQuadrilateral GetLocation() const override {
    vb::CQuadrilateral location;
    ConvertToQuadrilateral(location);
    return location;
  }
  int SetLocation(const vb::CQuadrilateral& location) override {
    return SetLocationWithQuadrilateral(location);
  }
  const vi::CRegionObjectElement* GetReferencedElement() const override {
    return ConvertReferenceRegionToElement();
  }
  vi::CRegionObjectElement* Clone() const override {
    return (new SpotRegion(*this))->RetainCache();
  }
  void Retain() const override { const_cast<SpotRegion*>(this)->RetainCache(); }
  void Release() const override { const_cast<SpotRegion*>(this)->ReleaseCache(); }

  const char* GetModeName() const override { return modeName_.c_str(); }
  void SetModeName(const char* name) override { modeName_ = name == nullptr ? "" : name; }
  int GetConfidence() const override { return GetRegionScore(); }
  void SetConfidence(int percent) override { SetRegionScore(percent); }

 private:
  std::string modeName_;
};

}  // namespace spots
