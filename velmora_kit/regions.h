/// @file
/// What modules find.
#pragma once

#include <string>
#include <utility>

#include "velmora/geometry/quadrilateral.h"
#include "velmora/region/region_object.h"
#include "velmora/results/region_object_element.h"

namespace velmora::kit {

/// The kinds of regions that the modules and the capture library agree on.
inline constexpr auto kCandidateRegion =
    static_cast<intermediate_results::RegionObjectElementType>(1);
inline constexpr auto kCodeRegion = static_cast<intermediate_results::RegionObjectElementType>(2);

/// A part of an image that other tasks are to look at; observers see it as a predetected region.
class CandidateRegion final : public intermediate_results::CPredetectedRegionElement,
                              public NxRegionObject {
 public:
  /// A region as large as the image of @p info, until its location is set.
  CandidateRegion(NxSourceImageObject* source, const NxRef<NxRegionImageInfo>& info)
      : NxRegionObject(source, kCandidateRegion, info, nullptr) {
    SetCRegionObjectElementPtr(this);
  }
  CandidateRegion(const CandidateRegion& other)
      : CPredetectedRegionElement(other), NxRegionObject(other), modeName_(other.modeName_) {
    SetCRegionObjectElementPtr(this);  // a copy begins without
  }
  CandidateRegion& operator=(const CandidateRegion&) = delete;

  intermediate_results::RegionObjectElementType GetElementType() const override {
    return GetRegionType();
  }
  basic_structures::CQuadrilateral GetLocation() const override {
    basic_structures::CQuadrilateral location;
    ConvertToQuadrilateral(location);
    return location;
  }
  int SetLocation(const basic_structures::CQuadrilateral& location) override {
    return SetLocationWithQuadrilateral(location);
  }
  const intermediate_results::CRegionObjectElement* GetReferencedElement() const override {
    return ConvertReferenceRegionToElement();
  }
  [[nodiscard]] intermediate_results::CRegionObjectElement* Clone() const override {
    return (new CandidateRegion(*this))->RetainCache();
  }
  void Retain() const override { const_cast<CandidateRegion*>(this)->RetainCache(); }
  void Release() const override { const_cast<CandidateRegion*>(this)->ReleaseCache(); }

  const char* GetModeName() const override { return modeName_.c_str(); }
  void SetModeName(const char* name) override { modeName_ = name == nullptr ? "" : name; }
  int GetConfidence() const override { return GetRegionScore(); }
  void SetConfidence(int percent) override { SetRegionScore(percent); }

 private:
  std::string modeName_;
};

/// A code that was read: a region with its symbology, its text and its own bytes. A region of the
/// kind `kCodeRegion` is of this class.
class CodeRegion final : public NxRegionObject {
 public:
  /// A region as large as the image of @p info, until its location is set.
  CodeRegion(NxSourceImageObject* source, const NxRef<NxRegionImageInfo>& info,
             std::string symbology, std::string text, std::string bytes)
      : NxRegionObject(source, kCodeRegion, info, nullptr),
        symbology_(std::move(symbology)),
        text_(std::move(text)),
        bytes_(std::move(bytes)) {}

  const std::string& GetSymbology() const { return symbology_; }
  const std::string& GetText() const { return text_; }
  const std::string& GetBytes() const { return bytes_; }

 private:
  std::string symbology_;
  std::string text_;
  std::string bytes_;
};

}  // namespace velmora::kit
